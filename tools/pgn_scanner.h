#pragma once
// The PGN scanner: turns a file of games into test and training material.
// Mode 1 writes an annotated copy ("tmp.pgn") that marks suspected mistakes;
// modes 2 to 4 write EPD records ("tmp.epd") of the positions played, each
// with the move, the score the game's comments gave it and, by mode, the
// game's result; mode 0 only counts the games. The scores come from the
// comment after each move, in the forms engines write: "{+0.35/12 0.5s}",
// "{-M5/20}", "{book}", "{eval 40, ...}".

#include <cstdint>
#include <cstdio>

#include "board/game_result.h"

namespace vorn {

// Move scores that no comment gave.
constexpr int16_t kNoScore = -30000;          // no comment after the move
constexpr int16_t kUnreadableScore = -29999;  // a comment without a usable score

// A move as the game wrote it, and the score its comment gave it from the
// view of the side that played it. Real moves need at most 7 characters
// ("exd8=Q+"); a longer token is cut to the field, which no move of its own
// can then match.
constexpr int kScannedMoveSize = 16;
struct ScannedMove {
    char text[kScannedMoveSize];
    int16_t score;
};

// Reads the games of the file and writes the mode's output into the working
// directory, printing "game %d" every hundred games and "games= %d,
// positions= %d" at the end. An input that cannot be read, or that is the
// output file itself, is named in one line and nothing is written; an output
// that cannot be opened ends the scan silently.
void scan_pgn(const char* file_name, int mode);

// Replays one game from the start position on the game position (block 0)
// and writes the mode's records (result: kWhiteWon, kBlackWon or
// kOtherResult); stops at the first move that does not parse. Returns the
// number of positions written.
int write_game(std::FILE* out, const ScannedMove* moves, int count, int mode, int result);

// The score a closed comment gives the move before it, from the mover's view:
// 0 for "book"; the number after "eval " read as White's view; the text before
// a "/" read as the mover's score in pawns ("+M"/"-M": +-9000). Anything else
// is kUnreadableScore.
int16_t comment_score(const char* text, bool after_black_move);

}  // namespace vorn
