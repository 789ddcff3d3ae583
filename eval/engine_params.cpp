#include "eval/engine_params.h"

#include <cmath>
#include <cstring>

namespace vorn {

EngineParams params;
EngineParams params_backup;

TuneParam tune_params[kTuneParamCapacity];
int tune_param_count = 0;
bool tune_params_registered = false;

void set_default_params(EngineParams& p) { p = EngineParams{}; }

void copy_king_pst_to_square_params(EngineParams& p) {
    for (int sq = 0; sq < 64; ++sq) p.pst_square[sq] = p.pst[6][sq].op;
}

int16_t round_half_away(double x) {
    double r = std::round(x);  // halves go away from zero
    if (r > 32767.0) r = 32767.0;
    if (r < -32768.0) r = -32768.0;
    return int16_t(r);
}

namespace {

// Shapes of the built-in piece-square tables, indexed by rank or file.
constexpr int kCentre[8] = {-5, -2, 0, 1, 1, 0, -2, -5};
constexpr int kPawnEndRank[8] = {0, 0, 1, 2, 4, 6, 6, 0};
constexpr int kKingOpRank[8] = {0, -1, -2, -3, -4, -4, -4, -4};
constexpr int kKingOpFile[8] = {1, 1, 0, -1, -1, 0, 1, 1};
constexpr int kPawnOpShape[64] = {
     0, 0, 0, 0, 0, 0, 0, 0,
    -1, 0, 0,-1,-1, 0, 0,-1,
    -1, 0, 0, 1, 1, 0, 0,-1,
    -1, 0, 1, 2, 2, 1, 0,-1,
     0, 1, 2, 2, 2, 2, 1, 0,
     0, 1, 2, 2, 2, 2, 1, 0,
     0, 1, 1, 1, 1, 1, 1, 0,
     0, 0, 0, 0, 0, 0, 0, 0,
};
constexpr int16_t kConnectedBonus[8] = {0, 0, 0, 5, 18, 32, 32, 0};

// Mobility curves: an exponential approach normalised so the full count
// gives 1, shifted so that a typical count scores about zero.
constexpr double kMobilityNorm = 1.3273108179013147;  // 1 / (1 - e^-1.4)

double knight_curve(int n) {
    return kMobilityNorm * (1.0 - std::exp(-1.4 * n * 0.125)) - 0.5421329833896871;
}
double bishop_curve(int n) {
    return kMobilityNorm * (1.0 - std::exp(-1.4 * n / 14.0)) - 0.3440147794920671;
}
double queen_curve(int n) {
    return kMobilityNorm * (1.0 - std::exp(-1.4 * n / 28.0)) - 0.32986687739529086;
}

void compute_pst(EngineParams& p) {
    for (int sq = 0; sq < 64; ++sq) {
        int r = sq >> 3, f = sq & 7;
        int c = kCentre[r] + kCentre[f];
        p.pst[0][sq] = {0, 0};
        p.pst[1][sq] = {int16_t(kPawnOpShape[sq] * p.PST_P_op / 8),
                        int16_t(kPawnEndRank[r] * p.PST_P_en / 8)};
        p.pst[2][sq] = {int16_t(p.PST_N_op * c / 12), int16_t(p.PST_N_en * c / 12)};
        p.pst[3][sq] = {int16_t(p.PST_B_op * c / 12), int16_t(p.PST_B_en * c / 12)};
        p.pst[4][sq] = {int16_t(p.PST_R_op * kCentre[f] / 12), int16_t(p.PST_R_en * c / 12)};
        int queen_op = p.PST_Q_op * c / 12 - (r >= 4 ? 4 : 0);
        p.pst[5][sq] = {int16_t(queen_op), int16_t(p.PST_Q_en * c / 12)};
        p.pst[6][sq] = {int16_t(p.PST_K_op * 2 * (kKingOpFile[f] + kKingOpRank[r]) / 12),
                        int16_t(p.PST_K_en * c / 12)};
    }
}

void compute_passed_tables(EngineParams& p) {
    const int16_t base[8] = {0, p.ppawn_r2, p.ppawn_r3, p.ppawn_r4,
                             p.ppawn_r5, p.ppawn_r6, p.ppawn_r7, 250};
    for (int k = 0; k < 8; ++k) p.ppawn[k] = base[k];
    p.ppawnx[0] = 0;
    p.ppawnx[7] = 0;
    for (int k = 2; k <= 6; ++k) p.ppawnx[k] = round_half_away(0.6 * (p.ppawn[k + 1] - p.ppawn[k]));
    p.ppawnx[1] = p.ppawnx[2];
    for (int k = 0; k < 8; ++k) p.connected_bonus[k] = kConnectedBonus[k];
}

void compute_mobility(EngineParams& p) {
    for (int n = 0; n <= 8; ++n) {
        double f = knight_curve(n);
        p.knight_mob[n] = {round_half_away(p.knight_mobility_op * f),
                           round_half_away(p.knight_mobility_en * f)};
    }
    for (int n = 0; n <= 14; ++n) {
        double g = bishop_curve(n);
        p.bishop_mob[n] = {round_half_away(p.bishop_mobility_op * g),
                           round_half_away(p.bishop_mobility_en * g)};
        p.rook_mob[n] = {round_half_away(p.rook_mobility_op * 0.83 * g),
                         round_half_away(p.rook_mobility_en * 0.83 * g)};
    }
    for (int n = 0; n <= 28; ++n) {
        double h = queen_curve(n);
        p.queen_mob[n] = {round_half_away(p.queen_mobility_op * h),
                          round_half_away(p.queen_mobility_en * h)};
    }
}

void compute_king_danger(EngineParams& p) {
    for (int i = 0; i < 64; ++i) p.KingDanger[i] = 0;
    for (int i = 1; i < 32; ++i) {
        int raw = 0;
        if (i > 5) {
            raw = round_half_away(p.king_safety * 0.01 * 1.8 * std::pow(double(i - 5), 1.9));
            if (raw < 0) raw = 0;
        }
        // The growth per step is capped, and the cap shrinks as i grows.
        int cap = p.KingDanger[i - 1] + 44 - i;
        p.KingDanger[i] = int16_t(raw < cap ? raw : cap);
    }
}

void compute_file_tables(EngineParams& p) {
    for (int m = 0; m < 256; ++m) {
        int lowest = 8, highest = -1, islands = 0;
        for (int f = 0; f < 8; ++f) {
            if (!(m & (1 << f))) continue;
            if (lowest == 8) lowest = f;
            highest = f;
            if (f == 0 || !(m & (1 << (f - 1)))) ++islands;
        }
        p.file_lowest[m] = int8_t(lowest);
        p.file_highest[m] = int8_t(highest);
        p.file_islands[m] = int8_t(islands);
    }
}

}  // namespace

void init_eval_tables(EngineParams& p) {
    if (p.pst_from_params) compute_pst(p);
    compute_passed_tables(p);
    compute_mobility(p);
    compute_king_danger(p);
    compute_file_tables(p);
}

void init_eval_tables() { init_eval_tables(params); }

void add_tune_param(const char* name, int16_t* value) {
    if (tune_param_count >= kTuneParamCapacity) return;
    TuneParam& row = tune_params[tune_param_count++];
    std::strncpy(row.name, name, kTuneNameSize);
    row.name[kTuneNameSize] = '\0';
    row.value = value;
    row.x = *value;
    row.last_gradient = 0.0;
    row.active = 0;
}

int find_tune_param(const char* name) {
    for (int i = 0; i < tune_param_count; ++i)
        if (std::strcmp(tune_params[i].name, name) == 0) return i;
    return -1;
}

int select_tune_param(const char* name) {
    int i = find_tune_param(name);
    if (i >= 0) tune_params[i].active = 1;
    return i;
}

void register_tune_params() {
    EngineParams& p = params;
    tune_param_count = 0;
#define VORN_ROW(field) add_tune_param(#field, &p.field)
    VORN_ROW(pawn_value_op);
    VORN_ROW(pawn_value_en);
    VORN_ROW(knight_value_op);
    VORN_ROW(knight_value_en);
    VORN_ROW(bishop_value_op);
    VORN_ROW(bishop_value_en);
    VORN_ROW(rook_value_op);
    VORN_ROW(rook_value_en);
    VORN_ROW(queen_value_op);
    VORN_ROW(queen_value_en);
    VORN_ROW(bishop_pair_op);
    VORN_ROW(bishop_pair_en);
    VORN_ROW(knight_mobility_op);
    VORN_ROW(knight_mobility_en);
    VORN_ROW(bishop_mobility_op);
    VORN_ROW(bishop_mobility_en);
    VORN_ROW(rook_mobility_op);
    VORN_ROW(rook_mobility_en);
    VORN_ROW(queen_mobility_op);
    VORN_ROW(queen_mobility_en);
    VORN_ROW(ppawn_r2);
    VORN_ROW(ppawn_r3);
    VORN_ROW(ppawn_r4);
    VORN_ROW(ppawn_r5);
    VORN_ROW(ppawn_r6);
    VORN_ROW(ppawn_r7);
    VORN_ROW(pawn_candidate);
    VORN_ROW(pawn_doubled_op);
    VORN_ROW(pawn_doubled_en);
    VORN_ROW(pawn_backward_op);
    VORN_ROW(pawn_backward_en);
    VORN_ROW(pawn_isolated_op);
    VORN_ROW(pawn_isolated_en);
    VORN_ROW(pawn_weak_op);
    VORN_ROW(pawn_weak_en);
    VORN_ROW(knight_outpost);
    VORN_ROW(rook_open_file_op);
    VORN_ROW(rook_open_file_en);
    VORN_ROW(rook_half_open_file_op);
    VORN_ROW(rook_half_open_file_en);
    VORN_ROW(rook_rank7_op);
    VORN_ROW(rook_rank7_en);
    VORN_ROW(rook_trapped);
    VORN_ROW(queen_rank7_op);
    VORN_ROW(queen_rank7_en);
    VORN_ROW(king_safety);
    VORN_ROW(pawn_shield);
    VORN_ROW(pawn_storm);
    VORN_ROW(hung_op);
    VORN_ROW(hung_en);
    VORN_ROW(pinned_op);
    VORN_ROW(pinned_en);
    VORN_ROW(PST_P_op);
    VORN_ROW(PST_P_en);
    VORN_ROW(PST_N_op);
    VORN_ROW(PST_N_en);
    VORN_ROW(PST_B_op);
    VORN_ROW(PST_B_en);
    VORN_ROW(PST_R_op);
    VORN_ROW(PST_R_en);
    VORN_ROW(PST_Q_op);
    VORN_ROW(PST_Q_en);
    VORN_ROW(PST_K_op);
    VORN_ROW(PST_K_en);
#undef VORN_ROW
    for (int sq = 0; sq < 64; ++sq) {
        char name[8] = {'p', 's', 't', '_', char('a' + (sq & 7)), char('1' + (sq >> 3)), 0, 0};
        add_tune_param(name, &p.pst_square[sq]);
    }
    add_tune_param("tune", &p.tune);
    tune_params_registered = true;
}

}  // namespace vorn
