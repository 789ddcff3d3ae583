#pragma once
// The settings file "vorn.rc": search and evaluation parameters, the twelve
// piece-square tables, and the book and tablebase settings, one per line.

#include <cstdio>

namespace vorn {

struct EngineParams;

// Reads the settings file into `p` (and the book and tablebase settings).
// Returns 1 when the file was read and supplied all twelve piece-square
// tables in full (p.pst_from_params then becomes 0), else 0. A missing file
// changes nothing and prints nothing.
int read_settings_file(const char* name, EngineParams& p);

// Reads the eight table lines after a table key (rank 8 first, files a to h)
// into the table of `piece` (1..6) for `phase` (0 opening, 1 endgame).
void read_pst_block(std::FILE* file, EngineParams& p, int piece, int phase);

}  // namespace vorn
