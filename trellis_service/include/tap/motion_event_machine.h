#ifndef PELAGO_TAP_MOTION_EVENT_MACHINE_H
#define PELAGO_TAP_MOTION_EVENT_MACHINE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "event_handler.h"
#include "share_log.h"
#include "share_mutex.h"

namespace OHOS::Pelago {

// What the two event machines of a tap share: a runner of their own, and a table of messages. `Self` has NAME, for the
// log, RUNNER_NAME, and ROWS, one Row for each message in the order of the ids.
//
// Owned by the callback that it serves, and by the dispatcher while an event runs. Any thread may post, ask and stop;
// the bodies run on the runner, one at a time. Dropping the runner waits for nobody, so that a machine may be stopped
// by its own events. Does not know what its messages mean.
template <typename Self>
class MotionEventMachine : public AppExecFwk::EventHandler {
public:
    using Event = AppExecFwk::InnerEvent::Pointer;

    // A message: its body, and how long it waits, in milliseconds.
    struct Row {
        uint32_t id;
        void (Self::*body)(const Event& event);
        int64_t delayMs;
    };

    // Where the runner cannot be made the machine stays without: nothing can be posted then.
    MotionEventMachine() : eventRunner_(AppExecFwk::EventRunner::Create(Self::RUNNER_NAME))
    {
        SetEventRunner(eventRunner_);
    }

    void ProcessEvent(const Event& event) override
    {
        if (event == nullptr) {
            SHARE_LOGE(Log::SERVICE, "%{public}s: event is null.", Self::NAME);
            return;
        }
        const uint32_t id = event->GetInnerEventId();
        if (id >= Self::ROWS.size()) {
            SHARE_LOGE(Log::SERVICE, "can not find event func.");
            return;
        }
        if (Self::ROWS[id].body == nullptr) {
            SHARE_LOGE(Log::SERVICE, "event func is null.");
            return;
        }
        (static_cast<Self*>(this)->*Self::ROWS[id].body)(event);
    }

    // Sends a message, to be handled after its row's delay. False when there is no runner any more.
    [[nodiscard]] bool Post(uint32_t id, int64_t param = 0)
    {
        return SendEvent(id, param, Self::ROWS[id].delayMs, Priority::LOW);
    }
    template <typename T>
    [[nodiscard]] bool Post(uint32_t id, const std::shared_ptr<T>& object)
    {
        return SendEvent(id, object, Self::ROWS[id].delayMs, Priority::LOW);
    }

    // Whether no message waits, immediate or delayed; the one that is being handled does not count. So without a
    // runner.
    [[nodiscard]] bool IsIdle()
    {
        MutexLock lock(runnerMutex_);
        return eventRunner_ == nullptr || eventRunner_->GetEventQueue()->IsIdle();
    }

    // Drops the runner and with it what waits. Final.
    void Stop()
    {
        std::shared_ptr<AppExecFwk::EventRunner> runner; // goes behind the lock
        MutexLock lock(runnerMutex_);
        runner = std::exchange(eventRunner_, nullptr);
    }

protected:
    static constexpr int64_t AT_ONCE_MS = 0;

    // For the definition of ROWS: each message has its row, at the place of its id.
    template <typename Rows>
    static constexpr bool AreInOrder(const Rows& rows)
    {
        for (size_t id = 0; id < rows.size(); ++id) {
            if (rows[id].id != id) {
                return false;
            }
        }
        return true;
    }

private:
    Mutex runnerMutex_{"MotionEventHandler::mutex_", LockRank::LEAF};
    std::shared_ptr<AppExecFwk::EventRunner> eventRunner_ SHARE_GUARDED_BY(runnerMutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_TAP_MOTION_EVENT_MACHINE_H
