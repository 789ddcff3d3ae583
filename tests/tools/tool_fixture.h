#pragma once
// The tools run in-process: the engine brought up as start-up does, a fresh
// working directory for the files a tool reads and writes, and standard
// output captured around a call.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
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

    static void write_file(const char* name, const std::string& text) {
        std::FILE* f = std::fopen(name, "w");
        ASSERT_NE(f, nullptr);
        std::fputs(text.c_str(), f);
        std::fclose(f);
    }

    static std::string read_file(const char* name) {
        std::string text;
        if (std::FILE* f = std::fopen(name, "r")) {
            char buffer[4096];
            for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;) text.append(buffer, n);
            std::fclose(f);
        }
        return text;
    }

    // Runs call() and returns what it printed on standard output.
    template <typename Call>
    static std::string printed_by(Call call) {
        std::fflush(stdout);
        const int saved = dup(1);
        std::FILE* capture = std::tmpfile();
        dup2(fileno(capture), 1);
        call();
        std::fflush(stdout);
        dup2(saved, 1);
        close(saved);
        std::string text;
        std::rewind(capture);
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, capture)) > 0;) text.append(buffer, n);
        std::fclose(capture);
        return text;
    }

    std::string directory_;
    char home_[4096] = {};
};
