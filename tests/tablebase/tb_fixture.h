#pragma once
// Shared set-up of the tablebase tests: board tables built once, the
// published tables of the shared folder registered, positions from FEN.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/position.h"
#include "tablebase/probe.h"
#include "tablebase/tb_position.h"
#include "tests/fen_board.h"
#include "tests/scratch_directory.h"

namespace vorn {

inline const std::string kTableDir = std::string(VORN_SOURCE_DIR) + "/../shared/syzygy";

inline std::string& registered_path() {
    static std::string path = "-";
    return path;
}

// Re-initialises along another path; returns what tb_init printed.
inline std::string init_path(const std::string& path) {
    testing::internal::CaptureStdout();
    tb_init(path.c_str());
    registered_path() = path;
    return testing::internal::GetCapturedStdout();
}

// Registers the shared tables (again, when a test changed the path).
inline void use_shared_tables() {
    static bool board_ready = false;
    if (!board_ready) {
        init_attack_tables();
        init_hash_keys_tables();
        board_ready = true;
    }
    if (registered_path() != kTableDir) init_path(kTableDir);
}

inline void copy_table(const std::string& directory, const std::string& name) {
    write_file(directory + "/" + name, read_file(kTableDir + "/" + name));
}

struct TbBoard : FenBoard {
    explicit TbBoard(const std::string& fen, int fifty = 0) : FenBoard(fen.c_str()) { pos.fifty_count = uint8_t(fifty); }
    TbPosition tb() const { return tb_position_from(pos, pos.fifty_count); }
};

inline std::string coordinates(Move m) {
    return {char('a' + move_from(m) % 8), char('1' + move_from(m) / 8), char('a' + move_to(m) % 8),
            char('1' + move_to(m) / 8)};
}

// A random legal placement of a material named like "KRPvKR", with colours
// and side to move at random.
TbPosition random_position(const std::string& material, std::mt19937& rng);

// Materials of the shared tables ("KRPvKR", ...), in name order.
std::vector<std::string> shared_materials();

// Piece counts [colour][type] of a material name, first side as white.
void counts_of(const std::string& material, int counts[2][7]);

}  // namespace vorn
