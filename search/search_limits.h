#pragma once
// What a search request allows: clocks, fixed time, depth and node limits.
// Filled by the command handlers between searches; read by the time manager
// and the workers while a search runs.

#include <cstdint>

namespace vorn {

struct SearchLimits {
    uint8_t time_mode = 1;        // 0 sudden death, 1 fixed time per move, N >= 2 N moves per period
    double move_time = 5.0;       // seconds; also the bound for depth, node and infinite searches
    double increment = 0.0;       // seconds per move
    double clock[2] = {5.0, 5.0}; // remaining time of White and Black, seconds
    int16_t moves_to_go = 0;
    uint8_t max_depth = 66;       // iteration limit, at most 66
    uint64_t node_limit = 0;      // 0 = none
    double overhead = 0.025;      // "Communication Overhead" in seconds
    int16_t ponder_enabled = 1;
    int16_t multipv = 1;
    double target_time = 1.0;     // computed for each search by compute_target
};

extern SearchLimits limits;

// Largest iteration depth and MultiPV count the root search can handle.
inline constexpr int kMaxDepthLimit = 66;
inline constexpr int kMaxMultiPv = 255;

// Times per move at or above this stand for "no time limit": "go depth",
// "go nodes" and "go infinite", console analysis and the -d switch use such
// values.
inline constexpr double kUnlimitedMoveTime = 10000.0;

// True when the limits end a search by themselves: a clock, a time per move,
// a node count, or a depth below the cap.
inline bool has_finite_limit(const SearchLimits& l) {
    return l.time_mode != 1 || l.move_time < kUnlimitedMoveTime || l.node_limit != 0 ||
           l.max_depth < kMaxDepthLimit;
}

}  // namespace vorn
