#ifndef PLATFORM_IPC_LINK_GROUP_H
#define PLATFORM_IPC_LINK_GROUP_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "refbase.h"
#include "wire.h"

namespace OHOS::Ipc {

class SocketLink;

// The connections of one owner: of a server, or of this process as a client. Keeps each until it has ended. Any thread.
class LinkGroup {
public:
    LinkGroup(size_t linksPerUser, size_t linksPerProcess);
    ~LinkGroup();

    // Takes the link in. NONE, or the reason why not.
    [[nodiscard]] EndReason Add(const sptr<SocketLink>& link);
    void Remove(const SocketLink& link);
    [[nodiscard]] std::vector<sptr<SocketLink>> All() const;
    // Takes in no more.
    void Close();
    // Ends all and waits until the last request of the last one has returned. False when that has not come by `limit`,
    // and at once when it is a request that asks.
    [[nodiscard]] bool EndAll(std::chrono::milliseconds limit);

private:
    const size_t linksPerUser_;
    const size_t linksPerProcess_;
    mutable std::mutex mutex_;
    std::condition_variable removed_;
    // Guarded by mutex_.
    std::vector<sptr<SocketLink>> links_;
    bool closed_ = false;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LINK_GROUP_H
