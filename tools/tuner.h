#pragma once
// Fitting the evaluation's named parameters (eval/engine_params.h) to scored
// positions. Both tools measure with tuning_error over the EPD file in
// shell.epd_file, which runs the EPD runner with the search depth limit at 0.

#include <cstdint>

namespace vorn {

// Mean prediction error of the current parameters. The caller has set
// limits.max_depth to 0 and silenced progress lines. A seed whose low 16 bits
// are 0 takes every record; any other takes about one in 16, chosen by the
// seed. 1.0 when the file cannot be opened.
double tuning_error(uint32_t seed);

// The gradient pass of "-tune": up to 100 passes over a fixed set of
// material and mobility parameters, logged to "tune.log". Input is served
// before every pass, so "quit" ends the run there. Does nothing when
// "tune.log" cannot be created or the file of positions cannot be read (then
// named in one line).
void run_tuning_pass();

// Console "tune NAME": a bracketing line search on one parameter over
// "tune.epd" that reports the best value found and leaves the parameter as
// it was. An empty name does nothing; an unknown one prints only "done!", a
// missing "tune.epd" one line naming it before "done!".
void tune_parameter(const char* name);

}  // namespace vorn
