#pragma once
// Small word readers shared by the command interpreters and the settings file.

#include <cstddef>
#include <cstdint>

namespace vorn {

// One word of a command line: at most 128 characters and the terminator.
struct Token {
    char text[129];
};

// Skips leading blanks, then copies characters up to a blank, a line feed, a
// carriage return or the end of the text (at most 128 of them).
Token next_token(const char* text);

// The first ten blank-separated words of a line, each cut to 127 characters;
// words past the last one are empty.
constexpr int kCommandWordCount = 10;
constexpr int kCommandWordSize = 128;
using CommandWords = char[kCommandWordCount][kCommandWordSize];
void split_words(const char* line, CommandWords words);

// Decimal integer at the start of text (leading blanks and a sign allowed),
// saturated to the 64-bit range; text that is not a number reads as 0.
int64_t read_integer(const char* text);

// Decimal number at the start of text; text that is not a finite number reads as 0.
double read_decimal(const char* text);

// read_integer clamped to [low, high].
int64_t read_clamped(const char* text, int64_t low, int64_t high);

// Copies text into a buffer of the given size, cutting it when it does not fit.
void copy_text(char* buffer, std::size_t size, const char* text);

// Copies text up to the first blank (or the end) into a buffer of the given size.
void copy_word(char* buffer, std::size_t size, const char* text);

// The position in text just after the first occurrence of word, or nullptr.
const char* find_after(const char* text, const char* word);

}  // namespace vorn
