#pragma once
// Non-blocking line reader for standard input (or any descriptor). Complete
// lines are queued and handed out one at a time; a line whose end has not
// arrived yet waits in the queue's tail. Every buffer is bounded: a line
// longer than kMaxCommandLength is cut there and the rest of it dropped.

#include <cstddef>

constexpr int kMaxCommandLength = 4095;

struct InputReader {
    int fd = 0;
    bool end_of_input = false;   // read() returned 0 or failed for good
    bool skipping = false;       // dropping the rest of an over-long line
    int length = 0;              // bytes used in text
    int partial_length = 0;      // bytes of the unfinished line at the end of text
    // Complete lines, each ended by '@', then the unfinished line.
    char text[2 * (kMaxCommandLength + 1) + 2] = {};
};

// The reader the main loop uses, on standard input.
extern InputReader console_input;

// True when at least one byte (or the end of input) is waiting on the descriptor.
bool input_available(const InputReader& reader);

// Reads what is waiting, without blocking, and queues the complete lines.
void fill_queue(InputReader& reader);

// Takes the first complete, non-empty line off the queue into command (cut at
// its first carriage return). Once the input has ended, an unfinished last line
// counts as complete. Returns false when no line is waiting.
bool take_command(InputReader& reader, char* command, std::size_t size);

// True when a complete line is queued (or the input has ended), so that the
// next take_command or input_exhausted call has something to report.
bool line_ready(const InputReader& reader);

// Waits at most `milliseconds` for input to arrive; returns at once when a
// line is already queued or the input has ended (never spins on a closed input).
void wait_for_input(const InputReader& reader, int milliseconds);

// True once the input has ended and every queued line has been taken.
bool input_exhausted(const InputReader& reader);


// Like take_command, but waits (blocking) until a line arrives. Returns false
// only when the input has ended with nothing left.
bool wait_for_line(InputReader& reader, char* command, std::size_t size);
