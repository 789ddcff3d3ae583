#pragma once
// The file stages of book building. Each writes its output under a temporary
// name and renames it over the target at the end, so a book file is never
// half-written: an interrupted or failed step leaves the target as it was.
// All return false when a file could not be written or renamed.

#include "book/book_entry.h"

namespace vorn {

// Merges `count` sorted records into the sorted file `file_name` (absent
// counts as empty), through `temporary_name`.
bool merge_records_into_file(const char* file_name, const BookEntry* records, int count,
                             const char* temporary_name);

// Merges the sorted file `from_name` into the sorted file `into_name` (absent
// counts as empty), through `temporary_name`, then deletes `from_name`. Does
// nothing when `from_name` cannot be opened.
bool merge_file_into_file(const char* into_name, const char* from_name, const char* temporary_name);

// Keeps only the records of `file_name` reached in more than `min_games`
// games, through `temporary_name`. Does nothing when the file cannot be opened.
bool prune_book_file(const char* file_name, int min_games, const char* temporary_name);

}  // namespace vorn
