#ifndef PLATFORM_IPC_OBJECT_TABLE_H
#define PLATFORM_IPC_OBJECT_TABLE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "ipc_object_stub.h"
#include "iremote_object.h"

namespace OHOS::Ipc {

class Link;
class RemoteProxy;

// The objects that two processes share, as one of them sees it: stubs that it has given and proxies that it holds.
//
// A stub has one number for as long as it is given, and each message that carries it adds one to its count. The holder
// counts what arrives, in the proxy; when the proxy goes, a release takes that number back. So a release that crosses
// with a message leaves the count of that message standing, and the stub under the number that the message names.
//
// Owned by its Link. Any thread; the mutex is a leaf, and no object is let go under it.
class ObjectTable {
public:
    struct Sizes {
        size_t given = 0;
        size_t held = 0;
    };
    enum class Release {
        STILL_GIVEN, // messages that carry the object are on their way
        UNUSED,      // DropUnused is to follow, once everything sent before the release has been read
        WRONG,       // no such object, or more than was given
    };

    // `limit`: how many objects may be held.
    explicit ObjectTable(size_t limit) : limit_(limit)
    {}

    // Counts one message that carries the stub. Gives the stub's number, 0 when `limit` others are given already.
    [[nodiscard]] uint64_t Give(const sptr<IPCObjectStub>& stub, size_t limit);
    // Takes back `count` messages: they were not sent, or the peer has released them.
    [[nodiscard]] Release TakeBack(uint64_t id, uint64_t count);
    // Follows each UNUSED: forgets the stub, unless it has been given again or another one is to follow.
    void DropUnused(uint64_t id);
    // The stub behind a number, null when it is not given.
    [[nodiscard]] sptr<IPCObjectStub> FindGiven(uint64_t id) const;

    // Counts one arrival of the peer's object and gives its proxy. Null when the limit is reached.
    [[nodiscard]] sptr<IRemoteObject> Hold(uint64_t id, Link& link);
    // For the destructor of a proxy: gives how often the object had arrived in it.
    [[nodiscard]] uint64_t Forget(RemoteProxy& proxy);

    // False for a table whose peer is dead.
    [[nodiscard]] bool AddRecipient(RemoteProxy& proxy, const sptr<IRemoteObject::DeathRecipient>& recipient);
    bool RemoveRecipient(RemoteProxy& proxy, const sptr<IRemoteObject::DeathRecipient>& recipient);

    [[nodiscard]] bool IsDead() const
    {
        return dead_; // in one order with what a served lane says of itself
    }
    // The peer is gone: nothing more is given, and nobody can be added to those who are to be told.
    void Die();
    // For after the death: lets go of all that was given.
    void DropGiven();
    // For after the death: calls each recipient that is still there, once, with no lock held. One thread at a time.
    void TellRecipients();

    [[nodiscard]] Sizes Count() const;

private:
    struct Given {
        sptr<IPCObjectStub> stub;
        uint64_t count = 0;    // messages that carry it, or have and are not released
        uint64_t retiring = 0; // how often the count has come to 0 and DropUnused is still to come
    };

    [[nodiscard]] std::vector<sptr<RemoteProxy>> Mourned() const;
    [[nodiscard]] sptr<IRemoteObject::DeathRecipient> TakeRecipient(RemoteProxy& proxy);

    const size_t limit_;
    std::atomic<bool> dead_{false}; // set under the mutex

    mutable std::mutex mutex_;
    // Guarded by mutex_, as are the count and the recipients of each proxy.
    uint64_t lastId_ = 0;
    std::unordered_map<uint64_t, Given> given_;
    std::unordered_map<const IPCObjectStub*, uint64_t> idOf_;
    std::unordered_map<uint64_t, RemoteProxy*> held_; // each leaves by Forget, before its memory does
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_OBJECT_TABLE_H
