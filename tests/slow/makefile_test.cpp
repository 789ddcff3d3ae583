// The top-level Makefile, as test frameworks (OpenBench) use it: "make
// EXE=name" leaves a working engine under that name, and "name bench" ends
// with the line they read. Builds the engine a second time, hence slow.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>

namespace vorn {

namespace {

std::string output_of(const std::string& command) {
    std::string out;
    if (FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
        pclose(pipe);
    }
    return out;
}

}  // namespace

TEST(Makefile, BuildsTheEngineUnderTheGivenName) {
    char pattern[] = "/tmp/vorn-make-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string directory = pattern;
    const std::string binary = directory + "/Vorn-under-test";
    const std::string make = output_of("make -C '" VORN_SOURCE_DIR "' JOBS=2 EXE='" + binary + "'");
    ASSERT_EQ(output_of("test -x '" + binary + "' && echo built"), "built\n") << make;

    EXPECT_NE(output_of("cd '" + directory + "' && echo uci | '" + binary + "'").find("id name Vorn 3.50\n"),
              std::string::npos);
    const std::string bench = output_of("cd '" + directory + "' && '" + binary + "' bench -d 5 < /dev/null");
    EXPECT_TRUE(std::regex_search(bench, std::regex("\nnodes [1-9][0-9]* nps [1-9][0-9]*\n$"))) << bench;
    (void)!std::system(("rm -rf '" + directory + "'").c_str());
}

}  // namespace vorn
