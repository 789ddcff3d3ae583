#include "shell/uci.h"

#include <cstring>
#include <string>

#include "board/legal_line.h"
#include "board/notation.h"
#include "search/search_limits.h"
#include "search/threads.h"
#include "search/transposition_table.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/game_position.h"
#include "shell/input_reader.h"
#include "shell/main_loop.h"
#include "core/words.h"

namespace vorn {

namespace {

// The text after the command word and one separator.
const char* arguments_of(const char* line, const char* word) {
    const char* start = std::strstr(line, word) + std::strlen(word);
    return *start ? start + 1 : start;
}

void new_game() {
    abandon_search_and_wait();
    limits.time_mode = 0;
    limits.move_time = 60.0;
    limits.increment = 0.0;
    limits.clock[0] = limits.clock[1] = 60.0;
    game_block().history_count = 0;
    game_block().history[0].move = 0;
    if (hash_mode != 0) tt_clear();
}

// Plays the move words after "moves". A word that is not a legal move of the
// side to move ends the list. A game longer than the history holds keeps its
// latest moves: the entries dropped lie before the last irreversible move,
// where no repetition can reach.
void play_move_list(const char* list) {
    char word[kCommandWordSize];
    const char* p = list;
    for (;;) {
        while (*p == ' ') ++p;
        if (!*p) break;
        const char* start = p;
        while (*p && *p != ' ') ++p;
        std::size_t length = static_cast<std::size_t>(p - start);
        if (length >= sizeof word) length = sizeof word - 1;
        std::memcpy(word, start, length);
        word[length] = '\0';

        Move move = read_coordinate_move(word);
        if (!is_legal_move(game_position(), move)) {
            send_linef("info string illegal move %s in position command, it and the moves after it are ignored",
                       word);
            break;
        }
        if (!game_history_has_room()) compact_game_history();
        play_game_move(move);
    }
}

void set_position(const char* arguments) {
    // The part before "moves" names the position; only it is copied (a FEN
    // is short), the move list is read where it stands, however long.
    const char* moves = std::strstr(arguments, "moves");
    const std::size_t head_length = moves ? static_cast<std::size_t>(moves - arguments) : std::strlen(arguments);
    char head[kFenBufferSize + 32];
    copy_text(head, head_length + 1 < sizeof head ? head_length + 1 : sizeof head, arguments);
    if (std::strstr(head, "startpos")) {
        set_game_fen(kStartFen);
    } else if (const char* fen = std::strstr(head, "fen")) {
        fen += 3;
        if (*fen) ++fen;
        set_game_fen(fen);
    } else {
        return;
    }
    if (moves) play_move_list(moves[5] ? moves + 6 : moves + 5);
    game_block().history[game_block().history_count].move = 0;
}

// The value of a "go" keyword: the word after it.
int64_t keyword_value(const char* arguments, const char* keyword) {
    return read_integer(find_after(arguments, keyword));
}

void start_go(const char* arguments) {
    // Every "go" is answered by exactly one "bestmove". A search still
    // running (its workers not yet back after "stop", or a ponder search the
    // interface never stopped) is finished and reported first: an interface
    // that stopped a ponder search waits for that report and would take the
    // next one as it, losing the new search's move.
    if (shell.search_mode != SEARCH_NONE) {
        finish_search_and_wait();
        report_search();
    }
    stop_signal = STOP_ABANDON;
    limits.time_mode = 0;
    shell.start_request = std::strstr(arguments, "ponder") ? SEARCH_PONDER : SEARCH_REPORT;

    auto seconds = [](int64_t ms) { return ms < 0 ? 0.0 : static_cast<double>(ms) * 0.001; };
    const int side = game_position().side_to_move;
    if (find_after(arguments, "wtime")) limits.clock[0] = seconds(keyword_value(arguments, "wtime"));
    if (find_after(arguments, "btime")) limits.clock[1] = seconds(keyword_value(arguments, "btime"));
    if (find_after(arguments, "winc") && side == 0)
        limits.increment = seconds(keyword_value(arguments, "winc"));
    if (find_after(arguments, "binc") && side == 1)
        limits.increment = seconds(keyword_value(arguments, "binc"));
    // The values are taken as they come: "depth 0" evaluates the root only,
    // "nodes 0" sets no node limit, "movestogo 0" leaves the whole clock for
    // this move's period. Values beyond what a field can hold saturate; a
    // negative value reads as 0.
    if (const char* value = find_after(arguments, "movestogo")) {
        limits.time_mode = 40;
        limits.moves_to_go = static_cast<int16_t>(read_clamped(value, 0, INT16_MAX));
        limits.max_depth = kMaxDepthLimit;
        limits.node_limit = 0;
    }
    if (const char* value = find_after(arguments, "depth")) {
        limits.max_depth = static_cast<uint8_t>(read_clamped(value, 0, kMaxDepthLimit));
        limits.time_mode = 1;
        limits.move_time = 360000.0;
    }
    if (const char* value = find_after(arguments, "nodes")) {
        limits.time_mode = 1;
        limits.node_limit = static_cast<uint64_t>(read_clamped(value, 0, INT64_MAX));
        limits.move_time = 10000000.0;
    }
    if (const char* value = find_after(arguments, "movetime")) {
        limits.time_mode = 1;
        limits.increment = 0.0;
        limits.move_time = seconds(read_integer(value));
    }
    if (find_after(arguments, "infinite")) {
        limits.time_mode = 1;
        limits.max_depth = kMaxDepthLimit;
        limits.node_limit = 0;
        limits.move_time = 10000000.0;
        limits.increment = 0.0;
    }
}

}  // namespace

void execute_uci_command(const char* line) {
    Token command = next_token(line);
    if (command.text[0] == '\0') return;
    if (shell.log_enabled) send_line(("CMD: " + std::string(line)).c_str());  // whole, however long

    auto is = [&command](const char* name) { return std::strcmp(command.text, name) == 0; };
    if (is("uci")) {
        print_uci_identification();
    } else if (is("isready")) {
        // Answered at once, also during a search: the search goes on.
        send_line("readyok");
    } else if (is("setoption")) {
        set_uci_option(arguments_of(line, "setoption"));
    } else if (is("ucinewgame")) {
        new_game();
    } else if (is("position")) {
        // A running search works on its own copy, so the game position may change.
        set_position(arguments_of(line, "position"));
    } else if (is("go")) {
        start_go(arguments_of(line, "go"));
    } else if (is("ponderhit")) {
        if (shell.search_mode == SEARCH_PONDER) shell.search_mode = SEARCH_REPORT;
    } else if (is("stop")) {
        // Stop while idle is ignored rather than reporting the last search again.
        if (shell.search_mode != SEARCH_NONE) {
            stop_signal = STOP_REPORT;
            shell.search_mode = SEARCH_REPORT;
        }
    } else if (is("quit")) {
        stop_signal = STOP_ABANDON;
        shell.quit_requested = 1;
    }
}

}  // namespace vorn
