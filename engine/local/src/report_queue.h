#ifndef PELAGO_ENGINE_LOCAL_REPORT_QUEUE_H
#define PELAGO_ENGINE_LOCAL_REPORT_QUEUE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "activity.h"
#include "host/scheduler.h"

namespace OHOS::Pelago::Local {

inline constexpr int64_t PROGRESS_INTERVAL_MS = 100; // ten a second: more than a bar can show

// What one transfer tells whoever follows it, in order, on a queue of its own, so that a follower who is slow stalls
// nothing but its reports. Shared by the transfer and the reports under way. Any thread; holds no lock while it tells.
class ReportQueue : public std::enable_shared_from_this<ReportQueue> {
public:
    using Report = std::function<void()>;

    ReportQueue(std::shared_ptr<Activity> activity, const std::string& name);

    void Tell(Report report);
    // Takes the place of a progress that still waits, and waits itself until PROGRESS_INTERVAL_MS after the last one.
    void TellProgress(Report report);
    // The ending: nothing starts after it, a progress that waits included.
    void TellEnding(Report report);
    // No report starts from here on; one that has started goes on.
    void Silence();
    // For a report that calls several times: whether it may go on.
    [[nodiscard]] bool IsSilent();

private:
    void RunOne(const Report& report, bool isEnding);
    void RunProgress();
    [[nodiscard]] bool MayStart(bool isEnding);

    const std::shared_ptr<Activity> activity_;
    const std::shared_ptr<Host::TaskQueue> queue_;

    std::mutex mutex_;
    bool silent_ = false;
    Report progress_; // that waits
    bool progressPosted_ = false;
    int64_t lastProgressMs_ = -PROGRESS_INTERVAL_MS; // of the boot clock
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_REPORT_QUEUE_H
