#include "board/attacks.h"
#include "board/see.h"
#include "eval/engine_params.h"
#include "eval/eval_terms.h"
#include "eval/pawn_hash.h"

namespace vorn {

namespace {

// Bonus for a pawn defended by another, by relative square (rank 1 first).
constexpr int8_t kProtectedBonus[64] = {
    0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0,
    2, 2, 2, 2, 2, 2, 2, 2,
    2, 3, 4, 4, 4, 4, 3, 2,
    2, 4, 7, 7, 7, 7, 4, 2,
    2, 4, 7, 7, 7, 7, 4, 2,
    2, 4, 7, 7, 7, 7, 4, 2,
    0, 0, 0, 0, 0, 0, 0, 0,
};

// Danger a free passer poses to the defending side, by relative rank.
constexpr int kPasserThreatBase[8] = {0, 100, 100, 200, 400, 800, 1600, 0};

// Squares of b5-g6 (White) and b3-g4 (Black) where outposts can stand.
constexpr Bitboard kOutpostRanks[2] = {0x00007E7E00000000ULL, 0x000000007E7E0000ULL};

// Pawns on the first or last rank cannot exist in a legal game; keeping them
// out of the passer sets keeps every square computation on the board.
constexpr Bitboard kPawnRanks = 0x00FFFFFFFFFFFF00ULL;

int forward(int side, int square, int steps) { return side ? square - 8 * steps : square + 8 * steps; }

}  // namespace

void compute_pawn_entry(const Position& pos, PawnHashEntry& e, EvalInfo* booking) {
    const EngineParams& p = params;
    LinearTrace* const linear = booking ? booking->linear : nullptr;
    const Bitboard pawns[2] = {pos.pieces[0][kPawn], pos.pieces[1][kPawn]};
    e.key = pos.pawn_key;
    e.passed = 0;
    e.candidates = 0;
    for (int s = 0; s < 2; ++s) {
        e.attack_span[s] = adjacent_files(front_span(s, pawns[s]));
        e.files[s] = 0;
        e.score_op[s] = 0;
        e.score_en[s] = 0;
    }
    for (int s = 0; s < 2; ++s) {
        const int o = s ^ 1;
        const Bitboard own_att = pawn_attack_set(s, pawns[s]);
        for (const uint8_t* l = pos.piece_list[s][kPawn]; *l != kNoSquare; ++l) {
            const int sq = *l;
            const int f = sq & 7;
            const int r = relative_rank(s, sq);
            const int rel = relative_square(s, sq);
            const Bitboard bit = square_bit(sq);
            const Bitboard front = front_span(s, bit);
            const Bitboard file_others = file_mask(f) & pawns[s] & ~bit;
            const Bitboard beside = adjacent_files(bit) & rank_mask(sq >> 3);
            int op = p.pst[kPawn][rel].op;
            int en = p.pst[kPawn][rel].en;
            note_pair(linear, s, p.pst[kPawn][rel].op, p.pst[kPawn][rel].en);

            e.files[s] |= uint16_t(1u << f);
            if (file_others) {
                op += p.pawn_doubled_op;
                en += p.pawn_doubled_en;
                note_pair(linear, s, p.pawn_doubled_op, p.pawn_doubled_en);
            }
            const Bitboard stop = s ? bit >> 8 : bit << 8;
            if (!(stop & e.attack_span[s])) {
                if (r < 4) {
                    op += p.pawn_backward_op;
                    en += p.pawn_backward_en;
                    note_pair(linear, s, p.pawn_backward_op, p.pawn_backward_en);
                }
                if (!(adjacent_files(file_mask(f)) & pawns[s])) {
                    op += p.pawn_isolated_op;
                    en += p.pawn_isolated_en;
                    note_pair(linear, s, p.pawn_isolated_op, p.pawn_isolated_en);
                }
                if (!(front & pawns[o])) {
                    op += p.pawn_weak_op;
                    en += p.pawn_weak_en;
                    note_pair(linear, s, p.pawn_weak_op, p.pawn_weak_en);
                }
            }
            int bonus = 0;
            if (beside & pawns[s]) bonus += p.connected_bonus[r];
            if (own_att & bit) bonus += kProtectedBonus[rel];
            op += bonus;
            en += bonus;

            const bool passed = !(front & pawns[o]) && !(bit & e.attack_span[o]) && (bit & kPawnRanks);
            if (passed) e.passed |= bit;
            if (!passed && (bit & kOutpostRanks[s] & ~e.attack_span[o])) op += 4;

            if (!passed && !(front & pawns[o]) && r >= 3 && (bit & kPawnRanks)) {
                // Enemy pawns that can still meet it (beyond its stop square,
                // on its own file and both neighbours), against the pawns
                // beside it that can help it through.
                const Bitboard beyond_stop = front_span(s, stop | adjacent_files(stop));
                int enemies = popcount(pawns[o] & beyond_stop);
                int helpers = popcount(pawns[s] & beside);
                if (enemies <= helpers) e.candidates |= bit;
            }
            e.score_op[s] = int16_t(e.score_op[s] + op);
            e.score_en[s] = int16_t(e.score_en[s] + en);
            if (booking && booking->trace) trace_add(*booking, -1, kTracePawns, sq, op, en);
        }
    }
}

template <bool Traced>
void evaluate_pawns(EvalInfo& info, PawnHashEntry* table, bool searching, uint64_t& probes,
                    uint64_t& hits) {
    const Position& pos = *info.pos;
    PawnHashEntry& e = table[pos.pawn_key & (kPawnHashSize - 1)];
    ++probes;
    info.pawn_hash_hit = searching && e.key == pos.pawn_key;
    if (info.pawn_hash_hit) {
        ++hits;
    } else {
        compute_pawn_entry(pos, e, Traced && (info.trace || info.linear) ? &info : nullptr);
    }
    info.pawn_entry = &e;
    for (int s = 0; s < 2; ++s) {
        info.pos_op[s] = int16_t(info.pos_op[s] + e.score_op[s]);
        info.pos_en[s] = int16_t(info.pos_en[s] + e.score_en[s]);
        if (Traced && info.trace) {
            info.tr.group_op[kTracePawns][s] = int16_t(info.tr.group_op[kTracePawns][s] + e.score_op[s]);
            info.tr.group_en[kTracePawns][s] = int16_t(info.tr.group_en[kTracePawns][s] + e.score_en[s]);
        }
    }

    const Bitboard pawns[2] = {pos.pieces[0][kPawn], pos.pieces[1][kPawn]};
    info.blocked_by_pawn[0] = pawns[0] & shift_down(pawns[1]);
    info.blocked_by_pawn[1] = pawns[1] & shift_up(pawns[0]);

    // Pawns that cannot move cost a little; the centre pawns on their home
    // squares cost more, since they lock in the bishops.
    const Bitboard blocked[2] = {pawns[0] & shift_down(info.occupancy),
                                 pawns[1] & shift_up(info.occupancy)};
    const Bitboard home_centre[2] = {square_bit(11) | square_bit(12), square_bit(51) | square_bit(52)};
    for (int s = 0; s < 2; ++s) {
        for (Bitboard b = blocked[s]; b; b &= b - 1) {
            int sq = lowest_square(b);
            int cost = (square_bit(sq) & home_centre[s]) ? 14 : 2;
            add_term<Traced>(info, s, kTracePawns, sq, -cost, -cost);
        }
    }
}

template <bool Traced>
void evaluate_passers(EvalInfo& info) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    const PawnHashEntry& e = *info.pawn_entry;
    const Bitboard pawns[2] = {pos.pieces[0][kPawn], pos.pieces[1][kPawn]};

    for (Bitboard b = e.passed; b; b &= b - 1) {
        const int sq = lowest_square(b);
        const Bitboard bit = square_bit(sq);
        const int s = (pawns[0] & bit) ? 0 : 1;
        if (!(pawns[s] & bit)) continue;  // stale entry cannot happen, but stay on the board
        const int o = s ^ 1;
        const int r = relative_rank(s, sq);
        const Bitboard front = front_span(s, bit);
        const int promo = s ? (sq & 7) : (sq & 7) + 56;

        if (front & pawns[s]) {  // rear pawn of a doubled passer
            int v = p.ppawn[r] / 3;
            add_term<Traced>(info, s, kTracePassers, sq, v, v);
            note_pair(linear, s, p.ppawn[r], p.ppawn[r], 1.0f / 3);
            continue;
        }
        const int target = r <= 5 ? forward(s, sq, 2) : forward(s, sq, 1);
        const int d_own = square_distance(info.king_square[s], target);
        const int d_enemy = square_distance(info.king_square[o], target);
        const int d_promo = square_distance(info.king_square[o], promo);

        int base = p.ppawn[r];
        const int king_term = (28 * d_enemy - 18 * d_own) * (r + 1) / 16;

        int stop = forward(s, sq, 1);
        if (r == 1 && pos.board[stop] == 0) stop = forward(s, sq, 2);

        bool blocked_by_enemy = false, advances = false;
        if (pos.board[stop] == 0) {
            if (see(pos, s, sq, stop, info.occupancy, false) >= 0) {
                advances = true;
                base += p.ppawnx[r];
                int v = kPasserThreatBase[r];
                const Bitboard path = front_span(s, square_bit(stop));
                if (stop == promo || !(path & (pos.pieces[o][0] | info.all_att[o]))) {
                    base += 4 * (r + 1);
                    v += 100 + v / 2;
                }
                info.stack->threat[o] = int16_t(info.stack->threat[o] + v);
            }
        } else if (piece_side(pos.board[stop]) == o) {
            blocked_by_enemy = true;
        }

        const bool beside = adjacent_files(bit) & rank_mask(sq >> 3) & pawns[s];
        const bool defended = info.pawn_att[s] & bit;
        const int tempo = pos.side_to_move == s ? 1 : 0;
        const bool edge = (sq & 7) == 0 || (sq & 7) == 7;
        const bool escorted = (r >= 4 && d_own <= 1 && !edge) || 8 - r - tempo < d_promo;
        int value = king_term + base;
        if (blocked_by_enemy) value -= base / 4;
        if (beside) value += base / 4;
        if (defended) value += base / 8;
        if (escorted) value += base / 4;
        add_term<Traced>(info, s, kTracePassers, sq, value / 2, value);
        if (linear) {
            // The share of `base` that reaches the value; the opening gets half.
            const float share = 1.0f - 0.25f * blocked_by_enemy + 0.25f * beside +
                                0.125f * defended + 0.25f * escorted;
            note(linear, s, kPositionalOp, p.ppawn[r], share / 2);
            note(linear, s, kPositionalEn, p.ppawn[r], share);
            if (advances) {
                note(linear, s, kPositionalOp, p.ppawnx[r], share / 2);
                note(linear, s, kPositionalEn, p.ppawnx[r], share);
            }
        }
    }

    if (info.stage < 14) return;
    for (Bitboard b = e.candidates; b; b &= b - 1) {
        const int sq = lowest_square(b);
        const Bitboard bit = square_bit(sq);
        const int s = (pawns[0] & bit) ? 0 : 1;
        if (!(pawns[s] & bit)) continue;
        const int stop = forward(s, sq, 1);
        if (pos.board[stop] != 0) continue;
        const int r = relative_rank(s, sq);
        // A candidate stands on ranks 4-7; two steps from the seventh rank
        // would leave the board, so stop at the promotion square.
        const int t = r <= 5 ? forward(s, sq, 2) : stop;
        const int d = square_distance(info.king_square[s ^ 1], t);
        add_term<Traced>(info, s, kTracePassers, sq, 0, ((r - 2) * 32 + 24 * d) * p.pawn_candidate / 256);
        note(linear, s, kPositionalEn, p.pawn_candidate, ((r - 2) * 32 + 24 * d) / 256.0f);
    }
}

template void evaluate_pawns<false>(EvalInfo&, PawnHashEntry*, bool, uint64_t&, uint64_t&);
template void evaluate_pawns<true>(EvalInfo&, PawnHashEntry*, bool, uint64_t&, uint64_t&);
template void evaluate_passers<false>(EvalInfo&);
template void evaluate_passers<true>(EvalInfo&);

}  // namespace vorn
