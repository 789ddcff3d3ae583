#include "tablebase/decode.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace vorn {

namespace {

constexpr uint8_t kWdlMagic[4] = {0x71, 0xE8, 0x23, 0x5D};
constexpr uint8_t kDtzMagic[4] = {0xD7, 0x66, 0x0C, 0xA5};

// Smallest file that can hold a magic, the layout byte and a piece list.
constexpr size_t kMinTableSize = 16;

// Tables built once by init_tb_index_tables.
uint64_t binomial[kTbMaxPieces + 1][65];  // [k][n] = C(n, k)
int tri[64];                               // square folded into a1-d1-d4, numbered 0..9
int lower[64];                             // squares below the diagonal numbered 0..27
int kk[10][64];                            // second king given the first king's triangle square
int ptwist[64];                            // pawn squares ordered from the rook files inwards
uint64_t lead_index[kTbMaxPieces][64];     // [pawns][square]: start of the leading pawn's range
uint64_t lead_size[kTbMaxPieces][4];       // [pawns][file a..d]
constexpr int kFileFold[8] = {0, 1, 2, 3, 3, 2, 1, 0};

bool on_diagonal(int sq) { return file_of(sq) == rank_of(sq); }
bool above_diagonal(int sq) { return rank_of(sq) > file_of(sq); }
int diagonal_flip(int sq) { return ((sq >> 3) | (sq << 3)) & 63; }
bool adjacent_or_same(int a, int b) {
    int df = file_of(a) - file_of(b), dr = rank_of(a) - rank_of(b);
    return df >= -1 && df <= 1 && dr >= -1 && dr <= 1;
}

uint32_t read_u32(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24; }
uint16_t read_u16(const uint8_t* p) { return uint16_t(p[0] | p[1] << 8); }
uint32_t read_be32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }
uint64_t read_be64(const uint8_t* p) { return uint64_t(read_be32(p)) << 32 | read_be32(p + 4); }

uint64_t align(uint64_t offset, uint64_t to) { return (offset + to - 1) & ~(to - 1); }

int left_child(const uint8_t* s) { return s[0] | (s[1] & 0x0F) << 8; }
int right_child(const uint8_t* s) { return s[1] >> 4 | s[2] << 4; }
constexpr int kLeaf = 0xFFF;

// Sorts a few squares so that key(square) increases.
template <class Key>
void sort_squares(int* sq, int n, Key key) {
    for (int i = 1; i < n; i++)
        for (int j = i; j > 0 && key(sq[j - 1]) > key(sq[j]); j--) std::swap(sq[j - 1], sq[j]);
}

// Counts the values each symbol expands to; false on a reference outside
// the table, a cycle, or a count too large for any block.
bool count_expansions(const uint8_t* symbols, uint32_t count, uint32_t* expansion) {
    constexpr uint32_t kUnknown = 0, kInProgress = 0xFFFFFFFFu;
    for (uint32_t s = 0; s < count; s++) expansion[s] = kUnknown;
    uint16_t stack[4096];
    for (uint32_t start = 0; start < count; start++) {
        if (expansion[start] != kUnknown) continue;
        int depth = 0;
        stack[depth++] = uint16_t(start);
        expansion[start] = kInProgress;
        while (depth > 0) {
            const int s = stack[depth - 1];
            const uint8_t* entry = symbols + 3 * s;
            const int left = left_child(entry), right = right_child(entry);
            if (right == kLeaf) {
                expansion[s] = 1;
                depth--;
                continue;
            }
            if (uint32_t(left) >= count || uint32_t(right) >= count) return false;
            bool pushed = false;
            for (int child : {left, right}) {
                if (expansion[child] == kInProgress) return false;  // a cycle
                if (expansion[child] == kUnknown) {
                    expansion[child] = kInProgress;
                    stack[depth++] = uint16_t(child);
                    pushed = true;
                    break;
                }
            }
            if (pushed) continue;
            const uint64_t total = uint64_t(expansion[left]) + expansion[right];
            if (total > 0x7FFFFFFFu) return false;
            expansion[s] = uint32_t(total);
            depth--;
        }
    }
    return true;
}

// Cuts a piece list into groups and computes their factors. `pawn_file` is
// the leading pawn's file block (pawn tables) and `lead` the leading group's
// length. False when the order nibbles do not fit the groups.
bool lay_out_index(TbSubTable& st, int pieces, int lead, int second, int pawn_file, bool has_pawns,
                   int order, int order2) {
    int g = 0;
    st.group_length[g++] = uint8_t(lead);
    if (second) st.group_length[g++] = uint8_t(second);
    for (int i = lead + second; i < pieces;) {
        int j = i + 1;
        while (j < pieces && st.piece[j] == st.piece[i]) j++;
        st.group_length[g++] = uint8_t(j - i);
        i = j;
    }
    st.groups = uint8_t(g);
    if (order >= g || (second && (order2 >= g || order2 == order))) return false;

    uint64_t size[kTbMaxPieces];
    size[0] = !has_pawns ? (lead == 3 ? 31332 : 462) : lead_size[lead][pawn_file];
    int free_squares = 64 - lead - second;
    int first_other = 1;
    if (second) {
        size[1] = binomial[second][48 - lead];
        first_other = 2;
    }
    for (int k = first_other; k < g; k++) {
        size[k] = binomial[st.group_length[k]][free_squares];
        free_squares -= st.group_length[k];
    }
    uint64_t factor = 1;
    int next = first_other;
    for (int digit = 0; digit < g; digit++) {
        int group = digit == order ? 0 : (second && digit == order2) ? 1 : next++;
        st.factor[group] = factor;
        factor *= size[group];
    }
    st.size = factor;
    return true;
}

// Reads one pairs header at `offset`; advances it. False when it does not fit
// the file or its code lengths make no sense.
bool read_pairs_header(const MappedFile& f, uint64_t& offset, TbSubTable& st, bool dtz) {
    const uint8_t* d = f.data;
    if (offset + 2 > f.size) return false;
    st.flags = d[offset];
    if (st.flags & 0x80) {
        st.single = true;
        st.single_value = dtz ? 0 : d[offset + 1];
        offset += 2;
        return st.single_value <= 4;
    }
    st.single = false;
    if (offset + 12 > f.size) return false;
    st.block_bits = d[offset + 1];
    st.span_bits = d[offset + 2];
    const uint32_t extra = d[offset + 3];
    st.blocks = read_u32(d + offset + 4);
    st.max_length = d[offset + 8];
    st.min_length = d[offset + 9];
    if (st.block_bits < 3 || st.block_bits > 20 || st.span_bits < 1 || st.span_bits > 40) return false;
    if (st.min_length < 1 || st.min_length > st.max_length || st.max_length > 32) return false;
    if (st.blocks == 0 || st.blocks > 0x7FFFFFFFu - extra) return false;
    st.length_entries = st.blocks + extra;
    const int lengths = st.max_length - st.min_length + 1;
    const uint64_t symbols_at = offset + 12 + 2 * lengths;
    if (symbols_at > f.size) return false;
    st.symbol_count = read_u16(d + offset + 10 + 2 * lengths);
    if (st.symbol_count == 0 || st.symbol_count > 4095) return false;
    if (symbols_at + 3 * st.symbol_count > f.size) return false;
    st.symbols = d + symbols_at;

    // Canonical code limits, longest code first.
    int64_t base[33] = {};
    for (int l = st.min_length; l <= st.max_length; l++)
        st.first_symbol[l] = read_u16(d + offset + 10 + 2 * (l - st.min_length));
    for (int l = st.max_length - 1; l >= st.min_length; l--)
        base[l] = (base[l + 1] + st.first_symbol[l] - st.first_symbol[l + 1]) / 2;
    for (int l = st.min_length; l <= st.max_length; l++) st.code_limit[l] = uint64_t(base[l]) << (64 - l);
    st.code_limit[st.max_length] = 0;

    offset = symbols_at + 3 * st.symbol_count + (st.symbol_count & 1);
    return true;
}

bool read_value_maps(const MappedFile& f, uint64_t& offset, TbSubTable& st) {
    st.wide_map = (st.flags & 0x10) != 0;
    if (st.wide_map) offset = align(offset, 2);
    for (int m = 0; m < 4; m++) {
        const int width = st.wide_map ? 2 : 1;
        if (offset + width > f.size) return false;
        st.map_length[m] = st.wide_map ? read_u16(f.data + offset) : f.data[offset];
        offset += width;
        st.map[m] = f.data + offset;
        offset += uint64_t(st.map_length[m]) * width;
        if (offset > f.size) return false;
    }
    return true;
}

// Every sub-table's list holds the same pieces; their counts by colour.
bool list_counts(const TbSubTable& st, int pieces, int counts[2][7]) {
    for (int c = 0; c < 2; c++)
        for (int t = 0; t < 7; t++) counts[c][t] = 0;
    for (int i = 0; i < pieces; i++) {
        const int code = st.piece[i], type = code & 7;
        if (type < kPawn || type > kKing || (code & ~15)) return false;
        counts[code >> 3][type]++;
    }
    return true;
}

bool same_counts(const int a[2][7], const int b[2][7], bool swap) {
    for (int c = 0; c < 2; c++)
        for (int t = 1; t < 7; t++)
            if (a[c][t] != b[c ^ int(swap)][t]) return false;
    return true;
}

// Like pieces stand next to each other in a list (the filling of squares
// relies on it).
bool like_pieces_adjacent(const TbSubTable& st, int pieces) {
    for (int i = 0; i < pieces; i++)
        for (int j = i + 2; j < pieces; j++)
            if (st.piece[j] == st.piece[i] && st.piece[j - 1] != st.piece[i]) return false;
    return true;
}

// Opens a regular file for reading, or returns -1. A directory or a pipe that
// happens to carry a table's name is no table (and opening a pipe must not
// wait for a writer).
int open_regular_file(const char* path, struct stat& info) {
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return -1;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// A mapping that fails on a sound file ends the process; workers may be
// searching, so no destructors run under their feet.
[[noreturn]] void exit_on_mapping_failure() {
    std::fflush(stderr);
    std::_Exit(1);
}

}  // namespace

bool is_table_file(const char* path) {
    struct stat info;
    const int fd = open_regular_file(path, info);
    if (fd < 0) return false;
    ::close(fd);
    return true;
}

MapStatus map_table_file(const char* path, const char* name, const char* extension, MappedFile& file) {
    file = MappedFile{};
    struct stat info;
    const int fd = open_regular_file(path, info);
    if (fd < 0) return MapStatus::kMissing;
    if (size_t(info.st_size) < kMinTableSize) {
        ::close(fd);
        return MapStatus::kTooSmall;
    }
    void* view = ::mmap(nullptr, size_t(info.st_size), PROT_READ, MAP_SHARED, fd, 0);
    if (view == MAP_FAILED) {
        std::fprintf(stderr, "MapViewOfFile() failed, name = %s%s, error = %lu.\n", name, extension,
                     static_cast<unsigned long>(errno));
        exit_on_mapping_failure();
    }
    if (::close(fd) != 0) std::fprintf(stderr, "CloseHandle failed, error code %d\n", errno);
    file.data = static_cast<const uint8_t*>(view);
    file.size = size_t(info.st_size);
    return MapStatus::kMapped;
}

void unmap_table_file(MappedFile& file) {
    if (file.data && ::munmap(const_cast<uint8_t*>(file.data), file.size) != 0)
        std::fprintf(stderr, "unmap failed, error code %d\n", errno);
    file = MappedFile{};
}

void init_tb_index_tables() {
    for (int k = 0; k <= kTbMaxPieces; k++)
        for (int n = 0; n <= 64; n++)
            binomial[k][n] = k == 0 ? 1 : n == 0 ? 0 : binomial[k - 1][n - 1] + binomial[k][n - 1];

    static constexpr int kTriSquare[10] = {1, 2, 3, 10, 11, 19, 0, 9, 18, 27};
    for (int sq = 0; sq < 64; sq++) {
        int s = sq;
        if (file_of(s) >= 4) s ^= 7;
        if (rank_of(s) >= 4) s ^= 56;
        if (above_diagonal(s)) s = diagonal_flip(s);
        for (int t = 0; t < 10; t++)
            if (kTriSquare[t] == s) tri[sq] = t;
    }
    int below = 0;
    for (int sq = 0; sq < 64; sq++)
        if (file_of(sq) > rank_of(sq)) lower[sq] = below++;
    for (int sq = 0; sq < 64; sq++) {
        if (above_diagonal(sq)) lower[sq] = lower[diagonal_flip(sq)];
        if (on_diagonal(sq)) lower[sq] = 28 + rank_of(sq);
    }

    int n = 0;
    for (int t = 0; t < 10; t++)
        for (int sq = 0; sq < 64; sq++) kk[t][sq] = -1;
    for (int t = 0; t < 6; t++)
        for (int sq = 0; sq < 64; sq++)
            if (!adjacent_or_same(sq, kTriSquare[t])) kk[t][sq] = n++;
    for (int t = 6; t < 10; t++)
        for (int sq = 0; sq < 64; sq++)
            if (file_of(sq) > rank_of(sq) && !adjacent_or_same(sq, kTriSquare[t])) kk[t][sq] = n++;
    for (int t = 6; t < 10; t++)
        for (int sq = 0; sq < 64; sq++)
            if (on_diagonal(sq) && !adjacent_or_same(sq, kTriSquare[t])) kk[t][sq] = n++;

    int x = 48;
    for (int sq = 0; sq < 64; sq++) ptwist[sq] = 0;
    for (int f = 0; f < 4; f++)
        for (int r = 1; r <= 6; r++) {
            ptwist[8 * r + f] = --x;
            ptwist[(8 * r + f) ^ 7] = --x;
        }
    for (int c = 1; c < kTbMaxPieces; c++)
        for (int f = 0; f < 4; f++) {
            uint64_t sum = 0;
            for (int r = 1; r <= 6; r++) {
                lead_index[c][8 * r + f] = sum;
                sum += binomial[c - 1][ptwist[8 * r + f]];
            }
            lead_size[c][f] = sum;
        }
}

int tb_kk_index(int t, int square) { return kk[t][square]; }
uint64_t tb_lead_size(int pawns, int file) { return lead_size[pawns][file]; }

uint32_t white_signature(const TbPosition& pos) {
    uint32_t signature = 0;
    for (int type = kPawn; type <= kQueen; type++)
        signature |= uint32_t(std::popcount(tb_pieces(pos, kWhite, type))) << (4 * type);
    return signature;
}

bool parse_table(TbTable& t, bool dtz, const int counts[2][7]) {
    const MappedFile& f = t.file;
    const uint8_t* d = f.data;
    if (f.size < kMinTableSize) return false;
    const uint8_t* magic = dtz ? kDtzMagic : kWdlMagic;
    for (int i = 0; i < 4; i++)
        if (d[i] != magic[i]) return false;

    t.dtz = dtz;
    int pieces = 0;
    for (int c = 0; c < 2; c++)
        for (int type = kPawn; type <= kKing; type++) pieces += counts[c][type];
    if (pieces < 3 || pieces > kTbMaxPieces) return false;
    t.pieces = uint8_t(pieces);
    t.has_pawns = counts[0][kPawn] + counts[1][kPawn] > 0;
    t.symmetric = same_counts(counts, counts, true);
    const uint8_t layout = d[4];
    if (bool(layout & 2) != t.has_pawns || bool(layout & 1) == t.symmetric) return false;
    t.split = !dtz && (layout & 1);
    t.files = t.has_pawns ? 4 : 1;
    const int sides = t.split ? 2 : 1;
    const bool both_pawns = counts[0][kPawn] > 0 && counts[1][kPawn] > 0;

    // Piece lists and order nibbles.
    uint64_t offset = 5;
    int order[4][2], order2[4][2];
    for (int file = 0; file < t.files; file++) {
        if (offset + 1 + both_pawns + pieces > f.size) return false;
        for (int s = 0; s < sides; s++) {
            order[file][s] = (d[offset] >> (4 * s)) & 15;
            order2[file][s] = both_pawns ? (d[offset + 1] >> (4 * s)) & 15 : 15;
            for (int i = 0; i < pieces; i++)
                t.sub[file][s].piece[i] = uint8_t((d[offset + 1 + both_pawns + i] >> (4 * s)) & 15);
        }
        offset += 1 + both_pawns + pieces;
    }
    offset = align(offset, 2);

    // The lists must describe this material in one colour orientation, the
    // same for every list; the first list fixes which colour is the table's
    // white.
    int table_counts[2][7];
    if (!list_counts(t.sub[0][0], pieces, table_counts)) return false;
    if (!same_counts(table_counts, counts, false) && !same_counts(table_counts, counts, true)) return false;
    t.white_signature = 0;
    for (int type = kPawn; type <= kQueen; type++)
        t.white_signature |= uint32_t(table_counts[0][type]) << (4 * type);
    int unique = 0;
    for (int c = 0; c < 2; c++)
        for (int type = kPawn; type <= kKing; type++) unique += table_counts[c][type] == 1;

    const int lead_code = t.sub[0][0].piece[0];
    const int lead_pawns = t.has_pawns ? table_counts[lead_code >> 3][kPawn] : 0;
    const int second_pawns = both_pawns ? table_counts[(lead_code >> 3) ^ 1][kPawn] : 0;
    t.lead_pawns = uint8_t(lead_pawns);
    t.second_pawns = uint8_t(second_pawns);
    for (int file = 0; file < t.files; file++)
        for (int s = 0; s < sides; s++) {
            TbSubTable& st = t.sub[file][s];
            int list[2][7];
            if (!list_counts(st, pieces, list) || !same_counts(list, table_counts, false)) return false;
            if (!like_pieces_adjacent(st, pieces)) return false;
            int lead;
            if (t.has_pawns) {
                if ((lead_code & 7) != kPawn) return false;
                for (int i = 0; i < lead_pawns; i++)
                    if (st.piece[i] != lead_code) return false;
                for (int i = 0; i < second_pawns; i++)
                    if (st.piece[lead_pawns + i] != (lead_code ^ 8)) return false;
                lead = lead_pawns;
            } else if (unique >= 3) {
                for (int i = 0; i < 3; i++)
                    if (list[st.piece[i] >> 3][st.piece[i] & 7] != 1) return false;
                lead = 3;
            } else {
                if ((st.piece[0] & 7) != kKing || (st.piece[1] & 7) != kKing) return false;
                lead = 2;
            }
            if (!lay_out_index(st, pieces, lead, second_pawns, file, t.has_pawns, order[file][s], order2[file][s]))
                return false;
        }

    // Pairs headers, then (DTZ) the value maps.
    uint32_t symbol_total = 0;
    for (int file = 0; file < t.files; file++)
        for (int s = 0; s < sides; s++) {
            if (!read_pairs_header(f, offset, t.sub[file][s], dtz)) return false;
            if (!t.sub[file][s].single) symbol_total += t.sub[file][s].symbol_count;
        }
    if (dtz) {
        for (int file = 0; file < t.files; file++) {
            TbSubTable& st = t.sub[file][0];
            for (int m = 0; m < 4; m++) st.map_length[m] = 0;
            if (!st.single && (st.flags & 2) && !read_value_maps(f, offset, st)) return false;
        }
        offset = align(offset, 2);
    }

    // Sparse indices, block length tables, data blocks.
    for (int file = 0; file < t.files; file++)
        for (int s = 0; s < sides; s++) {
            TbSubTable& st = t.sub[file][s];
            if (st.single) continue;
            st.sparse = d + offset;
            offset += ((st.size + (uint64_t(1) << st.span_bits) - 1) >> st.span_bits) * 6;
            if (offset > f.size) return false;
        }
    for (int file = 0; file < t.files; file++)
        for (int s = 0; s < sides; s++) {
            TbSubTable& st = t.sub[file][s];
            if (st.single) continue;
            st.block_lengths = d + offset;
            offset += uint64_t(st.length_entries) * 2;
            if (offset > f.size) return false;
        }
    for (int file = 0; file < t.files; file++)
        for (int s = 0; s < sides; s++) {
            TbSubTable& st = t.sub[file][s];
            if (st.single) continue;
            offset = align(offset, 64);
            st.data = d + offset;
            offset += uint64_t(st.blocks) << st.block_bits;
            if (offset > f.size) return false;
        }
    // Padding to 64 bytes, then a 16-byte checksum: anything else means the
    // file is damaged or is not what its name says.
    if (align(offset, 64) + 16 != f.size) return false;

    // What each symbol expands to.
    t.expansion_storage.reset(new (std::nothrow) uint32_t[symbol_total + 1]);
    if (!t.expansion_storage) return false;
    uint32_t* next = t.expansion_storage.get();
    for (int file = 0; file < t.files; file++)
        for (int s = 0; s < sides; s++) {
            TbSubTable& st = t.sub[file][s];
            if (st.single) continue;
            if (!count_expansions(st.symbols, st.symbol_count, next)) return false;
            st.expansion = next;
            next += st.symbol_count;
        }
    return true;
}

void release_table(TbTable& t) {
    unmap_table_file(t.file);
    t.expansion_storage.reset();
}

bool locate(const TbTable& t, const TbPosition& pos, TbLocation& where) {
    const bool flip = t.symmetric ? pos.turn == 0 : white_signature(pos) != t.white_signature;
    const int black_to_move = pos.turn == 0;
    where.stored_side = black_to_move ^ int(flip);
    const int side = t.split ? where.stored_side : 0;
    const int squares_flip = flip ? 56 : 0;

    int sq[kTbMaxPieces] = {};
    int filled = 0;
    int file = 0;
    if (t.has_pawns) {
        const int lead_code = t.sub[0][0].piece[0];
        Bitboard leaders = tb_pieces(pos, (lead_code >> 3) ^ int(flip), kPawn);
        for (; leaders && filled < t.lead_pawns; leaders &= leaders - 1) {
            sq[filled] = std::countr_zero(leaders) ^ squares_flip;
            if (ptwist[sq[filled]] > ptwist[sq[0]]) std::swap(sq[filled], sq[0]);
            filled++;
        }
        if (filled != t.lead_pawns || leaders) return false;
        file = kFileFold[file_of(sq[0])];
    }
    const TbSubTable& st = t.sub[file][side];
    Bitboard remaining = 0;
    for (int i = filled; i < t.pieces; i++) {
        const int code = st.piece[i];
        if (i == filled || code != st.piece[i - 1]) remaining = tb_pieces(pos, (code >> 3) ^ int(flip), code & 7);
        if (!remaining) return false;
        sq[i] = std::countr_zero(remaining) ^ squares_flip;
        remaining &= remaining - 1;
    }

    // Fold the board, then number the leading group.
    const int n = t.pieces;
    uint64_t index;
    int start;
    if (!t.has_pawns) {
        if (file_of(sq[0]) >= 4)
            for (int i = 0; i < n; i++) sq[i] ^= 7;
        if (rank_of(sq[0]) >= 4)
            for (int i = 0; i < n; i++) sq[i] ^= 56;
        start = st.group_length[0];
        for (int i = 0; i < start; i++) {
            if (on_diagonal(sq[i])) continue;
            if (above_diagonal(sq[i]))
                for (int k = 0; k < n; k++) sq[k] = diagonal_flip(sq[k]);
            break;
        }
        if (start == 3) {
            const int p0 = sq[0], p1 = sq[1], p2 = sq[2];
            const int a1 = p1 > p0, a2 = (p2 > p0) + (p2 > p1);
            if (!on_diagonal(p0))
                index = uint64_t(tri[p0]) * 63 * 62 + (p1 - a1) * 62 + (p2 - a2);
            else if (!on_diagonal(p1))
                index = 23436 + rank_of(p0) * 28 * 62 + lower[p1] * 62 + (p2 - a2);
            else if (!on_diagonal(p2))
                index = 23436 + 6944 + rank_of(p0) * 7 * 28 + (rank_of(p1) - a1) * 28 + lower[p2];
            else
                index = 23436 + 6944 + 784 + rank_of(p0) * 7 * 6 + (rank_of(p1) - a1) * 6 + (rank_of(p2) - a2);
        } else {
            const int k = kk[tri[sq[0]]][sq[1]];
            if (k < 0) return false;  // kings touching: not a position
            index = uint64_t(k);
        }
    } else {
        if (file_of(sq[0]) >= 4)
            for (int i = 0; i < n; i++) sq[i] ^= 7;
        start = t.lead_pawns;
        sort_squares(sq + 1, start - 1, [](int s) { return ptwist[s]; });
        index = lead_index[start][sq[0]];
        for (int j = 1; j < start; j++) index += binomial[j][ptwist[sq[j]]];
    }
    index *= st.factor[0];

    // The other groups: each a set of like pieces numbered among the squares
    // the earlier groups left free (the second pawn group among the pawn
    // squares).
    int group = 1;
    for (int i = start; i < n; group++) {
        const int length = st.group_length[group];
        sort_squares(sq + i, length, [](int s) { return s; });
        const bool pawn_group = t.second_pawns && group == 1;
        uint64_t group_index = 0;
        for (int m = 0; m < length; m++) {
            const int s = sq[i + m];
            int below = 0;
            for (int k = 0; k < (pawn_group ? start : i); k++) below += sq[k] < s;
            const int numbered = s - below - (pawn_group ? 8 : 0);
            if (numbered < 0) return false;
            group_index += binomial[m + 1][numbered];
        }
        index += group_index * st.factor[group];
        i += length;
    }
    where.sub = &st;
    where.index = index;
    return true;
}

bool decode_value(const TbTable& t, const TbSubTable& st, uint64_t index, int& value) {
    if (st.single) {
        value = st.single_value;
        return true;
    }
    if (index >= st.size) return false;
    const uint8_t* entry = st.sparse + 6 * (index >> st.span_bits);
    uint32_t block = read_u32(entry);
    const uint64_t span = uint64_t(1) << st.span_bits;
    int64_t pos = int64_t(index & (span - 1)) - int64_t(span / 2) + read_u16(entry + 4);
    if (block >= st.length_entries) return false;
    while (pos < 0) {
        if (block == 0) return false;
        block--;
        pos += read_u16(st.block_lengths + 2 * block) + 1;
    }
    while (pos > read_u16(st.block_lengths + 2 * block)) {
        pos -= read_u16(st.block_lengths + 2 * block) + 1;
        if (++block >= st.length_entries) return false;
    }
    if (block >= st.blocks) return false;

    // Read the block's codes most significant bit first until the symbol
    // holding the wanted value; a damaged stream that runs past its block
    // stops at the file's end.
    const uint8_t* file_end = t.file.data + t.file.size;
    const uint8_t* bits = st.data + (uint64_t(block) << st.block_bits);
    const uint8_t* stop = bits + (uint64_t(1) << st.block_bits) + 8;
    if (stop > file_end) stop = file_end;
    if (bits + 8 > stop) return false;
    uint64_t window = read_be64(bits);
    const uint8_t* next = bits + 8;
    int used = 0;
    uint32_t symbol;
    for (;;) {
        int length = st.min_length;
        while (window < st.code_limit[length]) length++;
        const uint64_t code = st.first_symbol[length] + ((window - st.code_limit[length]) >> (64 - length));
        if (code >= st.symbol_count) return false;
        symbol = uint32_t(code);
        if (pos < int64_t(st.expansion[symbol])) break;
        pos -= st.expansion[symbol];
        window <<= length;
        used += length;
        if (used >= 32) {
            used -= 32;
            if (next + 4 > stop) return false;
            window |= uint64_t(read_be32(next)) << used;
            next += 4;
        }
    }
    for (;;) {
        const uint8_t* s = st.symbols + 3 * symbol;
        const int left = left_child(s);
        if (right_child(s) == kLeaf) {
            value = left;
            return true;
        }
        if (pos < int64_t(st.expansion[left])) {
            symbol = uint32_t(left);
        } else {
            pos -= st.expansion[left];
            symbol = uint32_t(right_child(s));
        }
    }
}

}  // namespace vorn
