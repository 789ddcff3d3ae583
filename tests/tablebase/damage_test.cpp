// Damaged table files never crash the prober or make it read outside them.
// (An empty file reported as damaged is the registry test's.)

#include "tablebase/decode.h"
#include "tests/tablebase/tb_fixture.h"

namespace vorn {

namespace {

// Random changes, mostly in the headers where they steer the parser: the
// file is either refused or every index decodes within its bounds. The
// copies live on the heap so that the address sanitizer sees any read past
// their end.
TEST(TbDamage, RandomlyChangedFilesNeverReadOutsideThem) {
    use_shared_tables();
    std::mt19937 rng(5);
    int refused = 0, decoded = 0;
    for (const std::string& material : shared_materials())
        for (const char* extension : {".rtbw", ".rtbz"}) {
            const std::string sound = read_file(kTableDir + "/" + material + extension);
            if (sound.size() > 500000) continue;
            int counts[2][7];
            counts_of(material, counts);
            for (int round = 0; round < 12; round++) {
                std::string bytes = sound;
                const int changes = 1 + int(rng() % 8);
                for (int c = 0; c < changes; c++) {
                    const std::size_t span = round % 3 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 160);
                    bytes[rng() % span] = char(rng());
                }
                if (round % 4 == 3) bytes.resize(rng() % bytes.size());
                std::unique_ptr<uint8_t[]> heap(new uint8_t[bytes.size() + 1]);
                std::copy(bytes.begin(), bytes.end(), heap.get());
                TbTable table;
                table.file = MappedFile{heap.get(), bytes.size()};
                if (!parse_table(table, std::string(extension) == ".rtbz", counts)) {
                    refused++;
                    continue;
                }
                for (int i = 0; i < 64; i++) {
                    TbLocation where;
                    int value;
                    if (locate(table, random_position(material, rng), where))
                        decoded += decode_value(table, *where.sub, where.index, value);
                }
            }
        }
    EXPECT_GT(refused, 100);
    EXPECT_GT(decoded, 1000);
}

}  // namespace

}  // namespace vorn
