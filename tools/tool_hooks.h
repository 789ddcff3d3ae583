#pragma once
// What the tools need from the shell above them, handed in by the shell at
// start-up. The tools never include the shell; a hook left empty is skipped.

struct ToolHooks {
    // Executes at most one waiting command line ("quit" sets
    // shell.quit_requested, which ends a tool run at its next check).
    void (*serve_input)() = nullptr;
};

inline ToolHooks tool_hooks;

// Calls the shell's input hook when there is one.
inline void serve_tool_input() {
    if (tool_hooks.serve_input) tool_hooks.serve_input();
}
