#include "core/progress.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <mutex>

namespace vorn {

namespace {

constexpr double kRedrawSeconds = 0.25;  // often enough to look alive, rarely enough to cost nothing
constexpr int kLineSize = 160;

// Workers print search lines while the main thread draws the meter.
std::mutex display_lock;
// Characters of the progress line now on the terminal; 0 when none is.
std::atomic<int> shown_length{0};

double seconds_between(std::chrono::steady_clock::time_point from,
                       std::chrono::steady_clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

int terminal_width() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

void append(char* line, const char* format, ...) __attribute__((format(printf, 2, 3)));
void append(char* line, const char* format, ...) {
    const std::size_t used = std::strlen(line);
    va_list args;
    va_start(args, format);
    std::vsnprintf(line + used, kLineSize - used, format, args);
    va_end(args);
}

void append_duration(char* line, double seconds) {
    const long s = std::lround(seconds);
    if (s >= 3600)
        append(line, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
    else
        append(line, "%ld:%02ld", s / 60, s % 60);
}

// Per second, per minute or per hour: whichever keeps a digit before the point.
void append_rate(char* line, double per_second) {
    if (per_second >= 1.0)
        append(line, per_second >= 100.0 ? "%.0f/s" : "%.1f/s", per_second);
    else if (per_second * 60.0 >= 1.0)
        append(line, "%.1f/min", per_second * 60.0);
    else
        append(line, "%.1f/h", per_second * 3600.0);
}

// Writes the bytes in one call: standard error is unbuffered.
void put(const char* bytes, std::size_t length) {
    std::fwrite(bytes, 1, length, stderr);
    std::fflush(stderr);
}

// Writes the line over the one shown, blanking what is left of a longer
// one; the caller holds display_lock.
void show(const char* text) {
    int length = static_cast<int>(std::strlen(text));
    // A line longer than the terminal would wrap, and "\r" could not take it back.
    const int room = terminal_width() - 1;
    if (length > room) length = room > 0 ? room : 0;
    const int previous = shown_length.load();
    char bytes[2 * kLineSize + 2];
    std::size_t n = 0;
    bytes[n++] = '\r';
    for (int i = 0; i < length; ++i) bytes[n++] = text[i];
    for (int i = length; i < previous; ++i) bytes[n++] = ' ';
    for (int i = length; i < previous; ++i) bytes[n++] = '\b';
    put(bytes, n);
    shown_length = length;
}

void erase_locked() {
    const int length = shown_length.exchange(0);
    if (length == 0) return;
    char bytes[kLineSize + 2];
    std::size_t n = 0;
    bytes[n++] = '\r';
    for (int i = 0; i < length; ++i) bytes[n++] = ' ';
    bytes[n++] = '\r';
    put(bytes, n);
}

}  // namespace

ProgressMeter::ProgressMeter(const char* unit, bool wanted)
    : unit_(unit), enabled_(wanted && isatty(STDERR_FILENO) == 1),
      start_(std::chrono::steady_clock::now()), last_draw_(start_) {}

ProgressMeter::~ProgressMeter() {
    if (enabled_) clear_progress_line();
}

void ProgressMeter::update(long done, long total) {
    const double fraction = total > 0 ? double(done) / double(total) : -1.0;
    draw(done, total, fraction);
}

void ProgressMeter::update_by_bytes(long done, int64_t bytes_read, int64_t file_size) {
    double fraction = -1.0;
    if (file_size > 0 && bytes_read >= 0) fraction = std::min(1.0, double(bytes_read) / double(file_size));
    draw(done, 0, fraction);
}

void ProgressMeter::draw(long done, long total, double fraction) {
    if (!enabled_) return;
    const auto now = std::chrono::steady_clock::now();
    // Redrawn at once after output wiped it; otherwise a few times a second.
    if (shown_length.load() > 0 && seconds_between(last_draw_, now) < kRedrawSeconds) return;
    last_draw_ = now;

    const double elapsed = seconds_between(start_, now);
    char line[kLineSize] = "";
    if (total > 0)
        append(line, "%ld/%ld %s", done, total, unit_);
    else
        append(line, "%ld %s", done, unit_);
    if (total <= 0 && fraction >= 0.0) append(line, ", %.0f%% of the file", 100.0 * fraction);
    if (done > 0 && elapsed > 0.0) {
        append(line, ", ");
        append_rate(line, done / elapsed);
    }
    append(line, ", ");
    append_duration(line, elapsed);
    append(line, " so far");
    if (fraction > 0.0 && fraction < 1.0) {
        append(line, ", ");
        append_duration(line, elapsed * (1.0 - fraction) / fraction);
        append(line, " left");
    }

    std::lock_guard<std::mutex> hold(display_lock);
    show(line);
}

int64_t regular_file_size(std::FILE* file) {
    struct stat status {};
    if (!file || fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return static_cast<int64_t>(status.st_size);
}

void clear_progress_line() {
    if (shown_length.load(std::memory_order_relaxed) == 0) return;
    std::lock_guard<std::mutex> hold(display_lock);
    erase_locked();
}

}  // namespace vorn
