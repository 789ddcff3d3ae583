// Evaluation speed: evaluations per second over a fixed set of positions
// from seeded random playouts. Every evaluation is computed in full (the
// evaluation cache is never read); the second figure lets the pawn hash
// answer as it does inside a search.
//
//   eval_bench [positions] [passes]

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/position.h"
#include "eval/engine_params.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"

using namespace vorn;

namespace {

const char* const kStarts[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r1bqkb1r/pppp1ppp/2n2n2/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "r2q1rk1/pp2bppp/2n1bn2/3p4/3P4/2NB1N2/PP3PPP/R1BQR1K1 w - -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
};

std::vector<Position> make_positions(int count, BoardHistory& history) {
    std::vector<Position> out;
    std::mt19937 rng(20261122);
    for (int game = 0; (int)out.size() < count; ++game) {
        Position pos{};
        pos.owner = &history;
        parse_fen(pos, kStarts[game % 5]);
        for (int ply = 0; ply < 80 && (int)out.size() < count; ++ply) {
            if (!in_check(pos, pos.side_to_move)) out.push_back(pos);
            MoveEntry list[kMaxMoves];
            MoveEntry* end = generate_all(pos, list);
            std::vector<Move> legal;
            for (MoveEntry* m = list; m != end; ++m)
                if (is_legal(pos, pos.side_to_move, m->move)) legal.push_back(m->move);
            if (legal.empty()) break;
            make_move(pos, legal[rng() % legal.size()]);
        }
    }
    return out;
}

double run(const std::vector<Position>& positions, EvalThreadState& state, int passes, long& sink) {
    EvalStackOutput out{};
    auto start = std::chrono::steady_clock::now();
    for (int pass = 0; pass < passes; ++pass)
        for (const Position& pos : positions) sink += evaluate(pos, state, out, 1, false);
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    return double(positions.size()) * passes / elapsed.count();
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 4000;
    const int passes = argc > 2 ? std::atoi(argv[2]) : 50;
    init_attack_tables();
    init_hash_keys_tables();
    init_kpk_table();
    set_default_params(params);
    init_eval_tables();

    auto history = std::make_unique<BoardHistory>();
    std::vector<Position> positions = make_positions(count, *history);
    auto state = std::make_unique<EvalThreadState>();
    clear_eval_state(*state);

    long sink = 0;
    double best_full = 0, best_pawn_hash = 0;
    for (int round = 0; round < 5; ++round) {
        state->searching = false;  // neither cache is read
        double full = run(positions, *state, passes, sink);
        state->searching = true;   // ply 1: the evaluation cache is still not read
        state->pawn_probes = state->pawn_hits = 0;
        double with_pawn_hash = run(positions, *state, passes, sink);
        if (full > best_full) best_full = full;
        if (with_pawn_hash > best_pawn_hash) best_pawn_hash = with_pawn_hash;
    }
    std::printf("positions %zu, passes %d, best of 5\n", positions.size(), passes);
    std::printf("full evaluations:        %.0f per second (%.0f ns each)\n", best_full, 1e9 / best_full);
    std::printf("with pawn hash hits:     %.0f per second (%.0f ns each)\n", best_pawn_hash,
                1e9 / best_pawn_hash);
    std::printf("pawn hash hit rate (second figure): %.1f %%\n",
                100.0 * double(state->pawn_hits) / double(state->pawn_probes ? state->pawn_probes : 1));
    std::printf("evaluation cache hits:   %llu\n", (unsigned long long)state->eval_hits);
    std::printf("(checksum %ld)\n", sink);
    return 0;
}
