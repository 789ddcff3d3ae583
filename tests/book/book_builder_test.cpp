// Building books from small game files written by the tests.

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "book/book_builder.h"
#include "book/book_index.h"
#include "book/book_settings.h"
#include "tests/book/book_fixture.h"

namespace {

struct Counts {
    int wins, losses, draws;
    bool operator==(const Counts&) const = default;
};

std::ostream& operator<<(std::ostream& out, const std::optional<Counts>& c) {
    if (!c) return out << "absent";
    return out << c->wins << "/" << c->losses << "/" << c->draws;
}

std::string repeat(int times, const std::string& game) {
    std::string text;
    for (int i = 0; i < times; ++i) text += game;
    return text;
}

class BookBuilding : public BookTest {
protected:
    // Builds from the games; returns what was printed.
    std::string build(const std::string& games) {
        write_text("book.pgn", games);
        // A leftover of an interrupted build must not leak into this one.
        write_book("tmp.opn", {record_of(Game("e2e4").key(), 100, 100, 100)});
        testing::internal::CaptureStdout();
        EXPECT_TRUE(build_book());
        const std::string printed = testing::internal::GetCapturedStdout();
        records = read_built_book("book.opn");
        return printed;
    }

    std::optional<Counts> counts_after(const std::string& moves) const {
        const BookKey key = Game(moves).key();
        for (const BookEntry& e : records)
            if (compare_book_keys(e, key) == 0) return Counts{e.stm_wins, e.stm_losses, e.draws};
        return std::nullopt;
    }

    std::vector<BookEntry> records;
};

TEST_F(BookBuilding, GameTextIsReadAsPgnIs) {
    const std::string shuffle = repeat(12, "Nf3 Nf6 Ng1 Ng8 ");  // 48 plies back to the start
    struct Expect {
        const char* moves;
        std::optional<Counts> counts;
    };
    struct Case {
        const char* what;
        std::string games;
        std::vector<Expect> expect;
    } const cases[] = {
        {"a drawn game", repeat(9, "[Result \"1/2-1/2\"]\n1. e4 e5 1/2-1/2\n\n"),
         {{"e2e4", Counts{0, 0, 9}}, {"e2e4 e7e5", Counts{0, 0, 9}}}},
        {"an unfinished game counts as drawn", repeat(9, "[Result \"*\"]\n1. e4 *\n"),
         {{"e2e4", Counts{0, 0, 9}}}},
        {"white won", repeat(9, "[Event \"x\"]\n[Result \"1-0\"]\n\n1. e4 e5 1-0\n"),
         {{"e2e4", Counts{0, 9, 0}}, {"e2e4 e7e5", Counts{9, 0, 0}}}},
        {"black won", repeat(9, "[Result \"0-1\"]\r\n1.e4 e5 0-1\r\n"),
         {{"e2e4", Counts{9, 0, 0}}, {"e2e4 e7e5", Counts{0, 9, 0}}}},
        {"comments, nested and over lines, and variations",
         repeat(9, "[Result \"*\"]\n1. e4 {a {nested} note: 1. d4 (or c4} e5 {over\n[two] lines d4}\n"
                   "(1... c5 2. Nf3 (2. c3)) 2. Nf3 *\n"),
         {{"e2e4 e7e5 g1f3", Counts{0, 0, 9}}, {"d2d4", std::nullopt}, {"e2e4 c7c5", std::nullopt}}},
        {"glyphs, annotations and comments to the end of the line",
         repeat(9, "[Result \"*\"]\n1. e4! $1 e5?! $14 2. Nf3 ; 2... Nc6 is a comment\n; so is 2... d6\n2... Nf6 *\n"),
         {{"e2e4 e7e5 g1f3 g8f6", Counts{0, 0, 9}}, {"e2e4 e7e5 g1f3 b8c6", std::nullopt},
          {"e2e4 e7e5 g1f3 d7d6", std::nullopt}}},
        {"castling as O-O, 0-0 and o-o",
         repeat(3, "[Result \"*\"]\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. O-O *\n") +
             repeat(3, "[Result \"*\"]\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. 0-0 *\n") +
             repeat(3, "[Result \"*\"]\n1. e4 e5 2. Nf3 Nc6 3. Bc4 Bc5 4. o-o *\n"),
         {{"e2e4 e7e5 g1f3 b8c6 f1c4 f8c5 e1g1", Counts{0, 0, 9}}}},
        {"plies 49 and 50 count, ply 51 never",
         repeat(9, "[Result \"*\"]\n" + shuffle + "e4 e5 d4 *\n"),
         {{"e2e4 e7e5", Counts{0, 0, 9}}, {"e2e4 e7e5 d2d4", std::nullopt}}},
        {"8 games are pruned, 9 kept, whatever the move order",
         repeat(8, "[Result \"*\"]\n1. d4 *\n") + repeat(5, "[Result \"*\"]\n1. Nf3 Nf6 2. Nc3 *\n") +
             repeat(4, "[Result \"*\"]\n1. Nc3 Nf6 2. Nf3 *\n"),
         {{"d2d4", std::nullopt}, {"g1f3", std::nullopt}, {"g1f3 g8f6 b1c3", Counts{0, 0, 9}}}},
        {"a move that does not parse ends the game's contribution",
         repeat(9, "[Result \"*\"]\n1. e4 Ke7 e5 *\n"),
         {{"e2e4", Counts{0, 0, 9}}, {"e2e4 e7e5", std::nullopt}}},
    };
    for (const Case& c : cases) {
        build(c.games);
        for (const Expect& e : c.expect) EXPECT_EQ(counts_after(e.moves), e.counts) << c.what << ": " << e.moves;
    }
}

// 60001 one-move games pass through 300 buffer merges and 12 book merges; the
// count stops at 60000.
TEST_F(BookBuilding, CountsSaturateAcrossMergesAndProgressIsShown) {
    const std::string printed = build(repeat(60001, "[Result \"1-0\"]\n1. e4 1-0\n"));
    EXPECT_EQ(counts_after("e2e4"), (Counts{0, 60000, 0}));
    EXPECT_EQ(records.size(), 1u);
    const std::string stage = repeat(25, ".") + "\nmerging...\n";
    EXPECT_EQ(printed, repeat(12, stage) + ".\nmerging...\npruning...\ndone\n");
}

TEST_F(BookBuilding, WithoutAGameFileTheBookIsGoneAndProbingOff) {
    write_book("book.opn", {record_of(Game("e2e4").key(), 0, 0, 50)});
    std::strcpy(book_settings.book_file, "book.opn");
    init_book();
    ASSERT_EQ(book_count, 1);
    EXPECT_FALSE(build_book());
    EXPECT_EQ(book_count, 0);
    EXPECT_STREQ(book_settings.book_file, "");
    EXPECT_FALSE(std::ifstream("book.opn").good());
}

}  // namespace
