#include "event_handler.h"

#include <utility>

#include "host/faults.h"
#include "host/scheduler.h"
#include "refbase.h"

namespace OHOS::AppExecFwk {

EventHandler::EventHandler(const std::shared_ptr<EventRunner>& runner) : runner_(runner)
{}

EventHandler::~EventHandler()
{
    RemoveAllEvents();
}

void EventHandler::SetEventRunner(const std::shared_ptr<EventRunner>& runner)
{
    std::unique_lock lock(mutex_);
    const std::shared_ptr<EventRunner> former = runner_.lock();
    runner_ = runner;
    lock.unlock();
    if (former != nullptr && former != runner) {
        former->GetEventQueue()->tasks_->CancelTagged(this);
    }
}

std::shared_ptr<EventRunner> EventHandler::GetEventRunner() const
{
    std::lock_guard lock(mutex_);
    return runner_.lock();
}

void EventHandler::ProcessEvent(const InnerEvent::Pointer&)
{}

// Null without a runner. The runner may go at the end of this, if the caller's reference was the last: no lock is held
// then.
std::shared_ptr<Host::TaskQueue> EventHandler::Tasks() const
{
    const std::shared_ptr<EventRunner> runner = GetEventRunner();
    return runner == nullptr ? nullptr : runner->GetEventQueue()->tasks_;
}

bool EventHandler::SendEvent(InnerEvent::Pointer& event, int64_t delayTime, Priority)
{
    InnerEvent::Pointer taken = std::move(event);
    const std::shared_ptr<Host::TaskQueue> tasks = Tasks();
    if (taken == nullptr || tasks == nullptr || Host::Faults::Take("event_handler.send")) {
        return false;
    }
    const Host::TaskTag tag{this, taken->GetInnerEventId()};
    if (std::weak_ptr<EventHandler> owner = weak_from_this(); !owner.expired()) {
        auto deliver = [owner = std::move(owner), waiting = std::move(taken)] {
            if (const std::shared_ptr<EventHandler> handler = owner.lock()) {
                handler->ProcessEvent(waiting);
            }
        };
        return tasks->Post(std::move(deliver), delayTime, tag) != 0;
    }
    if (auto* counted = dynamic_cast<RefBase*>(this)) {
        auto deliver = [owner = wptr<RefBase>(counted), this, waiting = std::move(taken)] {
            if (const sptr<RefBase> alive = owner.promote()) {
                ProcessEvent(waiting);
            }
        };
        return tasks->Post(std::move(deliver), delayTime, tag) != 0;
    }
    return false;
}

bool EventHandler::SendEvent(InnerEvent::Pointer&& event, int64_t delayTime, Priority priority)
{
    return SendEvent(event, delayTime, priority);
}

bool EventHandler::SendEvent(uint32_t innerEventId, int64_t delayTime, Priority priority)
{
    return SendEvent(InnerEvent::Get(innerEventId), delayTime, priority);
}

bool EventHandler::SendEvent(uint32_t innerEventId, int64_t param, int64_t delayTime, Priority priority)
{
    return SendEvent(InnerEvent::Get(innerEventId, param), delayTime, priority);
}

void EventHandler::RemoveEvent(uint32_t innerEventId)
{
    if (const auto tasks = Tasks()) {
        tasks->CancelTagged({this, innerEventId});
    }
}

void EventHandler::RemoveAllEvents()
{
    if (const auto tasks = Tasks()) {
        tasks->CancelTagged(this);
    }
}

} // namespace OHOS::AppExecFwk
