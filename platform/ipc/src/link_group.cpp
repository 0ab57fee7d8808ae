#include "link_group.h"

#include <algorithm>

#include "socket_link.h"

namespace OHOS::Ipc {

LinkGroup::LinkGroup(size_t linksPerUser, size_t linksPerProcess)
    : linksPerUser_(linksPerUser), linksPerProcess_(linksPerProcess)
{}

LinkGroup::~LinkGroup() = default;

EndReason LinkGroup::Add(const sptr<SocketLink>& link)
{
    const auto [pid, uid] = std::pair(link->Peer().pid, link->Peer().uid);
    std::lock_guard lock(mutex_);
    if (closed_) {
        return EndReason::CLOSED;
    }
    size_t ofUser = 0;
    size_t ofProcess = 0;
    for (const auto& other : links_) {
        ofUser += other->Peer().uid == uid ? 1 : 0;
        if (other->Peer().pid == pid) {
            ++ofProcess;
            link->ShareLoad(*other);
        }
    }
    if (ofUser >= linksPerUser_) {
        return EndReason::TOO_MANY_CONNECTIONS;
    }
    if (ofProcess >= linksPerProcess_) {
        return EndReason::TOO_MANY_CONNECTIONS_OF_PROCESS;
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
