#include "event_runner.h"

#include <utility>

#include "host/faults.h"
#include "host/scheduler.h"

namespace OHOS::AppExecFwk {

EventQueue::EventQueue(std::shared_ptr<Host::TaskQueue> tasks) : tasks_(std::move(tasks))
{}

bool EventQueue::IsIdle() const
{
    return tasks_->IsIdle();
}

EventRunner::EventRunner(std::shared_ptr<EventQueue> queue) : queue_(std::move(queue))
{}

EventRunner::~EventRunner()
{
    queue_->tasks_->Stop(); // whoever still shares the queue keeps it, but not what waits in it
}

std::shared_ptr<EventRunner> EventRunner::Create(const std::string& threadName)
{
    if (Host::Faults::Take("event_runner.create")) {
        return nullptr;
    }
    auto queue = std::make_shared<EventQueue>(Host::Scheduler::Instance().CreateQueue(threadName));
    return std::shared_ptr<EventRunner>(new EventRunner(std::move(queue)));
}

std::shared_ptr<EventQueue> EventRunner::GetEventQueue() const
{
    return queue_;
}

bool EventRunner::IsCurrentRunnerThread() const
{
    return queue_->tasks_->IsCurrent();
}

} // namespace OHOS::AppExecFwk
