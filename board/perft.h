#pragma once
// Counting the leaves of the legal move tree, to check move generation and
// make/unmake against known totals and to measure their speed.

#include <cstdint>

#include "board/position.h"

namespace vorn {

constexpr int kMaxPerftDepth = 20;

// Number of legal move sequences of length `depth` from the position, with
// `side` to move. Depth 0 or less counts nothing. The position is unchanged
// on return; its owner needs room for `depth` more history entries.
uint64_t perft(Position& pos, int side, int depth);

// The console report: "visited %0.0f nodes in %0.3f seconds, nps= %0.0f".
void print_perft_result(uint64_t nodes, double seconds);

}  // namespace vorn
