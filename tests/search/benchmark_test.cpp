#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>

namespace {

// Runs the engine binary with the arguments and returns its standard output.
std::string run_engine(const std::string& args) {
    std::string command = std::string(VORN_BINARY) + " -nolog " + args + " < /dev/null 2>&1";
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return out;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    pclose(pipe);
    return out;
}

int count_lines_matching(const std::string& text, const std::regex& pattern) {
    int count = 0;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        if (std::regex_match(text.substr(start, end - start), pattern)) count++;
        start = end + 1;
    }
    return count;
}

std::string total_nodes(const std::string& out) {
    std::smatch m;
    static const std::regex total(R"(total time= [0-9]+\.[0-9]{2} seconds, nodes= ([0-9]+), nps= [0-9]+)");
    return std::regex_search(out, m, total) ? m[1].str() : "";
}

}  // namespace

TEST(Benchmark, PrintsItsLinesAndRepeatsItsNodeCount) {
    std::string out = run_engine("-bench -d 7");
    EXPECT_NE(out.find("running benchmark\n"), std::string::npos) << out;
    EXPECT_EQ(count_lines_matching(out, std::regex(R"(pos [ 0-9][0-9]: [ 0-9]{2}[0-9]\.[0-9]{2} seconds)")), 10)
        << out;
    EXPECT_NE(out.find("pos  9: "), std::string::npos);
    std::string nodes = total_nodes(out);
    ASSERT_FALSE(nodes.empty()) << out;
    // One thread searching to a fixed depth is deterministic.
    EXPECT_EQ(total_nodes(run_engine("-bench -d 7")), nodes);
}

TEST(Benchmark, TwentyPositionsWithBench2) {
    std::string out = run_engine("-bench2 -d 4");
    EXPECT_EQ(count_lines_matching(out, std::regex(R"(pos [ 0-9][0-9]: .* seconds)")), 20) << out;
    EXPECT_NE(out.find("pos 19: "), std::string::npos);
}

TEST(Benchmark, SeveralWorkersFinishEveryPosition) {
    std::string out = run_engine("-bench -d 8 -threads 3");
    EXPECT_EQ(count_lines_matching(out, std::regex(R"(pos [ 0-9][0-9]: .* seconds)")), 10) << out;
    EXPECT_FALSE(total_nodes(out).empty());
}
