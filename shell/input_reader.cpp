#include "shell/input_reader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

InputReader console_input;

bool input_available(const InputReader& reader) {
    if (reader.end_of_input) return false;
    pollfd request{reader.fd, POLLIN, 0};
    int ready = poll(&request, 1, 0);
    // A hang-up or an invalid descriptor counts as waiting: the read reports the end.
    return ready > 0 && (request.revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL));
}

static void append_byte(InputReader& reader, char byte) {
    if (byte == '\n' || byte == '\0' || byte == '@') {
        if (reader.partial_length > 0) reader.text[reader.length++] = '@';
        reader.partial_length = 0;
        reader.skipping = false;
        return;
    }
    if (reader.skipping) return;
    if (reader.partial_length >= kMaxCommandLength) {
        reader.skipping = true;
        return;
    }
    reader.text[reader.length++] = byte;
    ++reader.partial_length;
}

void fill_queue(InputReader& reader) {
    if (!input_available(reader)) return;
    // Each byte read takes at most one byte of the buffer, so reading no more
    // than the free space can never overflow it; the rest waits in the pipe.
    int space = static_cast<int>(sizeof reader.text) - 1 - reader.length;
    if (space <= 0) return;
    char chunk[kMaxCommandLength];
    int wanted = space < kMaxCommandLength ? space : kMaxCommandLength;
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

bool take_command(InputReader& reader, char* command, std::size_t size) {
    if (size == 0) return false;
    if (reader.end_of_input && reader.partial_length > 0) append_byte(reader, '\n');
    for (;;) {
        char* separator = static_cast<char*>(std::memchr(reader.text, '@', reader.length));
        if (!separator) return false;
        int line_length = static_cast<int>(separator - reader.text);
        std::size_t n = 0;
        while (n + 1 < size && static_cast<int>(n) < line_length && reader.text[n] != '\r') {
            command[n] = reader.text[n];
            ++n;
        }
        command[n] = '\0';
        int rest = reader.length - line_length - 1;
        std::memmove(reader.text, separator + 1, static_cast<std::size_t>(rest));
        reader.length = rest;
        if (n > 0) return true;  // a line that was only a carriage return is dropped
    }
}

bool line_ready(const InputReader& reader) {
    return reader.end_of_input || std::memchr(reader.text, '@', reader.length) != nullptr;
}

void wait_for_input(const InputReader& reader, int milliseconds) {
    if (line_ready(reader)) return;
    pollfd request{reader.fd, POLLIN, 0};
    if (poll(&request, 1, milliseconds) < 0) return;
}

bool input_exhausted(const InputReader& reader) {
    return reader.end_of_input && reader.length == 0;
}

bool wait_for_line(InputReader& reader, char* command, std::size_t size) {
    for (;;) {
        if (take_command(reader, command, size)) return true;
        if (reader.end_of_input) return false;
        pollfd request{reader.fd, POLLIN, 0};
        poll(&request, 1, -1);
        fill_queue(reader);
    }
}
