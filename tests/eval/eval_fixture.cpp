#include "tests/eval/eval_fixture.h"

#include <cctype>
#include <sstream>
#include <vector>

void prepare_eval_tables() {
    static bool done = false;
    if (done) return;
    done = true;
    init_attack_tables();
    init_hash_keys_tables();
    init_kpk_table();
    set_default_params(params);
    init_eval_tables();
}

int eval_fen(const char* fen) {
    Board board(fen);
    Evaluator eval;
    return eval(board.pos);
}

std::string flip_fen(const std::string& fen) {
    std::istringstream in(fen);
    std::string placement, side = "w", castling = "-", ep = "-";
    in >> placement >> side >> castling >> ep;
    auto swap_case = [](char c) {
        unsigned char u = static_cast<unsigned char>(c);
        return char(std::isupper(u) ? std::tolower(u) : std::toupper(u));
    };
    std::vector<std::string> ranks;
    std::string rank;
    for (char c : placement) {
        if (c == '/') {
            ranks.push_back(rank);
            rank.clear();
        } else {
            rank += swap_case(c);
        }
    }
    ranks.push_back(rank);
    std::string out;
    for (size_t i = ranks.size(); i-- > 0;) {
        out += ranks[i];
        if (i) out += '/';
    }
    out += side == "w" ? " b " : " w ";
    // The swapped rights in the usual KQkq order.
    std::string ordered;
    for (char c : std::string("KQkq"))
        if (castling.find(swap_case(c)) != std::string::npos) ordered += c;
    out += ordered.empty() ? "-" : ordered;
    out += ' ';
    if (ep == "-" || ep.size() != 2) out += "-";
    else out += std::string{ep[0], char('1' + ('8' - ep[1]))};
    return out;
}
