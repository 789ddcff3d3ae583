#pragma once
// The self-play match: two parameter sets of the engine play up to 8000 fast
// games against each other. Player 1 plays with the parameters in force plus
// "test1.rc", Player 2 with those in force. Each move is searched under a
// small node limit (the first 12 plies may come from the book), games are
// adjudicated by score, and after every game a running score line with its
// error margin is printed and the game is appended to a PGN file.
//
// The PGN file records moves as from- and to-square ("e7e8", "a1a1" for no
// move), without a promotion letter. A reader takes such a move as the legal
// move between those squares, a queen promotion first; only when the rest of
// the game does not replay after it is an underpromotion the move played.

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "board/position.h"
#include "board/types.h"
#include "board/game_result.h"

namespace vorn {

struct EngineParams;

// A game whose history reaches kGameHistoryLimit plies is adjudicated drawn
// (the history must keep room for a search on top of the game); its record
// holds those plies and the last, unplayed one.
constexpr int kMaxMatchPlies = kGameHistoryLimit + 1;

// One ply as the match records it: the move (0 when there was none), the
// search score from the mover's view and the depth reached.
struct MatchPly {
    Move move;
    int16_t score;
    int16_t depth;
};

struct MatchGame {
    char start_fen[kFenBufferSize];
    int first_side;  // side to move in the start position
    int count;       // plies recorded; the last one ended the game and was not played
    int result;      // kWhiteWon, kBlackWon or kOtherResult
    MatchPly plies[kMaxMatchPlies];
};

struct MatchTally {
    int games = 0;
    int player1_wins = 0;
    int player2_wins = 0;
    int draws = 0;
};

// The running score line: games, both players' wins, draws, Player 1's score
// with its error margin, and "*" when more than 200 games put the score
// outside the margin.
void format_score_line(const MatchTally& tally, char* buffer, std::size_t size);

// Plays one game on from the game position (block 0) with the search limits
// in force; players[0] is Player 1, who plays `player1_side`. Returns false
// when a quit request ended the game before its end.
bool play_match_game(MatchGame& game, const EngineParams* players, int player1_side);

// Appends the game as PGN under the number `number`.
void write_match_game(std::FILE* out, const MatchGame& game, int number, int player1_side);

// The whole match, written to the PGN file of that name. Prints "Can't open
// file test1.rc" when that file cannot be read in full, "can't open NAME" when
// the PGN file cannot be created. A quit request ends it with the file closed
// after the last whole game.
void run_match(const char* pgn_file);

}  // namespace vorn
