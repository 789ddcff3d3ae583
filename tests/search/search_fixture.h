#pragma once
// Brings the engine up the way start-up does (tables, parameters, hash,
// reduction tables, block 0, worker pool) and runs searches to a fixed depth
// on the worker threads.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "board/attacks.h"
#include "board/legal_line.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/notation.h"
#include "board/position.h"
#include "eval/engine_params.h"
#include "eval/kpk.h"
#include "search/iterate.h"
#include "search/reductions.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "core/shell_state.h"

namespace vorn {

inline void engine_up(int worker_count) {
    static bool tables_built = false;
    if (!tables_built) {
        init_attack_tables();
        init_kpk_table();
        set_default_params(params);
        init_eval_tables();
        params_backup = params;
        hash_size_mb = 16;
        ASSERT_EQ(init_hash_keys(), 0);
        init_lmr_tables();
        ASSERT_EQ(allocate_thread_data(0), 0);
        ASSERT_EQ(start_threads(worker_count), 0);
        tables_built = true;
    } else if (threads != worker_count) {
        stop_threads(threads);
        ASSERT_EQ(start_threads(worker_count), 0);
    }
    shell.noise = 9999.0;
    shell.protocol_mode = PROTOCOL_UCI;
    shell.start_request = SEARCH_REPORT;
    limits = SearchLimits{};
    limits.time_mode = 1;
    limits.move_time = 1000.0;
    hash_mode = 1;
}

inline void set_game_position(const char* fen) { parse_fen(thread_table[0]->pos, fen); }

inline bool legal_in_game_position(Move m) { return is_legal_move(thread_table[0]->pos, m); }

inline std::string text_of(Move m) {
    char t[kMoveTextSize];
    return move_to_text(m, t);
}

// Searches the game position to `depth` with the running workers and waits
// for them; nothing but the depth (or node limit) ends the search.
inline const SearchResult& search_to_depth(const char* fen, int depth, bool clear_table = true) {
    set_game_position(fen);
    limits.max_depth = static_cast<uint8_t>(depth);
    if (clear_table) tt_clear();
    read_clock(1);
    prepare_search();
    start_workers();
    while (count_searching()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    sum_counters();
    shell.search_mode = SEARCH_NONE;
    return search_result;
}

// Readies block 0 for calling search() directly at any ply (tests of single
// nodes): per-ply move lists, fresh ordering memories, counters cleared.
inline ThreadData& block_for_direct_search() {
    ThreadData& td = *thread_table[0];
    limits.max_depth = 20;
    prepare_search();
    for (int k = 0; k < kMaxPly; k++) {
        td.stack[k] = SearchStackEntry{};
        td.stack[k].move_list = td.move_buffer + k * kMaxMoves;
        td.stack[k].tb_result = -1;
    }
    for (auto& row : td.history_table)
        for (int16_t& h : row) h = 2048;
    td.eval.searching = true;
    return td;
}

}  // namespace vorn
