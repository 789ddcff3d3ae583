#include "tools/match.h"

#include <cmath>
#include <cstdlib>
#include <memory>

#include "board/make_move.h"
#include "board/notation.h"
#include "book/book_probe.h"
#include "book/book_index.h"
#include "book/book_settings.h"
#include "core/line_file.h"
#include "core/output.h"
#include "core/progress.h"
#include "core/shell_state.h"
#include "eval/engine_params.h"
#include "search/reductions.h"
#include "search/search.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "board/game_result.h"
#include "tools/tool_hooks.h"

namespace vorn {

namespace {

constexpr int kMatchGames = 8000;
constexpr int kBookPlies = 12;        // the book is asked in the first plies of a game
constexpr int kBookVariety = 75;      // a wide spread: the games should differ
constexpr int kAdjudicationScore = 1100;
constexpr int kMarkAfterGames = 200;  // the margin means little over fewer games
constexpr double kMoveSeconds = 1.0;
constexpr int kMoveTextLength = 4;    // from- and to-square, no promotion letter

const char* player_name(int player) { return player == 0 ? "Player1" : "Player2"; }

// Writes the from- and to-square of the move: "a1a1" for move 0.
void square_text(Move move, char* buffer) {
    const char* from = square_names[move_from(move)];
    const char* to = square_names[move_to(move)];
    buffer[0] = from[0];
    buffer[1] = from[1];
    buffer[2] = to[0];
    buffer[3] = to[1];
    buffer[kMoveTextLength] = '\0';
}

// Runs the search the per-search set-up prepared and waits for it, polling
// the clock and the input. False when a quit request came in meanwhile.
bool search_position() {
    search_and_wait(serve_tool_input, true);
    return !shell.quit_requested;
}

// A command served during a search may have set another position; the game
// goes on from its own moves.
void restore_game_position(const MatchGame& game) {
    Position& pos = thread_table[0]->pos;
    parse_fen(pos, game.start_fen);
    for (int i = 0; i < game.count; ++i) make_move(pos, game.plies[i].move);
}

}  // namespace

void format_score_line(const MatchTally& t, char* buffer, std::size_t size) {
    const double games = t.games > 0 ? t.games : 1;
    const double score = (t.player1_wins + 0.5 * t.draws) / games;
    const double margin = 1.5 * std::sqrt(t.games + 10.0) / (t.games + 1.0);
    const bool clear = t.games > kMarkAfterGames && std::fabs(score - 0.5) > margin;
    std::snprintf(buffer, size, "%4d games,  %3d %3d %3d  %0.3f (+/- %0.3f) %c", t.games,
                  t.player1_wins, t.player2_wins, t.draws, score, margin, clear ? '*' : ' ');
}

bool play_match_game(MatchGame& game, const EngineParams* players, int player1_side) {
    ThreadData& block = *thread_table[0];
    Position& pos = block.pos;
    position_to_fen(pos, game.start_fen);
    game.first_side = pos.side_to_move;
    game.count = 0;
    game.result = kOtherResult;
    int base_count = block.history_count;
    uint64_t expected_key = full_key(pos);

    for (;;) {
        const int side = pos.side_to_move;
        params = players[side == player1_side ? 0 : 1];
        // Both players' scores must not meet in the evaluation caches.
        forget_cached_evaluations(threads);
        read_clock(1);
        prepare_search();

        Move move = game.count < kBookPlies ? book_probe(pos, false) : kNoMove;
        const bool from_book = move != kNoMove;
        int score = 0;
        int depth = 0;
        if (drawn_by_rule(pos)) {
            move = kNoMove;
        } else if (!from_book) {
            if (!search_position()) return false;
            move = search_result.best_move;
            score = search_result.score;
            depth = search_result.depth;
        }
        sum_counters();
        if (block.history_count != base_count + game.count || full_key(pos) != expected_key) {
            restore_game_position(game);
            base_count = 0;
        }

        game.plies[game.count++] = {move, static_cast<int16_t>(score), static_cast<int16_t>(depth)};
        if (score < -kAdjudicationScore) {
            game.result = side == kWhite ? kBlackWon : kWhiteWon;
            return true;
        }
        if (score > kAdjudicationScore) {
            game.result = side == kWhite ? kWhiteWon : kBlackWon;
            return true;
        }
        if (pos.fifty_count >= 100 || move == kNoMove || block.history_count >= kGameHistoryLimit) {
            game.result = kOtherResult;
            return true;
        }
        make_move(pos, move);
        expected_key = full_key(pos);
    }
}

void write_match_game(std::FILE* out, const MatchGame& game, int number, int player1_side) {
    std::fprintf(out, "[Event selfplay]\n[Game %d]\n[White \"%s\"]\n[Black \"%s\"]\n[Result \"%s\"]\n",
                 number, player_name(player1_side == kWhite ? 0 : 1),
                 player_name(player1_side == kWhite ? 1 : 0), result_text(game.result));
    char text[kMoveTextLength + 1];
    for (int i = 0; i < game.count; ++i) {
        const bool black = (game.first_side + i) % 2 == 1;
        const MatchPly& ply = game.plies[i];
        square_text(ply.move, text);
        std::fprintf(out, "%s%s {%0.2f/%d}%s", black ? "   " : "", text, ply.score / 100.0, ply.depth,
                     black ? "\n" : "");
    }
    std::fputs("\n\n", out);
}

void run_match(const char* pgn_file) {
    auto players = std::make_unique<EngineParams[]>(2);
    players[0] = players[1] = params;
    if (!read_tool_settings("test1.rc", players[0])) {
        send_line("Can't open file test1.rc\n");
        return;
    }
    if (same_file(pgn_file, "test1.rc") || same_file(pgn_file, "vorn.rc")) {
        send_linef("%s is a settings file; the games are not written over it\n", pgn_file);
        return;
    }
    std::FILE* out = std::fopen(pgn_file, "w");
    if (!out) {
        send_linef("can't open %s\n", pgn_file);
        return;
    }
    for (int i = 0; i < 2; ++i) {
        init_eval_tables(players[i]);
        build_lmr_table(players[i]);
    }
    limits.time_mode = 1;
    limits.move_time = kMoveSeconds;
    limits.clock[kWhite] = limits.clock[kBlack] = kMoveSeconds;
    limits.node_limit = static_cast<uint64_t>(std::rand() % 11 + 95) * 750;
    shell.noise = kSilentNoise;
    book_settings.book_variety = kBookVariety;
    send_line("Starting match...");
    if (book_count == 0) send_line("no book: every game repeats its opening for each colour");

    auto game = std::make_unique<MatchGame>();
    MatchTally tally;
    ProgressMeter progress("games");
    for (int number = 1; number <= kMatchGames; ++number) {
        progress.update(number - 1, kMatchGames);
        parse_fen(thread_table[0]->pos, kStartFen);
        const int player1_side = std::rand() % 2 == 0 ? kWhite : kBlack;
        if (limits.max_depth < 10 || limits.node_limit <= 100000 || limits.move_time <= 0.1)
            hash_mode = 0;
        else
            tt_clear();
        if (!play_match_game(*game, players.get(), player1_side)) break;

        tally.games = number;
        if (game->result == kOtherResult)
            ++tally.draws;
        else if ((game->result == kWhiteWon) == (player1_side == kWhite))
            ++tally.player1_wins;
        else
            ++tally.player2_wins;
        char line[96];
        format_score_line(tally, line, sizeof line);
        send_line(line);
        write_match_game(out, *game, number, player1_side);
        std::fflush(out);
    }
    std::fclose(out);
}

}  // namespace vorn
