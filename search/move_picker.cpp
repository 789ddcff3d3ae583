#include "search/move_picker.h"

#include <cassert>

#include "board/legal_line.h"
#include "board/make_move.h"
#include "board/movegen.h"
#include "board/see.h"
#include "search/thread_data.h"

namespace vorn {

namespace {

// The highest-scored entry of [entry, end); the earliest wins ties.
MoveEntry* best_entry(MoveEntry* entry, const MoveEntry* end) {
    MoveEntry* best = entry;
    int best_score = entry->score;
    // Two entries a step: this scan is the picker's inner loop.
    MoveEntry* e = entry + 1;
    for (; e + 1 < end; e += 2) {
        if (e[0].score > best_score) best = e, best_score = e[0].score;
        if (e[1].score > best_score) best = e + 1, best_score = e[1].score;
    }
    if (e < end && e->score > best_score) best = e;
    return best;
}

// The same when no entry scores above `bound` and those before `ties` score
// below it: the first entry at the bound from `ties` on is then the best, and
// only when there is none does the part before `ties` need a look.
MoveEntry* best_entry(MoveEntry* entry, MoveEntry* ties, const MoveEntry* end, int bound) {
    if (ties == end) return best_entry(entry, end);
    MoveEntry* best = ties;
    int best_score = ties->score;
    MoveEntry* e = ties + 1;
    for (; e + 1 < end && best_score != bound; e += 2) {
        if (e[0].score > best_score) best = e, best_score = e[0].score;
        if (e[1].score > best_score) best = e + 1, best_score = e[1].score;
    }
    if (e < end && e->score > best_score) best = e;
    if (best_score == bound || entry == ties) return best;
    MoveEntry* before = best_entry(entry, ties);
    return before->score >= best->score ? before : best;
}

void bring_to_front(MoveEntry* front, MoveEntry* best) {
    if (best != front) {
        MoveEntry t = *front;
        *front = *best;
        *best = t;
    }
}

// Capture and promotion scores: a capture that passes the exchange test
// scores victim - attacker (a queen promotion at least 199), a losing capture
// its victim's type + 8 and an under-promotion 8, both + 7 on a recapture.
// Above this line a capture is tried before the quiet moves; at or below it
// (losing captures and under-promotions, 8..21) it stays in the list and is
// sorted in among the quiet moves, whose scores reach at most 128.
constexpr int kGoodCaptureThreshold = 180;

// Sorting the quiet moves stops after this many legal moves, or once the
// best one left scores below kSortedQuietFloor: what follows is taken in
// generation order, which saves the scans where cut-offs are unlikely.
constexpr int kSortedLegalMoves = 15;
constexpr int kSortedQuietFloor = 4;

uint16_t counter_move_for(const ThreadData& td, const Position& pos) {
    Move last = td.last_move;
    if (!last) return 0;
    int to = move_to(last);
    return td.counter_moves[pos.board[to]][to];
}

// Captures and promotions of the picker's capture stage. Every capture is
// scored as if it passed the exchange test; the test itself waits until the
// capture is about to be tried (see pick_best_capture), since a cut-off
// usually comes before most of them are.
void score_captures(MoveEntry* begin, MoveEntry* end, Move last_move) {
    int last_to = last_move ? move_to(last_move) : -1;
    for (MoveEntry* e = begin; e != end; e++) {
        Move m = e->move;
        int score;
        if (m & (kPromoteKnight | kPromoteBishop | kPromoteRook))
            score = 8;
        else
            score = capture_order(*e);
        if (move_to(m) == last_to) score += 7;
        e->score = static_cast<int16_t>(score);
    }
}

// Brings the best capture from `next` on that passes the exchange test to
// `next`; when none is left above the good-capture line, the best of the rest
// comes there instead, as the plain scan would bring it. A capture that fails
// drops to its losing score where it stands, so the list ends up ordered and
// arranged exactly as if every capture had been tested up front.
void pick_best_capture(const Position& pos, MoveEntry* next, const MoveEntry* end) {
    for (;;) {
        MoveEntry* best = best_entry(next, end);
        if (best->score <= kGoodCaptureThreshold || capture_not_losing(pos, best->move)) {
            bring_to_front(next, best);
            return;
        }
        // The losing score keeps the recapture bonus the order score had.
        best->score =
            static_cast<int16_t>(best->score - capture_order(*best) + piece_type(best->victim) + 8);
    }
}

void score_quiets(const ThreadData& td, const Position& pos, const SearchStackEntry& ss,
                  MoveEntry* begin, MoveEntry* end, bool in_check) {
    uint16_t counter = counter_move_for(td, pos);
    for (MoveEntry* e = begin; e != end; e++) {
        Move m = e->move;
        int score;
        if (!in_check) {
            score = td.history_table[e->mover][move_to(m)] / 128;
            if (m == ss.killer_null || m == ss.killer1 || (counter && m == counter))
                score += 64;
            else if (m == ss.killer2)
                score += 54;
        } else {
            score = m == ss.killer_evasion ? 90 : (counter && m == counter) ? 70 : 1;
        }
        e->score = static_cast<int16_t>(score);
    }
}

}  // namespace

void pick_best(MoveEntry* entry, const MoveEntry* end) {
    bring_to_front(entry, best_entry(entry, end));
}

void pick_best(MoveEntry* entry) {
    const MoveEntry* end = entry;
    while (end->move != kMoveListEnd) end++;
    pick_best(entry, end);
}

MoveEntry* next_move_staged(ThreadData& td, Position& pos, int ply, bool in_check) {
    SearchStackEntry& ss = td.stack[ply];
    int side = pos.side_to_move;
    for (;;) {
        switch (ss.stage) {
            case STAGE_HASH_MOVE: {
                ss.stage = STAGE_GEN_CAPTURES;
                if (ss.hash_move) {
                    Move m = ss.hash_move;
                    // The table checks what it hands out; internal deepening's
                    // move was generated here.
                    assert(is_pseudo_legal(pos, m));
                    uint8_t victim = pos.board[move_to(m)];
                    if (piece_side(victim) == side) victim = 0;  // castling as king takes rook
                    ss.hash_entry = MoveEntry{m, 255, pos.board[move_from(m)], victim};
                    return &ss.hash_entry;
                }
                break;
            }
            case STAGE_GEN_CAPTURES: {
                MoveEntry* end = gen_pawn_captures(pos, side, ss.move_list);
                end = gen_piece_captures(pos, side, end);
                end = gen_promotions(pos, side, end);
                end_move_list(td, ply, end);
                score_captures(ss.move_list, end, td.last_move);
                ss.next = ss.move_list;
                ss.stage = STAGE_GOOD_CAPTURES;
                break;
            }
            case STAGE_GOOD_CAPTURES: {
                if (ss.next->move == kMoveListEnd) {
                    ss.stage = STAGE_GEN_QUIETS;
                    break;
                }
                pick_best_capture(pos, ss.next, ss.list_end);
                if (ss.next->score <= kGoodCaptureThreshold) {
                    ss.stage = STAGE_GEN_QUIETS;  // the losing captures wait among the quiet moves
                    break;
                }
                MoveEntry* e = ss.next++;
                if (repeats_hash_move(ss, e)) break;
                return e;
            }
            case STAGE_GEN_QUIETS: {
                // Behind the losing captures still between next and the end mark.
                MoveEntry* begin = ss.list_end;
                MoveEntry* end = gen_quiet_moves(pos, side, begin);
                end_move_list(td, ply, end);
                score_quiets(td, pos, ss, begin, end, in_check);
                // No bound known yet: the first choice scans the whole list.
                ss.pick_ties = static_cast<int16_t>(end - ss.move_list);
                ss.stage = STAGE_QUIETS_AND_LOSING_CAPTURES;
                break;
            }
            case STAGE_QUIETS_AND_LOSING_CAPTURES: {
                if (ss.next->move == kMoveListEnd) {
                    ss.stage = STAGE_DONE;
                    return nullptr;
                }
                MoveEntry* best = best_entry(ss.next, ss.move_list + ss.pick_ties, ss.list_end, ss.pick_bound);
                ss.pick_ties = static_cast<int16_t>(best + 1 - ss.move_list);
                ss.pick_bound = best->score;
                bring_to_front(ss.next, best);
                MoveEntry* e = ss.next++;
                if (e->score < kSortedQuietFloor || ss.legal_moves > kSortedLegalMoves)
                    ss.stage = STAGE_REMAINING;
                if (repeats_hash_move(ss, e)) break;
                return e;
            }
            case STAGE_REMAINING: {
                if (ss.next->move == kMoveListEnd) {
                    ss.stage = STAGE_DONE;
                    return nullptr;
                }
                MoveEntry* e = ss.next++;
                if (repeats_hash_move(ss, e)) break;
                return e;
            }
            default:
                return nullptr;
        }
    }
}

void score_moves(ThreadData& td, const Position& pos, MoveEntry* list) {
    const SearchStackEntry& ss = td.stack[td.ply];
    uint16_t counter = counter_move_for(td, pos);
    for (MoveEntry* e = list; e->move != kMoveListEnd; e++) {
        Move m = e->move;
        int score;
        if (m == ss.hash_move) {
            score = 255;
        } else if (e->victim) {
            score = capture_order(*e);
        } else if (m & kPromoteQueen) {
            score = 200 - kAttackerValue[piece_type(e->mover)];
        } else {
            score = td.history_table[e->mover][move_to(m)] / 128;
            if (m == ss.killer_null || m == ss.killer1 || m == ss.killer2 || (counter && m == counter))
                score += 64;
        }
        e->score = static_cast<int16_t>(score);
    }
}

int game_end_state(Position& pos, bool in_check) {
    // A list of its own: the node asking may be about to fill the ply's list.
    MoveEntry list[kMaxMoves];
    int side = pos.side_to_move;
    MoveEntry* end = generate_all(pos, list);
    for (MoveEntry* e = list; e != end; e++)
        if (is_legal(pos, side, e->move)) return 0;
    return in_check ? 1 : 2;
}

void update_killers(ThreadData& td, const Position& pos, int ply, Move move, bool in_check) {
    SearchStackEntry& ss = td.stack[ply];
    Move last = td.last_move;
    if (!in_check) {
        if (!last) {
            ss.killer_null = move;
            return;
        }
        if (move != ss.killer1) {
            ss.killer2 = ss.killer1;
            ss.killer1 = move;
        }
    } else {
        ss.killer_evasion = move;
        if (!last) return;
    }
    int to = move_to(last);
    td.counter_moves[pos.board[to]][to] = move;
}

}  // namespace vorn
