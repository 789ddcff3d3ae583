#include "tests/tablebase/tb_fixture.h"

#include <dirent.h>

#include <algorithm>
#include <bit>

namespace vorn {

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

std::vector<std::string> shared_materials() {
    std::vector<std::string> materials;
    if (DIR* dir = opendir(kTableDir.c_str())) {
        while (dirent* e = readdir(dir)) {
            const std::string name = e->d_name;
            if (name.size() > 5 && name.substr(name.size() - 5) == ".rtbw") materials.push_back(name.substr(0, name.size() - 5));
        }
        closedir(dir);
    }
    std::sort(materials.begin(), materials.end());
    return materials;
}

void counts_of(const std::string& material, int counts[2][7]) {
    for (int c = 0; c < 2; c++)
        for (int t = 0; t < 7; t++) counts[c][t] = 0;
    int colour = -1;
    for (char letter : material) {
        if (letter == 'v') continue;
        colour += letter == 'K';
        counts[colour][std::string(" PNBRQK").find(letter)]++;
    }
}

}  // namespace vorn
