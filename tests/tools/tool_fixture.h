#pragma once
// The tools run in-process: the engine brought up as start-up does, a fresh
// working directory for the files a tool reads and writes (and for an engine
// process started in it), and standard output captured around a call.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/scratch_directory.h"
#include "tests/search/search_fixture.h"

namespace vorn {

class ToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        engine_up(1);
        ASSERT_FALSE(scratch_.path.empty());
        shell.quit_requested = 0;
    }
    void TearDown() override { shell.noise = 9999.0; }

    // Runs call() and returns what it printed on standard output.
    template <typename Call>
    static std::string printed_by(Call call) {
        std::fflush(stdout);
        testing::internal::CaptureStdout();
        call();
        return testing::internal::GetCapturedStdout();
    }

    ScratchDirectory scratch_;
};

}  // namespace vorn
