#include "scheduler_queue.h"

#include <algorithm>
#include <iterator>
#include <system_error>

#include "hilog/log.h"

namespace OHOS::Host {
namespace {

constexpr int64_t NS_PER_MS = 1'000'000;
constexpr int64_t LATEST_MS = INT64_MAX / NS_PER_MS / 2; // 146 years: a sum of two moments cannot overflow

thread_local const QueueState* currentQueue = nullptr;

int64_t ToNs(int64_t ms)
{
    return std::clamp<int64_t>(ms, 0, LATEST_MS) * NS_PER_MS;
}

} // namespace

void RunReporting(const std::string& name, Task& task)
{
    try {
        task();
    } catch (const std::system_error& error) {
        HILOG_IMPL(LOG_CORE, LOG_ERROR, SCHEDULER_LOG_DOMAIN, SCHEDULER_LOG_TAG,
            "task of '%{public}s' gave up: %{public}s", name.c_str(), error.what());
    }
}

QueueState::QueueState(Scheduler& scheduler, std::string name) : scheduler_(scheduler), name_(std::move(name))
{}

QueueState::~QueueState()
{
    scheduler_.Forget(*this);
}

TaskId QueueState::Post(Task task, TaskTag tag, int64_t nowNs, int64_t dueNs)
{
    std::lock_guard lock(mutex_);
    if (stopped_ || !scheduler_.CanWaitFor(nowNs, dueNs) || !EnsureThread()) {
        return 0;
    }
    const TaskId id = ++scheduler_.lastId_;
    entries_.emplace(Place{dueNs, id}, Entry{std::move(task), tag});
    if (dueNs <= nowNs) {
        WakeUp();
    } else if (sleeping_) {
        SetAlarm(HeadLocked().first);
    }
    return id;
}

bool QueueState::EnsureThread()
{
    if (!hasThread_ && !scheduler_.IsManual()) {
        hasThread_ = scheduler_.StartThread(name_, [self = shared_from_this()] { self->Work(); });
        return hasThread_;
    }
    return true;
}

void QueueState::SetAlarm(int64_t ns)
{
    if (ns != alarmNs_) {
        scheduler_.alarm_->Move(shared_from_this(), alarmNs_, ns);
        alarmNs_ = ns;
    }
}

void QueueState::WakeUp()
{
    if (sleeping_) {
        sleeping_ = false;
        wake_.notify_one();
    }
}

// An alarm that was moved while it was on its way here is not the one that is waited for.
void QueueState::Ring(int64_t alarmNs)
{
    std::lock_guard lock(mutex_);
    if (alarmNs == alarmNs_) {
        alarmNs_ = AlarmClock::NEVER;
        WakeUp();
    }
}

bool QueueState::Cancel(TaskId id)
{
    return CancelIf([id](const Entries::value_type& entry) { return entry.first.second == id; }) > 0;
}

template <typename Predicate>
size_t QueueState::CancelIf(Predicate wanted)
{
    Entries cancelled; // goes after the lock
    std::lock_guard lock(mutex_);
    for (auto entry = entries_.begin(); entry != entries_.end();) {
        auto next = std::next(entry);
        if (wanted(*entry)) {
            cancelled.insert(entries_.extract(entry));
        }
        entry = next;
    }
    if (sleeping_) {
        SetAlarm(HeadLocked().first);
    }
    return cancelled.size();
}

size_t QueueState::Size() const
{
    std::lock_guard lock(mutex_);
    return entries_.size();
}

void QueueState::Stop()
{
    Entries dropped; // goes after the lock
    std::lock_guard lock(mutex_);
    stopped_ = true;
    dropped.swap(entries_);
    WakeUp();
}

QueueState::Place QueueState::Head() const
{
    std::lock_guard lock(mutex_);
    return HeadLocked();
}

QueueState::Place QueueState::HeadLocked() const
{
    return entries_.empty() ? Place{AlarmClock::NEVER, 0} : entries_.begin()->first;
}

std::optional<Task> QueueState::PopDue()
{
    if (entries_.empty() || HeadLocked().first > scheduler_.NowNs()) {
        return std::nullopt;
    }
    return std::move(entries_.extract(entries_.begin()).mapped().task);
}

bool QueueState::RunDue()
{
    std::unique_lock lock(mutex_);
    std::optional<Task> task = PopDue();
    lock.unlock();
    if (task.has_value()) {
        Run(std::move(*task));
    }
    return task.has_value();
}

void QueueState::Work()
{
    while (std::optional<Task> task = WaitForTask()) {
        Run(std::move(*task));
    }
}

// The alarm stays set while the thread is awake, so that a delayed task costs nothing to the others that run before it.
std::optional<Task> QueueState::WaitForTask()
{
    std::unique_lock lock(mutex_);
    while (!stopped_) {
        if (std::optional<Task> task = PopDue()) {
            return task;
        }
        SetAlarm(HeadLocked().first);
        sleeping_ = true;
        wake_.wait(lock, [this] { return !sleeping_; });
        ++scheduler_.wakeUps_;
    }
    SetAlarm(AlarmClock::NEVER);
    return std::nullopt;
}

// The task goes here, still inside the queue: what its destructor does is done "on this runner".
void QueueState::Run(Task task) const
{
    currentQueue = this;
    RunReporting(name_, task);
    task = Task();
    currentQueue = nullptr;
}

const QueueState* QueueState::Current()
{
    return currentQueue;
}

const std::string& QueueState::Name() const
{
    return name_;
}

TaskQueue::TaskQueue(std::shared_ptr<QueueState> state) : state_(std::move(state))
{}

TaskQueue::~TaskQueue()
{
    Stop();
}

TaskId TaskQueue::Post(Task task, int64_t delayMs, TaskTag tag)
{
    const int64_t now = Scheduler::Instance().NowNs();
    return state_->Post(std::move(task), tag, now, now + ToNs(delayMs));
}

TaskId TaskQueue::PostAt(int64_t bootMs, Task task, TaskTag tag)
{
    return state_->Post(std::move(task), tag, Scheduler::Instance().NowNs(), ToNs(bootMs));
}

bool TaskQueue::Cancel(TaskId id)
{
    return state_->Cancel(id);
}

size_t TaskQueue::CancelTagged(const void* owner)
{
    return state_->CancelIf([owner](const auto& entry) { return entry.second.tag.owner == owner; });
}

size_t TaskQueue::CancelTagged(TaskTag tag)
{
    return state_->CancelIf(
        [tag](const auto& entry) { return entry.second.tag.owner == tag.owner && entry.second.tag.kind == tag.kind; });
}

bool TaskQueue::IsIdle() const
{
    return state_->Size() == 0;
}

void TaskQueue::Stop()
{
    state_->Stop();
}

bool TaskQueue::IsCurrent() const
{
    return QueueState::Current() == state_.get();
}

const std::string& TaskQueue::Name() const
{
    return state_->Name();
}

} // namespace OHOS::Host
