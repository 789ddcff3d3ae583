#pragma once
// The book's own position key, independent of the Zobrist keys: a 16-bit key
// over the pieces of the side to move and a 32-bit key over all pieces, the
// en-passant square added to the latter. Castling rights do not enter it.

#include <array>
#include <cstdint>

#include "board/position.h"

namespace vorn {

inline constexpr int kBookRandomCount = 772;

// x = 77, then x = x * 33 + 12345 (mod 65536) for each entry in turn.
constexpr std::array<uint16_t, kBookRandomCount> make_book_random() {
    std::array<uint16_t, kBookRandomCount> table{};
    uint16_t x = 77;
    for (uint16_t& entry : table) {
        x = static_cast<uint16_t>(x * 33u + 12345u);
        entry = x;
    }
    return table;
}

inline constexpr std::array<uint16_t, kBookRandomCount> book_random = make_book_random();

// The key a book record carries. key16's bit 15 is 1 when white is to move;
// its other bits are those of book_key16.
struct BookKey {
    uint16_t key16 = 0;
    uint32_t key32 = 0;
};

BookKey compute_book_key(const Position& pos);

}  // namespace vorn
