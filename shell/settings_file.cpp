#include "shell/settings_file.h"

#include <cstdlib>
#include <cstring>

#include "book/book_settings.h"
#include "eval/engine_params.h"
#include "eval/param_keys.h"
#include "core/output.h"
#include "core/line_file.h"
#include "core/words.h"
#include "tablebase/probe.h"

namespace vorn {

namespace {

constexpr int kLineSize = 255;  // at most 254 characters and the terminator

int16_t to_int16(const char* text) {
    return static_cast<int16_t>(read_clamped(text, INT16_MIN, INT16_MAX));
}

// The first word after `key`, where blanks and double quotes separate words.
void read_path(const char* line, const char* key, char* buffer, std::size_t size) {
    const char* p = std::strstr(line, key) + std::strlen(key);
    while (*p == ' ' || *p == '"') ++p;
    std::size_t n = 0;
    while (p[n] && p[n] != ' ' && p[n] != '"' && n + 1 < size) {
        buffer[n] = p[n];
        ++n;
    }
    buffer[n] = '\0';
}

// Piece (1..6) and phase of a table key such as "PST_rook_en", or piece 0.
int table_key(const char* key, int* phase) {
    for (int piece = 1; piece <= 6; ++piece) {
        std::size_t length = std::strlen(kTableKeys[piece - 1]);
        if (std::strncmp(key, kTableKeys[piece - 1], length) != 0) continue;
        if (!std::strcmp(key + length, "_op")) {
            *phase = 0;
            return piece;
        }
        if (!std::strcmp(key + length, "_en")) {
            *phase = 1;
            return piece;
        }
    }
    return 0;
}

void apply_keyed_line(std::FILE* file, const char* line, EngineParams& p) {
    CommandWords words;
    split_words(line, words);
    const char* key = words[0];
    for (const OneNumberKey& k : kOneNumberKeys) {
        if (!std::strcmp(key, k.key)) {
            p.*k.field = to_int16(words[1]);
            return;
        }
    }
    for (const TwoNumberKey& k : kTwoNumberKeys) {
        if (!std::strcmp(key, k.key)) {
            p.*k.first = to_int16(words[1]);
            p.*k.second = to_int16(words[2]);
            return;
        }
    }
    if (!std::strcmp(key, "BookVariety")) {
        book_settings.book_variety = to_int16(words[1]);
    } else if (!std::strcmp(key, "BookDepth")) {
        book_settings.book_depth = static_cast<uint8_t>(read_clamped(words[1], 0, 255));
    } else if (!std::strcmp(key, "SyzygyProbeDepth5")) {
        SyzygyProbeDepth5 = static_cast<int>(read_clamped(words[1], 1, 100));
    } else if (!std::strcmp(key, "SyzygyProbeDepth6")) {
        SyzygyProbeDepth6 = static_cast<int>(read_clamped(words[1], 1, 100));
    } else {
        int phase = 0;
        if (int piece = table_key(key, &phase)) read_pst_block(file, p, piece, phase);
    }
}

}  // namespace

void read_pst_block(std::FILE* file, EngineParams& p, int piece, int phase) {
    char line[kLineSize];
    for (int row = 0; row < 8; ++row) {
        if (!read_line(file, line, kLineSize)) return;
        const int rank = 7 - row;
        const char* cursor = line;
        for (int file_index = 0; file_index < 8; ++file_index) {
            char* end = nullptr;
            long value = std::strtol(cursor, &end, 10);
            if (end == cursor) break;  // fewer than eight numbers: the rest stay unset
            cursor = end;
            if (value < INT16_MIN) value = INT16_MIN;
            if (value > INT16_MAX) value = INT16_MAX;
            ScorePair& entry = p.pst[piece][file_index + 8 * rank];
            (phase == 0 ? entry.op : entry.en) = static_cast<int16_t>(value);
        }
    }
}

int read_settings_file(const char* name, EngineParams& p) {
    std::FILE* file = open_text_input(name);  // absent (or a FIFO, a device): silently none
    if (!file) return 0;
    for (int piece = 1; piece <= 6; ++piece) {
        for (ScorePair& entry : p.pst[piece]) entry.op = entry.en = kUnsetTableEntry;
    }

    char line[kLineSize];
    while (read_line(file, line, kLineSize)) {
        if (line[0] == '\0' || line[0] == '#') continue;
        for (char* c = line; *c; ++c) {
            if (*c == '=' || *c == ',') *c = ' ';
        }
        if (std::strstr(line, "SyzygyPath")) {
            read_path(line, "SyzygyPath", SyzygyPath, sizeof SyzygyPath);
        } else if (std::strstr(line, "VornBook")) {
            read_path(line, "VornBook", book_settings.book_file, sizeof book_settings.book_file);
        } else {
            apply_keyed_line(file, line, p);
        }
    }
    std::fclose(file);
    send_linef("loaded parameters from %s\n", name);

    for (int piece = 1; piece <= 6; ++piece) {
        for (const ScorePair& entry : p.pst[piece]) {
            if (entry.op == kUnsetTableEntry || entry.en == kUnsetTableEntry) {
                send_line("file vorn.rc contains invalid PST");
                return 0;
            }
        }
    }
    p.pst_from_params = 0;
    return 1;
}

}  // namespace vorn
