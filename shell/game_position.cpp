#include "shell/game_position.h"

#include <chrono>
#include <cstring>
#include <thread>

#include "board/legal_line.h"
#include "board/make_move.h"
#include "search/threads.h"
#include "core/shell_state.h"

namespace vorn {

void set_game_fen(const char* fen) {
    ThreadData& block = game_block();
    parse_fen(block.pos, fen);
    block.last_move = 0;
    block.history[block.history_count].move = 0;
}

bool game_history_has_room() { return game_block().history_count < kGameHistoryLimit; }

bool play_game_move(Move move) {
    if (!game_history_has_room()) return false;
    ThreadData& block = game_block();
    make_move(block.pos, move);
    block.history[block.history_count].move = 0;
    return true;
}

bool compact_game_history() {
    ThreadData& block = game_block();
    const int count = block.history_count;
    if (count == 0) return false;
    // fifty_count stops at 255, far below the history's capacity, so keeping
    // the moves since the last irreversible one always makes room; the oldest
    // entry goes in any case.
    const int keep = block.pos.fifty_count < count ? block.pos.fifty_count : count - 1;
    std::memmove(block.history, block.history + (count - keep), sizeof(HistoryEntry) * keep);
    block.history_count = static_cast<int16_t>(keep);
    block.history[keep].move = 0;
    return true;
}

Move replayable_move() {
    const ThreadData& block = game_block();
    if (!game_history_has_room()) return kNoMove;
    Move move = block.history[block.history_count].move;
    return is_legal_move(block.pos, move) ? move : kNoMove;
}

Move read_coordinate_move(const char* word) {
    std::size_t length = std::strlen(word);
    if (length != 4 && length != 5) return kNoMove;
    for (int i = 0; i < 4; i += 2) {
        if (word[i] < 'a' || word[i] > 'h' || word[i + 1] < '1' || word[i + 1] > '8')
            return kNoMove;
    }
    int from = (word[0] - 'a') + 8 * (word[1] - '1');
    int to = (word[2] - 'a') + 8 * (word[3] - '1');
    Move promotion = 0;
    if (length == 5) {
        switch (word[4]) {
            case 'q': promotion = kPromoteQueen; break;
            case 'n': promotion = kPromoteKnight; break;
            case 'b': promotion = kPromoteBishop; break;
            case 'r': promotion = kPromoteRook; break;
            default: return kNoMove;
        }
    }
    return encode_move(from, to, promotion);
}

void finish_search_and_wait() {
    if (stop_signal == STOP_RUN) stop_signal = STOP_REPORT;
    while (count_searching() != 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void abandon_search_and_wait() {
    if (count_searching() == 0) return;
    stop_signal = STOP_ABANDON;
    while (count_searching() != 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace vorn
