#include "gesture/corvane_share_callback_manager.h"

#include <algorithm>
#include <new>
#include <utility>

#include "common_utils.h"
#include "core/trellis_service.h"
#include "runtime_env.h"
#include "transmit_param.h"

namespace OHOS::Pelago {
namespace {

constexpr int32_t ALL_CALLBACKS = -1;

// How a tap fails that no application wants, and what telemetry calls the two ways to get there.
constexpr int32_t MOTION_STATE_FAILED = 0;
constexpr int32_t ERROR_NO_APPLICATION = 1203;
constexpr int32_t RADAR_NO_APPLICATION = 445317123;
constexpr int32_t RADAR_NO_CALLBACK = 445317124;

unsigned long ForLog(uint64_t value)
{
    return static_cast<unsigned long>(value);
}

} // namespace

CorvaneShareCallbackManager::ApiDeathRecipient::ApiDeathRecipient(int32_t pid) : pid_(pid)
{}

void CorvaneShareCallbackManager::ApiDeathRecipient::OnRemoteDied(const wptr<IRemoteObject>&)
{
    DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->ApiCallbackDeath(pid_);
}

void CorvaneShareCallbackManager::Init(const wptr<TrellisService>& service)
{
    MutexLock lock(mutex_);
    trellisServicePtr_ = service;
}

void CorvaneShareCallbackManager::Release()
{
    SHARE_LOGI(Log::SERVICE, "Release() invoked.");
}

sptr<TrellisService> CorvaneShareCallbackManager::Service() const
{
    wptr<TrellisService> weak;
    {
        MutexLock lock(mutex_);
        weak = trellisServicePtr_;
    }
    sptr<TrellisService> service = weak.promote();
    if (service == nullptr) {
        SHARE_LOGE(Log::SERVICE, "trellisServicePtr_ nullptr.");
    }
    return service;
}

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

bool CorvaneShareCallbackManager::AddShareApiCallback(int32_t pid, const sptr<PelagoApiCallback>& callback)
{
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "AddShareApiCallback pid %{public}d failed, callback is null.", pid);
        return false;
    }
    const sptr<IRemoteObject> object = callback->AsObject();
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "AddShareApiCallback pid %{public}d failed, callbackObj is null", pid);
        return false;
    }
    StoreApiCallback(pid, callback, object);
    ForgetIfDead(pid, callback);
    return true;
}

// Deaths are arranged outside the callbacks' mutex, and for the new callback first.
void CorvaneShareCallbackManager::StoreApiCallback(
    int32_t pid, const sptr<PelagoApiCallback>& callback, const sptr<IRemoteObject>& object)
{
    MutexLock registration(registrationMutex_);
    sptr<PelagoApiCallback> old;
    {
        MutexLock lock(apiMutex_);
        sptr<PelagoApiCallback>& stored = apiCallbacks_[pid];
        if (stored != nullptr && stored->AsObject() == object) {
            SHARE_LOGI(Log::SERVICE, "The same Api Callback, exit");
            return;
        }
        old = std::exchange(stored, callback);
        apiCallbackCount_ = apiCallbacks_.size();
    }
    RegisterDeath(pid, callback);
    if (old == nullptr) {
        SHARE_LOGI(Log::SERVICE, "New Api Callback, exit");
    } else {
        UnregisterDeath(old);
        SHARE_LOGI(Log::SERVICE, "Replace old Api Callback, exit");
    }
}

bool CorvaneShareCallbackManager::DelShareApiCallback(int32_t pid)
{
    MutexLock registration(registrationMutex_);
    sptr<PelagoApiCallback> callback;
    {
        MutexLock lock(apiMutex_);
        const auto found = apiCallbacks_.find(pid);
        if (found != apiCallbacks_.end()) {
            callback = found->second;
            apiCallbacks_.erase(found);
            apiCallbackCount_ = apiCallbacks_.size();
        }
    }
    if (callback != nullptr) {
        UnregisterDeath(callback);
    }
    return true;
}

// A callback of this process has no death of its own, and is kept all the same.
void CorvaneShareCallbackManager::RegisterDeath(int32_t pid, const sptr<PelagoApiCallback>& callback)
{
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "RegisterDeath but callback is null.");
        return;
    }
    const sptr<IRemoteObject> object = callback->AsObject();
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callbackObj is null in RegisterDeath!");
        return;
    }
    const sptr<IRemoteObject::DeathRecipient> recipient = new (std::nothrow) ApiDeathRecipient(pid);
    if (recipient == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Create deathRecipient failed!");
        return;
    }
    MutexLock lock(deathMutex_);
    if (object->IsProxyObject() && !object->AddDeathRecipient(recipient)) {
        SHARE_LOGE(Log::SERVICE, "AddDeathRecipient failed!");
        return;
    }
    deathRecipients_.emplace(object, recipient);
}

void CorvaneShareCallbackManager::UnregisterDeath(const sptr<PelagoApiCallback>& callback)
{
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "UnregisterDeath but callback is null.");
        return;
    }
    const sptr<IRemoteObject> object = callback->AsObject();
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callbackObj is null in UnregisterDeath!");
        return;
    }
    MutexLock lock(deathMutex_);
    const auto found = deathRecipients_.find(object);
    if (found == deathRecipients_.end()) {
        return;
    }
    if (found->second != nullptr) {
        object->RemoveDeathRecipient(found->second);
    }
    deathRecipients_.erase(found);
}

// A process may have died while it was being registered, and its death have come and gone before the last entry was
// made. An object is dead before its death is told, so that whoever finds it alive here is tidied up by its death.
void CorvaneShareCallbackManager::ForgetIfDead(int32_t pid, const sptr<PelagoApiCallback>& callback)
{
    if (callback->AsObject()->IsObjectDead()) {
        ApiCallbackDeath(pid);
    }
}

sptr<PelagoApiCallback> CorvaneShareCallbackManager::FindApiCallback(int32_t pid) const
{
    MutexLock lock(apiMutex_);
    const auto found = apiCallbacks_.find(pid);
    return found == apiCallbacks_.end() ? nullptr : found->second;
}

CorvaneShareCallbackManager::EventCallbacks* CorvaneShareCallbackManager::FindEvent(int32_t eventId)
{
    if (eventId == ShareEvent::KNOCK) {
        return &knockCallbacks;
    }
    if (eventId == ShareEvent::GESTURES) {
        return &swingCallbacks;
    }
    SHARE_LOGE(Log::SERVICE, "Invalid eventId %{public}d", eventId);
    return nullptr;
}

// An unknown process is said before an unknown event.
bool CorvaneShareCallbackManager::AddShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId)
{
    const sptr<PelagoApiCallback> callback = FindApiCallback(pid);
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "AddShareEventCallback pid %{public}d failed, ShareApiCallback not found.", pid);
        return false;
    }
    EventCallbacks* event = FindEvent(eventId);
    if (event == nullptr || !AddCallback(*event, pid, cbId)) {
        return false;
    }
    ForgetIfDead(pid, callback);
    if (event == &knockCallbacks) {
        TryToSubscribeKnock();
        return true;
    }
    TryToSubscribeSwing();
    ReplaySwing(pid);
    return true;
}

// One thread replays to all who wait: replays come one after another anyway, and who floods us with registrations gets
// no thread for each. It begins behind this lock, so that it finds who it was started for.
void CorvaneShareCallbackManager::ReplaySwing(int32_t pid)
{
    MutexLock lock(replayQueueMutex_);
    if (!replaying_) {
        RuntimeEnv::StartDetached("SwingReplay", [self = shared_from_this()] { self->ReplayToAll(); });
        replaying_ = true;
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
    replaying_ = !replayPids_.empty();
    if (replaying_) {
        pid = replayPids_.front();
        replayPids_.pop_front();
    }
    return replaying_;
}

// A callback id that is there already becomes the newest registration: that is meant.
bool CorvaneShareCallbackManager::AddCallback(EventCallbacks& event, int32_t pid, int32_t cbId)
{
    RecursiveLock lock(event.mutex);
    const auto timeStamp = static_cast<uint64_t>(CommonUtils::GetCurrentTimestamp());
    std::map<int32_t, uint64_t>& ofProcess = event.callbacks[pid];
    if (ofProcess.size() >= MAX_CALLBACK_IDS && ofProcess.count(cbId) == 0) {
        SHARE_LOGE(Log::SERVICE, "AddCallback pid %{public}d failed, too many callback ids.", pid);
        return false;
    }
    const auto [found, isNew] = ofProcess.emplace(cbId, timeStamp);
    if (isNew) {
        SHARE_LOGI(Log::SERVICE, "AddCallback success.");
        return true;
    }
    SHARE_LOGE(Log::SERVICE, "Duplicate cbId %{public}d, timeStamp %{public}lu -> %{public}lu", cbId,
        ForLog(found->second), ForLog(timeStamp));
    found->second = timeStamp;
    return true;
}

// The service stays subscribed to gestures when nobody wants them any more: that is meant.
bool CorvaneShareCallbackManager::DelShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId)
{
    EventCallbacks* event = FindEvent(eventId);
    if (event == nullptr) {
        return false;
    }
    const bool deleted = DelCallback(*event, pid, cbId);
    if (event == &knockCallbacks) {
        TryToUnsubscribeKnock();
    }
    return deleted;
}

bool CorvaneShareCallbackManager::DelCallback(EventCallbacks& event, int32_t pid, int32_t cbId)
{
    RecursiveLock lock(event.mutex);
    const auto found = event.callbacks.find(pid);
    if (found == event.callbacks.end()) {
        SHARE_LOGE(Log::SERVICE, "DelCallback pid %{public}d failed, pid not found.", pid);
        return false;
    }
    if (cbId == ALL_CALLBACKS) {
        event.callbacks.erase(found);
        SHARE_LOGI(Log::SERVICE, "DelAllCallback for pid %{public}d success.", pid);
        return true;
    }
    if (found->second.erase(cbId) == 0) {
        SHARE_LOGE(Log::SERVICE, "DelCallback pid %{public}d failed, cbId %{public}d not found.", pid, cbId);
        return false;
    }
    if (found->second.empty()) {
        event.callbacks.erase(found);
    }
    SHARE_LOGI(Log::SERVICE, "DelCallback %{public}d for pid %{public}d success.", cbId, pid);
    return true;
}

// Whether there was something to forget is logged below and is nobody's to know.
void CorvaneShareCallbackManager::ApiCallbackDeath(int32_t pid)
{
    (void)DelShareApiCallback(pid);
    for (const int32_t eventId : {ShareEvent::KNOCK, ShareEvent::GESTURES}) {
        SHARE_LOGI(Log::SERVICE, "DelShareEventCallback %{public}d for pid %{public}d, eventId %{public}d",
            ALL_CALLBACKS, pid, eventId);
        (void)DelShareEventCallback(pid, ALL_CALLBACKS, eventId);
    }
    if (const sptr<TrellisService> service = Service(); service != nullptr) {
        service->DownloadingDie(pid);
    }
}

size_t CorvaneShareCallbackManager::CountPids(const EventCallbacks& event)
{
    RecursiveLock lock(event.mutex);
    return event.callbacks.size();
}

// What the framework or the engine said to a subscription is logged there; the next registration asks again. So below.
void CorvaneShareCallbackManager::TryToSubscribeKnock()
{
    MutexLock lock(knockSubscriptionMutex_);
    if (CountPids(knockCallbacks) == 0) {
        SHARE_LOGI(Log::SERVICE, "TryToSubscribeKnock no callbacks, return.");
        return;
    }
    if (const sptr<TrellisService> service = Service(); service != nullptr) {
        (void)service->RegisterMotionSenderListener();
    }
}

void CorvaneShareCallbackManager::TryToUnsubscribeKnock()
{
    MutexLock lock(knockSubscriptionMutex_);
    if (CountPids(knockCallbacks) != 0) {
        SHARE_LOGI(Log::SERVICE, "TryToUnsubscribeKnock has callbacks, return.");
        return;
    }
    if (const sptr<TrellisService> service = Service(); service != nullptr) {
        (void)service->UnRegisterMotionSenderListener();
    }
}

void CorvaneShareCallbackManager::TryToSubscribeSwing()
{
    if (CountPids(swingCallbacks) == 0) {
        SHARE_LOGI(Log::SERVICE, "TryToSubscribeSwing no callbacks, return.");
        return;
    }
    if (const sptr<TrellisService> service = Service(); service != nullptr) {
        (void)service->RegisterSwingSubscribeListener();
    }
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
        ForLog(matched.size()));
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
    AlternativeCb newest{0, ALL_CALLBACKS, 0};
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

CorvaneShareCallbackManager::Sizes CorvaneShareCallbackManager::GetSizes() const
{
    Sizes sizes{apiCallbackCount_, CountPids(knockCallbacks), CountPids(swingCallbacks), 0};
    MutexLock lock(deathMutex_);
    sizes.deaths = deathRecipients_.size();
    return sizes;
}

} // namespace OHOS::Pelago
