#pragma once
// Syzygy table files: mapping them into memory, parsing their headers, the
// index of a position inside a table, and the pair/Huffman decoding of the
// stored values. Every read of mapped data is bounded by the file size, so a
// damaged file yields a failed probe, never a stray read.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tablebase/tb_position.h"

namespace vorn {

// A whole file mapped read-only.
struct MappedFile {
    const uint8_t* data = nullptr;
    size_t size = 0;
};

enum class MapStatus { kMapped, kMissing, kTooSmall };

// Maps `path` whole. A file that cannot be opened is kMissing; one too small
// to hold a header is kTooSmall (and not mapped). A sound file the operating
// system refuses to map ends the process with a message naming `name` and
// `extension`.
MapStatus map_table_file(const char* path, const char* name, const char* extension, MappedFile& file);
// Whether path names a regular file that can be opened for reading.
bool is_table_file(const char* path);
void unmap_table_file(MappedFile& file);

constexpr int kTbMaxPieces = 7;

// One (pawn file, side to move) part of a table: how its index is built and
// where its compressed values lie.
struct TbSubTable {
    // Index layout: piece codes in index order (table colours), the groups in
    // list order with their lengths and mixed-radix factors.
    uint8_t piece[kTbMaxPieces];
    uint8_t group_length[kTbMaxPieces];
    uint64_t factor[kTbMaxPieces];
    uint8_t groups;
    uint64_t size;  // number of indices

    // Compressed values.
    uint8_t flags;
    bool single;           // one value for every index
    uint8_t single_value;
    uint8_t block_bits, span_bits, min_length, max_length;
    uint32_t blocks, length_entries, symbol_count;
    const uint8_t* symbols;        // 3 bytes each
    const uint8_t* sparse;         // 6 bytes per span
    const uint8_t* block_lengths;  // u16 each: values in the block minus one
    const uint8_t* data;
    uint64_t code_limit[33];       // by code length, left-aligned
    uint16_t first_symbol[33];     // by code length
    const uint32_t* expansion;     // values each symbol stands for

    // DTZ value maps (win, loss, cursed win, blessed loss).
    const uint8_t* map[4];
    uint16_t map_length[4];
    bool wide_map;
};

struct TbTable {
    MappedFile file;
    bool dtz = false;
    bool has_pawns = false;
    bool symmetric = false;
    bool split = false;         // WDL: both sides to move stored
    uint8_t pieces = 0;
    uint8_t files = 0;          // 1 without pawns, 4 with
    uint8_t lead_pawns = 0;     // pawns in the leading group
    uint8_t second_pawns = 0;   // pawns of the other colour (both sides have pawns)
    uint32_t white_signature = 0;  // the table's own white material
    TbSubTable sub[4][2];
    std::unique_ptr<uint32_t[]> expansion_storage;
};

// Builds the binomial and index tables; safe to call more than once.
void init_tb_index_tables();

// Parses a mapped file whose material is `counts` ([colour][type], in the
// order the file is named). False when the file does not hold together.
bool parse_table(TbTable& table, bool dtz, const int counts[2][7]);

// Unmaps the file and frees what parsing allocated.
void release_table(TbTable& table);

// Where a position lies in a table: its sub-table and index. `stored_side`
// is the table's side to move for the position (0 its white), which a DTZ
// caller compares with the side the file holds. False when the position
// cannot be placed (material that does not match the table).
struct TbLocation {
    const TbSubTable* sub;
    uint64_t index;
    int stored_side;
};
bool locate(const TbTable& table, const TbPosition& pos, TbLocation& where);

// Stored value at an index; false on damaged data.
bool decode_value(const TbTable& table, const TbSubTable& sub, uint64_t index, int& value);

// White's material as counts per type, the form in which a position is
// compared with a table's own white to find the table's orientation.
uint32_t white_signature(const TbPosition& pos);

// Index tables, exposed for their checks.
int tb_kk_index(int tri, int square);
uint64_t tb_lead_size(int pawns, int file);

}  // namespace vorn
