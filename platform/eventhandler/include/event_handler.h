#ifndef PLATFORM_EVENTHANDLER_EVENT_HANDLER_H
#define PLATFORM_EVENTHANDLER_EVENT_HANDLER_H

#include <cstdint>
#include <memory>
#include <mutex>

#include "event_queue.h"
#include "event_runner.h"
#include "inner_event.h"

namespace OHOS::AppExecFwk {

// Base of a class that gets messages: what is sent to it is handed to ProcessEvent on its runner, in order.
//
// Owned by a std::shared_ptr or, where the class is a RefBase too, by an sptr; SendEvent finds out which. An event that
// waits holds its handler weakly. When its turn comes the handler is promoted and kept alive until ProcessEvent has
// returned: an event whose handler is gone is dropped, and where the last other reference goes inside ProcessEvent, the
// handler is destroyed behind it, on the runner and under no lock. A handler that has neither owner cannot be kept
// alive, so nothing is sent to it. In its constructor one for a shared_ptr cannot send, and one that is a RefBase only
// what is delayed: an event whose turn comes before the first owner does is dropped.
//
// Knows its runner weakly: whoever created the runner drops it. Any thread may call. The destructor takes the events
// that wait out of the queue and waits for nobody. Does not look at priorities.
class EventHandler : public std::enable_shared_from_this<EventHandler> {
public:
    using Priority = EventQueue::Priority;

    explicit EventHandler(const std::shared_ptr<EventRunner>& runner = nullptr);
    virtual ~EventHandler();
    EventHandler(const EventHandler&) = delete;
    EventHandler& operator=(const EventHandler&) = delete;

    // From now on events go to `runner`, which may be null. Events that wait in another runner are dropped.
    void SetEventRunner(const std::shared_ptr<EventRunner>& runner);

    // The runner; null when there is none or it was dropped.
    std::shared_ptr<EventRunner> GetEventRunner() const;

    // Handles one event, on the runner. The event lives until the call has returned.
    virtual void ProcessEvent(const InnerEvent::Pointer& event);

    // Sends `event` to this handler, to be handled when `delayTime` milliseconds have passed. Takes the event in any
    // case. False, and the event is dropped, when there is no event, no runner or no owner, or when the runner was
    // dropped or cannot start its thread.
    [[nodiscard]] bool SendEvent(InnerEvent::Pointer& event, int64_t delayTime = 0, Priority priority = Priority::LOW);
    [[nodiscard]] bool SendEvent(InnerEvent::Pointer&& event, int64_t delayTime = 0, Priority priority = Priority::LOW);

    // The same with an event made here.
    [[nodiscard]] bool SendEvent(uint32_t innerEventId, int64_t delayTime = 0, Priority priority = Priority::LOW);
    [[nodiscard]] bool SendEvent(
        uint32_t innerEventId, int64_t param, int64_t delayTime, Priority priority = Priority::LOW);
    template <typename T>
    [[nodiscard]] bool SendEvent(uint32_t innerEventId, const std::shared_ptr<T>& object, int64_t delayTime = 0,
        Priority priority = Priority::LOW)
    {
        return SendEvent(InnerEvent::Get(innerEventId, object), delayTime, priority);
    }

    // Takes this handler's waiting events of one id, or all of them, out of the queue, immediate and delayed ones.
    void RemoveEvent(uint32_t innerEventId);
    void RemoveAllEvents();

private:
    std::shared_ptr<Host::TaskQueue> Tasks() const;

    mutable std::mutex mutex_;
    std::weak_ptr<EventRunner> runner_;
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_EVENTHANDLER_EVENT_HANDLER_H
