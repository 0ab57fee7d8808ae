#ifndef PELAGO_DISCOVERY_LOCKED_MAP_H
#define PELAGO_DISCOVERY_LOCKED_MAP_H

#include <map>
#include <optional>
#include <string>
#include <utility>

#include "share_mutex.h"

namespace OHOS::Pelago {

// A map by device id with a lock of its own, for values that come and go whole: what is there stays until it is
// removed, and nobody looks in. Owned by its class as a static member; every operation may be called from any thread.
// The lock is a leaf: values are built before it is taken and destroyed after it is released, so that whatever a value
// lets go of (descriptors, a remote object) never runs under it. It does not log.
template <typename Value>
class LockedMap {
public:
    explicit LockedMap(const char* mutexName) : mutex_(mutexName, LockRank::LEAF)
    {}

    // False, and `value` dropped, when the key is taken.
    [[nodiscard]] bool Insert(const std::string& deviceId, Value value)
    {
        MutexLock lock(mutex_);
        return map_.try_emplace(deviceId, std::move(value)).second;
    }

    // False when there was nothing to remove.
    [[nodiscard]] bool Remove(const std::string& deviceId)
    {
        typename Map::node_type removed; // outlives the lock
        MutexLock lock(mutex_);
        removed = map_.extract(deviceId);
        return !removed.empty();
    }

    // A copy of what is stored.
    std::optional<Value> Get(const std::string& deviceId) const
    {
        MutexLock lock(mutex_);
        auto found = map_.find(deviceId);
        return found == map_.end() ? std::nullopt : std::make_optional(found->second);
    }

    size_t Size() const
    {
        MutexLock lock(mutex_);
        return map_.size();
    }

    void Clear()
    {
        Map removed; // outlives the lock
        MutexLock lock(mutex_);
        map_.swap(removed);
    }

private:
    using Map = std::map<std::string, Value>;

    mutable Mutex mutex_;
    Map map_ SHARE_GUARDED_BY(mutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_LOCKED_MAP_H
