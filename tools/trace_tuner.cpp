#include "tools/trace_tuner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/line_file.h"
#include "core/output.h"
#include "core/progress.h"
#include "core/shell_state.h"
#include "core/words.h"
#include "eval/engine_params.h"
#include "tools/settings_writer.h"
#include "tools/tool_hooks.h"
#include "tools/tuning_set.h"

namespace vorn {

namespace {

// Adam's decay rates for the mean and the square of the gradient.
constexpr double kMomentum = 0.9;
constexpr double kSquareMomentum = 0.999;
constexpr double kTiny = 1e-12;
// The slope fit looks between these.
constexpr double kLowestSlope = 0.25, kHighestSlope = 4.0;

double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The slope with the least error at `x`, by golden-section search (the
// error has a single minimum in the slope on real data).
double fit_slope(TuningSet& set, const std::vector<double>& x) {
    const double ratio = (std::sqrt(5.0) - 1.0) / 2.0;
    double low = kLowestSlope, high = kHighestSlope;
    auto error_at = [&](double slope) {
        set.set_slope(slope);
        return set.error(x);
    };
    double a = high - ratio * (high - low), b = low + ratio * (high - low);
    double ea = error_at(a), eb = error_at(b);
    while (high - low > 1e-4) {
        if (ea < eb) {
            high = b;
            b = a;
            eb = ea;
            a = high - ratio * (high - low);
            ea = error_at(a);
        } else {
            low = a;
            a = b;
            ea = eb;
            b = low + ratio * (high - low);
            eb = error_at(b);
        }
    }
    const double best = 0.5 * (low + high);
    set.set_slope(best);
    return best;
}

class Adam {
public:
    explicit Adam(std::size_t n) : moments_(n) {}

    // One step of at most about `rate` per value; values with no gradient
    // so far (read by no term of any position) stay where they are.
    void step(std::vector<double>& x, const std::vector<double>& gradient, double rate) {
        ++steps_;
        const double mean_scale = 1.0 / (1.0 - std::pow(kMomentum, steps_));
        const double square_scale = 1.0 / (1.0 - std::pow(kSquareMomentum, steps_));
        for (std::size_t k = 0; k < x.size(); ++k) {
            Moments& m = moments_[k];
            m.mean = kMomentum * m.mean + (1.0 - kMomentum) * gradient[k];
            m.square = kSquareMomentum * m.square + (1.0 - kSquareMomentum) * gradient[k] * gradient[k];
            if (m.square == 0.0) continue;
            x[k] -= rate * m.mean * mean_scale / (std::sqrt(m.square * square_scale) + kTiny);
        }
    }

private:
    // Running means of each value's gradient and of its square.
    struct Moments {
        double mean = 0.0, square = 0.0;
    };
    std::vector<Moments> moments_;
    int steps_ = 0;
};

// Puts `x` into the live parameters and re-traces the positions there.
void trace_at(TuningSet& set, const std::vector<TunedParameter>& list, const std::vector<double>& x) {
    write_parameters(params, list, x);
    init_eval_tables();
    set.trace(list, rounded_parameters(list, x));
}

// The epochs of gradient descent, from x; a quit ends them early.
void descend(TuningSet& set, const std::vector<TunedParameter>& list, std::vector<double>& x,
             std::vector<double>& gradient, const TraceTunerOptions& o) {
    Adam adam(x.size());
    ProgressMeter progress("epochs");
    const int report_every = std::max(1, o.epochs / 10);
    for (int epoch = 1; epoch <= o.epochs; ++epoch) {
        serve_tool_input();
        if (shell.quit_requested) break;
        if (o.retrace > 0 && epoch > 1 && (epoch - 1) % o.retrace == 0) {
            trace_at(set, list, x);
            send_linef("epoch %d: traced again, error %0.6f", epoch - 1,
                       set.error(rounded_parameters(list, x)));
        }
        const double error = set.error(x, &gradient);
        // A value whose gradient stays 0 is never moved.
        if (o.keep_tables)
            for (std::size_t k = 0; k < list.size(); ++k)
                if (list[k].table_entry) gradient[k] = 0.0;
        adam.step(x, gradient, o.rate);
        if (epoch % report_every == 0) send_linef("epoch %d: error %0.6f", epoch, error);
        progress.update(epoch, o.epochs);
    }
}

// How far the model's scores lie from the engine's.
struct Agreement {
    long equal = 0;  // positions where they are the same
    double mean = 0.0, largest = 0.0;
};

Agreement compare(const std::vector<double>& predicted, const std::vector<int>& engine) {
    Agreement a;
    for (std::size_t i = 0; i < engine.size(); ++i) {
        const double d = std::fabs(predicted[i] - engine[i]);
        a.equal += d < 1e-6;
        a.mean += d;
        a.largest = std::max(a.largest, d);
    }
    if (!engine.empty()) a.mean /= double(engine.size());
    return a;
}

std::string command_text(const char* epd_file, const TraceTunerOptions& o) {
    char text[512];
    char slope[32];
    if (o.fit_slope)
        std::snprintf(slope, sizeof slope, "fit");
    else
        std::snprintf(slope, sizeof slope, "%g", o.slope);
    std::snprintf(text, sizeof text, "vorn -tune_all %s %s epochs=%d rate=%g slope=%s loss=%s tables=%s "
                  "positions=%s retrace=%d",
                  epd_file, o.output, o.epochs, o.rate, slope, o.squared ? "squared" : "absolute",
                  o.keep_tables ? "keep" : "fit", o.quiet_only ? "quiet" : "all", o.retrace);
    return text;
}

// Reads the written file back through the start-up reader and counts the
// tuned values it does not reproduce (-1: no reader, or the tables were not
// all read).
long read_back(const char* name, const EngineParams& before, EngineParams& back,
               const std::vector<TunedParameter>& list, const std::vector<double>& x) {
    std::memcpy(static_cast<void*>(&back), &before, sizeof back);
    if (!tool_hooks.read_settings || read_tool_settings(name, back) != 1) return -1;
    const std::vector<double> found = read_parameters(back, list);
    long differ = 0;
    for (std::size_t k = 0; k < x.size(); ++k) differ += found[k] != x[k];
    return differ;
}

}  // namespace

bool read_trace_tuner_option(const char* word, TraceTunerOptions& o) {
    const char* value = std::strchr(word, '=');
    if (!value) return false;
    const std::string name(word, value - word);
    ++value;
    if (name == "epochs") {
        o.epochs = int(read_clamped(value, 0, 1000000));
    } else if (name == "rate") {
        o.rate = std::clamp(read_decimal(value), 0.0, 100.0);
    } else if (name == "slope") {
        o.fit_slope = std::strcmp(value, "fit") == 0;
        if (!o.fit_slope) o.slope = std::clamp(read_decimal(value), kLowestSlope, kHighestSlope);
    } else if (name == "loss") {
        if (std::strcmp(value, "squared") != 0 && std::strcmp(value, "absolute") != 0) return false;
        o.squared = std::strcmp(value, "squared") == 0;
    } else if (name == "tables") {
        if (std::strcmp(value, "fit") != 0 && std::strcmp(value, "keep") != 0) return false;
        o.keep_tables = std::strcmp(value, "keep") == 0;
    } else if (name == "positions") {
        if (std::strcmp(value, "all") != 0 && std::strcmp(value, "quiet") != 0) return false;
        o.quiet_only = std::strcmp(value, "quiet") == 0;
    } else if (name == "retrace") {
        o.retrace = int(read_clamped(value, 0, 1000000));
    } else if (name == "threads") {
        o.threads = int(read_clamped(value, 0, 256));
    } else {
        return false;
    }
    return true;
}

void run_trace_tuner(const char* epd_file, const TraceTunerOptions& o) {
    if (same_file(epd_file, o.output)) {
        send_linef("%s is the file of positions: give another name to write", o.output);
        return;
    }
    const int threads = o.threads > 0 ? o.threads : int(std::max(1u, std::thread::hardware_concurrency()));
    const auto original = std::make_unique<EngineParams>();
    std::memcpy(static_cast<void*>(original.get()), &params, sizeof params);
    // The tables as they stand now, built from the scales or given by the
    // settings file, are where the table entries start.
    init_eval_tables();
    params.pst_from_params = 0;
    const std::vector<TunedParameter> list = tuned_parameters();
    std::vector<double> x = read_parameters(params, list);
    auto restore = [&] {
        std::memcpy(static_cast<void*>(&params), original.get(), sizeof params);
        init_eval_tables();
    };

    TuningSet set(threads);
    auto clock = std::chrono::steady_clock::now();
    if (!set.load(epd_file, o.quiet_only)) {
        send_linef("can't open %s", epd_file);
        restore();
        return;
    }
    send_linef("%ld positions kept of %ld records in %s; %zu parameters; %d threads", set.size(),
               set.records_read(), epd_file, list.size(), threads);
    if (set.size() == 0) {
        restore();
        return;
    }
    set.trace(list, x);
    set.set_squared(o.squared);
    send_linef("read and traced in %0.2f s, %ld linear terms", seconds_since(clock), set.terms());
    if (o.fit_slope)
        send_linef("slope %0.4f (fitted to the data)", fit_slope(set, x));
    else
        set.set_slope(o.slope);

    std::vector<double> gradient;
    clock = std::chrono::steady_clock::now();
    const double start_error = set.error(x, &gradient);
    send_linef("%s error %0.6f with slope %0.4f; a pass with the gradient takes %0.1f ms",
               o.squared ? "squared" : "absolute", start_error, set.slope(), 1000.0 * seconds_since(clock));

    descend(set, list, x, gradient, o);

    // The model's scores at the final values, then the engine's own there.
    const std::vector<double> final_x = rounded_parameters(list, x);
    const std::vector<double> predicted = set.predicted_scores(final_x);
    trace_at(set, list, final_x);
    const std::vector<int> engine = set.traced_scores();
    const Agreement model = compare(predicted, engine);
    const double final_error = set.error(final_x);
    send_linef("model against the engine at the end: mean difference %0.2f, largest %0.1f",
               model.mean, model.largest);
    send_linef("error %0.6f at the start, %0.6f at the end (the engine's own evaluation)", start_error,
               final_error);

    char comment[1024];
    std::snprintf(comment, sizeof comment,
                  "Evaluation parameters and piece-square tables fitted by\n  %s\n"
                  "to %ld positions: error %0.6f at the start, %0.6f at the end (slope %0.4f).\n"
                  "Book and tablebase settings are not written here.",
                  command_text(epd_file, o).c_str(), set.size(), start_error, final_error,
                  set.slope());
    if (!write_settings_file(o.output, params, comment)) {
        send_linef("can't write %s", o.output);
        restore();
        return;
    }

    // Read back, the file's values must be the tuned ones and the engine
    // that reads them must evaluate every position as the tuned one did.
    const auto back = std::make_unique<EngineParams>();
    const long differ = read_back(o.output, *original, *back, list, final_x);
    if (differ < 0) {
        send_linef("wrote %s (not read back)", o.output);
    } else {
        std::memcpy(static_cast<void*>(&params), back.get(), sizeof params);
        init_eval_tables();
        set.trace(list, final_x);
        const std::vector<int> reread = set.traced_scores();
        const Agreement file = compare(std::vector<double>(reread.begin(), reread.end()), engine);
        send_linef("wrote %s; read back: %ld of %zu values differ, %ld of %ld positions evaluate as "
                   "before writing",
                   o.output, differ, list.size(), file.equal, set.size());
    }
    restore();
}

}  // namespace vorn
