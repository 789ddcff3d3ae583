#pragma once
// Program-wide flags of the engine shell, shared by every subsystem that
// prints or watches for a stop request, with the named values of the
// protocol mode, the search request and the stop signal.

#include <atomic>
#include <cstdint>
#include <cstdio>

namespace vorn {

// A noise of this many seconds or more silences a search's progress lines
// and start lines altogether (the tools and -quiet).
constexpr double kSilentNoise = 9999.0;

// protocol_mode: how commands are read and lines are printed.
enum : int16_t { PROTOCOL_CONSOLE = 0, PROTOCOL_UCI = 2 };

// start_request and search_mode: what a command asked of the main loop, and
// what the running search was started as (SEARCH_NONE: nothing runs).
enum : uint8_t {
    SEARCH_NONE = 0,
    SEARCH_REPORT = 1,   // search, then report the best move
    SEARCH_PONDER = 2,   // no report until "ponderhit" or "stop"
    SEARCH_ANALYSE = 3,  // console analysis
};

struct ShellState {
    int16_t protocol_mode = PROTOCOL_UCI;
    bool chess960 = false;  // UCI_Chess960: castling is written as king takes rook
    uint8_t start_request = SEARCH_NONE;
    uint8_t search_mode = SEARCH_NONE;
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

// Values of stop_signal. Any value but STOP_RUN makes every worker unwind.
enum : uint8_t {
    STOP_RUN = 0,
    STOP_REPORT = 1,        // stop and report the best move found
    STOP_ABANDON = 2,       // stop; the result is not wanted
    STOP_NO_LEGAL_MOVE = 3, // the root is mate or stalemate: nothing to search
    STOP_EXIT = 99,         // the workers are being shut down
};

// One byte written by the main thread, by the first worker and by a worker
// that reaches the node limit; read by all workers.
extern std::atomic<uint8_t> stop_signal;

}  // namespace vorn
