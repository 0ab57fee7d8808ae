#ifndef PLATFORM_TIME_TIME_SERVICE_CLIENT_H
#define PLATFORM_TIME_TIME_SERVICE_CLIENT_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "itimer_info.h"
#include "refbase.h"

namespace OHOS::Host {
struct ArmedTimer;
class TaskQueue;
std::vector<ArmedTimer> ArmedTimers();
} // namespace OHOS::Host

namespace OHOS::MiscServices {

// The system's timers and the clock that they go by.
//
// One per process, never destroyed; it owns the timers. Any thread may call, an OnTrigger too. Each timer triggers on a
// queue of its own: a slow OnTrigger delays no other timer. Timers are exact, run on the boot clock and count the time
// that the machine sleeps; the types WAKEUP and EXACT change nothing here. It does not start the want agent of a timer.
class TimeServiceClient : public RefBase {
public:
    // The client; null when the host fails ("time_service.instance").
    static sptr<TimeServiceClient> GetInstance();

    // A stopped timer that calls `timerInfo`. Gives its id; 0 when there is no info, when its type lacks
    // TIMER_TYPE_REALTIME (there are no wall-clock timers), or when the host fails ("time_service.create_timer").
    [[nodiscard]] uint64_t CreateTimer(std::shared_ptr<ITimerInfo> timerInfo);

    // Arms the timer for `triggerTime`, in milliseconds of the boot clock; a moment that has passed triggers at once. A
    // timer that is armed gets the new time instead. A repeating one goes on at multiples of its interval from there,
    // and skips those that were missed. False for an unknown id, or when the host fails ("time_service.start_timer").
    [[nodiscard]] bool StartTimer(uint64_t timerId, uint64_t triggerTime);

    // Disarms the timer, which may be started again. An OnTrigger that is under way goes on and is not waited for.
    // False for an unknown id, or when the host fails ("time_service.stop_timer").
    [[nodiscard]] bool StopTimer(uint64_t timerId);

    // Stops the timer and lets go of its info. False for an unknown id, or when the host fails
    // ("time_service.destroy_timer"), and then the timer stays.
    [[nodiscard]] bool DestroyTimer(uint64_t timerId);

    // Milliseconds since boot, sleep included.
    int64_t GetBootTimeMs();

private:
    friend std::vector<Host::ArmedTimer> Host::ArmedTimers();

    struct Timer {
        std::shared_ptr<ITimerInfo> info;
        uint64_t intervalMs = 0; // 0: triggers once
        std::shared_ptr<Host::TaskQueue> queue;
        uint64_t dueMs = 0;
        uint64_t arming = 0; // changes with each start and stop
    };

    TimeServiceClient() = default;
    static const sptr<TimeServiceClient>& Instance();
    void Disarm(Timer& timer);
    [[nodiscard]] bool Arm(uint64_t timerId, Timer& timer, uint64_t dueMs);
    void Trigger(uint64_t timerId, uint64_t arming);
    std::shared_ptr<ITimerInfo> TakeTrigger(uint64_t timerId, uint64_t arming);

    std::mutex mutex_;
    std::map<uint64_t, Timer> timers_;
    uint64_t lastId_ = 0;
};

} // namespace OHOS::MiscServices

#endif // PLATFORM_TIME_TIME_SERVICE_CLIENT_H
