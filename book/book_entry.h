#pragma once
// One record of a book file: a position's key and how the games through it
// ended for the side to move there. On disk a record is 14 bytes, little-endian:
// key16 (2), key32 (4), stm_wins (2), stm_losses (2), draws (2), reserved (2,
// written as 0, never read). Files hold records back to back with no header,
// sorted by descending key16, then descending key32, keys unique.

#include <cstdint>
#include <cstdio>

#include "book/book_key.h"

namespace vorn {

inline constexpr int kBookEntrySize = 14;
// Counts stop here when records are added together.
inline constexpr int kBookCountLimit = 60000;

struct BookEntry {
    uint16_t key16 = 0;
    uint32_t key32 = 0;
    uint16_t stm_wins = 0;    // the side to move here went on to win
    uint16_t stm_losses = 0;  // the side that moved here went on to win
    uint16_t draws = 0;       // draws and every other result
};

// Byte-exact conversion between a record and its 14 bytes on disk.
void encode_book_entry(const BookEntry& entry, uint8_t bytes[kBookEntrySize]);
BookEntry decode_book_entry(const uint8_t bytes[kBookEntrySize]);

// One record from or to a file; false at the end of the file (a partial last
// record counts as the end) or when the write fails.
bool read_book_entry(std::FILE* file, BookEntry& entry);
bool write_book_entry(std::FILE* file, const BookEntry& entry);

// Book order: -1 when a's key comes first (it is greater), 0 when equal, 1 after.
inline int compare_book_keys(uint16_t a16, uint32_t a32, uint16_t b16, uint32_t b32) {
    if (a16 != b16) return a16 > b16 ? -1 : 1;
    if (a32 != b32) return a32 > b32 ? -1 : 1;
    return 0;
}

inline int compare_book_keys(const BookEntry& a, const BookEntry& b) {
    return compare_book_keys(a.key16, a.key32, b.key16, b.key32);
}

inline int compare_book_keys(const BookEntry& a, const BookKey& key) {
    return compare_book_keys(a.key16, a.key32, key.key16, key.key32);
}

}  // namespace vorn
