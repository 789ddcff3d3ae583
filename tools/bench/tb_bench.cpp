// Tablebase probe speed: WDL and DTZ probes per second over the reference
// positions of the tablebase tests (random legal positions of every shared
// table). The cold pass is the first after registration, with the files'
// pages first dropped from the operating system's cache: it maps and parses
// every table on first use and reads its pages from disk. The warm passes
// repeat it.
//
//   tb_bench [table directory] [warm passes]

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/position.h"
#include "tablebase/probe.h"

using namespace vorn;

namespace {

double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// One pass of probes; returns seconds and counts failures.
template <class Probe>
double time_pass(const std::vector<TbPosition>& positions, Probe probe, int& failures) {
    const auto start = std::chrono::steady_clock::now();
    for (const TbPosition& p : positions) {
        int ok;
        probe(p, ok);
        failures += !ok;
    }
    return seconds_since(start);
}

// Asks the kernel to forget the cached pages of every table file.
void drop_cached_pages(const std::string& directory) {
    DIR* dir = opendir(directory.c_str());
    if (!dir) return;
    while (dirent* e = readdir(dir)) {
        const std::string name = e->d_name;
        if (name.find(".rtb") == std::string::npos) continue;
        const int fd = open((directory + "/" + name).c_str(), O_RDONLY);
        if (fd < 0) continue;
        posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
        close(fd);
    }
    closedir(dir);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string tables = argc > 1 ? argv[1] : "../shared/syzygy";
    const int passes = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    init_attack_tables();
    init_hash_keys_tables();

    std::ifstream in(std::string(VORN_SOURCE_DIR) + "/tests/tablebase/oracle_positions.txt");
    std::vector<TbPosition> positions;
    auto history = std::make_unique<BoardHistory>();
    std::string placement, side, ep, wdl, dtz;
    while (in >> placement >> side >> ep >> wdl >> dtz) {
        Position pos{};
        pos.owner = history.get();
        parse_fen(pos, (placement + " " + side + " - " + ep).c_str());
        positions.push_back(tb_position_from(pos, 0));
    }
    if (positions.empty()) {
        std::fprintf(stderr, "no positions\n");
        return 1;
    }

    drop_cached_pages(tables);
    tb_init(tables.c_str());
    int failures = 0;
    const double cold = time_pass(positions, probe_wdl, failures);
    double warm = 1e9, dtz_time = 1e9;
    for (int i = 0; i < passes; i++) warm = std::min(warm, time_pass(positions, probe_wdl, failures));
    for (int i = 0; i < passes; i++) dtz_time = std::min(dtz_time, time_pass(positions, probe_dtz, failures));
    const double n = double(positions.size());
    std::printf("%zu positions, %d failed probes\n", positions.size(), failures);
    std::printf("WDL cold: %.0f probes/s\n", n / cold);
    std::printf("WDL warm: %.0f probes/s (best of %d passes)\n", n / warm, passes);
    std::printf("DTZ warm: %.0f probes/s (best of %d passes)\n", n / dtz_time, passes);
    return failures ? 1 : 0;
}
