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
        l.moves_to_go = static_cast<int16_t>(plies < 30 ? 38 - plies / 2 : 24);
    } else if (console) {
        int n = l.time_mode;
        l.moves_to_go = static_cast<int16_t>(n - ((plies / 2) % n));
    }
    int moves = std::max<int>(l.moves_to_go, 0);
    double t = l.clock[side];
    double target = t / (moves + 1);
    if (l.ponder_enabled && moves > 2) target *= 1.3;
    if (l.increment > 0 && t > 4 * l.overhead) target += l.increment * t / (t + 2 * l.increment);
    target = std::min(target, 0.65 * t - 4 * l.overhead);
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

    int d = first->iteration_depth.load(std::memory_order_relaxed);
    if (d < 1) d = 1;
    if (d >= kMaxPly) d = kMaxPly - 1;
    int prev = first->score_at_depth[d - 1].load(std::memory_order_relaxed);
    int m = std::abs(prev) >= 800 ? 65 : std::abs(prev) / 16 + 15;

    int x = 0;
    for (int i = 1; i <= threads; i++) {
        ThreadData* td = thread_table[i];
        if (!td || td->iteration_depth.load(std::memory_order_relaxed) < d) continue;
        uint16_t move = td->root_pv[1].load(std::memory_order_relaxed);
        int score = td->root_score.load(std::memory_order_relaxed);
        int state = td->root_state.load(std::memory_order_relaxed);
        if (move == pub_move) {
            if (score < pub_score && state == ROOT_FAIL_LOW) x = 20;
        } else if (score > pub_score) {
            if (state == ROOT_FAIL_HIGH) x = std::max(x, 2);
            if (score > pub_score + 20) x = std::max(x, 12);
        }
    }
    int s = pub_score;
    if (s < prev - 4 * m)
        x = 20;
    else if (s < prev - 2 * m)
        x = std::max(x, 8);
    else if (s < prev - m)
        x = std::max(x, 4);

    int changed = last_change_depth.load(std::memory_order_relaxed);
    if (d > 6 && d - 1 <= changed && x == 0) x = 1;

    double f = (x == 0 && d > 6 && changed < d - 3) ? 0.85 : 1.0;
    double limit = f * limits.target_time + x * 0.01 * remaining;
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
