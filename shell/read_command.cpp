#include "shell/read_command.h"

#include <string>

#include "shell/console_commands.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/input_reader.h"
#include "shell/uci.h"
#include "core/words.h"

#include <cstring>

namespace vorn {

void read_command() {
    fill_queue(console_input);
    std::string command;
    switch (take_line(console_input, command)) {
        case TakenLine::none:
            return;
        case TakenLine::overlong:
            send_linef("%sinput line longer than %d bytes ignored",
                       shell.protocol_mode == PROTOCOL_UCI ? "info string " : "", kMaxCommandLength);
            return;
        case TakenLine::line:
            break;
    }
    if (shell.protocol_mode == PROTOCOL_UCI || std::strcmp(next_token(command.c_str()).text, "uci") == 0)
        execute_uci_command(command.c_str());
    else
        execute_console_command(command.c_str());
}

void read_command_for_tool() {
    fill_queue(console_input);
    if (input_exhausted(console_input)) return;
    read_command();
}

}  // namespace vorn
