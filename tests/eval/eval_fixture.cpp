#include "tests/eval/eval_fixture.h"

#include <cctype>
#include <sstream>
#include <vector>

namespace vorn {

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
        const unsigned char u = static_cast<unsigned char>(c);
        return char(std::isupper(u) ? std::tolower(u) : std::toupper(u));
    };
    std::vector<std::string> ranks(1);
    for (char c : placement) {
        if (c == '/') ranks.emplace_back();
        else ranks.back() += swap_case(c);
    }
    std::string out;
    for (auto rank = ranks.rbegin(); rank != ranks.rend(); ++rank) out += (out.empty() ? "" : "/") + *rank;
    std::string rights;  // the swapped rights in the usual KQkq order
    for (char c : std::string("KQkq"))
        if (castling.find(swap_case(c)) != std::string::npos) rights += c;
    out += (side == "w" ? " b " : " w ") + (rights.empty() ? "-" : rights) + " ";
    return out + (ep.size() == 2 ? std::string{ep[0], char('1' + ('8' - ep[1]))} : "-");
}

}  // namespace vorn
