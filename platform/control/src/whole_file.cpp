#include "host/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

namespace OHOS::Host {
namespace {

[[nodiscard]] bool WriteAll(int file, const std::string& text)
{
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(file, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

} // namespace

std::optional<std::string> ReadWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return file ? std::optional<std::string>(
                      std::in_place, std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>())
                : std::nullopt;
}

std::string WriteWhole(const std::string& path, const std::string& text, Outlives what)
{
    const std::string next = path + ".new";
    const int file = ::open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool done = file >= 0 && WriteAll(file, text) && (what == Outlives::PROCESS || ::fsync(file) == 0);
    int error = errno; // closing may overwrite it
    if (file >= 0 && ::close(file) != 0 && done) {
        done = false;
        error = errno;
    }
    if (done && std::rename(next.c_str(), path.c_str()) != 0) {
        done = false;
        error = errno;
    }
    return done ? std::string() : path + ": " + std::strerror(error);
}

} // namespace OHOS::Host
