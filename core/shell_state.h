#pragma once
// Program-wide flags of the engine shell, shared by every subsystem that
// prints or watches for a stop request.

#include <atomic>
#include <cstdint>
#include <cstdio>

// A noise of this many seconds or more silences a search's progress lines
// and start lines altogether (the tools and -quiet).
constexpr double kSilentNoise = 9999.0;

struct ShellState {
    int16_t protocol_mode = 2;   // 2 UCI, 0 console
    uint8_t start_request = 0;   // 1 search, 2 ponder, 3 console analysis
    uint8_t search_mode = 0;     // start_request of the running search, 0 idle
    uint8_t quit_requested = 0;
    double noise = 0.0;          // seconds before progress lines are printed; kSilentNoise: never
    int16_t log_enabled = 1;
    int uci_extra = 0;
    int self_play = 0;
    int pbench = 0;
    char epd_file[140] = {};
    char match_file[140] = {};
    unsigned timer_period = 0;
    std::FILE* log_file = nullptr;
};

extern ShellState shell;

// 0 run, 1 stop and report, 2 abandon, 3 no legal move at the root, 99 workers exit.
// One byte written by the main thread and the first worker, read by all workers.
extern std::atomic<uint8_t> stop_signal;
