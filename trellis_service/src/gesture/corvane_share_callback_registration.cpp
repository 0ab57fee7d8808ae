#include "gesture/corvane_share_callback_manager.h"

#include <new>
#include <utility>

#include "common_utils.h"
#include "core/trellis_service.h"

// Who is registered: callback objects, the deaths of their processes, the events that they want and the subscriptions
// that follow from them.
namespace OHOS::Pelago {
namespace {

constexpr int32_t ALL_CALLBACKS = -1;

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
    EndKeptWatch(pid); // who dies before the next line is found dead by the caller
    RegisterDeath(pid, callback);
    if (old == nullptr) {
        SHARE_LOGI(Log::SERVICE, "New Api Callback, exit");
    } else {
        UnregisterDeath(old);
        SHARE_LOGI(Log::SERVICE, "Replace old Api Callback, exit");
    }
}

// The death of a process that leaves events behind is still to be heard: nothing else would ever end them.
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
    if (callback != nullptr && WantsEvents(pid)) {
        keptWatches_[pid] = callback;
    } else if (callback != nullptr) {
        UnregisterDeath(callback);
    }
    return true;
}

bool CorvaneShareCallbackManager::WantsEvents(int32_t pid) const
{
    for (const EventCallbacks* event : {&knockCallbacks, &swingCallbacks}) {
        RecursiveLock lock(event->mutex);
        if (event->callbacks.count(pid) != 0) {
            return true;
        }
    }
    return false;
}

void CorvaneShareCallbackManager::EndKeptWatch(int32_t pid)
{
    const auto found = keptWatches_.find(pid);
    if (found != keptWatches_.end()) {
        UnregisterDeath(found->second);
        keptWatches_.erase(found);
    }
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

bool CorvaneShareCallbackManager::AddShareEventCallback(int32_t pid, int32_t cbId, int32_t eventId)
{
    const sptr<PelagoApiCallback> callback = StoreEventCallback(pid, cbId, eventId);
    if (callback == nullptr) {
        return false;
    }
    ForgetIfDead(pid, callback);
    if (eventId == ShareEvent::KNOCK) {
        TryToSubscribeKnock();
        return true;
    }
    TryToSubscribeSwing();
    ReplaySwing(pid);
    return true;
}

// An unknown process is said before an unknown event. The callback object cannot go before its event is there to be
// seen.
sptr<PelagoApiCallback> CorvaneShareCallbackManager::StoreEventCallback(int32_t pid, int32_t cbId, int32_t eventId)
{
    MutexLock registration(registrationMutex_);
    const sptr<PelagoApiCallback> callback = FindApiCallback(pid);
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "AddShareEventCallback pid %{public}d failed, ShareApiCallback not found.", pid);
        return nullptr;
    }
    EventCallbacks* event = FindEvent(eventId);
    return event != nullptr && AddCallback(*event, pid, cbId) ? callback : nullptr;
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
    {
        MutexLock registration(registrationMutex_);
        EndKeptWatch(pid); // before the events go: what is registered from here on has a watch of its own
    }
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

CorvaneShareCallbackManager::Sizes CorvaneShareCallbackManager::GetSizes() const
{
    Sizes sizes{apiCallbackCount_, CountPids(knockCallbacks), CountPids(swingCallbacks), 0};
    MutexLock lock(deathMutex_);
    sizes.deaths = deathRecipients_.size();
    return sizes;
}

} // namespace OHOS::Pelago
