#pragma once
// The console command set: short commands a person types in console mode
// (switch -c) to set up positions, take moves back, analyse and look inside.

#include <cstdint>

namespace vorn {

// Settings that only the console commands change.
struct ConsoleSettings {
    int16_t debug_display = 0;  // print the evaluation trace instead of the board
};

extern ConsoleSettings console_settings;

// Executes one console command line; a line that is no command is read as a move.
void execute_console_command(const char* line);

// The board, or the evaluation trace when debug_display is set.
void show_game_position();

}  // namespace vorn
