#include "board/attacks.h"
#include "eval/engine_params.h"
#include "eval/eval_terms.h"
#include "eval/pawn_hash.h"

namespace vorn {

namespace {

// Centre of the three shield files by king file: the shield never leaves the board.
constexpr int kShieldCentre[8] = {1, 1, 2, 3, 4, 5, 6, 6};
constexpr int kKingRankBonus[8] = {0, 0, 4, 8, 8, 8, 4, 0};
// A king tucked into a corner of its back rank is less exposed.
constexpr Bitboard kShelteredSquares = 0xC3ULL;  // a1 b1 g1 h1 (relative)

}  // namespace

template <bool Traced>
void evaluate_king(EvalInfo& info, int s, int king_square) {
    const EngineParams& p = params;
    LinearTrace* const linear = linear_trace<Traced>(info);
    const Position& pos = *info.pos;
    const int e = s ^ 1;
    const int rel = relative_square(s, king_square);
    int op = p.pst[kKing][rel].op;
    int en = p.pst[kKing][rel].en;
    // The opening term is halved unless the enemy still has a queen and
    // enough pieces to attack with.
    const float op_share = pos.pieces[e][kQueen] && info.phase_count[e] > 3 ? 1.0f : 0.5f;
    note(linear, s, kPositionalOp, p.pst[kKing][rel].op, op_share);
    note(linear, s, kPositionalEn, p.pst[kKing][rel].en);

    if (info.phase_count[e] > 2) {
        const Bitboard own_pawns = pos.pieces[s][kPawn];
        const int centre = kShieldCentre[king_square & 7];

        // Pawn shield.
        int shield = (own_pawns & king_attacks[king_square]) ? 1 : 0;
        const Bitboard second = rank_mask(s ? 6 : 1), third = rank_mask(s ? 5 : 2);
        for (int f = centre - 1; f <= centre + 1; ++f) {
            const Bitboard on_file = own_pawns & file_mask(f);
            if (on_file & second) shield += 3;
            else if (on_file & third) shield += 2;
            else if (on_file) shield += 1;
        }
        op += p.pawn_shield * (shield - 9);
        note(linear, s, kPositionalOp, p.pawn_shield, float(shield - 9) * op_share);
        const int missing = (10 - shield) / 2;

        int exposure = (square_bit(rel) & kShelteredSquares) ? 0 : 1;

        // Pawn storm, only when the kings stand on different wings.
        const int enemy_file = info.king_square[e] & 7;
        if (enemy_file - centre > 2 || centre - enemy_file > 2) {
            const Bitboard enemy_own_half = e ? 0xFFFFFFFF00000000ULL : 0x00000000FFFFFFFFULL;
            const Bitboard enemy_pawns = pos.pieces[e][kPawn] & enemy_own_half;
            int storm = 0;
            for (int f = centre - 1; f <= centre + 1; ++f)
                if (!(enemy_pawns & file_mask(f))) ++storm;
            op += p.pawn_storm * storm;
            note(linear, s, kPositionalOp, p.pawn_storm, float(storm) * op_share);
            exposure += storm / 2;
        }

        // Attacks on the king zone, by how cheaply the defence holds them.
        const Bitboard zone = info.king_zone[s];
        const Bitboard def_pawn = info.pawn_att[s];
        const Bitboard def_minor = def_pawn | info.knight_att[s] | info.bishop_att[s];
        const Bitboard def_all = def_minor | info.rook_att[s] | info.queen_att[s];
        int z = popcount(zone & info.queen_att[e] & ~def_all);
        z += popcount(zone & info.rook_att[e] & ~def_minor);
        z += popcount(zone & info.bishop_att[e] & ~def_pawn);
        z += popcount(zone & info.knight_att[e] & ~def_pawn);
        z += popcount(zone & info.pawn_att[e]);
        z += popcount(zone & info.pawn_att[e] & info.twice_att[e]);

        // Safe checks available to the enemy.
        const Bitboard safe = ~def_all & ~(info.king_att[s] & ~info.twice_att[e]) & ~pos.pieces[e][0];
        int checks = popcount(info.safe_diag_checks[e] & safe & info.bishop_att[e]) +
                     popcount(info.safe_knight_checks[e] & safe & info.knight_att[e]) +
                     popcount(info.safe_orth_checks[e] & safe & info.rook_att[e]);
        if (info.queen_att[e] & info.safe_diag_checks[e] & safe) ++checks;
        if (info.queen_att[e] & info.safe_orth_checks[e] & safe) ++checks;
        op -= 8 * checks;
        en -= 12 * checks;

        int index = info.king_attacks_count[e] + z + missing + exposure + 2 * checks;
        if (info.queen_att[e] & safe & king_attacks[king_square]) {
            op -= 10;
            index += 2;
            info.stack->threat[s] = 5000;
        }
        if (pos.side_to_move == s && index > 0) --index;
        if (index > 31) index = 31;
        op -= p.KingDanger[index];
        note(linear, s, kPositionalOp, p.KingDanger[index], -op_share);

        if (!(pos.pieces[e][kQueen] && info.phase_count[e] > 3)) op /= 2;
    } else {
        op /= 2;
    }

    if (info.stage >= 15) {
        const Bitboard flight = king_attacks[king_square] & ~info.all_att[e] & ~pos.pieces[s][0];
        if (flight & kCentreBlock) en += 6;
        else if (!(flight & kInnerBlock)) en -= 12;
        if (info.pawn_count[0] + info.pawn_count[1]) {
            const int mask = info.pawn_entry->files[0] | info.pawn_entry->files[1];
            const int f = king_square & 7;
            if (f < p.file_lowest[mask]) en -= 10 * (p.file_lowest[mask] - f);
            else if (f > p.file_highest[mask]) en -= 10 * (f - p.file_highest[mask]);
        }
        en += kKingRankBonus[relative_rank(s, king_square)];
    }
    add_term<Traced>(info, s, kTraceKings, king_square, op, en);
}

template void evaluate_king<false>(EvalInfo&, int, int);
template void evaluate_king<true>(EvalInfo&, int, int);

}  // namespace vorn
