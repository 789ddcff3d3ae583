#pragma once
// The UCI protocol: one command line at a time. Commands never search; "go"
// fills the search limits and asks the main loop to start.

namespace vorn {

// Executes one UCI command line (echoed as "CMD: ..." while logging is on).
void execute_uci_command(const char* line);

// "setoption": sets one option from the text after the command word.
void set_uci_option(const char* arguments);

// The identification and option lines, then "uciok".
void print_uci_identification();

}  // namespace vorn
