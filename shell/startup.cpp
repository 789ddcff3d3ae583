#include "shell/startup.h"

#include <csignal>
#include <cstdlib>
#include <sys/time.h>

#include "board/attacks.h"
#include "book/book_index.h"
#include "book/book_settings.h"
#include "eval/engine_params.h"
#include "eval/kpk.h"
#include "search/reductions.h"
#include "search/search_limits.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/transposition_table.h"
#include "shell/benchmark.h"
#include "shell/command_line.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/main_loop.h"
#include "shell/read_command.h"
#include "shell/settings_file.h"
#include "shell/usage.h"
#include "tablebase/probe.h"
#include "tools/epd_runner.h"
#include "tools/match.h"
#include "tools/pgn_scanner.h"
#include "tools/tool_hooks.h"
#include "tools/trace_tuner.h"
#include "tools/tuner.h"

namespace vorn {

namespace {

void seed_random_generator() {
    timeval now{};
    gettimeofday(&now, nullptr);
    std::srand(static_cast<unsigned>(now.tv_sec * 1000 + now.tv_usec / 1000));
}

void set_defaults() {
    std::FILE* log = shell.log_file;  // opened in the step before
    shell = ShellState{};
    shell.log_file = log;
    limits = SearchLimits{};
    book_settings = BookSettings{};
    SyzygyPath[0] = '\0';
    SyzygyProbeDepth5 = 1;
    SyzygyProbeDepth6 = 3;
    set_default_params(params);
    threads = 1;
    hash_size_mb = 64;
    hash_mode = 1;
    stop_signal = STOP_RUN;
}

void apply_command_line(const CommandLine& line) {
    shell.protocol_mode = line.protocol_mode;
    shell.log_enabled = line.log_enabled;
    shell.noise = line.noise;
    shell.uci_extra = line.uci_extra;
    shell.pbench = line.pbench;
    limits.time_mode = line.time_mode;
    limits.move_time = line.move_time;
    limits.max_depth = static_cast<uint8_t>(line.max_depth);
    limits.node_limit = line.node_limit;
    hash_size_mb = static_cast<int16_t>(line.hash_mb);
    threads = line.threads;
    for (std::size_t i = 0; i < sizeof shell.epd_file; ++i) shell.epd_file[i] = line.epd_file[i];
    for (std::size_t i = 0; i < sizeof shell.match_file; ++i)
        shell.match_file[i] = line.match_file[i];
}

// Every switch starts from the value it overrides.
CommandLine command_line_defaults() {
    CommandLine line;
    line.protocol_mode = PROTOCOL_UCI;
    line.log_enabled = shell.log_enabled;
    line.noise = shell.noise;
    line.time_mode = limits.time_mode;
    line.move_time = limits.move_time;
    line.max_depth = limits.max_depth;
    line.node_limit = limits.node_limit;
    line.hash_mb = hash_size_mb;
    line.threads = threads;
    return line;
}

void run_mode(RunMode mode, const CommandLine& line) {
    switch (mode) {
        case RunMode::epd_runner:
            run_epd(0);
            break;
        case RunMode::pgn_scanner:
            scan_pgn(line.scan_file, line.scan_mode);
            break;
        case RunMode::match:
            shell.noise = 1000.0;
            run_match(shell.match_file);
            break;
        case RunMode::benchmark:
            run_benchmark(line.bench_positions, line.bench_summary);
            break;
        case RunMode::tuner:
            shell.noise = 1000.0;
            run_tuning_pass();
            break;
        case RunMode::trace_tuner:
            run_trace_tuner(shell.epd_file, line.tune_all);
            break;
        case RunMode::normal_play:
            run_normal_play();
            break;
    }
}

void shut_down() {
    close_book();
    tt_free();
    hash_size_mb = 0;
    stop_threads(threads);
    // No timer resolution to hand back on this platform.
    close_log_file();
}

}  // namespace

int run_engine(int argc, const char* const* argv) {
    // Asking what the program is must not start it, nor replace its log.
    CommandLine request;
    parse_command_line(argc, argv, request);
    if (request.info == InfoRequest::usage) print_usage();
    if (request.info == InfoRequest::version) print_version();
    if (request.info != InfoRequest::none) return 0;

    // A closed output pipe must not kill the engine in the middle of a line.
    std::signal(SIGPIPE, SIG_IGN);

    seed_random_generator();
    open_log_file();
    for (int i = 0; i <= kMaxThreads; ++i) thread_table[i] = nullptr;
    if (allocate_thread_data(0) != 0) return 1;
    init_attack_tables();
    init_kpk_table();
    set_defaults();
    read_settings_file("vorn.rc", params);
    copy_king_pst_to_square_params(params);
    params_backup = params;

    CommandLine line = command_line_defaults();
    parse_command_line(argc, argv, line);
    apply_command_line(line);

    if (init_hash_keys() != 0) {
        send_linef("cannot allocate a hash table of %dM bytes", int(line.hash_mb));
        return 1;
    }
    // The book's key table is built at compile time; its window may fail to
    // allocate, and then the engine simply plays without a book.
    init_book();
    if (start_threads(threads) != 0) {
        send_linef("cannot start %d search threads", threads);
        return 1;
    }
    // Linux needs no timer-resolution request: a plain 5 ms sleep serves.
    init_lmr_tables();

    tool_hooks.serve_input = read_command_for_tool;
    tool_hooks.read_settings = read_settings_file;
    run_mode(choose_run_mode(line), line);
    shut_down();
    return 0;
}

}  // namespace vorn
