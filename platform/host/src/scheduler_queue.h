#ifndef PLATFORM_HOST_SCHEDULER_QUEUE_H
#define PLATFORM_HOST_SCHEDULER_QUEUE_H

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "host/scheduler.h"
#include "scheduler_alarm.h"

namespace OHOS::Host {

inline constexpr unsigned int SCHEDULER_LOG_DOMAIN = 0xD003F00;
inline constexpr const char* SCHEDULER_LOG_TAG = "Scheduler";

// Runs `task`. A thread that it needed and that could not be started costs the task, with an error line, and not the
// process; whatever else it throws is a defect and ends the process.
void RunReporting(const std::string& name, Task& task);

// The tasks of one TaskQueue, and the thread that runs them when time is threaded.
//
// Shared between the TaskQueue and the thread, which ends when the queue is stopped: whoever goes last takes this
// along, so neither waits for the other. Any thread may call; Run is for the thread of the queue, or the one that
// drives manual time. Does not know handlers, events or timers.
class QueueState : public std::enable_shared_from_this<QueueState> {
public:
    // Due time and order of posting: what tasks are sorted by.
    using Place = std::pair<int64_t, TaskId>;

    QueueState(Scheduler& scheduler, std::string name);
    ~QueueState();

    [[nodiscard]] TaskId Post(Task task, TaskTag tag, int64_t nowNs, int64_t dueNs);
    bool Cancel(TaskId id);
    template <typename Predicate>
    size_t CancelIf(Predicate wanted);
    size_t Size() const;
    void Stop();

    // The place of the task that runs next; its due time is AlarmClock::NEVER when there is none.
    Place Head() const;

    // Runs the first task if it is due by now.
    bool RunDue();

    // The moment that the alarm was set for has come.
    void Ring(int64_t alarmNs);

    // Body of the thread: runs tasks until the queue is stopped.
    void Work();

    // The queue whose task the caller is; null outside of all.
    static const QueueState* Current();

    const std::string& Name() const;

private:
    struct Entry {
        Task task;
        TaskTag tag;
    };
    using Entries = std::map<Place, Entry>;

    Place HeadLocked() const;
    [[nodiscard]] bool EnsureThread();
    void SetAlarm(int64_t ns);
    void WakeUp();
    std::optional<Task> PopDue();
    std::optional<Task> WaitForTask();
    void Run(Task task) const;

    Scheduler& scheduler_;
    const std::string name_;

    mutable std::mutex mutex_; // held for a few instructions, never while a task runs or is destroyed
    Entries entries_;
    bool stopped_ = false;
    bool hasThread_ = false;
    bool sleeping_ = false;               // the thread waits for WakeUp, and its alarm is up to date
    int64_t alarmNs_ = AlarmClock::NEVER; // what the alarm is set for
    std::condition_variable wake_;
};

} // namespace OHOS::Host

#endif // PLATFORM_HOST_SCHEDULER_QUEUE_H
