#pragma once
// Making and unmaking moves, null moves, and the legality and check tests.
// Debug builds check the position after every make and unmake
// (board/position_check.h).

#include "board/position.h"
#include "board/types.h"

namespace vorn {

constexpr int pawn_step[2] = {8, -8};

// Called by make_move before the move is made when set (the search trace);
// null otherwise.
using MoveTraceHook = void (*)(const Position& pos, Move move);
extern MoveTraceHook move_trace_hook;

// Plays a pseudo-legal move of the side to move; the owner's history grows by
// one entry (the caller keeps history_count below kMaxHistory).
void make_move(Position& pos, Move move);
void unmake_move(Position& pos);
void make_null_move(Position& pos);
void unmake_null_move(Position& pos);

// True when the pseudo-legal move of `side` leaves its king unattacked;
// false for move 0. The position is not changed.
bool is_legal(const Position& pos, int side, Move move);

// What the legality test of one position can decide once for all its moves:
// with the king not in check, a move by a piece that is neither the king nor
// pinned, and not an en-passant capture, cannot expose the king. In check,
// such a move that neither takes the checker nor steps between it and the
// king leaves the check standing.
struct LegalityShortcut {
    Bitboard needs_test;  // from-squares whose moves need the full test
    bool in_check;        // then a move landing off `evasions` is refused, any other is tested
    Bitboard evasions;    // in check: where a move not from needs_test must land
};

LegalityShortcut legality_shortcut(const Position& pos, int side);
// The same for a caller that already knows whether the side is in check.
LegalityShortcut legality_shortcut(const Position& pos, int side, bool side_in_check);

// Same answer as is_legal for the side the shortcut was made for.
inline bool is_legal_with(const Position& pos, int side, const LegalityShortcut& shortcut, Move move) {
    int from = move_from(move), to = move_to(move);
    if (!(shortcut.needs_test & square_bit(from)) && to != pos.ep_square) {
        if (!shortcut.in_check) return move != 0;
        if (!(shortcut.evasions & square_bit(to))) return false;
    }
    return is_legal(pos, side, move);
}

// The legality test of one search node's moves. The shortcut is made when the
// first move is tested, so a node that stops before that pays nothing for it.
class NodeLegality {
public:
    NodeLegality(const Position& pos, int side, bool side_in_check)
        : pos_(pos), side_(side), in_check_(side_in_check) {}
    bool operator()(Move move) {
        if (!made_) {
            shortcut_ = legality_shortcut(pos_, side_, in_check_);
            made_ = true;
        }
        return is_legal_with(pos_, side_, shortcut_, move);
    }

private:
    const Position& pos_;
    int side_;
    bool in_check_;
    bool made_ = false;
    LegalityShortcut shortcut_{};
};

// 0 no check, 1 the moved (or promoted) piece attacks the enemy king,
// 2 the move uncovers an attack by another piece.
int gives_check(const Position& pos, int side, const MoveEntry& entry);

// What the check test of one position can decide once for all its moves:
// the squares from which each piece type attacks the enemy king (under the
// occupancy before the move, as gives_check sees it), and the own pieces that
// alone stand between that king and an own slider. Only a move of one of
// those, or castling written as the king taking its rook, needs the full test.
struct CheckShortcut {
    Bitboard squares[7];    // by piece type
    Bitboard needs_test;    // from-squares whose moves need the full test
};

CheckShortcut check_shortcut(const Position& pos, int side);

// Same answer as gives_check for the side the shortcut was made for.
inline int gives_check_with(const Position& pos, int side, const CheckShortcut& shortcut,
                            const MoveEntry& entry) {
    const Move move = entry.move;
    const int type = is_promotion(move) ? promotion_type(move) : piece_type(entry.mover);
    const Bitboard to_bit = square_bit(move_to(move));
    if (shortcut.squares[type] & to_bit) return 1;
    if ((shortcut.needs_test & square_bit(move_from(move))) || (pos.pieces[side][0] & to_bit))
        return gives_check(pos, side, entry);
    return 0;
}

// The check test of one search node's moves, its shortcut made when the
// first move is tested.
class NodeChecks {
public:
    NodeChecks(const Position& pos, int side) : pos_(pos), side_(side) {}
    int operator()(const MoveEntry& entry) {
        if (!made_) {
            shortcut_ = check_shortcut(pos_, side_);
            made_ = true;
        }
        return gives_check_with(pos_, side_, shortcut_, entry);
    }

private:
    const Position& pos_;
    int side_;
    bool made_ = false;
    CheckShortcut shortcut_{};
};

// True when the king of `side` is attacked.
bool in_check(const Position& pos, int side);

}  // namespace vorn
