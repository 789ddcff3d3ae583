#pragma once
// The evaluation trace: a breakdown of one evaluation by term, side and
// square, and the console report built from it.

#include <cstdint>
#include <string>

#include "board/position.h"
#include "eval/eval_info.h"

namespace vorn {

struct EvalTrace {
    // Tapered contributions per side.
    int16_t material[2];
    int16_t position[2];
    int16_t group[kTraceGroups][2];
    int16_t square[64];
    int stage;
    double draw_adj;
    Bitboard hung;
    Bitboard pinned;
};

// Process-wide; written only by the traced evaluation (not searching, the
// thread marked trace_thread, ply 1), so searches never touch it.
extern EvalTrace eval_trace;

void clear_eval_trace();

// The "ev" report from eval_trace: `eval` is the root evaluation and `qscore`
// the driver's score. One text, meant to be sent as one line.
std::string eval_trace_report(const Position& pos, int eval, int qscore);

struct EvalThreadState;
// Clears the trace, evaluates `pos` as the traced evaluation (the state is
// used as thread 1 outside a search) and returns the report with
// qscore = eval. Restores the state's flags afterwards.
std::string traced_evaluation_report(const Position& pos, EvalThreadState& state);

}  // namespace vorn
