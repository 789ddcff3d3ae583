#include "tools/settings_writer.h"

#include <cstdio>
#include <string>

#include "eval/param_keys.h"

namespace vorn {

namespace {

int table_value(int16_t value) { return value == kUnsetTableEntry ? kUnsetTableEntry + 1 : value; }

void write_comment(std::FILE* out, const char* comment) {
    std::string line;
    for (const char* c = comment; *c; ++c) {
        if (*c != '\n') {
            line += *c;
            continue;
        }
        std::fprintf(out, "# %s\n", line.c_str());
        line.clear();
    }
    if (!line.empty()) std::fprintf(out, "# %s\n", line.c_str());
}

}  // namespace

bool write_settings_file(const char* name, const EngineParams& p, const char* comment) {
    const std::string temporary = std::string(name) + ".tmp";
    std::FILE* out = std::fopen(temporary.c_str(), "w");
    if (!out) return false;
    if (comment) write_comment(out, comment);
    for (const OneNumberKey& k : kOneNumberKeys) std::fprintf(out, "%s %d\n", k.key, p.*k.field);
    for (const TwoNumberKey& k : kTwoNumberKeys)
        std::fprintf(out, "%s %d %d\n", k.key, p.*k.first, p.*k.second);
    for (int piece = 1; piece <= 6; ++piece) {
        for (int phase = 0; phase < 2; ++phase) {
            std::fprintf(out, "%s_%s\n", kTableKeys[piece - 1], phase == 0 ? "op" : "en");
            for (int rank = 7; rank >= 0; --rank) {
                for (int file = 0; file < 8; ++file) {
                    const ScorePair& entry = p.pst[piece][8 * rank + file];
                    std::fprintf(out, "%s%4d", file ? " " : "", table_value(phase ? entry.en : entry.op));
                }
                std::fputc('\n', out);
            }
        }
    }
    const bool written = std::fflush(out) == 0 && !std::ferror(out);
    if (std::fclose(out) != 0 || !written || std::rename(temporary.c_str(), name) != 0) {
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace vorn
