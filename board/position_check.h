#pragma once
// Consistency of a position: the mailbox, the bitboards and the square lists
// must describe one placement, and the counters, phase material and keys
// must be those of that placement. Debug builds check it after every make
// and unmake, so a fault shows where it is made, not where it is read.

#include "board/position.h"

namespace vorn {

// What is wrong with the position, or nullptr when nothing is.
const char* position_fault(const Position& pos);

// Prints "inconsistent position: <fault>" and the position, then aborts.
[[noreturn]] void abort_on_position_fault(const Position& pos, const char* fault);

// Compiled away in Release builds (NDEBUG); in Debug builds stops the
// program at the first inconsistency.
inline void assert_consistent([[maybe_unused]] const Position& pos) {
#ifndef NDEBUG
    if (const char* fault = position_fault(pos)) abort_on_position_fault(pos, fault);
#endif
}

}  // namespace vorn
