#pragma once
// Choosing a book move. The book stores positions, not moves: every legal move
// is tried, and the positions they lead to are looked up. Moves whose positions
// were reached in more than 8 games that the mover did not lose, and that
// scored well for the mover, are candidates; one of them is picked with a
// random spread set by book_settings.book_variety.

#include "board/position.h"
#include "board/types.h"

namespace vorn {

// Returns the chosen book move for the side to move, or 0 when there is none:
// no book loaded, no candidate, or, once a move has been played since the
// position was set (history_count at least 1), the position itself not in the
// book. The position must belong to a thread block whose history has room for
// one more move; it is left exactly as it was. With verbose set, every move
// found in the book is listed ("move  losses - wins - draws  score  weight")
// and the choice is named, each through the line routine with an empty line after it.
//
// Any caller between searches may use it (console play, the UCI main loop, a
// self-play match); it draws from std::rand once per candidate.
Move book_probe(Position& pos, bool verbose);

}  // namespace vorn
