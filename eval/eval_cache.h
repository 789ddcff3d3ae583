#pragma once
// The per-thread evaluation cache: final scores by full hash key.

#include <cstdint>

namespace vorn {

struct EvalCacheEntry {
    uint64_t key;
    int16_t threat[2];
    int16_t score;  // side to move's view, after draw scaling
};

constexpr int kEvalCacheSize = 16384;

// Bit 0 of the key is replaced by the side to move, bits 1-13 pick the pair.
inline int eval_cache_index(uint64_t key, int side_to_move) {
    return int(key & 0x3FFE) + side_to_move;
}

}  // namespace vorn
