#pragma once
// The Chess960 perft records made by scripts/chess960_perft.py from an
// independent engine: every start position (written as its white back rank)
// and positions reached by play with castling rights left.

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

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
