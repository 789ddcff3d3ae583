// The long tools' progress line: drawn on standard error when that is a
// terminal, cleared at the end, and never seen on standard output or a pipe.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/scratch_directory.h"
#include "tests/shell/engine_process.h"

namespace vorn {

namespace {

// Three quiet positions with results, for the EPD runner and the tuner.
constexpr const char* kPositions =
    "r1bqkb1r/pppp1ppp/2n2n2/4p3/4P3/2N2N2/PPPP1PPP/R1BQKB1R w KQkq - bm Bb5; ce 20; c9 \"1-0\";\n"
    "rnbqkbnr/pp1ppppp/8/2p5/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - bm Nf3; ce 30; c9 \"1/2-1/2\";\n"
    "rnbqkb1r/pppppppp/5n2/8/3P4/8/PPP1PPPP/RNBQKBNR w KQkq - bm c4; ce 10; c9 \"0-1\";\n";

constexpr const char* kGames =
    "[Event \"a\"]\n[Result \"1-0\"]\n\n1. e4 e5 2. Nf3 Nc6 3. Bb5 a6 1-0\n\n"
    "[Event \"b\"]\n[Result \"0-1\"]\n\n1. d4 d5 2. c4 e6 0-1\n";

struct Tool {
    std::vector<std::string> args;
    const char* shown;  // a piece of the progress line
};

const Tool kTools[] = {
    {{"-anepd", "suite.epd", "-d", "1", "-quiet"}, "% of the file"},
    {{"-tune", "suite.epd"}, "/100 passes"},
    {{"-scan_pgn2", "games.pgn"}, "% of the file"},
};

// Appends what is waiting on the descriptor; false once its writers are gone
// (a terminal whose other side closed reads as an error).
bool read_waiting(int fd, std::string& text) {
    pollfd request{fd, POLLIN, 0};
    if (poll(&request, 1, 0) <= 0) return true;
    char buffer[4096];
    const ssize_t n = read(fd, buffer, sizeof buffer);
    if (n <= 0) return false;
    text.append(buffer, static_cast<std::size_t>(n));
    return true;
}

// Runs the tool with standard error on a new terminal or a pipe; returns
// what arrived there, and the standard output in `output`.
std::string error_output_of(const Tool& tool, bool terminal, std::string& output) {
    ScratchDirectory scratch;
    write_file("suite.epd", kPositions);
    write_file("games.pgn", kGames);
    int reader = -1, writer = -1;
    if (terminal) {
        reader = posix_openpt(O_RDWR | O_NOCTTY);
        if (reader < 0 || grantpt(reader) != 0 || unlockpt(reader) != 0) return "no terminal";
        writer = open(ptsname(reader), O_RDWR | O_NOCTTY);
    } else {
        int ends[2];
        if (pipe(ends) != 0) return "no pipe";
        reader = ends[0];
        writer = ends[1];
    }
    EngineProcess engine(tool.args, scratch.path, writer);
    close(writer);
    // Both outputs are read as they come: a full one would stop the tool.
    std::string error;
    for (int rounds = 0; rounds < 3000 && read_waiting(reader, error); ++rounds) engine.drain(0.01);
    close(reader);
    EXPECT_EQ(engine.wait_exit(10), 0);
    output = engine.output();
    return error;
}

TEST(ProgressDisplay, OnATerminalOnlyAndNeverOnStandardOutput) {
    for (const Tool& tool : kTools) {
        std::string output, piped_output;
        const std::string shown = error_output_of(tool, true, output);
        EXPECT_NE(shown.find(tool.shown), std::string::npos) << tool.args[0] << ": " << shown;
        // Drawn in place and wiped at the end: the last bytes blank the line.
        ASSERT_GE(shown.size(), 2u) << tool.args[0];
        EXPECT_EQ(shown.substr(shown.size() - 2), " \r") << tool.args[0];
        EXPECT_EQ(output.find('\r'), std::string::npos) << tool.args[0];

        EXPECT_EQ(error_output_of(tool, false, piped_output), "") << tool.args[0];
        EXPECT_EQ(piped_output.find('\r'), std::string::npos) << tool.args[0];
    }
}

}  // namespace

}  // namespace vorn
