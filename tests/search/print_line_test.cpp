#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "board/notation.h"
#include "tests/search/search_fixture.h"

namespace {

std::string printed(int thread_index, int pv_index, int depth, int score, const uint16_t* pv) {
    testing::internal::CaptureStdout();
    print_search_line(thread_index, pv_index, depth, score, pv);
    return testing::internal::GetCapturedStdout();
}

// e2e4 e7e5 g1f3 b8c6 ... as a zero-terminated line from index 1.
void knight_dance(uint16_t* pv, int moves) {
    const uint16_t cycle[4] = {encode_move(6, 21), encode_move(62, 45), encode_move(21, 6), encode_move(45, 62)};
    for (int i = 1; i <= moves; i++) pv[i] = cycle[(i - 1) % 4];
    pv[moves + 1] = 0;
}

struct PrintLine : ::testing::Test {
    void SetUp() override {
        engine_up(1);
        set_game_position("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
        read_clock(1);
        prepare_search();
        shell.noise = 0.0;
        stop_signal = STOP_REPORT;
    }
    void TearDown() override {
        shell.noise = 9999.0;
        shell.protocol_mode = PROTOCOL_UCI;
        shell.uci_extra = 0;
        limits.multipv = 1;
        root_tb_result = -1;
        stop_signal = STOP_RUN;
    }
    uint16_t pv[kMaxPly] = {};
};

}  // namespace

TEST_F(PrintLine, UciScoresAndFields) {
    knight_dance(pv, 2);
    std::string out = printed(1, 0, 7, 35, pv);
    EXPECT_EQ(out.rfind("info depth 7 seldepth ", 0), 0u) << out;
    EXPECT_NE(out.find(" score cp 35 nodes "), std::string::npos) << out;
    EXPECT_NE(out.find(" tbhits 0 pv g1f3 g8f6\n"), std::string::npos) << out;

    EXPECT_NE(printed(1, 0, 7, 9998, pv).find("score mate 1 "), std::string::npos);
    EXPECT_NE(printed(1, 0, 7, 9993, pv).find("score mate 3 "), std::string::npos);
    EXPECT_NE(printed(1, 0, 7, -9997, pv).find("score mate -2 "), std::string::npos);
    EXPECT_NE(printed(1, 0, 7, -9900, pv).find("score cp -9900 "), std::string::npos);

    limits.multipv = 3;
    shell.uci_extra = 1;
    EXPECT_EQ(printed(1, 1, 7, 0, pv).rfind("info multipv 2 [01.] depth 7 ", 0), 0u);
    // Interim lines (pv_index -1) exist only with one variation; their mark is blank.
    limits.multipv = 1;
    EXPECT_EQ(printed(1, -1, 7, 0, pv).rfind("info [01 ] depth 7 ", 0), 0u);
}

TEST_F(PrintLine, NothingForAnEmptyLineDepthZeroOrSilence) {
    EXPECT_EQ(printed(1, 0, 7, 0, pv), "");
    knight_dance(pv, 1);
    EXPECT_EQ(printed(1, 0, 0, 0, pv), "");
    shell.noise = 9999.0;
    EXPECT_EQ(printed(1, 0, 5, 0, pv), "");
    // Before the noise time has passed a running search stays quiet.
    shell.noise = 1000.0;
    stop_signal = STOP_RUN;
    EXPECT_EQ(printed(1, 0, 5, 0, pv), "");
}

TEST_F(PrintLine, TablebaseRootForcesTheScore) {
    knight_dance(pv, 1);
    root_tb_result = 4;
    EXPECT_NE(printed(1, 0, 5, 120, pv).find("score cp 9800 "), std::string::npos);
    EXPECT_NE(printed(1, 0, 5, 9995, pv).find("score mate 2 "), std::string::npos);
    root_tb_result = 0;
    EXPECT_NE(printed(1, 0, 5, 120, pv).find("score cp -9800 "), std::string::npos);
    root_tb_result = 2;
    EXPECT_NE(printed(1, 0, 5, 120, pv).find("score cp 0 "), std::string::npos);
}

TEST_F(PrintLine, ConsoleFormWrapsLongLines) {
    shell.protocol_mode = PROTOCOL_CONSOLE;
    knight_dance(pv, 20);
    std::string out = printed(1, 0, 9, -42, pv);
    EXPECT_EQ(out.rfind("01] 09. ", 0), 0u) << out;
    EXPECT_NE(out.find("K   -42  g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8\n" + std::string(30, ' ') + "g1f3"),
              std::string::npos)
        << out;
    // Stopped: up to 32 moves; running: only 8.
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 3);
    stop_signal = STOP_RUN;
    shell.noise = 0.0;
    out = printed(1, 0, 9, -42, pv);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
}
