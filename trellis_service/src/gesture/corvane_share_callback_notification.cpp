#include "gesture/corvane_share_callback_manager.h"

#include <algorithm>

#include "core/trellis_service.h"
#include "runtime_env.h"
#include "transmit_param.h"

// Who of the registered is told of a knock or a gesture, of a remembered one too.
namespace OHOS::Pelago {
namespace {

constexpr int32_t CALLBACK_ID_NONE = -1;

// How a tap fails that no application wants, and what telemetry calls the two ways to get there.
constexpr int32_t MOTION_STATE_FAILED = 0;
constexpr int32_t ERROR_NO_APPLICATION = 1203;
constexpr int32_t RADAR_NO_APPLICATION = 445317123;
constexpr int32_t RADAR_NO_CALLBACK = 445317124;

} // namespace

std::shared_ptr<ShareRadarDfx> CorvaneShareCallbackManager::Radar() const
{
    MutexLock lock(mutex_);
    return lastRadar_;
}

void CorvaneShareCallbackManager::ReportKnockFailure(int32_t result, int32_t errorCode) const
{
    if (const std::shared_ptr<ShareRadarDfx> radar = Radar(); radar != nullptr) {
        radar->ReportShareRadarInfo(
            "CorvaneShareCallbackManager::NotifyUserKnock", RadarStage::TAP, result, RadarState::END, errorCode);
    }
}

// One thread replays to all who wait: replays come one after another anyway, and who floods us with registrations gets
// no thread for each. It begins behind this lock, so that it finds who it was started for.
void CorvaneShareCallbackManager::ReplaySwing(int32_t pid)
{
    MutexLock lock(replayQueueMutex_);
    if (replayer_.expired()) {
        const auto replayer = std::make_shared<char>();
        RuntimeEnv::StartDetached("SwingReplay", [self = shared_from_this(), replayer] { self->ReplayToAll(); });
        replayer_ = replayer;
    }
    if (std::find(replayPids_.begin(), replayPids_.end(), pid) == replayPids_.end()) {
        replayPids_.push_back(pid);
    }
}

void CorvaneShareCallbackManager::ReplayToAll()
{
    for (int32_t pid = 0; NextReplay(pid);) {
        TryToConsumeSwingCache(pid);
    }
}

bool CorvaneShareCallbackManager::NextReplay(int32_t& pid)
{
    MutexLock lock(replayQueueMutex_);
    if (replayPids_.empty()) {
        replayer_.reset(); // who registers now gets another one
        return false;
    }
    pid = replayPids_.front();
    replayPids_.pop_front();
    return true;
}

void CorvaneShareCallbackManager::TryToConsumeSwingCache(int32_t pid)
{
    if (const sptr<TrellisService> service = Service(); service != nullptr) {
        service->TryToConsumeSwingCache(pid);
    }
}

bool CorvaneShareCallbackManager::IsPidRegistered(int32_t eventId, const std::vector<int32_t>& pids)
{
    if (pids.empty()) {
        return false;
    }
    const EventCallbacks* event = FindEvent(eventId);
    if (event == nullptr) {
        return false;
    }
    RecursiveLock lock(event->mutex);
    for (const int32_t pid : pids) {
        if (event->callbacks.count(pid) != 0) {
            SHARE_LOGI(Log::SERVICE, "Pid %{public}d Registered event %{public}s.", pid, event->eventName);
            return true;
        }
        SHARE_LOGI(Log::SERVICE, "Pid %{public}d not Registered event %{public}s.", pid, event->eventName);
    }
    return false;
}

std::vector<int32_t> CorvaneShareCallbackManager::MatchPids(
    const EventCallbacks& event, const std::vector<int32_t>& pids, const char* source)
{
    std::vector<int32_t> matched;
    RecursiveLock lock(event.mutex);
    for (const int32_t pid : pids) {
        if (event.callbacks.count(pid) != 0) {
            SHARE_LOGI(Log::SERVICE, "GetMatched%{public}sPid %{public}d from knock cbs.", source, pid);
            matched.push_back(pid);
        }
    }
    return matched;
}

std::vector<int32_t> CorvaneShareCallbackManager::GetMatchedFocusedPids(
    int32_t eventId, const std::vector<int32_t>& queryPids)
{
    std::vector<int32_t> matched;
    if (eventId == ShareEvent::KNOCK) {
        matched = MatchPids(knockCallbacks, queryPids, "Focused");
    }
    if (eventId == ShareEvent::KNOCK && matched.empty()) {
        const sptr<TrellisService> service = Service();
        if (service == nullptr) {
            return matched;
        }
        std::vector<int32_t> foreground;
        service->UpdateAlternativePidsByForeground(foreground);
        matched = MatchPids(knockCallbacks, foreground, "Foreground");
    }
    SHARE_LOGI(Log::SERVICE, "GetMatchedPids exit, eventId %{public}d, matchedPids %{public}lu.", eventId,
        static_cast<unsigned long>(matched.size()));
    return matched;
}

void CorvaneShareCallbackManager::NotifyUserDeviceFound(
    ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids, const std::shared_ptr<ShareRadarDfx>& radar)
{
    {
        MutexLock lock(mutex_);
        lastRadar_ = radar;
    }
    if (device.IsContainDiscoverer(Discoverer::TAP)) {
        NotifyUserKnock(device, focusedPids);
    } else if (device.IsContainDiscoverer(Discoverer::SWING)) {
        NotifyUserSwing(device, focusedPids);
    }
}

void CorvaneShareCallbackManager::AppendCallbacks(
    const EventCallbacks& event, const std::vector<int32_t>& pids, std::vector<AlternativeCb>& alternativeCbs)
{
    RecursiveLock lock(event.mutex);
    for (const int32_t pid : pids) {
        const auto found = event.callbacks.find(pid);
        if (found == event.callbacks.end()) {
            continue;
        }
        for (const auto& [cbId, timeStamp] : found->second) {
            alternativeCbs.emplace_back(pid, cbId, timeStamp);
        }
    }
}

// The foreground is asked for, and a knock fails, with no lock held.
void CorvaneShareCallbackManager::NotifyUserKnock(ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids)
{
    std::vector<AlternativeCb> alternativeCbs;
    AppendCallbacks(knockCallbacks, focusedPids, alternativeCbs);
    if (alternativeCbs.empty()) {
        SHARE_LOGE(Log::SERVICE, "alternativeCbs empty!");
        UpdateAlternativeCbsByForeground(alternativeCbs);
    }
    if (alternativeCbs.empty()) {
        SHARE_LOGE(Log::SERVICE, "alternativeCbs still empty!");
        ReportKnockFailure(RadarResult::REFUSED, RADAR_NO_APPLICATION);
        if (const sptr<TrellisService> service = Service(); service != nullptr) {
            service->HandleOnMotionState(
                static_cast<int32_t>(TransmitEventType::TAP), MOTION_STATE_FAILED, ERROR_NO_APPLICATION);
        }
        return;
    }
    // Nobody fails a tap whose application has no callback: its time-out does.
    if (!TellNewest(ShareEvent::KNOCK, alternativeCbs, device)) {
        ReportKnockFailure(RadarResult::FAILED, RADAR_NO_CALLBACK);
    }
}

void CorvaneShareCallbackManager::UpdateAlternativeCbsByForeground(std::vector<AlternativeCb>& alternativeCbs)
{
    const sptr<TrellisService> service = Service();
    if (service == nullptr) {
        return;
    }
    std::vector<int32_t> foreground;
    service->UpdateAlternativePidsByForeground(foreground);
    AppendCallbacks(knockCallbacks, foreground, alternativeCbs);
}

// The foreground does not stand in for the focus here, and nobody reports the miss: a gesture that finds nobody is
// remembered before it gets this far.
void CorvaneShareCallbackManager::NotifyUserSwing(ShareDeviceInfo& device, const std::vector<int32_t>& focusedPids)
{
    std::vector<AlternativeCb> alternativeCbs;
    AppendCallbacks(swingCallbacks, focusedPids, alternativeCbs);
    if (alternativeCbs.empty()) {
        SHARE_LOGE(Log::SERVICE, "alternativeCbs empty!.");
        return;
    }
    (void)TellNewest(ShareEvent::GESTURES, alternativeCbs, device); // a missing callback is logged
}

// Of equal times the first counts, and none that is 0: no process is then found.
bool CorvaneShareCallbackManager::TellNewest(
    int32_t eventId, const std::vector<AlternativeCb>& alternativeCbs, const ShareDeviceInfo& device)
{
    AlternativeCb newest{0, CALLBACK_ID_NONE, 0};
    for (const AlternativeCb& candidate : alternativeCbs) {
        if (std::get<uint64_t>(candidate) > std::get<uint64_t>(newest)) {
            newest = candidate;
        }
    }
    const auto& [pid, cbId, timeStamp] = newest;
    MutexLock lock(apiMutex_);
    const auto found = apiCallbacks_.find(pid);
    if (found == apiCallbacks_.end()) {
        SHARE_LOGE(Log::SERVICE, "pid %{public}d cannot find PelagoApiCallback!.", pid);
        return false;
    }
    found->second->OnShareEventOccurred(eventId, cbId, device);
    return true;
}

} // namespace OHOS::Pelago
