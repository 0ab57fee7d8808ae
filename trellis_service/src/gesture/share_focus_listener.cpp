#include "gesture/share_focus_listener.h"

#include <new>

#include "common_utils.h"
#include "share_log.h"

namespace OHOS::Pelago {
namespace {

constexpr int32_t PID_INVALID = -1;

} // namespace

RecursiveMutex ShareFocusListener::instanceMutex_{"ShareFocusListener::instanceMutex_", LockRank::LEAF};
sptr<ShareFocusListener> ShareFocusListener::instance_;
Mutex ShareFocusListener::focusPidsMutex_{"ShareFocusListener::focusPidsMutex_", LockRank::LEAF};
std::unordered_set<int32_t> ShareFocusListener::focusPids_;
std::atomic<int32_t> ShareFocusListener::registration_{NOT_REGISTERED};
std::atomic<uint64_t> ShareFocusListener::lastChangeTime_{0};

sptr<ShareFocusListener> ShareFocusListener::GetInstance()
{
    RecursiveLock lock(instanceMutex_);
    if (instance_ == nullptr) {
        instance_ = new (std::nothrow) ShareFocusListener();
    }
    return instance_;
}

void ShareFocusListener::RegisterFocusListener()
{
    if (registration_ == REGISTERED) {
        SHARE_LOGI(Log::SERVICE, "ShareFocusListener is registered");
        return;
    }
    sptr<ShareFocusListener> listener = GetInstance();
    if (listener == nullptr) {
        SHARE_LOGE(Log::SERVICE, "register ShareFocusListener failed, listener is null");
        return;
    }
    int32_t before = NOT_REGISTERED;
    if (!registration_.compare_exchange_strong(before, REGISTERING)) {
        SHARE_LOGI(Log::SERVICE, "register ShareFocusListener task is executing");
        return;
    }
    if (Rosen::WindowManager::GetInstance().RegisterFocusChangedListener(listener) != Rosen::WMError::WM_OK) {
        registration_ = NOT_REGISTERED;
        SHARE_LOGE(Log::SERVICE, "register ShareFocusListener failed.");
        return;
    }
    registration_ = REGISTERED;
    SHARE_LOGI(Log::SERVICE, "register ShareFocusListener succeed.");
}

// Whether the change names a process.
bool ShareFocusListener::NoteChange(const sptr<Rosen::FocusChangeInfo>& focusChangeInfo)
{
    lastChangeTime_ = static_cast<uint64_t>(CommonUtils::GetCurrentTimestamp());
    if (focusChangeInfo == nullptr) {
        SHARE_LOGE(Log::SERVICE, "focusChangeInfo nullptr");
        return false;
    }
    if (focusChangeInfo->pid_ == PID_INVALID) {
        SHARE_LOGE(Log::SERVICE, "focusChangeInfo pid invalid");
        return false;
    }
    return true;
}

void ShareFocusListener::OnFocused(const sptr<Rosen::FocusChangeInfo>& focusChangeInfo)
{
    if (!NoteChange(focusChangeInfo)) {
        return;
    }
    MutexLock lock(focusPidsMutex_);
    if (!focusPids_.insert(focusChangeInfo->pid_).second) {
        SHARE_LOGI(Log::SERVICE, "focusChangeInfo pid is already in focusPids_");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "focusPids_ size %{public}lu", static_cast<unsigned long>(focusPids_.size()));
}

void ShareFocusListener::OnUnfocused(const sptr<Rosen::FocusChangeInfo>& focusChangeInfo)
{
    if (!NoteChange(focusChangeInfo)) {
        return;
    }
    MutexLock lock(focusPidsMutex_);
    if (focusPids_.erase(focusChangeInfo->pid_) == 0) {
        SHARE_LOGE(Log::SERVICE, "focusChangeInfo pid is not in focusPids_");
    }
}

void ShareFocusListener::GetFocusedPids(std::vector<int32_t>& pids)
{
    MutexLock lock(focusPidsMutex_);
    pids.insert(pids.end(), focusPids_.begin(), focusPids_.end());
    SHARE_LOGI(Log::SERVICE, "GetFocusedPids size %{public}lu", static_cast<unsigned long>(focusPids_.size()));
}

} // namespace OHOS::Pelago
