// Discovery along the path, the gates of the search probe, the root probe,
// and first use of the tables from many threads at once.

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/tablebase/tb_fixture.h"

namespace vorn {

namespace {

TEST(TbRegistry, PathListSearchesEachDirectoryAndEmptyPathsFindNothing) {
    use_shared_tables();
    ScratchDirectory a, b;
    copy_table(a.path, "KQvK.rtbw");
    copy_table(b.path, "KRvK.rtbw");
    copy_table(b.path, "KRvK.rtbz");
    EXPECT_EQ(init_path(a.path + ";;" + b.path + ";"), "info string found 2 tablebases\n");
    EXPECT_EQ(tb_largest, 3);
    EXPECT_EQ(tb_probe_wdl(TbBoard("8/8/8/8/8/2k5/8/R3K3 w - -").pos, 1), 4);
    EXPECT_EQ(tb_probe_wdl(TbBoard("8/8/8/8/8/2k5/8/Q3K3 b - -").pos, 1), 0);
    EXPECT_EQ(tb_probe_wdl(TbBoard("8/8/8/8/8/2k5/8/B3K3 b - -").pos, 1), -1);

    // Empty paths register nothing and probe nothing.
    const TbBoard krk("8/8/8/8/8/2k5/8/R3K3 b - -");
    for (const char* path : {"<empty>", ""}) {
        EXPECT_EQ(init_path(path), "");
        EXPECT_EQ(tb_largest, 0);
        EXPECT_EQ(tb_probe_wdl(krk.pos, 50), -1);
        int wdl, dtz;
        Move move;
        EXPECT_EQ(tb_probe_root(krk.pos, &wdl, &dtz, &move), -1);
    }
    EXPECT_EQ(init_path(kTableDir), "info string found 40 tablebases\n");
    EXPECT_EQ(tb_largest, 5);
}

// Every material of up to six pieces registered at once: the registry's
// limits and hash buckets hold them all (an overflow ends the process).
// Empty files are found but are damaged tables when probed, and a file gone
// since is missing: each said once, and the table dropped.
TEST(TbRegistry, EverySixPieceMaterialFitsAndBadFilesAreDropped) {
    ScratchDirectory dir;
    // A side besides its king as counts of Q, R, B, N, P; the stronger side
    // has more pieces or, on equal counts, is ahead at the first difference.
    std::vector<std::array<int, 5>> sides;
    for (int code = 0; code < 3125; code++) {
        std::array<int, 5> c{code % 5, code / 5 % 5, code / 25 % 5, code / 125 % 5, code / 625};
        if (c[0] + c[1] + c[2] + c[3] + c[4] <= 4) sides.push_back(c);
    }
    auto size = [](const std::array<int, 5>& c) { return c[0] + c[1] + c[2] + c[3] + c[4]; };
    int files = 0;
    for (const auto& strong : sides)
        for (const auto& weak : sides) {
            const int ns = size(strong), nw = size(weak);
            if (ns == 0 || ns + nw > 4 || ns < nw || (ns == nw && strong < weak)) continue;
            std::string name = "K";
            for (int k = 0; k < 5; k++) name.append(strong[k], "QRBNP"[k]);
            name.append("vK");
            for (int k = 0; k < 5; k++) name.append(weak[k], "QRBNP"[k]);
            write_file(dir.path + "/" + name.append(".rtbw"), "");
            files++;
        }
    EXPECT_EQ(files, 510);
    EXPECT_EQ(init_path(dir.path), "info string found 510 tablebases\n");
    EXPECT_EQ(tb_largest, 6);

    const TbBoard six("8/8/3k4/8/8/2R5/8/RR2K2R w - -"), kqk("8/8/8/8/8/2k5/8/Q3K3 w - -");
    EXPECT_EQ(tb_probe_wdl(six.pos, SyzygyProbeDepth6 - 1), -1);  // below the 6-piece depth
    std::remove((dir.path + "/KQvK.rtbw").c_str());
    testing::internal::CaptureStderr();
    for (const TbBoard* board : {&six, &six, &kqk, &kqk}) EXPECT_EQ(tb_probe_wdl(board->pos, 50), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Corrupted table.\nCould not find KQvK.rtbw\n");
}

TEST(TbRegistry, SearchProbeGates) {
    use_shared_tables();
    SyzygyProbeDepth5 = 4;
    const TbBoard krk("8/8/8/8/8/2k5/8/R3K3 w - -");
    EXPECT_EQ(tb_probe_wdl(krk.pos, 3), -1);
    EXPECT_EQ(tb_probe_wdl(krk.pos, 4), 4);
    SyzygyProbeDepth5 = 1;
    // Castling rights: never probed, not even with three pieces.
    EXPECT_EQ(tb_probe_wdl(TbBoard("8/8/8/8/8/2k5/8/R3K3 w Q -").pos, 50), -1);
    int wdl, dtz;
    Move move;
    EXPECT_EQ(tb_probe_root(TbBoard("8/8/8/8/8/2k5/8/R3K3 w Q -").pos, &wdl, &dtz, &move), -1);
    // Six pieces with at most five-piece tables: never probed.
    EXPECT_EQ(tb_probe_wdl(TbBoard("8/8/3k4/8/8/2R5/8/RR2K2R w - -").pos, 99), -1);
}

struct RootCase {
    const char* fen;
    int fifty, result, dtz;
};

// Distances as an independent engine reports them; the result class
// follows the counter (the moves kept near the limit are checked against
// the oracle's ranking in oracle_test.cpp).
TEST(TbRoot, ResultAndDistance) {
    use_shared_tables();
    const RootCase cases[] = {
        {"8/8/8/8/8/3Q4/3K4/7k w - -", 10, 4, 7},
        {"8/8/8/8/8/3Q4/3K4/7k w - -", 93, 4, 7},
        {"8/8/8/8/8/3Q4/3K4/7k w - -", 95, 3, 7},
        {"8/8/8/8/8/2k5/8/R3K3 b - -", 0, 0, 28},
        {"8/8/8/8/8/2k5/8/R3K3 b - -", 80, 1, 28},
        {"8/8/4k3/8/4P3/8/8/4K3 w - -", 0, 2, 0},
    };
    for (const RootCase& c : cases) {
        int wdl, dtz;
        Move move;
        EXPECT_EQ(tb_probe_root(TbBoard(c.fen, c.fifty).pos, &wdl, &dtz, &move), c.result) << c.fen << " " << c.fifty;
        EXPECT_EQ(dtz, c.dtz) << c.fen;
        EXPECT_EQ(wdl, c.result - 2);
    }
}

// Eight threads probing fresh tables together: first-use parsing is
// serialised, every later read is of immutable data. Run under
// ThreadSanitizer by .ci/tsan.
TEST(TbThreads, FirstProbesFromEightThreadsAgree) {
    use_shared_tables();
    std::vector<TbPosition> positions;
    std::mt19937 rng(11);
    for (const char* m : {"KRPvKR", "KQRvKR", "KPvKP", "KBNvK", "KRvKP", "KQvKQ"})
        for (int i = 0; i < 40; i++) positions.push_back(random_position(m, rng));
    init_path("<empty>");
    use_shared_tables();  // registered again, nothing parsed yet
    std::vector<std::vector<int>> seen(8, std::vector<int>(positions.size()));
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++)
        threads.emplace_back([&, t] {
            for (std::size_t i = 0; i < positions.size(); i++) {
                int ok;
                const int v = probe_wdl(positions[(i + 7 * t) % positions.size()], ok);
                seen[t][(i + 7 * t) % positions.size()] = ok ? v : 9;
            }
        });
    for (std::thread& th : threads) th.join();
    for (std::size_t i = 0; i < positions.size(); i++) {
        int ok;
        const int v = probe_wdl(positions[i], ok);
        ASSERT_TRUE(ok);
        for (int t = 0; t < 8; t++) ASSERT_EQ(seen[t][i], v) << "thread " << t << " position " << i;
    }
}

}  // namespace

}  // namespace vorn
