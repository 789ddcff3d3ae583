#pragma once
// What the book reads from the options and the settings file. The shell
// writes these ("OwnBook", "BookDepth", "BookVariety", "VornBook"); the book
// and the shell's main loop read them.

#include <cstdint>

namespace vorn {

inline constexpr int kBookFileNameSize = 142;  // at most 141 characters

struct BookSettings {
    bool own_book = false;        // UCI "OwnBook": play book moves without searching
    uint8_t book_depth = 24;      // the book is asked while history_count is not above this
    int16_t book_variety = 30;    // random spread among good moves; below 1 counts as 1
    char book_file[kBookFileNameSize] = "vorn.opn";
};

extern BookSettings book_settings;

}  // namespace vorn
