#pragma once
// Every tunable number of the engine in one record: the search's pruning
// settings and reduction tables, the evaluation's named parameters (usually an
// opening `_op` and an endgame `_en` value), the piece-square tables, and the
// tables derived from all of them by init_eval_tables().
//
// The record is written only while no search runs (defaults, settings file,
// console, tuner) and read by every search thread without locks.

#include <cstdint>

namespace vorn {

// One opening/endgame pair of a table entry.
struct ScorePair {
    int16_t op;
    int16_t en;
};

struct EngineParams {
    // ---- search parameters ----
    int16_t draw_score = 0;      // contempt: a repetition draw for the root side
    int16_t FP_depth = 3;        // razoring depth
    int16_t FP_margin = 150;     // razoring margin per ply
    int16_t SEP_depth = 3;       // static-evaluation pruning depth (ProbCut above)
    int16_t SEP_margin = 75;     // static-evaluation pruning margin per ply
    int16_t NMP_depth = 3;       // null-move pruning from this depth on
    int16_t LMP_depth = 4;       // late-move pruning up to this depth
    int16_t LMP_count = 3;       // late-move pruning after LMP_count x depth moves
    int16_t LMR_depth = 3;       // late-move reductions from this depth on
    int16_t LMR_strength = 100;  // scale of lmr_table
    // Late-move reductions [pv][depth][move count]; built by the search from
    // LMR_strength.
    uint8_t lmr_table[2][70][32] = {};

    // ---- evaluation parameters, in the order of the named table ----
    int16_t pawn_value_op = 90, pawn_value_en = 110;
    int16_t knight_value_op = 380, knight_value_en = 360;
    int16_t bishop_value_op = 390, bishop_value_en = 370;
    int16_t rook_value_op = 530, rook_value_en = 650;
    int16_t queen_value_op = 1150, queen_value_en = 1190;
    int16_t bishop_pair_op = 30, bishop_pair_en = 50;
    int16_t knight_mobility_op = 44, knight_mobility_en = 56;
    int16_t bishop_mobility_op = 40, bishop_mobility_en = 54;
    int16_t rook_mobility_op = 40, rook_mobility_en = 54;
    int16_t queen_mobility_op = 40, queen_mobility_en = 90;
    int16_t ppawn_r2 = 7, ppawn_r3 = 7, ppawn_r4 = 18, ppawn_r5 = 38, ppawn_r6 = 78,
            ppawn_r7 = 138;
    // The single-valued parameters each have a second 16-bit slot beside them
    // that no evaluation term reads. Their settings key takes two numbers:
    // "pawn_candidate A B" stores A in the spare slot and B in pawn_candidate;
    // for the other five, "key A B" stores A in the parameter and B in the spare.
    int16_t pawn_candidate = 48, pawn_candidate_spare = 0;
    int16_t pawn_doubled_op = -5, pawn_doubled_en = -5;
    int16_t pawn_backward_op = -4, pawn_backward_en = -4;
    int16_t pawn_isolated_op = -8, pawn_isolated_en = -8;
    int16_t pawn_weak_op = -8, pawn_weak_en = -4;
    int16_t knight_outpost = 16, knight_outpost_spare = 0;
    int16_t rook_open_file_op = 14, rook_open_file_en = 7;
    int16_t rook_half_open_file_op = 7, rook_half_open_file_en = 7;
    int16_t rook_rank7_op = 16, rook_rank7_en = 16;
    int16_t rook_trapped = -25, rook_trapped_spare = 0;
    int16_t queen_rank7_op = 0, queen_rank7_en = 14;
    int16_t king_safety = 100, king_safety_spare = 0;  // percent
    int16_t pawn_shield = 6, pawn_shield_spare = 0;
    int16_t pawn_storm = -12, pawn_storm_spare = 0;
    int16_t hung_op = -16, hung_en = -24;
    int16_t pinned_op = -16, pinned_en = -24;
    // Piece-square scales (plain multipliers).
    int16_t PST_P_op = 40, PST_P_en = 10;
    int16_t PST_N_op = 44, PST_N_en = 44;
    int16_t PST_B_op = 12, PST_B_en = 12;
    int16_t PST_R_op = 14, PST_R_en = 0;
    int16_t PST_Q_op = 12, PST_Q_en = 20;
    int16_t PST_K_op = 42, PST_K_en = 58;
    // pst_a1 ... pst_h8: named and tunable, read by no term. After the settings
    // file is read they receive the king's opening table column.
    int16_t pst_square[64] = {};
    int16_t tune = 256;  // spare tuner parameter

    // ---- piece-square tables ----
    // [type 1..6][square], written from White's side; Black reads square ^ 56.
    ScorePair pst[7][64] = {};
    // 1: init_eval_tables computes pst from the scales above. The settings
    // loader clears it when a file supplies all twelve tables in full.
    uint8_t pst_from_params = 1;

    // ---- derived tables (init_eval_tables) ----
    int16_t ppawn[8] = {};           // passed pawn base by relative rank
    int16_t ppawnx[8] = {};          // extra when the pawn can advance safely
    int16_t connected_bonus[8] = {}; // constant: 0 0 0 5 18 32 32 0
    ScorePair knight_mob[9] = {};    // by number of reachable squares
    ScorePair bishop_mob[15] = {};
    ScorePair rook_mob[15] = {};
    ScorePair queen_mob[29] = {};
    int16_t KingDanger[64] = {};     // entries 0..31 used, the rest stay 0
    int8_t file_lowest[256] = {};    // lowest set bit of a file mask, 8 for none
    int8_t file_highest[256] = {};   // highest set bit, -1 for none
    int8_t file_islands[256] = {};   // runs of adjacent set bits
};

// The live parameters, and the copy taken right after the settings file was
// read (restored by the console's "set" with an unknown name).
extern EngineParams params;
extern EngineParams params_backup;

// Writes the built-in defaults over `p` (pst_from_params = 1, tables cleared
// until init_eval_tables runs).
void set_default_params(EngineParams& p);

// Recomputes every derived table of `params` (and the piece-square tables
// while params.pst_from_params is set). Call after any parameter change,
// never during a search.
void init_eval_tables();
// The same for another parameter block (the self-play match keeps two).
void init_eval_tables(EngineParams& p);

// Gives pst_a1 ... pst_h8 the king's opening piece-square column as it stands
// now; start-up calls it right after the settings file has been read.
void copy_king_pst_to_square_params(EngineParams& p);

// Round half away from zero, then to 16 bits: the rounding of every derived
// table.
int16_t round_half_away(double x);

// ---- named parameter table (console listing and tuner) ----

constexpr int kTuneNameSize = 24;
constexpr int kTuneParamCapacity = 160;
constexpr int kTuneParamRows = 129;

struct TuneParam {
    char name[kTuneNameSize + 1];  // at most 24 characters
    int16_t* value;                // the parameter inside `params`
    double x;                      // real-valued estimate
    double last_gradient;
    int16_t active;                // 1: tuned by the gradient pass
};

extern TuneParam tune_params[kTuneParamCapacity];
extern int tune_param_count;
extern bool tune_params_registered;

// Fills tune_params with the 129 rows (evaluation parameters in record order,
// pst_a1 ... pst_h8, tune last) pointing into `params`, and sets
// tune_params_registered. Callers check the flag first.
void register_tune_params();
// Appends one row: name cut at 24 characters, x = current value,
// last_gradient = 0, active = 0. Ignored when the table is full.
void add_tune_param(const char* name, int16_t* value);
// Marks the first row whose name matches exactly (case-sensitive) as active;
// an unknown name changes nothing. Returns the row index or -1.
int select_tune_param(const char* name);
// The row with exactly this name, or -1.
int find_tune_param(const char* name);

}  // namespace vorn
