#include "reactor.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>

#include <algorithm>
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
    if (!epoll_.IsOpen() || !timer_.IsOpen() || !Add(timer_.Get(), EPOLLIN, sptr<Alarm>::MakeSptr(*this), forGood)) {
        epoll_.Close();
        timer_.Close();
        return;
    }
    std::lock_guard lock(mutex_);
    EnsureWaiter();
    started_ = waiting_ > 0;
    SetAlarm(); // of those that came before
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

// ---- Places. All with the mutex held.

bool Reactor::Claim(Ticket ticket, uint32_t events, Job& job)
{
    Slot* slot = Find(ticket);
    if (slot == nullptr) {
        return false; // gone since
    }
    if (slot->busy) {
        slot->missed |= events;
        return false;
    }
    slot->busy = true;
    job = Job{ticket, slot->target, events, slot->target->PlaceFor(), false, nullptr, 0};
    if (job.requester != nullptr && !TakePlace(job)) {
        Park(std::move(job));
        job = Job();
        return TakeParked(job); // its process may have been called just now
    }
    EnsureWaiter();
    return true;
}

bool Reactor::TakePlace(Job& job)
{
    if (running_ < Host::IPC_CONCURRENT_REQUESTS) {
        ++running_;
        job.extra = false;
        return true;
    }
    if (job.requester->callsToIt_.load() <= job.requester->extra_) {
        return false;
    }
    ++job.requester->extra_;
    ++extraRunning_;
    job.extra = true;
    return true;
}

void Reactor::GiveUpPlace(const Job& job)
{
    if (job.requester == nullptr) {
        return;
    }
    if (job.extra) {
        --job.requester->extra_;
        --extraRunning_;
    } else {
        --running_;
    }
}

bool Reactor::Finish(Job& job, bool again)
{
    if (job.target == nullptr) {
        takingTurns_ = takingTurns_ && job.turn != turn_; // unless another one did not wait for it
        return false;
    }
    Slot* slot = Find(job.ticket);
    const bool more = slot != nullptr && (again || slot->missed != 0);
    if (more) {
        job.events = std::exchange(slot->missed, 0);
        if (job.requester == nullptr || parked_.empty()) {
            return true;
        }
    } else if (slot != nullptr) {
        slot->busy = false;
    }
    GiveUpPlace(job);
    if (more) {
        Park(job); // behind those who wait already
    }
    return false;
}

void Reactor::Park(Job job)
{
    job.requester->parked_.fetch_add(1);
    parkedCount_.fetch_add(1);
    parked_.push_back(std::move(job));
}

bool Reactor::TakeParked(Job& job)
{
    const auto found = std::find_if(parked_.begin(), parked_.end(), [this](Job& one) { return TakePlace(one); });
    if (found == parked_.end()) {
        return false;
    }
    job = std::move(*found);
    parked_.erase(found);
    parkedCount_.fetch_sub(1);
    job.requester->parked_.fetch_sub(1);
    EnsureWaiter();
    return true;
}

bool Reactor::TakeWaiting(Job& job)
{
    if (takingTurns_ || inTurn_.empty()) {
        return TakeParked(job);
    }
    takingTurns_ = true;
    job = Job();
    job.inTurn = std::move(inTurn_.front());
    job.turn = ++turn_;
    inTurn_.pop_front();
    if (!inTurn_.empty()) {
        WatchTurn();
    }
    EnsureWaiter();
    return true;
}

void Reactor::BeginCallTo(Requester& requester)
{
    requester.callsToIt_.fetch_add(1);
    if (requester.parked_.load() == 0) {
        return;
    }
    std::lock_guard lock(mutex_);
    Job job;
    if (TakeParked(job) && !StartThread(job)) {
        GiveUpPlace(job);
        Park(std::move(job));
    }
}

void Reactor::EndCallTo(Requester& requester)
{
    requester.callsToIt_.fetch_sub(1);
}

// ---- Turns and alarms

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
