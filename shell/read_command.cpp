#include "shell/read_command.h"

#include "shell/console_commands.h"
#include "core/shell_state.h"
#include "shell/input_reader.h"
#include "shell/uci.h"
#include "core/words.h"

#include <cstring>

void read_command() {
    fill_queue(console_input);
    char command[kMaxCommandLength + 1];
    if (!take_command(console_input, command, sizeof command)) {
        if (input_exhausted(console_input)) {
            // The interface closed our input: nobody is left to read a result,
            // so a search of the main loop is abandoned. A tool (such as the
            // benchmark run with its input closed) keeps working.
            if (shell.search_mode != 0) stop_signal = 2;
            shell.quit_requested = 1;
        }
        return;
    }
    if (shell.protocol_mode == 2 || std::strcmp(next_token(command).text, "uci") == 0)
        execute_uci_command(command);
    else
        execute_console_command(command);
}

void read_command_for_tool() {
    fill_queue(console_input);
    if (input_exhausted(console_input)) return;
    read_command();
}
