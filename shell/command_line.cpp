#include "shell/command_line.h"

#include <cstring>

#include "core/shell_state.h"
#include "core/words.h"
#include "search/search_limits.h"

namespace vorn {

static double clamp_seconds(double seconds) {
    if (!(seconds >= 0.0)) return 0.0;
    return seconds > 1.0e9 ? 1.0e9 : seconds;
}

// The words after "-tune_all FILE": an output name first, if any, then
// options such as "epochs=300". Returns the index of the last word taken.
static int read_tune_all_words(int argc, const char* const* argv, int i, TraceTunerOptions& options) {
    bool named = false;
    for (; i + 1 < argc; ++i) {
        const char* word = argv[i + 1];
        if (read_trace_tuner_option(word, options)) continue;
        if (named || word[0] == '-' || std::strchr(word, '=') || std::strcmp(word, "bench") == 0) break;
        copy_text(options.output, sizeof options.output, word);
        named = true;
    }
    return i;
}

void parse_command_line(int argc, const char* const* argv, CommandLine& line) {
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        auto is = [word](const char* name) { return std::strcmp(word, name) == 0; };

        if (is("-uci")) {
            line.protocol_mode = PROTOCOL_UCI;
        } else if (is("-c")) {
            line.protocol_mode = PROTOCOL_CONSOLE;
        } else if (is("-nolog")) {
            line.log_enabled = 0;
        } else if (is("-quiet")) {
            line.noise = kSilentNoise;
            line.log_enabled = 0;
        } else if (is("-uci_extra")) {
            line.uci_extra = 1;
        } else if (is("-bench")) {
            line.bench_positions = 10;
        } else if (is("bench")) {
            line.bench_positions = 10;
            line.bench_summary = true;
        } else if (is("-bench2")) {
            line.bench_positions = 20;
        } else if (is("-pbench")) {
            line.pbench = 1;
            line.bench_positions = 10;
        } else if (is("--help") || is("-h") || is("--version")) {
            if (line.info == InfoRequest::none)
                line.info = is("--version") ? InfoRequest::version : InfoRequest::usage;
        } else if (is("-noise") || is("-d") || is("-t") || is("-n") || is("-hash") ||
                   is("-threads") || is("-anepd") || is("-match") || is("-tune") || is("-tune_all") ||
                   std::strstr(word, "-scan_pgn")) {
            if (!value) break;  // a value switch with nothing after it is ignored
            ++i;
            if (is("-noise")) {
                line.noise = clamp_seconds(read_decimal(value));
            } else if (is("-d")) {
                line.max_depth = static_cast<int>(read_clamped(value, 0, 66));
                line.time_mode = 1;
                line.move_time = kUnlimitedMoveTime;
            } else if (is("-t")) {
                line.time_mode = 1;
                line.move_time = clamp_seconds(read_decimal(value));
            } else if (is("-n")) {
                line.time_mode = 1;
                line.move_time = 1000.0;
                int64_t nodes = read_integer(value);
                line.node_limit = nodes > 0 ? static_cast<uint64_t>(nodes) : 0;
            } else if (is("-hash")) {
                line.hash_mb = static_cast<int>(read_clamped(value, 0, 8192));
            } else if (is("-threads")) {
                line.threads = static_cast<int>(read_clamped(value, 1, 64));
            } else if (is("-anepd")) {
                copy_text(line.epd_file, sizeof line.epd_file, value);
                line.anepd_given = true;
            } else if (is("-match")) {
                copy_text(line.match_file, sizeof line.match_file, value);
                line.match_given = true;
            } else if (is("-tune")) {
                copy_text(line.epd_file, sizeof line.epd_file, value);
                line.tune_given = true;
            } else if (is("-tune_all")) {
                copy_text(line.epd_file, sizeof line.epd_file, value);
                line.tune_all_given = true;
                i = read_tune_all_words(argc, argv, i, line.tune_all);
            } else {
                // "-scan_pgn" itself scans in mode 0 (games counted, nothing
                // written); the digit picks modes 1 to 4; other spellings
                // that contain the switch take the file but run no scan.
                copy_text(line.scan_file, sizeof line.scan_file, value);
                line.scan_mode = 0;
                line.scan_requested = is("-scan_pgn");
                for (int mode = 1; mode <= 4; ++mode) {
                    const char names[4][11] = {"-scan_pgn1", "-scan_pgn2", "-scan_pgn3",
                                               "-scan_pgn4"};
                    if (is(names[mode - 1])) {
                        line.scan_mode = mode;
                        line.scan_requested = true;
                    }
                }
            }
        }
    }
}

RunMode choose_run_mode(const CommandLine& line) {
    if (line.anepd_given) return RunMode::epd_runner;
    if (line.scan_requested) return RunMode::pgn_scanner;
    if (line.match_given) return RunMode::match;
    if (line.bench_positions != 0) return RunMode::benchmark;
    if (line.tune_given) return RunMode::tuner;
    if (line.tune_all_given) return RunMode::trace_tuner;
    return RunMode::normal_play;
}

}  // namespace vorn
