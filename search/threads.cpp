#include "search/threads.h"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "eval/engine_params.h"
#include "search/iterate.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "core/output.h"
#include "core/shell_state.h"

namespace vorn {

std::mutex result_lock;
std::mutex output_lock;

namespace {

std::atomic<int> workers_ready{0};

void sleep_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

void* worker(void* arg) {
    int index = static_cast<int>(reinterpret_cast<intptr_t>(arg));
    if (allocate_thread_data(index) != 0) {
        {
            std::lock_guard<std::mutex> lock(output_lock);
            send_linef("info string cannot allocate the search block of thread %d; giving up", index);
        }
        std::exit(0);
    }
    ThreadData* td = thread_table[index];
    td->state.store(WORKER_IDLE);
    workers_ready.fetch_add(1);
    for (;;) {
        uint8_t s = td->state.load();
        if (s == WORKER_IDLE) {
            sleep_ms(1);
            continue;
        }
        if (s == WORKER_EXIT) {
            td->state.store(WORKER_IDLE);
            return nullptr;
        }
        iterative_deepening(index);
        td->state.store(WORKER_IDLE);
    }
}

}  // namespace

int start_threads(int n) {
    n = n < 1 ? 1 : (n > kMaxThreads ? kMaxThreads : n);
    threads = n;
    workers_ready.store(0);
    for (int i = 1; i <= n; i++) {
        pthread_t id;
        int err = pthread_create(&id, nullptr, worker, reinterpret_cast<void*>(intptr_t(i)));
        if (err) return err;
        pthread_detach(id);
    }
    while (workers_ready.load() < n) sleep_ms(1);
    return 0;
}

int count_searching() {
    int sum = 0;
    for (int i = 1; i <= threads; i++)
        if (thread_table[i]) sum += thread_table[i]->state.load();
    return sum;
}

void search_and_wait(void (*serve_input)(), bool quiet_once_stopped) {
    start_workers();
    while (count_searching()) {
        check_time();
        if (quiet_once_stopped && stop_signal.load() != STOP_RUN) continue;
        sleep_ms(1);
        serve_input();
    }
}

void stop_threads(int n) {
    stop_signal = STOP_EXIT;
    while (count_searching()) sleep_ms(1);
    for (int i = 1; i <= n; i++)
        if (thread_table[i]) thread_table[i]->state.store(WORKER_EXIT);
    for (;;) {
        int busy = 0;
        for (int i = 1; i <= n; i++)
            if (thread_table[i] && thread_table[i]->state.load() != WORKER_IDLE) busy++;
        if (!busy) break;
        sleep_ms(1);
    }
}

void start_workers() {
    for (int i = 1; i <= threads; i++) {
        if (!thread_table[i]) continue;
        thread_table[i]->state.store(WORKER_SEARCH);
        if (i == 1 && threads > 1) sleep_ms(5);
    }
}

void prepare_search() {
    stop_signal = STOP_RUN;
    shell.search_mode = shell.start_request;
    reset_search_result();
    last_change_depth = 0;
    global_depth = 0;
    finished_depth = 0;
    finished_time = 0.0;
    easy_move = 0;
    root_tb_result = -1;
    root_tb_move = 0;

    ThreadData* game = thread_table[0];
    if (!game) return;
    tt_generation = static_cast<int16_t>(game->history_count + 1);
    if (hash_size_mb < 1) hash_mode = 0;

    int side = game->pos.side_to_move & 1;
    draw_value[side] = params.draw_score;
    draw_value[side ^ 1] = -params.draw_score;

    compute_target();

    uint64_t node_limit = limits.node_limit ? limits.node_limit : (uint64_t(1) << 62);
    for (int i = 0; i <= threads; i++) {
        ThreadData* td = thread_table[i];
        if (!td) continue;
        td->iteration_depth.store(0);
        td->completed_depth = 0;
        td->seldepth = 0;
        td->root_score.store(0);
        td->root_state.store(ROOT_NORMAL);
        td->root_pv[1].store(0);
        td->nodes.store(0);
        td->tb_hits.store(0);
        td->hash_probes.store(0);
        td->hash_hits.store(0);
        td->eval.eval_probes = td->eval.eval_hits = 0;
        td->eval.pawn_probes = td->eval.pawn_hits = 0;
        td->node_limit = node_limit;
        td->ply = 1;
        if (i > 0) copy_game_position(*td, *game);
    }
}

uint64_t sum_node_counters(uint64_t* tb_hits) {
    uint64_t nodes = 0, tb = 0;
    for (int i = 0; i <= threads; i++) {
        ThreadData* td = thread_table[i];
        if (!td) continue;
        nodes += td->nodes.load(std::memory_order_relaxed);
        tb += td->tb_hits.load(std::memory_order_relaxed);
    }
    if (tb_hits) *tb_hits = tb;
    return nodes;
}

void sum_counters() {
    SearchResult& r = search_result;
    r.nodes = r.tb_hits = r.hash_probes = r.hash_hits = 0;
    r.pawn_probes = r.pawn_hits = r.eval_probes = r.eval_hits = 0;
    for (int i = 0; i <= threads; i++) {
        ThreadData* td = thread_table[i];
        if (!td) continue;
        r.nodes += td->nodes.load(std::memory_order_relaxed);
        r.tb_hits += td->tb_hits.load(std::memory_order_relaxed);
        r.hash_probes += td->hash_probes.load(std::memory_order_relaxed);
        r.hash_hits += td->hash_hits.load(std::memory_order_relaxed);
        r.pawn_probes += td->eval.pawn_probes;
        r.pawn_hits += td->eval.pawn_hits;
        r.eval_probes += td->eval.eval_probes;
        r.eval_hits += td->eval.eval_hits;
    }
    r.hash_fill = hash_fill;
    r.elapsed = elapsed_now();
}

}  // namespace vorn
