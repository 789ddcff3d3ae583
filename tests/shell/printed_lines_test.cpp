// Every principal variation the engine prints, and every ponder move, can be
// played from the position searched. The game below (queen and king against
// king, searched move by move to depth 8 with the table kept between moves)
// once printed lines that went on after the mate.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "board/attacks.h"
#include "board/legal_line.h"
#include "shell/game_position.h"
#include "tests/fen_board.h"
#include "tests/shell/engine_process.h"

namespace vorn {

namespace {

// How many of the words can be played in turn from the position.
std::size_t playable(const char* fen, const std::vector<std::string>& words) {
    FenBoard board(fen);
    std::vector<uint16_t> moves;
    for (const std::string& word : words) moves.push_back(read_coordinate_move(word.c_str()));
    moves.push_back(0);
    return std::size_t(legal_line_length(board.pos, moves.data(), int(words.size())));
}

}  // namespace

TEST(PrintedLines, EveryPvAndPonderMoveIsLegal) {
    init_attack_tables();
    init_hash_keys_tables();
    const char* start = "8/5k2/8/8/8/8/3Q4/K7 w - - 0 1";
    const std::vector<std::string> game = {"a1b2", "f7e6", "b2c3", "e6e5", "d2h6", "e5d5", "h6e3", "d5d6",
                                           "c3c4", "d6c6", "e3e7", "c6b6", "e7d7", "b6a6", "c4c5", "a6a5"};
    EngineProcess engine{{"-hash", "16"}};
    engine.send("uci");
    std::size_t lines_checked = 0;
    for (std::size_t plies = 0; plies <= game.size(); ++plies) {
        std::vector<std::string> played(game.begin(), game.begin() + static_cast<long>(plies));
        std::string position = std::string("position fen ") + start + " moves";
        for (const std::string& m : played) position += " " + m;
        std::istringstream out(search(engine, position + "\ngo depth 8"));
        for (std::string text; std::getline(out, text);) {
            std::istringstream words(text);
            std::vector<std::string> line = played;
            std::string word;
            words >> word;
            const std::size_t keep = line.size();
            if (word == "info") {
                while (words >> word && word != "pv") {
                }
                while (words >> word) line.push_back(word);
            } else if (word == "bestmove") {
                for (int i = 0; words >> word; ++i)
                    if (i != 1) line.push_back(word);  // the move, then the ponder move
            }
            if (line.size() == keep) continue;
            EXPECT_EQ(playable(start, line), line.size()) << "after " << plies << " plies: " << text;
            ++lines_checked;
        }
    }
    EXPECT_GT(lines_checked, 2 * game.size());
    EXPECT_EQ(engine.quit(), 0);
}

}  // namespace vorn
