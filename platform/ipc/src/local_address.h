#ifndef PLATFORM_IPC_LOCAL_ADDRESS_H
#define PLATFORM_IPC_LOCAL_ADDRESS_H

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

#include "host/unique_fd.h"

namespace OHOS::Ipc {

// The address of a socket file, however long the path of its folder: an address has room for some hundred bytes only,
// so a longer one goes through an open descriptor of the folder. Valid while the object lives.
class LocalAddress {
public:
    // Does not touch the file.
    explicit LocalAddress(const std::string& path);

    // False when the folder cannot be opened, with errno, or the file's name alone is too long.
    [[nodiscard]] bool IsValid() const
    {
        return valid_;
    }
    [[nodiscard]] const sockaddr* Get() const
    {
        return reinterpret_cast<const sockaddr*>(&address_);
    }
    [[nodiscard]] socklen_t Size() const
    {
        return sizeof(address_);
    }

private:
    [[nodiscard]] bool Set(const std::string& path);

    Host::UniqueFd folder_;
    sockaddr_un address_ = {};
    bool valid_ = false;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LOCAL_ADDRESS_H
