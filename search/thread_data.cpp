#include "search/thread_data.h"

#include <cstring>
#include <new>

namespace vorn {

ThreadData* thread_table[kMaxThreads + 1] = {};
int threads = 1;

int allocate_thread_data(int index) {
    if (index < 0 || index > kMaxThreads) return -1;
    free_thread_data(index);
    ThreadData* td = new (std::nothrow) ThreadData();  // value-initialised: zero-filled
    if (!td) return -1;
    td->thread_index = static_cast<uint8_t>(index);
    td->perturb_seed = uint32_t(index) * 123;
    td->pos.owner = td;
    td->state.store(WORKER_IDLE);
    td->ply = 1;
    reset_move_lists(*td);
    td->eval.trace_thread = index == 1;
    thread_table[index] = td;
    return 0;
}

void free_thread_data(int index) {
    if (index < 0 || index > kMaxThreads) return;
    delete thread_table[index];
    thread_table[index] = nullptr;
}

void copy_game_position(ThreadData& to, const ThreadData& from) {
    to.pos = from.pos;
    to.pos.owner = &to;
    to.last_move = from.last_move;
    int count = from.history_count;
    if (count < 0) count = 0;
    if (count > kMaxHistory - 1) count = kMaxHistory - 1;
    // A search adds up to kMaxSearchPlies entries; of a longer game only the
    // latest moves matter (repetitions reach back at most 255 plies).
    int skip = count > kGameHistoryLimit ? count - kGameHistoryLimit : 0;
    count -= skip;
    to.history_count = static_cast<int16_t>(count);
    std::memcpy(to.history, from.history + skip, sizeof(HistoryEntry) * (count + 1));
    to.history[count].move = 0;
}

const char* thread_block_fault(const ThreadData& td) {
    if (td.thread_index > kMaxThreads || thread_table[td.thread_index] != &td)
        return "the block is not in its slot of the thread table";
    if (td.pos.owner != &td) return "the block's position belongs to another block";
    if (td.history_count < 0 || td.history_count > kGameHistoryLimit)
        return "the history leaves no room for a search";
    if (td.history_count > 0 && td.last_move != td.history[td.history_count - 1].move)
        return "the last move is not the history's last entry";
    if (td.ply != 1) return "the root is not at ply 1";
    return position_fault(td.pos);
}

void forget_cached_evaluations(int last_block) {
    for (int i = 1; i <= last_block && i <= kMaxThreads; ++i)
        if (thread_table[i]) clear_eval_state(thread_table[i]->eval);
}

}  // namespace vorn
