#pragma once
// Shared set-up of the evaluation tests: tables built once, positions from
// FEN text, and a heap-allocated per-thread evaluation state.

#include <memory>
#include <string>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/position.h"
#include "eval/engine_params.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"
#include "tests/fen_board.h"

namespace vorn {

// Builds every table the evaluation needs (once per test program).
void prepare_eval_tables();

struct Board : FenBoard {
    explicit Board(const char* fen) : FenBoard((prepare_eval_tables(), fen)) {}
};

struct Evaluator {
    std::unique_ptr<EvalThreadState> state = std::make_unique<EvalThreadState>();
    EvalStackOutput out{};
    Evaluator() {
        prepare_eval_tables();
        clear_eval_state(*state);
    }
    int operator()(const Position& pos, int ply = 1) {
        out = EvalStackOutput{};
        return evaluate(pos, *state, out, ply, in_check(pos, pos.side_to_move));
    }
};

// Evaluation of a FEN with a fresh state, outside a search.
int eval_fen(const char* fen);

// The colour-flipped twin: ranks mirrored, colours and side to move swapped.
std::string flip_fen(const std::string& fen);

}  // namespace vorn
