#include "search/iterate.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "board/legal_line.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "eval/evaluate.h"
#include "search/move_picker.h"
#include "search/search.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "core/output.h"
#include "core/score.h"
#include "core/shell_state.h"
#include "tablebase/probe.h"

namespace vorn {

std::atomic<int> last_change_depth{0};
std::atomic<int> global_depth{0};
std::atomic<int> finished_depth{0};
std::atomic<double> finished_time{0.0};
std::atomic<int> easy_move{0};
std::atomic<int> root_tb_result{-1};
uint16_t root_tb_move = 0;
int root_tb_score[2] = {0, 0};
int draw_value[2] = {0, 0};

namespace {

constexpr int kMaxIteration = 69;  // iterations stop below this depth

inline bool is_first_worker(int thread_index) { return thread_index <= 1; }

// The root's line: its move at index 1, then the child's line, 0 behind it.
void set_root_pv(ThreadData& td, Move move, const PrincipalVariation& child) {
    const int n = std::min(child.length, kMaxPly - 3);
    td.root_pv[1].store(move, std::memory_order_relaxed);
    for (int i = 0; i < n; i++) td.root_pv[2 + i].store(child.moves[i], std::memory_order_relaxed);
    td.root_pv[2 + n].store(0, std::memory_order_relaxed);
}

void save_root_pv(const ThreadData& td, uint16_t* out) {
    for (int i = 0; i < kMaxPly; i++) out[i] = td.root_pv[i].load(std::memory_order_relaxed);
}

void restore_root_pv(ThreadData& td, const uint16_t* in) {
    for (int i = 0; i < kMaxPly; i++) td.root_pv[i].store(in[i], std::memory_order_relaxed);
}

void root_pv_single(ThreadData& td, Move m) {
    td.root_pv[1].store(m, std::memory_order_relaxed);
    td.root_pv[2].store(0, std::memory_order_relaxed);
}

void sleep_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// A window edge that falls in the mate range opens to the end of the scale:
// a bound among mates would only fail and be searched again.
int clamp_low(int a) { return is_mated(a) ? -kInfinite : a; }
int clamp_high(int b) { return is_mate_win(b) ? kInfinite : b; }

// Moves in a zero-terminated line from index 1.
[[maybe_unused]] int line_length(const uint16_t* line) {
    int n = 0;
    while (n + 1 < kMaxPly && line[n + 1]) n++;
    return n;
}

void print_root_line(ThreadData& td, int pv_index, int depth) {
    uint16_t line[kMaxPly];
    save_root_pv(td, line);
    print_search_line(td.thread_index, pv_index, depth, td.root_score.load(std::memory_order_relaxed), line);
}

}  // namespace

// Depth 1 searches the full window, depth 2 a wide one; then the window
// narrows with depth (scores settle) but stays wider around large scores,
// which move more from one iteration to the next.
int aspiration_width(int depth, int prev) {
    if (depth <= 1) return kInfinite;
    if (depth == 2) return 250;
    return std::abs(prev) / 16 + std::max(15, (15 - depth) * 4);
}

void aspiration_window(int depth, int prev, int* alpha, int* beta) {
    int width = aspiration_width(depth, prev);
    *alpha = clamp_low(prev - width);
    *beta = clamp_high(prev + width);
}

void publish_result(ThreadData& td) {
    if (!is_first_worker(td.thread_index)) return;
    int depth = td.completed_depth;
    int score = td.root_score.load(std::memory_order_relaxed);
    uint16_t line[kMaxPly];
    save_root_pv(td, line);
    // Called between root moves, so the block's position is the root: the
    // line built node by node can be played from it.
    assert(legal_line_length(td.pos, line + 1, kMaxPly - 2) == line_length(line));
    {
        std::lock_guard<std::mutex> lock(result_lock);
        SearchResult& r = search_result;
        bool replace = (depth > r.depth && r.score < kMateKept) || (depth == r.depth && score > r.score) ||
                       (score >= kMateShown && score >= r.score);
        if (replace) {
            if (r.pv[1] != line[1]) last_change_depth = depth;
            r.score = static_cast<int16_t>(score);
            r.depth = static_cast<int16_t>(depth);
            std::memcpy(r.pv, line, sizeof r.pv);
            r.pv[0] = 0;
            r.pv[kMaxPly - 1] = 0;
            r.best_move = r.pv[1];
            r.ponder_move = r.pv[1] ? r.pv[2] : 0;
            if (depth >= 0 && depth < kMaxPly) {
                r.depth_score[depth] = static_cast<int16_t>(score);
                r.depth_move[depth] = r.pv[1];
            }
        }
    }
    if (depth > 1 && limits.multipv == 1) print_search_line(td.thread_index, -1, depth, score, line);
}

void print_search_line(int thread_index, int pv_index, int depth, int score, const uint16_t* pv) {
    if (shell.noise >= kSilentNoise || depth == 0 || !pv || !pv[1]) return;
    double seconds = elapsed_now();
    bool stopped = stop_signal.load() != STOP_RUN;
    if (!stopped && seconds < shell.noise) return;

    std::lock_guard<std::mutex> lock(output_lock);
    uint64_t tb_hits = 0;
    double nodes = double(sum_node_counters(&tb_hits));

    int tb = root_tb_result.load(std::memory_order_relaxed);
    if (tb == 4 && score < kMateKept) score = kTbWin;
    if (tb == 0 && score > -kMateShown) score = -kTbWin;
    if (tb == 2) score = 0;

    bool console = shell.protocol_mode != PROTOCOL_UCI;
    int max_moves = console ? (stopped ? 32 : 8) : 66;
    char moves[kMaxPly * 8 + 256];
    int len = 0;
    for (int i = 1; i < kMaxPly && pv[i] && i <= max_moves; i++) {
        char text[kMoveTextSize];
        move_to_text(pv[i], text);
        bool wrap = console && i > 1 && (i - 1) % 8 == 0;
        if (wrap) len += std::snprintf(moves + len, sizeof moves - len, "\n%30s", "");
        len += std::snprintf(moves + len, sizeof moves - len, "%s%s", i > 1 && !wrap ? " " : "", text);
        if (len >= int(sizeof moves) - 40) break;
    }
    char mark = pv_index == -1 ? ' ' : '.';

    if (!console) {
        char multipv_part[32] = "";
        char extra_part[32] = "";
        if (limits.multipv > 1) std::snprintf(multipv_part, sizeof multipv_part, "multipv %d ", pv_index + 1);
        if (shell.uci_extra) std::snprintf(extra_part, sizeof extra_part, "[%02d%c] ", thread_index, mark);
        char score_text[32];
        if (score >= kMateShown)
            std::snprintf(score_text, sizeof score_text, "mate %d", mate_moves(score));
        else if (score < -kMateShown)
            std::snprintf(score_text, sizeof score_text, "mate -%d", mated_moves(score));
        else
            std::snprintf(score_text, sizeof score_text, "cp %d", score);
        const ThreadData* first = thread_table[thread_index == 0 ? 0 : 1];
        int seldepth = first ? first->seldepth - 1 : 0;
        double nps = seconds > 0.001 ? nodes / seconds : 0.0;
        send_linef("info %s%sdepth %d seldepth %d time %.0f score %s nodes %.0f nps %.0f tbhits %.0f pv %s",
                   multipv_part, extra_part, depth, seldepth, seconds * 1000.0, score_text, nodes, nps,
                   double(tb_hits), moves);
    } else {
        send_linef("%02d] %02d%c %5.1f %7.0fK %5d  %s", thread_index, depth, mark, seconds, nodes / 1000.0, score,
                   moves);
    }
}

void root_search(ThreadData& td, int depth, int pv_index) {
    Position& pos = td.pos;
    const int side = pos.side_to_move;
    const bool first = is_first_worker(td.thread_index);
    SearchStackEntry& root = td.stack[1];
    MoveEntry* list = root.move_list;

    td.extension_credit = 0;
    const bool printing = first && limits.multipv == 1 && depth > 3 && pv_index == 0;
    const int prev = td.root_score.load(std::memory_order_relaxed);
    root.legal_moves = 0;
    root.depth = static_cast<int16_t>(depth);

    int width = aspiration_width(depth, prev);
    int alpha, beta;
    aspiration_window(depth, prev, &alpha, &beta);
    int best = -kInfinite;
    const bool root_in_check = in_check(pos, side);
    const bool has_material = pos.phase_material[side] > 0 && (pos.piece_counts[side] & 15) > 0;

    uint16_t saved_pv[kMaxPly];
    PrincipalVariation child_pv;
    int searched = 0;

    for (int k = pv_index; list[k].move != kMoveListEnd; k++) {
        // A helper that has fallen behind the depth the first worker finished
        // adds nothing to the table by going on; it moves to the next depth.
        if (!first && depth < finished_depth.load(std::memory_order_relaxed) && elapsed_now() >= 0.025) {
            td.root_state = ROOT_ABANDONED;
            return;
        }
        MoveEntry* e = &list[k];
        pick_best(e);
        save_root_pv(td, saved_pv);
        const int saved_score = td.root_score.load(std::memory_order_relaxed);
        td.root_state = ROOT_NORMAL;
        root.current = e;
        const Move m = e->move;

        double now = elapsed_now();
        if (first && pv_index == 0 && shell.protocol_mode == PROTOCOL_UCI && now > 3.5 && now > shell.noise) {
            std::lock_guard<std::mutex> lock(output_lock);
            double nodes = double(sum_node_counters(nullptr));
            if (k == pv_index) {
                tt_sample_fill();
                send_linef("info depth %d time %.0f nodes %.0f nps %.0f hashfull %.0f",
                           int(td.iteration_depth.load()), now * 1000.0, nodes, now > 0.001 ? nodes / now : 0.0,
                           hash_fill * 1000.0);
            }
            if (limits.multipv == 1)
                send_linef("info currmove %s%s currmovenumber %d", square_names[move_from(m)],
                           square_names[move_to(m)], k + 1);
        }

        e->score = static_cast<int16_t>(kRootUnsearched - searched);
        int flags = root_in_check ? 0 : classify_move(pos, side, *e, gives_check(pos, side, *e));
        root.move_flags = static_cast<int16_t>(flags);
        // Root reduction: a late quiet root move, once six have been searched
        // and the best holds within a third of a pawn of the last iteration,
        // is searched a ply shallower (not in check, not in pawnless or
        // pieceless endings, where every move matters).
        int r = (limits.multipv == 1 && depth > 7 && searched >= 6 && best >= prev - 34 && !is_mated(best) &&
                 !root_in_check && has_material && flags == 0)
                    ? 1
                    : 0;
        root.reduction = static_cast<int16_t>(r);

        make_move(pos, m);
        int score;
        int fail_high_score = -kInfinite;
        if (best == -kInfinite || depth < 3) {
            // The first move in the aspiration window; a fail widens the side
            // that failed, doubling each time (at least 25).
            score = -search(pos, side ^ 1, 2, depth - 1, -beta, -alpha, 1, child_pv);
            for (int guard = 0; (score <= alpha || score >= beta) && !stop_signal.load() && guard < 64; guard++) {
                width = std::max(width * 2, 25);
                if (score >= beta) {
                    td.root_state = ROOT_FAIL_HIGH;
                    td.root_score = static_cast<int16_t>(score);
                    fail_high_score = score;
                    root_pv_single(td, m);
                    if (printing) print_root_line(td, -1, depth);
                    beta += width;
                } else {
                    td.root_state = ROOT_FAIL_LOW;
                    td.root_score = static_cast<int16_t>(score);
                    root_pv_single(td, m);
                    if (printing) print_root_line(td, -1, depth);
                    alpha -= width;
                }
                alpha = clamp_low(alpha);
                beta = clamp_high(beta);
                score = -search(pos, side ^ 1, 2, depth - 1, -beta, -alpha, 1, child_pv);
            }
        } else {
            // Later moves: a null window above the best so far; one that beats
            // it is searched again in full depth with a window that opens upward.
            int lo = clamp_low(best);
            int hi = clamp_high(best + 1);
            score = -search(pos, side ^ 1, 2, depth - r - 1, -hi, -lo, 0, child_pv);
            int step = 1;
            int fails = 0;
            while (score >= hi && !stop_signal.load() && fails < 64) {
                td.root_state = ROOT_FAIL_HIGH;
                root_pv_single(td, m);
                td.root_score = static_cast<int16_t>(score);
                fail_high_score = std::max(fail_high_score, score);
                if (fails > 0 && printing) print_root_line(td, -1, depth);
                fails++;
                step = std::max(step * 2, 25);
                hi = std::min(hi + step, kInfinite);
                score = -search(pos, side ^ 1, 2, depth - 1, -hi, -lo, 1, child_pv);
            }
        }
        unmake_move(pos);
        td.root_state = ROOT_NORMAL;

        // Stopped mid-move: the move counts only if it had clearly (by 25)
        // beaten an earlier best, which is then worth playing.
        if (stop_signal.load()) {
            if (first && best > -kInfinite && fail_high_score > best + 25)
                score = fail_high_score;
            else
                score = -kInfinite;
        }

        restore_root_pv(td, saved_pv);
        td.root_score = static_cast<int16_t>(saved_score);
        searched++;
        root.legal_moves = static_cast<int16_t>(searched);

        if (score > alpha) e->score = static_cast<int16_t>(std::clamp(score, -32000, 32000));

        if (score > best) {
            td.root_score = static_cast<int16_t>(score);
            td.completed_depth = static_cast<uint8_t>(depth);
            set_root_pv(td, m, child_pv);
            if (score > td.score_at_depth[depth].load(std::memory_order_relaxed)) {
                td.score_at_depth[depth] = static_cast<int16_t>(score);
                publish_result(td);
            }
            MoveEntry chosen = *e;
            for (int j = k; j > pv_index; j--) list[j] = list[j - 1];
            list[pv_index] = chosen;
            best = score;
        }
        if (stop_signal.load()) return;
    }
}

int secondary_iteration_depth(int d) {
    if (d <= 6 || limits.multipv != 1 || d >= limits.max_depth) return d;
    int ahead = 0;
    for (int i = 1; i <= threads; i++)
        if (thread_table[i] && thread_table[i]->iteration_depth.load(std::memory_order_relaxed) >= d) ahead++;
    return ahead >= int(std::lround(threads * 0.5 + 1.0)) ? d + 1 : d;
}

void iterative_deepening(int thread_index) {
    ThreadData* tdp = thread_table[thread_index];
    if (!tdp) return;
    ThreadData& td = *tdp;
    Position& pos = td.pos;
    const int side = pos.side_to_move;
    const bool first = is_first_worker(thread_index);
    assert_block_sound(td);

    // The root's stack entry (the ordering memories follow below, once
    // it is clear that there will be a search: the tuner's depth-0 runs
    // evaluate one root after another and need none of them).
    td.ply = 1;
    td.root_pv[1] = 0;
    SearchStackEntry& root = td.stack[1];
    reset_move_lists(td);
    root.pv_node = 1;
    root.alpha = -kInfinite;
    root.beta = kInfinite;
    root.tb_result = -1;
    td.eval.searching = true;

    // Root evaluation.
    const bool root_in_check = in_check(pos, side);
    int v = evaluate(pos, td.eval, root.eval, 1, root_in_check);
    td.root_score = static_cast<int16_t>(v);
    root.static_eval = static_cast<int16_t>(v);
    td.stack[0].static_eval = static_cast<int16_t>(-v);

    if (limits.max_depth < 1) {
        td.eval.searching = false;
        return;
    }

    // Fresh ordering memories for this search.
    for (SearchStackEntry& s : td.stack) {
        s.hash_move = 0;
        s.killer_null = s.killer1 = s.killer2 = s.killer_evasion = 0;
        s.current = nullptr;
    }
    for (auto& row : td.history_table)
        for (int16_t& h : row) h = 2048;
    std::memset(td.counter_moves, 0, sizeof td.counter_moves);

    // No legal move at the root.
    if (game_end_state(pos, root_in_check) != 0) {
        td.root_score = static_cast<int16_t>(root_in_check ? mated_in(1) : 0);
        td.completed_depth = 1;
        td.iteration_depth = 1;
        td.seldepth = 1;
        if (first) publish_result(td);
        stop_signal = STOP_NO_LEGAL_MOVE;
        td.eval.searching = false;
        return;
    }

    // Legal root moves, ordered.
    MoveEntry* list = root.move_list;
    MoveEntry* end = generate_all(pos, list);
    MoveEntry* out = list;
    for (MoveEntry* e = list; e != end; e++)
        if (is_legal(pos, side, e->move)) *out++ = *e;
    end_move_list(td, 1, out);
    const int root_moves = int(out - list);
    score_moves(td, pos, list);

    if (!first) {
        // Wait until the first worker has probed the root and begun.
        ThreadData* lead = thread_table[1];
        while (lead && lead->iteration_depth.load() < 1) {
            if (stop_signal.load()) {
                td.eval.searching = false;
                return;
            }
            sleep_ms(1);
        }
        if (root_tb_result.load() != -1) {
            td.eval.searching = false;
            return;
        }
    } else {
        // Root tablebase probe.
        root_tb_move = 0;
        int result = -1;
        if (SyzygyProbeDepth5 < 71) {
            int wdl = 0, dtz = 0;
            Move move = 0;
            result = tb_probe_root(pos, &wdl, &dtz, &move);
            if (result >= 0) root_tb_move = move;
        }
        if (result < 0) result = tb_probe_wdl(pos, 70);
        if (result >= 0) bump(td.tb_hits);
        int tb_score = result == 4 ? tb_win_in(0) : (result == 0 ? tb_loss_in(0) : 0);
        root_tb_score[side] = tb_score;
        root_tb_score[side ^ 1] = -tb_score;
        root_tb_result = result;
    }
    root.tb_result = root_tb_result.load();

    // The iterations.
    int best_second = -kInfinite;
    for (int d = 1; d < kMaxIteration; d++) {
        int depth = d;
        bool print_each = false;
        if (first) {
            global_depth = d;
            td.iteration_depth = static_cast<uint8_t>(d);
            print_each = d == 1 || limits.multipv > 1;
        } else {
            // Helpers spread over two depths and shuffle the root moves after
            // the first a little, so that they fill the table with other
            // subtrees than the first worker's.
            depth = secondary_iteration_depth(d);
            for (MoveEntry* e = list + 1; e->move != kMoveListEnd; e++) {
                td.perturb_seed = td.perturb_seed * 63 + 987654321u;
                e->score = static_cast<int16_t>(e->score - int(td.perturb_seed % 24));
            }
            td.iteration_depth = static_cast<uint8_t>(depth);
        }
        if (depth >= kMaxPly) break;
        td.nodes_at_depth[depth] = 0;
        td.score_at_depth[depth] = -kInfinite;

        for (int i = 0; i < limits.multipv && i < root_moves; i++) {
            root_search(td, depth, i);
            if (stop_signal.load()) break;
            if (print_each) print_root_line(td, i, depth);
        }
        td.nodes_at_depth[depth] = td.nodes.load(std::memory_order_relaxed);

        // Easy move: the only legal move from depth 7 on; or, from depth 12, a
        // best move two pawns above every rival seen in this search and 2.25
        // pawns above the root's evaluation, unchanged for five iterations.
        if (first && limits.multipv == 1) {
            int easy = 0;
            if (root_moves == 1) {
                if (depth >= 7) easy = 1;
            } else {
                int s1 = list[0].score;
                pick_best(list + 1);
                int s2 = list[1].score;
                if (d == 1) best_second = -kInfinite;
                best_second = std::max(best_second, s2);
                if (s1 > best_second + 200 && s1 > root.static_eval + 225 && depth > 11 &&
                    last_change_depth.load() < depth - 5)
                    easy = 2;
            }
            easy_move = easy;
        }
        if (first && limits.multipv > 1 && shell.protocol_mode != PROTOCOL_UCI) send_line("");

        if (stop_signal.load()) break;

        if (td.root_state.load() != ROOT_ABANDONED) {
            if (first) {
                finished_time = elapsed_now();
                finished_depth = depth;
            }
            // A mate found within the depth searched will not get shorter.
            int s = td.score_at_depth[depth].load(std::memory_order_relaxed);
            if (s >= mate_in(depth + 1) || s < mated_in(depth + 1)) break;
            if (first && depth >= limits.max_depth) break;
        }
    }

    if (first) {
        // Stopped before any move had a score: still answer with a legal move.
        std::lock_guard<std::mutex> lock(result_lock);
        if (!search_result.pv[1]) {
            search_result.pv[1] = search_result.best_move = list[0].move;
            search_result.pv[2] = search_result.ponder_move = 0;
        }
    }
    if (first) {
        uint8_t expected = STOP_RUN;
        stop_signal.compare_exchange_strong(expected, STOP_REPORT);
    }
    td.eval.searching = false;
}

double effective_branching_factor() {
    const ThreadData* td = thread_table[1];
    if (shell.pbench && thread_table[0]) td = thread_table[0];
    if (!td) return 2.0;
    int d = td->completed_depth;
    if (d < 6 || d >= kMaxPly) return 2.0;
    double n1 = double(td->nodes_at_depth[d]), n0 = double(td->nodes_at_depth[d - 4]);
    if (n1 <= 0 || n0 <= 0) return 2.0;
    return std::pow(n1 / n0, 0.25);
}

}  // namespace vorn
