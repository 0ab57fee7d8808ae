#ifndef PLATFORM_EVENTHANDLER_EVENT_QUEUE_H
#define PLATFORM_EVENTHANDLER_EVENT_QUEUE_H

#include <cstdint>
#include <memory>

namespace OHOS::Host {
class TaskQueue;
}

namespace OHOS::AppExecFwk {

// The events that wait in one EventRunner.
//
// Owned by its runner, and shared with whoever asked for it; it outlives the runner as an empty queue that takes
// nothing. Any thread may ask. Does not run events and is not sent to directly: that is for EventRunner and
// EventHandler.
class EventQueue final {
public:
    // Part of the signature of SendEvent and nothing more: events are handled by due time, then in the order of
    // sending.
    enum class Priority : uint32_t {
        VIP = 0,
        IMMEDIATE = 1,
        HIGH = 2,
        LOW = 3,
        IDLE = 4,
    };

    explicit EventQueue(std::shared_ptr<Host::TaskQueue> tasks);

    // Whether no event waits, immediate or delayed. The one that is being handled does not count.
    bool IsIdle() const;

private:
    friend class EventHandler;
    friend class EventRunner;

    const std::shared_ptr<Host::TaskQueue> tasks_;
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_EVENTHANDLER_EVENT_QUEUE_H
