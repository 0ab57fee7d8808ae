#ifndef PLATFORM_HIVIEWDFX_HOST_SYS_EVENT_H
#define PLATFORM_HIVIEWDFX_HOST_SYS_EVENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The host's store of system events: one JSON object per line in a file of the device's folder, and the last ones in
// memory. Any thread, also after main.
namespace OHOS::Host {

inline constexpr size_t SYS_EVENT_RING = 256;

struct SysEvent {
    uint64_t seq = 0;   // from 1, without gaps
    int64_t timeMs = 0; // since the epoch, by the log's wall clock
    std::string domain;
    std::string name;
    int32_t type = 0;
    std::string json; // {"domain_":..,"name_":..,"type_":..,"time_":..,"pid_":..,"tid_":..,"KEY":value,...}
};

// Appends to the file, making it; an empty path ends that. False, with the former file kept, if it cannot be opened.
[[nodiscard]] bool SetSysEventFile(const std::string& path);

// The events still in memory whose number is above `after`, oldest first.
[[nodiscard]] std::vector<SysEvent> ReadSysEvents(uint64_t after);
// The number of the newest event, 0 before the first.
[[nodiscard]] uint64_t LastSysEventSeq();

// A fault: the controller says no to the next `times` events, to all with ALWAYS, to none with 0.
inline constexpr int SYS_EVENT_REFUSE_ALWAYS = -1;
void RefuseSysEvents(int times);

// Empties the memory and ends the fault. Numbers and the file go on.
void ClearSysEvents();

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_HOST_SYS_EVENT_H
