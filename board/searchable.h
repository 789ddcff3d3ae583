#pragma once
// Whether a position can be searched at all. The board trusts its input, so
// text from outside (a typed FEN, a record of an EPD file) is checked here
// before a search or an evaluation meets it.

#include "board/position.h"

namespace vorn {

// Why a search of the position would be unsound (missing or extra kings, the
// side not to move in check, pawns on the first or last rank), or nullptr.
const char* unsearchable_reason(const Position& pos);

}  // namespace vorn
