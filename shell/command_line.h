#pragma once
// Command-line switches. They are read into a plain record first, so that the
// start-up code can copy them into the engine's settings in one place.

#include <cstdint>

#include "core/shell_state.h"
#include "tools/trace_tuner.h"

namespace vorn {

enum class RunMode : uint8_t { normal_play, epd_runner, pgn_scanner, match, benchmark, tuner,
                               trace_tuner };

// "--help" or "-h", and "--version": answered before the engine starts.
enum class InfoRequest : uint8_t { none, usage, version };

struct CommandLine {
    // Start from the engine's defaults; switches overwrite them left to right.
    int16_t protocol_mode = PROTOCOL_UCI;
    int16_t log_enabled = 1;
    double noise = 0.0;
    int uci_extra = 0;
    int pbench = 0;
    uint8_t time_mode = 1;
    double move_time = 5.0;
    int max_depth = 66;
    uint64_t node_limit = 0;
    int hash_mb = 64;
    int threads = 1;
    int bench_positions = 0;     // 10 or 20 when a benchmark switch was given
    bool bench_summary = false;  // the word "bench": a last line "nodes N nps N"
    int scan_mode = 0;           // 1..4 for the exact -scan_pgn1 .. -scan_pgn4
    bool scan_requested = false; // -scan_pgn or one of -scan_pgn1 .. -scan_pgn4
    bool anepd_given = false;
    bool match_given = false;
    bool tune_given = false;
    bool tune_all_given = false;  // -tune_all FILE [OUT] [option=value ...]
    TraceTunerOptions tune_all;
    InfoRequest info = InfoRequest::none;  // the first of them on the line
    char epd_file[140] = {};
    char match_file[140] = {};
    char scan_file[140] = {};
};

// Reads the words of the command line (argv[0] is the program and is skipped).
// Words that are not switches are ignored, except "bench", which runs the
// benchmark as test frameworks such as OpenBench call it; a switch that needs
// a value but is the last word is ignored. "--help", "-h" and "--version" are
// only noted here: start-up answers them before anything else.
void parse_command_line(int argc, const char* const* argv, CommandLine& line);

// The one mode to run, checked in the engine's fixed order.
RunMode choose_run_mode(const CommandLine& line);

}  // namespace vorn
