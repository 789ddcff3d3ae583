#include "tools/pgn_scanner.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "core/line_file.h"
#include "core/output.h"
#include "core/progress.h"
#include "core/score.h"
#include "core/shell_state.h"
#include "core/words.h"
#include "search/thread_data.h"

namespace vorn {

namespace {

constexpr int kTagLineSize = 256;      // tag lines of up to 255 characters; the rest is dropped
constexpr int kCommentSize = 256;      // the start of a comment holds its score
constexpr int kMaxGameMoves = kMaxHistory;  // what the game position's history can replay
constexpr int kScoreBound = 29000;     // keeps read scores clear of the two markers
constexpr int kMateScore = 9000;

// Mode 1: the mistake mark.
constexpr int kFirstMarkedMove = 6;
constexpr int kMarkLastMoves = 5;      // the last five moves are never marked
constexpr int kQuietScore = 150;       // only moves scored below this can be mistakes
constexpr int kSaneScore = 999;        // neighbouring scores must be in [-999, 999]
constexpr int kReplyGain = 41;         // the opponent's score rose by this across the move
constexpr int kLongGain = 51;          // ... and by this across three plies

// Mode 2: training positions with results.
constexpr int kSkippedOpening = 20;
constexpr int kSkippedEnding = 6;
constexpr int kLastTrainingMove = 250;
constexpr int kDecidedScore = 900;
constexpr int kQuietPlies = 20;        // fifty-move counter at most this
constexpr int kRecentCapture = 30;     // material changed within this many plies

// Mode 3: scored moves.
constexpr int kLastScoredMove = 200;
constexpr int kBalancedScore = 501;

int16_t bounded_score(double value) {
    return static_cast<int16_t>(std::clamp(value, double(-kScoreBound), double(kScoreBound)));
}

bool is_letter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

int pawns_on_board(const Position& pos) {
    return std::popcount(pos.pieces[kWhite][kPawn] | pos.pieces[kBlack][kPawn]);
}

// Mode 1: a move whose opponent's scores rose clearly across it, from a
// level position, in a game the mover did not win.
bool looks_like_mistake(const ScannedMove* moves, int count, int i, int result) {
    if (i < kFirstMarkedMove || i >= count - kMarkLastMoves) return false;
    if (result == (i & 1)) return false;
    if (std::abs(moves[i].score) >= kQuietScore) return false;
    for (int k : {i - 3, i - 1, i + 1, i + 3})
        if (moves[k].score < -kSaneScore || moves[k].score > kSaneScore) return false;
    return moves[i + 1].score - moves[i - 1].score >= kReplyGain &&
           moves[i + 3].score - moves[i - 3].score >= kLongGain;
}

void write_annotated_move(std::FILE* out, const Position& pos, const ScannedMove* moves, int count,
                          int i, int result) {
    char prefix[16];
    if (i % 2 == 0)
        std::snprintf(prefix, sizeof prefix, "%3d. ", i / 2 + 1);
    else
        std::snprintf(prefix, sizeof prefix, "     ");
    char score[kFenBufferSize + 16] = "";
    const int raw = moves[i].score;
    if (raw > -kInfinite) std::snprintf(score, sizeof score, "%6.2f", (i % 2 ? -raw : raw) / 100.0);
    if (looks_like_mistake(moves, count, i, result)) {
        char fen[kFenBufferSize];
        position_to_fen(pos, fen);
        std::strcat(score, " ? ");
        std::strcat(score, fen);
    }
    std::fprintf(out, "%s %-6s  {%s}\n", prefix, moves[i].text, score);
}

// The scanner's state between characters of the file.
struct Scan {
    std::FILE* out = nullptr;
    int mode = 0;
    int games = 0;
    int positions = 0;
    int result = kOtherResult;
    ScannedMove moves[kMaxGameMoves];
    int count = 0;
    bool in_token = false;
    int token_length = 0;
    bool token_kept = false;     // false once the move list is full
    int comment_depth = 0;
    char comment[kCommentSize];
    int comment_length = 0;

    void finish_game() {
        if (count > 0) positions += write_game(out, moves, count, mode, result);
        count = 0;
    }

    void tag_line(const char* line) {
        finish_game();
        // A comment left open by a broken game ends with it.
        comment_depth = 0;
        if (mode == 1) {
            std::fprintf(out, "%s\n", line);
            if (std::strstr(line, "Round ")) std::fprintf(out, "[Tag \"game_%d\"]\n", games);
        }
        if (std::strstr(line, "Event ")) {
            ++games;
            if (games % 100 == 0) send_linef("game %d\n", games);
            result = kOtherResult;
        }
        if (std::strstr(line, "Result ")) {
            result = result_from_tag(line);
        }
    }

    void end_token() {
        if (in_token && token_kept) {
            moves[count].text[token_length] = '\0';
            moves[count].score = kNoScore;
            ++count;
        }
        in_token = false;
    }

    void close_comment() {
        comment[comment_length] = '\0';
        if (count > 0) moves[count - 1].score = comment_score(comment, (count - 1) % 2 == 1);
    }

    // One character of a movetext line; line ends arrive as '\n'.
    void character(int c) {
        if (c == '{') {
            end_token();
            if (comment_depth++ == 0) comment_length = 0;
            return;
        }
        if (c == '}') {
            if (comment_depth > 0 && --comment_depth == 0) close_comment();
            return;
        }
        if (comment_depth > 0) {
            if (comment_length < kCommentSize - 1)
                comment[comment_length++] = static_cast<char>(c == '\n' ? ' ' : c);
            return;
        }
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            end_token();
        } else if (in_token) {
            if (token_kept && token_length < kScannedMoveSize - 1)
                moves[count].text[token_length++] = static_cast<char>(c);
        } else if (is_letter(c)) {
            in_token = true;
            token_kept = count < kMaxGameMoves;
            token_length = 0;
            if (token_kept) moves[count].text[token_length++] = static_cast<char>(c);
        }
    }

    // Reads the rest of a tag line whose '[' has been read.
    void read_tag_line(std::FILE* in) {
        char line[kTagLineSize] = "[";
        int length = 1;
        int c;
        while ((c = std::fgetc(in)) != EOF && c != '\n')
            if (c != '\r' && length < kTagLineSize - 1) line[length++] = static_cast<char>(c);
        line[length] = '\0';
        tag_line(line);
    }

    // Tag lines begin with '[' (but not "[%", an annotation inside a
    // comment); everything else is movetext, read a character at a time, so
    // a movetext line may be of any length.
    void read_file(std::FILE* in, ProgressMeter& progress) {
        const int64_t file_size = regular_file_size(in);
        bool line_start = true;
        int c;
        while ((c = std::fgetc(in)) != EOF) {
            if (line_start && c == '[') {
                const int next = std::fgetc(in);
                if (next != EOF) std::ungetc(next, in);
                if (next != '%') {
                    read_tag_line(in);
                    if (progress.shown()) progress.update_by_bytes(games, std::ftell(in), file_size);
                    continue;
                }
            }
            line_start = c == '\n';
            character(c);
        }
        end_token();
        finish_game();
    }
};

}  // namespace

int16_t comment_score(const char* text, bool after_black_move) {
    if (std::strstr(text, "book")) return 0;
    if (const char* eval = find_after(text, "eval ")) {
        const int16_t white_view = bounded_score(double(read_integer(eval)));
        return after_black_move ? static_cast<int16_t>(-white_view) : white_view;
    }
    if (!std::strchr(text, '/')) return kUnreadableScore;
    if (text[0] == '-' && text[1] == 'M') return -kMateScore;
    if (text[0] == '+' && text[1] == 'M') return kMateScore;
    if (text[0] != '+' && text[0] != '-') return kUnreadableScore;
    char* end = nullptr;
    const double pawns = std::strtod(text, &end);
    if (end == text || !std::isfinite(pawns)) return kUnreadableScore;  // "+/-" is no score
    // 0.29 x 100 is just below 29 in binary and truncates to 28, as intended.
    return bounded_score(std::trunc(pawns * 100.0));
}

int write_game(std::FILE* out, const ScannedMove* moves, int count, int mode, int result) {
    if (mode == 0) return 0;
    Position& pos = thread_table[0]->pos;
    parse_fen(pos, kStartFen);
    int written = 0;
    int plies_since_material_change = 0;
    char fen[kFenBufferSize];
    for (int i = 0; i < count; ++i) {
        const ScannedMove& m = moves[i];
        if (mode == 2 && (i >= count - kSkippedEnding || i > kLastTrainingMove ||
                          std::abs(m.score) > kDecidedScore))
            break;
        if (mode == 3 && (i > kLastScoredMove || (i > 0 && std::abs(moves[i - 1].score) >= kBalancedScore)))
            break;
        Move move = kNoMove;
        if (!parse_move(pos, m.text, &move)) break;

        const int side = pos.side_to_move;
        const bool checked = in_check(pos, side);
        if (mode == 1) {
            write_annotated_move(out, pos, moves, count, i, result);
        } else if (mode == 2) {
            if (i >= kSkippedOpening && pos.fifty_count <= kQuietPlies &&
                plies_since_material_change < kRecentCapture && !checked) {
                position_to_fen(pos, fen);
                std::fprintf(out, "%s bm %s; ce %d; c9 \"%s\";\n", fen, m.text, m.score,
                             result_text(result));
                ++written;
            }
        } else if (mode == 3) {
            if (!checked) {
                position_to_fen(pos, fen);
                std::fprintf(out, "%s bm %s; ce %d;\n", fen, m.text, m.score);
                ++written;
            }
        } else if (mode == 4) {
            if (pos.phase_material[kWhite] == 5 && pos.phase_material[kBlack] == 5 &&
                pawns_on_board(pos) == 1) {
                const double outcome = result == kOtherResult ? 0.5 : result == side ? 1.0 : 0.0;
                position_to_fen(pos, fen);
                std::fprintf(out, "%s bm %s; ce %d; tune %0.5f;\n", fen, m.text, m.score, outcome);
                ++written;
            }
        }

        const int32_t material_before[2] = {pos.piece_counts[kWhite], pos.piece_counts[kBlack]};
        make_move(pos, move);
        const bool changed = material_before[kWhite] != pos.piece_counts[kWhite] ||
                             material_before[kBlack] != pos.piece_counts[kBlack];
        plies_since_material_change = changed ? 0 : plies_since_material_change + 1;
    }
    if (mode == 1) std::fputc('\n', out);
    return written;
}

void scan_pgn(const char* file_name, int mode) {
    shell.log_enabled = 0;
    const char* out_name = mode == 1 ? "tmp.pgn" : "tmp.epd";
    if (same_file(file_name, out_name)) {
        send_linef("%s is the scanner's output file; read from a copy of it", file_name);
        return;
    }
    std::FILE* in = open_text_input(file_name, true);
    if (!in) return;
    std::FILE* out = std::fopen(out_name, "w");
    if (!out) {
        std::fclose(in);
        return;
    }
    auto scan = std::make_unique<Scan>();
    scan->out = out;
    scan->mode = mode;
    ProgressMeter progress("games");
    scan->read_file(in, progress);
    std::fputc('\n', out);
    std::fclose(in);
    std::fclose(out);
    send_linef("games= %d, positions= %d\n", scan->games, scan->positions);
}

}  // namespace vorn
