#include "tablebase/probe.h"

#include <cstdio>
#include <cstring>

// No table reader is built in yet: discovery finds nothing and every probe
// reports "not available", so the search runs exactly as without tables.

char SyzygyPath[kSyzygyPathSize] = "";
int SyzygyProbeDepth5 = 1;
int SyzygyProbeDepth6 = 3;
int tb_largest = 0;
Move root_tb_moves[kMaxRootTbMoves + 1] = {};

void tb_init(const char* path) {
    tb_largest = 0;
    root_tb_moves[0] = 0;
    if (!path || !*path || std::strcmp(path, "<empty>") == 0) return;
    std::printf("info string found %d tablebases\n", 0);
    std::fflush(stdout);
}

int tb_probe_wdl(const Position& pos, int depth) {
    (void)pos;
    (void)depth;
    return -1;
}

int tb_probe_root(const Position& pos, int* wdl_out, int* dtz_out, Move* move_out) {
    (void)pos;
    if (wdl_out) *wdl_out = 0;
    if (dtz_out) *dtz_out = 0;
    if (move_out) *move_out = 0;
    root_tb_moves[0] = 0;
    return -1;
}
