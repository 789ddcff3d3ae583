#include "shell/settings_file.h"

#include <cstdlib>
#include <cstring>

#include "book/book_settings.h"
#include "eval/engine_params.h"
#include "core/output.h"
#include "core/line_file.h"
#include "core/words.h"
#include "tablebase/probe.h"

namespace {

constexpr int kUnset = -1000;
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

struct OneNumberKey {
    const char* key;
    int16_t EngineParams::*field;
};

struct TwoNumberKey {
    const char* key;
    int16_t EngineParams::*first;
    int16_t EngineParams::*second;
};

constexpr OneNumberKey kOneNumberKeys[] = {
    {"NMP_depth", &EngineParams::NMP_depth},
    {"SEP_depth", &EngineParams::SEP_depth},
    {"SEP_margin", &EngineParams::SEP_margin},
    {"FP_depth", &EngineParams::FP_depth},
    {"FP_margin", &EngineParams::FP_margin},
    {"LMP_depth", &EngineParams::LMP_depth},
    {"LMP_count", &EngineParams::LMP_count},
    {"LMR_depth", &EngineParams::LMR_depth},
    {"LMR_strength", &EngineParams::LMR_strength},
    {"draw_score", &EngineParams::draw_score},
    {"passed_pawn_rank2", &EngineParams::ppawn_r2},
    {"passed_pawn_rank3", &EngineParams::ppawn_r3},
    {"passed_pawn_rank4", &EngineParams::ppawn_r4},
    {"passed_pawn_rank5", &EngineParams::ppawn_r5},
    {"passed_pawn_rank6", &EngineParams::ppawn_r6},
    {"passed_pawn_rank7", &EngineParams::ppawn_r7},
    {"tune", &EngineParams::tune},
};

constexpr TwoNumberKey kTwoNumberKeys[] = {
    {"pawn_value", &EngineParams::pawn_value_op, &EngineParams::pawn_value_en},
    {"knight_value", &EngineParams::knight_value_op, &EngineParams::knight_value_en},
    {"bishop_value", &EngineParams::bishop_value_op, &EngineParams::bishop_value_en},
    {"rook_value", &EngineParams::rook_value_op, &EngineParams::rook_value_en},
    {"queen_value", &EngineParams::queen_value_op, &EngineParams::queen_value_en},
    {"bishop_pair", &EngineParams::bishop_pair_op, &EngineParams::bishop_pair_en},
    {"knight_mobility", &EngineParams::knight_mobility_op, &EngineParams::knight_mobility_en},
    {"bishop_mobility", &EngineParams::bishop_mobility_op, &EngineParams::bishop_mobility_en},
    {"rook_mobility", &EngineParams::rook_mobility_op, &EngineParams::rook_mobility_en},
    {"queen_mobility", &EngineParams::queen_mobility_op, &EngineParams::queen_mobility_en},
    {"pawn_doubled", &EngineParams::pawn_doubled_op, &EngineParams::pawn_doubled_en},
    {"pawn_backward", &EngineParams::pawn_backward_op, &EngineParams::pawn_backward_en},
    {"pawn_isolated", &EngineParams::pawn_isolated_op, &EngineParams::pawn_isolated_en},
    {"pawn_weak", &EngineParams::pawn_weak_op, &EngineParams::pawn_weak_en},
    {"rook_open_file", &EngineParams::rook_open_file_op, &EngineParams::rook_open_file_en},
    {"rook_half_open_file", &EngineParams::rook_half_open_file_op,
     &EngineParams::rook_half_open_file_en},
    {"rook_rank7", &EngineParams::rook_rank7_op, &EngineParams::rook_rank7_en},
    {"queen_rank7", &EngineParams::queen_rank7_op, &EngineParams::queen_rank7_en},
    {"hung", &EngineParams::hung_op, &EngineParams::hung_en},
    {"pinned", &EngineParams::pinned_op, &EngineParams::pinned_en},
    // The single-valued parameters keep a spare slot beside them; the file
    // sets both, and for pawn_candidate the parameter is the second number.
    {"pawn_candidate", &EngineParams::pawn_candidate_spare, &EngineParams::pawn_candidate},
    {"knight_outpost", &EngineParams::knight_outpost, &EngineParams::knight_outpost_spare},
    {"rook_trapped", &EngineParams::rook_trapped, &EngineParams::rook_trapped_spare},
    {"king_safety", &EngineParams::king_safety, &EngineParams::king_safety_spare},
    {"pawn_shield", &EngineParams::pawn_shield, &EngineParams::pawn_shield_spare},
    {"pawn_storm", &EngineParams::pawn_storm, &EngineParams::pawn_storm_spare},
};

constexpr const char* kTableKeys[6] = {"PST_pawn", "PST_knight", "PST_bishop",
                                       "PST_rook", "PST_queen",  "PST_king"};

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
        for (ScorePair& entry : p.pst[piece]) entry.op = entry.en = kUnset;
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
            if (entry.op == kUnset || entry.en == kUnset) {
                send_line("file vorn.rc contains invalid PST");
                return 0;
            }
        }
    }
    p.pst_from_params = 0;
    return 1;
}
