#include "tools/epd_runner.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>
#include <unistd.h>

#include "board/make_move.h"
#include "board/notation.h"
#include "board/position.h"
#include "board/searchable.h"
#include "core/line_file.h"
#include "core/output.h"
#include "core/progress.h"
#include "core/shell_state.h"
#include "core/words.h"
#include "eval/engine_params.h"
#include "eval/evaluate.h"
#include "search/iterate.h"
#include "search/reductions.h"
#include "search/search_limits.h"
#include "search/search_result.h"
#include "search/thread_data.h"
#include "search/threads.h"
#include "search/time_manager.h"
#include "search/transposition_table.h"
#include "tools/tool_hooks.h"

namespace vorn {

namespace {

constexpr int kLineSize = 255;            // records of up to 254 characters
constexpr int kShortestRecord = 9;        // shorter lines (without their line end) are skipped
constexpr int kPriorClamp = 950;
constexpr double kNoResult = -2.0;
constexpr double kInputNodes = 50000.0;   // nodes searched between two looks at the input
constexpr int kThreadedDepth = 6;         // from this depth on the workers search

// The stored score "ce", clamped; 0 when the record has none.
int stored_score(const char* line) {
    const char* ce = find_after(line, " ce ");
    return ce ? static_cast<int>(read_clamped(ce, -kPriorClamp, kPriorClamp)) : 0;
}

double result_in(const char* text, const char* draw) {
    if (std::strstr(text, "1-0")) return 1.0;
    if (std::strstr(text, "0-1")) return 0.0;
    if (std::strstr(text, draw)) return 0.5;
    return kNoResult;
}

// White's result from "c9", else from an old-style result text after the
// side-to-move field; kNoResult when neither is there.
double game_result(const char* line) {
    if (const char* c9 = find_after(line, "c9 ")) return result_in(c9, "1/2-1/2");
    const char* after_side = find_after(line, " w ");
    if (!after_side) after_side = find_after(line, " b ");
    return after_side ? result_in(after_side, "1/2") : kNoResult;
}

// The single move after "bm", or 0: a list of moves names no one move.
Move expected_move(const Position& pos, const char* line) {
    const char* bm = find_after(line, "bm ");
    if (!bm) return kNoMove;
    char text[kMoveTextSize + 1];
    std::size_t n = 0;
    while (*bm == ' ') ++bm;
    while (bm[n] && bm[n] != ';' && n + 1 < sizeof text) {
        text[n] = bm[n];
        ++n;
    }
    while (n > 0 && text[n - 1] == ' ') --n;
    text[n] = '\0';
    // "Qxf7#", "e4!" and "Nf3?!" name the moves "Qxf7", "e4" and "Nf3".
    char* end = std::remove_if(text, text + n, [](char c) { return c == '#' || c == '!' || c == '?'; });
    *end = '\0';
    Move move = kNoMove;
    return parse_move(pos, text, &move) ? move : kNoMove;
}

bool usable_record(const char* line) {
    return line[0] != ' ' && line[0] != '#' && line[0] != ';' &&
           !std::memchr(line, '\0', kShortestRecord);  // the buffer is longer than this
}

// Runs the search on the game position; returns the elapsed seconds. The
// input is served every kInputNodes nodes or so while this thread searches,
// and all the time while the workers do.
double search_record(double& nodes_since_input) {
    read_clock(1);
    prepare_search();
    if (limits.max_depth < kThreadedDepth) {
        iterative_deepening(1);
        const double seconds = elapsed_now();
        nodes_since_input += double(sum_node_counters(nullptr));
        if (nodes_since_input > kInputNodes) {
            check_time();
            serve_tool_input();
            nodes_since_input = 0.0;
        }
        return seconds;
    }
    search_and_wait(serve_tool_input);
    return elapsed_now();
}

// A record's share of the prediction error at `score`, the static score of
// its side to move; false when the record does not count (a score beyond
// the limit, or no label worth fitting).
bool prediction_error(const char* line, int side_to_move, int score, double& error) {
    TuningLabel label;
    if (std::abs(score) > kTuningScoreLimit || !epd_tuning_label(line, side_to_move, label)) return false;
    error = std::fabs(win_probability(score) - label.target());
    return true;
}

// The tuner's measure (a quiet run at depth 0) needs the static evaluation
// of each record and no search: the records are read in batches and
// evaluated on every core, each thread with an evaluation state of its own
// set as the search's root evaluation sets it, and the errors are summed in
// file order, so the result is the same on any number of cores.
class StaticErrorMeasure {
public:
    StaticErrorMeasure() : workers_(std::max(1u, std::thread::hardware_concurrency())) {
        for (std::unique_ptr<Worker>& w : workers_) {
            w = std::make_unique<Worker>();
            clear_eval_state(w->state);
            w->state.searching = true;
            w->pos.owner = &w->history;
        }
    }

    static constexpr std::size_t kBatch = 16384;

    // Starts measuring a batch of records on the workers' threads; the
    // caller may read the next batch meanwhile. `batch` must stay as it is
    // until finish().
    void start(const std::vector<std::string>& batch) {
        errors_.assign(batch.size(), kNotCounted);
        const std::size_t n = workers_.size();
        for (std::size_t w = 0; w < n; ++w)
            pool_.emplace_back([this, &batch, w, n] {
                for (std::size_t i = batch.size() * w / n; i < batch.size() * (w + 1) / n; ++i)
                    errors_[i] = error_of(*workers_[w], batch[i].c_str());
            });
    }

    // Waits for the batch and adds it to the totals in file order.
    void finish(EpdRunTotals& totals) {
        for (std::thread& t : pool_) t.join();
        pool_.clear();
        totals.positions += int(errors_.size());
        for (double e : errors_) {
            if (e == kUnsearchable) continue;
            ++totals.searched;
            if (e == kNotCounted) continue;
            ++totals.error_count;
            totals.error_sum += e;
        }
    }

private:
    struct Worker {
        EvalThreadState state;
        BoardHistory history;
        Position pos{};
        EvalStackOutput out{};
    };
    static constexpr double kNotCounted = -1.0;
    static constexpr double kUnsearchable = -2.0;

    // The record's share of the error, as a depth-0 search of it would give.
    static double error_of(Worker& w, const char* line) {
        Position& pos = w.pos;
        parse_fen(pos, line);
        if (unsearchable_reason(pos)) return kUnsearchable;
        const int score =
            int16_t(evaluate(pos, w.state, w.out, 1, in_check(pos, pos.side_to_move)));
        double error;
        return prediction_error(line, pos.side_to_move, score, error) ? error : kNotCounted;
    }

    std::vector<std::unique_ptr<Worker>> workers_;
    std::vector<std::thread> pool_;
    std::vector<double> errors_;
};

void print_summary(const EpdRunTotals& t, double average_error) {
    // Records that were not searched add nothing to the sums.
    const double searched = t.searched;
    auto average = [searched](double sum) { return searched > 0 ? sum / searched : 0.0; };
    send_linef("%d / %d correct best moves", t.correct, t.positions);
    send_linef("total nodes= %0.0f", t.nodes);
    send_linef("total time= %0.2f seconds", t.seconds);
    send_linef("avg depth= %0.1f", average(t.depth_sum));
    send_linef("avg nodes= %0.1f", average(t.nodes));
    send_linef("node_rate= %0.0f", t.nodes / (t.seconds + 0.01));
    send_linef("avg bf= %0.2f", average(t.branching_sum));
    send_linef("avg error= %0.5f", average_error);
    send_linef("xcnt= %d", t.error_count);
    send_line("");
}

double average_error(const EpdRunTotals& t) {
    if (!t.files_opened) return 1.0;
    return t.error_count > 0 ? t.error_sum / t.error_count : 0.0;
}

// The records not solved go to "unsolved.epd", whole and in input order.
// They are written to a fresh file that replaces it only at the end, so
// "unsolved.epd" can itself be the input, and no run leaves it half written.
class UnsolvedFile {
public:
    static constexpr const char* kName = "unsolved.epd";

    // False when it cannot be written here (for instance a directory of
    // that name).
    bool open() {
        if (std::FILE* existing = std::fopen(kName, "a")) {
            std::fclose(existing);
        } else {
            return false;
        }
        std::snprintf(temporary_, sizeof temporary_, "%s.XXXXXX", kName);
        const int fd = mkstemp(temporary_);
        if (fd < 0) return false;
        file_ = fdopen(fd, "w");
        if (!file_) {
            close(fd);
            std::remove(temporary_);
        }
        return file_ != nullptr;
    }
    void add(const std::string& record) {
        if (file_)
            written_ok_ &= std::fwrite(record.data(), 1, record.size(), file_) == record.size() &&
                           std::fputc('\n', file_) != EOF;
    }
    // Puts the new file in place; on any write failure the old one stays.
    void finish() {
        if (!file_) return;
        const bool closed = std::fclose(file_) == 0;
        file_ = nullptr;
        if (!written_ok_ || !closed || std::rename(temporary_, kName) != 0) std::remove(temporary_);
    }

private:
    std::FILE* file_ = nullptr;
    bool written_ok_ = true;
    char temporary_[32] = {};
};

// The runner is not re-entrant: a command served while it waits for the
// workers could otherwise start another run over the same game position.
bool run_active = false;

}  // namespace

EpdRunTotals run_epd_totals(uint32_t selector) {
    EpdRunTotals totals;
    ThreadData* game = thread_table[0];
    if (run_active || !game || !thread_table[1]) return totals;

    std::FILE* epd = open_text_input(shell.epd_file, selector == 0);
    if (!epd) return totals;
    UnsolvedFile unsolved;
    if (limits.max_depth > 0 && !unsolved.open()) {
        if (selector == 0) send_linef("cannot write %s here", UnsolvedFile::kName);
        std::fclose(epd);
        return totals;
    }
    run_active = true;
    totals.files_opened = true;
    if (selector == 0) send_linef("Analyzing %s...", shell.epd_file);
    if (limits.max_depth < 2) hash_mode = 0;
    init_eval_tables();
    init_lmr_tables();
    // The tuner changes parameters between runs.
    forget_cached_evaluations(limits.max_depth < kThreadedDepth ? 1 : threads);

    const bool silent = shell.noise >= kSilentNoise;
    const uint32_t sample_offset = selector & kEpdSampleBits;
    uint32_t sample_counter = sample_offset;
    double nodes_since_input = 0.0;
    // The tuner's quiet runs show its own progress instead. The share of the
    // file read stands in for a count of its records, which would mean
    // reading it twice.
    ProgressMeter progress("positions", selector == 0);
    const int64_t file_size = progress.shown() ? regular_file_size(epd) : 0;
    std::string record;
    char line[kLineSize];
    // Whether the record just read is one the run takes.
    auto taken = [&] {
        std::snprintf(line, sizeof line, "%s", record.c_str());
        line[std::strcspn(line, "\r")] = '\0';
        if (!usable_record(line)) return false;
        ++sample_counter;
        return sample_offset == 0 || sample_counter % 16 == 0;
    };
    if (limits.max_depth < 1 && selector != 0 && silent) {
        // The input waits until the measure is whole: a "quit" served here
        // would end it early and hand the tuner a wrong error. One batch is
        // read while the one before is evaluated.
        StaticErrorMeasure measure;
        std::vector<std::string> batch, next;
        auto read_batch = [&](std::vector<std::string>& into) {
            into.clear();
            while (into.size() < StaticErrorMeasure::kBatch && read_whole_line(epd, record))
                if (taken()) into.emplace_back(line);
        };
        if (!shell.quit_requested) read_batch(batch);
        while (!batch.empty()) {
            measure.start(batch);
            read_batch(next);
            measure.finish(totals);
            batch.swap(next);
        }
    }
    while (!shell.quit_requested && read_whole_line(epd, record)) {
        if (!taken()) continue;

        if (progress.shown()) progress.update_by_bytes(totals.positions, std::ftell(epd), file_size);
        ++totals.positions;
        Position& pos = game->pos;
        parse_fen(pos, line);
        game->last_move = 0;
        const Move expected = limits.max_depth > 0 ? expected_move(pos, line) : kNoMove;
        if (limits.max_depth > 1) tt_clear();
        if (!silent) {
            send_linef("pos= %d", totals.positions);
            send_line(line);
            print_board(pos);
        }
        if (const char* reason = unsearchable_reason(pos)) {
            if (!silent) send_linef("not searching: %s", reason);
            unsolved.add(record);
            continue;
        }

        const double seconds = search_record(nodes_since_input);
        // Read the first worker's block only now: a "Threads" change served
        // while the search ran rebuilds the workers' blocks.
        const ThreadData* first = thread_table[1];
        if (!first) break;
        sum_counters();
        const SearchResult& found = search_result;
        const int score = limits.max_depth < 1 ? first->root_score.load() : found.score;
        const int static_eval = first->stack[1].static_eval;
        ++totals.searched;
        totals.seconds += seconds;
        totals.nodes += double(found.nodes);
        totals.depth_sum += found.depth;
        totals.branching_sum += effective_branching_factor();
        if (expected != kNoMove && found.best_move == expected)
            ++totals.correct;
        else
            unsolved.add(record);

        if (!silent) {
            print_search_line(1, 0, found.depth, found.score, found.pv);
            char move[kMoveTextSize];
            send_linef("move= %s, time= %0.3f, score= %d, nodes= %0.0f, %0.0fK nps\n",
                       move_to_text(found.best_move, move), seconds, score, double(found.nodes),
                       double(found.nodes) / (seconds + 0.001) / 1000.0);
        }

        // Prediction error: quiet positions only (the search score is the
        // static one), with a label worth fitting.
        double error;
        if (score != static_eval || !prediction_error(line, pos.side_to_move, score, error)) continue;
        ++totals.error_count;
        totals.error_sum += error;
    }

    // A quit leaves the records not reached unsolved as well.
    if (limits.max_depth > 0)
        while (read_whole_line(epd, record))
            if (taken()) unsolved.add(record);
    unsolved.finish();
    if (selector == 0) print_summary(totals, average_error(totals));
    std::fclose(epd);
    run_active = false;
    return totals;
}

double run_epd(uint32_t selector) { return average_error(run_epd_totals(selector)); }

double win_probability(double score, double slope) {
    return 1.0 / (std::pow(10.0, -slope * score / 400.0) + 1.0);
}

bool epd_usable_record(const char* line) { return usable_record(line); }

bool epd_tuning_label(const char* line, int side_to_move, TuningLabel& label) {
    label.prior = stored_score(line);
    label.result = game_result(line);
    if (label.result < 0.0 || label.result > 1.0 || std::abs(label.prior) > kTuningScoreLimit)
        return false;
    if (side_to_move == kBlack) label.result = 1.0 - label.result;
    return std::fabs(win_probability(label.prior) - label.result) <= 0.5;
}

}  // namespace vorn
