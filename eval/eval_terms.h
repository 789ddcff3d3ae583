#pragma once
// The term groups evaluate() runs in order, and the small helpers they share.
// Internal to the evaluation.

#include <cstdlib>

#include "board/attacks.h"
#include "board/position.h"
#include "eval/eval_info.h"
#include "eval/linear_trace.h"

namespace vorn {

constexpr Bitboard kFileA = 0x0101010101010101ULL;
constexpr Bitboard kRank1 = 0xFFULL;
constexpr Bitboard kCentreBlock = 0x00003C3C3C3C0000ULL;  // c3-f6
constexpr Bitboard kInnerBlock = 0x007E7E7E7E7E7E00ULL;   // b2-g7
constexpr Bitboard kLightSquares = 0x55AA55AA55AA55AAULL;

constexpr Bitboard file_mask(int file) { return kFileA << file; }
constexpr Bitboard rank_mask(int rank) { return kRank1 << (8 * rank); }
constexpr int relative_rank(int side, int square) { return side ? 7 - (square >> 3) : square >> 3; }
constexpr int relative_square(int side, int square) { return side ? square ^ 56 : square; }
// Ranks 5-8 for White, 1-4 for Black.
constexpr Bitboard enemy_half(int side) { return side ? 0x00000000FFFFFFFFULL : 0xFFFFFFFF00000000ULL; }

inline int square_distance(int a, int b) {
    int df = std::abs((a & 7) - (b & 7));
    int dr = std::abs((a >> 3) - (b >> 3));
    return df > dr ? df : dr;
}

inline Bitboard shift_up(Bitboard b) { return b << 8; }
inline Bitboard shift_down(Bitboard b) { return b >> 8; }
inline Bitboard pawn_attack_set(int side, Bitboard pawns) {
    Bitboard left = pawns & ~kFileA, right = pawns & ~(kFileA << 7);
    return side ? (left >> 9) | (right >> 7) : (left << 7) | (right << 9);
}
// Every square in front of the given pawns on their files, to the last rank.
inline Bitboard front_span(int side, Bitboard b) {
    if (side == 0) {
        b <<= 8; b |= b << 8; b |= b << 16; b |= b << 32;
    } else {
        b >>= 8; b |= b >> 8; b |= b >> 16; b |= b >> 32;
    }
    return b;
}
inline Bitboard adjacent_files(Bitboard b) {
    return ((b & ~kFileA) >> 1) | ((b & ~(kFileA << 7)) << 1);
}

inline int popcount(Bitboard b) { return __builtin_popcountll(b); }

// The term code is compiled twice: the search's copy (`Traced` false) carries
// no bookkeeping at all, the traced copy (the console's breakdown, the tuner)
// books every term as it is added. evaluate() picks the copy per call.

// Adds one term to a side's positional accumulators; the traced copy also
// books it by group and square (group or square -1: not booked there).
void trace_add(EvalInfo& info, int side, int group, int square, int op, int en);
template <bool Traced>
inline void add_term(EvalInfo& info, int side, int group, int square, int op, int en) {
    info.pos_op[side] = int16_t(info.pos_op[side] + op);
    info.pos_en[side] = int16_t(info.pos_en[side] + en);
    if constexpr (Traced) {
        if (info.trace) trace_add(info, side, group, square, op, en);
    }
}

// The tuner's linear trace of this call in the traced copy; in the search's
// a constant null, so that every note below folds away.
template <bool Traced>
inline LinearTrace* linear_trace(const EvalInfo& info) {
    if constexpr (Traced) return info.linear;
    else return nullptr;
}

// Books a parameter that a term read, with its weight there, into the
// tuner's linear trace when one is being recorded (`trace` not null).
inline void note(LinearTrace* trace, int side, LinearPart part, const int16_t& field,
                 float weight = 1.0f) {
    if (trace) trace->add(field, side, part, weight);
}
// The same for an opening and endgame pair read into the positional
// accumulators with one weight.
inline void note_pair(LinearTrace* trace, int side, const int16_t& op, const int16_t& en,
                      float weight = 1.0f) {
    if (!trace) return;
    trace->add(op, side, kPositionalOp, weight);
    trace->add(en, side, kPositionalEn, weight);
}

// Piece values of the threat bookkeeping.
constexpr int16_t kThreatValue[7] = {0, 100, 330, 330, 530, 1060, 9999};

void setup_attack_maps(EvalInfo& info);
template <bool Traced> void evaluate_pieces(EvalInfo& info);
template <bool Traced> void evaluate_king(EvalInfo& info, int side, int king_square);
template <bool Traced> void evaluate_hung(EvalInfo& info);
template <bool Traced> void evaluate_pins(EvalInfo& info);
// Scales a score in hard-to-win endings; returns the scaled score and sets
// draw_adj.
int draw_scale(const EvalInfo& info, int score, double& draw_adj);

}  // namespace vorn
