#include "device_rows.h"
#include "host/device.h"

namespace OHOS::Host {

namespace {

auto HasPid(int32_t pid)
{
    return [pid](const Application& other) { return other.pid == pid; };
}

} // namespace

void Device::SetFocused(int32_t pid, bool focused)
{
    const std::lock_guard lock(mutex_);
    auto& pids = state_.focusedPids;
    if (Contains(pids, pid) == focused) {
        return;
    }
    if (focused) {
        pids.push_back(pid);
    } else {
        (void)Erase(pids, pid); // is there, as asked above
    }
    Changed();
    Post([this, pid, focused] {
        std::unique_lock guard(mutex_);
        const std::map<const void*, FocusListener> listeners = focusListeners_;
        guard.unlock();
        for (const auto& [key, listener] : listeners) {
            listener(pid, focused);
        }
    });
}

std::vector<int32_t> Device::FocusedPids() const
{
    const std::lock_guard lock(mutex_);
    return state_.focusedPids;
}

void Device::SetForegroundApplications(std::vector<Application> applications)
{
    const std::lock_guard lock(mutex_);
    state_.foregroundApplications = std::move(applications);
    Changed();
}

std::vector<Application> Device::ForegroundApplications() const
{
    const std::lock_guard lock(mutex_);
    return state_.foregroundApplications;
}

bool Device::AttachApplication(const Application& application)
{
    const std::lock_guard lock(mutex_);
    auto& applications = state_.applications;
    const auto found = std::find_if(applications.begin(), applications.end(), HasPid(application.pid));
    if (found != applications.end()) {
        *found = application;
    } else if (applications.size() >= MAX_APPLICATIONS) {
        return false;
    } else {
        applications.push_back(application);
    }
    Changed();
    return true;
}

void Device::DetachApplication(int32_t pid)
{
    {
        const std::lock_guard lock(mutex_);
        for (auto* applications : {&state_.applications, &state_.foregroundApplications}) {
            applications->erase(
                std::remove_if(applications->begin(), applications->end(), HasPid(pid)), applications->end());
        }
        Changed();
    }
    SetFocused(pid, false); // last: whoever gave it the focus meanwhile finds it gone
}

std::vector<Application> Device::AttachedApplications() const
{
    const std::lock_guard lock(mutex_);
    return state_.applications;
}

} // namespace OHOS::Host
