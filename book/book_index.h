#pragma once
// The book file as the probe sees it. The whole file is never held in memory:
// at start-up it is read once to count its records and to note, for each block
// of 64 consecutive key16 values, the first record in that block. A lookup then
// reads a window of at most 2048 records from the start of its key's block, and
// keeps it for the lookups that follow as long as their keys fall inside it.

#include <cstdint>

#include "book/book_entry.h"
#include "book/book_key.h"

namespace vorn {

inline constexpr int kBookIndexSize = 1024;   // blocks: key16 >> 6
inline constexpr int kBookWindowSize = 2048;  // records read per window

// Records in the indexed file; 0 when no book is loaded.
extern int32_t book_count;

// Start-up: allocates the window and indexes book_settings.book_file. When the
// window cannot be allocated the book stays unloaded. Calling it again
// re-reads the (possibly renamed) file.
void init_book();

// Reads every record of the file, counting them and noting where each block
// starts. A file that cannot be opened leaves no book loaded. A trailing
// partial record is not counted. Needs the window from init_book.
void load_book_index(const char* file_name);

// The record of this key, or nullptr. Reads a new window from the file when the
// key lies outside the current one; the pointer is valid until the next lookup.
const BookEntry* book_lookup(const BookKey& key);

// Switches the book off (no file, no records) and frees the window.
void close_book();

}  // namespace vorn
