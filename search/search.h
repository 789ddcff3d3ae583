#pragma once
// The alpha-beta search below the root and the quiescence search. Both work
// on the calling thread's own block, reached through pos.owner.

#include <cstdint>

#include "board/position.h"

// Full hash key of a position the console tagged; when the search meets it,
// it prints the search stack and the board. 0 = none.
extern uint64_t tag_key;

// Principal-variation search of one node. pv has kMaxPly entries indexed by
// ply; the node writes its line from index `ply`, zero-terminated. Fail-hard
// except for table and tablebase returns.
int search(Position& pos, int side, int ply, int depth, int alpha, int beta, int pv_node,
           uint16_t* pv);

// The move loop of a node; called only by search.
int search_moves(Position& pos, int side, int ply, int depth, int alpha, int beta, bool in_check,
                 int pv_node, uint16_t* pv);

// Captures, queen promotions and (at depth 0) quiet checks at the horizon.
// depth is 0 at the first quiescence ply and one less per ply below.
int qsearch(Position& pos, int side, int ply, int depth, int alpha, int beta, int pv_node,
            uint16_t* pv);

// Move classification bits of a pseudo-legal move (capture, check,
// discovered check, pawn to the seventh, queen promotion, free pawn).
int classify_move(const Position& pos, int side, const MoveEntry& entry);

// The value of a repetition draw for `side` after history_count moves.
int faded_draw_value(int side, int history_count);

// Earlier occurrences of the position (its placement, the same side to move)
// since the last capture, pawn move or castling, counted up to `enough`.
inline int earlier_occurrences(const Position& pos, const BoardHistory& history, int enough) {
    const int count = history.history_count;
    int found = 0;
    for (int k = 4; k <= pos.fifty_count && count - k >= 0; k += 2)
        if (history.history[count - k].hash_key == pos.hash_key && ++found >= enough) break;
    return found;
}

// The search's draw rules applied to a game: the fifty-move rule (when a
// legal move is left) or the third occurrence of the position.
bool drawn_by_rule(Position& pos);
