#include "board/position.h"

#include <bit>
#include <cstring>
#include <utility>

#include "core/output.h"
#include "core/shell_state.h"

namespace vorn {

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
    pos.castle_king[kWhite] = 4;
    pos.castle_king[kBlack] = 60;
    static constexpr uint8_t kCornerRooks[4] = {7, 0, 63, 56};
    std::memcpy(pos.castle_rook, kCornerRooks, sizeof kCornerRooks);
    build_castling_tables(pos);
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

bool on_back_rank(int side, int square) { return square < 64 && rank_of(square) == 7 * side; }

// The squares from a to b, both included, on one rank.
Bitboard rank_span(int a, int b) {
    if (a > b) std::swap(a, b);
    return (~Bitboard(0) >> (63 - b)) & (~Bitboard(0) << a);
}

// The rook of `side` farthest from its king on one side of it, on the back
// rank, or kNoSquare.
int outermost_rook(const Position& pos, int side, bool king_side) {
    int king = pos.castle_king[side];
    if (king == kNoSquare) return kNoSquare;
    int corner = 56 * side + (king_side ? 7 : 0);
    int step = king_side ? -1 : 1;
    for (int sq = corner; sq != king; sq += step)
        if (pos.board[sq] == piece_code(side, kRook)) return sq;
    return kNoSquare;
}

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

// The right and the rook square a castling letter names: K, Q, k, q the
// outermost rook on that side of the king, a file letter the rook on that
// file (capital for White). The square is kNoSquare when no rook fits.
// False for a letter that names no right, such as "-".
bool castling_letter_rook(const Position& pos, char letter, int& right, int& rook) {
    if (letter == 'K' || letter == 'Q' || letter == 'k' || letter == 'q') {
        const int side = letter == 'k' || letter == 'q' ? kBlack : kWhite;
        const bool king_side = letter == 'K' || letter == 'k';
        right = castle_right(side, king_side);
        rook = outermost_rook(pos, side, king_side);
        return true;
    }
    int side, file;
    if (letter >= 'A' && letter <= 'H') side = kWhite, file = letter - 'A';
    else if (letter >= 'a' && letter <= 'h') side = kBlack, file = letter - 'a';
    else return false;
    const int king = pos.castle_king[side];
    right = castle_right(side, king == kNoSquare || file > file_of(king));
    rook = 56 * side + file;
    return true;
}

}  // namespace

void build_castling_tables(Position& pos) {
    std::memset(pos.castle_mask, 0, sizeof pos.castle_mask);
    for (int right = 0; right < 4; right++) {
        const int side = right >> 1;
        const bool king_side = (right & 1) == 0;
        const int king = pos.castle_king[side], rook = pos.castle_rook[right];
        pos.castle_move[right] = 0;
        pos.castle_empty[right] = ~Bitboard(0);  // a right not held never castles
        pos.castle_path[right] = 0;
        if (!(pos.castling & (1 << right)) || king >= 64 || rook >= 64) continue;
        const int king_to = castled_king_square(side, king_side);
        const int rook_to = castled_rook_square(side, king_side);
        const bool standard = king == 56 * side + 4 && rook == (king_side ? king + 3 : king - 4);
        pos.castle_move[right] = encode_move(king, standard && !shell.chess960 ? king_to : rook);
        pos.castle_path[right] = rank_span(king, king_to);
        pos.castle_empty[right] =
            (rank_span(king, king_to) | rank_span(rook, rook_to)) & ~square_bit(king) & ~square_bit(rook);
        pos.castle_mask[king] |= side == kWhite ? kCastleWhiteKing | kCastleWhiteQueen
                                                : kCastleBlackKing | kCastleBlackQueen;
        pos.castle_mask[rook] |= uint8_t(1 << right);
    }
}

bool drop_unsupported_castling(Position& pos) {
    const uint8_t before = pos.castling;
    for (int right = 0; right < 4; right++) {
        const int side = right >> 1;
        const int king = pos.castle_king[side], rook = pos.castle_rook[right];
        const bool held = on_back_rank(side, king) && on_back_rank(side, rook) &&
                          pos.board[king] == piece_code(side, kKing) &&
                          pos.board[rook] == piece_code(side, kRook) &&
                          ((right & 1) == 0 ? rook > king : rook < king);
        if (!held) pos.castling &= uint8_t(~(1 << right));
    }
    build_castling_tables(pos);
    return pos.castling != before;
}

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

    // Castling rights: the king castles from where it stands; each letter
    // names the rook. Naming two rooks for one right makes the record bad.
    pos.castling = 0;
    for (int side = 0; side < 2; side++) {
        int king = pos.piece_list[side][kKing][0];
        pos.castle_king[side] = uint8_t(on_back_rank(side, king) ? king : kNoSquare);
    }
    bool two_rooks_named = false;
    while (*p == ' ') p++;
    for (; *p && *p != ' '; p++) {
        int right, rook;
        if (!castling_letter_rook(pos, *p, right, rook)) continue;
        if (pos.castling & (1 << right)) {
            two_rooks_named |= pos.castle_rook[right] != rook;
            continue;
        }
        pos.castling |= uint8_t(1 << right);
        pos.castle_rook[right] = uint8_t(rook);
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

    const bool dropped = drop_unsupported_castling(pos);
    compute_keys(pos);
    if (dropped || two_rooks_named) send_line("Illegal EPD record");
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
    for (int right = 0; right < 4; right++) {
        if (!(pos.castling & (1 << right))) continue;
        const int side = right >> 1;
        const bool king_side = (right & 1) == 0;
        const int rook = pos.castle_rook[right];
        char letter = outermost_rook(pos, side, king_side) == rook ? (king_side ? 'K' : 'Q')
                                                                   : char('A' + file_of(rook));
        *out++ = side == kWhite ? letter : char(letter - 'A' + 'a');
    }
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

}  // namespace vorn
