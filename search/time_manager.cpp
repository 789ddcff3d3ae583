#include "search/time_manager.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>

#include "board/position.h"
#include "search/iterate.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "core/output.h"
#include "core/shell_state.h"

namespace vorn {

SearchLimits limits;
double elapsed = 0.0;

namespace {

std::atomic<int64_t> search_start_ns{0};

int64_t now_ns() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

void read_clock(int reset) {
    if (reset) {
        search_start_ns.store(now_ns(), std::memory_order_relaxed);
        elapsed = 0.0;
    } else {
        elapsed = elapsed_now();
    }
}

double elapsed_now() {
    return double(now_ns() - search_start_ns.load(std::memory_order_relaxed)) * 1e-9;
}

double compute_target_time(SearchLimits& l, int side, int plies, bool console) {
    if (l.time_mode == 1) {
        l.target_time = l.move_time;
        l.clock[side] = l.move_time;
        return l.target_time;
    }
    if (l.time_mode == 0) {
        // Sudden death: 38 moves to go at the start, one fewer each move, then 24.
        l.moves_to_go = static_cast<int16_t>(plies < 30 ? 38 - plies / 2 : 24);
    } else if (console) {
        const int period_moves = l.time_mode;
        l.moves_to_go = static_cast<int16_t>(period_moves - ((plies / 2) % period_moves));
    }
    const int moves = std::max<int>(l.moves_to_go, 0);
    const double clock = l.clock[side];
    double target = clock / (moves + 1);
    // Pondering gets some of the opponent's time back.
    if (l.ponder_enabled && moves > 2) target *= 1.3;
    // Most of an increment, less of it as the clock runs low.
    if (l.increment > 0 && clock > 4 * l.overhead) target += l.increment * clock / (clock + 2 * l.increment);
    // Never more than two thirds of the clock, never nothing.
    target = std::min(target, 0.65 * clock - 4 * l.overhead);
    target = std::max(target, 0.002);
    l.target_time = target;
    return target;
}

void compute_target() {
    ThreadData* game = thread_table[0];
    if (!game) return;
    int side = game->pos.side_to_move & 1;
    int plies = game->history_count;
    bool console = shell.protocol_mode != PROTOCOL_UCI;
    compute_target_time(limits, side, plies, console);
    if (shell.noise >= kSilentNoise) return;
    char fen[kFenBufferSize];
    position_to_fen(game->pos, fen);
    if (!console) {
        send_linef("info string fen %s", fen);
        send_linef("info string ply= %d, trg_time= %0.3f sec", plies, limits.target_time);
    } else {
        send_linef("fen %s", fen);
        send_linef("Ply= %d, Clock= %0.2fs  Target time= %0.2fs", plies, limits.clock[side],
                   limits.target_time);
    }
}

namespace {

void stop_search_now(int published_depth) {
    if (published_depth > 1) stop_signal = shell.search_mode == SEARCH_REPORT ? STOP_REPORT : STOP_ABANDON;
}

}  // namespace

void check_time_at(double seconds) {
    if (stop_signal.load() != STOP_RUN || shell.search_mode == SEARCH_PONDER) return;
    int pub_depth, pub_score;
    uint16_t pub_move;
    {
        std::lock_guard<std::mutex> lock(result_lock);
        pub_depth = search_result.depth;
        pub_score = search_result.score;
        pub_move = search_result.pv[1];
    }
    if (pub_depth < 2) return;
    ThreadData* game = thread_table[0];
    int side = game ? game->pos.side_to_move & 1 : 0;
    double remaining = std::max(limits.clock[side] - seconds, 0.0);
    if (seconds < 0.02) {
        // The first 20 ms are normally granted whatever the target, but near
        // the flag they cost more than a small increment gives back: a fast
        // game would then lose a little on every move until it forfeits.
        if (limits.time_mode != 1 && remaining < 5 * limits.overhead) stop_search_now(pub_depth);
        return;
    }
    ThreadData* first = thread_table[1];
    if (!first) return;

    // The first worker's running iteration and the score of the one before.
    int depth = first->iteration_depth.load(std::memory_order_relaxed);
    if (depth < 1) depth = 1;
    if (depth >= kMaxPly) depth = kMaxPly - 1;
    const int prev_score = first->score_at_depth[depth - 1].load(std::memory_order_relaxed);
    // What counts as a drop: more of a score that is already large.
    const int drop_unit = std::abs(prev_score) >= 800 ? 65 : std::abs(prev_score) / 16 + 15;

    // Time on top of the target, in percent of what is left on the clock.
    int extra_percent = 0;
    for (int i = 1; i <= threads; i++) {
        ThreadData* td = thread_table[i];
        if (!td || td->iteration_depth.load(std::memory_order_relaxed) < depth) continue;
        uint16_t move = td->root_pv[1].load(std::memory_order_relaxed);
        int score = td->root_score.load(std::memory_order_relaxed);
        int state = td->root_state.load(std::memory_order_relaxed);
        if (move == pub_move) {
            // The published move is failing low: find out how bad it is.
            if (score < pub_score && state == ROOT_FAIL_LOW) extra_percent = 20;
        } else if (score > pub_score) {
            // Another move is about to take over: let it finish.
            if (state == ROOT_FAIL_HIGH) extra_percent = std::max(extra_percent, 2);
            if (score > pub_score + 20) extra_percent = std::max(extra_percent, 12);
        }
    }
    if (pub_score < prev_score - 4 * drop_unit)
        extra_percent = 20;
    else if (pub_score < prev_score - 2 * drop_unit)
        extra_percent = std::max(extra_percent, 8);
    else if (pub_score < prev_score - drop_unit)
        extra_percent = std::max(extra_percent, 4);

    // A best move that changed in the last iteration is not settled yet; one
    // that has held for three iterations needs less than the target.
    const int changed = last_change_depth.load(std::memory_order_relaxed);
    if (depth > 6 && depth - 1 <= changed && extra_percent == 0) extra_percent = 1;
    const double target_share = (extra_percent == 0 && depth > 6 && changed < depth - 3) ? 0.85 : 1.0;
    double limit = target_share * limits.target_time + extra_percent * 0.01 * remaining;
    if (limits.time_mode != 1) limit -= limits.overhead;

    if (seconds < limit) {
        int easy = easy_move.load(std::memory_order_relaxed);
        if (easy == 1 || (easy == 2 && seconds >= 0.5 * limits.target_time)) stop_signal = STOP_REPORT;
        if (limits.time_mode != 1 && remaining < 5 * limits.overhead) stop_search_now(pub_depth);
        return;
    }
    stop_search_now(pub_depth);
}

void check_time() {
    read_clock(0);
    check_time_at(elapsed);
}

}  // namespace vorn
