#include "shell/console_editor.h"

#include <cstring>
#include <string>

#include "board/position.h"
#include "shell/console_commands.h"
#include "core/output.h"
#include "shell/game_position.h"
#include "shell/input_reader.h"
#include "core/words.h"

namespace vorn {

namespace {

int piece_type_of(char letter) {
    switch (letter) {
        case 'P': case 'p': return kPawn;
        case 'N': case 'n': return kKnight;
        case 'B': case 'b': return kBishop;
        case 'R': case 'r': return kRook;
        case 'Q': case 'q': return kQueen;
        case 'K': case 'k': return kKing;
        default: return 0;
    }
}

void edit_line(Position& pos, const char* line) {
    if (line[0] == '#') clear_position(pos);
    CommandWords words;
    split_words(line, words);
    int side;
    if (words[0][0] == 'w') side = kWhite;
    else if (words[0][0] == 'b') side = kBlack;
    else return;
    pos.side_to_move = static_cast<uint8_t>(side);
    for (int i = 1; i < kCommandWordCount && words[i][0]; ++i) {
        const char* word = words[i];
        if (word[1] < 'a' || word[1] > 'h' || word[2] < '1' || word[2] > '8') return;
        int square = (word[1] - 'a') + 8 * (word[2] - '1');
        if (pos.board[square]) remove_piece(pos, square);
        if (int type = piece_type_of(word[0])) add_piece(pos, side, type, square);
    }
}

}  // namespace

void edit_position() {
    abandon_search_and_wait();
    send_line("\n");
    send_line(".                    end edit");
    send_line("#                    clear board");
    send_line("w  Pa2 Pb2 Kc2       white, pieces");
    send_line("b  Pa7 Pb7 Kc7       black, pieces");
    Position& pos = game_position();
    std::string typed;
    char line[78];
    // The editor's lines come through the same reader as commands, so lines
    // typed ahead are not lost; the end of input ends the editing too.
    while (wait_for_line(console_input, typed)) {
        copy_text(line, sizeof line, typed.c_str());
        if (line[0] == '.') break;
        edit_line(pos, line);
    }
    // Rights survive only with king and rook still on their squares.
    drop_unsupported_castling(pos);
    compute_keys(pos);
    game_block().history_count = 0;
    game_block().history[0].move = 0;
    game_block().last_move = 0;
    show_game_position();
}

}  // namespace vorn
