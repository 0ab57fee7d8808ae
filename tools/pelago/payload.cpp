#include "payload.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "output.h"
#include "share_constants.h"

namespace OHOS::Pelago::Tools {
namespace {

// What the payload is, as the engine and the receiver's extension read it.
constexpr int32_t MODULE_CLI = 0;
constexpr int32_t TYPE_FILES = 0;
constexpr int32_t TYPE_TEXT = 1;

} // namespace

Payload::~Payload()
{
    for (const FileHolder& file : bean.uriList) {
        (void)::close(file.fileFd); // read only: nothing to lose
    }
}

ExitCode Payload::Fill(const std::vector<std::string>& files, const std::string& text, bool asUris)
{
    if (files.size() > MAX_SHARED_FILES) {
        Complain("at most " + std::to_string(MAX_SHARED_FILES) + " files go in one send, not " +
                 std::to_string(files.size()) + "; send them in parts, or as one archive");
        return EXIT_LIMIT;
    }
    for (const std::string& path : files) {
        if (!Add(path, asUris)) {
            return EXIT_NO_SPACE;
        }
    }
    bean.sendModule = MODULE_CLI;
    bean.sendType = files.empty() ? TYPE_TEXT : TYPE_FILES;
    bean.text = text;
    data.sendModule = MODULE_CLI;
    data.text = text;
    return EXIT_DONE;
}

bool Payload::Add(const std::string& path, bool asUri)
{
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (fd < 0 || ::fstat(fd, &status) != 0) {
        Complain("cannot send '" + path + "': " + std::strerror(errno));
        if (fd >= 0) {
            (void)::close(fd);
        }
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        (void)::close(fd);
        Complain("cannot send '" + path + "': it is no regular file; name files, or pack it into one");
        return false;
    }
    bean.totalSize += status.st_size;
    ++bean.totalNum;
    std::string name = path.substr(path.rfind('/') + 1);
    if (asUri) {
        (void)::close(fd);
        return AddUri(path, name, status.st_size);
    }
    FileHolder holder;
    holder.fileName_ = name;
    holder.fileSize_ = status.st_size;
    holder.fileFd = fd;
    bean.uriList.push_back(holder);
    return true;
}

bool Payload::AddUri(const std::string& path, const std::string& name, int64_t size)
{
    std::unique_ptr<char, void (*)(void*)> absolute(::realpath(path.c_str(), nullptr), std::free);
    if (absolute == nullptr) {
        Complain("cannot send '" + path + "': " + std::strerror(errno));
        return false;
    }
    FileItem item;
    item.fileUri_ = std::string("file://") + absolute.get();
    item.fileName_ = name;
    item.fileSize_ = size;
    data.fileItems.push_back(item);
    data.totalNum = static_cast<int32_t>(data.fileItems.size());
    data.totalSize += size;
    return true;
}

} // namespace OHOS::Pelago::Tools
