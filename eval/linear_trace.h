#pragma once
// The linear part of one evaluation, recorded for the tuner: every parameter
// a term read, the side it counted for, the accumulator it went into and the
// weight it had there. The evaluation is the sum of these products, mixed by
// stage and draw scaling, plus what the parameters do not enter linearly
// (truncating divisions, the fixed constants of some terms). So under changed
// parameters a position's score can be predicted by a dot product instead of
// a new evaluation.
//
// Parameters are named by their place in EngineParams: a derived table entry
// (a mobility step, a KingDanger step, a passed-pawn value) is booked as that
// entry, and the tuner knows how the tables follow from the named values.

#include <cstdint>

#include "eval/engine_params.h"

namespace vorn {

enum LinearPart : uint8_t { kPositionalOp, kPositionalEn, kMaterialOp, kMaterialEn };

struct LinearTerm {
    uint16_t slot;  // index of the 16-bit value inside EngineParams
    uint8_t side;
    uint8_t part;   // LinearPart
    float weight;
};

// The 16-bit slot of a field of the live parameter record.
inline uint16_t param_slot(const int16_t& field) {
    return uint16_t((reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&params)) /
                    sizeof(int16_t));
}
constexpr int kParamSlots = int(sizeof(EngineParams) / sizeof(int16_t));
static_assert(kParamSlots < 65536, "slots must fit in 16 bits");

struct LinearTrace {
    // More than any legal position books (about 300 with 16 pawns a side).
    static constexpr int kCapacity = 512;

    LinearTerm terms[kCapacity];
    int count = 0;
    bool overflow = false;
    // Set when the full evaluation ran: special endings and positions in
    // check get a score that no parameter changes.
    bool complete = false;
    int stage = 0;
    double draw_adj = 0.0;
    int side_to_move = 0;

    void reset() {
        count = 0;
        overflow = false;
        complete = false;
    }
    void add(const int16_t& field, int side, LinearPart part, float weight) {
        if (count == kCapacity) {
            overflow = true;
            return;
        }
        terms[count++] = {param_slot(field), uint8_t(side), uint8_t(part), weight};
    }
};

}  // namespace vorn
