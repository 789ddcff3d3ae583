#include "book/book_builder.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "board/game_result.h"
#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "book/book_entry.h"
#include "book/book_index.h"
#include "book/book_key.h"
#include "book/book_merge.h"
#include "book/book_settings.h"
#include "book/pgn_tokens.h"
#include "core/line_file.h"
#include "core/output.h"
#include "core/progress.h"

namespace vorn {

namespace {

constexpr const char* kGameFile = "book.pgn";
constexpr const char* kBookFile = "book.opn";
constexpr const char* kMergedFile = "tmp.opn";
constexpr const char* kMergeOutput = "tmp__0.opn";

constexpr int kBufferSize = 20000;       // records: 200 games of 50 plies fill half
constexpr int kGamesPerBufferMerge = 200;
constexpr int kGamesPerBookMerge = 5000;
constexpr int kPliesPerGame = 50;
constexpr int kMinGames = 8;             // positions seen this often or less are dropped
// Whole lines are read: exports that put a game's move text (clock comments
// and all) on one line would otherwise lose the moves after the cut.
constexpr int kLineSize = 1 << 16;
constexpr int kTokenSize = 255;

class BookBuilder {
public:
    explicit BookBuilder(BookEntry* records) : records_(records) {
        pos_.owner = &history_;
        parse_fen(pos_, kStartFen);
    }

    bool failed() const { return failed_; }
    long games() const { return games_; }

    void read_line_of(const char* line) {
        if (std::strstr(line, "[Result")) {
            start_game(line);
        } else if (comment_depth_ > 0 || (line[0] != ';' && line[0] != '[')) {
            char token[kTokenSize];
            for (const char* rest = line; (rest = next_pgn_token(rest, token, sizeof token));) {
                if (abandoned_ || history_.history_count >= kPliesPerGame) break;
                if (token[0] == ';' && comment_depth_ == 0) break;  // the rest of the line is a comment
                read_token(token);
            }
        }
    }

    void finish() {
        merge_buffer();
        merge_book();
        if (failed_) return;
        print_text("pruning...");
        if (!prune_book_file(kBookFile, kMinGames, kMergedFile)) failed_ = true;
        print_text("\n");
    }

private:
    void start_game(const char* line) {
        parse_fen(pos_, kStartFen);
        result_ = result_from_tag(line);
        ++games_;
        if (games_ % kGamesPerBufferMerge == 0) merge_buffer();
        if (games_ % kGamesPerBookMerge == 0) merge_book();
        abandoned_ = false;
        comment_depth_ = 0;
        variation_depth_ = 0;
    }

    void read_token(char* token) {
        if (token[0] == '$') return;  // numeric annotation glyph
        if (token[0] == '{') ++comment_depth_;
        if (token[0] == '}' && comment_depth_ > 0) --comment_depth_;
        if (comment_depth_ > 0 || token[0] == '}') return;  // brackets inside comments are text
        if (token[0] == '(') ++variation_depth_;
        if (token[0] == ')' && variation_depth_ > 0) --variation_depth_;
        if (variation_depth_ > 0 || token[0] == ')') return;

        // Move numbers, results and "*" hold no letter; castling may be written "0-0".
        char* move_text = token;
        while (*move_text && !std::isalpha(static_cast<unsigned char>(*move_text)) &&
               !(move_text[0] == '0' && move_text[1] == '-'))
            ++move_text;
        if (*move_text == '\0') return;
        // Annotation marks after a move: "e4!", "Qxf7#", "Nf3?!".
        std::size_t length = std::strlen(move_text);
        while (length > 0 && std::strchr("!?#", move_text[length - 1])) move_text[--length] = '\0';

        Move move = kNoMove;
        if (!parse_move(pos_, move_text, &move)) {
            abandoned_ = true;
            return;
        }
        make_move(pos_, move);
        count_position();
    }

    // Adds the game's result to the record of the position just reached.
    void count_position() {
        const BookKey key = compute_book_key(pos_);
        if (key.key16 == 0 && key.key32 == 0) return;  // the one key a book never holds
        BookEntry* end = records_ + count_;
        BookEntry* at = std::lower_bound(records_, end, key, [](const BookEntry& e, const BookKey& k) {
            return compare_book_keys(e, k) < 0;
        });
        if (at == end || compare_book_keys(*at, key) != 0) {
            if (count_ == kBufferSize) {  // cannot happen with 200 games of 50 plies; stay safe
                merge_buffer();
                return count_position();
            }
            std::copy_backward(at, end, end + 1);
            *at = BookEntry{key.key16, key.key32, 0, 0, 0};
            ++count_;
        }
        const bool white_to_move = pos_.side_to_move == kWhite;
        uint16_t& field = result_ == kOtherResult ? at->draws
                        : (result_ == kWhiteWon) == white_to_move ? at->stm_wins
                                                                 : at->stm_losses;
        if (field < kBookCountLimit) ++field;
    }

    void merge_buffer() {
        if (failed_) return;
        if (!merge_records_into_file(kMergedFile, records_, count_, kMergeOutput)) failed_ = true;
        count_ = 0;
        print_text(".");
    }

    void merge_book() {
        if (failed_) return;
        print_text("\nmerging...");
        if (!merge_file_into_file(kBookFile, kMergedFile, kMergeOutput)) failed_ = true;
        print_text("\n");
    }

    BookEntry* records_;
    int count_ = 0;
    BoardHistory history_;
    Position pos_;
    int result_ = kOtherResult;
    long games_ = 0;
    int comment_depth_ = 0;
    int variation_depth_ = 0;
    bool abandoned_ = false;
    bool failed_ = false;
};

}  // namespace

bool build_book() {
    book_settings.book_file[0] = '\0';
    close_book();
    std::unique_ptr<BookEntry[]> records(new (std::nothrow) BookEntry[kBufferSize]);
    if (!records) return false;
    std::remove(kBookFile);
    // Leftovers of an interrupted build would be merged into this one.
    std::remove(kMergedFile);
    std::remove(kMergeOutput);
    std::FILE* games = open_text_input(kGameFile);
    if (!games) return false;

    auto builder = std::make_unique<BookBuilder>(records.get());
    auto line = std::make_unique<char[]>(kLineSize);
    ProgressMeter progress("games");
    const int64_t file_size = regular_file_size(games);
    long games_shown = 0;
    while (!builder->failed() && read_line(games, line.get(), kLineSize)) {
        builder->read_line_of(line.get());
        if (builder->games() != games_shown && progress.shown())
            progress.update_by_bytes(games_shown = builder->games(), std::ftell(games), file_size);
    }
    std::fclose(games);
    builder->finish();
    if (builder->failed()) {
        send_line("mkbook stopped: the book files cannot be written here");
        return true;
    }
    send_line("done");
    return true;
}

}  // namespace vorn
