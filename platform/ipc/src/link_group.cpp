#include "link_group.h"

#include <algorithm>

#include "socket_link.h"

namespace OHOS::Ipc {

LinkGroup::LinkGroup() = default;
LinkGroup::~LinkGroup() = default;

void LinkGroup::Add(const sptr<SocketLink>& link)
{
    std::lock_guard lock(mutex_);
    links_.push_back(link);
}

void LinkGroup::Remove(const SocketLink& link)
{
    sptr<SocketLink> removed; // let go after the lock
    std::lock_guard lock(mutex_);
    const auto found = std::find(links_.begin(), links_.end(), &link);
    if (found != links_.end()) {
        removed = std::move(*found);
        links_.erase(found);
        removed_.notify_all();
    }
}

std::vector<sptr<SocketLink>> LinkGroup::All() const
{
    std::lock_guard lock(mutex_);
    return links_;
}

size_t LinkGroup::CountOfUser(uid_t uid) const
{
    std::lock_guard lock(mutex_);
    return static_cast<size_t>(std::count_if(
        links_.begin(), links_.end(), [uid](const sptr<SocketLink>& link) { return link->Peer().uid == uid; }));
}

bool LinkGroup::EndAll(std::chrono::milliseconds limit)
{
    for (const auto& link : All()) {
        link->End(EndReason::CLOSED);
    }
    if (Reactor::IsOwnThread()) { // whose own request it would wait for
        return false;
    }
    std::unique_lock lock(mutex_);
    return removed_.wait_for(lock, limit, [this] { return links_.empty(); });
}

} // namespace OHOS::Ipc
