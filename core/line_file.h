#pragma once

#include <cstdio>

// Reads one line of at most size - 1 characters into `line`, without its line
// end; the rest of a longer line is dropped so the next call starts on the
// following line. False at end of file.
bool read_line(std::FILE* file, char* line, int size);
