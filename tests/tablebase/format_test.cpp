// The file format layer on its own: index tables, the layout of every
// shared file, and indices computed by hand.

#include <vector>

#include "tablebase/decode.h"
#include "tests/tablebase/tb_fixture.h"

namespace {

struct OpenTable {
    TbTable table;
    bool parsed = false;
    OpenTable(const std::string& name, const char* extension) {
        int counts[2][7];
        counts_of(name, counts);
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
    const std::vector<std::string> materials = shared_materials();
    EXPECT_EQ(materials.size(), 40u);
    for (const std::string& material : materials)
        for (const char* extension : {".rtbw", ".rtbz"}) EXPECT_TRUE(OpenTable(material, extension).parsed) << material << extension;
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
