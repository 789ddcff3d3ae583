#pragma once
// The game position in thread block 0, which every command changes, and the
// guarded ways of changing it: the history never grows past
// kGameHistoryLimit, and only legal moves of the side to move are played.

#include "board/position.h"
#include "board/searchable.h"
#include "board/types.h"
#include "search/thread_data.h"

namespace vorn {

inline ThreadData& game_block() { return *thread_table[0]; }
inline Position& game_position() { return thread_table[0]->pos; }

// Sets the game position from a FEN or EPD record; the history starts empty.
void set_game_fen(const char* fen);

// True while the game history can take another move.
bool game_history_has_room();

// Plays a move on the game position and forgets any taken-back moves beyond
// it. Returns false, playing nothing, when the history is full.
bool play_game_move(Move move);

// Drops the history entries from before the last capture, pawn move or
// castling (at least the oldest one): nothing can repeat across those, so a
// game the interface sends move by move may go on past the history's
// capacity. Returns false only for an empty history. Taken-back moves can no
// longer reach past it.
bool compact_game_history();

// The move taken back last that "]" would replay (a legal move of the side to
// move stored at history_count), or 0.
Move replayable_move();

// Reads a move word in coordinate notation ("e2e4", "e7e8q") as the 16-bit
// move code, without consulting the position. Returns 0 for a malformed word.
Move read_coordinate_move(const char* word);

// Asks a running search to abandon its work and waits until every worker is
// idle, so that shared tables and the game position may change.
void abandon_search_and_wait();
// Stops a running search so that its result can still be reported.
void finish_search_and_wait();

}  // namespace vorn
