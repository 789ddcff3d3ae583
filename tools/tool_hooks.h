#pragma once
// What the tools need from the shell above them, handed in by the shell at
// start-up. The tools never include the shell; a hook left empty is skipped.

namespace vorn {

struct EngineParams;

struct ToolHooks {
    // Executes at most one waiting command line ("quit" sets
    // shell.quit_requested, which ends a tool run at its next check).
    void (*serve_input)() = nullptr;
    // The settings-file reader: 1 when the file was read and supplied all
    // twelve piece-square tables, else 0.
    int (*read_settings)(const char* name, EngineParams& p) = nullptr;
};

inline ToolHooks tool_hooks;

// Calls the shell's input hook when there is one.
inline void serve_tool_input() {
    if (tool_hooks.serve_input) tool_hooks.serve_input();
}

// Reads a settings file through the shell's reader; 0 without one.
inline int read_tool_settings(const char* name, EngineParams& p) {
    return tool_hooks.read_settings ? tool_hooks.read_settings(name, p) : 0;
}

}  // namespace vorn
