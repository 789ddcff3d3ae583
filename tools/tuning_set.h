#pragma once
// Scored positions held in memory for the fast tuner. Each position is
// evaluated once with its linear part recorded (eval/linear_trace.h), so that
// its score under other parameter values is a remainder plus a dot product.
// From those scores follow the EPD runner's prediction error and its
// gradient, computed on every core.

#include <cstdint>
#include <string>
#include <vector>

#include "eval/engine_params.h"

namespace vorn {

// One value the tuner fits: a named parameter or a piece-square table entry.
struct TunedParameter {
    std::string name;  // "knight_value_op", or "PST_knight_op e4" for a table entry
    uint16_t slot;     // its 16-bit place in EngineParams
    bool table_entry;
};

// The named parameters in the order of the named table (registered if need
// be), then the twelve piece-square tables: pawn to king, opening before
// endgame, a1 to h8.
std::vector<TunedParameter> tuned_parameters();

// The parameters' values in `p`.
std::vector<double> read_parameters(const EngineParams& p, const std::vector<TunedParameter>& list);
// Stores `x` into `p`, rounded and kept within 16 bits; table entries stay
// within -999..999, clear of the mark the settings reader uses for "unset".
void write_parameters(EngineParams& p, const std::vector<TunedParameter>& list,
                      const std::vector<double>& x);
// `x` as write_parameters would store it.
std::vector<double> rounded_parameters(const std::vector<TunedParameter>& list,
                                       const std::vector<double>& x);

class TuningSet {
public:
    explicit TuningSet(int threads);

    // Reads the records of an EPD file as the runner's error measure does
    // and keeps those that can count: a game result, a stored score within
    // the limit that agrees with the result, a position that can be searched
    // and is not in check. False when the file cannot be opened.
    // With `quiet_only`, records whose move played ("bm") was a capture, a
    // check or a promotion are left out: in the middle of an exchange the
    // static evaluation says little about the result.
    bool load(const char* file_name, bool quiet_only = false);
    long size() const { return long(records_.size()); }
    long records_read() const { return records_read_; }
    // Terms kept by the last trace, over all positions (6 bytes each).
    long terms() const;

    // Evaluates every position under the live `params`, which hold the
    // values `x` of `list` (piece-square tables given, not computed), and
    // keeps each one's linear part in terms of `list`. Derived tables enter
    // through their slopes, measured on `params`; what is not linear stays
    // in a remainder, so the model is exact at `x` and approximate elsewhere.
    void trace(const std::vector<TunedParameter>& list, const std::vector<double>& x);

    // The logistic slope of the predictions (1.25 in the runner's measure).
    void set_slope(double slope);
    double slope() const { return slope_; }

    // The runner's measure is the mean absolute miss; the squared miss is
    // the alternative (a smooth loss that does not reward predictions
    // pushed towards 0 or 1 the way the absolute one does).
    void set_squared(bool squared) { squared_ = squared; }

    // Mean prediction error at `x` over the positions whose predicted score
    // lies within the limit, as the runner measures it (or squared); with
    // `gradient`, also its gradient (resized to x.size()).
    double error(const std::vector<double>& x, std::vector<double>* gradient = nullptr) const;

    // The model's scores at `x`, and the engine's scores at the last trace,
    // in the order of the file.
    std::vector<double> predicted_scores(const std::vector<double>& x) const;
    std::vector<int> traced_scores() const;

private:
    struct Record {
        uint32_t text;   // offset of the line in text_
        int16_t prior;   // stored score
        float result;    // game result for the side to move
    };
    // One thread's share of the positions and of the last trace.
    struct Chunk {
        long first = 0, end = 0;          // records_[first, end)
        std::vector<uint32_t> begin;      // terms of position i: [begin[i], begin[i + 1])
        std::vector<uint16_t> index;      // parameter of each term
        std::vector<float> weight;        // its coefficient
        std::vector<double> rest;         // score minus the linear part at the trace
        std::vector<int16_t> score;       // the engine's score at the trace
        std::vector<double> target;       // what the prediction is fitted to
    };

    void split_into_chunks();
    void trace_chunk(Chunk& chunk, const std::vector<std::vector<std::pair<uint16_t, float>>>& slopes,
                     const std::vector<double>& x);
    static double model_score(const Chunk& chunk, long i, const std::vector<double>& x);
    long chunk_error(const Chunk& chunk, const std::vector<double>& x, double& sum,
                       std::vector<double>* gradient) const;

    int threads_;
    double slope_ = 0.0;
    bool squared_ = false;
    long records_read_ = 0;
    std::string text_;
    std::vector<Record> records_;
    std::vector<Chunk> chunks_;
};

}  // namespace vorn
