#include "eval/param_report.h"

#include "eval/engine_params.h"
#include "eval/text_append.h"

namespace vorn {

std::string param_report() {
    const EngineParams& p = params;
    std::string out;
    append(out, "piece values=  %d/%d  %d/%d  %d/%d  %d/%d  %d/%d\n", p.pawn_value_op, p.pawn_value_en,
           p.knight_value_op, p.knight_value_en, p.bishop_value_op, p.bishop_value_en,
           p.rook_value_op, p.rook_value_en, p.queen_value_op, p.queen_value_en);
    append(out, "bishop_pair= %d , %d\n\n", p.bishop_pair_op, p.bishop_pair_en);
    out += "KingDanger[]=";
    for (int i = 0; i < 64; ++i) {
        if (i % 10 == 0) append(out, "\n%2d:  ", i);
        append(out, "  %3d ", p.KingDanger[i]);
    }
    out += "\n\n";
    for (int n = 0; n < 15; ++n) {
        ScorePair knight = n <= 8 ? p.knight_mob[n] : ScorePair{0, 0};
        append(out, "%3d  nmob= %3d/%3d  bmob=%3d/%3d  rmob=%3d/%3d  qmob= %3d/%3d\n", n, knight.op,
               knight.en, p.bishop_mob[n].op, p.bishop_mob[n].en, p.rook_mob[n].op, p.rook_mob[n].en,
               p.queen_mob[n].op, p.queen_mob[n].en);
    }
    append(out, "queen_mob[28] = %d/%d\n", p.queen_mob[28].op, p.queen_mob[28].en);
    for (int rank = 2; rank <= 7; ++rank)
        append(out, "rank=%d,  ppawn=%3d, ppawnx=%3d\n", rank, p.ppawn[rank - 1], p.ppawnx[rank - 1]);
    append(out, "pawn_shield= %d\n", p.pawn_shield);
    append(out, "pawn_storm= %d\n", p.pawn_storm);
    append(out, "hung= %d/%d\n", p.hung_op, p.hung_en);
    append(out, "pinned= %d/%d\n", p.pinned_op, p.pinned_en);
    append(out, "knight_outpost= %d , %d\n", p.knight_outpost, p.knight_outpost_spare);

    static const char* const kTitles[6][2] = {
        {"PawnOpening", "PawnEnding"},   {"KnightOpening", "KnightEnding"},
        {"BishopOpening", "BishopEnding"}, {"RookOpening", "RookEnding"},
        {"QueenOpening", "QueenEnding"}, {"KingOpening", "KingEnding"}};
    for (int type = 1; type <= 6; ++type) {
        for (int phase = 0; phase < 2; ++phase) {
            out += kTitles[type - 1][phase];
            out += '\n';
            for (int rank = 7; rank >= 0; --rank) {
                for (int file = 0; file < 8; ++file) {
                    const ScorePair& v = p.pst[type][rank * 8 + file];
                    append(out, "  %3d ", phase ? v.en : v.op);
                }
                out += '\n';
            }
            out += '\n';
        }
    }
    out += "\n\n";
    return out;
}

}  // namespace vorn
