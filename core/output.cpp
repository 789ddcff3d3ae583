#include "core/output.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "core/progress.h"
#include "core/shell_state.h"

namespace vorn {

// Workers print progress lines while the main thread answers commands; holding
// the stream's lock for the text, its newline and the flush keeps lines whole.
static void write_line(std::FILE* stream, const char* text) {
    if (stream == stdout) clear_progress_line();
    flockfile(stream);
    std::fputs(text, stream);
    std::fputc('\n', stream);
    std::fflush(stream);
    funlockfile(stream);
}

void log_line(const char* text) {
    if (!shell.log_enabled || !shell.log_file) return;
    write_line(shell.log_file, text);
}

void send_line(const char* text) {
    write_line(stdout, text);
    log_line(text);
}

void send_linef(const char* format, ...) {
    char line[8192];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    send_line(line);
}

void print_unlogged(const char* text) { write_line(stdout, text); }

void print_text(const char* text) {
    clear_progress_line();
    std::fputs(text, stdout);
    std::fflush(stdout);
}

bool open_log_file() {
    static const char* const name = "vorn.log";
    if (std::remove(name) != 0 && errno != ENOENT) {
        // An existing log we may not delete: run without one.
        std::fputs("log file in use\n\n", stdout);
        std::fflush(stdout);
        shell.log_file = nullptr;
        return false;
    }
    shell.log_file = std::fopen(name, "w");
    return shell.log_file != nullptr;
}

void close_log_file() {
    if (shell.log_file) std::fclose(shell.log_file);
    shell.log_file = nullptr;
}

}  // namespace vorn
