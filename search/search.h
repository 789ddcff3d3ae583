#pragma once
// The alpha-beta search below the root and the quiescence search, and the
// principal variation each node builds. Both work on the calling thread's
// own block, reached through pos.owner.

#include <cstdint>
#include <cstring>

#include "board/position.h"
#include "search/search_result.h"

namespace vorn {

// Full hash key of a position the console tagged; when the search meets it,
// it prints the search stack and the board. 0 = none.
extern uint64_t tag_key;

// The principal variation of one node: the line from this node on, built
// from the move that last raised alpha and the line its child found. Every
// node empties its own on entry, before any return, so a parent can only
// ever copy up the line of the child it has just searched, and every line
// the search hands out can be played from its node.
struct PrincipalVariation {
    int length = 0;
    Move moves[kMaxPly];

    void clear() { length = 0; }
    void update(Move move, const PrincipalVariation& child) {
        const int n = child.length < kMaxPly - 1 ? child.length : kMaxPly - 1;
        moves[0] = move;
        std::memcpy(moves + 1, child.moves, sizeof(Move) * n);
        length = n + 1;
    }
};

// Principal-variation search of one node; its line goes into pv. Fail-hard
// except for table and tablebase returns.
int search(Position& pos, int side, int ply, int depth, int alpha, int beta, int pv_node,
           PrincipalVariation& pv);

// The move loop of a node; called only by search.
int search_moves(Position& pos, int side, int ply, int depth, int alpha, int beta, bool in_check,
                 int pv_node, PrincipalVariation& pv);

// Captures, queen promotions and (at depth 0) quiet checks at the horizon.
// depth is 0 at the first quiescence ply and one less per ply below.
int qsearch(Position& pos, int side, int ply, int depth, int alpha, int beta, int pv_node,
            PrincipalVariation& pv);

// Move classification bits of a pseudo-legal move (capture, check,
// discovered check, pawn to the seventh, queen promotion, free pawn), given
// gives_check's answer for it.
int classify_move(const Position& pos, int side, const MoveEntry& entry, int check);

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

}  // namespace vorn
