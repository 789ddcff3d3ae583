#include "board/searchable.h"

#include "board/make_move.h"

namespace vorn {

const char* unsearchable_reason(const Position& pos) {
    for (int side = 0; side < 2; ++side) {
        if (pos.pieces[side][kKing] == 0 || (pos.pieces[side][kKing] & (pos.pieces[side][kKing] - 1)))
            return "each side needs exactly one king";
    }
    constexpr Bitboard kBackRanks = 0xFF000000000000FFull;
    if ((pos.pieces[kWhite][kPawn] | pos.pieces[kBlack][kPawn]) & kBackRanks)
        return "pawns on the first or last rank";
    if (in_check(pos, pos.side_to_move ^ 1)) return "the side not to move is in check";
    return nullptr;
}

}  // namespace vorn
