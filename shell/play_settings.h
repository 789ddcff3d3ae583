#pragma once
// Opening-book and tablebase settings that the UCI options and the settings
// file change. The shell holds them until the book and tablebase modules,
// which read them, take them over.

#include <cstdint>

struct PlaySettings {
    bool own_book = false;         // UCI "OwnBook"
    uint8_t book_depth = 24;       // plies in which the book is consulted
    int16_t book_variety = 30;
    char book_file[142] = "vorn.opn";
    char syzygy_path[144] = {};    // UCI "SyzygyPath"
    int syzygy_probe_depth5 = 1;
    int syzygy_probe_depth6 = 3;
};

extern PlaySettings play_settings;
