#pragma once
// Non-blocking line reader for standard input (or any descriptor). Complete
// lines are queued and handed out one at a time; a line whose end has not
// arrived yet waits in the queue's tail. A line feed, a carriage return (so
// CR LF ends one line) or a zero byte ends a line, and so does '@'; a tab
// reads as a blank. Every buffer is bounded: a line longer than
// kMaxCommandLength is dropped whole and reported as such, never cut.

#include <cstddef>
#include <string>

namespace vorn {

// Far above the longest real command (a "position" line of a 10,000-ply game
// takes about 50 KB).
constexpr int kMaxCommandLength = 256 * 1024 - 1;

struct InputReader {
    int fd = 0;
    bool end_of_input = false;   // read() returned 0 or failed for good
    bool skipping = false;       // dropping the rest of an over-long line
    int head = 0;                // start of the first queued line in text
    int length = 0;              // end of the bytes used in text
    int partial_length = 0;      // bytes of the unfinished line at the end of text
    // Complete lines, each ended by '@', then the unfinished line. A dropped
    // over-long line is queued as a lone line feed, which no line can hold.
    char text[2 * (kMaxCommandLength + 1) + 2] = {};
};

// The reader the main loop uses, on standard input.
extern InputReader console_input;

// True when at least one byte (or the end of input) is waiting on the descriptor.
bool input_available(const InputReader& reader);

// Reads what is waiting, without blocking, and queues the complete lines.
void fill_queue(InputReader& reader);

enum class TakenLine { none, line, overlong };

// Takes the first complete, non-empty line off the queue into `line`. Once
// the input has ended, an unfinished last line counts as complete. Returns
// none when no line is waiting, overlong (with `line` empty) for a line that
// was too long to keep.
TakenLine take_line(InputReader& reader, std::string& line);

// Waits at most `milliseconds` for input to arrive; returns at once when a
// line is already queued. After the end of input it simply sleeps, so a
// caller polling in a loop never spins.
void wait_for_input(const InputReader& reader, int milliseconds);

// True once the input has ended and every queued line has been taken.
bool input_exhausted(const InputReader& reader);

// Like take_line, but waits (blocking) until a line arrives; over-long lines
// are passed over. Returns false only when the input has ended with nothing left.
bool wait_for_line(InputReader& reader, std::string& line);

}  // namespace vorn
