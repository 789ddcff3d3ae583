#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "board/notation.h"
#include "tests/search/search_fixture.h"

namespace vorn {

namespace {

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
        root_tb_result = -1;
        stop_signal = STOP_RUN;
    }
};

}  // namespace

// Each row prints one line of `moves` moves (the knights' dance from the
// start) and matches the whole output against a pattern; "" means nothing
// is printed.
TEST_F(PrintLine, FieldsScoresAndWhenNothingIsPrinted) {
    const struct {
        int moves, depth, score, tb_result;
        bool console, running;
        double noise;
        const char* printed;
    } cases[] = {
        {2, 7, 35, -1, false, false, 0,
         "^info depth 7 seldepth -?\\d+ time \\d+ score cp 35 nodes \\d+ nps \\d+ tbhits 0 pv g1f3 g8f6\n$"},
        {1, 7, -9900, -1, false, false, 0, " score cp -9900 "},  // mates: the Mates test
        // A tablebase root shows its result unless a mate is found.
        {1, 5, 120, 4, false, false, 0, " score cp 9800 "},
        {1, 5, 9995, 4, false, false, 0, " score mate 2 "},
        {1, 5, 120, 0, false, false, 0, " score cp -9800 "},
        {1, 5, 120, 2, false, false, 0, " score cp 0 "},
        // The console form: 8 moves a line, 32 once stopped, 8 while running.
        {20, 9, -42, -1, true, false, 0,
         "^01\\] 09\\. [^\n]*K   -42  g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 f6g8\n {30}g1f3[^\n]*\n {30}[^\n]*\n$"},
        {20, 9, -42, -1, true, true, 0, "^01\\] 09\\. [^\n]*\n$"},
        // Nothing for an empty line, depth 0, silence, or a running search
        // before the noise time.
        {0, 7, 0, -1, false, false, 0, ""},
        {1, 0, 0, -1, false, false, 0, ""},
        {1, 5, 0, -1, false, false, 9999, ""},
        {1, 5, 0, -1, false, true, 1000, ""},
    };
    const uint16_t cycle[4] = {encode_move(6, 21), encode_move(62, 45), encode_move(21, 6), encode_move(45, 62)};
    for (const auto& c : cases) {
        uint16_t pv[kMaxPly] = {};
        for (int i = 1; i <= c.moves; i++) pv[i] = cycle[(i - 1) % 4];
        root_tb_result = c.tb_result;
        shell.protocol_mode = c.console ? PROTOCOL_CONSOLE : PROTOCOL_UCI;
        stop_signal = c.running ? STOP_RUN : STOP_REPORT;
        shell.noise = c.noise;
        testing::internal::CaptureStdout();
        print_search_line(1, 0, c.depth, c.score, pv);
        const std::string out = testing::internal::GetCapturedStdout();
        if (*c.printed)
            EXPECT_TRUE(std::regex_search(out, std::regex(c.printed))) << c.printed << "\n" << out;
        else
            EXPECT_EQ(out, "") << c.moves << " " << c.depth << " " << c.noise;
    }
}

}  // namespace vorn
