#include "core/trellis_service.h"

#include <algorithm>
#include <new>

#include "transfer/corvane_share_manager.h"
#include "want.h"

// Who is told: registration, removal and death of client callbacks.
namespace OHOS::Pelago {
namespace {

using Callback = sptr<PelagoTrellisServiceCallback>;

// Names of share API events that are asked for by name.
constexpr const char* EVENT_DISCONNECT_SHARE_API_EXTENSION = "disconCorvaneShareApiServiceEx";
constexpr const char* EVENT_KNOCK_SHARE = "knockShare";

// Flags run from 1 to 99, then 0, and again.
constexpr int32_t CALLBACK_FLAG_COUNT = 100;

// The object behind a callback; null, and said in the log, when there is none. `where` ends the line.
sptr<IRemoteObject> ObjectOf(const Callback& callback, const char* where)
{
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callback is null%{public}s", where);
        return nullptr;
    }
    sptr<IRemoteObject> object = callback->AsObject();
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "callbackObj is null%{public}s", where);
    }
    return object;
}

// The entry of `object`. Null entries are told to `onNull` by their place and passed over.
template <typename OnNull>
std::vector<Callback>::iterator FindCallback(
    std::vector<Callback>& list, const sptr<IRemoteObject>& object, OnNull&& onNull)
{
    return std::find_if(list.begin(), list.end(), [&](const Callback& entry) {
        if (entry == nullptr) {
            onNull(static_cast<size_t>(&entry - list.data()));
            return false;
        }
        return entry->AsObject() == object;
    });
}

void LogNullCallback(size_t)
{
    SHARE_LOGE(Log::PROXY, "proxy is nullptr.");
}

void LogNullShareApiCallback(size_t place)
{
    SHARE_LOGE(Log::PROXY, "corvaneShareApiCBVector_ %{public}d is nullptr.", static_cast<int>(place));
}

} // namespace

TrellisService::DeathRecipient::DeathRecipient(const wptr<TrellisService>& service, int32_t flag)
    : service_(service), flag_(flag)
{}

void TrellisService::DeathRecipient::OnRemoteDied(const wptr<IRemoteObject>&)
{
    if (sptr<TrellisService> alive = service_.promote(); alive != nullptr) {
        alive->TrellisCallbackDeath(flag_);
    }
}

bool TrellisService::AddTrellisCallback(const Callback& callback)
{
    sptr<IRemoteObject> object = ObjectOf(callback, " in RegisterTrellisCallback!");
    if (object == nullptr) {
        return false;
    }
    MutexLock lock(trellisCallbackMutex_);
    SHARE_LOGI(
        Log::SERVICE, "There are %{public}d trellisCBs in vector", static_cast<int>(trellisCBProxyVector_.size()));
    if (!trellisCBProxyVector_.empty()) {
        SHARE_LOGI(Log::SERVICE, "hap concurrent situation");
    }
    auto found = FindCallback(trellisCBProxyVector_, object, LogNullCallback);
    if (found != trellisCBProxyVector_.end()) {
        SHARE_LOGE(Log::SERVICE, "already registered.");
        return false;
    }
    trellisCBProxyVector_.push_back(callback);
    trellisCallbackCount_ = trellisCBProxyVector_.size();
    // Everybody learns the new number, the newcomer included.
    for (const Callback& entry : trellisCBProxyVector_) {
        SHARE_LOGI(Log::SERVICE, "OnEnableStatusChanged");
        entry->OnEnableStatusChanged();
        entry->OnConnectHub(CONNECT_HUB_CALLBACK_COUNT, static_cast<int32_t>(trellisCBProxyVector_.size()));
    }
    return true;
}

bool TrellisService::RegisterTrellisCallback(const Callback& callback)
{
    SHARE_LOGI(Log::SERVICE, "RegisterTrellisCallback() enter");
    if (!AddTrellisCallback(callback)) {
        SHARE_LOGE(Log::SERVICE, "AddTrellisCallback failed");
        return false;
    }
    RegisterDeath(callback);
    NotifyCorvaneShareApiCBOnConnectHub();
    AAFwk::Want want;
    want.SetElementName(FRONT_END_BUNDLE, ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(INTENT_KEY_SHARE, std::string("send_notification"));
    CorvaneShareManager::StartService(want);
    SHARE_LOGI(Log::SERVICE, "RegisterTrellisCallback() exit");
    return true;
}

int32_t TrellisService::GetTrellisCallbackFlag()
{
    trellisCallbackFlag = (trellisCallbackFlag + 1) % CALLBACK_FLAG_COUNT;
    return trellisCallbackFlag;
}

// A flag is spent even when the rest fails, and neither map gives up an entry that it has: after a hundred
// registrations a flag may name an older callback.
void TrellisService::RegisterDeath(const Callback& callback)
{
    SHARE_LOGI(Log::SERVICE, "registerDeath enter");
    RecursiveLock lock(deathTrellisCallbackMutex_);
    sptr<IRemoteObject> object = ObjectOf(callback, " in RegisterDeath!");
    if (object == nullptr) {
        return;
    }
    int32_t flag = GetTrellisCallbackFlag();
    sptr<DeathRecipient> recipient = new (std::nothrow) DeathRecipient(this, flag);
    if (recipient == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Create deathRecipient_ fail.");
        return;
    }
    // A callback of this process has no death of its own, and is kept all the same.
    if (object->IsProxyObject() && !object->AddDeathRecipient(recipient)) {
        SHARE_LOGE(Log::SERVICE, "Failed to add death recipient");
        return;
    }
    deathTrellisCallbackMap_.emplace(object, recipient);
    trellisCallbackFlagMap_.emplace(flag, callback);
}

bool TrellisService::UnRegisterTrellisCallback(const Callback& callback)
{
    SHARE_LOGI(Log::SERVICE, "UnRegisterTrellisCallback() enter");
    sptr<IRemoteObject> object = ObjectOf(callback, " in UnRegisterTrellisCallback!");
    if (object == nullptr) {
        return false;
    }
    if (!RemoveTrellisCallback(object)) {
        SHARE_LOGE(Log::SERVICE, "RemoveTrellisCallback failed!");
        return false;
    }
    UnRegisterDeath(callback);
    NotifyCorvaneShareApiCBOnConnectHub();
    SHARE_LOGI(Log::SERVICE, "UnRegisterTrellisCallback() exit");
    return true;
}

// The only entry goes without a comparison: a client that comes back with another object still empties the list.
bool TrellisService::RemoveTrellisCallback(const sptr<IRemoteObject>& object)
{
    MutexLock lock(trellisCallbackMutex_);
    SHARE_LOGI(
        Log::SERVICE, "There are %{public}d trellisCBs in vector", static_cast<int>(trellisCBProxyVector_.size()));
    if (trellisCBProxyVector_.empty()) {
        SHARE_LOGE(Log::SERVICE, "registered callback vector is empty.");
        return false;
    }
    auto found = trellisCBProxyVector_.begin();
    if (trellisCBProxyVector_.size() > 1) {
        SHARE_LOGI(Log::SERVICE, "hap concurrent situation");
        found = FindCallback(trellisCBProxyVector_, object, LogNullCallback);
        if (found == trellisCBProxyVector_.end()) {
            SHARE_LOGE(Log::SERVICE, "already unregister.");
            return false;
        }
        SHARE_LOGD(Log::SERVICE, "find trellisCB.");
    }
    SHARE_LOGD(Log::SERVICE, "set trellisCBProxy nullptr.");
    trellisCBProxyVector_.erase(found);
    trellisCallbackCount_ = trellisCBProxyVector_.size();
    for (const Callback& entry : trellisCBProxyVector_) {
        entry->OnConnectHub(CONNECT_HUB_CALLBACK_COUNT, static_cast<int32_t>(trellisCBProxyVector_.size()));
    }
    return true;
}

void TrellisService::UnRegisterDeath(const Callback& callback)
{
    SHARE_LOGI(Log::SERVICE, "enter");
    RecursiveLock lock(deathTrellisCallbackMutex_);
    sptr<IRemoteObject> object = ObjectOf(callback, "!");
    if (object == nullptr) {
        return;
    }
    auto found = deathTrellisCallbackMap_.find(object);
    if (found == deathTrellisCallbackMap_.end()) {
        return;
    }
    if (found->second != nullptr) {
        object->RemoveDeathRecipient(found->second);
        trellisCallbackFlagMap_.erase(found->second->Flag());
    }
    deathTrellisCallbackMap_.erase(found);
}

bool TrellisService::RegisterCorvaneShareApiTrellisCallback(const Callback& callback)
{
    sptr<IRemoteObject> object = ObjectOf(callback, "!");
    if (object == nullptr) {
        return false;
    }
    {
        MutexLock lock(corvaneShareApiCBMutex_);
        SHARE_LOGI(Log::SERVICE, "enter size %{public}ld", static_cast<long>(corvaneShareApiCBVector_.size()));
        auto found = FindCallback(corvaneShareApiCBVector_, object, LogNullShareApiCallback);
        if (found != corvaneShareApiCBVector_.end()) {
            SHARE_LOGE(Log::SERVICE, "already registered.");
            return false;
        }
        corvaneShareApiCBVector_.push_back(callback);
        shareApiCallbackCount_ = corvaneShareApiCBVector_.size();
        SHARE_LOGI(Log::SERVICE, "exit size %{public}ld", static_cast<long>(corvaneShareApiCBVector_.size()));
    }
    // Nothing is sent to the newcomer: it learns the number of clients at the next change.
    RegisterDeath(callback);
    return true;
}

bool TrellisService::UnRegisterCorvaneShareApiTrellisCallback(const Callback& callback)
{
    SHARE_LOGI(Log::SERVICE, "enter");
    sptr<IRemoteObject> object = ObjectOf(callback, "!");
    if (object == nullptr) {
        return false;
    }
    if (!RemoveCorvaneShareApiTrellisCallback(object)) {
        SHARE_LOGE(Log::SERVICE, "RemoveCorvaneShareApiTrellisCallback failed!");
        return false;
    }
    UnRegisterDeath(callback);
    SHARE_LOGI(Log::SERVICE, "UnRegisterCorvaneShareApiTrellisCallback exit!");
    return true;
}

// Always searches, also for the only entry, and tells nobody.
bool TrellisService::RemoveCorvaneShareApiTrellisCallback(const sptr<IRemoteObject>& object)
{
    MutexLock lock(corvaneShareApiCBMutex_);
    SHARE_LOGI(
        Log::SERVICE, "corvaneShareApiCBVector size %{public}ld", static_cast<long>(corvaneShareApiCBVector_.size()));
    if (corvaneShareApiCBVector_.empty()) {
        SHARE_LOGE(Log::SERVICE, "registered corvaneShareApiCBCount vector is empty.");
        return false;
    }
    auto found = FindCallback(corvaneShareApiCBVector_, object, LogNullShareApiCallback);
    if (found == corvaneShareApiCBVector_.end()) {
        SHARE_LOGE(Log::SERVICE, "not find corvaneShareApiCBVector_.");
        return false;
    }
    SHARE_LOGD(Log::SERVICE, "find corvaneShareApiCBVector_.");
    SHARE_LOGD(Log::SERVICE, "set corvaneShareApiCBVector_ nullptr.");
    corvaneShareApiCBVector_.erase(found);
    shareApiCallbackCount_ = corvaneShareApiCBVector_.size();
    SHARE_LOGI(Log::SERVICE, "exit size %{public}ld", static_cast<long>(corvaneShareApiCBVector_.size()));
    return true;
}

void TrellisService::NotifyCorvaneShareApiCBOnConnectHub()
{
    int32_t count = 0;
    {
        MutexLock lock(trellisCallbackMutex_);
        count = static_cast<int32_t>(trellisCBProxyVector_.size());
    }
    ForEachShareApiCallback(
        [count](const Callback& callback) { callback->OnConnectHub(CONNECT_HUB_CALLBACK_COUNT, count); });
}

// Other names do nothing, and every name answers true; so below.
bool TrellisService::RegisterCorvaneShareApiEvent(const std::string& eventName)
{
    SHARE_LOGI(Log::SERVICE, "enter eventName %{public}s", eventName.c_str());
    if (eventName == EVENT_DISCONNECT_SHARE_API_EXTENSION) {
        CorvaneShareManager::DisconnectCorvaneShareApiServiceEx();
    }
    return true;
}

bool TrellisService::UnRegisterCorvaneShareApiEvent(const std::string& eventName)
{
    SHARE_LOGI(Log::SERVICE, "enter eventName %{public}s swingcacheType_ %{public}d", eventName.c_str(),
        swingcacheType_.load());
    if (eventName == EVENT_KNOCK_SHARE) {
        (void)UnRegisterMotionSenderListener(); // its outcome is not the caller's
    }
    return true;
}

// The callback is looked for among the ordinary clients first. When it was a hub's and there is exactly one ordinary
// client, that one goes in its place and the hub's entry stays: a consequence of how the only entry is removed.
void TrellisService::TrellisCallbackDeath(int32_t flag)
{
    SHARE_LOGI(Log::SERVICE, "TrellisCallbackDeath enter.");
    (void)StopDiscovery(); // refused while others remain
    RecursiveLock lock(deathTrellisCallbackMutex_);
    if (auto found = trellisCallbackFlagMap_.find(flag); found != trellisCallbackFlagMap_.end()) {
        Callback callback = found->second;         // the entry goes meanwhile
        (void)UnRegisterTrellisCallback(callback); // not there: the second try
    }
    if (auto found = trellisCallbackFlagMap_.find(flag); found != trellisCallbackFlagMap_.end()) {
        Callback callback = found->second;
        (void)UnRegisterCorvaneShareApiTrellisCallback(callback); // logs its own failure
    }
    SHARE_LOGI(Log::SERVICE, "TrellisCallbackDeath end.");
}

} // namespace OHOS::Pelago
