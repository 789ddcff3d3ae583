#pragma once
// The command reader of the main loop, the benchmark and the tools.

namespace vorn {

// Queues waiting standard input, then executes at most one line through the
// UCI interpreter (UCI mode, or the word "uci" in console mode) or the console
// commands. Returns at once when no complete line is waiting. A line too long
// to keep is reported in one line and not executed.
void read_command();

// read_command for a tool run (the EPD runner, the tuner): the end of the
// input only means nobody is typing, so unlike read_command it is no quit
// request there.
void read_command_for_tool();

}  // namespace vorn
