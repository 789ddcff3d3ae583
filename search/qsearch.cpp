#include <algorithm>
#include <cassert>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/see.h"
#include "search/move_picker.h"
#include "search/search.h"
#include "search/thread_data.h"
#include "core/shell_state.h"

namespace vorn {

namespace {

inline int relative_rank(int side, int square) { return side ? 7 - rank_of(square) : rank_of(square); }

// Quiet moves that check the enemy king directly: single pawn pushes, and
// knight and slider moves to a square from which the piece attacks the king.
MoveEntry* gen_quiet_checks(const Position& pos, int side, MoveEntry* list) {
    int king_sq = pos.piece_list[side ^ 1][kKing][0];
    if (king_sq >= 64) return list;
    Bitboard occ = pos.pieces[0][0] | pos.pieces[1][0];
    Bitboard empty = ~occ;
    Bitboard diag = bishop_attacks(king_sq, occ) & empty;
    Bitboard orth = rook_attacks(king_sq, occ) & empty;
    int step = pawn_step[side];

    for (const uint8_t* sq = pos.piece_list[side][kPawn]; *sq < 64; sq++) {
        int from = *sq, to = from + step;
        if (relative_rank(side, from) == 6 || pos.board[to]) continue;
        if (pawn_attacks[side][to] & square_bit(king_sq))
            *list++ = MoveEntry{encode_move(from, to), 0, uint8_t(piece_code(side, kPawn)), 0};
    }
    for (const uint8_t* sq = pos.piece_list[side][kKnight]; *sq < 64; sq++) {
        Bitboard targets = knight_attacks[*sq] & knight_attacks[king_sq] & empty;
        while (targets) {
            int to = lowest_square(targets);
            targets &= targets - 1;
            *list++ = MoveEntry{encode_move(*sq, to), 0, uint8_t(piece_code(side, kKnight)), 0};
        }
    }
    for (int type = kBishop; type <= kQueen; type++) {
        Bitboard wanted = (type == kBishop) ? diag : (type == kRook) ? orth : (diag | orth);
        for (const uint8_t* sq = pos.piece_list[side][type]; *sq < 64; sq++) {
            Bitboard reach = type == kBishop ? bishop_attacks(*sq, occ)
                           : type == kRook   ? rook_attacks(*sq, occ)
                                             : queen_attacks(*sq, occ);
            Bitboard targets = reach & wanted;
            while (targets) {
                int to = lowest_square(targets);
                targets &= targets - 1;
                *list++ = MoveEntry{encode_move(*sq, to), 0, uint8_t(piece_code(side, type)), 0};
            }
        }
    }
    return list;
}

}  // namespace

int qsearch(Position& pos, int side, int ply, int depth, int alpha, int beta, int pv_node,
            PrincipalVariation& pv) {
    ThreadData& td = *static_cast<ThreadData*>(pos.owner);
    pv.clear();
    assert(&pos == &td.pos && td.ply == ply);
    SearchStackEntry& ss = td.stack[ply];

    // Stand pat: the side to move need not capture, so the static evaluation
    // is a lower bound of what it can get.
    int e = ss.static_eval;
    if (e >= beta) return beta;
    if (e > alpha) alpha = e;

    // Captures and queen promotions, best first by victim and attacker (a
    // recapture first among equals); under-promotions are left to the search.
    MoveEntry* list = ss.move_list;
    MoveEntry* end = gen_pawn_captures(pos, side, list);
    end = gen_piece_captures(pos, side, end);
    MoveEntry* promo_end = gen_promotions(pos, side, end);
    for (MoveEntry* q = end; q != promo_end; q++)
        if (q->move & kPromoteQueen) *end++ = *q;
    end_move_list(td, ply, end);

    Move last = td.last_move;
    int last_to = last ? move_to(last) : -1;
    for (MoveEntry* q = list; q != end; q++) {
        int score = capture_order(*q);
        if (move_to(q->move) == last_to) score += 7;
        q->score = static_cast<int16_t>(score);
    }

    // Delta pruning margin: what positional change a capture may bring on top
    // of the piece it wins; a PV node allows more, since its score is exact.
    const int margin = pv_node ? 250 : 150;
    const int enemy = side ^ 1;
    PrincipalVariation child_pv;
    // The search hands a node in check to its full-width loop, never to here.
    NodeLegality legal(pos, side, false);
    assert(!in_check(pos, side));

    // Searches one move of either stage; returns true on a cut-off (score in *cut).
    auto try_move = [&](MoveEntry* q, int* cut) -> bool {
        Move m = q->move;
        int to = move_to(m);
        int mover_type = piece_type(q->mover);
        bool en_passant = mover_type == kPawn && to == pos.ep_square && !q->victim;
        int captured = en_passant ? kPawn : piece_type(q->victim);

        // Delta pruning of a move that gives no check: even the captured piece
        // and the margin do not lift the stand-pat score to alpha. A pawn
        // reaching the seventh or eighth rank is worth more than its capture,
        // and taking the opponent's last pieces can turn a loss into a drawn
        // ending that the evaluation scores very differently: both are searched.
        int chk = gives_check(pos, side, *q);
        if (chk == 0) {
            bool pawn_to_last_ranks = mover_type == kPawn && relative_rank(side, to) >= 6;
            if (!pawn_to_last_ranks) {
                int enemy_pawns_after = (pos.piece_counts[enemy] & 15) - (captured == kPawn ? 1 : 0);
                int phase_after = pos.phase_material[enemy] -
                                  (captured == kKnight || captured == kBishop ? 3
                                   : captured == kRook                      ? 5
                                   : captured == kQueen                     ? 10
                                                                            : 0);
                bool bare_ending = enemy_pawns_after == 0 && phase_after < pos.phase_material[side] + 4;
                if (!bare_ending && see_value[captured] + e <= alpha - margin) return false;
            }
        }
        // A capture of a less valuable piece that loses more than about three
        // quarters of a pawn in the exchange is skipped (a discovered check
        // may win more elsewhere).
        if (chk != 2 && !en_passant && capture_rank[captured] < capture_rank[mover_type] &&
            !capture_not_losing(pos, m))
            return false;
        if (!legal(m)) return false;

        ss.current = q;
        make_move(pos, m);
        int score = -search(pos, enemy, ply + 1, depth - 1, -beta, -alpha, pv_node, child_pv);
        unmake_move(pos);
        if (score > alpha) {
            if (score >= beta) {
                *cut = score;
                return true;
            }
            alpha = score;
            pv.update(m, child_pv);
        }
        return false;
    };

    int cut = 0;
    for (MoveEntry* q = list; q->move != kMoveListEnd; q++) {
        pick_best(q, end);
        // Deep in the quiescence search only recaptures go on: enough to settle
        // the exchange that started it, and the tree stays small.
        if (depth < -4 && move_to(q->move) != last_to) continue;
        if (try_move(q, &cut)) return cut;
        if (stop_signal.load(std::memory_order_relaxed)) return 0;
    }

    if (depth < 0) return alpha;

    // Quiet checks at the first quiescence ply only: they find mates and forks
    // at the horizon, and one ply of them costs little.
    MoveEntry* checks = end;
    MoveEntry* checks_end = gen_quiet_checks(pos, side, checks);
    end_move_list(td, ply, checks_end);
    for (MoveEntry* q = checks; q != checks_end; q++) {
        if (try_move(q, &cut)) return cut;
        if (stop_signal.load(std::memory_order_relaxed)) return 0;
    }
    return alpha;
}

}  // namespace vorn
