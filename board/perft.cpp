#include "board/perft.h"

#include <bit>
#include <initializer_list>

#include "board/attacks.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "core/output.h"

namespace vorn {

namespace {

inline Bitboard shifted(Bitboard b, int n) { return n > 0 ? b << n : b >> -n; }

uint64_t count_listed(const Position& pos, int side, const LegalityShortcut& shortcut) {
    MoveEntry moves[kMaxMoves];
    generate_all(pos, moves);
    uint64_t count = 0;
    for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) count += is_legal_with(pos, side, shortcut, m->move);
    return count;
}

// The number of moves generate_all lists that is_legal accepts, found without
// listing them: with the king out of check, every move of a piece that is
// neither pinned nor a king is legal, so those are counted a set at a time.
// The rest (pinned pieces, kings, castling, anything landing on the
// en-passant square) goes through is_legal one by one. In check, or with an
// en-passant square on a promotion rank (set up by hand), the moves are
// listed and tested as at every other depth.
uint64_t count_legal_moves(const Position& pos, int side, const LegalityShortcut& shortcut) {
    const Bitboard ep = pos.ep_square < 64 ? square_bit(pos.ep_square) : 0;
    if (shortcut.in_check || (ep & (rank_bits(0) | rank_bits(7)))) return count_listed(pos, side, shortcut);

    const Bitboard own = pos.pieces[side][0], enemy = pos.pieces[side ^ 1][0];
    const Bitboard occupancy = own | enemy, empty = ~occupancy;
    const Bitboard tested = shortcut.needs_test;
    uint64_t count = 0;
    // Moves to `targets` from the squares `to - shift`, each worth `weight`.
    auto add = [&](Bitboard targets, int shift, int weight) {
        Bitboard bulk = targets & ~ep & ~shifted(tested, shift);
        count += uint64_t(weight) * std::popcount(bulk);
        for (Bitboard t = targets & ~bulk; t; t &= t - 1) {
            int to = lowest_square(t);
            if (is_legal(pos, side, encode_move(to - shift, to))) count += weight;
        }
    };
    // Moves of the piece on each square of the type's list to its `attacks`.
    auto add_piece_moves = [&](int type, auto attacks) {
        for (const uint8_t* s = pos.piece_list[side][type]; *s != kNoSquare; s++) {
            const int from = *s;
            const Bitboard targets = attacks(from) & ~own;
            const Bitboard bulk = (tested & square_bit(from)) ? 0 : targets & ~ep;
            count += std::popcount(bulk);
            for (Bitboard t = targets & ~bulk; t; t &= t - 1)
                count += is_legal(pos, side, encode_move(from, lowest_square(t)));
        }
    };

    const int up = side == kWhite ? 8 : -8;
    const Bitboard pawns = pos.pieces[side][kPawn];
    const Bitboard seventh = side == kWhite ? rank_bits(6) : rank_bits(1);
    const Bitboard movers = pawns & ~(seventh | (side == kWhite ? rank_bits(7) : rank_bits(0)));
    add(shifted(movers & ~file_bits(0), up - 1) & (enemy | ep), up - 1, 1);
    add(shifted(movers & ~file_bits(7), up + 1) & (enemy | ep), up + 1, 1);
    const Bitboard single = shifted(movers, up) & empty;
    add(single, up, 1);
    add(shifted(single & (side == kWhite ? rank_bits(2) : rank_bits(5)), up) & empty, 2 * up, 1);
    if (const Bitboard promoting = pawns & seventh) {
        int kinds = 0;  // promotions to a type whose list is full are not generated
        for (int type : {kKnight, kBishop, kRook, kQueen})
            kinds += pos.piece_list[side][type][kMaxPiecesPerList - 1] == kNoSquare;
        add(shifted(promoting, up) & empty, up, kinds);
        add(shifted(promoting & ~file_bits(0), up - 1) & enemy, up - 1, kinds);
        add(shifted(promoting & ~file_bits(7), up + 1) & enemy, up + 1, kinds);
    }

    add_piece_moves(kKnight, [](int s) { return knight_attacks[s]; });
    add_piece_moves(kBishop, [&](int s) { return bishop_attacks(s, occupancy); });
    add_piece_moves(kRook, [&](int s) { return rook_attacks(s, occupancy); });
    add_piece_moves(kQueen, [&](int s) { return queen_attacks(s, occupancy); });
    add_piece_moves(kKing, [](int s) { return king_attacks[s]; });
    for (int right = castle_right(side, true); right <= castle_right(side, false); right++)
        if ((pos.castling & (1 << right)) && !(occupancy & pos.castle_empty[right]))
            count += is_legal(pos, side, pos.castle_move[right]);
    return count;
}

}  // namespace

uint64_t perft(Position& pos, int side, int depth) {
    if (depth <= 0) return 0;
    // Pins and check are found once per node; only the moves they affect
    // (and king moves and en passant) go through the full legality test.
    LegalityShortcut shortcut = legality_shortcut(pos, side);
    if (depth == 1) return count_legal_moves(pos, side, shortcut);
    MoveEntry moves[kMaxMoves];
    generate_all(pos, moves);
    uint64_t nodes = 0;
    for (const MoveEntry* m = moves; m->move != kMoveListEnd; m++) {
        if (!is_legal_with(pos, side, shortcut, m->move)) continue;
        make_move(pos, m->move);
        nodes += perft(pos, side ^ 1, depth - 1);
        unmake_move(pos);
    }
    return nodes;
}

void print_perft_result(uint64_t nodes, double seconds) {
    send_linef("visited %0.0f nodes in %0.3f seconds, nps= %0.0f", double(nodes), seconds,
               double(nodes) / (seconds + 0.001));
}

}  // namespace vorn
