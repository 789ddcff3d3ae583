#include "eval/swap_report.h"

#include <cstdio>

#include "board/see.h"

namespace vorn {

std::string swap_report(Position& pos) {
    std::string out;
    const Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
    for (int sq = 0; sq < 64; ++sq) {
        const int code = pos.board[sq];
        if (!code) continue;
        // The side that does not own the piece is the one that may take it.
        const int taker = piece_side(code) ^ 1;
        const int value = see(pos, taker, kNoSquare, sq, occupancy, false);
        if (value == 0) continue;
        char line[48];
        std::snprintf(line, sizeof line, "sq= %c%c, swap= %d\n", 'a' + (sq & 7), '1' + (sq >> 3), value);
        out += line;
    }
    return out;
}

}  // namespace vorn
