#pragma once
// A position with a history block of its own, set from FEN text, and the FEN
// text of a position. The board tables must be built before either is used.

#include <memory>
#include <string>

#include "board/position.h"

namespace vorn {

struct FenBoard {
    std::unique_ptr<BoardHistory> history = std::make_unique<BoardHistory>();
    Position pos{};
    explicit FenBoard(const char* fen = kStartFen) {
        pos.owner = history.get();
        parse_fen(pos, fen);
    }
};

inline std::string fen_of(const Position& pos) {
    char buffer[kFenBufferSize];
    position_to_fen(pos, buffer);
    return buffer;
}

}  // namespace vorn
