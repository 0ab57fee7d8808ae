#ifndef PELAGO_SWITCH_TIME_SERVICE_HELPER_H
#define PELAGO_SWITCH_TIME_SERVICE_HELPER_H

#include <atomic>
#include <cstdint>
#include <memory>

#include "itimer_info.h"

namespace OHOS::Pelago {

// Keeps the one system timer that ends the timed detectable type.
//
// Owned by ShareSwitchManager through a shared pointer. The timer's id is the process's: it is made once, used again
// for each start, and outlives the helper if it cannot be destroyed. Start and stop come from the switch runner,
// Release from the thread that stops the service; the timer fires on a thread of the time service.
//
// Does not know what the timer is for: the share switch decides when it fires.
class TimeServiceHelper {
public:
    // A device that shows itself for a limited time does so for ten minutes. Milliseconds.
    static constexpr uint64_t DETECTABLE_TIME_MS = 600000;

    // What the time service calls when the ten minutes are over. Owned by the time service. Plain data but for
    // OnTrigger, which may come on any thread.
    class SwitchTimerInfo : public MiscServices::ITimerInfo {
    public:
        ~SwitchTimerInfo() override = default;
        void SetType(const int& typeInfo) override;
        void SetRepeat(bool isRepeat) override;
        void SetInterval(const uint64_t& intervalTime) override;
        void SetWantAgent(std::shared_ptr<AbilityRuntime::WantAgent::WantAgent> agent) override;
        void OnTrigger() override;
    };

    // Starts ten minutes from now on the boot clock; a timer that runs starts anew. False, logged, when the time
    // service will not.
    [[nodiscard]] bool StartSwitchDetectableTypeScheduledTask();
    // Stops the timer and keeps it for later use.
    void StopSwitchDetectableTypeScheduledTask();
    // Destroys the timer.
    void Release();

private:
    static std::atomic<uint64_t> currSwitchTimerId; // 0: none
};

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_TIME_SERVICE_HELPER_H
