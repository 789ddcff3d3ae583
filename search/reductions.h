#pragma once
// Late-move reductions by node type, remaining depth and number of moves
// that already failed at the node. The table itself lives in EngineParams
// (lmr_table[pv][depth][failed]) beside LMR_strength, which shapes it.

namespace vorn {

struct EngineParams;

// Rebuilds p.lmr_table from p.LMR_strength.
void build_lmr_table(EngineParams& p);

// The same for the live parameters; called at start-up after the settings
// file and whenever LMR_strength changes.
void init_lmr_tables();

// Prints both tables to standard output (console "lmr").
void print_lmr_tables();

}  // namespace vorn
