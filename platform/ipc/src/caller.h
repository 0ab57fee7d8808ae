#ifndef PLATFORM_IPC_CALLER_H
#define PLATFORM_IPC_CALLER_H

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace OHOS::Ipc {

// Who makes a request, as the transport knows it.
struct Caller {
    pid_t pid = 0;
    uid_t uid = 0;
    uint32_t tokenId = 0;
};

// This process as a caller.
[[nodiscard]] Caller OwnCaller();
void SetOwnToken(uint32_t tokenId);

// The identity of this thread for the length of one request; the outer one comes back at its end, whatever the handler
// did to it. An empty caller is this process.
class CallerScope {
public:
    explicit CallerScope(const std::optional<Caller>& caller);
    ~CallerScope();
    CallerScope(const CallerScope&) = delete;
    CallerScope& operator=(const CallerScope&) = delete;

private:
    const std::optional<Caller> outer_;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_CALLER_H
