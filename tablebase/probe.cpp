// Discovery and registry of the tables, the WDL and DTZ probes around them
// (capture search, en passant, one ply of DTZ search) and the search's gate.
// Once a table is parsed it is read-only, so probes take no lock and
// allocate nothing; only a table's first use maps and parses it, under
// tb_mutex, allocating its symbol counts once.

#include "tablebase/probe.h"

#include <atomic>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "tablebase/decode.h"

namespace vorn {

char SyzygyPath[kSyzygyPathSize] = "";
std::atomic<int> SyzygyProbeDepth5{1};
std::atomic<int> SyzygyProbeDepth6{3};
int tb_largest = 0;
Move root_tb_moves[kMaxRootTbMoves + 1] = {};

namespace {

constexpr int kTbMaxPiece = 254;  // registry room for tables without pawns
constexpr int kTbMaxPawn = 256;   // and with pawns
constexpr int kHashBuckets = 1024;
constexpr int kHashSlots = 5;
constexpr int kDtzCacheSize = 64;
constexpr int kMaxDirectories = 64;
constexpr int kMaxFileName = 259;
constexpr int kNameSize = 16;

// Table state: parsed on first use, or dropped for good after a failure.
enum : uint8_t { kUnparsed = 0, kReady = 1, kDropped = 2 };

// One registered material: its name, material key, piece counts as named
// (first side as white) and, once used, its parsed WDL file.
struct TbEntry {
    char name[kNameSize];
    uint64_t key;
    std::atomic<uint8_t> ready;
    uint8_t num;
    bool symmetric;
    // Its DTZ file is missing or damaged: reported once, never tried again,
    // even after its cache slot has gone to another table (under tb_mutex).
    mutable bool dtz_dropped;
    int counts[2][7];
    TbTable wdl;
};

struct TbHashSlot {
    uint64_t key;
    TbEntry* entry;
};

struct DtzCacheSlot {
    const TbEntry* entry;  // material the slot holds, null when free
    TbTable table;
};

TbEntry tb_piece[kTbMaxPiece];
TbEntry tb_pawn[kTbMaxPawn];
int tb_num_piece = 0;
int tb_num_pawn = 0;
TbHashSlot tb_hash[kHashBuckets][kHashSlots];

// DTZ tables most recently used first: dtz_order holds slot numbers.
DtzCacheSlot dtz_slots[kDtzCacheSize];
int dtz_order[kDtzCacheSize];
int dtz_count = 0;

// Serialises first-use mapping and parsing, and the DTZ cache.
std::mutex tb_mutex;

char path_text[kSyzygyPathSize];
const char* directories[kMaxDirectories];
int directory_count = 0;

// The letters of a side in name order; a name is "K" + strong + "vK" + weak.
constexpr char kLetters[] = "QRBNP";
constexpr int kLetterType[5] = {kQueen, kRook, kBishop, kKnight, kPawn};

int bucket_of(uint64_t key) { return int(key >> 54); }

TbEntry* find_entry(uint64_t key) {
    TbHashSlot* bucket = tb_hash[bucket_of(key)];
    for (int i = 0; i < kHashSlots; i++)
        if (bucket[i].entry && bucket[i].key == key) return bucket[i].entry;
    return nullptr;
}

void enter_key(uint64_t key, TbEntry* entry) {
    TbHashSlot* bucket = tb_hash[bucket_of(key)];
    for (int i = 0; i < kHashSlots; i++) {
        if (!bucket[i].entry) {
            bucket[i] = TbHashSlot{key, entry};
            return;
        }
    }
    std::fprintf(stderr, "HSHMAX too low!\n");
    std::exit(1);
}

// The file name of a table in directory i; false when it would not fit.
bool file_name(int i, const char* name, const char* extension, char (&full)[kMaxFileName + 1]) {
    const int length = std::snprintf(full, sizeof full, "%s/%s%s", directories[i], name, extension);
    return length >= 0 && length <= kMaxFileName;
}

// Maps name + extension from the first directory that has it.
MapStatus map_from_path(const char* name, const char* extension, MappedFile& file) {
    for (int i = 0; i < directory_count; i++) {
        char full[kMaxFileName + 1];
        if (!file_name(i, name, extension, full)) continue;
        const MapStatus status = map_table_file(full, name, extension, file);
        if (status != MapStatus::kMissing) return status;
    }
    return MapStatus::kMissing;
}

bool file_exists_on_path(const char* name, const char* extension) {
    for (int i = 0; i < directory_count; i++) {
        char full[kMaxFileName + 1];
        if (!file_name(i, name, extension, full)) continue;
        if (is_table_file(full)) return true;
    }
    return false;
}

// Maps and parses one file of a material; prints why when it cannot.
bool open_table(TbTable& table, const char* name, const char* extension, bool dtz, const int counts[2][7]) {
    MapStatus status = map_from_path(name, extension, table.file);
    if (status == MapStatus::kMissing) {
        std::fprintf(stderr, "Could not find %s%s\n", name, extension);
        return false;
    }
    if (status == MapStatus::kTooSmall || !parse_table(table, dtz, counts)) {
        std::fprintf(stderr, "Corrupted table.\n");
        release_table(table);
        return false;
    }
    return true;
}

void register_table(const char* name, const int counts[2][7]) {
    const bool has_pawns = counts[0][kPawn] + counts[1][kPawn] > 0;
    TbEntry* entry;
    if (has_pawns) {
        if (tb_num_pawn == kTbMaxPawn) {
            std::fprintf(stderr, "TBMAX_PAWN limit too low!\n");
            std::exit(1);
        }
        entry = &tb_pawn[tb_num_pawn++];
    } else {
        if (tb_num_piece == kTbMaxPiece) {
            std::fprintf(stderr, "TBMAX_PIECE limit too low!\n");
            std::exit(1);
        }
        entry = &tb_piece[tb_num_piece++];
    }
    std::snprintf(entry->name, sizeof entry->name, "%s", name);
    std::memcpy(entry->counts, counts, sizeof entry->counts);
    entry->num = 0;
    for (int c = 0; c < 2; c++)
        for (int t = kPawn; t <= kKing; t++) entry->num = uint8_t(entry->num + counts[c][t]);
    entry->dtz_dropped = false;
    entry->key = tb_material_key(counts, false);
    const uint64_t swapped = tb_material_key(counts, true);
    entry->symmetric = swapped == entry->key;
    entry->ready.store(kUnparsed, std::memory_order_relaxed);
    if (entry->num > tb_largest) tb_largest = entry->num;
    enter_key(entry->key, entry);
    if (!entry->symmetric) enter_key(swapped, entry);
}

// Walks every material of up to six pieces in its normalised name: the side
// with more pieces first, on equal counts the one with the earlier letters.
void for_each_material(void (*visit)(const char* name, const int counts[2][7])) {
    static constexpr int kShapes[8][2] = {{1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {2, 2}, {3, 1}, {4, 0}};
    for (const auto& shape : kShapes) {
        const int strong = shape[0], weak = shape[1];
        int letters[8] = {};  // strong side's letters, then the weak side's
        const int total = strong + weak;
        for (;;) {
            bool ordered = true;
            for (int i = 1; i < strong; i++) ordered &= letters[i - 1] <= letters[i];
            for (int i = strong + 1; i < total; i++) ordered &= letters[i - 1] <= letters[i];
            if (ordered && strong == weak) {
                for (int i = 0; i < strong; i++) {
                    if (letters[i] != letters[strong + i]) {
                        ordered = letters[i] < letters[strong + i];
                        break;
                    }
                }
            }
            if (ordered) {
                char name[kNameSize];
                int counts[2][7] = {};
                counts[0][kKing] = counts[1][kKing] = 1;
                int n = 0;
                name[n++] = 'K';
                for (int i = 0; i < strong; i++) {
                    name[n++] = kLetters[letters[i]];
                    counts[0][kLetterType[letters[i]]]++;
                }
                name[n++] = 'v';
                name[n++] = 'K';
                for (int i = strong; i < total; i++) {
                    name[n++] = kLetters[letters[i]];
                    counts[1][kLetterType[letters[i]]]++;
                }
                name[n] = '\0';
                visit(name, counts);
            }
            int k = total - 1;  // next combination, last letter fastest
            while (k >= 0 && letters[k] == 4) letters[k--] = 0;
            if (k < 0) break;
            letters[k]++;
        }
    }
}

void release_everything() {
    for (int i = 0; i < tb_num_piece; i++)
        if (tb_piece[i].ready.load() == kReady) release_table(tb_piece[i].wdl);
    for (int i = 0; i < tb_num_pawn; i++)
        if (tb_pawn[i].ready.load() == kReady) release_table(tb_pawn[i].wdl);
    for (int i = 0; i < dtz_count; i++) {
        release_table(dtz_slots[dtz_order[i]].table);
        dtz_slots[dtz_order[i]].entry = nullptr;
    }
    dtz_count = 0;
    tb_num_piece = tb_num_pawn = 0;
    std::memset(tb_hash, 0, sizeof tb_hash);
    tb_largest = 0;
    directory_count = 0;
    path_text[0] = '\0';
    root_tb_moves[0] = 0;
}

// The entry of a position's material with its WDL file parsed, or null.
const TbEntry* wdl_entry(const TbPosition& pos) {
    TbEntry* entry = find_entry(tb_material_key(pos, false));
    if (!entry) return nullptr;
    uint8_t state = entry->ready.load(std::memory_order_acquire);
    if (state == kUnparsed) {
        std::lock_guard<std::mutex> lock(tb_mutex);
        state = entry->ready.load(std::memory_order_relaxed);
        if (state == kUnparsed) {
            state = open_table(entry->wdl, entry->name, ".rtbw", false, entry->counts) ? kReady : kDropped;
            entry->ready.store(state, std::memory_order_release);
        }
    }
    return state == kReady ? entry : nullptr;
}

// Raw WDL of the table (-2..2), exact only where no capture does better.
int table_wdl(const TbPosition& pos, int& success) {
    if (std::popcount(tb_occupied(pos)) == 2) return 0;  // bare kings
    const TbEntry* entry = wdl_entry(pos);
    TbLocation where;
    int value;
    if (!entry || !locate(entry->wdl, pos, where) || !decode_value(entry->wdl, *where.sub, where.index, value) ||
        value > 4) {
        success = 0;
        return 0;
    }
    return value - 2;
}

// The DTZ file of an entry from the cache, mapped on demand; caller holds
// tb_mutex.
const TbTable* dtz_table(const TbEntry* entry) {
    if (entry->dtz_dropped) return nullptr;
    for (int i = 0; i < dtz_count; i++) {
        const int slot = dtz_order[i];
        if (dtz_slots[slot].entry != entry) continue;
        for (int k = i; k > 0; k--) dtz_order[k] = dtz_order[k - 1];
        dtz_order[0] = slot;
        return &dtz_slots[slot].table;
    }
    int slot;
    if (dtz_count < kDtzCacheSize) {
        slot = dtz_count++;
    } else {
        slot = dtz_order[kDtzCacheSize - 1];
        release_table(dtz_slots[slot].table);
    }
    for (int k = dtz_count - 1; k > 0; k--) dtz_order[k] = dtz_order[k - 1];
    dtz_order[0] = slot;
    DtzCacheSlot& s = dtz_slots[slot];
    s.entry = entry;
    entry->dtz_dropped = !open_table(s.table, entry->name, ".rtbz", true, entry->counts);
    return entry->dtz_dropped ? nullptr : &s.table;
}

// DTZ from the table for a position whose WDL `wdl` (nonzero) is known.
// `stored` becomes false when the file holds the other side to move.
int table_dtz(const TbPosition& pos, int wdl, bool& stored, int& success) {
    stored = true;
    const TbEntry* entry = wdl_entry(pos);
    if (!entry) {
        success = 0;
        return 0;
    }
    std::lock_guard<std::mutex> lock(tb_mutex);
    const TbTable* table = dtz_table(entry);
    TbLocation where;
    if (!table || !locate(*table, pos, where)) {
        success = 0;
        return 0;
    }
    const TbSubTable& st = *where.sub;
    if (!(table->symmetric && !table->has_pawns) && where.stored_side != (st.flags & 1)) {
        stored = false;
        return 0;
    }
    int value;
    if (!decode_value(*table, st, where.index, value)) {
        success = 0;
        return 0;
    }
    if (!st.single && (st.flags & 2)) {
        const int map = wdl == 2 ? 0 : wdl == -2 ? 1 : wdl == 1 ? 2 : 3;
        if (value >= st.map_length[map]) {
            success = 0;
            return 0;
        }
        const uint8_t* m = st.map[map];
        value = st.wide_map ? m[2 * value] | m[2 * value + 1] << 8 : m[value];
    }
    const bool exact = (wdl == 2 && (st.flags & 4)) || (wdl == -2 && (st.flags & 8));
    const int plies = exact ? value : 2 * value;
    const int magnitude = (wdl == 2 || wdl == -2 ? 1 : 101) + plies;
    return wdl > 0 ? magnitude : -magnitude;
}

// Best value over captures and the table, alpha-beta inside (alpha, beta).
// After a capture no en-passant right exists, so none is met here.
int capture_search(const TbPosition& pos, int alpha, int beta, int& success) {
    TbMove moves[kTbMaxMoves];
    const int n = tb_legal_moves(pos, moves, true);
    for (int i = 0; i < n; i++) {
        const int v = -capture_search(tb_make_move(pos, moves[i]), -beta, -alpha, success);
        if (!success) return 0;
        if (v > alpha) {
            if (v >= beta) return v;
            alpha = v;
        }
    }
    const int v = table_wdl(pos, success);
    return v > alpha ? v : alpha;
}

// WDL of a position with en passant taken into account, and whether the
// best move zeroes the fifty-move counter (a winning or equalising capture).
int wdl_with_zeroing(const TbPosition& pos, bool& zeroes, int& success) {
    TbMove moves[kTbMaxMoves];
    const int n = tb_legal_moves(pos, moves, true);
    int best_capture = -3, best_ep = -3;
    for (int i = 0; i < n; i++) {
        const bool ep = tb_is_en_passant(pos, moves[i]);
        const int floor = ep ? best_ep : best_capture;  // only a better value matters
        const int v = -capture_search(tb_make_move(pos, moves[i]), -2, -floor, success);
        if (!success) return 0;
        if (v == 2) {
            zeroes = true;
            return 2;
        }
        if (ep) best_ep = v > best_ep ? v : best_ep;
        else best_capture = v > best_capture ? v : best_capture;
    }
    const int v = table_wdl(pos, success);
    if (!success) return 0;
    if (best_ep > (v > best_capture ? v : best_capture)) {
        zeroes = true;
        return best_ep;
    }
    if (best_ep > best_capture) best_capture = best_ep;
    if (best_capture >= v) {
        zeroes = best_capture > 0;
        return best_capture;
    }
    // The table sees the placement without the en-passant right: where the
    // capture is the only legal move it calls the position stalemate.
    if (v == 0 && best_ep > -3) {
        TbMove all[kTbMaxMoves];
        const int total = tb_legal_moves(pos, all, false);
        bool only_ep = total > 0;
        for (int i = 0; i < total; i++) only_ep &= tb_is_en_passant(pos, all[i]);
        if (only_ep) {
            zeroes = true;
            return best_ep;
        }
    }
    zeroes = false;
    return v;
}

// Recursion guard for the one-ply DTZ search: a sound table needs one level
// (the child's side is the stored one); damaged ones must not loop.
int dtz_search(const TbPosition& pos, int& success, int level) {
    bool zeroes = false;
    const int wdl = wdl_with_zeroing(pos, zeroes, success);
    if (!success || wdl == 0) return 0;
    static constexpr int kZeroingDtz[5] = {-1, -101, 0, 101, 1};
    if (zeroes) return kZeroingDtz[wdl + 2];

    TbMove moves[kTbMaxMoves];
    const int n = tb_legal_moves(pos, moves, false);
    if (wdl > 0) {
        // A winning pawn push zeroes at once.
        for (int i = 0; i < n; i++) {
            if (!tb_is_pawn_move(pos, moves[i]) || tb_is_capture(pos, moves[i])) continue;
            bool child_zeroes;
            const int v = -wdl_with_zeroing(tb_make_move(pos, moves[i]), child_zeroes, success);
            if (!success) return 0;
            if (v == wdl) return kZeroingDtz[wdl + 2];
        }
    }
    bool stored;
    const int dtz = table_dtz(pos, wdl, stored, success);
    if (!success) return 0;
    if (stored) return dtz;
    if (level >= 2) {
        success = 0;
        return 0;
    }

    // The file holds the other side to move: one ply of search.
    int best = wdl > 0 ? 0 : kZeroingDtz[wdl + 2];
    for (int i = 0; i < n; i++) {
        if (tb_is_capture(pos, moves[i]) || tb_is_pawn_move(pos, moves[i])) continue;
        const TbPosition child = tb_make_move(pos, moves[i]);
        int v = -dtz_search(child, success, level + 1);
        if (!success) return 0;
        if (v == 1 && tb_is_mate(child)) {
            best = 1;
        } else if ((v > 0) == (wdl > 0) && v != 0) {
            v += v > 0 ? 1 : -1;
            if (best == 0 || v < best) best = v;
        }
    }
    if (best == 0) success = 0;  // a win with no winning move: the data lie
    return best;
}

// Cheap refusal before any move generation: a position whose own material
// has no usable table cannot be probed, whatever its captures lead to.
bool own_table_usable(const TbPosition& pos) {
    if (std::popcount(tb_occupied(pos)) == 2) return true;
    const TbEntry* entry = find_entry(tb_material_key(pos, false));
    return entry && entry->ready.load(std::memory_order_relaxed) != kDropped;
}

}  // namespace

int probe_wdl(const TbPosition& pos, int& success) {
    success = own_table_usable(pos);
    if (!success) return 0;
    bool zeroes = false;
    const int v = wdl_with_zeroing(pos, zeroes, success);
    return success ? v : 0;
}

int probe_dtz(const TbPosition& pos, int& success) {
    success = own_table_usable(pos);
    if (!success) return 0;
    const int v = dtz_search(pos, success, 0);
    return success ? v : 0;
}

void tb_init(const char* path) {
    static bool tables_built = false;
    if (!tables_built) {
        init_tb_index_tables();
        tables_built = true;
    }
    release_everything();
    if (!path || !*path || std::strcmp(path, "<empty>") == 0) return;

    std::snprintf(path_text, sizeof path_text, "%s", path);
    for (char* part = path_text; *part && directory_count < kMaxDirectories;) {
        char* end = std::strchr(part, ';');
        if (end) *end = '\0';
        if (*part) directories[directory_count++] = part;
        if (!end) break;
        part = end + 1;
    }

    for_each_material([](const char* name, const int counts[2][7]) {
        if (file_exists_on_path(name, ".rtbw")) register_table(name, counts);
    });
    std::printf("info string found %d tablebases\n", tb_num_piece + tb_num_pawn);
    std::fflush(stdout);
}

int tb_probe_wdl(const Position& pos, int depth) {
    if (pos.castling) return -1;
    const int pieces = std::popcount(pos.pieces[kWhite][0] | pos.pieces[kBlack][0]);
    if (pieces > tb_largest || depth < SyzygyProbeDepth5) return -1;
    if ((pieces == 6 && depth < SyzygyProbeDepth6) || (pieces >= 7 && depth < 100)) return -1;
    int success;
    const int v = probe_wdl(tb_position_from(pos, 0), success);
    return success ? v + 2 : -1;
}

}  // namespace vorn
