// The book key's worked values and the record's byte layout.

#include <gtest/gtest.h>

#include "tests/book/book_fixture.h"

namespace vorn {

namespace {

using BookFormat = BookTest;

// Expected keys worked out by hand from the table:
// key16 over the side to move's pieces, flag bit 15 for white to move; key32
// over all pieces plus the en-passant square (64 when there is none).
TEST_F(BookFormat, KeysOfKnownPositions) {
    struct Case {
        const char* fen;
        uint16_t key16;
        uint32_t key32;
    } const cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0xC360, 0xE1204640},
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w - -", 0xC360, 0xE1204640},  // castling rights do not count
        // The pieces give 0x90B06490; e3 (20) is added to it (an XOR would
        // give 0x90B06484), and "no square" adds 64.
        {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3", 0x1360, 0x90B064A4},
        {"rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq -", 0x1360, 0x90B064D0},
    };
    for (const Case& c : cases) {
        Game game("", c.fen);
        EXPECT_EQ(game.key().key16, c.key16) << c.fen;
        EXPECT_EQ(game.key().key32, c.key32) << c.fen;
    }
    // Playing the double push gives the position with its en-passant square.
    EXPECT_EQ(Game("e2e4").key().key32, 0x90B064A4u);
}

TEST_F(BookFormat, RecordIsFourteenLittleEndianBytes) {
    const BookEntry entry{0xC360, 0xE1204640, 0x0102, 0xFFFE, 60000};
    uint8_t bytes[kBookEntrySize];
    std::fill(bytes, bytes + kBookEntrySize, uint8_t{0xAA});
    encode_book_entry(entry, bytes);
    const uint8_t expected[kBookEntrySize] = {0x60, 0xC3, 0x40, 0x46, 0x20, 0xE1, 0x02,
                                              0x01, 0xFE, 0xFF, 0x60, 0xEA, 0x00, 0x00};
    EXPECT_TRUE(std::equal(bytes, bytes + kBookEntrySize, expected));
    bytes[12] = bytes[13] = 0x55;  // the reserved bytes are never read
    uint8_t again[kBookEntrySize];
    encode_book_entry(decode_book_entry(bytes), again);
    EXPECT_TRUE(std::equal(again, again + kBookEntrySize, expected));
}

}  // namespace

}  // namespace vorn
