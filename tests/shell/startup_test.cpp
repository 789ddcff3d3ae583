// Start-up, switches, log and shutdown, seen from outside the process.

#include <gtest/gtest.h>

#include <dirent.h>

#include <fstream>
#include <string>

#include "tests/shell/engine_process.h"

namespace {

int thread_count(pid_t pid) {
    std::string path = "/proc/" + std::to_string(pid) + "/task";
    DIR* dir = opendir(path.c_str());
    if (!dir) return -1;
    int count = 0;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') ++count;
    }
    closedir(dir);
    return count;
}

long resident_kilobytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string key;
    while (status >> key) {
        if (key == "VmRSS:") {
            long kb = 0;
            status >> kb;
            return kb;
        }
    }
    return -1;
}

// Sends "isready" and waits for its answer, so start-up is complete.
void expect_ready(EngineProcess& engine) {
    std::size_t from = engine.output().size();
    engine.send("isready");
    ASSERT_GE(engine.wait_for("readyok", 10, from), 0) << engine.output();
}

TEST(Startup, QuitAndEndOfInputBothExitWithStatusZero) {
    EngineProcess by_quit;
    expect_ready(by_quit);
    by_quit.send("quit");
    EXPECT_EQ(by_quit.wait_exit(10), 0);

    EngineProcess by_eof({"-c"});
    by_eof.close_input();
    EXPECT_EQ(by_eof.wait_exit(10), 0);
}

TEST(Startup, LogIsRecreatedAndHoldsTheEchoedCommands) {
    EngineProcess engine;
    expect_ready(engine);
    EXPECT_NE(engine.output().find("CMD: isready\nreadyok\n"), std::string::npos);
    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(10), 0);
    std::string log = engine.read_file("vorn.log");
    EXPECT_NE(log.find("CMD: isready\nreadyok\n"), std::string::npos) << log;


    // A second run in the same directory starts a fresh log.
    std::ofstream(engine.directory() + "/vorn.log") << "old content\n";
    {
        EngineProcess again({}, engine.directory());
        expect_ready(again);
        again.send("quit");
        EXPECT_EQ(again.wait_exit(10), 0);
    }
    log = engine.read_file("vorn.log");
    EXPECT_EQ(log.find("old content"), std::string::npos);
    EXPECT_EQ(log.rfind("CMD: isready", 0), 0u) << log;
}

TEST(Startup, QuietAndNologLeaveTheLogEmpty) {
    for (const char* option : {"-quiet", "-nolog"}) {
        EngineProcess engine({option});
        expect_ready(engine);
        EXPECT_EQ(engine.output().find("CMD:"), std::string::npos) << option;
        engine.send("quit");
        EXPECT_EQ(engine.wait_exit(10), 0);
        EXPECT_TRUE(engine.file_exists("vorn.log"));
        EXPECT_EQ(engine.read_file("vorn.log"), "") << option;
    }
}

TEST(Startup, ThreadCountIsClampedToOneThroughSixtyFour) {
    struct Case {
        const char* value;
        int workers;
    };
    for (Case c : {Case{"0", 1}, Case{"100", 64}, Case{"3", 3}}) {
        EngineProcess engine({"-hash", "1", "-threads", c.value});
        expect_ready(engine);
        EXPECT_EQ(thread_count(engine.pid()), c.workers + 1) << c.value;
        engine.send("quit");
        EXPECT_EQ(engine.wait_exit(10), 0);
    }
}

TEST(Startup, NegativeHashGivesNoTableAndTheDefaultIs64Megabytes) {
    EngineProcess none({"-hash", "-5"});
    EngineProcess standard;
    expect_ready(none);
    expect_ready(standard);
    EXPECT_LT(resident_kilobytes(none.pid()), 48 * 1024);
    EXPECT_GT(resident_kilobytes(standard.pid()), 64 * 1024);
}

TEST(Startup, ToolSwitchesThatHaveNoToolSayOneLineAndExit) {
    for (const char* tool : {"-anepd", "-match", "-tune", "-scan_pgn1"}) {
        EngineProcess engine({tool, "missing.file"});
        EXPECT_EQ(engine.wait_exit(10), 0) << tool;
        EXPECT_NE(engine.output().find("not available"), std::string::npos) << tool;
    }
}

}  // namespace

namespace {

TEST(Startup, BenchmarkSwitchesRunTheBenchmarkAndExit) {
    // With its input closed the benchmark still searches every position.
    EngineProcess engine({"-bench", "-d", "3", "-hash", "1"});
    engine.close_input();
    EXPECT_EQ(engine.wait_exit(60), 0);
    const std::string& out = engine.output();
    EXPECT_EQ(out.rfind("running benchmark\n", 0), 0u) << out;
    EXPECT_NE(out.find("pos  9: "), std::string::npos) << out;
    EXPECT_EQ(out.find("pos 10: "), std::string::npos) << out;
    EXPECT_NE(out.find("total time= "), std::string::npos) << out;
    EXPECT_EQ(out.find("nodes= 0,"), std::string::npos) << out;
}

}  // namespace

namespace {

TEST(Startup, SettingsFileIsReadBeforeTheSwitches) {
    char pattern[] = "/tmp/vorn-rc-dir-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    std::string dir = pattern;
    std::ofstream(dir + "/vorn.rc") << "BookDepth 12\nSyzygyPath /no/such/dir\n";
    {
        EngineProcess engine({"-hash", "1"}, dir);
        engine.send("uci");
        ASSERT_GE(engine.wait_for("uciok", 10), 0);
        engine.send("quit");
        EXPECT_EQ(engine.wait_exit(10), 0);
        EXPECT_EQ(engine.output().rfind("loaded parameters from vorn.rc\n\n"
                                        "file vorn.rc contains invalid PST\n", 0),
                  0u)
            << engine.output();
        EXPECT_NE(engine.output().find("option name SyzygyPath type string default /no/such/dir\n"),
                  std::string::npos);
    }
    (void)!std::system(("rm -rf '" + dir + "'").c_str());
}

}  // namespace
