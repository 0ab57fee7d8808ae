#include "control_loop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace OHOS::Pelago::Local {
namespace {

constexpr ControlLoop::Id WAKE_ID = 0; // no watch has it
constexpr int64_t LONGEST_WAIT_MS = int64_t{24} * 3600 * 1000;

int64_t NowMs()
{
    return Host::Scheduler::Instance().BootTimeMs();
}

[[nodiscard]] bool Control(int epoll, int operation, int fd, uint32_t events, ControlLoop::Id id)
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = id;
    return ::epoll_ctl(epoll, operation, fd, &event) == 0;
}

} // namespace

bool ControlLoop::Start(std::string& error)
{
    epoll_ = Host::UniqueFd(::epoll_create1(EPOLL_CLOEXEC));
    wake_ = Host::UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!epoll_ || !wake_ || !Control(epoll_.Get(), EPOLL_CTL_ADD, wake_.Get(), EPOLLIN, WAKE_ID)) {
        error = std::string("cannot wait for sockets: ") + std::strerror(errno);
        return false;
    }
    {
        std::lock_guard<std::mutex> guard(mutex_);
        accepting_ = true;
        running_ = true;
    }
    queue_ = Host::Scheduler::Instance().CreateQueue("share-control");
    if (queue_->Post([this] { Loop(); }) == 0) {
        std::lock_guard<std::mutex> guard(mutex_);
        accepting_ = false;
        running_ = false;
        error = "cannot start the control thread";
        return false;
    }
    return true;
}

void ControlLoop::Stop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    accepting_ = false;
    if (running_) {
        Wake();
    }
    changed_.wait(lock, [this] { return !running_; });
    epoll_.Reset(); // handles may keep us for long
    wake_.Reset();
}

bool ControlLoop::Post(Work work)
{
    std::lock_guard<std::mutex> guard(mutex_);
    if (!accepting_) {
        return false;
    }
    posted_.push_back(std::move(work));
    if (posted_.size() == 1) {
        Wake();
    }
    return true;
}

bool ControlLoop::Run(const Work& work)
{
    bool done = false;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (thread_ == std::this_thread::get_id()) {
            done = true;
        }
    }
    if (done) {
        work();
        return true;
    }
    auto mark = [this, &work, &done] {
        work();
        std::lock_guard<std::mutex> guard(mutex_);
        done = true;
        changed_.notify_all();
    };
    if (!Post(mark)) {
        return false;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&done] { return done; });
    return true;
}

ControlLoop::Id ControlLoop::Watch(int fd, uint32_t events, Handler handler)
{
    Id id = ++lastId_;
    if (!Control(epoll_.Get(), EPOLL_CTL_ADD, fd, events, id)) {
        return 0;
    }
    watches_.emplace(id, Watched{fd, std::make_shared<Handler>(std::move(handler))});
    return id;
}

void ControlLoop::Change(Id id, uint32_t events)
{
    auto found = watches_.find(id);
    if (found != watches_.end()) {
        (void)Control(epoll_.Get(), EPOLL_CTL_MOD, found->second.fd, events, id); // it is in the set: nothing can fail
    }
}

void ControlLoop::Forget(Id id)
{
    if (id == 0) {
        return; // without a look: what has let go of the loop may end on any thread
    }
    auto found = watches_.find(id);
    if (found == watches_.end()) {
        return;
    }
    (void)Control(epoll_.Get(), EPOLL_CTL_DEL, found->second.fd, 0, id); // as above
    watches_.erase(found);
}

ControlLoop::Id ControlLoop::After(int64_t delayMs, Work work)
{
    Id id = ++lastId_;
    int64_t due = NowMs() + delayMs;
    timers_.emplace(std::make_pair(due, id), std::move(work));
    timerDue_.emplace(id, due);
    return id;
}

void ControlLoop::CancelTimer(Id& id)
{
    if (id == 0) {
        return; // as above
    }
    auto found = timerDue_.find(std::exchange(id, 0));
    if (found != timerDue_.end()) {
        timers_.erase({found->second, found->first});
        timerDue_.erase(found);
    }
}

void ControlLoop::Loop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    thread_ = std::this_thread::get_id();
    while (accepting_ || !posted_.empty()) {
        lock.unlock();
        std::array<epoll_event, 32> events;
        int count = ::epoll_wait(epoll_.Get(), events.data(), static_cast<int>(events.size()), WaitMs());
        for (int i = 0; i < count; ++i) {
            Dispatch(events[static_cast<size_t>(i)].data.u64, events[static_cast<size_t>(i)].events);
        }
        RunPosted();
        RunTimers();
        lock.lock();
    }
    watches_.clear();
    timerDue_.clear(); // before the work, whose end may cancel timers
    timers_.clear();
    thread_ = {};
    running_ = false;
    changed_.notify_all();
}

void ControlLoop::Dispatch(Id id, uint32_t events)
{
    if (id == WAKE_ID) {
        uint64_t count = 0;
        (void)::read(wake_.Get(), &count, sizeof(count)); // empty already when two wakers met: no loss
        return;
    }
    auto found = watches_.find(id);
    if (found != watches_.end()) { // an earlier event of the same round may have forgotten it
        auto handler = found->second.handler;
        (*handler)(events);
    }
}

void ControlLoop::RunPosted()
{
    std::vector<Work> work;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        work.swap(posted_);
    }
    for (Work& each : work) {
        each();
        each = nullptr; // what it holds goes in its turn
    }
}

void ControlLoop::RunTimers()
{
    int64_t now = NowMs();
    while (!timers_.empty() && timers_.begin()->first.first <= now) {
        Work work = std::move(timers_.begin()->second);
        timerDue_.erase(timers_.begin()->first.second);
        timers_.erase(timers_.begin());
        work();
    }
}

int ControlLoop::WaitMs() const
{
    if (timers_.empty()) {
        return -1;
    }
    return static_cast<int>(std::clamp<int64_t>(timers_.begin()->first.first - NowMs(), 0, LONGEST_WAIT_MS));
}

void ControlLoop::Wake()
{
    uint64_t one = 1;
    (void)::write(wake_.Get(), &one, sizeof(one)); // full means that it is awake
}

} // namespace OHOS::Pelago::Local
