#include "search/search.h"

#include <algorithm>
#include <cassert>
#include <bit>
#include <cstdio>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/see.h"
#include "eval/engine_params.h"
#include "eval/evaluate.h"
#include "search/iterate.h"
#include "search/move_picker.h"
#include "search/thread_data.h"
#include "search/transposition_table.h"
#include "core/output.h"
#include "core/score.h"
#include "core/shell_state.h"
#include "tablebase/probe.h"

namespace vorn {

uint64_t tag_key = 0;

namespace {

constexpr int kMaxSearchPly = 65;  // nodes beyond this return their static evaluation
constexpr Bitboard kFileA = 0x0101010101010101ULL;

inline ThreadData& owner_of(Position& pos) { return *static_cast<ThreadData*>(pos.owner); }

inline int relative_rank(int side, int square) { return side ? 7 - rank_of(square) : rank_of(square); }

Bitboard all_pieces(const Position& pos) { return pos.pieces[0][0] | pos.pieces[1][0]; }

// Squares of the files next to and including `file`, on the ranks ahead of
// `square` from `side`'s view.
Bitboard front_span(int side, int square) {
    int f = file_of(square), r = rank_of(square);
    Bitboard files = kFileA << f;
    if (f > 0) files |= kFileA << (f - 1);
    if (f < 7) files |= kFileA << (f + 1);
    Bitboard ahead = side == kWhite ? (r < 7 ? ~Bitboard(0) << (8 * (r + 1)) : 0)
                                    : (Bitboard(1) << (8 * r)) - 1;
    return files & ahead;
}

void print_tagged_stack(ThreadData& td, Position& pos, int ply) {
    send_line("ply depth alpha    beta    eval    move   pv");
    for (int p = 1; p < ply && p < kMaxPly; p++) {
        const SearchStackEntry& s = td.stack[p];
        char text[kMoveTextSize] = "null";
        if (s.current) move_to_text(s.current->move, text);
        send_linef("%2d. %3d  %6d  %6d  %6d  %6s   %d", p, s.depth, s.alpha, s.beta, s.static_eval, text,
                   s.pv_node);
    }
    print_board(pos);
    send_line("");
    print_board(pos);
}

// Attack on `square` by `side` with the piece on `lifted` taken off the board.
bool attacked_without(const Position& pos, int square, int side, int lifted) {
    Bitboard occ = all_pieces(pos) & ~square_bit(lifted);
    Bitboard keep = ~square_bit(lifted);
    const Bitboard* p = pos.pieces[side];
    if (p[kPawn] & keep & pawn_attacks[side ^ 1][square]) return true;
    if (p[kKnight] & keep & knight_attacks[square]) return true;
    if (p[kKing] & keep & king_attacks[square]) return true;
    if ((p[kBishop] | p[kQueen]) & keep & bishop_attacks(square, occ)) return true;
    if ((p[kRook] | p[kQueen]) & keep & rook_attacks(square, occ)) return true;
    return false;
}

// Late-move pruning spares a quiet move that creates a threat: an attack on
// the enemy king's surroundings or on a more valuable piece. A slider's new
// lines are all but the one it moved along.
bool creates_threat(const Position& pos, int side, const MoveEntry& e) {
    int from = move_from(e.move), to = move_to(e.move);
    int type = piece_type(e.mover);
    int enemy = side ^ 1;
    int king_sq = pos.piece_list[enemy][kKing][0];
    if (king_sq >= 64) return false;
    Bitboard zone = king_attacks[king_sq];
    const Bitboard* ep = pos.pieces[enemy];
    switch (type) {
        case kPawn:
            return pawn_attacks[side][to] & (zone | ep[kKnight] | ep[kBishop] | ep[kRook] | ep[kQueen]);
        case kKnight:
            return knight_attacks[to] & (zone | ep[kRook] | ep[kQueen]);
        case kKing:
            return false;
        default:
            break;
    }
    const Bitboard occ = (all_pieces(pos) & ~square_bit(from)) | square_bit(to);
    const Bitboard from_bit = square_bit(from);
    // The line of the move through `to`, both ways (the masks of two squares
    // on one line meet in the rest of that line).
    const Bitboard old_line = from_bit | ((diagonal_mask[to] & from_bit) ? diagonal_mask[to] & diagonal_mask[from]
                                                                         : orthogonal_mask[to] & orthogonal_mask[from]);
    // Direct attacks on bigger pieces along new lines.
    if (type == kBishop && (bishop_attacks(to, occ) & ~old_line & (ep[kRook] | ep[kQueen]))) return true;
    if (type == kRook && (rook_attacks(to, occ) & ~old_line & ep[kQueen])) return true;
    // Support of an attack on the king zone: squares of it reached along a new
    // line, through own sliders of the same kind, that another piece attacks.
    const Bitboard* own = pos.pieces[side];
    Bitboard reach = 0;
    if (type != kRook) reach |= bishop_attacks(to, occ & ~(own[kBishop] | own[kQueen]));
    if (type != kBishop) reach |= rook_attacks(to, occ & ~(own[kRook] | own[kQueen]));
    for (reach &= zone & ~old_line; reach; reach &= reach - 1)
        if (attacked_without(pos, lowest_square(reach), side, from)) return true;
    return false;
}

}  // namespace

int faded_draw_value(int side, int history_count) {
    int v = draw_value[side];
    if (history_count <= 100) return v;
    if (history_count > 200) return 0;
    return v / 2;
}

bool drawn_by_rule(Position& pos) {
    if (pos.fifty_count <= 3) return false;
    if (pos.fifty_count >= 100 && game_end_state(pos, in_check(pos, pos.side_to_move)) == 0) return true;
    return earlier_occurrences(pos, *pos.owner, 2) >= 2;
}

int classify_move(const Position& pos, int side, const MoveEntry& e, int check) {
    Move m = e.move;
    int to = move_to(m);
    int type = piece_type(e.mover);
    int flags = 0;
    if (e.victim || (type == kPawn && to == pos.ep_square)) flags |= FLAG_CAPTURE;
    if (check == 1) flags |= FLAG_CHECK;
    if (check == 2) flags |= FLAG_CHECK | FLAG_DISCOVERED;
    if (type == kPawn) {
        int rr = relative_rank(side, to);
        if (rr == 6) flags |= FLAG_PAWN_SEVENTH;
        if (m & kPromoteQueen) flags |= FLAG_QUEEN_PROMOTION;
        if ((rr == 4 || rr == 5) && !(pos.pieces[side ^ 1][kPawn] & front_span(side, to)))
            flags |= FLAG_FREE_PAWN;
    }
    return flags;
}

int search(Position& pos, int side, int ply, int depth, int alpha, int beta, int pv_node,
           PrincipalVariation& pv) {
    ThreadData& td = owner_of(pos);
    pv.clear();
    // The node works on its block's own position, and the block's ply (kept by
    // make and unmake) indexes the same stack entry as the search's.
    assert(&pos == &td.pos && td.ply == ply && ply >= 2 && ply < kMaxPly - 2);

    // Node count; past the node limit the search stops, once depth 2 has an answer.
    bump(td.nodes);
    if (td.nodes.load(std::memory_order_relaxed) > td.node_limit && td.completed_depth > 1) {
        stop_signal = STOP_REPORT;
        return 0;
    }
    if (ply > td.seldepth) td.seldepth = static_cast<uint8_t>(ply);

    const uint64_t key = full_key(pos);
    if (hash_mode && depth >= 1) tt_prefetch(key, side);  // the probe comes after the evaluation
    if (tag_key && key == tag_key) print_tagged_stack(td, pos, ply);

    // Mate-distance bounds: no line from here can mate sooner than next ply or
    // be mated sooner than now, so a window outside that range is already decided.
    alpha = std::max(alpha, mated_in(ply));
    beta = std::min(beta, mate_in(ply + 1));
    if (beta <= alpha) return alpha;

    // This ply's stack entry; the killers two plies down belong to other lines.
    SearchStackEntry& ss = td.stack[ply];
    ss.pv_node = static_cast<int16_t>(pv_node);
    ss.alpha = static_cast<int16_t>(alpha);
    ss.beta = static_cast<int16_t>(beta);
    ss.eval = EvalStackOutput{};
    ss.extended = ss.reduction = ss.in_iid = ss.move_flags = ss.legal_moves = 0;
    ss.hash_move = 0;
    ss.stage = STAGE_HASH_MOVE;
    ss.tb_result = -1;
    ss.current = nullptr;
    no_move_list(td, ply);
    td.stack[ply + 2].killer1 = td.stack[ply + 2].killer2 = 0;

    bool in_check_now = in_check(pos, side);

    // Fifty-move rule and repetitions, possible only after four reversible
    // plies. Near the root a position must have occurred twice before, so that
    // a repetition the game already holds does not end the search early.
    int fifty = pos.fifty_count;
    if (fifty > 3) {
        if (fifty >= 100 && game_end_state(pos, in_check_now) == 0) return 0;
        const int needed = ply < 4 ? 2 : 1;
        if (earlier_occurrences(pos, td, needed) >= needed) return faded_draw_value(side, td.history_count);
    }

    // Below a tablebase root every node re-probes and refutes a move that
    // spoils the root's result; late in the fifty-move count only the
    // table's own root move can keep a win from becoming a draw.
    if (ply >= 2 && td.stack[ply - 1].tb_result != -1) {
        int parent = td.stack[ply - 1].tb_result;
        int r = tb_largest ? tb_probe_wdl(pos, depth) : -1;
        if (r >= 0) {
            bump(td.tb_hits);
            ss.tb_result = r;
            if (r > 4 - parent) return beta;
        }
        if (ply == 2 && root_tb_move && td.last_move != root_tb_move && fifty > 30) return beta;
    }

    // Tablebase probe right after a capture or pawn move: the table answers exactly.
    if (fifty == 0 && tb_largest && root_tb_result.load(std::memory_order_relaxed) == -1) {
        int r = tb_probe_wdl(pos, depth);
        if (r >= 0) {
            bump(td.tb_hits);
            ss.tb_result = r;
            int score = r == 4 ? tb_win_in(ply) : (r == 0 ? tb_loss_in(ply) : 0);
            return score <= alpha ? alpha : score;
        }
    }

    // Static evaluation; it also finds threatened pieces and dead-drawn material.
    int static_eval = evaluate(pos, td.eval, ss.eval, ply, in_check_now);
    ss.static_eval = static_cast<int16_t>(static_eval);
    ss.depth = static_cast<int16_t>(depth);

    if (ply > kMaxSearchPly) return in_check_now ? 0 : static_eval;

    // Out of check, a node without depth is a quiescence node; one whose
    // material cannot win is scored by the evaluation alone.
    if (!in_check_now) {
        if (ss.eval.material_draw) return static_eval;
        if (depth < 1) return qsearch(pos, side, ply, depth, alpha, beta, pv_node, pv);
    }

    // Transposition table. A PV node takes no cut-off from it (its exact line
    // matters) unless deep in the tree with a decisive score; near the
    // fifty-move limit stored scores may not hold any more.
    bump(td.hash_probes);
    int tt_depth = -99, tt_score = -kInfinite;
    bool tt_fail_low = false, tt_fail_high = false;
    if (hash_mode) {
        TTRead t = tt_read(key, side, ply, pos);
        tt_depth = t.depth;
        if (t.hit) {
            bump(td.hash_hits);
            ss.hash_move = t.move;
            tt_score = t.score;
            bool raised = false;
            if (t.depth >= depth && fifty + depth < 90) {
                if (!pv_node || (ply > 11 && is_decisive(tt_score))) {
                    if (tt_score > alpha && t.bound != BOUND_UPPER) {
                        if (tt_score >= beta) return tt_score;
                        alpha = tt_score;
                        raised = true;
                    } else if (tt_score < beta && t.bound != BOUND_LOWER) {
                        beta = tt_score;
                    }
                }
                if (beta <= alpha) return alpha;
            }
            if (raised) {
                tt_fail_low = t.bound != BOUND_LOWER;
                tt_fail_high = false;
            } else {
                tt_fail_low = tt_score <= alpha && t.bound != BOUND_LOWER;
                tt_fail_high = tt_score >= beta && t.bound != BOUND_UPPER;
            }
        } else {
            tt_score = -kInfinite;
        }
    }

    const EngineParams& p = params;
    // With at most one minor piece besides kings and pawns, tempo and zugzwang
    // decide too much for the pruning steps below.
    bool low_material = pos.phase_material[0] + pos.phase_material[1] < 4;

    // Razoring: far enough below alpha that no quiet move is likely to gain
    // FP_margin (150) per ply left, only captures and checks can help.
    if (depth <= p.FP_depth && static_eval <= alpha - p.FP_margin * depth && !low_material && !pv_node &&
        !in_check_now && !tt_fail_high)
        return qsearch(pos, side, ply, 0, alpha, beta, pv_node, pv);

    // Static-evaluation pruning and ProbCut, for an evaluation clearly above beta.
    if (static_eval > beta + 24) {
        // Near the horizon a surplus of SEP_margin (75) per ply survives the
        // opponent's best quiet reply; not when a threatened piece of ours is
        // worth twice the surplus, nor in a PV node or in check.
        if (depth <= p.SEP_depth) {
            bool skip = static_eval < beta + ss.eval.threat[side] / 2 || low_material || pv_node ||
                        in_check_now || tt_fail_low;
            if (!skip) {
                if (static_eval >= beta + p.SEP_margin * depth) return beta;
                // A smaller surplus still holds at depths 1 and 2 unless a piece
                // of ours hangs for as much as the surplus less a pawn.
                if (depth < 3) {
                    bool hanging = false;
                    Bitboard occ = all_pieces(pos);
                    Bitboard own = pos.pieces[side][0] & ~pos.pieces[side][kKing];
                    while (own && !hanging) {
                        int sq = lowest_square(own);
                        own &= own - 1;
                        int v = see(pos, side ^ 1, kNoSquare, sq, occ, true);
                        if (v >= 1 && static_eval - v - 99 <= beta) hanging = true;
                    }
                    if (!hanging) return beta;
                }
            }
        }
        // ProbCut: a capture that wins material (exchange above a pawn) and
        // holds beta + 125 four plies shallower almost surely holds beta here;
        // 125 covers what the shallower search misjudges.
        if (depth > 4 && !low_material && !pv_node && !tt_fail_low) {
            MoveEntry* list = ss.move_list;
            MoveEntry* end = gen_pawn_captures(pos, side, list);
            end = gen_piece_captures(pos, side, end);
            end = gen_promotions(pos, side, end);
            end_move_list(td, ply, end);
            score_moves(td, pos, list);
            int threshold = beta + 125;
            PrincipalVariation child_pv;
            NodeLegality legal(pos, side, in_check_now);
            for (MoveEntry* e = list; e->move != kMoveListEnd; e++) {
                pick_best(e, end);
                Move m = e->move;
                if (!legal(m)) continue;
                if (see(pos, side, move_from(m), move_to(m), all_pieces(pos), false) <= 99) continue;
                ss.current = e;
                make_move(pos, m);
                int score = -search(pos, side ^ 1, ply + 1, depth - 4, -threshold, -threshold + 1, 0, child_pv);
                unmake_move(pos);
                if (stop_signal.load(std::memory_order_relaxed)) return 0;
                if (score >= threshold) return beta;
            }
            ss.current = nullptr;
            no_move_list(td, ply);
        }
    }

    // Null move: if passing still holds beta at a reduced depth (R = 3; 4 deep
    // when the side has more than a rook's worth of pieces), a real move will
    // too. Not within two plies of another pass, not in check, not with little
    // material, where passing may be the only good move (zugzwang).
    if (depth >= p.NMP_depth && static_eval > beta + 11 && !tt_fail_low && !low_material && !pv_node &&
        !in_check_now) {
        int hc = td.history_count;
        bool prev_null = (hc >= 1 && td.history[hc - 1].move == 0) || (hc >= 2 && td.history[hc - 2].move == 0);
        if (!prev_null) {
            int r = (depth > 7 && pos.phase_material[side] > 5) ? 4 : 3;
            int new_depth = std::max(1, depth - r);
            if (move_trace_hook) move_trace_hook(pos, 0);
            ss.current = nullptr;
            make_null_move(pos);
            PrincipalVariation child_pv;
            int score = -search(pos, side ^ 1, ply + 1, new_depth - 1, -beta, -alpha, 0, child_pv);
            unmake_null_move(pos);
            if (stop_signal.load(std::memory_order_relaxed)) return 0;
            if (score >= beta) {
                // Deep nodes verify the cut-off with a search 4 plies shallower
                // instead of trusting it, which guards against zugzwang.
                if (depth < 5) return beta;
                depth -= 4;
                ss.depth = static_cast<int16_t>(depth);
            }
        }
    }

    ss.tt_score = static_cast<int16_t>(tt_score);

    // Internal iterative deepening finds a first move for a node the table
    // gave none (or only a shallow one), 3 to 5 plies shallower; not in a
    // node so far below alpha (2 pawns) that it fails low whatever the order.
    int iid_depth = (pv_node || depth < 5) ? depth - 3 : depth - 5 + (depth < 11 ? 1 : 0);
    if (iid_depth >= 1 && (tt_depth < iid_depth || ss.hash_move == 0) && static_eval >= alpha - 199) {
        ss.in_iid = 1;
        int s = search_moves(pos, side, ply, iid_depth, alpha, beta, in_check_now, pv_node, pv);
        ss.in_iid = 0;
        if (stop_signal.load(std::memory_order_relaxed)) return 0;
        ss.tt_score = static_cast<int16_t>(s);
        if (s > alpha) ss.hash_move = ss.best_move;
    }

    int score = search_moves(pos, side, ply, depth, alpha, beta, in_check_now, pv_node, pv);
    if (score <= alpha) return alpha;
    if (score > beta) return beta;
    return score;
}

int search_moves(Position& pos, int side, int ply, int depth, int alpha, int beta, bool in_check_now,
                 int pv_node, PrincipalVariation& pv) {
    ThreadData& td = owner_of(pos);
    SearchStackEntry& ss = td.stack[ply];
    const EngineParams& p = params;

    pv.clear();
    ss.legal_moves = 0;
    ss.stage = STAGE_HASH_MOVE;
    int best = -kInfinite;
    Move best_move = 0;
    const uint8_t entry_credit = td.extension_credit;
    const int alpha_in = alpha, beta_in = beta;

    // Late moves are pruned only near the horizon of a non-PV node out of
    // check; they are reduced only while the node's horizon (ply + depth)
    // still reaches past half the iteration depth, so that a line already
    // cut short by reductions is not cut again.
    bool lmp_on = depth <= p.LMP_depth && !in_check_now && !ss.in_iid && !pv_node;
    bool lmr_on = depth >= p.LMR_depth && !in_check_now && td.iteration_depth.load(std::memory_order_relaxed) / 2 < ply + depth;
    int failed = 0;
    int static_eval = ss.static_eval;
    int grand_eval = ply >= 2 ? td.stack[ply - 2].static_eval : static_eval;
    int depth_index = std::min(depth, 69);
    PrincipalVariation child_pv;
    NodeLegality legal(pos, side, in_check_now);
    NodeChecks gives_check_here(pos, side);

    while (MoveEntry* e = next_move(td, pos, ply, in_check_now)) {
        Move m = e->move;
        if (!legal(m)) continue;

        int flags = in_check_now ? 0 : classify_move(pos, side, *e, gives_check_here(*e));
        int type = piece_type(e->mover);
        bool castling = type == kKing && (move_to(m) - move_from(m) == 2 || move_from(m) - move_to(m) == 2 ||
                                          (pos.pieces[side][0] & square_bit(move_to(m))));

        // Late-move pruning: after LMP_count moves per ply of depth have failed,
        // a quiet move that neither threatens something (or is ordered as a
        // killer or counter move, above 39) nor keeps its material is skipped.
        // capture_not_losing, computed when first needed; a move handed out
        // by the good-capture stage has passed it already.
        int cnl = ss.stage == STAGE_GOOD_CAPTURES ? 1 : -1;
        auto not_losing = [&]() {
            if (cnl < 0) cnl = capture_not_losing(pos, m) ? 1 : 0;
            return cnl == 1;
        };
        if (lmp_on && !is_mated(best) && flags == 0 && failed > p.LMP_count * depth && !castling) {
            bool threat_ok = e->score > 39 || creates_threat(pos, side, *e);
            if (!(threat_ok && not_losing())) continue;
        }

        // Late-move reduction: quiet moves by the table, one ply more for a
        // badly ordered move (below 21: no killer, a weak history) once four
        // have failed when it loses material or the evaluation is falling
        // (150 below two plies ago). A check or capture that loses material
        // loses one ply; safe ones, discovered checks and well-ordered safe
        // quiet moves (40 and up) none.
        int r = 0;
        if (lmr_on) {
            if (flags) {
                if (not_losing() || (flags & FLAG_DISCOVERED))
                    r = 0;
                else
                    r = (flags & (FLAG_CAPTURE | FLAG_CHECK)) == (FLAG_CAPTURE | FLAG_CHECK) ? 0 : 1;
            } else if (!(e->score >= 40 && not_losing())) {
                r = p.lmr_table[pv_node ? 1 : 0][depth_index][std::min(failed, 31)];
                if (e->score < 21 && failed > 4 && r < 3 && (!not_losing() || static_eval < grand_eval - 150)) r++;
            }
            if (depth - r < 1) r = depth - 1;
        }

        // Fractional extensions, in sixteenths of a ply that add up along the
        // line: a discovered check, or a safe check or pawn push to the seventh,
        // a full ply in PV nodes and at the horizon and half a ply elsewhere; a
        // capture half (or a quarter) of that near the root and half again
        // deeper, so that exchanges are resolved without blowing up the tree.
        ss.extended = 0;
        int d = depth;
        if (!in_check_now) {
            int full = 0, half = 0;
            if ((flags & FLAG_DISCOVERED) || ((flags & (FLAG_CHECK | FLAG_PAWN_SEVENTH)) && not_losing())) {
                full = 16;
                half = 8;
            } else if (flags & FLAG_CAPTURE) {
                if (ply < 6) {
                    full = 8;
                    half = 4;
                } else {
                    full = 4;
                    half = 2;
                }
            }
            int inc = (pv_node || depth < 2) ? full : half;
            int credit = td.extension_credit + inc;
            if (credit >= 16) {
                credit -= 16;
                ss.extended = 1;
                r = 0;
                d = depth + 1;
            }
            td.extension_credit = static_cast<uint8_t>(credit);
        }

        ss.reduction = static_cast<int16_t>(r);
        ss.move_flags = static_cast<int16_t>(flags);
        ss.current = e;
        make_move(pos, m);

        // Principal-variation search: the first move with the full window, the
        // others with a null window at the reduced depth, searched again in
        // full when they beat alpha (a quiet one earns a history bonus then).
        int score;
        if (best == -kInfinite || d < 2) {
            score = -search(pos, side ^ 1, ply + 1, d - 1, -beta, -alpha, pv_node, child_pv);
        } else {
            score = -search(pos, side ^ 1, ply + 1, d - r - 1, -alpha - 1, -alpha, 0, child_pv);
            if (score > alpha) {
                if (e->victim == 0 && !in_check_now) history_bonus(td.history_table[e->mover][move_to(m)]);
                score = -search(pos, side ^ 1, ply + 1, d - 1, -beta, -alpha, pv_node, child_pv);
            }
        }
        unmake_move(pos);
        td.extension_credit = entry_credit;
        if (stop_signal.load(std::memory_order_relaxed)) return 0;
        ss.legal_moves++;

        // History: quiet moves that beat alpha gain, the others lose a little;
        // a deep cut-off counts twice.
        if (score <= alpha) failed++;
        if (e->victim == 0 && !in_check_now) {
            int16_t& h = td.history_table[e->mover][move_to(m)];
            if (score > alpha)
                history_bonus(h);
            else
                history_malus(h);
            if (score >= beta && depth >= 4) history_bonus(h);
        }

        if (score > best) {
            best = score;
            best_move = m;
            if (score > alpha) {
                alpha = score;
                if (score >= beta) break;
                pv.update(m, child_pv);
            }
        }
    }

    if (ss.legal_moves == 0) best = in_check_now ? mated_in(ply) : draw_value[side];

    if (hash_mode && depth >= 0) tt_store(full_key(pos), side, ply, depth, alpha_in, beta_in, best, best_move);

    if (best >= beta && best_move && pos.board[move_to(best_move)] == 0)
        update_killers(td, pos, ply, best_move, in_check_now);

    ss.best_move = best_move;
    ss.best_score = static_cast<int16_t>(best);
    return best;
}

}  // namespace vorn
