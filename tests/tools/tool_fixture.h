#pragma once
// The tools run in-process: the engine brought up as start-up does, a fresh
// working directory for the files a tool reads and writes (and for an engine
// process started in it), and standard output captured around a call.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/search/search_fixture.h"

class ToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        engine_up(1);
        char pattern[] = "/tmp/vorn-tool-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory_ = pattern;
        ASSERT_NE(getcwd(home_, sizeof home_), nullptr);
        ASSERT_EQ(chdir(directory_.c_str()), 0);
        shell.quit_requested = 0;
    }
    void TearDown() override {
        ASSERT_EQ(chdir(home_), 0);
        (void)!std::system(("rm -rf '" + directory_ + "'").c_str());
        shell.noise = 9999.0;
    }

    static void write_file(const char* name, const std::string& text) { std::ofstream(name) << text; }

    static std::string read_file(const char* name) {
        std::ifstream in(name);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    // Runs call() and returns what it printed on standard output.
    template <typename Call>
    static std::string printed_by(Call call) {
        std::fflush(stdout);
        testing::internal::CaptureStdout();
        call();
        return testing::internal::GetCapturedStdout();
    }

    std::string directory_;
    char home_[4096] = {};
};
