#ifndef PLATFORM_IPC_IPC_STATISTICS_H
#define PLATFORM_IPC_IPC_STATISTICS_H

#include <atomic>
#include <cstdint>

#include "per_process.h"

namespace OHOS::Ipc {

// Since the start of the process. Any thread.
struct IpcStatistics {
    std::atomic<uint64_t> requests{0}; // handled
    std::atomic<uint64_t> refused{0};  // connections refused, or ended by us for what they did
};

[[nodiscard]] inline IpcStatistics& Statistics()
{
    return PerProcess<IpcStatistics>::Get();
}

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_IPC_STATISTICS_H
