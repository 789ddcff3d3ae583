// The file format layer on its own: index tables, the layout of every
// shared file, and the worked examples of the format description.

#include <dirent.h>

#include <cstring>

#include <vector>

#include "tablebase/decode.h"
#include "tests/tablebase/tb_fixture.h"

namespace {

void counts_from_name(const std::string& name, int counts[2][7]) {
    for (int c = 0; c < 2; c++)
        for (int t = 0; t < 7; t++) counts[c][t] = 0;
    int colour = -1;
    for (char letter : name) {
        if (letter == 'v') continue;
        if (letter == 'K') colour++;
        const char* types = " PNBRQK";
        counts[colour][std::strchr(types, letter) - types]++;
    }
}

struct OpenTable {
    TbTable table;
    bool parsed = false;
    OpenTable(const std::string& name, const char* extension) {
        int counts[2][7];
        counts_from_name(name, counts);
        const std::string path = kTableDir + "/" + name + extension;
        parsed = map_table_file(path.c_str(), name.c_str(), extension, table.file) == MapStatus::kMapped &&
                 parse_table(table, std::string(extension) == ".rtbz", counts);
    }
    ~OpenTable() { release_table(table); }
};

TEST(TbFormat, IndexTablesMatchTheirCheckValues) {
    use_shared_tables();
    const int kk_checks[][3] = {{0, 3, 0},    {1, 0, 58},   {5, 63, 338}, {6, 2, 339},
                                {9, 55, 440}, {6, 18, 441}, {8, 0, 452},  {9, 63, 461}};
    for (const auto& c : kk_checks) EXPECT_EQ(tb_kk_index(c[0], c[1]), c[2]) << c[0] << " " << c[1];
    const uint64_t lead_sizes[5][4] = {{6, 6, 6, 6},
                                       {252, 180, 108, 36},
                                       {5201, 2645, 953, 125},
                                       {70315, 25375, 5491, 295},
                                       {700336, 178696, 23176, 496}};
    for (int c = 1; c <= 5; c++)
        for (int f = 0; f < 4; f++) EXPECT_EQ(tb_lead_size(c, f), lead_sizes[c - 1][f]) << c << " " << f;
}

// Parsing checks that the data ends where the file's padding and checksum
// begin, so a wrong alignment or section order anywhere fails here.
TEST(TbFormat, EverySharedFileParses) {
    use_shared_tables();
    DIR* dir = opendir(kTableDir.c_str());
    ASSERT_NE(dir, nullptr);
    int files = 0;
    while (dirent* e = readdir(dir)) {
        const std::string name = e->d_name;
        if (name.size() < 6 || (name.substr(name.size() - 5) != ".rtbw" && name.substr(name.size() - 5) != ".rtbz"))
            continue;
        OpenTable t(name.substr(0, name.size() - 5), name.substr(name.size() - 5).c_str());
        EXPECT_TRUE(t.parsed) << name;
        files++;
    }
    closedir(dir);
    EXPECT_EQ(files, 80);
}

TEST(TbFormat, WorkedExamplesIndexAndDecode) {
    use_shared_tables();
    struct Example {
        const char* table;
        const char* fen;
        uint64_t index;
        int value;
    };
    const Example examples[] = {
        {"KRvK", "8/8/8/8/8/2k5/8/R3K3 b - -", 9058, 0},
        {"KRvK", "8/8/8/8/8/2k5/8/R3K3 w - -", 27094, 4},
        {"KPvK", "8/8/4k3/8/4P3/8/8/4K3 w - -", 10398, 2},
        {"KRRvK", "8/8/3k4/8/8/8/8/R3K2R w - -", 7084, 4},
        {"KPPvK", "8/8/8/8/3k4/8/1P4P1/4K3 b - -", 130080, 0},
    };
    for (const Example& x : examples) {
        OpenTable t(x.table, ".rtbw");
        ASSERT_TRUE(t.parsed) << x.table;
        TbLocation where;
        ASSERT_TRUE(locate(t.table, TbBoard(x.fen).tb(), where)) << x.fen;
        EXPECT_EQ(where.index, x.index) << x.fen;
        int value = -1;
        EXPECT_TRUE(decode_value(t.table, *where.sub, where.index, value));
        EXPECT_EQ(value, x.value) << x.fen;
    }
}

}  // namespace
