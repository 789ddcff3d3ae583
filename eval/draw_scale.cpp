#include "board/attacks.h"
#include "eval/eval_terms.h"
#include "eval/kpk.h"

namespace vorn {

namespace {

struct Material {
    int pawns, knights, bishops, rooks, queens;
};

Material material_of(int counts) {
    return {counts & 15, (counts >> 4) & 15, (counts >> 8) & 15, (counts >> 12) & 15, (counts >> 16) & 15};
}

constexpr int kCountsKnight = 16;
constexpr int kCountsBishop = 256;
constexpr int kCountsRook = 4096;
constexpr int kCountsQueen = 65536;

// Factor when the leader has a single pawn and little or no extra material:
// how well the defender can stop that pawn.
double single_pawn_factor(const EvalInfo& info, int lead, int weak, double f9) {
    const Position& pos = *info.pos;
    const int pawn = lowest_square(pos.pieces[lead][kPawn]);
    const Bitboard bit = square_bit(pawn);
    const Bitboard front = front_span(lead, bit);
    double adj;
    if (!(pos.pieces[weak][kKnight] | pos.pieces[weak][kBishop])) adj = f9 * 0.8;
    else if (!((info.knight_att[weak] | info.bishop_att[weak]) & front)) adj = f9 * 0.7;
    else adj = f9 * 0.35;

    const int wk = info.king_square[weak];
    const int lk = info.king_square[lead];
    if (relative_rank(lead, wk) > relative_rank(lead, pawn)) {
        if (front & square_bit(wk)) adj *= 0.75;
        else if (king_attacks[wk] & front & ~info.all_att[lead]) adj *= 0.85;
    }
    const int r = relative_rank(lead, pawn);
    const int steps = r >= 6 ? 1 : 2;
    int t = lead ? pawn - 8 * steps : pawn + 8 * steps;
    if (t < 0 || t > 63) t = pawn;  // a pawn on its last rank (not a legal game)
    if (square_distance(wk, t) < square_distance(lk, t)) adj *= 0.8;
    return adj;
}

}  // namespace

int draw_scale(const EvalInfo& info, int score, double& draw_adj) {
    draw_adj = 1.0;
    if (score > -15 && score < 15) return score;
    const Position& pos = *info.pos;
    const int lead = score >= 15 ? pos.side_to_move : pos.side_to_move ^ 1;
    const int weak = lead ^ 1;
    const int pm_l = pos.phase_material[lead];
    const int pm_w = pos.phase_material[weak];
    const int counts_l = pos.piece_counts[lead];
    const int counts_w = pos.piece_counts[weak];
    const Material ml = material_of(counts_l);
    const Material mw = material_of(counts_w);

    double adj = 1.0;
    if (pm_l >= 14) {
        adj = 1.0;
    } else if (pm_l - pm_w >= 4) {
        if (counts_l == 2 * kCountsKnight) {
            adj = 0.05;
        } else if (counts_l == kCountsRook || counts_l == kCountsQueen) {
            adj = mw.pawns ? 0.9 : 1.0;
            if (counts_l == kCountsQueen && pm_w >= 6) adj *= 0.75;
        }
    } else if (ml.pawns == 0) {
        if (counts_l == 2 * kCountsBishop && counts_w == kCountsKnight) adj = 0.9;
        else adj = pm_l < 4 ? 0.05 : pm_l < 9 ? 0.15 : 0.25;
    } else if (counts_l == 1 && counts_w == 1) {
        const int pawn = lowest_square(pos.pieces[lead][kPawn]);
        const bool won = kpk_won(lead, pawn, info.king_square[lead], info.king_square[weak],
                                 pos.side_to_move == lead);
        adj = won ? 1.0 : 0.25;
    } else if (pm_l < 4 && pm_w == 0) {
        const Bitboard pawns = pos.pieces[lead][kPawn];
        const bool only_minor_bishop = !(ml.knights | ml.rooks | ml.queens);
        int rook_file = -1;
        if ((pawns & ~file_mask(0)) == 0) rook_file = 0;
        else if ((pawns & ~file_mask(7)) == 0) rook_file = 7;
        if (only_minor_bishop && rook_file >= 0) {
            const int promo = lead ? rook_file : rook_file + 56;
            if (square_distance(info.king_square[weak], promo) <= 1) {
                const Bitboard bishops = pos.pieces[lead][kBishop];
                const bool promo_light = (square_bit(promo) & kLightSquares) != 0;
                const bool wrong_bishop =
                    !bishops || (((bishops & kLightSquares) != 0) != promo_light);
                if (wrong_bishop) adj = 0.06;
            }
        }
    } else if (pm_w == 0) {
        adj = 1.0;
    } else {
        double f3 = 0.85, f5 = 0.9, f6 = 0.95, f9 = 1.0;
        const int pm_w8 = pm_w < 8 ? pm_w : 8;
        const Bitboard bishops = pos.pieces[lead][kBishop] | pos.pieces[weak][kBishop];
        const bool opposite = ml.bishops == 1 && mw.bishops == 1 && !ml.queens && !mw.queens &&
                              pm_w8 >= pm_l && popcount(bishops & kLightSquares) == 1;
        if (opposite) {
            const int p = ml.pawns - mw.pawns;
            if (pm_l < 4) {
                if (p < 2) { f3 = 0.2125; f5 = 0.225; f6 = 0.2375; f9 = 0.25; }
                else if (p == 2) { f3 = 0.51; f5 = 0.54; f6 = 0.57; f9 = 0.6; }
            } else if (p < 2) {
                f3 = 0.68; f5 = 0.72; f6 = 0.76; f9 = 0.8;
            }
        }
        if (ml.pawns < 4 && pm_l + ml.pawns - pm_w - mw.pawns < 2) {
            if (ml.pawns == 1) adj = single_pawn_factor(info, lead, weak, f9);
            else if (pm_l == 3) adj = f3;
            else if (pm_l == 5) adj = f5;
            else if (pm_l < 9) adj = f6;
            else adj = f9;
        } else {
            adj = f9;
        }
    }
    draw_adj = adj;
    return int(score * adj);
}

}  // namespace vorn
