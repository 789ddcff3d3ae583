#include "book/book_index.h"

#include <sys/types.h>

#include <cstdio>
#include <cstring>
#include <new>

#include "book/book_settings.h"
#include "core/line_file.h"

namespace vorn {

int32_t book_count = 0;

namespace {

constexpr int32_t kMaxBookRecords = INT32_MAX;

struct BookWindow {
    BookEntry* records = nullptr;  // kBookWindowSize of them, or none
    int count = 0;
    uint16_t highest = 0;          // key16 of the first and last record read
    uint16_t lowest = 0;
    // False when reading stopped at the window's size or at the first record
    // of a lower block: then the lowest key16 may have more records after it.
    bool lowest_complete = false;
};

BookWindow window;
int32_t book_index[kBookIndexSize];
char book_name[kBookFileNameSize] = "";  // the file indexed, empty when none

void forget_book() {
    book_count = 0;
    book_name[0] = '\0';
    window.count = 0;
    for (int32_t& first : book_index) first = -1;
}

bool window_covers(uint16_t key16) {
    if (window.count == 0 || key16 > window.highest || key16 < window.lowest) return false;
    return key16 != window.lowest || window.lowest_complete;
}

// Reads the records from the start of key16's block into the window. False
// (the window unchanged) when the block holds no record or the file is gone.
bool load_window(uint16_t key16) {
    const int32_t first = book_index[key16 >> 6];
    if (book_name[0] == '\0' || first < 0) return false;
    std::FILE* file = open_regular_file(book_name, "rb");
    if (!file) return false;
    if (fseeko(file, static_cast<off_t>(first) * kBookEntrySize, SEEK_SET) != 0) {
        std::fclose(file);
        return false;
    }
    // Read on until a record of a lower block has been taken in, the window
    // is full or the file ends.
    const uint16_t wanted_block = key16 & 0xFFC0;
    int n = 0;
    bool reached_lower_block = false;
    BookEntry entry;
    while (!reached_lower_block && n < kBookWindowSize && read_book_entry(file, entry)) {
        window.records[n++] = entry;
        reached_lower_block = (entry.key16 & 0xFFC0) < wanted_block;
    }
    std::fclose(file);
    window.count = n;
    if (n > 0) {
        window.highest = window.records[0].key16;
        window.lowest = window.records[n - 1].key16;
    }
    window.lowest_complete = !reached_lower_block && n < kBookWindowSize;
    return true;
}

}  // namespace

void init_book() {
    if (!window.records) window.records = new (std::nothrow) BookEntry[kBookWindowSize];
    forget_book();
    if (window.records) load_book_index(book_settings.book_file);
}

void load_book_index(const char* file_name) {
    forget_book();
    if (!window.records || !file_name || file_name[0] == '\0') return;
    if (std::strlen(file_name) >= sizeof book_name) return;  // a name the window could not reopen
    // Only a regular file: a FIFO would block start-up and /dev/zero would
    // be read as two billion records.
    std::FILE* file = open_regular_file(file_name, "rb");
    if (!file) return;
    int32_t count = 0;
    uint8_t chunk[256 * kBookEntrySize];
    std::size_t got;
    while (count < kMaxBookRecords && (got = std::fread(chunk, kBookEntrySize, 256, file)) > 0) {
        for (std::size_t i = 0; i < got && count < kMaxBookRecords; ++i, ++count) {
            const BookEntry entry = decode_book_entry(chunk + i * kBookEntrySize);
            int32_t& first = book_index[entry.key16 >> 6];
            if (first < 0) first = count;
        }
    }
    std::fclose(file);
    book_count = count;
    if (count > 0) std::memcpy(book_name, file_name, std::strlen(file_name) + 1);
}

const BookEntry* book_lookup(const BookKey& key) {
    if (book_count == 0) return nullptr;
    if (!window_covers(key.key16) && !load_window(key.key16)) return nullptr;
    // The window is in descending key order.
    int low = 0;
    int high = window.count - 1;
    while (low <= high) {
        const int middle = (low + high) / 2;
        const int order = compare_book_keys(window.records[middle], key);
        if (order == 0) return &window.records[middle];
        if (order < 0)
            low = middle + 1;
        else
            high = middle - 1;
    }
    return nullptr;
}

void close_book() {
    forget_book();
    delete[] window.records;
    window.records = nullptr;
}

}  // namespace vorn
