#include "tools/tuning_set.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "board/make_move.h"
#include "board/position.h"
#include "board/searchable.h"
#include "core/line_file.h"
#include "core/words.h"
#include "eval/evaluate.h"
#include "eval/linear_trace.h"
#include "eval/param_keys.h"
#include "tools/epd_runner.h"

namespace vorn {

namespace {

constexpr int kLineSize = 255;      // the runner's record buffer
constexpr int kTableLimit = -kUnsetTableEntry - 1;  // the writer keeps entries above the mark
constexpr double kPositionalScale = 148.0 / 128.0;

// A derived table entry's slopes: d entry / d parameter for every tuned
// parameter it follows (a named parameter's own slot has slope 1).
using SlopeTable = std::vector<std::vector<std::pair<uint16_t, float>>>;

int slot_value(const EngineParams& p, int slot) {
    int16_t v;
    std::memcpy(&v, reinterpret_cast<const char*>(&p) + 2 * slot, sizeof v);
    return v;
}

void set_slot(EngineParams& p, int slot, int value) {
    const int16_t v = int16_t(std::clamp(value, -32768, 32767));
    std::memcpy(reinterpret_cast<char*>(&p) + 2 * slot, &v, sizeof v);
}

// Slopes measured by central differences over the derived tables: a step
// of a quarter of the value (at least 8) evens out the tables' rounding.
SlopeTable measure_slopes(const std::vector<TunedParameter>& list) {
    SlopeTable slopes(kParamSlots);
    auto low = std::make_unique<EngineParams>();
    auto high = std::make_unique<EngineParams>();
    for (std::size_t k = 0; k < list.size(); ++k) {
        const int slot = list[k].slot;
        const int value = slot_value(params, slot);
        const int step = std::max(8, std::abs(value) / 4);
        std::memcpy(static_cast<void*>(low.get()), &params, sizeof params);
        std::memcpy(static_cast<void*>(high.get()), &params, sizeof params);
        set_slot(*low, slot, value - step);
        set_slot(*high, slot, value + step);
        init_eval_tables(*low);
        init_eval_tables(*high);
        const double span = slot_value(*high, slot) - slot_value(*low, slot);
        if (span == 0) continue;  // a value the tables overwrite: nothing to fit
        for (int s = 0; s < kParamSlots; ++s) {
            const int d = slot_value(*high, s) - slot_value(*low, s);
            if (d != 0) slopes[s].push_back({uint16_t(k), float(d / span)});
        }
    }
    return slopes;
}

// Runs work(i) for i = 0 .. n-1, each on a thread of its own.
template <typename Work>
void on_every_core(int n, Work work) {
    std::vector<std::thread> pool;
    for (int i = 1; i < n; ++i) pool.emplace_back(work, i);
    work(0);
    for (std::thread& t : pool) t.join();
}

// Whether the record's move played ("bm") is quiet: no capture, check or
// promotion in its text. A record without one counts as quiet.
bool played_quiet_move(const char* line) {
    const char* move = find_after(line, " bm ");
    if (!move) return true;
    const std::size_t length = std::strcspn(move, "; ");
    return std::find_if(move, move + length, [](char c) { return std::strchr("x+#=", c); }) ==
           move + length;
}

const char* const kTableNames[6] = {"pawn", "knight", "bishop", "rook", "queen", "king"};

}  // namespace

std::vector<TunedParameter> tuned_parameters() {
    if (!tune_params_registered) register_tune_params();
    std::vector<TunedParameter> list;
    for (int i = 0; i < tune_param_count; ++i)
        list.push_back({tune_params[i].name, param_slot(*tune_params[i].value), false});
    for (int piece = 1; piece <= 6; ++piece) {
        for (int phase = 0; phase < 2; ++phase) {
            for (int sq = 0; sq < 64; ++sq) {
                char name[32];
                std::snprintf(name, sizeof name, "PST_%s_%s %c%c", kTableNames[piece - 1],
                              phase ? "en" : "op", 'a' + (sq & 7), '1' + (sq >> 3));
                const ScorePair& entry = params.pst[piece][sq];
                list.push_back({name, param_slot(phase ? entry.en : entry.op), true});
            }
        }
    }
    return list;
}

std::vector<double> read_parameters(const EngineParams& p, const std::vector<TunedParameter>& list) {
    std::vector<double> x;
    for (const TunedParameter& t : list) x.push_back(slot_value(p, t.slot));
    return x;
}

std::vector<double> rounded_parameters(const std::vector<TunedParameter>& list,
                                       const std::vector<double>& x) {
    std::vector<double> r(x.size());
    for (std::size_t k = 0; k < x.size(); ++k) {
        const double limit = list[k].table_entry ? kTableLimit : 32767.0;
        r[k] = std::clamp(double(round_half_away(x[k])), -limit, limit);
    }
    return r;
}

void write_parameters(EngineParams& p, const std::vector<TunedParameter>& list,
                      const std::vector<double>& x) {
    const std::vector<double> r = rounded_parameters(list, x);
    for (std::size_t k = 0; k < list.size(); ++k) set_slot(p, list[k].slot, int(r[k]));
}

TuningSet::TuningSet(int threads) : threads_(std::max(1, threads)) { set_slope(kTuningSlope); }

bool TuningSet::load(const char* file_name, bool quiet_only) {
    std::FILE* file = open_text_input(file_name);
    if (!file) return false;
    auto history = std::make_unique<BoardHistory>();
    Position pos{};
    pos.owner = history.get();
    records_.clear();
    text_.clear();
    records_read_ = 0;
    char line[kLineSize];
    while (read_line(file, line, sizeof line)) {
        if (!epd_usable_record(line)) continue;
        ++records_read_;
        if (quiet_only && !played_quiet_move(line)) continue;
        parse_fen(pos, line);
        if (unsearchable_reason(pos) || in_check(pos, pos.side_to_move)) continue;
        TuningLabel label;
        if (!epd_tuning_label(line, pos.side_to_move, label)) continue;
        records_.push_back({uint32_t(text_.size()), int16_t(label.prior), float(label.result)});
        text_.append(line);
        text_.push_back('\0');
    }
    std::fclose(file);
    split_into_chunks();
    return true;
}

void TuningSet::split_into_chunks() {
    chunks_.assign(threads_, Chunk{});
    const long n = size();
    for (int c = 0; c < threads_; ++c) {
        chunks_[c].first = n * c / threads_;
        chunks_[c].end = n * (c + 1) / threads_;
    }
    set_slope(slope_);
}

void TuningSet::set_slope(double slope) {
    slope_ = slope;
    for (Chunk& chunk : chunks_) {
        chunk.target.clear();
        for (long i = chunk.first; i < chunk.end; ++i) {
            const Record& r = records_[i];
            chunk.target.push_back(TuningLabel{r.prior, r.result}.target(slope));
        }
    }
}

void TuningSet::trace(const std::vector<TunedParameter>& list, const std::vector<double>& x) {
    const SlopeTable slopes = measure_slopes(list);
    on_every_core(threads_, [&](int c) { trace_chunk(chunks_[c], slopes, x); });
}

void TuningSet::trace_chunk(Chunk& chunk, const SlopeTable& slopes, const std::vector<double>& x) {
    auto state = std::make_unique<EvalThreadState>();
    clear_eval_state(*state);
    auto linear = std::make_unique<LinearTrace>();
    state->linear = linear.get();
    auto history = std::make_unique<BoardHistory>();
    Position pos{};
    pos.owner = history.get();
    EvalStackOutput out{};

    chunk.begin.assign(1, 0);
    chunk.index.clear();
    chunk.weight.clear();
    chunk.rest.clear();
    chunk.score.clear();
    std::vector<double> sum(x.size(), 0.0);
    std::vector<char> marked(x.size(), 0);
    std::vector<uint16_t> touched;
    for (long i = chunk.first; i < chunk.end; ++i) {
        parse_fen(pos, text_.c_str() + records_[i].text);
        const int score = evaluate(pos, *state, out, 1, false);
        const LinearTrace& t = *linear;
        if (t.complete && !t.overflow) {
            // White's score is mixed by stage, turned to the side to move's
            // view and scaled like the evaluation's own sum.
            const double view = (t.side_to_move == kWhite ? 1.0 : -1.0) * t.draw_adj;
            const double opening = (24 - t.stage) / 24.0, ending = t.stage / 24.0;
            for (int n = 0; n < t.count; ++n) {
                const LinearTerm& term = t.terms[n];
                const bool op = term.part == kPositionalOp || term.part == kMaterialOp;
                const bool positional = term.part == kPositionalOp || term.part == kPositionalEn;
                double f = term.weight * (op ? opening : ending) * (positional ? kPositionalScale : 1.0);
                f *= term.side == kWhite ? view : -view;
                for (const auto& [k, d] : slopes[term.slot]) {
                    if (!marked[k]) touched.push_back(k);
                    marked[k] = 1;
                    sum[k] += f * d;
                }
            }
        }
        double linear_part = 0.0;
        for (uint16_t k : touched) {
            const float w = float(sum[k]);
            sum[k] = 0.0;
            marked[k] = 0;
            if (w == 0.0f) continue;
            chunk.index.push_back(k);
            chunk.weight.push_back(w);
            linear_part += double(w) * x[k];
        }
        touched.clear();
        chunk.begin.push_back(uint32_t(chunk.index.size()));
        chunk.rest.push_back(score - linear_part);
        chunk.score.push_back(int16_t(score));
    }
}

double TuningSet::model_score(const Chunk& chunk, long i, const std::vector<double>& x) {
    double s = chunk.rest[i];
    for (uint32_t n = chunk.begin[i]; n < chunk.begin[i + 1]; ++n)
        s += double(chunk.weight[n]) * x[chunk.index[n]];
    return s;
}

long TuningSet::chunk_error(const Chunk& chunk, const std::vector<double>& x, double& sum,
                            std::vector<double>* gradient) const {
    const double steepness = slope_ * std::log(10.0) / 400.0;
    long counted = 0;
    sum = 0.0;
    for (long i = 0; i < chunk.end - chunk.first; ++i) {
        const double s = model_score(chunk, i, x);
        // The runner's scores are whole centipawns; the model's only come
        // close to them, so the limit allows for rounding noise.
        if (std::fabs(s) > kTuningScoreLimit + 1e-6) continue;
        const double p = win_probability(s, slope_);
        const double miss = p - chunk.target[i];
        sum += squared_ ? miss * miss : std::fabs(miss);
        ++counted;
        if (!gradient || miss == 0.0) continue;
        const double d = (squared_ ? 2.0 * miss : miss > 0.0 ? 1.0 : -1.0) * steepness * p * (1.0 - p);
        for (uint32_t n = chunk.begin[i]; n < chunk.begin[i + 1]; ++n)
            (*gradient)[chunk.index[n]] += d * chunk.weight[n];
    }
    return counted;
}

double TuningSet::error(const std::vector<double>& x, std::vector<double>* gradient) const {
    const int n = int(chunks_.size());
    std::vector<double> sums(n, 0.0);
    std::vector<long> counts(n, 0);
    std::vector<std::vector<double>> gradients(gradient ? n : 0, std::vector<double>(x.size(), 0.0));
    on_every_core(n, [&](int c) {
        counts[c] = chunk_error(chunks_[c], x, sums[c], gradient ? &gradients[c] : nullptr);
    });
    double sum = 0.0;
    long count = 0;
    for (int c = 0; c < n; ++c) {
        sum += sums[c];
        count += counts[c];
    }
    if (gradient) {
        gradient->assign(x.size(), 0.0);
        for (const std::vector<double>& g : gradients)
            for (std::size_t k = 0; k < x.size(); ++k) (*gradient)[k] += g[k];
        if (count > 0)
            for (double& g : *gradient) g /= double(count);
    }
    return count > 0 ? sum / double(count) : 0.0;
}

std::vector<double> TuningSet::predicted_scores(const std::vector<double>& x) const {
    std::vector<double> scores;
    for (const Chunk& chunk : chunks_) {
        for (long i = 0; i < chunk.end - chunk.first; ++i) scores.push_back(model_score(chunk, i, x));
    }
    return scores;
}

std::vector<int> TuningSet::traced_scores() const {
    std::vector<int> scores;
    for (const Chunk& chunk : chunks_) scores.insert(scores.end(), chunk.score.begin(), chunk.score.end());
    return scores;
}

long TuningSet::terms() const {
    long n = 0;
    for (const Chunk& chunk : chunks_) n += long(chunk.index.size());
    return n;
}

}  // namespace vorn
