#include "core/line_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/output.h"

namespace vorn {

bool read_line(std::FILE* file, char* line, int size) {
    if (!std::fgets(line, size, file)) return false;
    std::size_t length = std::strlen(line);
    if (length > 0 && line[length - 1] != '\n' && !std::feof(file)) {
        int c;
        while ((c = std::fgetc(file)) != EOF && c != '\n') {
        }
    }
    line[std::strcspn(line, "\r\n")] = '\0';
    return true;
}

bool read_whole_line(std::FILE* file, std::string& line) {
    line.clear();
    int c;
    // One lock for the line, not one a character: the tuner reads its file
    // of positions over and over.
    flockfile(file);
    while ((c = getc_unlocked(file)) != EOF && c != '\n')
        if (line.size() < kLongestWholeLine) line += static_cast<char>(c);
    funlockfile(file);
    if (c == EOF && line.empty()) return false;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}

std::FILE* open_regular_file(const char* name, const char* mode, const char** why) {
    // Opened without blocking, so that a FIFO is seen for what it is first.
    const int fd = ::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (why) *why = std::strerror(errno);
        return nullptr;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        if (why) *why = "not a regular file";
        return nullptr;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    std::FILE* file = ::fdopen(fd, mode);
    if (!file) {
        if (why) *why = std::strerror(errno);
        ::close(fd);
    }
    return file;
}

std::FILE* open_text_input(const char* name, bool name_failure) {
    const char* why = nullptr;
    std::FILE* file = open_regular_file(name, "r", &why);
    if (!file) {
        if (name_failure) send_linef("cannot read %s: %s", name, why);
        return nullptr;
    }
    unsigned char mark[3];
    if (std::fread(mark, 1, 3, file) != 3 || mark[0] != 0xEF || mark[1] != 0xBB || mark[2] != 0xBF)
        std::rewind(file);
    return file;
}

bool same_file(const char* a, const char* b) {
    struct stat first {}, second {};
    return ::stat(a, &first) == 0 && ::stat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

}  // namespace vorn
