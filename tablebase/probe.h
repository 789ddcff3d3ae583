#pragma once
// Endgame tablebase access as the engine uses it: discovery along
// SyzygyPath, the root probe before the first iteration, and WDL probes
// inside the search.

#include <atomic>
#include <cstdint>

#include "board/position.h"
#include "board/types.h"
#include "tablebase/tb_position.h"

namespace vorn {

// Settings (settings file and UCI options).
inline constexpr int kSyzygyPathSize = 144;  // at most 143 characters are kept
extern char SyzygyPath[kSyzygyPathSize];    // directories separated by ';'; empty = none
// Atomic because "setoption" may change them while the workers search.
extern std::atomic<int> SyzygyProbeDepth5;  // 1..100: minimum depth of any probe in the search
extern std::atomic<int> SyzygyProbeDepth6;  // 1..100: minimum depth for 6-piece positions

// Largest piece count among the registered tables, 0 when none.
extern int tb_largest;

// Root moves that keep the root result, engine move form, 0-terminated.
inline constexpr int kMaxRootTbMoves = 192;
extern Move root_tb_moves[kMaxRootTbMoves + 1];

// (Re)initialises tablebase access for a path list and prints
// "info string found %d tablebases" unless the path is empty or "<empty>".
// Only while no search runs.
void tb_init(const char* path);

// WDL result of the side to move: -1 not probed, else 0 loss, 1 blessed
// loss, 2 draw, 3 cursed win, 4 win. Applies the depth, piece-count and
// castling gates of the search.
int tb_probe_wdl(const Position& pos, int depth);

// Root probe: result 0..4 or -1 when not available; fills the WDL value
// (result - 2), |dtz|, the chosen move and root_tb_moves.
int tb_probe_root(const Position& pos, int* wdl_out, int* dtz_out, Move* move_out);

// The probes themselves, on the module's own position. WDL: -2 loss,
// -1 blessed loss, 0 draw, 1 cursed win, 2 win, for the side to move with
// the fifty-move counter at 0. DTZ: plies to the next capture or pawn move
// (or mate), positive when winning, beyond 100 for the fifty-move-drawn
// results. `success` becomes 0 when a needed table is missing or damaged.
int probe_wdl(const TbPosition& pos, int& success);
int probe_dtz(const TbPosition& pos, int& success);

}  // namespace vorn
