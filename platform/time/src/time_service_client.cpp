#include "time_service_client.h"

#include <algorithm>
#include <string>
#include <utility>

#include "host/faults.h"
#include "host/scheduler.h"
#include "host/timers.h"

namespace OHOS::MiscServices {
namespace {

using Host::Faults;
using Host::Scheduler;

// What a signed clock can tell: nobody waits for more.
uint64_t Bounded(uint64_t ms)
{
    return std::min<uint64_t>(ms, INT64_MAX);
}

} // namespace

sptr<TimeServiceClient> TimeServiceClient::GetInstance()
{
    return Faults::Take("time_service.instance") ? nullptr : Instance();
}

const sptr<TimeServiceClient>& TimeServiceClient::Instance()
{
    static auto* client = new sptr<TimeServiceClient>(new TimeServiceClient());
    return *client;
}

uint64_t TimeServiceClient::CreateTimer(std::shared_ptr<ITimerInfo> timerInfo)
{
    if (timerInfo == nullptr || (timerInfo->type & ITimerInfo::TIMER_TYPE_REALTIME) == 0 ||
        Faults::Take("time_service.create_timer")) {
        return 0;
    }
    Timer timer;
    timer.intervalMs = timerInfo->repeat ? Bounded(timerInfo->interval) : 0;
    timer.info = std::move(timerInfo);
    std::lock_guard lock(mutex_);
    const uint64_t id = ++lastId_;
    timer.queue = Scheduler::Instance().CreateQueue("timer-" + std::to_string(id));
    timers_.emplace(id, std::move(timer));
    return id;
}

bool TimeServiceClient::StartTimer(uint64_t timerId, uint64_t triggerTime)
{
    std::lock_guard lock(mutex_);
    auto timer = timers_.find(timerId);
    if (timer == timers_.end() || Faults::Take("time_service.start_timer")) {
        return false;
    }
    Disarm(timer->second);
    return Arm(timerId, timer->second, Bounded(triggerTime));
}

bool TimeServiceClient::StopTimer(uint64_t timerId)
{
    std::lock_guard lock(mutex_);
    auto timer = timers_.find(timerId);
    if (timer == timers_.end() || Faults::Take("time_service.stop_timer")) {
        return false;
    }
    Disarm(timer->second);
    return true;
}

bool TimeServiceClient::DestroyTimer(uint64_t timerId)
{
    decltype(timers_)::node_type destroyed; // goes after the lock
    std::lock_guard lock(mutex_);
    auto timer = timers_.find(timerId);
    if (timer == timers_.end() || Faults::Take("time_service.destroy_timer")) {
        return false;
    }
    destroyed = timers_.extract(timer);
    return true;
}

int64_t TimeServiceClient::GetBootTimeMs()
{
    return Scheduler::Instance().BootTimeMs();
}

// A trigger that the queue has handed out but that has not looked at its timer yet finds another arming, and ends.
void TimeServiceClient::Disarm(Timer& timer)
{
    ++timer.arming;
    timer.queue->CancelTagged(this);
}

bool TimeServiceClient::Arm(uint64_t timerId, Timer& timer, uint64_t dueMs)
{
    timer.dueMs = dueMs;
    auto trigger = [this, timerId, arming = timer.arming] { Trigger(timerId, arming); };
    return timer.queue->PostAt(static_cast<int64_t>(dueMs), std::move(trigger), {this}) != 0;
}

void TimeServiceClient::Trigger(uint64_t timerId, uint64_t arming)
{
    if (const std::shared_ptr<ITimerInfo> info = TakeTrigger(timerId, arming)) {
        info->OnTrigger();
    }
}

// Whom to call, null if nobody any more. A repeating timer is armed again before the call, which so can stop it.
std::shared_ptr<ITimerInfo> TimeServiceClient::TakeTrigger(uint64_t timerId, uint64_t arming)
{
    std::lock_guard lock(mutex_);
    auto found = timers_.find(timerId);
    if (found == timers_.end() || found->second.arming != arming) {
        return nullptr;
    }
    Timer& timer = found->second;
    if (timer.intervalMs > 0) {
        const uint64_t late = static_cast<uint64_t>(GetBootTimeMs()) - timer.dueMs;
        const uint64_t next = timer.dueMs + (late / timer.intervalMs + 1) * timer.intervalMs;
        (void)Arm(timerId, timer, Bounded(next)); // fails only when the process ends
    }
    return timer.info;
}

} // namespace OHOS::MiscServices

namespace OHOS::Host {

std::vector<ArmedTimer> ArmedTimers()
{
    auto& client = *MiscServices::TimeServiceClient::Instance();
    std::vector<ArmedTimer> armed;
    std::lock_guard lock(client.mutex_);
    for (const auto& [id, timer] : client.timers_) {
        if (!timer.queue->IsIdle()) {
            armed.push_back({id, static_cast<int64_t>(timer.dueMs)});
        }
    }
    return armed;
}

} // namespace OHOS::Host
