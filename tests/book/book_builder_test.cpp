// Building books from small game files written by the tests.

#include <gtest/gtest.h>

#include "book/book_builder.h"
#include "tests/book/book_fixture.h"

namespace vorn {

namespace {

class BookBuilding : public BookTest {
protected:
    // Builds from the games; returns what was printed.
    std::string build(const std::string& games) {
        write_file("book.pgn", games);
        // A leftover of an interrupted build must not leak into this one.
        write_book("tmp.opn", {record_of(Game("e2e4").key(), 100, 100, 100)});
        testing::internal::CaptureStdout();
        EXPECT_TRUE(build_book());
        const std::string printed = testing::internal::GetCapturedStdout();
        records = read_built_book("book.opn");
        return printed;
    }

    // The counts of the position after the moves as "wins/losses/draws" for
    // the side to move there, or "absent".
    std::string counts_after(const std::string& moves) const {
        const BookKey key = Game(moves).key();
        for (const BookEntry& e : records)
            if (compare_book_keys(e, key) == 0)
                return std::to_string(e.stm_wins) + "/" + std::to_string(e.stm_losses) + "/" + std::to_string(e.draws);
        return "absent";
    }

    std::vector<BookEntry> records;
};

TEST_F(BookBuilding, GameTextIsReadAsPgnIs) {
    const std::string shuffle = repeat(12, "Nf3 Nf6 Ng1 Ng8 ");  // 48 plies back to the start
    const struct {
        const char* what;
        std::string games;
        std::vector<std::pair<const char*, const char*>> counts;  // moves, counts after them
    } cases[] = {
        {"each game's result, from the side to move's view; \"*\" is a draw",
         repeat(9, "[Event \"x\"]\n[Result \"1-0\"]\n\n1. e4 e5 1-0\n") +
             repeat(9, "[Result \"0-1\"]\r\n1.d4 d5 0-1\r\n") + repeat(9, "[Result \"1/2-1/2\"]\n1. c4 1/2-1/2\n") +
             repeat(9, "[Result \"*\"]\n1. Nf3 *\n"),
         {{"e2e4", "0/9/0"}, {"e2e4 e7e5", "9/0/0"}, {"d2d4", "9/0/0"}, {"d2d4 d7d5", "0/9/0"},
          {"c2c4", "0/0/9"}, {"g1f3", "0/0/9"}}},
        {"comments, nested and over lines, and variations",
         repeat(9, "[Result \"*\"]\n1. e4 {a {nested} note: 1. d4 (or c4} e5 {over\n[two] lines d4}\n"
                   "(1... c5 2. Nf3 (2. c3)) 2. Nf3 *\n"),
         {{"e2e4 e7e5 g1f3", "0/0/9"}, {"d2d4", "absent"}, {"e2e4 c7c5", "absent"}}},
        {"glyphs, annotations, tabs and comments to the end of the line",
         repeat(9, "[Result \"*\"]\n1. e4!\t$1 e5?! $14 2. Nf3 ; 2... Nc6 is a comment\n; so is 2... d6\n2... Nf6 *\n"),
         {{"e2e4 e7e5 g1f3 g8f6", "0/0/9"}, {"e2e4 e7e5 g1f3 b8c6", "absent"}, {"e2e4 e7e5 g1f3 d7d6", "absent"}}},
        {"castling as O-O, 0-0 and o-o",
         repeat(3, "[Result \"*\"]\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. O-O *\n") +
             repeat(3, "[Result \"*\"]\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. 0-0 *\n") +
             repeat(3, "[Result \"*\"]\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. o-o *\n"),
         {{"e2e4 e7e5 g1f3 b8c6 f1c4 f8c5 e1g1", "0/0/9"}}},
        {"plies 49 and 50 count, ply 51 never", repeat(9, "[Result \"*\"]\n" + shuffle + "e4 e5 d4 *\n"),
         {{"e2e4 e7e5", "0/0/9"}, {"e2e4 e7e5 d2d4", "absent"}}},
        {"8 games are pruned, 9 kept, whatever the move order",
         repeat(8, "[Result \"*\"]\n1. d4 *\n") + repeat(5, "[Result \"*\"]\n1. Nf3 Nf6 2. Nc3 *\n") +
             repeat(4, "[Result \"*\"]\n1. Nc3 Nf6 2. Nf3 *\n"),
         {{"d2d4", "absent"}, {"g1f3", "absent"}, {"g1f3 g8f6 b1c3", "0/0/9"}}},
        {"a move that does not parse ends the game's contribution", repeat(9, "[Result \"*\"]\n1. e4 Ke7 e5 *\n"),
         {{"e2e4", "0/0/9"}, {"e2e4 e7e5", "absent"}}},
    };
    for (const auto& c : cases) {
        build(c.games);
        for (const auto& [moves, counts] : c.counts) EXPECT_EQ(counts_after(moves), counts) << c.what << ": " << moves;
    }
}

// 60001 one-move games pass through 300 buffer merges and 12 book merges; the
// count stops at 60000.
TEST_F(BookBuilding, CountsSaturateAcrossMergesAndProgressIsShown) {
    const std::string printed = build(repeat(60001, "[Result \"1-0\"]\n1. e4 1-0\n"));
    EXPECT_EQ(counts_after("e2e4"), "0/60000/0");
    EXPECT_EQ(records.size(), 1u);
    const std::string stage = repeat(25, ".") + "\nmerging...\n";
    EXPECT_EQ(printed, repeat(12, stage) + ".\nmerging...\npruning...\ndone\n");
}

TEST_F(BookBuilding, WithoutAGameFileNothingIsBuiltAndTheOldBookIsGone) {
    write_book("book.opn", {record_of(Game("e2e4").key(), 0, 0, 50)});
    EXPECT_FALSE(build_book());
    EXPECT_FALSE(std::ifstream("book.opn").good());
}

}  // namespace

}  // namespace vorn
