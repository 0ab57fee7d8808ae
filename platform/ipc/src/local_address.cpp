#include "local_address.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

namespace OHOS::Ipc {

LocalAddress::LocalAddress(const std::string& path)
{
    address_.sun_family = AF_UNIX;
    if (Set(path)) {
        valid_ = true;
        return;
    }
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    folder_ = Host::UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    valid_ = folder_.IsOpen() && Set("/proc/self/fd/" + std::to_string(folder_.Get()) + '/' + name);
}

bool LocalAddress::Set(const std::string& path)
{
    if (path.empty() || path.size() >= sizeof(address_.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(address_.sun_path, path.c_str(), path.size() + 1);
    return true;
}

} // namespace OHOS::Ipc
