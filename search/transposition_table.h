#pragma once
// The transposition table shared by all search threads. No locks: every
// entry carries a check word over its key, move and score, so a torn write
// by two threads reads back as a miss, and so does an entry whose move the
// probing position cannot play. Entries are accessed as two relaxed
// 64-bit atomic words, which costs nothing on x86 and keeps the race benign.

#include <cstdint>

namespace vorn {

struct Position;

struct HashEntry {
    uint32_t key_high;   // high half of the position's full key
    uint32_t check;      // low key half ^ (move << 16) ^ (score + 15000)
    uint16_t move;       // best move, 0 none
    int16_t score;       // mate scores stored as distance from this node
    int16_t generation;  // tt_generation of the last search that stored or hit it
    uint8_t bound;       // BOUND_UPPER, BOUND_LOWER or BOUND_EXACT
    int8_t depth;        // remaining depth; below -10 the entry is empty
};
static_assert(sizeof(HashEntry) == 16, "four entries must fill one 64-byte bucket");

enum : uint8_t { BOUND_UPPER = 1, BOUND_LOWER = 2, BOUND_EXACT = 3 };

inline constexpr int kHashMaxMb = 8192;
inline constexpr uint32_t kEntriesPerMb = 65536;
inline constexpr uint32_t kSpareEntries = 32;

// Table-wide state; written only while no search runs.
extern int16_t hash_size_mb;   // 0..8192, default 64
extern uint8_t hash_mode;      // 0 off, 1 on, >1 on and kept by console analysis
extern uint32_t tt_entries;    // hash_size_mb * 65536
extern HashEntry* tt_base;     // tt_entries + 32 entries
extern HashEntry* tt_end;      // tt_base + tt_entries
extern uint64_t tt_mask;       // largest power of two <= tt_entries, minus one
extern int16_t tt_generation;  // history_count + 1 of the running search
extern double hash_fill;       // last sampled fill fraction, 0..1

// Generates the board's hash keys (first call only), then (re)allocates the
// table for hash_size_mb. Returns 0, or -1 when the table cannot be allocated.
int init_hash_keys();

// Replaces any earlier table with a cleared one of hash_size_mb. Returns 0,
// or -1 when the memory cannot be had: the earlier table is kept then, and
// hash_size_mb is set back to its size.
int tt_allocate();

// Releases the table (shutdown); hash_size_mb is left for the caller.
void tt_free();

// Marks every entry empty; hash_fill and tt_generation become 0.
void tt_clear();

// First of the four entries for a key: white counts buckets from the start
// of the table, black from the end backwards.
inline HashEntry* tt_bucket(uint64_t full_key, int side) {
    uint64_t index = full_key & tt_mask;
    return side == 0 ? tt_base + index : tt_end - index;
}

// Starts loading a key's bucket (both cache lines it may straddle).
inline void tt_prefetch(uint64_t full_key, int side) {
    HashEntry* b = tt_bucket(full_key, side);
    __builtin_prefetch(b);
    __builtin_prefetch(b + 3);
}

// Samples 1000 entries from the middle of the table into hash_fill.
void tt_sample_fill();

uint32_t tt_check_word(uint64_t full_key, uint16_t move, int16_t score);

// Result of looking a position up. depth is -99 on a miss (no slot with the
// key), -98 on a check-word mismatch, -97 on a move that is not pseudo-legal
// in the probing position, and the
// stored depth otherwise (a hit when >= -10). score is already converted to
// this node's ply; -kInfinite on a miss.
struct TTRead {
    uint16_t move;
    int16_t score;
    int8_t depth;
    uint8_t bound;
    bool hit;
};

// Looks the key up; refreshes the generation of a slot whose key matches.
// pos is the probing position, whose side to move is `side`.
TTRead tt_read(uint64_t full_key, int side, int ply, const Position& pos);

// Stores a node's result; alpha and beta as the node received them.
void tt_store(uint64_t full_key, int side, int ply, int depth, int alpha, int beta,
              int best_score, uint16_t best_move);

// Reads one entry consistently (two relaxed 64-bit loads).
HashEntry tt_load(const HashEntry* entry);

}  // namespace vorn
