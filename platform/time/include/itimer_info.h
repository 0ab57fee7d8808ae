#ifndef PLATFORM_TIME_ITIMER_INFO_H
#define PLATFORM_TIME_ITIMER_INFO_H

#include <cstdint>
#include <memory>

namespace OHOS::AbilityRuntime::WantAgent {
class WantAgent; // only ever passed on
}

namespace OHOS::MiscServices {

// What a timer of TimeServiceClient is like, and what it calls.
//
// Shared between the program that creates the timer and the time service, which keeps it until the timer is destroyed
// and while OnTrigger runs. The program sets it up before CreateTimer, which reads it once; the service calls nothing
// but OnTrigger, on a thread of the timer.
class ITimerInfo {
public:
    static constexpr int TIMER_TYPE_REALTIME = 1 << 0; // trigger times are of the boot clock
    static constexpr int TIMER_TYPE_WAKEUP = 1 << 1;
    static constexpr int TIMER_TYPE_EXACT = 1 << 2;

    virtual ~ITimerInfo() = default;
    virtual void SetType(const int& type) = 0;
    virtual void SetRepeat(bool repeat) = 0;
    virtual void SetInterval(const uint64_t& interval) = 0;
    virtual void SetWantAgent(std::shared_ptr<AbilityRuntime::WantAgent::WantAgent> wantAgent) = 0;

    // The timer's moment has come. May start, stop and destroy timers, this one too.
    virtual void OnTrigger() = 0;

    int type = 0;          // a sum of the constants above
    bool repeat = false;   // whether the timer goes on after its first trigger
    uint64_t interval = 0; // milliseconds between triggers; a timer without an interval triggers once
    std::shared_ptr<AbilityRuntime::WantAgent::WantAgent> wantAgent;
};

} // namespace OHOS::MiscServices

#endif // PLATFORM_TIME_ITIMER_INFO_H
