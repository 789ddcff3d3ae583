#include "eval/evaluate.h"

#include <cstring>

#include "board/attacks.h"
#include "eval/engine_params.h"
#include "eval/eval_terms.h"
#include "eval/eval_trace.h"
#include "eval/kpk.h"

namespace vorn {

namespace {

// Centralisation of the winning king in the bishop-and-knight mate.
constexpr int8_t kKingCentre[64] = {
    0, 0, 0, 0, 0, 0, 0, 0,
    0, 1, 1, 1, 1, 1, 1, 0,
    0, 1, 2, 2, 2, 2, 1, 0,
    0, 1, 2, 2, 2, 2, 1, 0,
    0, 1, 2, 2, 2, 2, 1, 0,
    0, 1, 2, 2, 2, 2, 1, 0,
    0, 1, 1, 1, 1, 1, 1, 0,
    0, 0, 0, 0, 0, 0, 0, 0,
};

// Drives the lone king toward a1 or h8, the corners a dark bishop covers.
constexpr int8_t kCornerPull[64] = {
    20, 18, 16, 14, 12, 10,  8,  6,
    18, 14, 12, 10,  8,  6,  4,  8,
    16, 12,  8,  6,  2,  2,  6, 10,
    14, 10,  6,  2,  0,  2,  8, 12,
    12,  8,  2,  0,  2,  6, 10, 14,
    10,  6,  2,  2,  6,  8, 12, 16,
     8,  4,  6,  8, 10, 12, 14, 18,
     6,  8, 10, 12, 14, 16, 18, 20,
};

// Drives a lone king to the edge against a rook or queen.
constexpr int8_t kEdgePush[64] = {
    60, 50, 40, 30, 30, 40, 50, 60,
    50, 40, 30, 20, 20, 30, 40, 50,
    40, 30, 20, 10, 10, 20, 30, 40,
    30, 20, 10,  0,  0, 10, 20, 30,
    30, 20, 10,  0,  0, 10, 20, 30,
    40, 30, 20, 10, 10, 20, 30, 40,
    50, 40, 30, 20, 20, 30, 40, 50,
    60, 50, 40, 30, 30, 40, 50, 60,
};

constexpr int kKnightUnit = 16, kBishopUnit = 256, kRookUnit = 4096, kQueenUnit = 65536;

// Counts are never negative: unsigned division is a plain shift.
int count_of(int counts, int unit) { return int((unsigned(counts) / unsigned(unit)) & 15); }

int from_side_to_move(const Position& pos, int white_score) {
    return pos.side_to_move == 0 ? white_score : -white_score;
}

// Endings without pawns that are scored without the full evaluation.
// Returns true with `score` set when the position is one of them.
bool pawnless_ending(const Position& pos, EvalStackOutput& out, const int king[2], int& score) {
    const int c0 = pos.piece_counts[0], c1 = pos.piece_counts[1];
    const int total = c0 + c1;
    const bool single_minor0 = c0 == kKnightUnit || c0 == kBishopUnit;
    const bool single_minor1 = c1 == kKnightUnit || c1 == kBishopUnit;
    if (total <= kKnightUnit || total == kBishopUnit || total == 2 * kKnightUnit ||
        (single_minor0 && single_minor1)) {
        out.material_draw = 1;
        score = 0;
        return true;
    }
    if (total == kBishopUnit + kKnightUnit) {
        const int strong = c0 ? 0 : 1;
        const int bishop = lowest_square(pos.pieces[strong][kBishop]);
        int lone = king[strong ^ 1];
        if (square_bit(bishop) & kLightSquares) lone ^= 7;  // mate in a8 or h1 instead
        const int v = kKingCentre[king[strong]] + 200 + 2 * kCornerPull[lone] -
                      2 * square_distance(king[0], king[1]);
        score = pos.side_to_move == strong ? 4 * v : -4 * v;
        return true;
    }
    const int heavy = count_of(c0, kRookUnit) + count_of(c1, kRookUnit) +
                      count_of(c0, kQueenUnit) + count_of(c1, kQueenUnit);
    if ((c0 == 0 || c1 == 0) && heavy > 0) {
        int side_score[2] = {100 * pos.phase_material[0], 100 * pos.phase_material[1]};
        const int strong = pos.phase_material[0] > pos.phase_material[1] ? 0 : 1;
        const int lone = c0 == 0 ? 0 : 1;
        side_score[strong] += 200 - 10 * square_distance(king[0], king[1]) + kEdgePush[king[lone]];
        score = from_side_to_move(pos, side_score[0] - side_score[1]);
        return true;
    }
    return false;
}

// Books one side's material for the tuner's linear trace.
void note_material(LinearTrace* trace, int side, int pawns, int knights, int bishops, int rooks,
                   int queens) {
    const EngineParams& p = params;
    const int16_t* values[5][2] = {{&p.pawn_value_op, &p.pawn_value_en},
                                   {&p.knight_value_op, &p.knight_value_en},
                                   {&p.bishop_value_op, &p.bishop_value_en},
                                   {&p.rook_value_op, &p.rook_value_en},
                                   {&p.queen_value_op, &p.queen_value_en}};
    const int counts[5] = {pawns, knights, bishops, rooks, queens};
    for (int k = 0; k < 5; ++k) {
        if (!counts[k]) continue;
        note(trace, side, kMaterialOp, *values[k][0], float(counts[k]));
        note(trace, side, kMaterialEn, *values[k][1], float(counts[k]));
    }
    if (bishops >= 2) {
        note(trace, side, kMaterialOp, p.bishop_pair_op);
        note(trace, side, kMaterialEn, p.bishop_pair_en);
    }
}

int taper(int op, int en, int stage) { return (op * (24 - stage) + en * stage) / 24; }

void fill_trace(const EvalInfo& info, double draw_adj) {
    EvalTrace& t = eval_trace;
    const int stage = info.stage;
    for (int s = 0; s < 2; ++s) {
        t.material[s] = int16_t(taper(info.mat_op[s], info.mat_en[s], stage));
        t.position[s] = int16_t(taper(info.pos_op[s], info.pos_en[s], stage));
        for (int g = 0; g < kTraceGroups; ++g)
            t.group[g][s] = int16_t(taper(info.tr.group_op[g][s], info.tr.group_en[g][s], stage));
    }
    for (int sq = 0; sq < 64; ++sq)
        t.square[sq] = int16_t(taper(info.tr.square_op[sq], info.tr.square_en[sq], stage));
    t.stage = stage;
    t.draw_adj = draw_adj;
    t.hung = info.hung;
    t.pinned = info.pinned;
}

// Everything past the cache probe: the material, the term groups, the
// scaling. `Traced` selects the copy with the bookkeeping hooks.
template <bool Traced>
int full_evaluation(EvalThreadState& state, EvalCacheEntry& slot, uint64_t key) {
    EvalInfo& info = state.info;
    const Position& pos = *info.pos;
    EvalStackOutput& out = *info.stack;
    const EngineParams& p = params;
    const int stm = pos.side_to_move;
    const int counts[2] = {pos.piece_counts[0], pos.piece_counts[1]};
    if (Traced && info.trace) std::memset(&info.tr, 0, sizeof info.tr);
    info.hung = info.pinned = 0;
    for (int s = 0; s < 2; ++s) {
        const int c = counts[s];
        const int n = count_of(c, kKnightUnit), b = count_of(c, kBishopUnit);
        const int r = count_of(c, kRookUnit), q = count_of(c, kQueenUnit);
        const int pawns = c & 15;
        int op = pawns * p.pawn_value_op + n * p.knight_value_op + b * p.bishop_value_op +
                 r * p.rook_value_op + q * p.queen_value_op;
        int en = pawns * p.pawn_value_en + n * p.knight_value_en + b * p.bishop_value_en +
                 r * p.rook_value_en + q * p.queen_value_en;
        if (b >= 2) {
            op += p.bishop_pair_op;
            en += p.bishop_pair_en;
        }
        if (q > 0 && n + b + r == 0) en -= 50;  // a queen alone is clumsy in the ending
        if (Traced && info.linear) note_material(info.linear, s, pawns, n, b, r, q);
        info.mat_op[s] = int16_t(op);
        info.mat_en[s] = int16_t(en);
        info.pos_op[s] = info.pos_en[s] = 0;
        const int phase = n + b + 2 * r + 4 * q;
        info.phase_count[s] = phase < 12 ? phase : 12;
        info.pawn_count[s] = pawns;
    }
    info.stage = 24 - info.phase_count[0] - info.phase_count[1];

    evaluate_pawns<Traced>(info, state.pawn_hash, state.searching, state.pawn_probes, state.pawn_hits);
    setup_attack_maps(info);
    evaluate_pieces<Traced>(info);
    evaluate_king<Traced>(info, 0, info.king_square[0]);
    evaluate_king<Traced>(info, 1, info.king_square[1]);
    evaluate_passers<Traced>(info);
    evaluate_hung<Traced>(info);
    evaluate_pins<Traced>(info);
    add_term<Traced>(info, stm, -1, -1, 14, 7);  // tempo

    const int p_op = (info.pos_op[0] - info.pos_op[1]) * 148 / 128;
    const int p_en = (info.pos_en[0] - info.pos_en[1]) * 148 / 128;
    const int m_op = info.mat_op[0] - info.mat_op[1];
    const int m_en = info.mat_en[0] - info.mat_en[1];
    int score = taper(p_op + m_op, p_en + m_en, info.stage);
    if (stm == 1) score = -score;

    double draw_adj = 1.0;
    score = draw_scale(info, score, draw_adj);

    slot.key = key;
    slot.score = int16_t(score);
    slot.threat[0] = out.threat[0];
    slot.threat[1] = out.threat[1];
    if (Traced && info.trace) fill_trace(info, draw_adj);
    if (Traced && info.linear) {
        info.linear->complete = true;
        info.linear->stage = info.stage;
        info.linear->draw_adj = draw_adj;
        info.linear->side_to_move = stm;
    }
    return score;
}

}  // namespace

void trace_add(EvalInfo& info, int side, int group, int square, int op, int en) {
    if (group >= 0 && side >= 0) {
        info.tr.group_op[group][side] = int16_t(info.tr.group_op[group][side] + op);
        info.tr.group_en[group][side] = int16_t(info.tr.group_en[group][side] + en);
    }
    if (square >= 0) {
        info.tr.square_op[square] = int16_t(info.tr.square_op[square] + op);
        info.tr.square_en[square] = int16_t(info.tr.square_en[square] + en);
    }
}

void clear_eval_state(EvalThreadState& state) {
    std::memset(state.cache, 0, sizeof state.cache);
    std::memset(state.pawn_hash, 0, sizeof state.pawn_hash);
    // A zero key would match the empty pawn structure: mark the slots unused.
    for (PawnHashEntry& e : state.pawn_hash) e.key = ~0ULL;
    for (EvalCacheEntry& e : state.cache) e.key = ~0ULL;
    state.eval_probes = state.eval_hits = state.pawn_probes = state.pawn_hits = 0;
}

int evaluate(const Position& pos, EvalThreadState& state, EvalStackOutput& out, int ply,
             bool in_check) {
    if (state.linear) state.linear->reset();
    if (in_check) return kInCheckScore;
    EvalInfo& info = state.info;
    const int stm = pos.side_to_move;
    out.threat[0] = out.threat[1] = 0;
    out.material_draw = 0;

    info.pos = &pos;
    info.stack = &out;
    info.occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    // A position without a king (only a malformed FEN) gets a king square
    // that is merely somewhere on the board.
    info.king_square[0] = pos.pieces[0][kKing] ? lowest_square(pos.pieces[0][kKing]) : 0;
    info.king_square[1] = pos.pieces[1][kKing] ? lowest_square(pos.pieces[1][kKing]) : 63;
    const int counts[2] = {pos.piece_counts[0], pos.piece_counts[1]};
    info.trace = !state.searching && state.trace_thread && ply == 1;
    info.linear = state.linear;

    const int pawns0 = counts[0] & 15, pawns1 = counts[1] & 15;
    if (pawns0 + pawns1 == 0) {
        int score;
        if (pawnless_ending(pos, out, info.king_square, score)) return score;
    } else if (counts[0] + counts[1] == 1) {
        const int side = pawns0 ? 0 : 1;
        const int pawn = lowest_square(pos.pieces[side][kPawn]);
        const bool won = kpk_won(side, pawn, info.king_square[side], info.king_square[side ^ 1],
                                 stm == side);
        return won ? (stm == side ? 800 : -800) : 0;
    }

    const uint64_t key = full_key(pos);
    EvalCacheEntry& slot = state.cache[eval_cache_index(key, stm)];
    ++state.eval_probes;
    if (state.searching && ply > 1 && slot.key == key) {
        ++state.eval_hits;
        out.threat[0] = slot.threat[0];
        out.threat[1] = slot.threat[1];
        return slot.score;
    }

    return info.trace || info.linear ? full_evaluation<true>(state, slot, key)
                                     : full_evaluation<false>(state, slot, key);
}

}  // namespace vorn
