#pragma once
// A game's result as the tools keep it, and its PGN text.

constexpr int kWhiteWon = 0;
constexpr int kBlackWon = 1;
constexpr int kOtherResult = 2;  // a draw, or no result given

inline const char* result_text(int result) {
    return result == kWhiteWon ? "1-0" : result == kBlackWon ? "0-1" : "1/2-1/2";
}
