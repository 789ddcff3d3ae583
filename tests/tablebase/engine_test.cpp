// The engine with tables: path changes over UCI and from the settings file,
// the forced score of a tablebase root, the tablebase move and hit counts.

#include <algorithm>
#include <regex>

#include "tests/shell/engine_process.h"
#include "tests/tablebase/tb_fixture.h"

namespace {

TEST(TbEngine, PathFromTheSettingsFileAndUciForcesTheRootScoreAndMove) {
    use_shared_tables();
    const char* fen = "8/8/8/8/8/3Q4/3K4/7k w - - 0 1";
    int wdl, dtz;
    Move move;
    ASSERT_EQ(tb_probe_root(TbBoard(fen).pos, &wdl, &dtz, &move), 4);
    std::vector<std::string> kept;
    for (const Move* m = root_tb_moves; *m; m++)
        kept.push_back(std::string{char('a' + move_from(*m) % 8), char('1' + move_from(*m) / 8),
                                   char('a' + move_to(*m) % 8), char('1' + move_to(*m) / 8)});

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

    const std::size_t from = engine.output().size();
    engine.send("setoption name SyzygyPath value <empty>\nisready");
    ASSERT_GE(engine.wait_for("readyok", 10, from), 0);
    EXPECT_EQ(engine.output().substr(from), "info string SyzygyPath set to <empty>\nreadyok\n");
    const std::string plain = search(engine, std::string("position fen ") + fen + "\ngo depth 4");
    EXPECT_EQ(plain.find("cp 9800"), std::string::npos);
    EXPECT_NE(plain.find("tbhits 0 "), std::string::npos);

    engine.send("quit");
    EXPECT_EQ(engine.wait_exit(10), 0);
}

}  // namespace
