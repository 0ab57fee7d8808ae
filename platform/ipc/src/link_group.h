#ifndef PLATFORM_IPC_LINK_GROUP_H
#define PLATFORM_IPC_LINK_GROUP_H

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "refbase.h"

namespace OHOS::Ipc {

class SocketLink;

// The connections of one owner: of a server, or of this process as a client. Keeps each until it has ended. Any thread.
class LinkGroup {
public:
    LinkGroup();
    ~LinkGroup();

    void Add(const sptr<SocketLink>& link);
    void Remove(const SocketLink& link);
    [[nodiscard]] std::vector<sptr<SocketLink>> All() const;
    [[nodiscard]] size_t CountOfUser(uid_t uid) const;
    // Ends all and waits until the last request of the last one has returned. False when that has not come by `limit`.
    [[nodiscard]] bool EndAll(std::chrono::milliseconds limit);

private:
    mutable std::mutex mutex_;
    std::condition_variable removed_;
    std::vector<sptr<SocketLink>> links_; // guarded by mutex_
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LINK_GROUP_H
