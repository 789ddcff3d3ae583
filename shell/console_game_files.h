#pragma once
// Console commands that read or write game files: "get" (a position from
// test.epd by its id), "load" (a game from a PGN file) and "save" (the game
// appended to tmp.pgn).

namespace vorn {

void get_epd_position(const char* id);
void load_pgn_game(const char* file_name, const char* tag);
void save_game();

}  // namespace vorn
