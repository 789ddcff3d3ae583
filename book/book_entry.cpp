#include "book/book_entry.h"

namespace vorn {

namespace {

void put16(uint8_t* bytes, uint16_t value) {
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
}

void put32(uint8_t* bytes, uint32_t value) {
    put16(bytes, static_cast<uint16_t>(value));
    put16(bytes + 2, static_cast<uint16_t>(value >> 16));
}

uint16_t get16(const uint8_t* bytes) { return static_cast<uint16_t>(bytes[0] | bytes[1] << 8); }

uint32_t get32(const uint8_t* bytes) { return get16(bytes) | uint32_t{get16(bytes + 2)} << 16; }

}  // namespace

void encode_book_entry(const BookEntry& entry, uint8_t bytes[kBookEntrySize]) {
    put16(bytes, entry.key16);
    put32(bytes + 2, entry.key32);
    put16(bytes + 6, entry.stm_wins);
    put16(bytes + 8, entry.stm_losses);
    put16(bytes + 10, entry.draws);
    put16(bytes + 12, 0);
}

BookEntry decode_book_entry(const uint8_t bytes[kBookEntrySize]) {
    BookEntry entry;
    entry.key16 = get16(bytes);
    entry.key32 = get32(bytes + 2);
    entry.stm_wins = get16(bytes + 6);
    entry.stm_losses = get16(bytes + 8);
    entry.draws = get16(bytes + 10);
    return entry;
}

bool read_book_entry(std::FILE* file, BookEntry& entry) {
    uint8_t bytes[kBookEntrySize];
    if (std::fread(bytes, 1, kBookEntrySize, file) != kBookEntrySize) return false;
    entry = decode_book_entry(bytes);
    return true;
}

bool write_book_entry(std::FILE* file, const BookEntry& entry) {
    uint8_t bytes[kBookEntrySize];
    encode_book_entry(entry, bytes);
    return std::fwrite(bytes, 1, kBookEntrySize, file) == kBookEntrySize;
}

}  // namespace vorn
