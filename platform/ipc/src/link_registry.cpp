#include "link_registry.h"

#include <algorithm>
#include <limits>
#include <mutex>

#include "per_process.h"

namespace OHOS::Ipc {

namespace {

struct Registry {
    static constexpr size_t UNLIMITED = std::numeric_limits<size_t>::max();
    const std::shared_ptr<LinkGroup> clients = std::make_shared<LinkGroup>(UNLIMITED, UNLIMITED);
    std::mutex mutex;
    std::vector<std::weak_ptr<LinkGroup>> servers; // guarded by mutex
};

} // namespace

std::shared_ptr<LinkGroup> LinkRegistry::NewGroup(size_t linksPerUser, size_t linksPerProcess)
{
    auto group = std::make_shared<LinkGroup>(linksPerUser, linksPerProcess);
    auto& registry = PerProcess<Registry>::Get();
    std::lock_guard lock(registry.mutex);
    auto& servers = registry.servers;
    const auto isGone = [](const std::weak_ptr<LinkGroup>& server) { return server.expired(); };
    servers.erase(std::remove_if(servers.begin(), servers.end(), isGone), servers.end());
    servers.push_back(group);
    return group;
}

std::shared_ptr<LinkGroup> LinkRegistry::Clients()
{
    return PerProcess<Registry>::Get().clients;
}

std::vector<std::shared_ptr<LinkGroup>> LinkRegistry::Groups()
{
    auto& registry = PerProcess<Registry>::Get();
    std::vector<std::shared_ptr<LinkGroup>> groups = {registry.clients};
    std::lock_guard lock(registry.mutex);
    for (const auto& server : registry.servers) {
        if (auto group = server.lock(); group != nullptr) {
            groups.push_back(std::move(group));
        }
    }
    return groups;
}

} // namespace OHOS::Ipc
