#pragma once
// The settings-file keys that set EngineParams fields, and the names of the
// twelve piece-square table keys: one list for the file's reader and for the
// tuner, which writes settings files.

#include <cstdint>

#include "eval/engine_params.h"

namespace vorn {

struct OneNumberKey {
    const char* key;
    int16_t EngineParams::*field;
};

struct TwoNumberKey {
    const char* key;
    int16_t EngineParams::*first;
    int16_t EngineParams::*second;
};

inline constexpr OneNumberKey kOneNumberKeys[] = {
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

inline constexpr TwoNumberKey kTwoNumberKeys[] = {
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

// Followed by "_op" or "_en"; piece 1..6 in this order.
// The settings reader marks table entries not yet read with this value, so
// an entry equal to it cannot be written: writers keep table values above it.
inline constexpr int kUnsetTableEntry = -1000;

inline constexpr const char* kTableKeys[6] = {"PST_pawn", "PST_knight", "PST_bishop",
                                       "PST_rook", "PST_queen",  "PST_king"};

}  // namespace vorn
