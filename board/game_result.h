#pragma once
// A game's result as the book builder and the tools keep it, read from and
// written as PGN text.

#include <cstring>

namespace vorn {

constexpr int kWhiteWon = 0;
constexpr int kBlackWon = 1;
constexpr int kOtherResult = 2;  // a draw, or no result given

inline const char* result_text(int result) {
    return result == kWhiteWon ? "1-0" : result == kBlackWon ? "0-1" : "1/2-1/2";
}

// The result a "[Result ...]" tag line names.
inline int result_from_tag(const char* line) {
    return std::strstr(line, "1-0") ? kWhiteWon : std::strstr(line, "0-1") ? kBlackWon : kOtherResult;
}

}  // namespace vorn
