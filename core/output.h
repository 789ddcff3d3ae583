#pragma once
// The one output routine: every protocol and console line passes through
// send_line, which flushes at once and copies the line to the log.

namespace vorn {

// Prints text and a newline on standard output, flushes, then log_line(text).
void send_line(const char* text);

// printf-style send_line; the formatted line is cut at 8 KiB.
void send_linef(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Writes text and a newline to the log when logging is on and the log is open.
void log_line(const char* text);

// Diagnostic listings go to standard output only, never to the log.
void print_unlogged(const char* text);

// Text as it is (its own line ends, or none yet) on standard output, flushed
// at once and not logged: the tools' running reports.
void print_text(const char* text);

// Deletes and re-creates "vorn.log" in the working directory. Prints
// "log file in use" when an existing log cannot be deleted; returns whether a
// log is open.
bool open_log_file();
void close_log_file();

}  // namespace vorn
