#include "board/attacks.h"
#include "eval/engine_params.h"
#include "eval/eval_terms.h"
#include "eval/pawn_hash.h"

namespace vorn {

namespace {

constexpr Bitboard kOutpostRanks[2] = {0x00007E7E00000000ULL, 0x000000007E7E0000ULL};
// The two ranks nearest a side's own back rank (its pieces and king start there).
constexpr Bitboard kHomeRanks[2] = {0x000000000000FFFFULL, 0xFFFF000000000000ULL};

Bitboard king_zone_of(int king_square) {
    int f = king_square & 7, r = king_square >> 3;
    f = f < 1 ? 1 : f > 6 ? 6 : f;
    r = r < 1 ? 1 : r > 6 ? 6 : r;
    int centre = r * 8 + f;
    return king_attacks[centre] | square_bit(centre);
}

inline void add_attacks(EvalInfo& info, int side, Bitboard& type_map, Bitboard att) {
    type_map |= att;
    info.twice_att[side] |= att & info.all_att[side];
    info.all_att[side] |= att;
}

template <bool Traced>
void evaluate_knights(EvalInfo& info, int s) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    const int o = s ^ 1;
    for (const uint8_t* l = pos.piece_list[s][kKnight]; *l != kNoSquare; ++l) {
        const int sq = *l;
        const Bitboard att = knight_attacks[sq];
        const int mob = popcount(att & info.mobility_area[s]);
        int op = p.pst[kKnight][relative_square(s, sq)].op;
        int en = p.pst[kKnight][relative_square(s, sq)].en;
        if (att & (info.king_zone[o] | info.safe_knight_checks[s])) info.king_attacks_count[s] += 2;
        const int z = (att & info.king_zone[o]) ? 6 : 0;
        op += p.knight_mob[mob].op + z;
        en += p.knight_mob[mob].en + z + info.closed_value;
        note_pair(linear, s, p.pst[kKnight][relative_square(s, sq)].op,
                  p.pst[kKnight][relative_square(s, sq)].en);
        note_pair(linear, s, p.knight_mob[mob].op, p.knight_mob[mob].en);
        if (square_bit(sq) & info.outpost_zone[s]) {
            op += p.knight_outpost;
            if (info.pawn_att[s] & square_bit(sq)) op += 6;
            note(linear, s, kPositionalOp, p.knight_outpost);
        } else if (att & info.outpost_zone[s] & info.mobility_area[s]) {
            op += p.knight_outpost / 2;
            note(linear, s, kPositionalOp, p.knight_outpost, 0.5f);
        }
        if (mob == 0 && (square_bit(sq) & enemy_half(s))) op -= 20;
        add_attacks(info, s, info.knight_att[s], att);
        add_term<Traced>(info, s, kTraceKnights, sq, op, en);
    }
}

template <bool Traced>
void evaluate_bishops(EvalInfo& info, int s) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    const int o = s ^ 1;
    const Bitboard see_through = info.occupancy & ~pos.pieces[s][kQueen];
    for (const uint8_t* l = pos.piece_list[s][kBishop]; *l != kNoSquare; ++l) {
        const int sq = *l;
        const Bitboard att = bishop_attacks(sq, see_through);
        const int mob = popcount(att & info.mobility_area[s]);
        int op = p.pst[kBishop][relative_square(s, sq)].op;
        int en = p.pst[kBishop][relative_square(s, sq)].en;
        if (att & (info.king_zone[o] | info.safe_diag_checks[s])) info.king_attacks_count[s] += 2;
        const int centre = 4 * popcount(att & kCentreBlock);
        op += p.bishop_mob[mob].op + centre;
        if (square_bit(sq) & info.outpost_zone[s]) op += 12;
        en += p.bishop_mob[mob].en + centre;
        note_pair(linear, s, p.pst[kBishop][relative_square(s, sq)].op,
                  p.pst[kBishop][relative_square(s, sq)].en);
        note_pair(linear, s, p.bishop_mob[mob].op, p.bishop_mob[mob].en);
        // Own pawns fixed on the bishop's colour hem it in.
        const Bitboard colour = (square_bit(sq) & kLightSquares) ? kLightSquares : ~kLightSquares;
        const int n = popcount(info.blocked_by_pawn[s] & colour);
        op -= 4 * n;
        en -= 8 * n;
        if (mob == 0 && (square_bit(sq) & enemy_half(s))) op -= 20;
        add_attacks(info, s, info.bishop_att[s], att);
        add_term<Traced>(info, s, kTraceBishops, sq, op, en);
    }
}

template <bool Traced>
void evaluate_rooks(EvalInfo& info, int s) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    const int o = s ^ 1;
    const Bitboard see_through = info.occupancy & ~(pos.pieces[s][kRook] | pos.pieces[s][kQueen]);
    const unsigned own_files = info.pawn_entry->files[s];
    const unsigned enemy_files = info.pawn_entry->files[o];
    for (const uint8_t* l = pos.piece_list[s][kRook]; *l != kNoSquare; ++l) {
        const int sq = *l;
        const int f = sq & 7;
        const Bitboard att = rook_attacks(sq, see_through);
        const int mob = popcount(att & info.mobility_area[s]);
        int op = p.pst[kRook][relative_square(s, sq)].op;
        int en = p.pst[kRook][relative_square(s, sq)].en;
        if (att & (info.king_zone[o] | info.safe_orth_checks[s])) info.king_attacks_count[s] += 3;
        const int v = 3 * popcount(att & file_mask(f) & enemy_half(s));
        op += p.rook_mob[mob].op + v;
        en += p.rook_mob[mob].en + v;
        note_pair(linear, s, p.pst[kRook][relative_square(s, sq)].op,
                  p.pst[kRook][relative_square(s, sq)].en);
        note_pair(linear, s, p.rook_mob[mob].op, p.rook_mob[mob].en);
        if (own_files & (1u << f)) {
            if (mob < 5 && (f <= 1 || f >= 6)) {
                // Shut in by its own king or pawns on the same wing.
                const Bitboard blockers = (pos.pieces[s][kPawn] | pos.pieces[s][kKing]) & rank_mask(sq >> 3);
                const Bitboard wing = f <= 1 ? (file_mask(1) | file_mask(2)) : (file_mask(5) | file_mask(6));
                if (blockers & wing) {
                    op += p.rook_trapped;
                    note(linear, s, kPositionalOp, p.rook_trapped);
                }
            }
        } else if (enemy_files & (1u << f)) {
            op += p.rook_half_open_file_op;
            en += p.rook_half_open_file_en;
            note_pair(linear, s, p.rook_half_open_file_op, p.rook_half_open_file_en);
        } else {
            op += p.rook_open_file_op;
            en += p.rook_open_file_en;
            note_pair(linear, s, p.rook_open_file_op, p.rook_open_file_en);
        }
        if (relative_rank(s, sq) == 6 && info.rank7_flag[s]) {
            op += p.rook_rank7_op;
            en += p.rook_rank7_en;
            note_pair(linear, s, p.rook_rank7_op, p.rook_rank7_en);
        }
        add_attacks(info, s, info.rook_att[s], att);
        add_term<Traced>(info, s, kTraceRooks, sq, op, en);
    }
}

template <bool Traced>
void evaluate_queens(EvalInfo& info, int s) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    const int o = s ^ 1;
    const Bitboard occ = info.occupancy;
    for (const uint8_t* l = pos.piece_list[s][kQueen]; *l != kNoSquare; ++l) {
        const int sq = *l;
        const Bitboard diag = bishop_attacks(sq, occ), orth = rook_attacks(sq, occ);
        const Bitboard att = diag | orth;
        // Batteries: what it would reach behind its own bishops and rooks.
        // Only a bishop or rook it already touches can open a line.
        const Bitboard own_bishops = pos.pieces[s][kBishop], own_rooks = pos.pieces[s][kRook];
        const Bitboard diag_xray = (diag & own_bishops) ? bishop_attacks(sq, occ & ~own_bishops) : diag;
        const Bitboard orth_xray = (orth & own_rooks) ? rook_attacks(sq, occ & ~own_rooks) : orth;
        const Bitboard xray = (diag_xray | orth_xray) & ~att;
        const int mob = popcount(att & info.mobility_area[s]);
        int op = p.pst[kQueen][relative_square(s, sq)].op;
        int en = p.pst[kQueen][relative_square(s, sq)].en;
        if (att & info.king_zone[o])
            info.king_attacks_count[s] += 3;
        else if ((xray & info.king_zone[o]) || (att & (info.safe_diag_checks[s] | info.safe_orth_checks[s])))
            info.king_attacks_count[s] += 2;
        op += p.queen_mob[mob].op;
        en += p.queen_mob[mob].en;
        note_pair(linear, s, p.pst[kQueen][relative_square(s, sq)].op,
                  p.pst[kQueen][relative_square(s, sq)].en);
        note_pair(linear, s, p.queen_mob[mob].op, p.queen_mob[mob].en);
        if (relative_rank(s, sq) == 6 && info.rank7_flag[s]) {
            en += p.queen_rank7_en;
            note(linear, s, kPositionalEn, p.queen_rank7_en);
        }
        info.twice_att[s] |= xray;
        add_attacks(info, s, info.queen_att[s], att);
        add_term<Traced>(info, s, kTraceQueens, sq, op, en);
    }
}

}  // namespace

void setup_attack_maps(EvalInfo& info) {
    const Position& pos = *info.pos;
    const PawnHashEntry& e = *info.pawn_entry;
    const int total_pawns = info.pawn_count[0] + info.pawn_count[1];
    info.closed_value = total_pawns >= 8 ? 2 * total_pawns - 14 : 0;
    for (int s = 0; s < 2; ++s) {
        info.pawn_att[s] = pawn_attack_set(s, pos.pieces[s][kPawn]);
        info.king_att[s] = king_attacks[info.king_square[s]];
        info.all_att[s] = info.pawn_att[s] | info.king_att[s];
        info.twice_att[s] = info.pawn_att[s] & info.king_att[s];
        info.knight_att[s] = info.bishop_att[s] = info.rook_att[s] = info.queen_att[s] = 0;
        info.king_zone[s] = king_zone_of(info.king_square[s]);
        info.king_attacks_count[s] = 0;
    }
    for (int s = 0; s < 2; ++s) {
        const int o = s ^ 1;
        info.mobility_area[s] = ~(info.pawn_att[o] | pos.pieces[s][kPawn] | pos.pieces[s][kKing]);
        info.outpost_zone[s] = kOutpostRanks[s] & ~e.attack_span[o];
        const int ek = info.king_square[o];
        const Bitboard allowed = ~(pos.pieces[s][0] | info.pawn_att[o]);
        info.safe_knight_checks[s] = knight_attacks[ek] & allowed;
        info.safe_diag_checks[s] = bishop_attacks(ek, info.occupancy) & allowed;
        info.safe_orth_checks[s] = rook_attacks(ek, info.occupancy) & allowed;
        info.rank7_flag[s] = ((pos.pieces[o][kKing] | pos.pieces[o][kPawn]) & kHomeRanks[o]) != 0;
    }
}

template <bool Traced>
void evaluate_pieces(EvalInfo& info) {
    evaluate_knights<Traced>(info, 0);
    evaluate_knights<Traced>(info, 1);
    evaluate_bishops<Traced>(info, 0);
    evaluate_bishops<Traced>(info, 1);
    evaluate_rooks<Traced>(info, 0);
    evaluate_rooks<Traced>(info, 1);
    evaluate_queens<Traced>(info, 0);
    evaluate_queens<Traced>(info, 1);
}

template <bool Traced>
void evaluate_hung(EvalInfo& info) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    for (int s = 0; s < 2; ++s) {
        const int o = s ^ 1;
        const Bitboard* own = pos.pieces[s];
        const Bitboard undefended = info.all_att[o] & ~info.all_att[s];
        const Bitboard minors = own[kKnight] | own[kBishop];
        Bitboard hung = (minors & (undefended | info.pawn_att[o])) |
                        (own[kRook] & (info.pawn_att[o] | info.knight_att[o] | info.bishop_att[o])) |
                        (own[kQueen] & (info.pawn_att[o] | info.knight_att[o] | info.bishop_att[o] |
                                        info.rook_att[o])) |
                        (own[kPawn] & undefended & ~info.pawn_att[o]);
        info.hung |= hung;
        int count = 0;
        for (; hung; hung &= hung - 1) {
            const int sq = lowest_square(hung);
            add_term<Traced>(info, s, -1, sq, p.hung_op, p.hung_en);
            note_pair(linear, s, p.hung_op, p.hung_en);
            const int16_t value = kThreatValue[piece_type(pos.board[sq])];
            if (value > info.stack->threat[s]) info.stack->threat[s] = value;
            ++count;
        }
        if (count >= 2) add_term<Traced>(info, s, -1, -1, -12, -12);
    }
}

namespace {

// Pieces standing alone between a slider of `attackers` and `target`.
Bitboard pinned_against(int target, Bitboard diagonal_attackers, Bitboard orthogonal_attackers,
                        Bitboard occupancy) {
    Bitboard pinned = 0;
    Bitboard sliders = (diagonal_attackers & diagonal_mask[target]) |
                       (orthogonal_attackers & orthogonal_mask[target]);
    for (; sliders; sliders &= sliders - 1) {
        const Bitboard middle = between[lowest_square(sliders)][target] & occupancy;
        if (middle && !(middle & (middle - 1))) pinned |= middle;
    }
    return pinned;
}

}  // namespace

template <bool Traced>
void evaluate_pins(EvalInfo& info) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    for (int s = 0; s < 2; ++s) {
        const Bitboard* enemy = pos.pieces[s ^ 1];
        Bitboard pinned = pinned_against(info.king_square[s], enemy[kBishop] | enemy[kQueen],
                                         enemy[kRook] | enemy[kQueen], info.occupancy);
        const Bitboard queens = pos.pieces[s][kQueen];
        if (queens && !(queens & (queens - 1)))
            pinned |= pinned_against(lowest_square(queens), enemy[kBishop], enemy[kRook],
                                     info.occupancy);
        info.pinned |= pinned;
        const Bitboard counted = pinned & pos.pieces[s][0] & ~pos.pieces[s][kPawn];
        for (Bitboard b = counted; b; b &= b - 1) {
            add_term<Traced>(info, s, -1, lowest_square(b), p.pinned_op, p.pinned_en);
            note_pair(linear, s, p.pinned_op, p.pinned_en);
        }
    }
}

template void evaluate_pieces<false>(EvalInfo&);
template void evaluate_pieces<true>(EvalInfo&);
template void evaluate_hung<false>(EvalInfo&);
template void evaluate_hung<true>(EvalInfo&);
template void evaluate_pins<false>(EvalInfo&);
template void evaluate_pins<true>(EvalInfo&);

}  // namespace vorn
