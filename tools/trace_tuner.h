#pragma once
// The tuner behind "-tune_all": fits every named evaluation parameter and the
// twelve piece-square tables together to the scored positions of an EPD file,
// minimising the same prediction error as "-tune", and writes the result as a
// settings file. Each position is evaluated once with its linear terms
// recorded (the trace), so one pass over the positions, on every core, gives
// the error and its gradient for all parameters at once.

namespace vorn {

struct TraceTunerOptions {
    char output[140] = "tuned.rc";  // the settings file written
    int epochs = 400;               // optimiser steps (passes over all positions)
    double rate = 1.0;              // largest step per epoch, in centipawns
    bool fit_slope = false;         // fit the logistic slope to the data first
    double slope = 1.25;            // otherwise this one (the error measure's own)
    bool squared = false;           // minimise the squared miss, not the absolute one
    bool keep_tables = false;       // fit the named parameters only, the tables as they are
    bool quiet_only = false;        // leave out records whose move played was not quiet
    int retrace = 50;               // epochs between traces (0: trace once)
    int threads = 0;                // 0: every core
};

// Reads one word that follows the EPD file name: "epochs=N", "rate=R",
// "slope=S" or "slope=fit", "loss=absolute" or "loss=squared",
// "tables=fit" or "tables=keep", "positions=all" or "positions=quiet",
// "retrace=N", "threads=N". False for any other
// word (out-of-range numbers are clamped).
bool read_trace_tuner_option(const char* word, TraceTunerOptions& options);

// Loads and traces the positions, runs the optimiser (Adam on the mean
// error), writes the settings file and checks it by reading it back. Reports
// through send_line. Input is served between epochs: "quit" stops the
// optimiser early and the values found so far are written. The live
// parameters are as before when it returns.
void run_trace_tuner(const char* epd_file, const TraceTunerOptions& options);

}  // namespace vorn
