#pragma once
// Static exchange evaluation: the material outcome of a series of captures
// on one square, each side recapturing with its least valuable attacker.

#include "board/position.h"
#include "board/types.h"

namespace vorn {

extern const int16_t see_value[7];
extern const int32_t capture_rank[7];

// Taking the king outweighs any exchange: what see() answers for a capture
// of the king, and what a king that can be recaptured stands to lose.
constexpr int kKingExchangeValue = 9999;

// Value for `side` of capturing on `to` with the piece on `from` (64: the
// least valuable attacker). may_stop lets `side` decline (result >= 0).
// kKingExchangeValue when `to` holds a king.
int see(const Position& pos, int side, int from, int to, Bitboard occupancy, bool may_stop);

// True when the capture is not judged to lose more than 74 centipawns.
bool capture_not_losing(const Position& pos, Move move);

}  // namespace vorn
