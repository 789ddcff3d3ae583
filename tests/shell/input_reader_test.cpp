#include "shell/input_reader.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace {

// A reader fed through a pipe the test writes into.
struct PipeReader {
    int fds[2] = {-1, -1};
    InputReader reader;
    PipeReader() {
        EXPECT_EQ(pipe(fds), 0);
        reader.fd = fds[0];
    }
    ~PipeReader() {
        close(fds[0]);
        if (fds[1] >= 0) close(fds[1]);
    }
    void write_text(const std::string& text) {
        std::size_t done = 0;
        while (done < text.size()) {
            ssize_t n = write(fds[1], text.data() + done, text.size() - done);
            ASSERT_GT(n, 0);
            done += static_cast<std::size_t>(n);
        }
    }
    void close_writer() {
        close(fds[1]);
        fds[1] = -1;
    }
    // One reader call: queue what waits, take at most one line.
    std::string next() {
        fill_queue(reader);
        char command[kMaxCommandLength + 1];
        return take_command(reader, command, sizeof command) ? std::string(command) : "<none>";
    }
};

TEST(InputReader, NothingWaitingReturnsAtOnce) {
    PipeReader p;
    EXPECT_EQ(p.next(), "<none>");
    EXPECT_FALSE(input_exhausted(p.reader));
}

TEST(InputReader, TwoLinesInOneWriteComeOutOnSuccessiveCalls) {
    PipeReader p;
    p.write_text("isready\ngo infinite\n");
    EXPECT_EQ(p.next(), "isready");
    EXPECT_EQ(p.next(), "go infinite");
    EXPECT_EQ(p.next(), "<none>");
}

TEST(InputReader, PartialLineWaitsForItsLineFeed) {
    PipeReader p;
    p.write_text("posi");
    EXPECT_EQ(p.next(), "<none>");
    p.write_text("tion startpos");
    EXPECT_EQ(p.next(), "<none>");
    p.write_text("\nisr");
    EXPECT_EQ(p.next(), "position startpos");
    EXPECT_EQ(p.next(), "<none>");
}

TEST(InputReader, CarriageReturnsEmptyLinesAndSeparators) {
    PipeReader p;
    p.write_text("isready\r\n\n\r\n   \nuci@ucinewgame@@quit\n");
    EXPECT_EQ(p.next(), "isready");
    EXPECT_EQ(p.next(), "   ");  // blank-only lines are the interpreters' to ignore
    EXPECT_EQ(p.next(), "uci");
    EXPECT_EQ(p.next(), "ucinewgame");
    EXPECT_EQ(p.next(), "quit");
    EXPECT_EQ(p.next(), "<none>");
}

TEST(InputReader, OverlongLineIsCutAndTheNextLineSurvives) {
    PipeReader p;
    std::string huge(100000, 'x');
    // Write from a child so the pipe's capacity cannot block the test.
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        p.write_text(huge + "\nisready\n");
        _exit(0);
    }
    close(p.fds[1]);
    p.fds[1] = -1;
    std::string first;
    for (int i = 0; i < 100000 && (first.empty() || first == "<none>"); ++i) first = p.next();
    EXPECT_EQ(first.size(), static_cast<std::size_t>(kMaxCommandLength));
    EXPECT_EQ(first, huge.substr(0, kMaxCommandLength));
    std::string second;
    for (int i = 0; i < 100000 && (second.empty() || second == "<none>"); ++i) second = p.next();
    EXPECT_EQ(second, "isready");
    waitpid(child, nullptr, 0);
}

TEST(InputReader, EndOfInputFinishesQueuedLinesThenReportsExhausted) {
    PipeReader p;
    p.write_text("isready\nquit");  // the last line has no line feed
    p.close_writer();
    EXPECT_EQ(p.next(), "isready");
    EXPECT_FALSE(input_exhausted(p.reader));
    EXPECT_EQ(p.next(), "quit");
    EXPECT_EQ(p.next(), "<none>");
    EXPECT_TRUE(input_exhausted(p.reader));
    // Further calls neither block nor read again.
    EXPECT_EQ(p.next(), "<none>");
    EXPECT_FALSE(input_available(p.reader));
}

TEST(InputReader, ManyShortLinesAreNeverLost) {
    PipeReader p;
    std::string burst;
    for (int i = 0; i < 3000; ++i) {
        burst += "line";
        burst += std::to_string(i);
        burst += '\n';
    }
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        p.write_text(burst);
        _exit(0);
    }
    close(p.fds[1]);
    p.fds[1] = -1;
    int expected = 0;
    for (int calls = 0; calls < 1000000 && !input_exhausted(p.reader); ++calls) {
        std::string line = p.next();
        if (line == "<none>") continue;
        ASSERT_EQ(line.substr(4), std::to_string(expected));
        ++expected;
    }
    EXPECT_EQ(expected, 3000);
    waitpid(child, nullptr, 0);
}

}  // namespace
