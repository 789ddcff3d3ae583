#include "board/notation.h"

#include <cstring>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "core/output.h"
#include "core/shell_state.h"

namespace vorn {

const char square_names[64][3] = {
    "a1", "b1", "c1", "d1", "e1", "f1", "g1", "h1", "a2", "b2", "c2", "d2", "e2", "f2", "g2", "h2",
    "a3", "b3", "c3", "d3", "e3", "f3", "g3", "h3", "a4", "b4", "c4", "d4", "e4", "f4", "g4", "h4",
    "a5", "b5", "c5", "d5", "e5", "f5", "g5", "h5", "a6", "b6", "c6", "d6", "e6", "f6", "g6", "h6",
    "a7", "b7", "c7", "d7", "e7", "f7", "g7", "h7", "a8", "b8", "c8", "d8", "e8", "f8", "g8", "h8",
};

namespace {

constexpr char kPieceLetters[] = " PNBRQK";

// "=Q", "=N", "=B" or "=R" for a promotion.
const char* promotion_suffix(Move move) {
    switch (promotion_type(move)) {
        case kKnight: return "=N";
        case kBishop: return "=B";
        case kRook: return "=R";
        default: return "=Q";
    }
}

char upper(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }

}  // namespace

char* move_to_text(Move move, char* buffer) {
    if (move == 0) {
        std::strcpy(buffer, "null");
        return buffer;
    }
    std::strcpy(buffer, square_names[move_from(move)]);
    std::strcat(buffer, square_names[move_to(move)]);
    if (is_promotion(move)) {
        if (shell.protocol_mode == PROTOCOL_UCI) {
            static constexpr char kUciLetters[] = " pnbrqk";
            buffer[4] = kUciLetters[promotion_type(move)];
            buffer[5] = 0;
        } else {
            std::strcat(buffer, promotion_suffix(move));
        }
    }
    return buffer;
}

void move_to_san(const Position& pos, Move move, char* coordinate, char* san,
                 char* san_with_file, char* san_with_rank) {
    int side = pos.side_to_move;
    int from = move_from(move), to = move_to(move);
    int mover = pos.board[from];
    int type = piece_type(mover);
    bool capture = pos.board[to] != 0;

    move_to_text(move, coordinate);
    if (type == kPawn && is_promotion(move)) {
        coordinate[4] = 0;
        std::strcat(coordinate, promotion_suffix(move));
    }

    if (type != kPawn) {
        char letter = kPieceLetters[type];
        san[0] = letter;
        san[1] = 0;
        san_with_file[0] = letter;
        san_with_file[1] = char('a' + file_of(from));
        san_with_file[2] = 0;
        san_with_rank[0] = letter;
        san_with_rank[1] = char('1' + rank_of(from));
        san_with_rank[2] = 0;

        Bitboard occupancy = pos.pieces[0][0] | pos.pieces[1][0];
        Bitboard reach = 0;
        if (type == kKnight) reach = knight_attacks[to];
        if (type == kBishop || type == kQueen) reach |= bishop_attacks(to, occupancy);
        if (type == kRook || type == kQueen) reach |= rook_attacks(to, occupancy);
        if (type == kKing) reach = king_attacks[to];
        Bitboard candidates = reach & pos.pieces[side][type] & ~square_bit(from);
        if (candidates) {
            bool same_file = false, same_rank = false;
            for (Bitboard b = candidates; b; b &= b - 1) {
                same_file |= file_of(lowest_square(b)) == file_of(from);
                same_rank |= rank_of(lowest_square(b)) == rank_of(from);
            }
            if (!same_file) {
                san[1] = san_with_file[1];
                san[2] = 0;
            } else if (!same_rank) {
                san[1] = san_with_rank[1];
                san[2] = 0;
            } else {
                san[1] = san_with_file[1];
                san[2] = san_with_rank[1];
                san[3] = 0;
            }
        }
        if (capture) {
            std::strcat(san, "x");
            std::strcat(san_with_file, "x");
            std::strcat(san_with_rank, "x");
        }
        std::strcat(san, square_names[to]);
        std::strcat(san_with_file, square_names[to]);
        std::strcat(san_with_rank, square_names[to]);

        // Castling is the king's two-square step or, in Chess960, the king
        // taking its own rook.
        const bool onto_own_rook = capture && piece_side(pos.board[to]) == side;
        if (type == kKing && (onto_own_rook ? to > from : to == from + 2)) {
            std::strcpy(san, "o-o");
            std::strcpy(san_with_file, "O-O");
            std::strcpy(san_with_rank, "0-0");
        } else if (type == kKing && (onto_own_rook || to == from - 2)) {
            std::strcpy(san, "o-o-o");
            std::strcpy(san_with_file, "O-O-O");
            std::strcpy(san_with_rank, "0-0-0");
        }
    } else {
        san_with_rank[0] = 0;
        if (capture || to == pos.ep_square) {
            san[0] = char('a' + file_of(from));
            san[1] = 'x';
            std::strcpy(san + 2, square_names[to]);
            san_with_file[0] = char('a' + file_of(from));
            san_with_file[1] = char('a' + file_of(to));
            san_with_file[2] = 0;
        } else {
            std::strcpy(san, square_names[to]);
            san_with_file[0] = 0;
        }
        if (is_promotion(move)) {
            std::strcat(san, promotion_suffix(move));
            std::strcat(san_with_file, promotion_suffix(move));
        }
    }

    MoveEntry entry{move, 0, uint8_t(mover), pos.board[to]};
    if (gives_check(pos, side, entry)) {
        std::strcat(coordinate, "+");
        std::strcat(san, "+");
        std::strcat(san_with_file, "+");
        std::strcat(san_with_rank, "+");
    }
}

namespace {

void strip_plus(char* text) {
    char* plus = std::strchr(text, '+');
    if (plus) *plus = 0;
}

}  // namespace

int parse_move(const Position& pos, const char* text, Move* result) {
    // Longer input cannot name a move; it is cut rather than copied whole.
    char wanted[kMoveTextSize + 2];
    std::strncpy(wanted, text, kMoveTextSize);
    wanted[kMoveTextSize] = 0;
    strip_plus(wanted);
    size_t length = std::strlen(wanted);
    if (length == 0) return 0;  // would match every pawn push's empty short forms

    // A trailing piece letter, small or capital, is read as a promotion.
    char last = upper(wanted[length - 1]);
    if (last == 'B' || last == 'N' || last == 'Q' || last == 'R') {
        if (length >= 2 && wanted[length - 2] == '=') {
            wanted[length - 1] = last;
        } else {
            wanted[length - 1] = '=';
            wanted[length] = last;
            wanted[length + 1] = 0;
        }
    }
    for (char* c = wanted; *c; c++)
        if (*c == 'O' || *c == '0') *c = 'o';

    MoveEntry moves[kMaxMoves];
    generate_all(pos, moves);
    int matches = 0;
    for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) {
        char forms[4][kMoveTextSize];
        move_to_san(pos, m->move, forms[0], forms[1], forms[2], forms[3]);
        bool same = false;
        for (auto& form : forms) {
            strip_plus(form);
            same |= std::strcmp(form, wanted) == 0;
        }
        if (same && is_legal(pos, pos.side_to_move, m->move)) {
            *result = m->move;
            matches++;
        }
    }
    if (matches == 2) print_unlogged("ambiguous move");
    return matches == 1;
}

}  // namespace vorn
