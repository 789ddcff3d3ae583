// The options a UCI interface can set, and the "uci" identification.

#include <cstdlib>
#include <cstring>

#include "book/book_settings.h"
#include "search/search_limits.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/transposition_table.h"
#include "core/output.h"
#include "core/shell_state.h"
#include "shell/game_position.h"
#include "shell/uci.h"
#include "shell/usage.h"
#include "core/words.h"
#include "tablebase/probe.h"

namespace vorn {

void print_uci_identification() {
    send_linef("id name %s", kEngineName);
    send_line("id author Arno Kestrel");
    send_line("option name Hash type spin default 64 min 0 max 8192");
    send_line("option name Threads type spin default 1 min 1 max 64");
    send_line("option name Ponder type check default true");
    send_line("option name MultiPV type spin default 1 min 1 max 255");
    send_line("option name Clear Hash type button");
    send_line("option name Communication Overhead type spin default 25 min 0 max 5000");
    send_line("option name OwnBook type check default false");
    send_line("option name Log type check default false");
    send_linef("option name SyzygyPath type string default %s", SyzygyPath);
    send_linef("option name SyzygyProbeDepth5 type spin default %d min 1 max 100",
               SyzygyProbeDepth5.load());
    send_linef("option name SyzygyProbeDepth6 type spin default %d min 1 max 100",
               SyzygyProbeDepth6.load());
    send_linef("option name UCI_Chess960 type check default %s", shell.chess960 ? "true" : "false");
    shell.log_enabled = 0;
    book_settings.own_book = false;
    send_line("uciok");
    shell.protocol_mode = PROTOCOL_UCI;
}

namespace {

constexpr std::size_t kOptionNameSize = 64;
constexpr std::size_t kOptionValueSize = kSyzygyPathSize;

// Splits "name <name> [value <value>]": the name runs up to the word "value"
// (trailing blanks removed), the value is the first word after it.
void split_option(const char* arguments, char* name, char* value) {
    name[0] = value[0] = '\0';
    const char* start = find_after(arguments, "name");
    if (!start) return;
    while (*start == ' ') ++start;
    const char* end = std::strstr(start, " value");
    const char* value_start = end ? end + 6 : nullptr;
    if (!end) end = start + std::strlen(start);
    while (end > start && end[-1] == ' ') --end;
    std::size_t length = static_cast<std::size_t>(end - start);
    if (length >= kOptionNameSize) length = kOptionNameSize - 1;
    std::memcpy(name, start, length);
    name[length] = '\0';
    if (value_start) {
        while (*value_start == ' ') ++value_start;
        copy_word(value, kOptionValueSize, value_start);
    }
}

void restart_threads(int count) {
    abandon_search_and_wait();
    stop_threads(threads);
    threads = count;
    if (start_threads(count) != 0) {
        send_linef("info string cannot start %d search threads; giving up", count);
        std::exit(-1);
    }
}

}  // namespace

void set_uci_option(const char* arguments) {
    char name[kOptionNameSize];
    char value[kOptionValueSize];
    split_option(arguments, name, value);
    auto is = [&name](const char* option) { return std::strcmp(name, option) == 0; };

    if (is("Hash")) {
        abandon_search_and_wait();
        const int wanted = static_cast<int>(read_clamped(value, 0, kHashMaxMb));
        hash_size_mb = static_cast<int16_t>(wanted);
        if (tt_allocate() == 0)
            send_linef("info string Hash size set to %dM bytes", hash_size_mb);
        else
            send_linef("info string Hash size %dM bytes cannot be allocated; keeping %dM bytes", wanted,
                       hash_size_mb);
    } else if (is("Threads")) {
        int count = static_cast<int>(read_clamped(value, 1, kMaxThreads));
        if (count != threads) restart_threads(count);
        send_linef("info string Threads set to %d", count);
    } else if (is("Communication Overhead")) {
        int ms = static_cast<int>(read_clamped(value, 0, 5000));
        limits.overhead = ms * 0.001;
        send_linef("info string Communication Overhead set to %d", ms);
    } else if (is("Ponder")) {
        limits.ponder_enabled = std::strcmp(value, "true") == 0 ? 1 : 0;
    } else if (is("MultiPV")) {
        limits.multipv = static_cast<int16_t>(read_clamped(value, 1, kMaxMultiPv));
        send_linef("info string MultiPV set to %d", limits.multipv);
    } else if (is("OwnBook")) {
        book_settings.own_book = std::strcmp(value, "true") == 0;
        send_linef("info string OwnBook set to %d", book_settings.own_book ? 1 : 0);
    } else if (is("Log")) {
        shell.log_enabled = std::strstr(value, "true") ? 1 : 0;
        send_linef("info string Log set to %d", shell.log_enabled);
    } else if (is("Clear Hash")) {
        if (hash_mode != 0) {
            abandon_search_and_wait();
            tt_clear();
            send_line("Hash table cleared");
        }
    } else if (is("SyzygyPath")) {
        abandon_search_and_wait();
        copy_text(SyzygyPath, sizeof SyzygyPath, value);
        send_linef("info string SyzygyPath set to %s", SyzygyPath);
        tb_init(SyzygyPath);
    } else if (is("SyzygyProbeDepth5")) {
        SyzygyProbeDepth5 = static_cast<int>(read_clamped(value, 1, 100));
        send_linef("info string SyzygyProbeDepth5 set to %d", SyzygyProbeDepth5.load());
    } else if (is("SyzygyProbeDepth6")) {
        SyzygyProbeDepth6 = static_cast<int>(read_clamped(value, 1, 100));
        send_linef("info string SyzygyProbeDepth6 set to %d", SyzygyProbeDepth6.load());
    } else if (is("UCI_Chess960")) {
        // Castling moves of the game position are written anew; the moves
        // already played are unmade by their own form, whichever it was.
        abandon_search_and_wait();
        shell.chess960 = std::strcmp(value, "true") == 0;
        build_castling_tables(game_position());
        send_linef("info string UCI_Chess960 set to %d", shell.chess960 ? 1 : 0);
    }
}

}  // namespace vorn
