#include "report_queue.h"

#include <algorithm>
#include <utility>

namespace OHOS::Pelago::Local {

ReportQueue::ReportQueue(std::shared_ptr<Activity> activity, const std::string& name)
    : activity_(std::move(activity)), queue_(Host::Scheduler::Instance().CreateQueue(name))
{}

void ReportQueue::Tell(Report report)
{
    // Without a thread there is nobody who could tell; the scheduler has said so in the log.
    (void)queue_->Post([self = shared_from_this(), report = std::move(report)] { self->RunOne(report, false); });
}

void ReportQueue::TellEnding(Report report)
{
    // As above.
    (void)queue_->Post([self = shared_from_this(), report = std::move(report)] { self->RunOne(report, true); });
}

void ReportQueue::TellProgress(Report report)
{
    std::lock_guard<std::mutex> guard(mutex_);
    if (silent_) {
        return; // kept, it would keep the transfer that made it
    }
    progress_.swap(report); // the one before it goes after the lock
    if (progressPosted_) {
        return;
    }
    // As a delay and not as a moment in milliseconds: the queue goes by due times, and what was told before comes
    // before.
    int64_t wait = lastProgressMs_ + PROGRESS_INTERVAL_MS - Host::Scheduler::Instance().BootTimeMs();
    progressPosted_ =
        queue_->Post([self = shared_from_this()] { self->RunProgress(); }, std::max<int64_t>(wait, 0)) != 0;
    if (!progressPosted_) {
        report.swap(progress_); // as with Silence, when nobody comes for it
    }
}

void ReportQueue::Silence()
{
    Report dropped; // goes after the lock
    std::lock_guard<std::mutex> guard(mutex_);
    silent_ = true;
    dropped.swap(progress_);
}

bool ReportQueue::IsSilent()
{
    std::lock_guard<std::mutex> guard(mutex_);
    return silent_;
}

void ReportQueue::RunOne(const Report& report, bool isEnding)
{
    if (!activity_->Enter()) {
        return;
    }
    if (MayStart(isEnding)) {
        report();
    }
    activity_->Leave();
}

void ReportQueue::RunProgress()
{
    Report report;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        report.swap(progress_);
        progressPosted_ = false;
        lastProgressMs_ = Host::Scheduler::Instance().BootTimeMs();
    }
    if (report) {
        RunOne(report, false);
    }
}

bool ReportQueue::MayStart(bool isEnding)
{
    Report dropped; // goes after the lock
    std::lock_guard<std::mutex> guard(mutex_);
    bool may = !silent_;
    silent_ = silent_ || isEnding;
    if (silent_) {
        dropped.swap(progress_);
    }
    return may;
}

} // namespace OHOS::Pelago::Local
