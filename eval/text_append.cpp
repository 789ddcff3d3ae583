#include "eval/text_append.h"

#include <cstdarg>
#include <cstdio>

namespace vorn {

void append(std::string& out, const char* format, ...) {
    char line[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    out += line;
}

}  // namespace vorn
