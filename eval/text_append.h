#pragma once

#include <string>

namespace vorn {

// Appends printf-style formatted text to `out`; one call writes at most 255
// characters, enough for any line of the evaluation reports.
void append(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace vorn
