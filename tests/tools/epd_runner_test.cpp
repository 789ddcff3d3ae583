// The EPD runner: the prediction error from `evaluate` and the logistic
// formula, the records a selector takes, the best-move rule, bad files.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "board/make_move.h"
#include "tests/tools/tool_fixture.h"
#include "tools/epd_runner.h"

namespace vorn {

namespace {

class EpdRunner : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();  // "unsolved.epd" is written in the fresh directory
        std::snprintf(shell.epd_file, sizeof shell.epd_file, "test.epd");
    }

    // The run's totals; what it printed is left in `printed`.
    EpdRunTotals run(uint32_t selector, int depth) {
        limits.max_depth = static_cast<uint8_t>(depth);
        EpdRunTotals totals;
        printed = printed_by([&] { totals = run_epd_totals(selector); });
        return totals;
    }

    std::string printed;
};

// Quiet middlegame positions, one for each side to move.
const std::string kWhiteToMove = "r1bqkb1r/pppp1ppp/2n2n2/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq -";
const std::string kBlackToMove = "r1bqkb1r/pppp1ppp/2n2n2/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R b KQkq -";

// Which records count towards the prediction error, read in every form the
// result and the prior score come in; the error of the static evaluation
// (depth 0) is what the tuner fits.
TEST_F(EpdRunner, PredictionErrorCountsRecordsWithAUsableResult) {
    const std::string& w = kWhiteToMove;
    const std::string& b = kBlackToMove;
    const struct {
        std::string record;
        bool counted;
    } cases[] = {
        {w + " c9 \"1/2-1/2\";", true},
        {b + " c9 \"0-1\";", true},
        {b + " ce 150; c9 \"1-0\";", false},         // the prior contradicts the result
        {w + " ce 240; c9 \"1-0\"; id \"x\";", true},
        {w + " ce 1200; c9 \"1-0\";", false},        // clamped to 950, beyond 700: left out
        {w + " 1-0", true},                          // old-style result after the side field
        {b + " 1/2", true},
        {w + " c9 \"*\";", false},
        {"4k3/8/8/8/8/8/8/r3K3 w - - c9 \"1/2-1/2\";", false},  // in check: no static score
    };
    std::string all;
    double sum = 0.0;
    int counted = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.record);
        write_file("test.epd", c.record + "\n");
        all += c.record + "\n";
        const EpdRunTotals totals = run(kEpdQuiet, 0);
        ASSERT_EQ(totals.positions, 1);
        EXPECT_EQ(totals.error_count, c.counted ? 1 : 0);
        EXPECT_TRUE(!c.counted || (totals.error_sum > 0.0 && totals.error_sum < 1.0));
        sum += totals.error_sum;
        counted += c.counted;
    }
    write_file("test.epd", all);
    EXPECT_NEAR(run_epd(kEpdQuiet), sum / counted, 1e-12);  // the mean over the counted records
    // The tuner's quiet measure evaluates without the search driver; a
    // talkative run searches each root at depth 0 and must agree.
    shell.noise = 0.0;
    EXPECT_EQ(run(0, 0).error_sum, sum);
}

TEST_F(EpdRunner, OnlyTheSingleBestMoveCountsAsSolved) {
    // The knight takes a loose queen; a depth-2 search cannot miss it.
    const std::string fen = "4k3/8/8/8/3q4/8/4N3/4K3 w - -";
    const struct {
        const char* operations;
        int correct;
    } cases[] = {
        {"bm Nxd4; c9 \"1-0\";", 1}, {"bm Nxd4+; id \"check mark\";", 1},
        {"bm Nxd4!;", 1},    {"bm Nxd4?!;", 1},
        {"bm Nxd4#;", 1},    {"bm Nxd4 Nc3;", 0},
        {"bm Nf3 Nc3;", 0},  {"bm Ke2;", 0},
        {"am Nxd4;", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.operations);
        write_file("test.epd", fen + " " + c.operations + "\n");
        const EpdRunTotals totals = run(kEpdQuiet, 2);
        EXPECT_EQ(totals.positions, 1);
        EXPECT_EQ(totals.correct, c.correct);
        EXPECT_EQ(totals.error_count, 0);  // the search score is not the static one
    }
    // From depth 6 on the workers search while this thread waits for them.
    engine_up(2);
    write_file("test.epd", fen + " bm Nxd4;\n" + fen + " bm Nc3;\n");
    const EpdRunTotals totals = run(0, 6);
    EXPECT_EQ(totals.correct, 1);
    EXPECT_EQ(totals.depth_sum, 12);
    EXPECT_EQ(read_file("unsolved.epd"), fen + " bm Nc3;\n");
}

// "unsolved.epd" holds the records not solved, whole (however long) and in
// input order, and can be the input of the next run: a byte-order mark, a
// record that cannot be searched (no averages count it) and one the search
// solves go through such a run twice.
TEST_F(EpdRunner, UnsolvedRecordsAreKeptWholeAndCanBeRunAgain) {
    const std::string solved = "4k3/8/8/8/3q4/8/4N3/4K3 w - - bm Nxd4!; id \"a\";";
    const std::string missed = "4k3/8/8/8/3q4/8/4N3/4K3 w - - bm Nc3; id \"" + std::string(400, 'b') + "\";";
    const std::string kingless = "8/8/8/8/8/8/8/8 w - - bm e4; id \"c\";";
    write_file("unsolved.epd", "\xEF\xBB\xBF" + solved + "\r\n# note\n" + missed + "\n" + kingless);
    std::snprintf(shell.epd_file, sizeof shell.epd_file, "unsolved.epd");
    for (int pass = 0; pass < 2; ++pass) {
        const EpdRunTotals totals = run(0, 2);
        EXPECT_EQ(totals.positions, 3 - pass);
        EXPECT_EQ(totals.searched, 2 - pass);
        EXPECT_EQ(totals.correct, 1 - pass);
        EXPECT_NE(printed.find("avg depth= 2.0\n"), std::string::npos) << printed;
        EXPECT_EQ(read_file("unsolved.epd"), missed + "\n" + kingless + "\n");
    }
    // A quit before the first record leaves every record unsolved.
    shell.quit_requested = 1;
    run(kEpdQuiet, 2);
    EXPECT_EQ(read_file("unsolved.epd"), missed + "\n" + kingless + "\n");
}

TEST_F(EpdRunner, SelectorSamplesEverySixteenthUsableRecordAndQuietsTheRun) {
    std::string text = "# a comment\n";
    for (int i = 1; i <= 50; ++i) {
        text += kWhiteToMove + " id \"r" + std::to_string(i) + "\";\n";
        if (i % 7 == 0) text += "; between records\n short\n\nxxxxxxxx\n";
    }
    write_file("test.epd", text);
    EXPECT_EQ(run(kEpdQuiet, 0).positions, 50);
    EXPECT_EQ(printed, "");

    shell.noise = 0.0;
    EXPECT_EQ(run(3, 0).positions, 3);
    std::vector<std::string> ids;
    for (std::size_t at = 0; (at = printed.find("id \"r", at)) != std::string::npos; at += 5)
        ids.push_back(printed.substr(at + 5, printed.find('"', at + 5) - at - 5));
    EXPECT_EQ(ids, (std::vector<std::string>{"13", "29", "45"}));
    EXPECT_EQ(printed.find("Analyzing"), std::string::npos);
    EXPECT_EQ(printed.find("correct best moves"), std::string::npos);

    shell.noise = 9999.0;
    run(0, 0);
    EXPECT_NE(printed.find("Analyzing test.epd..."), std::string::npos);
    EXPECT_NE(printed.find("0 / 50 correct best moves\n"), std::string::npos);
}

TEST_F(EpdRunner, MissingOrGarbageFilesNeverCrash) {
    EXPECT_EQ(run_epd(kEpdQuiet), 1.0);  // no test.epd
    // Named in one line by a talkative run; not a regular file counts as unreadable.
    ASSERT_EQ(mkfifo("fifo.epd", 0600), 0);
    for (const char* name : {"test.epd", "fifo.epd", "/dev/zero", "."}) {
        std::snprintf(shell.epd_file, sizeof shell.epd_file, "%s", name);
        EXPECT_EQ(run(0, 1).files_opened, false);
        EXPECT_EQ(printed.rfind(std::string("cannot read ") + name + ": ", 0), 0u) << printed;
    }
    std::snprintf(shell.epd_file, sizeof shell.epd_file, "test.epd");
    write_file("test.epd", kWhiteToMove + " bm Nc3;\n");
    ASSERT_EQ(mkdir("unsolved.epd", 0700), 0);  // cannot be created as a file
    EXPECT_EQ(run(kEpdQuiet, 1).positions, 0);
    EXPECT_EQ(run_epd(kEpdQuiet), 1.0);
    EXPECT_EQ(run(kEpdQuiet, 0).positions, 1);  // the tuner's depth does not write it
    ASSERT_EQ(rmdir("unsolved.epd"), 0);

    std::string junk;
    for (int i = 0; i < 600; ++i) junk += static_cast<char>((i * 37 + 11) % 255 + 1);
    const std::string long_record = kWhiteToMove + " id \"" + std::string(300, 'x') + "\"; c9 \"1-0\";";
    const std::string records[] = {
        "",                                        // empty file
        junk,
        long_record,                               // cut at 254: one record, no result left
        "rnbqkbnr/ppp w\n",
        "8/8/8/8/8/8/8/8 w - - bm e4;\n",           // no kings
        "KKKKKKKK/kkkkkkkk/8/8/8/8/8/8 b - -\n",
        "4k3/8/8/8/8/8/8/4K2Q b - - bm Qh8;\n",      // the side not to move is in check
        "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/8/8/8/8/k6K w - - ce 99999999999;\n",
        "P7/8/8/8/8/8/8/k6K w - - 1-0\n",
        "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - bm " + std::string(200, 'N') + ";\n",
    };
    for (const std::string& record : records) {
        write_file("test.epd", record);
        for (int depth : {0, 1, 3}) {
            const EpdRunTotals totals = run(kEpdQuiet, depth);
            EXPECT_TRUE(totals.files_opened);
            EXPECT_EQ(totals.error_count, 0);
        }
    }
    write_file("test.epd", long_record + "\n" + kWhiteToMove + " c9 \"1/2-1/2\";\n");
    const EpdRunTotals totals = run(kEpdQuiet, 0);
    EXPECT_EQ(totals.positions, 2);  // the rest of the long line is no record
    EXPECT_EQ(totals.error_count, 1);
}

}  // namespace

}  // namespace vorn
