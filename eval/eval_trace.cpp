#include "eval/eval_trace.h"

#include <cstdio>
#include <cstring>

#include "board/make_move.h"
#include "eval/evaluate.h"
#include "eval/text_append.h"

namespace vorn {

EvalTrace eval_trace;

void clear_eval_trace() {
    std::memset(&eval_trace, 0, sizeof eval_trace);
    eval_trace.draw_adj = 1.0;
}

namespace {

void append_squares(std::string& out, Bitboard set) {
    for (; set; set &= set - 1) {
        int sq = __builtin_ctzll(set);
        append(out, "  %c%c", 'a' + (sq & 7), '1' + (sq >> 3));
    }
    out += '\n';
}

char piece_letter(int code) {
    static const char kWhite[] = "PNBRQK";
    static const char kBlack[] = "onbrqk";
    int type = code & 7;
    if (type < 1 || type > 6) return '?';
    return (code & 8) ? kBlack[type - 1] : kWhite[type - 1];
}

}  // namespace

std::string eval_trace_report(const Position& pos, int eval, int qscore) {
    const EvalTrace& t = eval_trace;
    std::string out;
    append(out, "eval= %d, qscore= %d, stage= %d, draw_adj= %0.2f\n\n", eval, qscore, t.stage, t.draw_adj);
    if (t.hung) {
        out += "hung pieces on: ";
        append_squares(out, t.hung);
    }
    if (t.pinned) {
        out += "pinned pieces on :";
        append_squares(out, t.pinned);
    }
    out += "           white    black     diff\n";

    // Material imbalance: each side's surplus of every piece type as letters.
    std::string surplus[2];
    static const char kLetters[] = "QRBNP";
    static const int kShift[] = {16, 12, 8, 4, 0};
    for (int i = 0; i < 5; ++i) {
        int diff = ((pos.piece_counts[0] >> kShift[i]) & 15) - ((pos.piece_counts[1] >> kShift[i]) & 15);
        for (int n = 0; n < (diff > 0 ? diff : -diff); ++n) surplus[diff > 0 ? 0 : 1] += kLetters[i];
    }
    append(out, "mtl=       %5d    %5d    %5d   (%s :: %s)\n", t.material[0], t.material[1],
           t.material[0] - t.material[1], surplus[0].c_str(), surplus[1].c_str());
    append(out, "pos=       %5d    %5d    %5d\n", t.position[0], t.position[1], t.position[0] - t.position[1]);
    static const char* const kRows[kTraceGroups] = {
        "pawns=     %5d    %5d    %5d\n", "knights=   %5d    %5d    %5d\n",
        "bishops=   %5d    %5d    %5d\n", "rooks=     %5d    %5d    %5d\n",
        "queens=    %5d    %5d    %5d\n", "kings=     %5d    %5d    %5d\n",
        "passers=   %5d    %5d    %5d\n"};
    for (int g = 0; g < kTraceGroups; ++g) {
        char line[80];
        std::snprintf(line, sizeof line, kRows[g], t.group[g][0], t.group[g][1], t.group[g][0] - t.group[g][1]);
        out += line;
    }

    for (int rank = 7; rank >= 0; --rank) {
        for (int file = 0; file < 8; ++file) {
            int sq = rank * 8 + file;
            int code = pos.board[sq];
            out += ' ';
            out += code ? piece_letter(code) : ((file + rank) % 2 == 0 ? '+' : '-');
        }
        for (int file = 0; file < 8; ++file) {
            int sq = rank * 8 + file;
            if (pos.board[sq]) append(out, " %4d", t.square[sq]);
            else out += "    -";
        }
        out += '\n';
    }
    out += pos.side_to_move == 0 ? "white\n" : "black\n";
    return out;
}

std::string traced_evaluation_report(const Position& pos, EvalThreadState& state) {
    const bool searching = state.searching, trace_thread = state.trace_thread;
    state.searching = false;
    state.trace_thread = true;
    clear_eval_trace();
    EvalStackOutput out{};
    int eval = evaluate(pos, state, out, 1, in_check(pos, pos.side_to_move));
    state.searching = searching;
    state.trace_thread = trace_thread;
    return eval_trace_report(pos, eval, eval);
}

}  // namespace vorn
