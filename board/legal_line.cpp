#include "board/legal_line.h"

#include "board/make_move.h"
#include "board/movegen.h"

bool is_legal_move(const Position& pos, Move move) {
    if (move == kNoMove) return false;
    MoveEntry list[kMaxMoves];
    generate_all(pos, list);
    for (const MoveEntry* entry = list; entry->move != kMoveListEnd; ++entry) {
        if (entry->move == move) return is_legal(pos, pos.side_to_move, move);
    }
    return false;
}

int legal_line_length(const Position& pos, const uint16_t* line, int max_length) {
    // Played on a copy with a history of its own, so the owner's is untouched.
    BoardHistory history;
    Position copy = pos;
    copy.owner = &history;
    int length = 0;
    if (max_length > kMaxHistory) max_length = kMaxHistory;
    while (length < max_length && is_legal_move(copy, line[length])) make_move(copy, line[length++]);
    return length;
}
