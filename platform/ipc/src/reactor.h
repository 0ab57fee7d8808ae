#ifndef PLATFORM_IPC_REACTOR_H
#define PLATFORM_IPC_REACTOR_H

#include <sys/epoll.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "ipc_socket.h"
#include "refbase.h"
#include "stopwatch.h"

namespace OHOS::Ipc {

// One process that sends requests to us, as far as places for them are concerned. Part of its link; the reactor's own
// inside.
class Requester {
    friend class Reactor;

    std::atomic<int> callsToIt_{0}; // not answered yet: for each, one request of it runs without waiting for a place
    std::atomic<int> parked_{0};
    int extra_ = 0; // its requests that run beyond the common places; guarded by the reactor's mutex
};

// Something that waits in the epoll set.
class Pollable : public RefBase {
public:
    // Handles what `events` told, without waiting for more of it; never on two threads at once. True to be called again
    // as soon as others have had their turn.
    [[nodiscard]] virtual bool OnReady(uint32_t events) = 0;
    // Whose requests come through it: they need a place. Null for all else, which always runs.
    [[nodiscard]] virtual Requester* PlaceFor()
    {
        return nullptr;
    }
};

// The threads of the process's IPC, and the epoll set that the idle ones wait in. Whoever takes something from the set
// handles it to the end, request included, while at least one other thread waits. Places for requests are limited: what
// comes beyond is parked unread, in the order of arrival, until a place is free or its process is called from here.
// One per process, made with the first connection and never destroyed; a child after fork makes its own. Any thread may
// call; the mutex is a leaf. Two threads stay and wait without a limit, so that an idle process never wakes up; others
// end after a second without work, or at once when enough of them wait. Knows nothing of what the bytes mean.
class Reactor {
public:
    static constexpr std::chrono::milliseconds IDLE_THREAD{1000};
    static constexpr std::chrono::milliseconds TURN{1000};
    static constexpr size_t LASTING_THREADS = 2;

    // What to watch a socket for that is read from.
    static constexpr uint32_t INCOMING = EPOLLIN | EPOLLRDHUP;
    // Part of the events of such a socket when its end can be read behind what has arrived. Only they tell: the end may
    // have come together with the last bytes, and is not told again.
    static constexpr uint32_t ENDING = EPOLLHUP | EPOLLRDHUP | EPOLLERR;

    // Names one registration, never a later one.
    using Ticket = uint64_t;

    Reactor() = default; // for PerProcess, the only owner
    Reactor(const Reactor&) = delete;
    Reactor& operator=(const Reactor&) = delete;

    static Reactor& Get();

    // Waits for `events` of `fd`, edge-triggered: each arrival is told once. `ticket` is set before the first one is.
    // False when that is impossible, also for want of what the reactor itself needs: the next one tries again.
    [[nodiscard]] bool Watch(int fd, uint32_t events, const sptr<Pollable>& target, Ticket& ticket);
    // Waits for other events from now on, and tells those that are there already.
    void Rewatch(Ticket ticket, int fd, uint32_t events);
    // Ends the registration, before `fd` is closed. A call of the target that has begun goes on.
    void Unwatch(Ticket ticket, int fd);

    // Runs `body` once on one of the threads, at `when` or a little later. It must not wait.
    void RunAt(Clock::time_point when, std::function<void()> body);
    // From one of the threads: runs `body` on one of them, which may wait in it; one after another, but beside those
    // that take longer than TURN.
    void RunInTurn(std::function<void()> body);

    // Brackets a call to the process of the requester.
    void BeginCallTo(Requester& requester);
    void EndCallTo(Requester& requester);

    // Whether requests are parked: a lane that has more to do gives way.
    [[nodiscard]] bool IsCrowded() const
    {
        return parkedCount_.load(std::memory_order_relaxed) > 0;
    }
    // Whether the caller is one of the threads.
    [[nodiscard]] static bool IsOwnThread();

    struct Counters {
        size_t threads = 0;
        size_t running = 0;
        size_t parked = 0;
    };
    // Without making it: all 0 before the first connection.
    [[nodiscard]] static Counters CountAll();

private:
    class Alarm;

    struct Slot {
        sptr<Pollable> target; // null: free
        uint32_t generation = 0;
        uint32_t missed = 0; // events that came while it was being handled
        bool busy = false;
    };
    // What a thread is at.
    struct Job {
        Ticket ticket = 0;
        sptr<Pollable> target;
        uint32_t events = 0;
        Requester* requester = nullptr; // kept by the target
        bool extra = false;             // beyond the common places
        std::function<void()> inTurn;   // instead of a target
        uint64_t turn = 0;              // its number
    };
    struct ThreadStart;

    void Start();
    [[nodiscard]] bool Add(int fd, uint32_t events, const sptr<Pollable>& target, Ticket& ticket);

    static void* ThreadMain(void* start);
    void Work(Job job);
    void PassTurn(uint64_t overdue);
    [[nodiscard]] static bool RunJob(Job& job);
    void FireAlarms();

    // With the mutex held; NextJob gives it back.
    [[nodiscard]] bool NextJob(std::unique_lock<std::mutex>& lock, sptr<Pollable>& done, Job& job);
    [[nodiscard]] bool Claim(Ticket ticket, uint32_t events, Job& job);
    [[nodiscard]] bool TakePlace(Job& job);
    void GiveUpPlace(const Job& job);
    [[nodiscard]] bool Finish(Job& job, bool again);
    void Park(Job job);
    [[nodiscard]] bool TakeParked(Job& job);
    [[nodiscard]] bool TakeWaiting(Job& job);
    void StartParked();
    void WatchTurn();
    void AddAlarm(Clock::time_point when, std::function<void()> body);
    void EnsureWaiter();
    [[nodiscard]] bool StartThread(Job& job);
    [[nodiscard]] Slot* Find(Ticket ticket);
    void SetAlarm();

    std::mutex startMutex_;            // taken before mutex_
    std::atomic<bool> started_{false}; // the next two are there, and a thread is
    IpcSocket epoll_;                  // written under startMutex_, until it has started
    IpcSocket timer_;

    std::atomic<size_t> parkedCount_{0};

    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::vector<Slot> slots_;
    std::vector<uint32_t> freeSlots_;
    std::deque<Job> parked_;
    std::deque<std::function<void()>> inTurn_;
    bool takingTurns_ = false; // a thread is at one of inTurn_, and the others wait for it
    uint64_t turn_ = 0;        // the number of the last that was begun
    uint64_t watchedTurn_ = 0; // the last that an alarm is set for
    std::multimap<Clock::time_point, std::function<void()>> alarms_;
    size_t running_ = 0; // requests in common places
    size_t extraRunning_ = 0;
    size_t threads_ = 0;
    size_t waiting_ = 0; // threads in epoll_wait, or about to be
    size_t lasting_ = 0; // of these, without a limit
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_REACTOR_H
