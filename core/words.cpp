#include "core/words.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace vorn {

Token next_token(const char* text) {
    Token token{};
    while (*text == ' ') ++text;
    std::size_t n = 0;
    while (n < sizeof token.text - 1 && text[n] && text[n] != ' ' && text[n] != '\n' &&
           text[n] != '\r') {
        token.text[n] = text[n];
        ++n;
    }
    token.text[n] = '\0';
    return token;
}

void split_words(const char* line, CommandWords words) {
    for (int i = 0; i < kCommandWordCount; ++i) words[i][0] = '\0';
    int index = 0;
    const char* p = line;
    while (*p && index < kCommandWordCount) {
        while (*p == ' ') ++p;
        if (!*p) break;
        std::size_t n = 0;
        while (*p && *p != ' ') {
            if (n < kCommandWordSize - 1) words[index][n++] = *p;
            ++p;
        }
        words[index][n] = '\0';
        ++index;
    }
}

int64_t read_integer(const char* text) {
    if (!text) return 0;
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text, &end, 10);
    if (end == text) return 0;
    // strtoll saturates on overflow, which is what a clamp wants.
    return static_cast<int64_t>(value);
}

double read_decimal(const char* text) {
    if (!text) return 0.0;
    char* end = nullptr;
    double value = std::strtod(text, &end);
    if (end == text || !std::isfinite(value)) return 0.0;
    return value;
}

int64_t read_clamped(const char* text, int64_t low, int64_t high) {
    int64_t value = read_integer(text);
    if (value < low) return low;
    if (value > high) return high;
    return value;
}

void copy_text(char* buffer, std::size_t size, const char* text) {
    if (size == 0) return;
    std::size_t n = 0;
    while (n + 1 < size && text[n]) {
        buffer[n] = text[n];
        ++n;
    }
    buffer[n] = '\0';
}

void copy_word(char* buffer, std::size_t size, const char* text) {
    if (size == 0) return;
    std::size_t n = 0;
    while (n + 1 < size && text[n] && text[n] != ' ') {
        buffer[n] = text[n];
        ++n;
    }
    buffer[n] = '\0';
}

const char* find_after(const char* text, const char* word) {
    const char* hit = std::strstr(text, word);
    return hit ? hit + std::strlen(word) : nullptr;
}

}  // namespace vorn
