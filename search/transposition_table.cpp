#include "search/transposition_table.h"

#include "board/legal_line.h"
#include "board/position.h"
#include "core/score.h"

#include <sys/mman.h>

#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace vorn {

int16_t hash_size_mb = 64;
uint8_t hash_mode = 1;
uint32_t tt_entries = 0;
HashEntry* tt_base = nullptr;
HashEntry* tt_end = nullptr;
uint64_t tt_mask = 0;
int16_t tt_generation = 0;
double hash_fill = 0.0;

namespace {

// tt_clear empties the ordinary entries and this many of the spare ones.
constexpr uint64_t kClearedSpares = 16;

struct EntryWords {
    uint64_t w0;  // key_high, check
    uint64_t w1;  // move, score, generation, bound, depth
};
static_assert(sizeof(EntryWords) == sizeof(HashEntry));

uint64_t* words_of(HashEntry* e) { return reinterpret_cast<uint64_t*>(e); }

uint64_t load_word(HashEntry* e, int i) {
    return std::atomic_ref<uint64_t>(words_of(e)[i]).load(std::memory_order_relaxed);
}

void store_word(HashEntry* e, int i, uint64_t v) {
    std::atomic_ref<uint64_t>(words_of(e)[i]).store(v, std::memory_order_relaxed);
}

uint64_t pack_w1(uint16_t move, int16_t score, int16_t generation, uint8_t bound, int8_t depth) {
    HashEntry e{};
    e.move = move;
    e.score = score;
    e.generation = generation;
    e.bound = bound;
    e.depth = depth;
    return std::bit_cast<EntryWords>(e).w1;
}

}  // namespace

HashEntry tt_load(const HashEntry* entry) {
    HashEntry* e = const_cast<HashEntry*>(entry);
    EntryWords w{load_word(e, 0), load_word(e, 1)};
    return std::bit_cast<HashEntry>(w);
}

namespace {
int allocated_mb = 0;  // size of the table in use
}  // namespace

void tt_free() {
    allocated_mb = 0;
    std::free(tt_base);
    tt_base = nullptr;
    tt_end = nullptr;
    tt_entries = 0;
    tt_mask = 0;
}

int tt_allocate() {
    int mb = hash_size_mb < 0 ? 0 : (hash_size_mb > kHashMaxMb ? kHashMaxMb : hash_size_mb);
    uint64_t entries = uint64_t(mb) * kEntriesPerMb;
    // Whole 2 MB pages, so the kernel can back the table with huge pages:
    // a probe then rarely misses the TLB as well as the cache.
    constexpr uint64_t kPage = uint64_t(2) << 20;
    uint64_t bytes = (entries + kSpareEntries) * sizeof(HashEntry);
    uint64_t rounded = (bytes + kPage - 1) / kPage * kPage;
    void* mem = nullptr;
    // The old table goes only once the new one is there: a size that cannot
    // be had leaves the engine searching with what it had.
    if (posix_memalign(&mem, kPage, rounded) != 0 || !mem) {
        hash_size_mb = static_cast<int16_t>(allocated_mb);
        return -1;
    }
    tt_free();
    allocated_mb = mb;
    hash_size_mb = static_cast<int16_t>(mb);
    madvise(mem, rounded, MADV_HUGEPAGE);
    // tt_clear below writes all but the last 16 spare entries; only those
    // need zeroing here, so the table is written once, not twice.
    const uint64_t cleared_bytes = (entries + kClearedSpares) * sizeof(HashEntry);
    std::memset(static_cast<char*>(mem) + cleared_bytes, 0, bytes - cleared_bytes);
    tt_base = static_cast<HashEntry*>(mem);
    tt_entries = static_cast<uint32_t>(entries);
    tt_end = tt_base + entries;
    tt_mask = entries ? std::bit_floor(entries) - 1 : 0;
    tt_clear();
    return 0;
}

void tt_clear() {
    hash_fill = 0.0;
    tt_generation = 0;
    if (!tt_base) return;
    HashEntry empty{};
    empty.depth = -50;
    // A whole bucket per step: the clear runs at every new game and every
    // benchmark position, and wide stores keep it at the memory's pace.
    HashEntry bucket[4] = {empty, empty, empty, empty};
    static_assert(kEntriesPerMb % 4 == 0 && kClearedSpares % 4 == 0, "the cleared run is whole buckets");
    uint64_t count = uint64_t(tt_entries) + kClearedSpares;
    for (uint64_t i = 0; i < count; i += 4) std::memcpy(&tt_base[i], bucket, sizeof bucket);
}

void tt_sample_fill() {
    if (tt_entries < 3000 || !tt_base) {
        hash_fill = 0.0;
        return;
    }
    uint64_t start = uint64_t(tt_entries) / 2 - 500;
    int count = 0;
    for (uint64_t i = start; i < start + 1000; i++)
        if (tt_load(&tt_base[i]).generation == tt_generation) count++;
    hash_fill = count * 0.001;
}

uint32_t tt_check_word(uint64_t full_key, uint16_t move, int16_t score) {
    return uint32_t(full_key) ^ (uint32_t(move) << 16) ^ uint32_t(int32_t(score) + 15000);
}

TTRead tt_read(uint64_t full_key, int side, int ply, const Position& pos) {
    TTRead r{0, -kInfinite, -99, 0, false};
    HashEntry* slot = tt_bucket(full_key, side);
    uint32_t key_high = uint32_t(full_key >> 32);
    for (int i = 0; i < 4; i++, slot++) {
        uint64_t w0 = load_word(slot, 0);
        if (uint32_t(w0) != key_high) continue;
        // Found the key: refresh the age first, whatever the tests below say.
        uint64_t w1 = load_word(slot, 1);
        EntryWords words{w0, w1};
        HashEntry e = std::bit_cast<HashEntry>(words);
        e.generation = tt_generation;
        store_word(slot, 1, std::bit_cast<EntryWords>(e).w1);

        if (tt_check_word(full_key, e.move, e.score) != e.check) {
            r.depth = -98;
            return r;
        }
        // The move must be one this position's generator could produce: a
        // stale entry of another position that shares the key is a miss, and
        // make_move never sees a move it cannot play.
        if (e.move && !is_pseudo_legal(pos, e.move)) {
            r.depth = -97;
            return r;
        }
        if (e.depth < -10) return r;
        r.hit = true;
        r.move = e.move;
        r.score = static_cast<int16_t>(score_from_tt(e.score, ply));
        r.depth = e.depth;
        r.bound = e.bound;
        return r;
    }
    return r;
}

void tt_store(uint64_t full_key, int side, int ply, int depth, int alpha, int beta,
              int best_score, uint16_t best_move) {
    uint8_t bound = best_score >= beta ? BOUND_LOWER : (best_score > alpha ? BOUND_EXACT : BOUND_UPPER);
    int16_t score = static_cast<int16_t>(score_to_tt(best_score, ply));
    HashEntry* bucket = tt_bucket(full_key, side);
    uint32_t key_high = uint32_t(full_key >> 32);

    HashEntry* target = nullptr;
    for (int i = 0; i < 4; i++) {
        uint64_t w0 = load_word(&bucket[i], 0);
        if (uint32_t(w0) == key_high) {
            HashEntry e = tt_load(&bucket[i]);
            if (e.depth - 2 > depth) return;
            target = &bucket[i];
            break;
        }
    }
    if (!target) {
        int best_value = 0;
        HashEntry victim{};
        for (int i = 0; i < 4; i++) {
            HashEntry e = tt_load(&bucket[i]);
            int value = e.generation * 16 + e.depth;
            if (!target || value < best_value) {
                target = &bucket[i];
                best_value = value;
                victim = e;
            }
        }
        if (victim.depth - 7 > depth) return;
    }
    uint64_t w0 = uint64_t(key_high) | (uint64_t(tt_check_word(full_key, best_move, score)) << 32);
    store_word(target, 0, w0);
    store_word(target, 1, pack_w1(best_move, score, tt_generation, bound, static_cast<int8_t>(depth)));
}

int init_hash_keys() {
    init_hash_keys_tables();
    return tt_allocate();
}

}  // namespace vorn
