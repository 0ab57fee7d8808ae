#include "report_queue.h"

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
    progress_ = std::move(report);
    if (progressPosted_ || silent_) {
        return;
    }
    progressPosted_ = queue_->PostAt(lastProgressMs_ + PROGRESS_INTERVAL_MS,
                          [self = shared_from_this()] { self->RunProgress(); }) != 0;
}

void ReportQueue::Silence()
{
    std::lock_guard<std::mutex> guard(mutex_);
    silent_ = true;
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
    RunOne(report, false);
}

bool ReportQueue::MayStart(bool isEnding)
{
    std::lock_guard<std::mutex> guard(mutex_);
    bool may = !silent_;
    silent_ = silent_ || isEnding;
    return may;
}

} // namespace OHOS::Pelago::Local
