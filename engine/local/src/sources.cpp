#include "sources.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "ipc_skeleton.h"
#include "share_constants.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr std::string_view FILE_SCHEME = "file://";

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// Nothing for an escape that is none, and for NUL.
std::optional<std::string> PercentDecoded(std::string_view text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
            int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
            if (high < 0 || low < 0) {
                return std::nullopt;
            }
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (c == '\0') {
            return std::nullopt;
        }
        out.push_back(c);
    }
    return out;
}

std::optional<std::string> PathOf(const std::string& uri)
{
    if (uri.compare(0, FILE_SCHEME.size(), FILE_SCHEME) != 0 || uri.size() <= FILE_SCHEME.size() ||
        uri[FILE_SCHEME.size()] != '/') {
        return std::nullopt;
    }
    return PercentDecoded(std::string_view(uri).substr(FILE_SCHEME.size()));
}

[[nodiscard]] bool IsReadable(int fd)
{
    int flags = ::fcntl(fd, F_GETFL);
    return flags >= 0 && (flags & O_PATH) == 0 && (flags & O_ACCMODE) != O_WRONLY;
}

// Adds the file; false with the reason when it cannot be sent.
[[nodiscard]] bool AddSource(Host::UniqueFd fd, const std::string& name, std::vector<Source>& sources, Outcome& failure)
{
    struct stat status {};
    if (!fd || ::fstat(fd.Get(), &status) != 0) {
        failure = {Ending::BAD_SOURCE, std::string("a file cannot be opened: ") + std::strerror(errno)};
        return false;
    }
    if (!S_ISREG(status.st_mode) || !IsReadable(fd.Get())) {
        failure = {Ending::BAD_SOURCE, "a source is not a regular file that can be read"};
        return false;
    }
    sources.push_back({std::move(fd), name, static_cast<uint64_t>(status.st_size)});
    return true;
}

[[nodiscard]] bool IsTooMany(size_t count, Outcome& failure)
{
    if (count <= MAX_SHARED_FILES) {
        return false;
    }
    failure = {Ending::BAD_SOURCE, "more files than one share may have"};
    return true;
}

} // namespace

std::optional<std::vector<Source>> OpenSources(const SendBean& bean, Outcome& failure)
{
    std::vector<Source> sources;
    if (IsTooMany(bean.uriList.size(), failure)) {
        return std::nullopt;
    }
    for (const FileHolder& file : bean.uriList) {
        if (!AddSource(Host::UniqueFd(::fcntl(file.fileFd, F_DUPFD_CLOEXEC, 0)), file.fileName_, sources, failure)) {
            return std::nullopt;
        }
    }
    return sources;
}

std::optional<std::vector<Source>> OpenSources(const DataBean& bean, Outcome& failure)
{
    std::vector<Source> sources;
    if (IsTooMany(bean.fileItems.size(), failure)) {
        return std::nullopt;
    }
    for (const FileItem& item : bean.fileItems) {
        Host::UniqueFd fd = OpenUri(item.fileUri_, failure);
        std::string path = PathOf(item.fileUri_).value_or("");
        std::string name = item.fileName_.empty() ? path.substr(path.rfind('/') + 1) : item.fileName_;
        if (!fd || !AddSource(std::move(fd), name, sources, failure)) {
            return std::nullopt;
        }
    }
    return sources;
}

Host::UniqueFd OpenUri(const std::string& uri, Outcome& failure)
{
    if (IPCSkeleton::GetCallingUid() != ::getuid()) {
        failure = {Ending::NOT_ALLOWED, "the caller is another user: files of its own go by descriptor"};
        return {};
    }
    auto path = PathOf(uri);
    if (!path.has_value()) {
        failure = {Ending::BAD_SOURCE, "the URI is not file:// and an absolute path"};
        return {};
    }
    Host::UniqueFd fd(
        ::open(path->c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)); // a FIFO must not hold us up
    if (!fd) {
        failure = {Ending::BAD_SOURCE, std::string("a file cannot be opened: ") + std::strerror(errno)};
    }
    return fd;
}

} // namespace OHOS::Pelago::Local
