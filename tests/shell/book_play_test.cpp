// The book in play: "mkbook" and "book" at the console, book moves answered
// at once under UCI.

#include <gtest/gtest.h>

#include <string>

#include "tests/shell/engine_process.h"

namespace vorn {

namespace {

// A book of nine drawn games: 1. e4 e5 2. Nf3 Nc6.
class BookPlay : public ::testing::Test {
protected:
    EngineProcess builder{{"-c", "-hash", "1"}};

    void SetUp() override {
        builder.write_file("book.pgn", repeat(9, "[Result \"1/2-1/2\"]\n1. e4 e5 2. Nf3 Nc6 1/2-1/2\n\n"));
        builder.send("e4\nmkbook\nbd\nquit");
        builder.close_input();
        ASSERT_EQ(builder.wait_exit(30), 0);
    }
};

TEST_F(BookPlay, MkbookBuildsTheBookAndResetsTheGame) {
    EXPECT_NE(builder.output().find("\nmerging...\npruning...\ndone\n"
                                    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -\n"),
              std::string::npos)
        << builder.output();
    EXPECT_EQ(builder.read_file("book.opn").size(), 4u * 14);  // four positions
    EXPECT_EQ(builder.read_file("tmp.opn"), "");
    EXPECT_EQ(builder.read_file("tmp__0.opn"), "");

    builder.write_file("vorn.rc", "VornBook book.opn\n");
    const std::string out = run_engine({"-c", "-hash", "1"}, "e4\ne5\nbook\nNf3\nNc6\nbook\nquit", builder.directory());
    // The position after 2... Nc6 is in the book but has no move after it.
    EXPECT_EQ(count_of(out, "book move is g1f3\n"), 1) << out;
    EXPECT_EQ(count_of(out, "book move is"), 1) << out;
}

TEST_F(BookPlay, UciAnswersBookMovesWithoutSearchingUpToTheBookDepth) {
    builder.write_file("vorn.rc", "VornBook book.opn\nBookDepth 2\n");
    EngineProcess engine({"-hash", "4"}, builder.directory());
    engine.send("uci\nsetoption name OwnBook value true");
    struct Case {
        const char* moves;
        const char* book_move;  // nullptr: the engine searches
    } const cases[] = {
        {"", "e2e4"},
        {" moves e2e4", "e7e5"},
        {" moves e2e4 e7e5", "g1f3"},
        {" moves e2e4 e7e5 g1f3", nullptr},  // 3 plies: beyond the book depth
        {" moves d2d4", nullptr},            // not in the book
    };
    for (const Case& c : cases) {
        const std::string reply = search(engine, std::string("position startpos") + c.moves + "\ngo depth 3");
        if (c.book_move) {
            EXPECT_NE(reply.find(std::string("info string book move\nbestmove ") + c.book_move + "\n"),
                      std::string::npos)
                << reply;
            EXPECT_EQ(reply.find("info depth"), std::string::npos) << reply;
        } else {
            EXPECT_NE(reply.find("info depth"), std::string::npos) << reply;
            EXPECT_EQ(reply.find("book move"), std::string::npos) << reply;
        }
    }
    const std::string off = search(engine, "setoption name OwnBook value false\nposition startpos\ngo depth 3");
    EXPECT_NE(off.find("info depth"), std::string::npos) << off;
    EXPECT_EQ(engine.quit(), 0);
}

}  // namespace

}  // namespace vorn
