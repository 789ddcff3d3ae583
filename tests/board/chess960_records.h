#pragma once
// The Chess960 perft records made by scripts/chess960_perft.py from an
// independent engine: every start position (written as its white back rank)
// and positions reached by play with castling rights left.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "board/perft.h"
#include "board/position.h"
#include "core/shell_state.h"
#include "tests/fen_board.h"

namespace vorn {

struct PerftRecord {
    std::string fen;
    std::vector<std::pair<int, uint64_t>> counts;  // depth, nodes
};

// The start position of a back rank such as "BBQNNRKR", its castling field in
// Shredder form (rook files) or as KQkq.
inline std::string chess960_start_fen(const std::string& rank, bool shredder) {
    std::string black = rank, castling = "KQkq";
    for (char& c : black) c = char(c - 'A' + 'a');
    if (shredder) {
        const char queen_rook = char('A' + rank.find('R')), king_rook = char('A' + rank.rfind('R'));
        castling = {king_rook, queen_rook, char(king_rook + 32), char(queen_rook + 32)};
    }
    return black + "/pppppppp/8/8/8/8/PPPPPPPP/" + rank + " w " + castling + " -";
}

// Lines "<FEN or back rank> ;D<depth> <nodes> ...". Start positions
// alternate between the two castling forms.
inline std::vector<PerftRecord> read_chess960_records(const char* file) {
    std::vector<PerftRecord> records;
    std::ifstream in(std::string(VORN_SOURCE_DIR) + "/tests/board/" + file);
    std::string line;
    while (std::getline(in, line)) {
        std::size_t fields = line.find(" ;D");
        if (fields == std::string::npos) continue;
        PerftRecord record{line.substr(0, fields), {}};
        if (record.fen.find('/') == std::string::npos)
            record.fen = chess960_start_fen(record.fen, records.size() % 2 == 1);
        std::istringstream counts(line.substr(fields));
        std::string depth;
        uint64_t nodes;
        while (counts >> depth >> nodes) record.counts.emplace_back(std::stoi(depth.substr(2)), nodes);
        records.push_back(record);
    }
    return records;
}

// Checks every total of the records up to max_nodes leaves, half the records
// with castling written as king takes rook (UCI_Chess960 on).
inline void expect_chess960_totals(uint64_t max_nodes) {
    const std::pair<const char*, std::size_t> files[] = {{"chess960_starts.txt", 960}, {"chess960_played.txt", 40}};
    for (const auto& [file, at_least] : files) {
        const std::vector<PerftRecord> records = read_chess960_records(file);
        ASSERT_GE(records.size(), at_least) << file;
        for (std::size_t i = 0; i < records.size(); i++) {
            shell.chess960 = i % 4 < 2;
            FenBoard board(records[i].fen.c_str());
            for (const auto& [depth, nodes] : records[i].counts) {
                if (nodes > max_nodes) continue;
                EXPECT_EQ(perft(board.pos, board.pos.side_to_move, depth), nodes) << records[i].fen << " depth " << depth;
            }
        }
    }
    shell.chess960 = false;
}

}  // namespace vorn
