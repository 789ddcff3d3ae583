#include "tests/tablebase/tb_fixture.h"

#include <bit>

TbPosition random_position(const std::string& material, std::mt19937& rng) {
    const std::size_t v = material.find('v');
    const bool swap = rng() & 1;
    for (;;) {
        TbPosition p{};
        p.turn = rng() & 1;
        Bitboard occupied = 0;
        for (std::size_t i = 0; i < material.size(); i++) {
            if (i == v) continue;
            const int colour = (i > v) ^ int(swap);
            const char letter = material[i];
            const int type = letter == 'K' ? kKing : letter == 'Q' ? kQueen : letter == 'R' ? kRook
                           : letter == 'B' ? kBishop : letter == 'N' ? kKnight : kPawn;
            int square;
            do square = int(rng() % 64);
            while ((occupied & square_bit(square)) || (type == kPawn && (square < 8 || square > 55)));
            occupied |= square_bit(square);
            (colour == kWhite ? p.white : p.black) |= square_bit(square);
            Bitboard* boards[7] = {nullptr, &p.pawns, &p.knights, &p.bishops, &p.rooks, &p.queens, &p.kings};
            *boards[type] |= square_bit(square);
        }
        const int wk = std::countr_zero(p.kings & p.white), bk = std::countr_zero(p.kings & p.black);
        if (king_attacks[wk] & square_bit(bk)) continue;
        TbPosition other = p;
        other.turn ^= 1;
        if (!tb_in_check(other)) return p;
    }
}

TbPosition colour_reversed(const TbPosition& p) {
    auto turn = [](Bitboard b) { return __builtin_bswap64(b); };
    TbPosition r = p;
    r.white = turn(p.black);
    r.black = turn(p.white);
    for (Bitboard TbPosition::*field : {&TbPosition::kings, &TbPosition::queens, &TbPosition::rooks,
                                        &TbPosition::bishops, &TbPosition::knights, &TbPosition::pawns})
        r.*field = turn(p.*field);
    r.ep = p.ep ? uint8_t(p.ep ^ 56) : 0;
    r.turn = uint8_t(p.turn ^ 1);
    return r;
}
