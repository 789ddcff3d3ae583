#include "core/shell_state.h"

ShellState shell;
std::atomic<uint8_t> stop_signal{0};
