#include "shell/input_reader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vorn {

InputReader console_input;

bool input_available(const InputReader& reader) {
    if (reader.end_of_input) return false;
    pollfd request{reader.fd, POLLIN, 0};
    int ready = poll(&request, 1, 0);
    // A hang-up or an invalid descriptor counts as waiting: the read reports the end.
    return ready > 0 && (request.revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL));
}

static void end_line(InputReader& reader) {
    if (reader.skipping) {
        // Room is certain: the dropped line gave back far more than two bytes.
        reader.text[reader.length++] = '\n';
        reader.text[reader.length++] = '@';
    } else if (reader.partial_length > 0) {
        reader.text[reader.length++] = '@';
    }
    reader.partial_length = 0;
    reader.skipping = false;
}

static void append_byte(InputReader& reader, char byte) {
    if (byte == '\n' || byte == '\r' || byte == '\0' || byte == '@') {
        end_line(reader);
        return;
    }
    if (reader.skipping) return;
    if (reader.partial_length >= kMaxCommandLength) {
        // Acting on the front part of a line could do the wrong thing (a game
        // cut short has the wrong side to move): the whole line goes.
        reader.length -= reader.partial_length;
        reader.partial_length = 0;
        reader.skipping = true;
        return;
    }
    reader.text[reader.length++] = byte == '\t' ? ' ' : byte;
    ++reader.partial_length;
}

void fill_queue(InputReader& reader) {
    if (!input_available(reader)) return;
    if (reader.head > 0) {
        std::memmove(reader.text, reader.text + reader.head, static_cast<std::size_t>(reader.length - reader.head));
        reader.length -= reader.head;
        reader.head = 0;
    }
    // Each byte read takes at most one byte of the buffer (the mark of a
    // dropped line takes two, but the line gave back its own), so reading no
    // more than the free space can never overflow it; the rest waits in the pipe.
    char chunk[65536];
    const int space = static_cast<int>(sizeof reader.text) - 2 - reader.length;
    const int wanted = space < static_cast<int>(sizeof chunk) ? space : static_cast<int>(sizeof chunk);
    if (wanted <= 0) return;
    ssize_t got = read(reader.fd, chunk, static_cast<std::size_t>(wanted));
    if (got == 0) {
        reader.end_of_input = true;
        return;
    }
    if (got < 0) {
        if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) reader.end_of_input = true;
        return;
    }
    for (ssize_t i = 0; i < got; ++i) append_byte(reader, chunk[i]);
}

static const char* first_separator(const InputReader& reader) {
    const char* start = reader.text + reader.head;
    return static_cast<const char*>(std::memchr(start, '@', static_cast<std::size_t>(reader.length - reader.head)));
}

TakenLine take_line(InputReader& reader, std::string& line) {
    if (reader.end_of_input && (reader.partial_length > 0 || reader.skipping)) end_line(reader);
    for (;;) {
        const char* separator = first_separator(reader);
        if (!separator) return TakenLine::none;
        const char* start = reader.text + reader.head;
        const std::size_t line_length = static_cast<std::size_t>(separator - start);
        reader.head += static_cast<int>(line_length) + 1;
        if (reader.head == reader.length) reader.head = reader.length = 0;
        if (line_length == 1 && start[0] == '\n') {
            line.clear();
            return TakenLine::overlong;
        }
        if (line_length > 0) {
            line.assign(start, line_length);
            return TakenLine::line;
        }
    }
}

void wait_for_input(const InputReader& reader, int milliseconds) {
    if (first_separator(reader)) return;
    // After the end of input there is nothing to wait for but the time.
    pollfd request{reader.fd, POLLIN, 0};
    poll(&request, reader.end_of_input ? 0 : 1, milliseconds);
}

bool input_exhausted(const InputReader& reader) {
    return reader.end_of_input && reader.length == reader.head && reader.partial_length == 0 &&
           !reader.skipping;
}

bool wait_for_line(InputReader& reader, std::string& line) {
    for (;;) {
        TakenLine taken = take_line(reader, line);
        if (taken == TakenLine::line) return true;
        if (taken == TakenLine::overlong) continue;
        if (reader.end_of_input) return false;
        pollfd request{reader.fd, POLLIN, 0};
        poll(&request, 1, -1);
        fill_queue(reader);
    }
}

}  // namespace vorn
