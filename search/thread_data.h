#pragma once
// The per-thread block: the thread's own copy of the position and its move
// history, the search stack with the picker's stages, the move buffer and
// the three functions that hand out its room, ordering memories, per-search
// results and counters, and the evaluation's caches. Block 0 belongs to the
// main thread and holds the game position; blocks 1..64 belong to workers.
// Debug builds check a block before it searches.
//
// Fields the main thread or other workers read while a search runs are
// atomics (relaxed): state, iteration_depth, root_score, root_state, root_pv,
// score_at_depth and the node and hit counters. Everything else is touched
// only by the owning thread.

#include <atomic>
#include <cassert>
#include <cstdint>

#include "board/position.h"
#include "board/position_check.h"
#include "board/types.h"
#include "eval/eval_info.h"
#include "eval/evaluate.h"
#include "search/search_result.h"

namespace vorn {

inline constexpr int kMaxThreads = 64;

// The stages of the move picker (search/move_picker.h), kept in the stack
// entry between calls. The gaps in the numbering are stages no node uses.
enum : uint8_t {
    STAGE_HASH_MOVE = 0,       // the table's (or internal deepening's) move alone
    STAGE_GEN_CAPTURES = 1,    // generate and score captures and promotions
    STAGE_GOOD_CAPTURES = 3,   // best first, while they pass the exchange test
    STAGE_GEN_QUIETS = 4,      // append and score the quiet moves
    STAGE_QUIETS_AND_LOSING_CAPTURES = 6,  // best first over all that is left
    STAGE_REMAINING = 7,       // the rest in list order, unsorted
    STAGE_DONE = 8,
};

// The state byte a worker polls. count_searching() adds these up, so idle
// must stay 0 and only a searching or exiting worker counts.
enum : uint8_t { WORKER_IDLE = 0, WORKER_SEARCH = 1, WORKER_EXIT = 99 };

// What the root search is doing with its current move, for the time
// manager: failing low or high asks for more time.
enum : uint8_t { ROOT_NORMAL = 0, ROOT_FAIL_LOW = 1, ROOT_FAIL_HIGH = 2, ROOT_ABANDONED = 99 };

// Move classification bits (move_flags).
enum : uint8_t {
    FLAG_CAPTURE = 1,
    FLAG_CHECK = 2,
    FLAG_DISCOVERED = 4,
    FLAG_PAWN_SEVENTH = 8,
    FLAG_QUEEN_PROMOTION = 16,
    FLAG_FREE_PAWN = 32,
};

struct SearchStackEntry {
    int16_t pv_node;
    EvalStackOutput eval;   // threat[2] and the dead-draw flag (material_draw), set by evaluate
    int16_t depth;
    int16_t static_eval;
    int16_t alpha, beta;    // window at entry, after mate-distance bounds
    int16_t tt_score;       // probed score, later the IID result
    int16_t extended;
    int16_t reduction;
    int16_t in_iid;
    int16_t move_flags;
    int16_t legal_moves;
    int16_t best_score;
    int32_t tb_result;      // 0 loss .. 4 win, -1 none
    uint16_t best_move;
    uint16_t hash_move;
    uint16_t killer_null;
    uint16_t killer1, killer2;
    uint16_t killer_evasion;
    uint8_t stage;
    // What the picker's last choice among the quiet moves proved: no entry
    // left scores above pick_bound, and those before move_list + pick_ties
    // score below it.
    int16_t pick_bound;
    int16_t pick_ties;
    MoveEntry* move_list;   // start of this ply's list in the move buffer (see end_move_list)
    MoveEntry* list_end;    // the end mark of the list as generated so far
    MoveEntry* next;        // next list entry the picker looks at
    MoveEntry* current;     // entry being searched (null for a null move)
    MoveEntry hash_entry;   // the hash move as a list entry (stage 0)
};

inline constexpr int kMoveBufferSize = (kMaxPly + 1) * kMaxMoves;

struct ThreadData : BoardHistory {
    uint8_t thread_index;
    std::atomic<uint8_t> state;  // WORKER_IDLE, WORKER_SEARCH, WORKER_EXIT
    uint32_t perturb_seed;

    Position pos;

    SearchStackEntry stack[kMaxPly];
    MoveEntry move_buffer[kMoveBufferSize];

    int16_t history_table[16][64];
    uint16_t counter_moves[16][64];

    // Per-search results.
    std::atomic<uint8_t> iteration_depth;
    uint8_t completed_depth;
    uint8_t seldepth;
    std::atomic<int16_t> root_score;
    std::atomic<uint8_t> root_state;  // ROOT_NORMAL .. ROOT_ABANDONED
    std::atomic<uint16_t> root_pv[kMaxPly];  // index 1 = root move, zero-terminated
    uint64_t nodes_at_depth[kMaxPly];
    std::atomic<int16_t> score_at_depth[kMaxPly];
    uint8_t extension_credit;          // sixteenths of a ply

    // Counters, zeroed by prepare_search. The evaluation keeps its own
    // cache counters inside `eval`.
    std::atomic<uint64_t> nodes;
    std::atomic<uint64_t> tb_hits;
    std::atomic<uint64_t> hash_probes;
    std::atomic<uint64_t> hash_hits;
    uint64_t node_limit;               // 2^62 when there is none

    EvalThreadState eval;
};

// Move storage. The lists of one line of the search lie back to back in the
// thread's move buffer, each ply's list starting right behind its parent's
// end mark, so nothing is allocated per node. These three functions are the
// only ones that hand out that room.

// The root's list starts at the beginning of the buffer.
inline void reset_move_lists(ThreadData& td) {
    td.stack[0].move_list = td.move_buffer;
    td.stack[1].move_list = td.move_buffer;
}

// The list of `ply` ends at `end`: writes the end mark there, and the next
// ply's list starts behind it. A list may grow again from its end mark
// (quiet moves after the captures) and is then ended anew.
inline void end_move_list(ThreadData& td, int ply, MoveEntry* end) {
    assert(end + 1 + kMaxMoves <= td.move_buffer + kMoveBufferSize);
    end->move = kMoveListEnd;
    td.stack[ply].list_end = end;
    td.stack[ply + 1].move_list = end + 1;
}

// `ply` holds no list now (a new node, or one whose ProbCut list is done
// with): a child searched from here may use the room from this ply's start.
inline void no_move_list(ThreadData& td, int ply) { td.stack[ply + 1].move_list = td.stack[ply].move_list; }

// Counters are written only by their own thread; a relaxed load and store
// is enough and costs what a plain increment costs.
inline void bump(std::atomic<uint64_t>& counter) {
    counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

extern ThreadData* thread_table[kMaxThreads + 1];
extern int threads;  // number of workers, 1..64

// Frees the old block of that index and allocates a zero-filled one with its
// identity, position owner, idle state and the move lists of plies 0 and 1
// set. Returns 0, or -1 when memory is exhausted.
int allocate_thread_data(int index);

// Frees the block of that index (shutdown).
void free_thread_data(int index);

// Copies the game position and history of block 0 into the block.
void copy_game_position(ThreadData& to, const ThreadData& from);

// What is wrong with a block about to search, or nullptr: it must sit in its
// slot of the table, its position must be its own and consistent, and its
// history must leave room for a search and end in the last move.
const char* thread_block_fault(const ThreadData& td);

// Compiled away in Release builds (NDEBUG); in Debug builds stops the
// program when a block about to search is unsound.
inline void assert_block_sound([[maybe_unused]] const ThreadData& td) {
#ifndef NDEBUG
    if (const char* fault = thread_block_fault(td)) abort_on_position_fault(td.pos, fault);
#endif
}

// Empties the evaluation caches and pawn hashes of blocks 1..last_block: what
// they hold was computed with parameters that have since changed.
void forget_cached_evaluations(int last_block);

}  // namespace vorn
