// A book built from a real game collection (34,700 opening lines), checked
// against counts made here by replaying every game independently.

#include <gtest/gtest.h>

#include <map>

#include "book/book_builder.h"
#include "tests/book/book_fixture.h"

namespace vorn {

namespace {

const std::string kGames = std::string(VORN_TEST_DATA) + "/8moves_v3.pgn";

struct Counts {
    int wins = 0, losses = 0, draws = 0;  // for the side to move there
};

// Replays the first 50 plies of every game: the file holds tags, move
// numbers, moves and results, nothing else. A move the notation reader
// rejects ends its game, as it does for the builder. (Some games name a
// knight move without the file a pinned second knight calls for.)
std::map<std::pair<uint16_t, uint32_t>, Counts> count_positions(std::istream& in, int* cut_games) {
    std::map<std::pair<uint16_t, uint32_t>, Counts> seen;
    std::unique_ptr<Game> game;
    char result = '*';
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("[Result \"")) {
            game = std::make_unique<Game>();
            result = line.starts_with("[Result \"1-0") ? 'w' : line.starts_with("[Result \"0-1") ? 'b' : 'd';
        }
        if (line[0] == '[' || !game) continue;
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            if ((word[0] >= '0' && word[0] <= '9') || word[0] == '*' || game->history->history_count >= 50) continue;
            if (!game->try_play(word.c_str())) {
                ++*cut_games;
                game.reset();
                break;
            }
            const BookKey key = game->key();
            Counts& counts = seen[{key.key16, key.key32}];
            const char mover_side = game->pos.side_to_move == kWhite ? 'w' : 'b';
            (result == 'd' ? counts.draws : result == mover_side ? counts.wins : counts.losses)++;
        }
    }
    return seen;
}

using EightMoves = BookTest;

TEST_F(EightMoves, BookHoldsExactlyThePositionsOfMoreThanEightGames) {
    if (!std::ifstream(kGames).good()) GTEST_SKIP() << kGames << " is not there";
    write_file("book.pgn", read_file(kGames));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(build_book());
    testing::internal::GetCapturedStdout();
    std::map<std::pair<uint16_t, uint32_t>, BookEntry> built;
    for (const BookEntry& e : read_built_book("book.opn")) built[{e.key16, e.key32}] = e;

    int cut_games = 0;
    std::istringstream games(read_file(kGames));
    const auto seen = count_positions(games, &cut_games);
    EXPECT_LT(cut_games, 1000);  // 790 in this collection
    std::size_t kept = 0, wrong = 0;
    for (const auto& [key, c] : seen) {
        const auto found = built.find(key);
        if (c.wins + c.losses + c.draws <= 8) {
            wrong += found != built.end();
            continue;
        }
        ++kept;
        const bool same = found != built.end() && found->second.stm_wins == c.wins &&
                          found->second.stm_losses == c.losses && found->second.draws == c.draws;
        wrong += !same;
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(kept, built.size());
    EXPECT_GT(kept, 5000u);
}

}  // namespace

}  // namespace vorn
