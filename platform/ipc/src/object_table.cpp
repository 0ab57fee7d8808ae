#include "object_table.h"

#include <algorithm>

#include "ipc_log.h"
#include "remote_proxy.h"

namespace OHOS::Ipc {

namespace {

// What a recipient throws ends there: those behind it are still to be told.
void Tell(IRemoteObject::DeathRecipient& recipient, const sptr<IRemoteObject>& proxy)
{
    try {
        recipient.OnRemoteDied(proxy);
    } catch (...) {
        IPC_LOGE("a death recipient threw");
    }
}

} // namespace

uint64_t ObjectTable::Give(const sptr<IPCObjectStub>& stub, size_t limit)
{
    std::lock_guard lock(mutex_);
    if (const auto known = idOf_.find(stub.GetRefPtr()); known != idOf_.end()) {
        ++given_[known->second].count;
        return known->second;
    }
    if (dead_ || given_.size() >= limit) {
        return 0;
    }
    idOf_.emplace(stub.GetRefPtr(), ++lastId_);
    given_.emplace(lastId_, Given{stub, 1});
    return lastId_;
}

ObjectTable::Release ObjectTable::TakeBack(uint64_t id, uint64_t count)
{
    std::lock_guard lock(mutex_);
    const auto found = given_.find(id);
    if (found == given_.end() || count == 0 || count > found->second.count) {
        return Release::WRONG;
    }
    found->second.count -= count;
    if (found->second.count > 0) {
        return Release::STILL_GIVEN;
    }
    ++found->second.retiring;
    return Release::UNUSED;
}

void ObjectTable::DropUnused(uint64_t id)
{
    Given dropped; // goes after the lock
    std::lock_guard lock(mutex_);
    const auto found = given_.find(id);
    if (found == given_.end() || --found->second.retiring > 0 || found->second.count > 0) {
        return;
    }
    dropped = std::move(found->second);
    idOf_.erase(dropped.stub.GetRefPtr());
    given_.erase(found);
}

sptr<IPCObjectStub> ObjectTable::FindGiven(uint64_t id) const
{
    std::lock_guard lock(mutex_);
    const auto found = given_.find(id);
    return found == given_.end() ? nullptr : found->second.stub;
}

sptr<IRemoteObject> ObjectTable::Hold(uint64_t id, Link& link)
{
    std::lock_guard lock(mutex_);
    const auto found = held_.find(id);
    if (found == held_.end() && held_.size() >= limit_) {
        return nullptr;
    }
    sptr<RemoteProxy> proxy;
    if (found != held_.end() && found->second->AttemptIncStrongRef(this)) {
        proxy = sptr<RemoteProxy>::Adopt(found->second);
    } else { // unknown, or a proxy that is just going: it takes its own arrivals with it
        proxy = sptr<RemoteProxy>::MakeSptr(link, id);
        held_[id] = proxy.GetRefPtr();
    }
    ++proxy->arrivals_;
    return proxy;
}

uint64_t ObjectTable::Forget(RemoteProxy& proxy)
{
    std::lock_guard lock(mutex_);
    const auto found = held_.find(proxy.Id());
    if (found != held_.end() && found->second == &proxy) {
        held_.erase(found);
    }
    return proxy.arrivals_;
}

bool ObjectTable::AddRecipient(RemoteProxy& proxy, const sptr<IRemoteObject::DeathRecipient>& recipient)
{
    std::lock_guard lock(mutex_);
    if (dead_) {
        return false;
    }
    proxy.recipients_.push_back(recipient);
    return true;
}

bool ObjectTable::RemoveRecipient(RemoteProxy& proxy, const sptr<IRemoteObject::DeathRecipient>& recipient)
{
    sptr<IRemoteObject::DeathRecipient> removed; // goes after the lock
    std::lock_guard lock(mutex_);
    auto& recipients = proxy.recipients_;
    const auto found = std::find(recipients.begin(), recipients.end(), recipient);
    if (found == recipients.end()) {
        return false;
    }
    removed = std::move(*found);
    recipients.erase(found);
    return true;
}

void ObjectTable::Die()
{
    std::lock_guard lock(mutex_);
    dead_ = true;
}

void ObjectTable::DropGiven()
{
    std::unordered_map<uint64_t, Given> dropped; // goes after the lock
    std::lock_guard lock(mutex_);
    dropped.swap(given_);
    idOf_.clear();
}

void ObjectTable::TellRecipients()
{
    for (const auto& proxy : Mourned()) {
        while (const auto recipient = TakeRecipient(*proxy)) {
            Tell(*recipient, proxy);
        }
    }
}

std::vector<sptr<RemoteProxy>> ObjectTable::Mourned() const
{
    std::vector<sptr<RemoteProxy>> mourned;
    std::lock_guard lock(mutex_);
    for (const auto& [id, proxy] : held_) {
        if (!proxy->recipients_.empty() && proxy->AttemptIncStrongRef(this)) {
            mourned.push_back(sptr<RemoteProxy>::Adopt(proxy));
        }
    }
    return mourned;
}

sptr<IRemoteObject::DeathRecipient> ObjectTable::TakeRecipient(RemoteProxy& proxy)
{
    std::lock_guard lock(mutex_);
    if (proxy.recipients_.empty()) {
        return nullptr;
    }
    sptr<IRemoteObject::DeathRecipient> recipient = std::move(proxy.recipients_.front());
    proxy.recipients_.erase(proxy.recipients_.begin());
    return recipient;
}

ObjectTable::Sizes ObjectTable::Count() const
{
    std::lock_guard lock(mutex_);
    return {given_.size(), held_.size()};
}

} // namespace OHOS::Ipc
