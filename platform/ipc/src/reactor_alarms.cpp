#include <sys/timerfd.h>
#include <unistd.h>

#include <chrono>
#include <utility>

#include "reactor.h"

namespace OHOS::Ipc {

void Reactor::RunInTurn(std::function<void()> body)
{
    std::lock_guard lock(mutex_);
    inTurn_.push_back(std::move(body)); // the caller looks for it when it is done
    if (takingTurns_) {
        WatchTurn();
    }
}

void Reactor::WatchTurn()
{
    if (std::exchange(watchedTurn_, turn_) != turn_) {
        AddAlarm(Clock::now() + TURN, [this, turn = turn_] { PassTurn(turn); });
    }
}

void Reactor::PassTurn(uint64_t overdue)
{
    std::lock_guard lock(mutex_);
    takingTurns_ = takingTurns_ && turn_ != overdue; // the thread of the alarms looks for what waits when it is done
}

void Reactor::RunAt(Clock::time_point when, std::function<void()> body)
{
    std::lock_guard lock(mutex_);
    AddAlarm(when, std::move(body));
}

void Reactor::AddAlarm(Clock::time_point when, std::function<void()> body)
{
    const auto alarm = alarms_.emplace(when, std::move(body));
    if (alarm == alarms_.begin() && started_) {
        SetAlarm();
    }
}

void Reactor::SetAlarm()
{
    if (alarms_.empty()) {
        return;
    }
    const auto since = alarms_.begin()->first.time_since_epoch();
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    itimerspec alarm = {};
    alarm.it_value.tv_sec = seconds.count();
    alarm.it_value.tv_nsec = std::chrono::nanoseconds(since - seconds).count();
    (void)::timerfd_settime(timer_.Get(), TFD_TIMER_ABSTIME, &alarm, nullptr); // the value is a valid one
}

void Reactor::FireAlarms()
{
    uint64_t expirations = 0;
    (void)!::read(timer_.Get(), &expirations, sizeof(expirations)); // only the clock counts
    std::vector<std::function<void()>> due;
    {
        std::lock_guard lock(mutex_);
        const auto end = alarms_.upper_bound(Clock::now());
        for (auto alarm = alarms_.begin(); alarm != end; ++alarm) {
            due.push_back(std::move(alarm->second));
        }
        alarms_.erase(alarms_.begin(), end);
        SetAlarm();
    }
    for (const auto& body : due) {
        body();
    }
}

} // namespace OHOS::Ipc
