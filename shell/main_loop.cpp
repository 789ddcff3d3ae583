#include "shell/main_loop.h"

#include "board/legal_line.h"
#include "board/notation.h"
#include "book/book_probe.h"
#include "book/book_settings.h"
#include "eval/engine_params.h"
#include "search/iterate.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "shell/console_commands.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/game_position.h"
#include "shell/input_reader.h"
#include "shell/read_command.h"
#include "tablebase/probe.h"

namespace vorn {

namespace {

// A book move is reported like a finished search with score 0; no worker starts.
bool play_from_book() {
    if (!book_settings.own_book || game_block().history_count > book_settings.book_depth) return false;
    const Move move = book_probe(game_position(), false);
    if (move == kNoMove) return false;
    send_line(shell.protocol_mode == PROTOCOL_UCI ? "info string book move" : "book move");
    search_result.best_move = move;
    search_result.pv[1] = move;
    search_result.score = 0;
    stop_signal = STOP_REPORT;
    return true;
}

void start_search() {
    read_clock(1);
    prepare_search();  // search_mode takes start_request; stop_signal STOP_RUN; result cleared
    const Position& pos = game_position();
    const char* reason = unsearchable_reason(pos);
    if (reason) {
        send_linef(shell.protocol_mode == PROTOCOL_UCI ? "info string not searching: %s" : "not searching: %s",
                   reason);
    } else if (!play_from_book() && pos.fifty_count <= 100) {
        start_workers();
    }
    shell.start_request = SEARCH_NONE;
}

void print_console_summary() {
    const SearchResult& r = search_result;
    char move[kMoveTextSize];
    tt_sample_fill();
    send_linef("move= %s, time= %0.3f, score= %d, nodes= %0.0f, nps= %0.0fK ebf= %0.2f",
               move_to_text(r.best_move, move), r.elapsed, r.score, static_cast<double>(r.nodes),
               static_cast<double>(r.nodes) / (r.elapsed + 0.001) * 0.001,
               effective_branching_factor());
    auto percent = [](uint64_t hits, uint64_t probes) {
        return static_cast<double>(hits) * 100.0 / (static_cast<double>(probes) + 1.0);
    };
    send_linef("Hash fill= %.1f%%, Hash hits: main= %0.1f%%, pawn= %0.1f%%, eval= %0.1f%%, TB=%0.0fK",
               hash_fill * 100.0, percent(r.hash_hits, r.hash_probes),
               percent(r.pawn_hits, r.pawn_probes), percent(r.eval_hits, r.eval_probes),
               static_cast<double>(r.tb_hits) / 1000.0);
    send_line("");
}

void continue_self_play() {
    const int side = game_position().side_to_move;
    limits.clock[side] = limits.clock[side] - search_result.elapsed + limits.increment;
    Move best = search_result.best_move;
    if (best == kNoMove || !is_legal_move(game_position(), best) || !play_game_move(best)) {
        shell.self_play = 0;
        return;
    }
    show_game_position();
    shell.start_request = SEARCH_REPORT;
}

// Standard input has ended, so no "stop" or "ponderhit" can come any more.
// Every "go" still gets its answer: a search that ends by its own limits
// runs on and is reported; a ponder search or one without a finite limit is
// stopped and reported now. The engine leaves once nothing is owed.
void finish_after_end_of_input() {
    if (shell.start_request == SEARCH_NONE && shell.search_mode == SEARCH_NONE) {
        shell.quit_requested = 1;
    } else if (shell.search_mode != SEARCH_NONE &&
               (shell.search_mode == SEARCH_PONDER || !has_finite_limit(limits))) {
        if (stop_signal == STOP_RUN) stop_signal = STOP_REPORT;
        if (shell.search_mode == SEARCH_PONDER) shell.search_mode = SEARCH_REPORT;
    }
}

}  // namespace

void report_search() {
    sum_counters();
    print_search_line(1, 0, search_result.depth, search_result.score, search_result.pv);
    if (shell.protocol_mode == PROTOCOL_UCI) {
        char best[kMoveTextSize];
        char ponder[kMoveTextSize];
        move_to_text(search_result.best_move, best);
        if (search_result.ponder_move != kNoMove && search_result.best_move != kNoMove)
            send_linef("bestmove %s ponder %s", best, move_to_text(search_result.ponder_move, ponder));
        else
            send_linef("bestmove %s", best);
    } else {
        print_console_summary();
        if (shell.self_play) continue_self_play();
    }
    shell.search_mode = SEARCH_NONE;
}

void run_normal_play() {
    tb_init(SyzygyPath);
    init_eval_tables();
    set_game_fen(kStartFen);
    if (shell.protocol_mode == PROTOCOL_CONSOLE) print_board(game_position());
    shell.start_request = SEARCH_NONE;
    shell.quit_requested = 0;

    while (!shell.quit_requested) {
        // Poll input and the clock whenever no search can start at once, so
        // a request made during a search never turns this into a busy loop.
        // The wait ends early when input arrives; once the workers have been
        // told to stop it is short, so the result follows them closely.
        if (shell.start_request == SEARCH_NONE || shell.search_mode != SEARCH_NONE) {
            const bool stopping = stop_signal != STOP_RUN && count_searching() != 0;
            wait_for_input(console_input, stopping ? 1 : 5);
            check_time();
            read_command();
            if (shell.quit_requested) break;
        }
        if (shell.start_request != SEARCH_NONE && shell.search_mode == SEARCH_NONE) start_search();
        if (input_exhausted(console_input)) finish_after_end_of_input();
        if (shell.search_mode != SEARCH_NONE && shell.search_mode != SEARCH_PONDER && count_searching() == 0)
            report_search();
    }
    // The shutdown frees the table before it stops the workers, so no search
    // may still be running when this returns.
    abandon_search_and_wait();
}

}  // namespace vorn
