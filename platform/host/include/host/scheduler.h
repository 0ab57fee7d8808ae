#ifndef PLATFORM_HOST_SCHEDULER_H
#define PLATFORM_HOST_SCHEDULER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace OHOS::Host {

class AlarmClock;
class QueueState;

// Names a posted task for as long as it waits. Never reused within a process; 0 names none.
using TaskId = uint64_t;

// What a task belongs to, so that its owner can find and take back what it posted without keeping a book of its own.
struct TaskTag {
    const void* owner = nullptr;
    uint64_t kind = 0;
};

// A piece of work that runs once: any callable without arguments, movable at least. Belongs to whoever holds it and has
// no lock: one thread at a time.
class Task {
public:
    Task() = default;

    template <typename F, typename = std::enable_if_t<!std::is_same_v<std::decay_t<F>, Task>>>
    Task(F&& body) : body_(std::make_unique<Holder<std::decay_t<F>>>(std::forward<F>(body)))
    {}

    void operator()()
    {
        body_->Run();
    }

private:
    struct Body {
        virtual ~Body() = default;
        virtual void Run() = 0;
    };

    template <typename F>
    struct Holder final : Body {
        explicit Holder(F&& f) : body(std::move(f))
        {}
        explicit Holder(const F& f) : body(f)
        {}
        void Run() override
        {
            body();
        }
        F body;
    };

    std::unique_ptr<Body> body_;
};

// Runs tasks one at a time, by due time, then in the order of posting.
//
// Made by Scheduler::CreateQueue; owned by whoever holds its shared pointer, and dropping the last one stops it. Any
// thread may call, a task of the queue itself too. A task is destroyed on the queue when it has returned, or by whoever
// cancels or stops; never under a lock of the queue, so its destructor may call in again. It does not wait: neither
// Stop nor the destructor joins, and a task that is running goes on to its end. A task must not throw, but for the
// std::system_error of a thread that cannot be started: that ends the task alone, with an error line.
class TaskQueue {
public:
    ~TaskQueue();
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    // Runs `task` once `delayMs` milliseconds of boot time have passed; at once if not positive. Gives 0, and drops the
    // task, when the queue is stopped or a thread that it needs cannot be started; a later Post tries that again.
    [[nodiscard]] TaskId Post(Task task, int64_t delayMs = 0, TaskTag tag = {});

    // The same for a moment of the boot clock, in milliseconds.
    [[nodiscard]] TaskId PostAt(int64_t bootMs, Task task, TaskTag tag = {});

    // Drops a task that still waits; says whether it did.
    bool Cancel(TaskId id);

    // Drops all waiting tasks of an owner, or those of one kind; gives their number.
    size_t CancelTagged(const void* owner);
    size_t CancelTagged(TaskTag tag);

    // Whether nothing waits, neither due nor delayed. The task that is running does not count.
    bool IsIdle() const;

    // Drops what waits and refuses what comes. Final.
    void Stop();

    // Whether the caller is a task of this queue: the question "on this runner", which a thread's identity cannot
    // answer in manual time.
    bool IsCurrent() const;

    const std::string& Name() const;

private:
    friend class Scheduler;

    explicit TaskQueue(std::shared_ptr<QueueState> state);

    std::shared_ptr<QueueState> state_; // shared with the queue's thread
};

// Everything that waits or repeats in the host world, with two faces.
//
// Threaded, the face it starts with: each queue has a thread, started by its first task, that blocks until the moment
// it is needed; time is the boot clock, which goes on while the machine sleeps. Manual: nothing runs until the test
// says so, on the test's thread, and time is a number. Unseeded, the task with the lowest (due time, order of posting)
// runs next; seeded, a queue is drawn among those whose first task is due at the lowest due time. Tasks are never
// interleaved.
//
// One per process, never destroyed. Any thread may call what is not said to be for manual time; that part belongs to
// the thread that drives the test. It holds no lock while a task runs, and does not own queues: their holders do.
class Scheduler {
public:
    static constexpr uint64_t SETTLE_LIMIT = 1'000'000;               // tasks that one settling may run
    static constexpr int64_t MANUAL_BOOT_MS = 3'600'000;              // the boot clock when manual time begins
    static constexpr int64_t MANUAL_BOOT_WALL_MS = 1'700'000'000'000; // the wall clock when its boot clock was 0

    static Scheduler& Instance();

    // Turns to manual time, that of log lines too; the clocks begin anew unless tasks wait. False, and nothing changes,
    // when a thread was started already. May be called again, with another seed, between the cases of one process.
    [[nodiscard]] bool UseManualTime(std::optional<uint64_t> seed = std::nullopt);
    bool IsManual() const;

    // A queue of its own; never null. `name` is for people: threads and reports carry it.
    std::shared_ptr<TaskQueue> CreateQueue(const std::string& name);

    // Milliseconds since boot, sleep included, and since the epoch.
    int64_t BootTimeMs() const;
    int64_t WallTimeMs() const;

    // Runs `body` once on a thread of its own; manual: as the only task of a queue of its own. Throws
    // std::system_error, as std::thread does, when the thread cannot be started.
    static void StartDetached(const std::string& name, std::function<void()> body);

    // Waits until no detached body is left, nor what its thread has kept for itself, `timeoutMs` at most; manual: runs
    // what is due instead. False when some are left.
    [[nodiscard]] bool WaitForDetached(int64_t timeoutMs);

    // Stops all queues for good and waits, `timeoutMs` at most, until the last thread of queues and detached bodies has
    // ended. For the end of main, with no lock held. False when some still run: always when one of them calls.
    [[nodiscard]] bool Shutdown(int64_t timeoutMs);

    // Tasks that wait in all queues, due or delayed.
    size_t PendingCount() const;

    // How often the process was woken: threaded, blocked threads of queues that went on; manual, deadlines that time
    // stopped at. An idle process adds none.
    uint64_t WakeUps() const;

    // --- Manual time only. Each of the three gives false when a task calls it, when time is not manual, or when more
    // than SETTLE_LIMIT tasks ran at one moment: an error line names the queue that goes on and on.

    // Runs all that is due, and all that this makes due at this moment.
    [[nodiscard]] bool Settle();

    // Settles, then moves time by `ms`, stopping to settle at each deadline on the way.
    [[nodiscard]] bool Advance(int64_t ms);

    // Moves time by `ms` at once, as for a device that slept, then settles.
    [[nodiscard]] bool Jump(int64_t ms);

    // Moves time by `ms` and runs nothing: a callee that hangs inside a task. What falls due meanwhile runs after the
    // task.
    void AdvanceWithoutRunning(int64_t ms);

private:
    friend class AlarmClock;
    friend class QueueState;
    friend class TaskQueue;

    // Counts those who are inside and lets one wait for the last to leave.
    class Gate {
    public:
        void Enter();
        void Leave();
        [[nodiscard]] bool WaitUntilEmpty(std::chrono::steady_clock::time_point limit);

    private:
        std::mutex mutex_;
        std::condition_variable empty_;
        size_t inside_ = 0;
    };
    struct Pass;       // one who is inside
    struct ThreadPass; // a thread's
    struct Detached;   // the body of a thread
    struct Head {      // the task of a queue that runs next
        int64_t dueNs;
        TaskId id;
        QueueState* queue;
    };

    Scheduler();
    ~Scheduler();

    int64_t NowNs() const;
    [[nodiscard]] bool CanWaitFor(int64_t nowNs, int64_t dueNs);
    [[nodiscard]] bool StartThread(const std::string& name, Task body);
    void Forget(QueueState& queue);
    std::vector<std::shared_ptr<QueueState>> AllQueues() const;

    bool MayDrive() const;
    [[nodiscard]] bool RunDue();
    std::shared_ptr<QueueState> PickDue();
    const Head& DrawHead();
    int64_t NextDeadlineNs() const;
    void MoveTo(int64_t ns);

    std::atomic<bool> manual_{false};
    std::atomic<bool> threadStarted_{false};
    std::atomic<int64_t> manualNs_{0};
    std::atomic<TaskId> lastId_{0};
    std::atomic<uint64_t> wakeUps_{0};

    Gate threads_; // of queues, and the alarm's
    Gate detached_;
    const std::unique_ptr<AlarmClock> alarm_;

    mutable std::mutex mutex_;        // taken before the mutex of a queue
    std::vector<QueueState*> queues_; // in the order of creation, so that a seed draws the same ones again
    bool shutDown_ = false;

    // Of the thread that drives manual time.
    std::optional<uint64_t> random_; // state of the generator; none when unseeded
    std::vector<Head> heads_;        // scratch of PickDue
};

} // namespace OHOS::Host

#endif // PLATFORM_HOST_SCHEDULER_H
