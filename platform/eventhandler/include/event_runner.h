#ifndef PLATFORM_EVENTHANDLER_EVENT_RUNNER_H
#define PLATFORM_EVENTHANDLER_EVENT_RUNNER_H

#include <memory>
#include <string>

#include "event_queue.h"

namespace OHOS::AppExecFwk {

// Handles the events of its handlers one at a time, on a thread of its own.
//
// Owned by whoever created it: handlers know it weakly. Dropping the last reference drops the events that wait and lets
// the one that is being handled come to its end; it never waits for it, so a runner may be dropped under any lock and
// by its own events. Any thread may call. Has no task interface and cannot be started or stopped otherwise.
class EventRunner final {
public:
    // A runner with an empty queue; null when the host fails ("event_runner.create"). The thread starts with the first
    // event: where it cannot, SendEvent gives false.
    static std::shared_ptr<EventRunner> Create(const std::string& threadName);

    ~EventRunner();
    EventRunner(const EventRunner&) = delete;
    EventRunner& operator=(const EventRunner&) = delete;

    // Never null.
    std::shared_ptr<EventQueue> GetEventQueue() const;

    // Whether the caller is inside an event of this runner.
    bool IsCurrentRunnerThread() const;

private:
    explicit EventRunner(std::shared_ptr<EventQueue> queue);

    const std::shared_ptr<EventQueue> queue_;
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_EVENTHANDLER_EVENT_RUNNER_H
