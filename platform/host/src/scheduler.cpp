#include "host/scheduler.h"

#include <algorithm>
#include <climits>
#include <system_error>
#include <thread>

#include <pthread.h>

#include "hilog/host_log.h"
#include "host/faults.h"
#include "scheduler_alarm.h"
#include "scheduler_queue.h"
#include "scheduler_thread.h"

namespace OHOS::Host {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int64_t NS_PER_MS = 1'000'000;
constexpr int64_t LONGEST_MS =
    int64_t{10} * 365 * 24 * 3600 * 1000; // ten years, so that sums stay far from their limits

int64_t Bounded(int64_t ms)
{
    return std::clamp<int64_t>(ms, 0, LONGEST_MS);
}

SteadyClock::time_point After(int64_t ms)
{
    return SteadyClock::now() + std::chrono::milliseconds(Bounded(ms));
}

} // namespace

void Scheduler::Gate::Enter()
{
    std::lock_guard lock(mutex_);
    ++inside_;
}

void Scheduler::Gate::Leave()
{
    std::lock_guard lock(mutex_);
    if (--inside_ == 0) {
        empty_.notify_all();
    }
}

bool Scheduler::Gate::WaitUntilEmpty(SteadyClock::time_point limit)
{
    std::unique_lock lock(mutex_);
    return empty_.wait_until(lock, limit, [this] { return inside_ == 0; });
}

struct Scheduler::Pass {
    explicit Pass(Gate& entered) : gate(&entered)
    {
        gate->Enter();
    }
    Pass(Pass&& other) noexcept : gate(std::exchange(other.gate, nullptr))
    {}
    Pass& operator=(Pass&&) = delete;
    ~Pass()
    {
        if (gate != nullptr) {
            gate->Leave();
        }
    }

    Gate* gate;
};

// A thread's second pass, kept until the thread has nothing left to give back: neither locals nor what libraries hold
// for it under keys of their own. All of these have had their turn when the keys are asked for the last time but one.
struct Scheduler::ThreadPass {
    Pass pass;
    int rounds = 0;

    static void Take(Gate& gate)
    {
        auto kept = std::make_unique<ThreadPass>(ThreadPass{Pass(gate)});
        if (pthread_setspecific(Key(), kept.get()) == 0) {
            (void)kept.release(); // Leave's now
        }
    }

private:
    static pthread_key_t Key()
    {
        static const pthread_key_t key = [] {
            pthread_key_t made = 0;
            return pthread_key_create(&made, Leave) == 0 ? made : PTHREAD_KEYS_MAX; // which no thread can set
        }();
        return key;
    }
    static void Leave(void* self)
    {
        std::unique_ptr<ThreadPass> kept(static_cast<ThreadPass*>(self));
        if (++kept->rounds < PTHREAD_DESTRUCTOR_ITERATIONS - 1 && pthread_setspecific(Key(), self) == 0) {
            (void)kept.release(); // asked again
        }
    }
};

// The pass stands first, so that it is given back when the body's captures are gone too.
struct Scheduler::Detached {
    Pass pass;
    std::string name;
    Task body;

    void Run()
    {
        ThreadPass::Take(*pass.gate);
        NameThread(name);
        RunReporting(name, body);
    }

    static void* Main(void* self)
    {
        std::unique_ptr<Detached>(static_cast<Detached*>(self))->Run();
        return nullptr;
    }
};

Scheduler::Scheduler() : alarm_(std::make_unique<AlarmClock>(*this))
{}

Scheduler::~Scheduler() = default;

Scheduler& Scheduler::Instance()
{
    static auto* scheduler = new Scheduler();
    return *scheduler;
}

bool Scheduler::UseManualTime(std::optional<uint64_t> seed)
{
    if (threadStarted_) {
        return false;
    }
    if (PendingCount() == 0) {
        manualNs_ = MANUAL_BOOT_MS * NS_PER_MS;
    }
    random_ = seed;
    manual_ = true;
    SetWallClock([] { return Instance().WallTimeMs(); });
    return true;
}

bool Scheduler::IsManual() const
{
    return manual_.load(std::memory_order_relaxed);
}

std::shared_ptr<TaskQueue> Scheduler::CreateQueue(const std::string& name)
{
    auto state = std::make_shared<QueueState>(*this, name);
    std::unique_lock lock(mutex_);
    queues_.push_back(state.get());
    const bool tooLate = shutDown_;
    lock.unlock();
    if (tooLate) {
        state->Stop();
    }
    return std::shared_ptr<TaskQueue>(new TaskQueue(std::move(state)));
}

void Scheduler::Forget(QueueState& queue)
{
    std::lock_guard lock(mutex_);
    queues_.erase(std::remove(queues_.begin(), queues_.end(), &queue), queues_.end());
}

int64_t Scheduler::NowNs() const
{
    return IsManual() ? manualNs_.load(std::memory_order_relaxed) : BootClockNs();
}

bool Scheduler::CanWaitFor(int64_t nowNs, int64_t dueNs)
{
    return dueNs <= nowNs || IsManual() || alarm_->Start();
}

int64_t Scheduler::BootTimeMs() const
{
    return NowNs() / NS_PER_MS;
}

int64_t Scheduler::WallTimeMs() const
{
    if (IsManual()) {
        return MANUAL_BOOT_WALL_MS + BootTimeMs();
    }
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

bool Scheduler::StartThread(const std::string& name, Task body)
{
    if (Faults::Take("scheduler.start_thread")) {
        return false;
    }
    auto thread = std::make_unique<Detached>(Detached{Pass(threads_), name, std::move(body)});
    pthread_attr_t detached;
    pthread_attr_init(&detached);
    pthread_attr_setdetachstate(&detached, PTHREAD_CREATE_DETACHED);
    SignalsBlocked blocked;
    pthread_t id = {};
    const bool started = pthread_create(&id, &detached, Detached::Main, thread.get()) == 0;
    pthread_attr_destroy(&detached);
    if (started) {
        threadStarted_ = true;
        (void)thread.release(); // the thread's own now
    }
    return started;
}

void Scheduler::StartDetached(const std::string& name, std::function<void()> body)
{
    if (Faults::Take("scheduler.start_detached")) {
        std::thread().detach(); // fails the way a thread that cannot be started does: with std::system_error
    }
    Scheduler& self = Instance();
    Detached thread{Pass(self.detached_), name, std::move(body)};
    if (self.IsManual()) {
        // The task owns its queue, which so lives until the task has run or is dropped.
        auto queue = self.CreateQueue(name);
        (void)queue->Post(
            [queue, own = std::move(thread)]() mutable { RunReporting(own.name, own.body); }); // 0 after Shutdown only
        return;
    }
    SignalsBlocked blocked;
    std::thread([own = std::move(thread)]() mutable { own.Run(); }).detach();
    self.threadStarted_ = true;
}

bool Scheduler::WaitForDetached(int64_t timeoutMs)
{
    if (!IsManual()) {
        return detached_.WaitUntilEmpty(After(timeoutMs));
    }
    return Settle() && detached_.WaitUntilEmpty(SteadyClock::now());
}

bool Scheduler::Shutdown(int64_t timeoutMs)
{
    std::unique_lock lock(mutex_);
    shutDown_ = true;
    lock.unlock();
    for (const auto& queue : AllQueues()) {
        queue->Stop();
    }
    alarm_->Stop();
    const auto limit = After(timeoutMs);
    return detached_.WaitUntilEmpty(limit) && threads_.WaitUntilEmpty(limit);
}

// Those that are being destroyed are left out. The result must be dropped without the lock.
std::vector<std::shared_ptr<QueueState>> Scheduler::AllQueues() const
{
    std::vector<std::shared_ptr<QueueState>> all;
    std::lock_guard lock(mutex_);
    for (QueueState* queue : queues_) {
        if (auto alive = queue->weak_from_this().lock()) {
            all.push_back(std::move(alive));
        }
    }
    return all;
}

size_t Scheduler::PendingCount() const
{
    std::lock_guard lock(mutex_);
    size_t count = 0;
    for (const QueueState* queue : queues_) {
        count += queue->Size();
    }
    return count;
}

uint64_t Scheduler::WakeUps() const
{
    return wakeUps_;
}

bool Scheduler::MayDrive() const
{
    return IsManual() && QueueState::Current() == nullptr;
}

bool Scheduler::Settle()
{
    return MayDrive() && RunDue();
}

bool Scheduler::Advance(int64_t ms)
{
    if (!Settle()) {
        return false;
    }
    const int64_t target = NowNs() + Bounded(ms) * NS_PER_MS;
    for (int64_t due = NextDeadlineNs(); due <= target; due = NextDeadlineNs()) {
        ++wakeUps_;
        MoveTo(due);
        if (!RunDue()) {
            return false;
        }
    }
    MoveTo(target);
    return true;
}

bool Scheduler::Jump(int64_t ms)
{
    if (!MayDrive()) {
        return false;
    }
    AdvanceWithoutRunning(ms);
    return RunDue();
}

void Scheduler::AdvanceWithoutRunning(int64_t ms)
{
    MoveTo(NowNs() + Bounded(ms) * NS_PER_MS);
}

// Time never goes back: a callee that hung may have moved it past the moment that Advance is heading for.
void Scheduler::MoveTo(int64_t ns)
{
    manualNs_ = std::max(manualNs_.load(), ns);
}

bool Scheduler::RunDue()
{
    std::shared_ptr<QueueState> queue = PickDue();
    for (uint64_t tasks = 0; queue != nullptr; ++tasks) {
        if (tasks == SETTLE_LIMIT) {
            HILOG_IMPL(LOG_CORE, LOG_ERROR, SCHEDULER_LOG_DOMAIN, SCHEDULER_LOG_TAG,
                "does not settle, next is a task of '%{public}s'", queue->Name().c_str());
            return false;
        }
        (void)queue->RunDue(); // finds nothing only if another thread took the task back meanwhile
        queue = PickDue();
    }
    return true;
}

std::shared_ptr<QueueState> Scheduler::PickDue()
{
    std::lock_guard lock(mutex_);
    heads_.clear();
    int64_t lowest = NowNs();
    for (QueueState* queue : queues_) {
        const auto [dueNs, id] = queue->Head();
        if (dueNs > lowest || id == 0) {
            continue;
        }
        if (dueNs < lowest) {
            heads_.clear();
            lowest = dueNs;
        }
        heads_.push_back({dueNs, id, queue});
    }
    return heads_.empty() ? nullptr : DrawHead().queue->weak_from_this().lock();
}

const Scheduler::Head& Scheduler::DrawHead()
{
    if (!random_.has_value()) {
        return *std::min_element(
            heads_.begin(), heads_.end(), [](const Head& a, const Head& b) { return a.id < b.id; });
    }
    // SplitMix64: a step of a counter, then its bits mixed. The same on every machine, which the library's are not.
    uint64_t bits = *random_ += 0x9e3779b97f4a7c15;
    bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9;
    bits = (bits ^ (bits >> 27)) * 0x94d049bb133111eb;
    return heads_[(bits ^ (bits >> 31)) % heads_.size()];
}

int64_t Scheduler::NextDeadlineNs() const
{
    std::lock_guard lock(mutex_);
    int64_t next = AlarmClock::NEVER;
    for (const QueueState* queue : queues_) {
        next = std::min(next, queue->Head().first);
    }
    return next;
}

} // namespace OHOS::Host
