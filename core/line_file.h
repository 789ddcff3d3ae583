#pragma once
// Text input the engine and its tools read line by line: opened so that
// nothing but a regular file is read, past a UTF-8 byte-order mark, and
// read in lines of bounded or of any length.

#include <cstdio>
#include <string>

namespace vorn {

// Reads one line of at most size - 1 characters into `line`, without its line
// end; the rest of a longer line is dropped so the next call starts on the
// following line. False at end of file.
bool read_line(std::FILE* file, char* line, int size);

// Reads one whole line without its line end (beyond 1 MiB, which no record
// of a chess file reaches, the rest is dropped). False at end of file.
inline constexpr std::size_t kLongestWholeLine = std::size_t(1) << 20;
bool read_whole_line(std::FILE* file, std::string& line);

// Opens a file for reading only when it is a regular file: a FIFO would
// block the opener until some writer came, and a device such as /dev/zero
// never ends. Null otherwise, with errno-style text in *why when given.
std::FILE* open_regular_file(const char* name, const char* mode, const char** why = nullptr);

// Opens a text file for reading as above and skips a UTF-8 byte-order mark
// at its start. With `name_failure`, a file that cannot be read is named in
// one line saying why.
std::FILE* open_text_input(const char* name, bool name_failure = false);

// Whether two names lead to one existing file (the same device and inode),
// so that writing the one would destroy the other.
bool same_file(const char* a, const char* b);

}  // namespace vorn
