#ifndef PELAGO_ENGINE_LOCAL_LISTENER_QUEUE_H
#define PELAGO_ENGINE_LOCAL_LISTENER_QUEUE_H

#include <memory>
#include <string>
#include <utility>

#include "activity.h"
#include "control_loop.h"

namespace OHOS::Pelago::Local {

// Calls listeners, in order, on a queue of its own, until the engine stops. Shared; any thread.
class ListenerQueue {
public:
    ListenerQueue(std::shared_ptr<Activity> activity, const std::string& name)
        : activity_(std::move(activity)), queue_(Host::Scheduler::Instance().CreateQueue(name))
    {}
    // `about`: by which Forget knows it.
    void Post(ControlLoop::Work work, const void* about = nullptr)
    {
        // Without a thread nobody can be told; the scheduler has said so in the log.
        auto task = [activity = activity_, work = std::move(work)] {
            if (activity->Enter()) {
                work();
                activity->Leave();
            }
        };
        (void)queue_->Post(std::move(task), 0, {about});
    }
    // Drops what waits and is about this.
    void Forget(const void* about)
    {
        (void)queue_->CancelTagged(about); // most often nothing waits
    }

private:
    const std::shared_ptr<Activity> activity_;
    const std::shared_ptr<Host::TaskQueue> queue_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_LISTENER_QUEUE_H
