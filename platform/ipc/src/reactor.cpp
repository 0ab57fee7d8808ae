#include "reactor.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <cerrno>
#include <csignal>
#include <memory>
#include <utility>

#include "ipc_log.h"
#include "per_process.h"

#include "host/ipc_transport.h"

namespace OHOS::Ipc {

namespace {

// Threads that wait for the same work. The set wakes them in turns: each of too many would find some once a second, and
// none would ever end.
constexpr size_t MOST_WAITING = Host::IPC_CONCURRENT_REQUESTS + Reactor::LASTING_THREADS;

thread_local bool t_isOwnThread = false;

constexpr uint32_t GENERATION_SHIFT = 32;

// Signals are for the threads that the program made itself.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        (void)sigfillset(&all);
        (void)::pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsBlocked()
    {
        (void)::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t before_;
};

} // namespace

// What a new thread begins with.
struct Reactor::ThreadStart {
    Reactor* reactor;
    Job job;
};

// The timer in the epoll set: one for all alarms.
class Reactor::Alarm : public Pollable {
public:
    explicit Alarm(Reactor& reactor) : reactor_(reactor)
    {}
    bool OnReady(uint32_t) override
    {
        reactor_.FireAlarms();
        return false;
    }

private:
    Reactor& reactor_; // never ends
};

Reactor& Reactor::Get()
{
    Reactor& reactor = PerProcess<Reactor>::Get();
    if (!reactor.started_) {
        reactor.Start();
    }
    return reactor;
}

void Reactor::Start()
{
    std::lock_guard starting(startMutex_);
    if (started_) {
        return;
    }
    epoll_ = IpcSocket(Host::UniqueFd(::epoll_create1(EPOLL_CLOEXEC)));
    timer_ = IpcSocket(Host::UniqueFd(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)));
    Ticket forGood = 0;
    if (epoll_.IsOpen() && timer_.IsOpen() && Add(timer_.Get(), EPOLLIN, sptr<Alarm>::MakeSptr(*this), forGood)) {
        std::lock_guard lock(mutex_);
        EnsureWaiter();
        started_ = waiting_ > 0;
        SetAlarm(); // of those that came before
    }
    if (!started_) { // the next one tries again, from the beginning
        Unwatch(forGood, timer_.Get());
        epoll_.Close();
        timer_.Close();
    }
}

bool Reactor::IsOwnThread()
{
    return t_isOwnThread;
}

// ---- Registrations

Reactor::Slot* Reactor::Find(Ticket ticket)
{
    const auto index = static_cast<uint32_t>(ticket);
    if (index >= slots_.size() || slots_[index].generation != ticket >> GENERATION_SHIFT) {
        return nullptr;
    }
    return &slots_[index];
}

bool Reactor::Watch(int fd, uint32_t events, const sptr<Pollable>& target, Ticket& ticket)
{
    return started_ && Add(fd, events, target, ticket);
}

bool Reactor::Add(int fd, uint32_t events, const sptr<Pollable>& target, Ticket& ticket)
{
    epoll_event event = {};
    {
        std::lock_guard lock(mutex_);
        if (freeSlots_.empty()) {
            freeSlots_.push_back(static_cast<uint32_t>(slots_.size()));
            slots_.emplace_back();
        }
        const uint32_t index = freeSlots_.back();
        freeSlots_.pop_back();
        slots_[index].target = target;
        ++slots_[index].generation;
        ticket = static_cast<Ticket>(slots_[index].generation) << GENERATION_SHIFT | index;
        event.data.u64 = ticket;
    }
    event.events = events | EPOLLET;
    if (::epoll_ctl(epoll_.Get(), EPOLL_CTL_ADD, fd, &event) != 0) {
        Unwatch(event.data.u64, fd);
        return false;
    }
    return true;
}

void Reactor::Rewatch(Ticket ticket, int fd, uint32_t events)
{
    epoll_event event = {};
    event.events = events | EPOLLET;
    event.data.u64 = ticket;
    if (::epoll_ctl(epoll_.Get(), EPOLL_CTL_MOD, fd, &event) != 0 && errno != ENOENT) { // it may just have ended
        IPC_LOGE("a socket cannot be watched any more");
    }
}

void Reactor::Unwatch(Ticket ticket, int fd)
{
    (void)::epoll_ctl(epoll_.Get(), EPOLL_CTL_DEL, fd, nullptr); // fails when adding it had failed
    sptr<Pollable> target;                                       // goes after the lock
    std::lock_guard lock(mutex_);
    if (Slot* slot = Find(ticket); slot != nullptr) {
        target = std::move(slot->target);
        ++slot->generation;
        slot->busy = false;
        slot->missed = 0;
        freeSlots_.push_back(static_cast<uint32_t>(ticket));
    }
}

// ---- Threads

bool Reactor::StartThread(Job& job)
{
    auto start = std::make_unique<ThreadStart>(ThreadStart{this, std::move(job)});
    const SignalsBlocked blocked;
    pthread_attr_t detached;
    (void)::pthread_attr_init(&detached); // neither of the two can fail for these values
    (void)::pthread_attr_setdetachstate(&detached, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const bool started = ::pthread_create(&thread, &detached, ThreadMain, start.get()) == 0;
    (void)::pthread_attr_destroy(&detached);
    if (!started) {
        job = std::move(start->job);
        return false;
    }
    (void)start.release(); // the thread's now
    ++threads_;
    return true;
}

void Reactor::EnsureWaiter()
{
    Job none;
    if (waiting_ > 0) {
        return;
    }
    if (StartThread(none)) {
        ++waiting_; // as good as there
    } else {
        IPC_LOGE("no thread to wait for requests: they wait for the one that runs now");
    }
}

void* Reactor::ThreadMain(void* argument)
{
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
    t_isOwnThread = true;
    (void)::pthread_setname_np(::pthread_self(), "ipc"); // for people; the name fits
    start->reactor->Work(std::move(start->job));
    return nullptr;
}

void Reactor::Work(Job job)
{
    sptr<Pollable> done; // let go without the lock
    std::unique_lock lock(mutex_, std::defer_lock);
    if (!job.target && !job.inTurn) {
        lock.lock();
        --waiting_; // see EnsureWaiter
    }
    while (job.target || job.inTurn || NextJob(lock, done, job)) {
        const bool again = RunJob(job);
        lock.lock();
        if (Finish(job, again)) {
            lock.unlock();
            continue;
        }
        done = std::move(job.target);
        job = Job();
    }
}

bool Reactor::RunJob(Job& job)
{
    if (job.inTurn) {
        job.inTurn();
        job.inTurn = nullptr; // what it holds goes without the lock
        return false;
    }
    return job.target->OnReady(job.events);
}

bool Reactor::NextJob(std::unique_lock<std::mutex>& lock, sptr<Pollable>& done, Job& job)
{
    for (;;) {
        if (TakeWaiting(job)) {
            break;
        }
        if (waiting_ >= MOST_WAITING) {
            --threads_;
            return false;
        }
        const bool lasts = lasting_ < LASTING_THREADS;
        lasting_ += lasts ? 1 : 0;
        ++waiting_;
        lock.unlock();
        done.clear();
        epoll_event event;
        const int count = ::epoll_wait(epoll_.Get(), &event, 1, lasts ? -1 : static_cast<int>(IDLE_THREAD.count()));
        lock.lock();
        --waiting_;
        lasting_ -= lasts ? 1 : 0;
        if (count == 0 && lasting_ >= LASTING_THREADS) {
            --threads_;
            return false;
        }
        if (count > 0 && Claim(event.data.u64, event.events, job)) {
            break;
        }
    }
    lock.unlock();
    done.clear();
    return true;
}

Reactor::Counters Reactor::CountAll()
{
    const Reactor* reactor = PerProcess<Reactor>::Find();
    if (reactor == nullptr) {
        return {};
    }
    std::lock_guard lock(reactor->mutex_);
    return {reactor->threads_, reactor->running_ + reactor->extraRunning_, reactor->parked_.size()};
}

} // namespace OHOS::Ipc
