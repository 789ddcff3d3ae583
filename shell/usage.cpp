#include "shell/usage.h"

#include <cstdio>

namespace vorn {

// The build passes these in; a build outside it says so rather than guess.
#ifndef VORN_COMPILER
#define VORN_COMPILER "unknown"
#endif
#ifndef VORN_BUILD_TYPE
#define VORN_BUILD_TYPE "unknown"
#endif
#ifndef VORN_BUILD_FLAGS
#define VORN_BUILD_FLAGS "unknown"
#endif

namespace {

constexpr const char* kUsage = R"(Usage: vorn [switch ...]

A chess engine. A chess interface starts it and speaks UCI on standard input
and output; with -c a person types console commands instead. It carries its
own tools: benchmark, EPD test runner, PGN scanner, self-play match, book
builder and tuner.

Switches:
  -uci                UCI protocol (the default)
  -c                  console commands instead of UCI
  -hash N             transposition table of N MB (0..8192, default 64)
  -threads N          search threads (1..64, default 1)
  -d N                depth limit (at most 66) for console play and the tools
  -t S                S seconds per move for console play and the tools
  -n N                N nodes per move for console play and the tools
  -nolog              no log file
  -quiet              no log file and no search progress lines
  -noise S            search progress lines only after S seconds
  -uci_extra          thread index in the UCI progress lines
  -bench, -bench2     speed benchmark over 10 or 20 positions
  -pbench             the benchmark searched by the main thread
  bench               the benchmark, ending in a line "nodes N nps N"
  -anepd FILE         search the EPD records of FILE, count best moves found
  -tune FILE          fit material and mobility values to FILE's positions
  -tune_all FILE [OUT] [epochs=N rate=R slope=S|fit retrace=N threads=N]
                      fit every evaluation parameter and the piece-square
                      tables to FILE's positions; write them to OUT (tuned.rc)
  -scan_pgn1..4 FILE  PGN games to tmp.pgn, mistakes marked (1), or tmp.epd
  -match FILE         self-play match against test1.rc's values, games to FILE
  -h, --help          this text
  --version           the version and how it was built

UCI options: Hash, Threads, Ponder, MultiPV, Clear Hash, Communication
Overhead, OwnBook, Log, SyzygyPath, SyzygyProbeDepth5, SyzygyProbeDepth6,
UCI_Chess960.

Files, in the working directory:
  vorn.rc             settings read at start-up: parameters, book, tablebases
  vorn.log            the session's log, made anew at every start
  vorn.opn            the opening book; mkbook builds book.opn from book.pgn
  test1.rc            the other player's settings for -match
  tune.log, tuned.rc, tmp.pgn, tmp.epd, unsolved.epd, trace.txt
                      written by the tools

The long tools show their progress on standard error when it is a terminal.
The manual: man 6 vorn
)";

}  // namespace

void print_usage() {
    std::fputs(kUsage, stdout);
    std::fflush(stdout);
}

void print_version() {
    std::printf("%s\ncompiler: %s\nbuild type: %s\nflags: %s\n", kEngineName, VORN_COMPILER,
                VORN_BUILD_TYPE, VORN_BUILD_FLAGS);
    std::fflush(stdout);
}

}  // namespace vorn
