#ifndef PLATFORM_TIME_HOST_TIMERS_H
#define PLATFORM_TIME_HOST_TIMERS_H

#include <cstdint>
#include <vector>

// What the host alone may know of the system's timers.
namespace OHOS::Host {

// A timer that will trigger.
struct ArmedTimer {
    uint64_t id;
    int64_t dueMs; // on the boot clock
};

// All of this process, in the order of their ids. Any thread.
std::vector<ArmedTimer> ArmedTimers();

} // namespace OHOS::Host

#endif // PLATFORM_TIME_HOST_TIMERS_H
