#pragma once
// The console's exchange listing ("swap"): for every occupied square, the
// value for the other side of capturing there, when not 0.

#include <string>

#include "board/position.h"

namespace vorn {

// Lines "sq= e4, swap= 100\n"; the position is restored before returning.
std::string swap_report(Position& pos);

}  // namespace vorn
