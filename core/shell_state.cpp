#include "core/shell_state.h"

namespace vorn {

ShellState shell;
std::atomic<uint8_t> stop_signal{0};

}  // namespace vorn
