#include "shell/console_commands.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "board/legal_line.h"
#include "board/make_move.h"
#include "board/notation.h"
#include "board/perft.h"
#include "book/book_builder.h"
#include "book/book_probe.h"
#include "eval/engine_params.h"
#include "eval/eval_trace.h"
#include "eval/param_report.h"
#include "eval/swap_report.h"
#include "search/reductions.h"
#include "search/search.h"
#include "search/search_result.h"
#include "search/search_trace.h"
#include "search/search_limits.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "shell/console_editor.h"
#include "shell/console_game_files.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/game_position.h"
#include "core/words.h"
#include "tools/tuner.h"

namespace vorn {

ConsoleSettings console_settings;

void show_game_position() {
    if (console_settings.debug_display) {
        std::string report = traced_evaluation_report(game_position(), game_block().eval);
        send_line(report.c_str());
    } else {
        print_board(game_position());
    }
}

namespace {

int move_number() { return game_block().history_count / 2 + 1; }

// Multi-line reports go to standard output as they are, without a doubled
// final line feed.
void print_report(std::string text) {
    if (text.empty()) return;
    if (text.back() == '\n') text.pop_back();
    print_unlogged(text.c_str());
}

void set_fen_command(const char* fen) {
    abandon_search_and_wait();
    set_game_fen(fen);
    show_game_position();
}

void take_back() {
    abandon_search_and_wait();
    if (game_block().history_count > 0) {
        unmake_move(game_position());
        show_game_position();
    }
}

void replay_one() {
    abandon_search_and_wait();
    Move move = replayable_move();
    if (move == kNoMove) return;
    char text[kMoveTextSize];
    const bool white = game_position().side_to_move == kWhite;
    send_linef("%d%s move %s", move_number(), white ? "." : "...", move_to_text(move, text));
    make_move(game_position(), move);
    show_game_position();
}

void jump_to(int64_t target) {
    abandon_search_and_wait();
    while (game_block().history_count > 0) unmake_move(game_position());
    for (Move move = replayable_move(); move != kNoMove && game_block().history_count < target;
         move = replayable_move()) {
        make_move(game_position(), move);
    }
    show_game_position();
}

void run_perft(const char* depth_text) {
    abandon_search_and_wait();
    int depth = static_cast<int>(read_clamped(depth_text, 0, kMaxPerftDepth));
    // Perft plays over the history entry of a taken-back move; keep it for "]".
    HistoryEntry& next = game_block().history[game_block().history_count];
    const Move taken_back = next.move;
    read_clock(1);
    uint64_t nodes = perft(game_position(), game_position().side_to_move, depth);
    read_clock(0);
    next.move = taken_back;
    print_perft_result(nodes, elapsed);
}

void play_typed_move(const char* text) {
    Move move = kNoMove;
    if (!parse_move(game_position(), text, &move)) return;
    abandon_search_and_wait();
    if (!game_history_has_room()) {
        send_line("the game history is full; take moves back or start a new game");
        return;
    }
    send_linef("%d. move %s", move_number(), text);
    play_game_move(move);
    show_game_position();
}

void set_level(const CommandWords words) {
    int64_t moves = read_clamped(words[1], 0, 255);
    double seconds = read_decimal(words[2]);
    if (const char* colon = std::strchr(words[2], ':'))
        seconds = static_cast<double>(read_integer(words[2])) * 60.0 + read_decimal(colon + 1);
    if (seconds < 0.0) seconds = 0.0;
    double increment = read_decimal(words[3]);
    if (increment < 0.0) increment = 0.0;
    limits.time_mode = static_cast<uint8_t>(moves);
    limits.move_time = seconds;
    limits.increment = increment;
    limits.clock[0] = limits.clock[1] = seconds;
    send_linef("set level to %d moves in %0.2f seconds, inc %0.2f", static_cast<int>(moves),
               seconds, increment);
}

void set_search_parameter(const char* name, const char* value) {
    int16_t* field = nullptr;
    if (!std::strcmp(name, "NMP_depth")) field = &params.NMP_depth;
    else if (!std::strcmp(name, "SEP_depth")) field = &params.SEP_depth;
    else if (!std::strcmp(name, "FP_depth")) field = &params.FP_depth;
    else if (!std::strcmp(name, "LMP_depth")) field = &params.LMP_depth;
    else if (!std::strcmp(name, "LMR_depth")) field = &params.LMR_depth;
    if (field) {
        *field = static_cast<int16_t>(read_clamped(value, INT16_MIN, INT16_MAX));
        send_linef("%s set to %d", name, *field);
    } else if (!std::strcmp(name, "ss_off")) {
        params.SEP_depth = 0;
        params.NMP_depth = 99;
        params.LMP_depth = 0;
        params.LMR_depth = 99;
        send_line("selectivity set to OFF");
    } else {
        params = params_backup;
        init_lmr_tables();
        init_eval_tables();
        send_line("selectivity set to default");
    }
}

// The line the transposition table holds from the game position, in
// algebraic notation, and the board at its end.
void print_principal_variation() {
    abandon_search_and_wait();
    Position& pos = game_position();
    HistoryEntry& next = game_block().history[game_block().history_count];
    const Move taken_back = next.move;
    std::string line;
    int played = 0;
    while (played < kMaxPly && game_history_has_room()) {
        TTRead entry = tt_read(full_key(pos), pos.side_to_move, 1, pos);
        if (!entry.hit || !is_legal_move(pos, entry.move)) break;
        char coordinate[kMoveTextSize], san[kMoveTextSize], with_file[kMoveTextSize],
            with_rank[kMoveTextSize];
        move_to_san(pos, entry.move, coordinate, san, with_file, with_rank);
        if (played > 0) line += ' ';
        line += san;
        make_move(pos, entry.move);
        ++played;
    }
    std::printf("PV: %s\n\n", line.c_str());
    std::fflush(stdout);
    print_board(pos);
    for (; played > 0; --played) unmake_move(pos);
    next.move = taken_back;
}

// The line search runs the EPD runner, which sets up its records in the game
// block and needs a depth limit of 0, no progress lines and no hash table;
// the game and the settings a person was using come back afterwards.
void tune_keeping_game(const char* name) {
    abandon_search_and_wait();
    ThreadData& block = game_block();
    const BoardHistory saved_history = block;
    const Position saved_position = block.pos;
    const uint8_t saved_depth = limits.max_depth;
    const double saved_noise = shell.noise;
    const uint8_t saved_hash_mode = hash_mode;
    char saved_epd_file[sizeof shell.epd_file];
    std::memcpy(saved_epd_file, shell.epd_file, sizeof saved_epd_file);
    tune_parameter(name);
    static_cast<BoardHistory&>(block) = saved_history;
    block.pos = saved_position;
    limits.max_depth = saved_depth;
    shell.noise = saved_noise;
    hash_mode = saved_hash_mode;
    std::memcpy(shell.epd_file, saved_epd_file, sizeof saved_epd_file);
}

void start_analysis(const char* depth_text) {
    limits.time_mode = 1;
    limits.move_time = 99999.0;
    int64_t depth = read_integer(depth_text);
    limits.max_depth = static_cast<uint8_t>(depth >= 1 && depth <= 65 ? depth : kMaxDepthLimit);
    if (hash_mode <= 1) {
        abandon_search_and_wait();
        tt_clear();
    }
    shell.start_request = SEARCH_ANALYSE;
}

}  // namespace

void execute_console_command(const char* line) {
    CommandWords words;
    split_words(line, words);
    if (words[0][0] == '\0') return;
    auto is = [&words](const char* name) { return std::strcmp(words[0], name) == 0; };

    if (is("new")) {
        set_fen_command(kStartFen);
        limits.clock[0] = limits.clock[1] = limits.move_time;
    } else if (is("fen")) {
        const char* fen = std::strstr(line, "fen") + 3;
        set_fen_command(*fen ? fen + 1 : fen);
    } else if (is("quit")) {
        stop_signal = STOP_ABANDON;
        shell.quit_requested = 1;
    } else if (is("mv")) {
        shell.start_request = SEARCH_REPORT;
    } else if (is("go") || is("an")) {
        start_analysis(words[1]);
    } else if (is(".")) {
        stop_signal = STOP_ABANDON;
    } else if (is("bd")) {
        show_game_position();
    } else if (is("level")) {
        set_level(words);
    } else if (is("depth")) {
        limits.max_depth = static_cast<uint8_t>(read_clamped(words[1], 0, kMaxDepthLimit));
    } else if (is("ponder")) {
        limits.ponder_enabled = static_cast<int16_t>(read_clamped(words[1], 0, 1));
    } else if (is("self")) {
        limits.ponder_enabled = 0;
        shell.self_play = 1;
        shell.start_request = SEARCH_REPORT;
    } else if (is("noise")) {
        double noise = read_decimal(words[1]);
        shell.noise = noise < 0.0 ? 0.0 : noise;
    } else if (is("hash")) {
        hash_mode = static_cast<uint8_t>(read_clamped(words[1], 0, 255));
    } else if (is("ev")) {
        std::string report = traced_evaluation_report(game_position(), game_block().eval);
        send_line(report.c_str());
    } else if (is("sp")) {
        print_report(param_report());
    } else if (is("lmr")) {
        print_lmr_tables();
    } else if (is("debug")) {
        console_settings.debug_display = static_cast<int16_t>(read_clamped(words[1], 0, 1));
    } else if (std::strstr(words[0], "multipv")) {
        limits.multipv = static_cast<int16_t>(read_clamped(words[1], 1, kMaxMultiPv));
    } else if (is("undo") || is("[")) {
        take_back();
    } else if (is("]")) {
        replay_one();
    } else if (is("jump")) {
        jump_to(read_integer(words[1]));
    } else if (is("set")) {
        abandon_search_and_wait();
        set_search_parameter(words[1], words[2]);
    } else if (is("perft")) {
        run_perft(words[1]);
    } else if (is("swap")) {
        abandon_search_and_wait();
        print_report(swap_report(game_position()));
    } else if (is("get")) {
        get_epd_position(words[1]);
    } else if (is("tag")) {
        tag_key = full_key(game_position());
    } else if (is("pv")) {
        print_principal_variation();
    } else if (is("load")) {
        load_pgn_game(words[1], words[2]);
    } else if (is("save")) {
        save_game();
    } else if (is("edit")) {
        edit_position();
    } else if (is("book")) {
        abandon_search_and_wait();
        book_probe(game_position(), true);
        send_line("");
    } else if (is("mkbook")) {
        abandon_search_and_wait();
        if (build_book()) set_game_fen(kStartFen);
    } else if (is("trace")) {
        abandon_search_and_wait();
        set_search_trace(static_cast<int>(read_clamped(words[1], 0, INT16_MAX)));
    } else if (is("tune")) {
        if (words[1][0]) tune_keeping_game(words[1]);
    } else if (is("move")) {
        play_typed_move(words[1]);
    } else {
        play_typed_move(words[0]);
    }
}

}  // namespace vorn
