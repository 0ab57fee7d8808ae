#include "link_group.h"

#include <algorithm>

#include "socket_link.h"

namespace OHOS::Ipc {

LinkGroup::LinkGroup(size_t linksPerUser) : linksPerUser_(linksPerUser)
{}

LinkGroup::~LinkGroup() = default;

EndReason LinkGroup::Add(const sptr<SocketLink>& link)
{
    const uid_t uid = link->Peer().uid;
    std::lock_guard lock(mutex_);
    const auto ofUser = std::count_if(
        links_.begin(), links_.end(), [uid](const sptr<SocketLink>& other) { return other->Peer().uid == uid; });
    if (closed_ || static_cast<size_t>(ofUser) >= linksPerUser_) {
        return closed_ ? EndReason::CLOSED : EndReason::TOO_MANY_CONNECTIONS;
    }
    links_.push_back(link);
    return EndReason::NONE;
}

void LinkGroup::Close()
{
    std::lock_guard lock(mutex_);
    closed_ = true;
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
