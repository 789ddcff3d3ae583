#include "book/book_key.h"

#include "board/types.h"

namespace vorn {

namespace {

// Index of a piece of type t (pawn 1 .. king 6) and colour c on square s.
constexpr int random_index(int type, int side, int square) {
    return 128 * (type - 1) + square + 64 * side;
}

}  // namespace

BookKey compute_book_key(const Position& pos) {
    uint16_t key16 = 0;
    uint32_t key32 = 0;
    for (int side = kWhite; side <= kBlack; ++side) {
        for (int type = kPawn; type <= kKing; ++type) {
            for (const uint8_t* s = pos.piece_list[side][type]; *s != kNoSquare; ++s) {
                const int index = random_index(type, side, *s);
                if (side == pos.side_to_move) key16 ^= book_random[index];
                key32 ^= (uint32_t{book_random[index + 1]} << 16) | book_random[index + 2];
            }
        }
    }
    key32 += pos.ep_square;  // added, not XORed: 64 when there is none
    const uint16_t white_flag = pos.side_to_move == kWhite ? 0x8000 : 0;
    return BookKey{static_cast<uint16_t>((key16 & 0x7FFF) | white_flag), key32};
}

}  // namespace vorn
