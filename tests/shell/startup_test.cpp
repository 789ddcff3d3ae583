// Start-up, switches, log and shutdown, seen from outside the process.

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/scratch_directory.h"
#include "tests/shell/engine_process.h"

namespace vorn {

namespace {

int thread_count(pid_t pid) {
    DIR* dir = opendir(("/proc/" + std::to_string(pid) + "/task").c_str());
    if (!dir) return -1;
    int count = 0;
    while (dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
    closedir(dir);
    return count;
}

// Sends "isready" and waits for its answer, so start-up is complete.
void expect_ready(EngineProcess& engine) {
    engine.send("isready");
    ASSERT_GE(engine.wait_for("readyok", 10), 0) << engine.output();
}

TEST(Startup, TheLogIsRecreatedAndHoldsTheEchoedCommands) {
    EngineProcess engine;
    expect_ready(engine);
    EXPECT_EQ(engine.quit(), 0);
    EXPECT_EQ(engine.output(), "CMD: isready\nreadyok\nCMD: quit\n");
    EXPECT_EQ(engine.read_file("vorn.log"), engine.output());

    // A second run in the same directory starts a fresh log; an (empty)
    // settings file is reported before the switches are read.
    engine.write_file("vorn.rc", "");
    run_engine({}, "quit", engine.directory());
    EXPECT_EQ(engine.read_file("vorn.log"),
              "loaded parameters from vorn.rc\n\nfile vorn.rc contains invalid PST\nCMD: quit\n");

    // -quiet and -nolog leave the log empty.
    for (const char* option : {"-quiet", "-nolog"}) {
        ScratchDirectory dir;
        run_engine({option}, "isready\nquit", dir.path);
        EXPECT_EQ(read_file("vorn.log"), "") << option;
    }
}

// Asking what the program is answers on standard output and exits, before
// the log is replaced or anything is read.
TEST(Startup, HelpAndVersionAnswerWithoutStartingTheEngine) {
    const std::vector<std::string> switches = {"-uci", "-c", "-hash", "-threads", "-d", "-t", "-n",
        "-nolog", "-quiet", "-noise", "-uci_extra", "-bench", "-bench2", "-pbench", "bench",
        "-anepd", "-tune", "-tune_all", "-scan_pgn1", "-match", "--version", "man 6 vorn"};
    const struct {
        std::vector<std::string> args;
        const char* begins;
    } requests[] = {
        {{"--help"}, "Usage: vorn"},
        {{"-c", "-h", "-bench"}, "Usage: vorn"},
        {{"--version", "--help"}, "Vorn 3.50\ncompiler: "},
        {{"-t", "--help", "--version"}, "Vorn 3.50\ncompiler: "},  // the first is -t's value
    };
    for (const auto& request : requests) {
        ScratchDirectory scratch;
        write_file("vorn.log", "kept");
        const std::string text = run_engine(request.args, "", scratch.path);
        EXPECT_EQ(text.rfind(request.begins, 0), 0u) << text;
        EXPECT_EQ(read_file("vorn.log"), "kept") << request.args[0];
        if (text.rfind("Usage", 0) != 0) continue;
        for (const std::string& word : switches) EXPECT_NE(text.find(word), std::string::npos) << word;
    }
}

// A book that is not a regular file is no book: a FIFO must not block
// start-up, nor /dev/zero stall it reading records.
TEST(Startup, ABookThatIsNotARegularFileIsNoBook) {
    ScratchDirectory dir;
    ASSERT_EQ(mkfifo("vorn.opn", 0600), 0);
    for (const char* settings : {"", "VornBook /dev/zero\n", "VornBook .\n"}) {
        if (settings[0]) write_file("vorn.rc", settings);
        EXPECT_NE(run_engine({"-nolog"}, "uci\nquit", dir.path, 5).find("uciok"), std::string::npos) << settings;
    }
}

// (Values below one are clamped by the command-line reader, checked there.)
TEST(Startup, ThreadsSwitchStartsThatManyWorkersUpToSixtyFour) {
    // Counted against a one-worker run, so helper threads of the runtime
    // (a sanitizer's, say) do not matter.
    auto threads_with = [](const char* value) {
        EngineProcess engine({"-hash", "1", "-threads", value});
        expect_ready(engine);
        return thread_count(engine.pid());
    };
    const int one = threads_with("1");
    EXPECT_EQ(threads_with("3"), one + 2);
    EXPECT_EQ(threads_with("100"), one + 63);
}

}  // namespace

}  // namespace vorn
