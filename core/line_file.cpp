#include "core/line_file.h"

#include <cstring>

bool read_line(std::FILE* file, char* line, int size) {
    if (!std::fgets(line, size, file)) return false;
    std::size_t length = std::strlen(line);
    if (length > 0 && line[length - 1] != '\n' && !std::feof(file)) {
        int c;
        while ((c = std::fgetc(file)) != EOF && c != '\n') {
        }
    }
    line[std::strcspn(line, "\r\n")] = '\0';
    return true;
}
