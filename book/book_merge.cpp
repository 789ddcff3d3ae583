#include "book/book_merge.h"

#include <algorithm>
#include <cstdio>

namespace vorn {

namespace {

// Records from a file or from memory, one at a time, in book order.
class RecordSource {
public:
    explicit RecordSource(std::FILE* file) : file_(file) { advance(); }
    RecordSource(const BookEntry* records, int count) : next_(records), end_(records + count) {
        advance();
    }

    bool valid() const { return valid_; }
    const BookEntry& current() const { return current_; }

    void advance() {
        if (file_) {
            valid_ = read_book_entry(file_, current_);
        } else {
            valid_ = next_ != end_;
            if (valid_) current_ = *next_++;
        }
    }

private:
    std::FILE* file_ = nullptr;
    const BookEntry* next_ = nullptr;
    const BookEntry* end_ = nullptr;
    BookEntry current_;
    bool valid_ = false;
};

uint16_t add_counts(uint16_t a, uint16_t b) {
    return static_cast<uint16_t>(std::min(int{a} + int{b}, kBookCountLimit));
}

bool is_zero_key(const BookEntry& entry) { return entry.key16 == 0 && entry.key32 == 0; }

// Writes the union of both sources in book order to `out`; records with equal
// keys become one with their counts added. An all-zero key is never written.
bool merge_sources(RecordSource& a, RecordSource& b, std::FILE* out) {
    while (a.valid() || b.valid()) {
        const int order = !a.valid() ? 1 : !b.valid() ? -1 : compare_book_keys(a.current(), b.current());
        BookEntry entry = order <= 0 ? a.current() : b.current();
        if (order == 0) {
            entry.stm_wins = add_counts(entry.stm_wins, b.current().stm_wins);
            entry.stm_losses = add_counts(entry.stm_losses, b.current().stm_losses);
            entry.draws = add_counts(entry.draws, b.current().draws);
        }
        if (order <= 0) a.advance();
        if (order >= 0) b.advance();
        if (!is_zero_key(entry) && !write_book_entry(out, entry)) return false;
    }
    return true;
}

// Closes a finished output and puts it in place of `target`; on any failure
// the output is deleted and the target left alone.
bool finish_output(std::FILE* out, bool written, const char* temporary_name, const char* target) {
    const bool closed = std::fclose(out) == 0;
    if (written && closed && std::rename(temporary_name, target) == 0) return true;
    std::remove(temporary_name);
    return false;
}

bool merge_with_file(const char* file_name, RecordSource& other, const char* temporary_name) {
    std::FILE* out = std::fopen(temporary_name, "wb");
    if (!out) return false;
    std::FILE* in = std::fopen(file_name, "rb");
    RecordSource existing = in ? RecordSource(in) : RecordSource(nullptr, 0);
    const bool written = merge_sources(existing, other, out);
    if (in) std::fclose(in);
    return finish_output(out, written, temporary_name, file_name);
}

}  // namespace

bool merge_records_into_file(const char* file_name, const BookEntry* records, int count,
                             const char* temporary_name) {
    RecordSource buffer(records, count);
    return merge_with_file(file_name, buffer, temporary_name);
}

bool merge_file_into_file(const char* into_name, const char* from_name, const char* temporary_name) {
    std::FILE* from = std::fopen(from_name, "rb");
    if (!from) return true;
    RecordSource source(from);
    const bool merged = merge_with_file(into_name, source, temporary_name);
    std::fclose(from);
    if (merged) std::remove(from_name);
    return merged;
}

bool prune_book_file(const char* file_name, int min_games, const char* temporary_name) {
    std::FILE* in = std::fopen(file_name, "rb");
    if (!in) return true;
    std::FILE* out = std::fopen(temporary_name, "wb");
    if (!out) {
        std::fclose(in);
        return false;
    }
    bool written = true;
    BookEntry entry;
    while (written && read_book_entry(in, entry)) {
        if (entry.stm_wins + entry.stm_losses + entry.draws > min_games)
            written = write_book_entry(out, entry);
    }
    std::fclose(in);
    return finish_output(out, written, temporary_name, file_name);
}

}  // namespace vorn
