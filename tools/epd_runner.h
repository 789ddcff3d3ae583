#pragma once
// The EPD test runner: searches every record of the EPD file named in
// shell.epd_file with the shell's limits, counts the best moves found, and
// measures how well the engine's scores predict the records' results (the
// error the tuner minimises).

#include <cstdint>

namespace vorn {

// Selector bits: any non-zero selector makes a run quiet (no "Analyzing"
// line, no summary); non-zero low 16 bits take every sixteenth usable record,
// starting at an offset those bits choose.
constexpr uint32_t kEpdQuiet = 0x10000000;
constexpr uint32_t kEpdSampleBits = 0xFFFF;

// The prediction error the tuners minimise: records whose stored score or
// evaluation lies beyond this predict nothing useful and are left out...
constexpr int kTuningScoreLimit = 700;
// ... and the target is this share of the game's result plus the rest of
// the stored score's prediction.
constexpr double kTuningResultWeight = 0.9;
// Predictions are 1 / (1 + 10^(-slope * score / 400)).
constexpr double kTuningSlope = 1.25;

// The expected score of a side from its score in centipawns:
// 1 / (1 + 10^(-slope * score / 400)).
double win_probability(double score, double slope = kTuningSlope);

// A record's label for the error measure, from the side to move's view: the
// stored score "ce" (clamped to -950..950, 0 when it has none) and the game's
// result from "c9" or an old-style result text (1, 0.5 or 0).
struct TuningLabel {
    int prior = 0;
    double result = 0.0;
    // The error measure's target: mostly the result, some of the stored
    // score's prediction.
    double target(double slope = kTuningSlope) const {
        return kTuningResultWeight * result + (1.0 - kTuningResultWeight) * win_probability(prior, slope);
    }
};

// Whether a line is a record at all (long enough, not a comment).
bool epd_usable_record(const char* line);

// The label of a usable record whose side to move is `side_to_move`; false
// when it has none worth fitting: no result, a stored score beyond
// kTuningScoreLimit, or a stored score whose prediction contradicts the
// result (off by more than half).
bool epd_tuning_label(const char* line, int side_to_move, TuningLabel& label);

struct EpdRunTotals {
    bool files_opened = false;  // false: nothing ran
    int positions = 0;          // records taken
    int searched = 0;           // records searched (the averages' count)
    int correct = 0;            // searches that found the single "bm" move
    int error_count = 0;        // records counted for the prediction error
    double error_sum = 0.0;
    double nodes = 0.0;
    double seconds = 0.0;
    double depth_sum = 0.0;
    double branching_sum = 0.0;
};

// One run over the file. With max_depth 0 only the root is evaluated; below
// 6 the search runs on this thread, from 6 on the workers search while this
// thread polls the clock and the shell's input. With a search depth, the
// records not solved (also those not searched or not reached) replace the
// contents of "unsolved.epd". A talkative run (selector 0) names an input
// file it cannot read.
EpdRunTotals run_epd_totals(uint32_t selector);

// The run's average prediction error: 1.0 when the EPD file (or, with a
// search depth, "unsolved.epd") cannot be opened, 0 when no record counted.
double run_epd(uint32_t selector);

}  // namespace vorn
