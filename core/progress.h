#pragma once
// A one-line progress display for the long tool runs (EPD suites, tuning,
// PGN scans, matches, book building). It is drawn on standard error, and only
// when that is a terminal, so interfaces, pipes, logs and tests see exactly
// the tool's own output. The line is rewritten in place a few times a second
// and wiped when the meter ends; the output routines wipe it before they
// print, so it never splits a line of the tool's own.

#include <chrono>
#include <cstdint>
#include <cstdio>

namespace vorn {

class ProgressMeter {
public:
    // `unit` names the items counted: "positions", "games", "passes". A
    // meter not `wanted` (a run inside another that shows its own) is silent.
    explicit ProgressMeter(const char* unit, bool wanted = true);
    ~ProgressMeter();
    ProgressMeter(const ProgressMeter&) = delete;
    ProgressMeter& operator=(const ProgressMeter&) = delete;

    // Whether anything will be shown: a caller may skip work done only for
    // the display, such as counting a file's records beforehand.
    bool shown() const { return enabled_; }

    // `done` items of `total` ("N/M"); a total of 0 is unknown.
    void update(long done, long total);
    // `done` items so far, with the bytes read of a file of `file_size`
    // bytes standing in for the unknown total (0: size unknown too).
    void update_by_bytes(long done, int64_t bytes_read, int64_t file_size);

private:
    void draw(long done, long total, double fraction);

    const char* unit_;
    bool enabled_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point last_draw_;
};

// The size of a regular file in bytes; 0 for anything else (a pipe, a FIFO)
// or when it cannot be told.
int64_t regular_file_size(std::FILE* file);

// Wipes the progress line if one is shown; the output routines call it
// before they write to standard output.
void clear_progress_line();

}  // namespace vorn
