#pragma once
// Opening-book settings that the UCI options and the settings file change.
// The shell holds them until the book module, which reads them, takes them
// over. (The tablebase settings live with the tablebase module.)

#include <cstdint>

// Longest tablebase path the options and the settings file store.
inline constexpr int kSyzygyPathLength = 143;

struct PlaySettings {
    bool own_book = false;         // UCI "OwnBook"
    uint8_t book_depth = 24;       // plies in which the book is consulted
    int16_t book_variety = 30;
    char book_file[142] = "vorn.opn";
};

extern PlaySettings play_settings;
