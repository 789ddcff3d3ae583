// The engine with tables: path changes over UCI and from the settings file,
// the forced score of a tablebase root, the tablebase move and hit counts.

#include <algorithm>
#include <regex>

#include "tests/shell/engine_process.h"
#include "tests/tablebase/tb_fixture.h"

namespace vorn {

namespace {

TEST(TbEngine, PathFromTheSettingsFileAndUciForcesTheRootScoreAndMove) {
    use_shared_tables();
    const char* fen = "8/8/8/8/8/3Q4/3K4/7k w - - 0 1";
    int wdl, dtz;
    Move move;
    ASSERT_EQ(tb_probe_root(TbBoard(fen).pos, &wdl, &dtz, &move), 4);
    std::vector<std::string> kept;
    for (const Move* m = root_tb_moves; *m; m++) kept.push_back(coordinates(*m));

    // The settings file's path is initialised at start.
    ScratchDirectory dir;
    write_file(dir.path + "/vorn.rc", "SyzygyPath \"" + kTableDir + "\"\n");
    EngineProcess engine({"-hash", "4", "-threads", "2"}, dir.path);
    engine.send("uci\nisready");
    ASSERT_GE(engine.wait_for("readyok", 10), 0);
    EXPECT_NE(engine.output().find("info string found 40 tablebases\n"), std::string::npos) << engine.output();

    const std::string out = search(engine, std::string("position fen ") + fen + "\ngo depth 9");
    std::smatch m;
    int lines = 0;
    const std::regex score_field("score (cp -?\\d+|mate -?\\d+)");
    for (auto it = std::sregex_iterator(out.begin(), out.end(), score_field);
         it != std::sregex_iterator(); ++it, ++lines) {
        const std::string score = (*it)[1];
        EXPECT_TRUE(score == "cp 9800" || score.rfind("mate ", 0) == 0) << score;
    }
    EXPECT_GT(lines, 0);
    ASSERT_TRUE(std::regex_search(out, m, std::regex("tbhits (\\d+) [^\\n]*\\n[^\\n]*bestmove (\\w+)")));
    EXPECT_GT(std::stoi(m[1]), 0);
    EXPECT_NE(std::find(kept.begin(), kept.end(), m[2].str()), kept.end()) << m[2];

    // Ninety-five plies of shuffling lead to a won KRRvK with five plies
    // left: only h3h6 and f4f6 reach the next capture in time (an
    // independent engine with the same tables agrees); the others draw.
    const std::string late = search(engine,
        "position fen 6RR/8/8/2k5/8/8/K7/8 b - - moves "
        "c5c6 g8b8 c6c5 b8e8 c5c6 e8f8 c6c5 a2a1 c5c6 a1b1 c6c5 f8f3 c5c6 f3f4 c6c5 h8f8 c5c6 f4f2 c6c5 f8e8 "
        "c5c6 f2b2 c6c5 b2b3 c5c6 b1c2 c6c5 b3a3 c5c6 e8d8 c6c5 c2d2 c5c6 a3a8 c6c5 d2c3 c5c6 c3b2 c6c5 d8b8 "
        "c5c6 a8a7 c6c5 b8g8 c5c6 g8f8 c6c5 a7a4 c5c6 a4g4 c6c5 g4g1 c5c6 b2b1 c6c5 g1e1 c5c6 b1c1 c6c5 e1e7 "
        "c5c6 f8a8 c6c5 e7e4 c5c6 c1c2 c6c5 c2d1 c5c6 a8b8 c6c5 b8d8 c5c6 d1c1 c6c5 d8d2 c5c6 d2d1 c6c5 c1c2 "
        "c5c6 d1b1 c6c5 e4f4 c5c6 b1h1 c6c5 h1h2 c5c6 h2h7 c6c5 h7h3 c5c6 c2b3 c6c5 "
        "\ngo depth 3");
    EXPECT_NE(late.find("score cp 9800"), std::string::npos) << late;
    EXPECT_TRUE(late.find("bestmove h3h6") != std::string::npos || late.find("bestmove f4f6") != std::string::npos)
        << late;

    const std::size_t from = engine.output().size();
    engine.send("setoption name SyzygyPath value <empty>\nisready");
    ASSERT_GE(engine.wait_for("readyok", 10, from), 0);
    EXPECT_EQ(engine.output().substr(from), "info string SyzygyPath set to <empty>\nreadyok\n");
    const std::string plain = search(engine, std::string("position fen ") + fen + "\ngo depth 4");
    EXPECT_EQ(plain.find("cp 9800"), std::string::npos);
    EXPECT_NE(plain.find("tbhits 0 "), std::string::npos);

    EXPECT_EQ(engine.quit(), 0);
}

}  // namespace

}  // namespace vorn
