#include "shell/benchmark.h"

#include "board/position.h"
#include "eval/engine_params.h"
#include "search/iterate.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/read_command.h"

namespace vorn {

const char* const bench_positions[kBenchPositionCount] = {
    "r1bqkb1r/pp1ppppp/2n2n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R b KQkq -",
    "1n5k/3q3p/pp1p2pB/5r2/1PP1Qp2/P6P/6P1/2R3K1 w - -",
    "1r1qbr1k/4bp1p/p3p2Q/3pP3/2pP4/P1N1PN2/1PR2RP1/6K1 b - -",
    "2r1q2k/7p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -",
    "r2r2k1/5pp1/2bPp3/p1N4p/1qQ5/2P2P2/BP4PP/1K1R4 b - -",
    "5r1k/5rp1/p1n1p1qp/2P1p3/P7/4QN1P/5PP1/2R1R2K w - -",
    "2r3k1/1pq1b1p1/p1b1pr1p/8/PP2pP2/2P1B3/4B1PP/RQR4K w - -",
    "1r3b2/3R2pk/6q1/3Q1p2/p6P/4B2P/1P3P1K/8 w - -",
    "r2r2k1/6bp/1P2q1p1/4pp2/p1N5/2Q5/PPR3PP/4R2K b - -",
    "2r1q2k/7p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -",
    "r1bq1r1k/p1pnbpp1/1p2p3/6p1/3PB3/5N2/PPPQ1PPP/2KR3R w - - ",
    "r1b2rk1/1p1nbppp/pq1p4/3B4/P2NP3/2N1p3/1PP3PP/R2Q1R1K w - -",
    "r3r1kb/1npb1p1p/2q2np1/4p1B1/ppP1P2Q/1P2RNNP/P1B2PP1/3R2K1 w - -",
    "2rr3k/2qnbppp/p1n1p3/1p1pP3/3P1N2/1Q1BBP2/PP3P1P/1KR3R1 w - -",
    "3q1r1k/1b3ppp/p1n5/1p1pPB2/2rP4/P6N/1P2Q1PP/R4RK1 w - -",
    "r1b1k2r/1p1pppb1/p5pp/3P4/q2p1B2/3P1Q2/PPP2PPP/R3R1K1 w kq -",
    "R4bk1/2Bbp2p/2p2pp1/1rPp4/3P4/4P2P/4BPPK/1q1Q4 w - -",
    "r2q1rk1/5ppp/3b4/1nnP2P1/1Q3BbP/Pp4N1/1P4B1/1KN2R1R b - -",
    "r7/5pk1/5p2/2p5/pp6/1P1B1KPN/P6P/8 b - -",
    "r2q3r/1p1bbQ2/4p1Bk/3pP3/1n1P1P1p/pP6/Pn4PP/R1B1R1K1 w - -",
};

void run_benchmark(int positions, bool summary) {
    if (positions < 0) positions = 0;
    if (positions > kBenchPositionCount) positions = kBenchPositionCount;
    ThreadData* game = thread_table[0];
    if (!game) return;

    limits.move_time = 99.0;
    shell.noise = kSilentNoise;
    if (limits.max_depth > 40) limits.max_depth = 17;
    init_eval_tables();
    send_line("running benchmark");

    double total_nodes = 0.0;
    double total_seconds = 0.01;
    for (int i = 0; i < positions; i++) {
        parse_fen(game->pos, bench_positions[i]);
        tt_clear();
        read_clock(1);
        // Searched as a normal search, so that "stop" (and "quit") typed
        // meanwhile end this position's search as they would in play.
        shell.start_request = SEARCH_REPORT;
        prepare_search();
        shell.start_request = SEARCH_NONE;
        if (shell.pbench) {
            limits.max_depth = 17;
            iterative_deepening(0);
        } else {
            search_and_wait(read_command);
        }
        shell.search_mode = SEARCH_NONE;
        double seconds = elapsed_now();
        sum_counters();
        total_nodes += double(search_result.nodes);
        total_seconds += seconds;
        send_linef("pos %2d: %6.2f seconds", i, seconds);
    }
    send_linef("total time= %0.2f seconds, nodes= %.0f, nps= %.0f", total_seconds, total_nodes,
               total_nodes / total_seconds);
    if (summary) send_linef("nodes %.0f nps %.0f", total_nodes, total_nodes / total_seconds);
}

}  // namespace vorn
