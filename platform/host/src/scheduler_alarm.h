#ifndef PLATFORM_HOST_SCHEDULER_ALARM_H
#define PLATFORM_HOST_SCHEDULER_ALARM_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

namespace OHOS::Host {

class QueueState;
class Scheduler;

// The moment of the boot clock, in nanoseconds.
int64_t BootClockNs();

// Rings sleeping queues at moments of the boot clock.
//
// One per scheduler, which owns it. It keeps the queues that wait for a moment, one thread that blocks until the first
// of these moments, and one descriptor; a condition variable would not do, as none can wait on a clock that goes on
// while the machine sleeps. Any thread may call, with the lock of a queue or without; a queue is rung under no lock.
// Does not know tasks, and does not wake a thread to be told of another moment.
class AlarmClock {
public:
    static constexpr int64_t NEVER = INT64_MAX;

    explicit AlarmClock(Scheduler& scheduler);
    ~AlarmClock();
    AlarmClock(const AlarmClock&) = delete;
    AlarmClock& operator=(const AlarmClock&) = delete;

    // Starts the thread, unless it runs. False when it or the descriptor cannot be had, or after Stop.
    [[nodiscard]] bool Start();

    // Lets `queue` be rung at `toNs` and not at `fromNs`; NEVER stands for no moment. After Start.
    void Move(const std::shared_ptr<QueueState>& queue, int64_t fromNs, int64_t toNs);

    // Ends the thread, for good. Does not wait for it.
    void Stop();

private:
    using Alarm = std::pair<int64_t, std::shared_ptr<QueueState>>;

    void SetTimer();
    void Work();
    bool RingDue();

    Scheduler& scheduler_;

    std::mutex mutex_; // taken after a queue's
    std::set<Alarm> alarms_;
    bool stopped_ = false;
    int timer_ = -1;
    int64_t timerNs_ = NEVER; // what the timer is set for
};

} // namespace OHOS::Host

#endif // PLATFORM_HOST_SCHEDULER_ALARM_H
