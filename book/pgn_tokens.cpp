#include "book/pgn_tokens.h"

#include <cstring>

namespace vorn {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool is_bracket(char c) { return c != '\0' && std::strchr("{}()", c) != nullptr; }

}  // namespace

const char* next_pgn_token(const char* text, char* token, std::size_t size) {
    while (is_blank(*text)) ++text;
    if (*text == '\0') return nullptr;
    std::size_t n = 0;
    if (is_bracket(*text)) {
        token[n++] = *text++;
    } else {
        for (; *text && !is_blank(*text) && !is_bracket(*text); ++text) {
            if (static_cast<unsigned char>(*text) >= 32 && n + 1 < size) token[n++] = *text;
        }
    }
    token[n] = '\0';
    return text;
}

}  // namespace vorn
