#pragma once
// Splitting a line of PGN move text into tokens for the book builder.

#include <cstddef>

namespace vorn {

// Copies the next token of `text` into `token` (cut to size - 1 characters)
// and returns the text after it, or nullptr when only blanks remain. "{", "}",
// "(" and ")" are tokens of their own; any other token runs up to the next
// blank, tab or one of those four, with other control characters left out.
const char* next_pgn_token(const char* text, char* token, std::size_t size);

}  // namespace vorn
