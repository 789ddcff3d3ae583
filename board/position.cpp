#include "board/position.h"

#include <bit>
#include <cstring>

#include "core/output.h"

uint64_t zobrist_piece[16][64];
uint64_t zobrist_extra[66];
const uint64_t zobrist_side[2] = {0, 0xFFFFFFFFFFFFFFFFull};

namespace {

// A fixed linear congruential sequence, so every run builds the same keys.
struct KeyGenerator {
    uint32_t state = 1;
    uint32_t draw() {
        state = state * 98765u + 123456789u;
        return state;
    }
    uint64_t key() {
        uint64_t high = draw();
        return (high << 32) | draw();
    }
};

// Two keys are too alike when either half of their XOR has fewer than 4 bits set.
bool too_alike(uint64_t a, uint64_t b) {
    uint64_t x = a ^ b;
    return std::popcount(uint32_t(x)) < 4 || std::popcount(uint32_t(x >> 32)) < 4;
}

}  // namespace

void init_hash_keys_tables() {
    // The first key is never 0, so a filled table shows itself.
    if (zobrist_piece[0][0] != 0) return;
    KeyGenerator gen;
    uint64_t* keys = &zobrist_piece[0][0];
    for (int i = 0; i < 16 * 64; i++) {
        uint64_t key = 0;
        bool accepted = false;
        for (int attempt = 0; attempt < 5 && !accepted; attempt++) {
            key = gen.key();
            accepted = true;
            for (int j = 0; j < i && accepted; j++) accepted = !too_alike(key, keys[j]);
        }
        if (!accepted) send_line("bad hashcode");
        keys[i] = key;
    }
    for (uint64_t& key : zobrist_extra) key = gen.key();
}

void clear_position(Position& pos) {
    std::memset(pos.board, 0, sizeof pos.board);
    std::memset(pos.pieces, 0, sizeof pos.pieces);
    std::memset(pos.piece_list, kNoSquare, sizeof pos.piece_list);
    pos.piece_counts[0] = pos.piece_counts[1] = 0;
    pos.phase_material[0] = pos.phase_material[1] = 0;
    pos.fifty_count = 0;
    pos.castling = 15;
    pos.ep_square = kNoSquare;
    if (pos.owner) {
        pos.owner->history_count = 0;
        pos.owner->ply = 1;
        pos.owner->last_move = 0;
    }
}

void compute_keys(Position& pos) {
    pos.hash_key = 0;
    pos.pawn_key = 0;
    // Only the occupied squares: a sparse board (an endgame) costs little.
    for (Bitboard occupied = pos.pieces[kWhite][0] | pos.pieces[kBlack][0]; occupied;
         occupied &= occupied - 1) {
        const int sq = std::countr_zero(occupied);
        toggle_key(pos, pos.board[sq], sq);
    }
}

namespace {

int piece_from_letter(char c) {
    switch (c) {
        case 'P': return piece_code(kWhite, kPawn);
        case 'N': return piece_code(kWhite, kKnight);
        case 'B': return piece_code(kWhite, kBishop);
        case 'R': return piece_code(kWhite, kRook);
        case 'Q': return piece_code(kWhite, kQueen);
        case 'K': return piece_code(kWhite, kKing);
        case 'p': return piece_code(kBlack, kPawn);
        case 'n': return piece_code(kBlack, kKnight);
        case 'b': return piece_code(kBlack, kBishop);
        case 'r': return piece_code(kBlack, kRook);
        case 'q': return piece_code(kBlack, kQueen);
        case 'k': return piece_code(kBlack, kKing);
        default: return 0;
    }
}

// An en-passant square is kept only where a pawn of the other side has just
// made a double step past it; anything else would let make_move take a piece
// that is not there.
bool ep_square_plausible(const Position& pos, int ep) {
    int stm = pos.side_to_move;
    int required_rank = stm == kWhite ? 5 : 2;
    if (rank_of(ep) != required_rank || pos.board[ep] != 0) return false;
    int pawn_square = stm == kWhite ? ep - 8 : ep + 8;
    return pos.board[pawn_square] == piece_code(stm ^ 1, kPawn);
}

}  // namespace

void parse_fen(Position& pos, const char* text) {
    clear_position(pos);
    pos.side_to_move &= 1;
    const char* p = text;

    // Placement. `square` 64 marks "ran off the board below rank 1": further
    // pieces are ignored.
    int square = 56;
    for (; *p && *p != ' '; p++) {
        char c = *p;
        if (square == kNoSquare) continue;
        int h_file = (square & 0xF8) + 7;
        if (c >= '0' && c <= '9') {
            square = square + (c - '0') > h_file ? h_file : square + (c - '0');
        } else if (c == '/') {
            square = square >= 8 ? (square & 0xF8) - 8 : kNoSquare;
        } else {
            int code = piece_from_letter(c);
            if (code && pos.board[square] == 0)
                add_piece(pos, piece_side(code), piece_type(code), square);
            if (square != h_file) square++;
        }
    }

    // Side to move.
    if (*p == ' ') {
        p++;
        if (*p == 'w') pos.side_to_move = kWhite;
        if (*p == 'b') pos.side_to_move = kBlack;
        if (*p) p++;
    }

    // Castling rights.
    pos.castling = 0;
    while (*p == ' ') p++;
    for (; *p && *p != ' '; p++) {
        if (*p == 'K') pos.castling |= kCastleWhiteKing;
        if (*p == 'Q') pos.castling |= kCastleWhiteQueen;
        if (*p == 'k') pos.castling |= kCastleBlackKing;
        if (*p == 'q') pos.castling |= kCastleBlackQueen;
    }

    // En-passant square.
    int ep = kNoSquare;
    while (*p == ' ') p++;
    for (; *p && *p != ' '; p++) {
        if (*p >= 'a' && *p <= 'h') ep = *p - 'a';
        else if (*p >= '1' && *p <= '8' && ep != kNoSquare) ep = (ep + 8 * (*p - '1')) & 63;
    }
    pos.ep_square = uint8_t(ep != kNoSquare && ep_square_plausible(pos, ep) ? ep : kNoSquare);

    if (pos.owner) {
        std::memset(pos.owner->history, 0, 2 * sizeof(HistoryEntry));
        pos.owner->history_count = 0;
    }

    // Castling rights need the king and the rook on their original squares.
    uint8_t before = pos.castling;
    const uint8_t* b = pos.board;
    bool white_king = b[4] == piece_code(kWhite, kKing);
    bool black_king = b[60] == piece_code(kBlack, kKing);
    if (!(white_king && b[7] == piece_code(kWhite, kRook))) pos.castling &= ~kCastleWhiteKing;
    if (!(white_king && b[0] == piece_code(kWhite, kRook))) pos.castling &= ~kCastleWhiteQueen;
    if (!(black_king && b[63] == piece_code(kBlack, kRook))) pos.castling &= ~kCastleBlackKing;
    if (!(black_king && b[56] == piece_code(kBlack, kRook))) pos.castling &= ~kCastleBlackQueen;

    compute_keys(pos);
    if (pos.castling != before) send_line("Illegal EPD record");
}

void position_to_fen(const Position& pos, char* buffer) {
    static constexpr char kLetters[] = " PNBRQK  pnbrqk ";
    char* out = buffer;
    for (int rank = 7; rank >= 0; rank--) {
        int empty = 0;
        for (int file = 0; file < 8; file++) {
            int code = pos.board[rank * 8 + file];
            if (code == 0) {
                empty++;
                continue;
            }
            if (empty) *out++ = char('0' + empty);
            empty = 0;
            *out++ = kLetters[code & 15];
        }
        if (empty) *out++ = char('0' + empty);
        if (rank) *out++ = '/';
    }
    *out++ = ' ';
    *out++ = pos.side_to_move ? 'b' : 'w';
    *out++ = ' ';
    if (pos.castling & kCastleWhiteKing) *out++ = 'K';
    if (pos.castling & kCastleWhiteQueen) *out++ = 'Q';
    if (pos.castling & kCastleBlackKing) *out++ = 'k';
    if (pos.castling & kCastleBlackQueen) *out++ = 'q';
    if ((pos.castling & 15) == 0) *out++ = '-';
    *out++ = ' ';
    if (pos.ep_square < 64) {
        *out++ = char('a' + file_of(pos.ep_square));
        *out++ = char('1' + rank_of(pos.ep_square));
    } else {
        *out++ = '-';
    }
    *out = 0;
}

void board_text(const Position& pos, char* buffer) {
    // Indexed by piece code; a black pawn prints as "o".
    static constexpr char kLetters[] = "-PNBRQK--onbrqk";
    position_to_fen(pos, buffer);
    char* out = buffer + std::strlen(buffer);
    *out++ = '\n';
    for (int rank = 7; rank >= 0; rank--) {
        for (int file = 0; file < 8; file++) {
            int code = pos.board[rank * 8 + file];
            *out++ = ' ';
            if (code == 0) *out++ = (file + rank) % 2 == 0 ? '+' : '-';
            else *out++ = kLetters[code & 15];
        }
        *out++ = '\n';
    }
    std::strcpy(out, pos.side_to_move ? "black\n" : "white\n");
}

void print_board(const Position& pos) {
    char text[kBoardTextSize];
    board_text(pos, text);
    send_line(text);
}
