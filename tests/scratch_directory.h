#pragma once
// A fresh directory that is the working directory while the object lives,
// removed with everything in it afterwards, for tests of code that reads and
// writes fixed file names; whole files written and read by name, and text
// repeated to make long inputs.

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace vorn {

class ScratchDirectory {
public:
    ScratchDirectory() {
        char pattern[] = "/tmp/vorn-test-XXXXXX";
        if (mkdtemp(pattern) && getcwd(previous_, sizeof previous_) && chdir(pattern) == 0) path = pattern;
    }
    ~ScratchDirectory() {
        if (path.empty() || chdir(previous_) != 0) return;
        (void)!std::system(("rm -rf '" + path + "'").c_str());
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::string path;  // empty when the directory could not be made and entered

private:
    char previous_[4096] = {};
};

inline void write_file(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

inline std::string read_file(const std::string& name) {
    std::ifstream in(name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::string repeat(int times, const std::string& text) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

}  // namespace vorn
