// The file format layer on its own: the index tables and the parse of every
// shared file. (Index computation and decoding are checked by the oracle
// probes.)

#include <vector>

#include "tablebase/decode.h"
#include "tests/tablebase/tb_fixture.h"

namespace vorn {

namespace {

// The check values of the format description. The oracle probes catch most
// slips here too, but not all: one wrong size of the leading pawn group
// passed every probe of the shared tables.
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
// begin, so a wrong alignment or section order anywhere fails here. The DTZ
// files of drawn materials are covered only here: no probe reads them.
TEST(TbFormat, EverySharedFileParses) {
    use_shared_tables();
    const std::vector<std::string> materials = shared_materials();
    EXPECT_EQ(materials.size(), 40u);
    for (const std::string& material : materials)
        for (const char* extension : {".rtbw", ".rtbz"}) {
            int counts[2][7];
            counts_of(material, counts);
            TbTable table;
            const std::string path = kTableDir + "/" + material + extension;
            EXPECT_TRUE(map_table_file(path.c_str(), material.c_str(), extension, table.file) == MapStatus::kMapped &&
                        parse_table(table, std::string(extension) == ".rtbz", counts))
                << material << extension;
            release_table(table);
        }
}

}  // namespace

}  // namespace vorn
