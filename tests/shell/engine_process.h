#pragma once
// Runs the engine as a child process with pipes on its standard input and
// output, in a temporary directory. Every wait has a timeout and the child is
// killed when the test ends, so no test can hang.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "tests/scratch_directory.h"

namespace vorn {

class EngineProcess {
public:
    // Runs in `directory` when given (left in place), else in a fresh
    // temporary directory removed at the end. Standard error is closed
    // unless `error_output` names a descriptor for it (the caller's to close).
    explicit EngineProcess(std::vector<std::string> args = {}, std::string directory = "",
                           int error_output = -1) {
        char pattern[] = "/tmp/vorn-test-XXXXXX";
        owns_directory_ = directory.empty() && mkdtemp(pattern);
        directory_ = owns_directory_ ? pattern : directory.empty() ? "/tmp" : directory;
        int in[2], out[2];
        if (pipe(in) != 0 || pipe(out) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            dup2(in[0], 0);
            dup2(out[1], 1);
            if (error_output >= 0)
                dup2(error_output, 2);
            else
                close(2);
            close(in[1]);
            close(out[0]);
            if (chdir(directory_.c_str()) != 0) _exit(126);
            std::string binary = VORN_BINARY;
            std::vector<char*> argv{binary.data()};
            for (std::string& a : args) argv.push_back(a.data());
            argv.push_back(nullptr);
            execv(binary.c_str(), argv.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        to_child_ = in[1];
        from_child_ = out[0];
        signal(SIGPIPE, SIG_IGN);
    }

    ~EngineProcess() {
        close_input();
        if (from_child_ >= 0) close(from_child_);
        if (pid_ > 0 && status_ == kRunning) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        if (owns_directory_) (void)!std::system(("rm -rf '" + directory_ + "'").c_str());
    }

    pid_t pid() const { return pid_; }
    const std::string& directory() const { return directory_; }
    const std::string& output() const { return output_; }

    void send(const std::string& text, const char* end = "\n") {
        const std::string line = text + end;
        for (std::size_t done = 0; to_child_ >= 0 && done < line.size();) {
            ssize_t n = write(to_child_, line.data() + done, line.size() - done);
            if (n <= 0) return;
            done += static_cast<std::size_t>(n);
        }
    }

    void close_input() {
        if (to_child_ >= 0) close(to_child_);
        to_child_ = -1;
    }

    // Reads output until `needle` appears at or after position `from`.
    // Returns the seconds waited, or -1 on timeout or end of output.
    double wait_for(const std::string& needle, double timeout, std::size_t from = 0) {
        auto start = std::chrono::steady_clock::now();
        while (output_.find(needle, from) == std::string::npos) {
            double left = timeout - seconds_since(start);
            if (left <= 0 || !read_some(left)) return -1;
        }
        return seconds_since(start);
    }

    // Collects output for the given time.
    void drain(double seconds) {
        auto start = std::chrono::steady_clock::now();
        for (double left = seconds; left > 0 && read_some(left); left = seconds - seconds_since(start)) {
        }
    }

    // The exit status, or -1 on timeout or an abnormal end.
    int wait_exit(double timeout) {
        auto start = std::chrono::steady_clock::now();
        while (status_ == kRunning && seconds_since(start) < timeout) {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_)
                status_ = WIFEXITED(status) ? WEXITSTATUS(status) : kAbnormal;
            else
                read_some(0.01);
        }
        drain(0.05);
        return status_ >= 0 ? status_ : -1;
    }

    // Sends "quit"; the exit status as wait_exit gives it.
    int quit(double timeout = 10) {
        send("quit");
        return wait_exit(timeout);
    }

    std::string read_file(const std::string& name) const { return vorn::read_file(directory_ + "/" + name); }
    void write_file(const std::string& name, const std::string& content) const {
        vorn::write_file(directory_ + "/" + name, content);
    }

private:
    static constexpr int kRunning = -2;
    static constexpr int kAbnormal = -3;

    static double seconds_since(std::chrono::steady_clock::time_point start) {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    // False once the output has ended; true on data or a quiet timeout.
    bool read_some(double timeout) {
        if (from_child_ < 0) return false;
        pollfd request{from_child_, POLLIN, 0};
        int ready = poll(&request, 1, static_cast<int>(timeout * 1000) + 1);
        if (ready <= 0) return ready == 0;
        char buffer[65536];
        ssize_t n = read(from_child_, buffer, sizeof buffer);
        if (n <= 0) {
            close(from_child_);
            from_child_ = -1;
            return false;
        }
        output_.append(buffer, static_cast<std::size_t>(n));
        return true;
    }

    std::string directory_;
    std::string output_;
    pid_t pid_ = -1;
    int to_child_ = -1;
    int from_child_ = -1;
    int status_ = kRunning;
    bool owns_directory_ = false;
};

// Runs the engine on a script to its exit (the input ends after the script),
// in `directory` when given; returns everything it printed.
inline std::string run_engine(std::vector<std::string> args, const std::string& script = "",
                              const std::string& directory = "", double timeout = 30) {
    EngineProcess engine(std::move(args), directory);
    if (!script.empty()) engine.send(script);
    engine.close_input();
    EXPECT_EQ(engine.wait_exit(timeout), 0) << script;
    return engine.output();
}

// Sends the lines and waits for the whole "bestmove" line; returns the output since.
inline std::string search(EngineProcess& engine, const std::string& lines, double timeout = 30) {
    const std::size_t from = engine.output().size();
    engine.send(lines);
    EXPECT_GE(engine.wait_for("bestmove", timeout, from), 0) << engine.output().substr(from);
    engine.wait_for("\n", 1, engine.output().find("bestmove", from));
    return engine.output().substr(from);
}

inline int count_of(const std::string& text, const std::string& needle) {
    int n = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++n;
    return n;
}

}  // namespace vorn
