// A book built from a real game collection (34,700 opening lines), checked
// against counts made here by replaying every game independently.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <tuple>

#include "board/movegen.h"
#include "book/book_builder.h"
#include "book/book_index.h"
#include "book/book_probe.h"
#include "book/book_settings.h"
#include "core/line_file.h"
#include "tests/book/book_fixture.h"

namespace {

const std::string kGames = std::string(VORN_TEST_DATA) + "/8moves_v3.pgn";

// A position as the book tells positions apart: placement, side to move and
// en-passant square (castling rights play no part), here by the board's own
// Zobrist placement key rather than the book key.
using Identity = std::tuple<uint64_t, int, int>;

struct Seen {
    BookKey key;
    int wins = 0, losses = 0, draws = 0;  // for the side to move there
};

// Replays the first 50 plies of every game: the file holds tags, move
// numbers, moves and results, nothing else. A move the notation reader
// rejects ends its game, as it does for the builder. (Some games name a
// knight move without the file a pinned second knight calls for.)
std::map<Identity, Seen> count_positions(const std::string& path, int* cut_games) {
    std::map<Identity, Seen> seen;
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (!file) return seen;
    std::unique_ptr<Game> game;
    char result = '*';
    char line[256];
    while (read_line(file, line, sizeof line)) {
        if (std::strncmp(line, "[Result \"", 9) == 0) {
            game = std::make_unique<Game>();
            result = std::strncmp(line + 9, "1-0", 3) == 0 ? 'w' : std::strncmp(line + 9, "0-1", 3) == 0 ? 'b' : 'd';
        }
        if (line[0] == '[' || !game) continue;
        for (char* word = std::strtok(line, " "); word; word = std::strtok(nullptr, " ")) {
            if ((*word >= '0' && *word <= '9') || *word == '*' || game->history->history_count >= 50) continue;
            if (!game->try_play(word)) {
                ++*cut_games;
                game.reset();
                break;
            }
            const Position& p = game->pos;
            Seen& s = seen[{p.hash_key, p.side_to_move, p.ep_square}];
            s.key = game->key();
            const char mover_side = p.side_to_move == kWhite ? 'w' : 'b';
            (result == 'd' ? s.draws : result == mover_side ? s.wins : s.losses)++;
        }
    }
    std::fclose(file);
    return seen;
}

using EightMoves = BookTest;

TEST_F(EightMoves, BookHoldsExactlyThePositionsOfMoreThanEightGames) {
    if (!std::ifstream(kGames).good()) GTEST_SKIP() << kGames << " is not there";
    write_text("book.pgn", read_bytes(kGames));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(build_book());
    testing::internal::GetCapturedStdout();
    const std::vector<BookEntry> records = read_built_book("book.opn");
    std::map<std::pair<uint16_t, uint32_t>, BookEntry> by_key;
    for (const BookEntry& e : records) by_key[{e.key16, e.key32}] = e;

    int cut_games = 0;
    const std::map<Identity, Seen> seen = count_positions(kGames, &cut_games);
    EXPECT_LT(cut_games, 1000);  // 790 in this collection
    std::size_t kept = 0, wrong = 0;
    for (const auto& [identity, s] : seen) {
        const auto found = by_key.find({s.key.key16, s.key.key32});
        if (s.wins + s.losses + s.draws <= 8) {
            wrong += found != by_key.end();
            continue;
        }
        ++kept;
        const bool same = found != by_key.end() && found->second.stm_wins == s.wins &&
                          found->second.stm_losses == s.losses && found->second.draws == s.draws;
        wrong += !same;
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(kept, records.size());
    EXPECT_GT(kept, 5000u);

    // With no spread the probe picks the move most games went on with.
    std::strcpy(book_settings.book_file, "book.opn");
    book_settings.book_variety = 1;
    init_book();
    for (const char* played : {"", "e2e4", "d2d4 g8f6"}) {
        Game game(played);
        MoveEntry list[kMaxMoves];
        generate_all(game.pos, list);
        Move most_played = kNoMove;
        int most = 0;
        for (const MoveEntry* m = list; m->move != kMoveListEnd; ++m) {
            if (!is_legal(game.pos, game.pos.side_to_move, m->move)) continue;
            make_move(game.pos, m->move);
            const auto it = seen.find({game.pos.hash_key, game.pos.side_to_move, game.pos.ep_square});
            unmake_move(game.pos);
            if (it != seen.end() && it->second.draws > most) {
                most = it->second.draws;
                most_played = m->move;
            }
        }
        EXPECT_NE(most_played, kNoMove);
        EXPECT_EQ(book_probe(game.pos, false), most_played) << played;
    }
}

}  // namespace
