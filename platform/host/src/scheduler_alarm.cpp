#include "scheduler_alarm.h"

#include <algorithm>
#include <ctime>
#include <vector>

#include <sys/timerfd.h>
#include <unistd.h>

#include "host/faults.h"
#include "host/scheduler.h"
#include "scheduler_queue.h"

namespace OHOS::Host {
namespace {

constexpr int64_t NS_PER_S = 1'000'000'000;

} // namespace

int64_t BootClockNs()
{
    timespec now = {};
    (void)clock_gettime(CLOCK_BOOTTIME, &now); // cannot fail: the clock is older than any kernel that we run on
    return static_cast<int64_t>(now.tv_sec) * NS_PER_S + now.tv_nsec;
}

AlarmClock::AlarmClock(Scheduler& scheduler) : scheduler_(scheduler)
{}

AlarmClock::~AlarmClock()
{
    if (timer_ >= 0) {
        close(timer_);
    }
}

bool AlarmClock::Start()
{
    std::lock_guard lock(mutex_);
    if (stopped_ || timer_ >= 0) {
        return !stopped_;
    }
    if (Faults::Take("scheduler.start_alarm")) {
        return false;
    }
    timer_ = timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC);
    if (timer_ >= 0 && !scheduler_.StartThread("alarm", [this] { Work(); })) {
        close(timer_);
        timer_ = -1;
    }
    return timer_ >= 0;
}

void AlarmClock::Move(const std::shared_ptr<QueueState>& queue, int64_t fromNs, int64_t toNs)
{
    std::lock_guard lock(mutex_);
    alarms_.erase({fromNs, queue});
    if (toNs != NEVER) {
        alarms_.insert({toNs, queue});
    }
    SetTimer();
}

void AlarmClock::Stop()
{
    std::lock_guard lock(mutex_);
    stopped_ = true;
    SetTimer();
}

// Sets the timer for the first alarm, or at once for the end: the thread that blocks on it hears of it only when it is
// due.
void AlarmClock::SetTimer()
{
    const int64_t first = stopped_ ? 1 : alarms_.empty() ? NEVER : std::max<int64_t>(alarms_.begin()->first, 1);
    if (timer_ < 0 || first == timerNs_) {
        return;
    }
    timerNs_ = first;
    itimerspec when = {}; // zero disarms
    if (first != NEVER) {
        when.it_value = {static_cast<time_t>(first / NS_PER_S), static_cast<long>(first % NS_PER_S)};
    }
    (void)timerfd_settime(timer_, TFD_TIMER_ABSTIME, &when, nullptr); // cannot fail: valid descriptor and time
}

void AlarmClock::Work()
{
    uint64_t expirations = 0;
    do {
        (void)!read(timer_, &expirations, sizeof(expirations)); // an interrupted one finds nothing due and comes again
    } while (RingDue());
}

// False once stopped. The queues are rung, and let go, under no lock.
bool AlarmClock::RingDue()
{
    std::vector<Alarm> due;
    std::unique_lock lock(mutex_);
    const auto later = alarms_.lower_bound({BootClockNs() + 1, nullptr});
    due.assign(alarms_.begin(), later);
    alarms_.erase(alarms_.begin(), later);
    timerNs_ = NEVER; // what has gone off is disarmed
    SetTimer();
    const bool goesOn = !stopped_;
    lock.unlock();
    for (const auto& [ns, queue] : due) {
        queue->Ring(ns);
    }
    return goesOn;
}

} // namespace OHOS::Host
