#pragma once
// The console's parameter dump ("sp"): piece values, KingDanger, mobility and
// passed-pawn tables, king and piece terms, and the twelve piece-square
// tables, as one text for standard output (not the log).

#include <string>

namespace vorn {

std::string param_report();

}  // namespace vorn
