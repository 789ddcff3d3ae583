#include "tools/tuner.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "core/line_file.h"
#include "core/output.h"
#include "core/progress.h"
#include "core/shell_state.h"
#include "core/words.h"
#include "eval/engine_params.h"
#include "search/search_limits.h"
#include "tools/epd_runner.h"
#include "tools/tool_hooks.h"

namespace vorn {

namespace {

constexpr int kPasses = 100;
constexpr double kGradientScale = 2000.0;   // k0
constexpr double kMomentum = 0.35;          // weight of the previous pass's gradient
constexpr double kRelativeStep = 0.03;
constexpr double kMinimumStep = 1.0;
constexpr double kMinimumSize = 0.3;
constexpr int kMaxLineSearchTries = 30;
constexpr int kNoBracket = 10000;

// The parameters the gradient pass fits, in the order it walks them.
constexpr const char* kGradientParams[] = {
    "knight_value_op",    "knight_value_en",    "bishop_value_op",    "bishop_value_en",
    "rook_value_op",      "rook_value_en",      "queen_value_op",     "queen_value_en",
    "bishop_pair_op",     "bishop_pair_en",     "knight_mobility_op", "knight_mobility_en",
    "bishop_mobility_op", "bishop_mobility_en", "rook_mobility_op",   "rook_mobility_en",
    "queen_mobility_op",  "queen_mobility_en",
};

// Tuning reports go to standard output as formatted (the text carries its
// own line ends), flushed at once so a long run can be followed, and to the
// tuning log when one is given.
void report(std::FILE* log, const char* format, ...) __attribute__((format(printf, 2, 3)));
void report(std::FILE* log, const char* format, ...) {
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    print_text(text);
    if (log) {
        std::fputs(text, log);
        std::fflush(log);
    }
}

// A seed for one pass: bit 31 keeps the runner quiet, the low bits choose
// which sixteenth of the records the pass measures on.
uint32_t pass_seed() {
    const uint32_t high = static_cast<uint32_t>(std::rand()) & 0x7FFF;
    const uint32_t low = static_cast<uint32_t>(std::rand()) & 0xFFFF;
    return 0x80000000u | (high << 16) | low;
}

int16_t clamp16(int value) { return static_cast<int16_t>(std::clamp(value, -32768, 32767)); }

double error_at(int16_t* parameter, int16_t value, uint32_t seed) {
    *parameter = value;
    return tuning_error(seed);
}

// One row's finite-difference gradient and its momentum step.
void gradient_step(TuneParam& row, int pass, uint32_t seed) {
    const int16_t value = *row.value;
    const double step = std::max(kMinimumStep, kRelativeStep * std::fabs(row.x) + 0.5);
    const int16_t offset = round_half_away(step);
    const int16_t low = clamp16(value - offset), high = clamp16(value + offset);
    const double low_error = error_at(row.value, low, seed);
    const double high_error = error_at(row.value, high, seed);
    *row.value = value;
    // A quit during the measurements leaves them partial: no gradient then.
    if (shell.quit_requested) return;
    const double gradient = high > low ? (high_error - low_error) / (high - low) : 0.0;
    const double smoothed =
        pass == 0 ? gradient : kMomentum * row.last_gradient + (1.0 - kMomentum) * gradient;
    row.last_gradient = gradient;
    const double change = -kGradientScale * smoothed * std::max(kMinimumSize, std::fabs(row.x));
    const double taken = std::clamp(change, -step, step);
    row.x += taken;
    report(nullptr, "p1=%4d, p2=%4d, g=%10.2e, dp=%6.1f, x=%6.1f, p= %6.1f\n", low, high, gradient,
           change, taken, row.x);
}

// Every measurement would read the file; one that cannot be read is named
// once instead of giving an error of 1.0 on every pass.
bool epd_file_readable() {
    std::FILE* file = open_text_input(shell.epd_file, true);
    if (file) std::fclose(file);
    return file != nullptr;
}

}  // namespace

double tuning_error(uint32_t seed) { return run_epd(seed | kEpdQuiet); }

void run_tuning_pass() {
    if (!tune_params_registered) register_tune_params();
    for (const char* name : kGradientParams) select_tune_param(name);
    if (!epd_file_readable()) return;
    if (same_file(shell.epd_file, "tune.log")) {
        send_line("tune.log is the tuning log; name another file of positions");
        return;
    }
    std::FILE* log = std::fopen("tune.log", "w");
    if (!log) return;
    shell.noise = kSilentNoise;
    limits.max_depth = 0;

    ProgressMeter progress("passes");
    for (int pass = 0; pass < kPasses; ++pass) {
        serve_tool_input();
        if (shell.quit_requested) break;
        progress.update(pass, kPasses);
        report(log, "pass= %d, k0= %0.3e\n", pass, kGradientScale);
        for (int i = 0; i < tune_param_count; ++i) {
            TuneParam& row = tune_params[i];
            if (!row.active) continue;
            *row.value = round_half_away(row.x);
            report(log, "** %s = %d\n", row.name, *row.value);
        }
        const uint32_t seed = pass_seed();
        report(log, "\nerr= %0.5f\n\n", tuning_error(seed));
        for (int i = 0; i < tune_param_count && !shell.quit_requested; ++i) {
            if (!tune_params[i].active) continue;
            gradient_step(tune_params[i], pass, seed);
            progress.update(pass, kPasses);
        }
        report(nullptr, "\n");
    }
    std::fclose(log);
    init_eval_tables();
}

void tune_parameter(const char* name) {
    if (!name || !name[0]) return;
    copy_text(shell.epd_file, sizeof shell.epd_file, "tune.epd");
    limits.max_depth = 0;
    shell.noise = kSilentNoise;
    if (!tune_params_registered) register_tune_params();
    const int index = find_tune_param(name);
    if (index < 0 || !epd_file_readable()) {
        send_line("done!\n");
        return;
    }
    const TuneParam& row = tune_params[index];
    report(nullptr, "\ntuning %s\n", row.name);

    const int16_t start = *row.value;
    int best = start, low = -kNoBracket, high = kNoBracket;
    double best_error = 1.0;
    for (int tries = 0;; ++tries) {
        const int tried = *row.value;
        const double error = tuning_error(0);
        report(nullptr, "%s= %d, err= %0.6f\n", row.name, tried, error);
        if (tries == 0) {
            if (error < best_error) best_error = error;
        } else if (error < best_error) {
            (tried > best ? low : high) = best;
            best = tried;
            best_error = error;
        } else {
            (tried > best ? high : low) = tried;
        }
        report(nullptr, "best= %d, err= %0.6f, min= %d, max= %d\n\n", best, best_error, low, high);

        const int distance = round_half_away(0.12 * std::abs(best)) + 1;
        int next;
        if (low == -kNoBracket)
            next = best - distance;
        else if (high == kNoBracket)
            next = best + distance;
        else
            next = round_half_away(0.5 * best + 0.5 * (tries % 2 == 0 ? high : low));
        if (next == low || next == high || tries + 1 >= kMaxLineSearchTries ||
            shell.quit_requested)
            break;
        *row.value = clamp16(next);
    }
    report(nullptr, "best= %d, err= %0.6f, min= %d, max= %d\n\n", best, best_error, low, high);
    *row.value = start;
    init_eval_tables();
    send_line("done!\n");
}

}  // namespace vorn
