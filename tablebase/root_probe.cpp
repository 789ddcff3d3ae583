// The root probe: the result of a tablebase position under the fifty-move
// rule, the move that keeps it fastest, and the moves that keep it at all.

#include <algorithm>
#include <bit>

#include "board/searchable.h"
#include "tablebase/probe.h"

namespace vorn {

namespace {

// Placements no table describes; the probe code assumes none of this. The
// kings, the pawns and the side that just moved are checked as for any
// search; the bitboards must not overlap either.
bool well_formed(const Position& pos) {
    if (pos.pieces[kWhite][0] & pos.pieces[kBlack][0]) return false;
    Bitboard seen = 0;
    for (int type = kPawn; type <= kKing; type++) {
        const Bitboard b = pos.pieces[kWhite][type] | pos.pieces[kBlack][type];
        if (b & seen) return false;
        seen |= b;
    }
    return unsearchable_reason(pos) == nullptr;
}

// Result class 0..4 of a move's score (mover's view, see tb_probe_root)
// with `fifty` plies already on the counter.
int result_of(int score, int fifty) {
    if (score > 0) return fifty + score <= 100 ? 4 : 3;
    if (score < 0) return fifty - score <= 100 ? 0 : 1;
    return 2;
}

}  // namespace

int tb_probe_root(const Position& pos, int* wdl_out, int* dtz_out, Move* move_out) {
    root_tb_moves[0] = 0;
    if (wdl_out) *wdl_out = 0;
    if (dtz_out) *dtz_out = 0;
    if (move_out) *move_out = 0;
    if (pos.castling) return -1;
    if (std::popcount(pos.pieces[kWhite][0] | pos.pieces[kBlack][0]) > tb_largest) return -1;
    if (!well_formed(pos)) return -1;

    const TbPosition root = tb_position_from(pos, pos.fifty_count);
    int success;
    const int dtz = probe_dtz(root, success);
    if (!success) return -1;

    // Score every move from the mover's view: positive wins (smaller is
    // faster), negative loses (more negative resists longer), beyond 100 in
    // size only without the fifty-move rule. A zeroing move restarts the
    // count, so its child's WDL decides; otherwise the child's DTZ one ply on.
    TbMove moves[kTbMaxMoves];
    int scores[kTbMaxMoves];
    const int n = tb_legal_moves(root, moves, false);
    for (int i = 0; i < n; i++) {
        const TbPosition child = tb_make_move(root, moves[i]);
        if (dtz > 0 && tb_is_mate(child)) {
            scores[i] = 1;
        } else if (child.rule50 == 0) {
            static constexpr int kByChildWdl[5] = {1, 101, 0, -101, -1};
            scores[i] = kByChildWdl[probe_wdl(child, success) + 2];
        } else {
            const int d = probe_dtz(child, success);
            scores[i] = d < 0 ? 1 - d : d > 0 ? -d - 1 : 0;
        }
        if (!success) return -1;
    }

    // The root's class is the best any move keeps with the counter as it
    // stands. The root's own DTZ may be rounded up by a ply in tables that
    // store full moves, which near the limit would call a kept win cursed;
    // each move's distance counts from the root, zeroing moves included (a
    // capture with the counter already at 100 comes too late).
    const int fifty = pos.fifty_count;
    int result = -1;
    for (int i = 0; i < n; i++) result = std::max(result, result_of(scores[i], fifty));

    int chosen = -1;
    if (result >= 3) {
        for (int i = 0; i < n; i++)
            if (scores[i] > 0 && (chosen < 0 || scores[i] < scores[chosen])) chosen = i;
    } else if (result <= 1) {
        for (int i = 0; i < n; i++)
            if (chosen < 0 || scores[i] < scores[chosen]) chosen = i;
    } else {
        // Among equal draws, pick by the material so play varies little but
        // is not always the first move generated.
        int draws = 0;
        for (int i = 0; i < n; i++) draws += scores[i] == 0;
        if (draws > 0) {
            int pick = int(tb_material_key(root, false) % uint64_t(draws));
            for (int i = 0; i < n && chosen < 0; i++)
                if (scores[i] == 0 && pick-- == 0) chosen = i;
        }
    }
    if (chosen < 0) return -1;

    int kept = 0;
    for (int i = 0; i < n && kept < kMaxRootTbMoves; i++)
        if (result_of(scores[i], fifty) >= result) root_tb_moves[kept++] = tb_engine_move(moves[i]);
    root_tb_moves[kept] = 0;

    if (wdl_out) *wdl_out = result - 2;
    if (dtz_out) *dtz_out = dtz < 0 ? -dtz : dtz;
    if (move_out) *move_out = tb_engine_move(moves[chosen]);
    return result;
}

}  // namespace vorn
