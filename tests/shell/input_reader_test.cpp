#include "shell/input_reader.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace vorn {

namespace {

// A reader on a pipe. Large texts are written by a child process so the
// pipe's capacity cannot block the test.
struct PipeReader {
    int fds[2] = {-1, -1};
    InputReader reader;
    PipeReader() {
        EXPECT_EQ(pipe(fds), 0);
        reader.fd = fds[0];
    }
    ~PipeReader() {
        close(fds[0]);
        close_writer();
    }
    void write_text(const std::string& text) {
        for (std::size_t done = 0; done < text.size();) {
            ssize_t n = write(fds[1], text.data() + done, text.size() - done);
            ASSERT_GT(n, 0);
            done += static_cast<std::size_t>(n);
        }
    }
    void write_from_child_and_close(const std::string& text) {
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            write_text(text);
            _exit(0);
        }
        close_writer();
        children = child;
    }
    void close_writer() {
        if (fds[1] >= 0) close(fds[1]);
        fds[1] = -1;
    }
    // One reader call: queue what waits, take at most one line ("<none>",
    // "<overlong>").
    const std::string& next() {
        fill_queue(reader);
        switch (take_line(reader, last)) {
            case TakenLine::none: last.assign("<none>"); break;
            case TakenLine::overlong: last.assign("<overlong>"); break;
            case TakenLine::line: break;
        }
        return last;
    }
    // Calls the reader until a line comes or the input is exhausted.
    const std::string& next_line() {
        for (int calls = 0; calls < 1000000 && !input_exhausted(reader); ++calls) {
            if (next() != "<none>") return last;
        }
        last.assign("<none>");
        return last;
    }
    std::string last;
    pid_t children = -1;
};

TEST(InputReader, LinesSeparatorsAndTheEndOfInput) {
    PipeReader p;
    EXPECT_EQ(p.next(), "<none>");
    p.write_text("isready\ngo infi");
    EXPECT_EQ(p.next(), "isready");
    EXPECT_EQ(p.next(), "<none>");  // the second line has not ended yet
    // CR LF ends one line, a bare CR one too, '@' separates commands; a tab
    // is a blank and empty lines are skipped.
    p.write_text("nite\r\n\n\r\n   \nuci@ucinewgame@@quit\rgo\tdepth\t3\r\r\nstop\nquit");
    for (const char* expected : {"go infinite", "   ", "uci", "ucinewgame", "quit", "go depth 3"})
        EXPECT_EQ(p.next(), expected);
    // Once the input ends the queued lines still come, the last one
    // without a line feed, and the closed pipe is not read again.
    p.close_writer();
    EXPECT_EQ(p.next(), "stop");
    EXPECT_FALSE(input_exhausted(p.reader));
    EXPECT_EQ(p.next(), "quit");
    EXPECT_EQ(p.next(), "<none>");
    EXPECT_TRUE(input_exhausted(p.reader));
    EXPECT_FALSE(input_available(p.reader));
}

TEST(InputReader, OverlongLinesAreDroppedWholeAndBurstsAreNeverLost) {
    PipeReader p;
    std::string text(kMaxCommandLength, 'x');
    text += "\n" + std::string(kMaxCommandLength + 1, 'y') + "\nisready\n";
    for (int i = 0; i < 3000; ++i) {
        text += "line";
        text += std::to_string(i);
        text += '\n';
    }
    p.write_from_child_and_close(text);
    EXPECT_EQ(p.next_line(), std::string(kMaxCommandLength, 'x'));
    EXPECT_EQ(p.next_line(), "<overlong>");
    EXPECT_EQ(p.next_line(), "isready");
    int expected = 0;
    while (p.next_line() != "<none>") {
        ASSERT_EQ(p.last.compare(4, std::string::npos, std::to_string(expected)), 0) << p.last;
        ++expected;
    }
    EXPECT_EQ(expected, 3000);
    waitpid(p.children, nullptr, 0);
}

}  // namespace

}  // namespace vorn
