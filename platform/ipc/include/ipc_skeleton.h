#ifndef PLATFORM_IPC_IPC_SKELETON_H
#define PLATFORM_IPC_IPC_SKELETON_H

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace OHOS {

// Who calls. Inside a request it is the process that sent it, as the kernel and the socket that it came through say;
// otherwise, and inside a request to a stub of this process, it is this process. Belongs to the thread: every request
// begins with its caller's identity, whatever was left behind, and gives back the outer one when it ends.
class IPCSkeleton {
public:
    IPCSkeleton() = delete;

    [[nodiscard]] static pid_t GetCallingPid();
    [[nodiscard]] static uid_t GetCallingUid();
    [[nodiscard]] static uint32_t GetCallingTokenID();

    // From here to the end of the request, or to SetCallingIdentity, this thread calls as this process. Gives the
    // identity that it had, for SetCallingIdentity alone.
    static std::string ResetCallingIdentity();
    // Takes on an identity that ResetCallingIdentity gave. False, and nothing changed, for any other text.
    static bool SetCallingIdentity(const std::string& identity);
};

} // namespace OHOS

#endif // PLATFORM_IPC_IPC_SKELETON_H
