#ifndef PLATFORM_IPC_LINK_REGISTRY_H
#define PLATFORM_IPC_LINK_REGISTRY_H

#include <cstddef>
#include <memory>
#include <vector>

#include "link_group.h"

namespace OHOS::Ipc {

// All groups of connections of this process. Any thread; a child after fork begins with none.
class LinkRegistry {
public:
    LinkRegistry() = delete;

    // For a server; listed for as long as the server keeps it.
    [[nodiscard]] static std::shared_ptr<LinkGroup> NewGroup(size_t linksPerUser, size_t linksPerProcess);
    // Of the connections that this process makes itself.
    [[nodiscard]] static std::shared_ptr<LinkGroup> Clients();
    [[nodiscard]] static std::vector<std::shared_ptr<LinkGroup>> Groups();
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LINK_REGISTRY_H
