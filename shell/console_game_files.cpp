#include "shell/console_game_files.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "board/make_move.h"
#include "board/notation.h"
#include "search/search_limits.h"
#include "search/transposition_table.h"
#include "shell/console_commands.h"
#include "core/output.h"
#include "shell/game_position.h"
#include "core/line_file.h"

namespace vorn {

namespace {

constexpr int kPgnLineSize = 1023;

// Number (1-based) of the game to load: a number from 1 to 1000, or the first
// game with a line containing the tag text; game 1 otherwise.
int choose_game(std::FILE* file, const char* tag) {
    if (tag[0] == '\0') return 1;
    if (std::isdigit(static_cast<unsigned char>(tag[0]))) {
        long n = std::strtol(tag, nullptr, 10);
        return n >= 1 && n <= 1000 ? static_cast<int>(n) : 1;
    }
    char line[kPgnLineSize];
    int game = 0;
    int found = 1;
    while (read_line(file, line, sizeof line)) {
        if (std::strstr(line, "[Event ")) ++game;
        if (std::strstr(line, tag)) {
            found = game > 0 ? game : 1;
            break;
        }
    }
    std::rewind(file);
    return found;
}

// Plays the move words of one line of move text; returns false after a word
// that is not a move (reported) or when the history is full.
bool play_move_text(char* text) {
    for (char* word = std::strtok(text, " \t"); word; word = std::strtok(nullptr, " \t")) {
        while (*word && !std::isalpha(static_cast<unsigned char>(*word))) ++word;
        if (!*word) continue;  // move numbers, results
        char move_text[33];
        std::snprintf(move_text, sizeof move_text, "%s", word);
        Move move = kNoMove;
        if (!parse_move(game_position(), move_text, &move)) {
            send_linef("can't parse move '%s'", move_text);
            return false;
        }
        if (!play_game_move(move)) {
            send_line("the game history is full; the rest of the game is not loaded");
            return false;
        }
    }
    return true;
}

}  // namespace

void get_epd_position(const char* id) {
    abandon_search_and_wait();
    if (std::FILE* file = open_text_input("test.epd")) {
        char wanted[160];
        std::snprintf(wanted, sizeof wanted, "id \"%s\"", id);
        char line[255];
        while (read_line(file, line, sizeof line)) {
            if (line[0] == ' ' || line[0] == ';') continue;
            if (!std::strstr(line, wanted)) continue;
            send_line(line);
            if (std::strlen(line) > 8) set_game_fen(line);
            break;
        }
        std::fclose(file);
    }
    show_game_position();
    tt_clear();
}

void load_pgn_game(const char* file_name, const char* tag) {
    abandon_search_and_wait();
    send_linef("loading %s, tag %s\n", file_name, tag);
    if (std::FILE* file = open_text_input(file_name, true)) {
        set_game_fen(kStartFen);
        const int wanted = choose_game(file, tag);
        char line[kPgnLineSize];
        int game = 0;
        int brace_depth = 0;
        bool playing = true;
        while (playing && read_line(file, line, sizeof line)) {
            if (std::strstr(line, "[Event ")) ++game;
            if (game > wanted) break;
            if ((game == 0 ? 1 : game) != wanted || (line[0] == '[' && brace_depth == 0)) continue;
            // Comments in braces are dropped, also across lines.
            char text[kPgnLineSize];
            std::size_t n = 0;
            for (const char* c = line; *c; ++c) {
                if (*c == '{') ++brace_depth;
                else if (*c == '}') brace_depth = brace_depth > 0 ? brace_depth - 1 : 0;
                else if (brace_depth == 0) text[n++] = *c;
            }
            text[n] = '\0';
            playing = play_move_text(text);
        }
        std::fclose(file);
    }
    game_block().history[game_block().history_count].move = 0;
    show_game_position();
    limits.clock[0] = limits.clock[1] = limits.move_time;
}

void save_game() {
    abandon_search_and_wait();
    std::FILE* file = std::fopen("tmp.pgn", "a");
    if (!file) return;
    ThreadData& block = game_block();
    const int played = block.history_count;
    Move moves[kMaxHistory];
    for (int i = 0; i < played; ++i) moves[i] = block.history[i].move;
    const Move replay_next = block.history[played].move;
    while (block.history_count > 0) unmake_move(block.pos);

    std::fputs("[Event \"Unknown\"]\n", file);
    for (int i = 0; i < played; ++i) {
        char coordinate[kMoveTextSize], san[kMoveTextSize], with_file[kMoveTextSize],
            with_rank[kMoveTextSize];
        move_to_san(block.pos, moves[i], coordinate, san, with_file, with_rank);
        std::fprintf(file, "%s ", san);
        if ((i + 1) % 11 == 0) std::fputc('\n', file);
        make_move(block.pos, moves[i]);
    }
    std::fputs("\n\n", file);
    std::fclose(file);
    block.history[played].move = replay_next;
}

}  // namespace vorn
