#include "core/trellis_service.h"

#include "common_utils.h"
#include "discovery/cache_map_manager.h"
#include "transfer/corvane_share_manager.h"

// What clients are told of running transfers.
namespace OHOS::Pelago {
namespace {

// Thermal notices that ask for nothing come at most this often.
constexpr int64_t THERMAL_NOTICE_INTERVAL_MS = 30000;

// The action of a thermal notice that always passes: it asks the client to do something.
constexpr int8_t THERMAL_ACTION_URGENT = 2;

} // namespace

// Clients get the last event of the entry, not `state`: a report that the entry refused, or that does not concern it,
// reaches them under the event before. That is why every report moves the entry first.
void TrellisService::HandleOnTransStateChange(
    const ShareDeviceInfo& device, int64_t, int64_t stateValue, int64_t timeStamp)
{
    const char* const function = __FUNCTION__;
    ShareDeviceInfo view = CacheMapManager::ChangeToShareDeviceInfo(device);
    auto tell = [&](const sptr<PelagoTrellisServiceCallback>& callback) {
        callback->OnTransStateChange(view, view.GetEventCode(), stateValue, timeStamp);
    };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(
        [function](size_t size) {
            SHARE_LOGI_AS(function, Log::SERVICE, "corvaneShareApiCBVector size %{public}ld", static_cast<long>(size));
        },
        tell);
}

// The physical device, not its entry; the image is not kept.
void TrellisService::HandleOnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string& headImage)
{
    auto tell = [&](const sptr<PelagoTrellisServiceCallback>& callback) {
        callback->OnCorvaneIdHeadImageReceive(device, headImage);
    };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(tell);
}

void TrellisService::HandleOnThermalLevelChanged(
    int32_t lastLevel, int32_t newLevel, int8_t connectionSide, int8_t action)
{
    int64_t now = CommonUtils::GetCurrentTimestamp();
    int64_t last = lastNotifyThermalTime_;
    if (action != THERMAL_ACTION_URGENT && last != 0 && now - last < THERMAL_NOTICE_INTERVAL_MS) {
        SHARE_LOGI(Log::PROXY, "already notify thermal recently.");
        return;
    }
    lastNotifyThermalTime_ = now;
    auto tell = [&](const sptr<PelagoTrellisServiceCallback>& callback) {
        callback->OnThermalLevelChanged(lastLevel, newLevel, connectionSide, action);
    };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(tell);
}

// The share API's side is to take over: its hubs, or, when there is none, its extension is started for it.
void TrellisService::HandleOnSwitchNotifyComponent(int32_t component)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnSwitchNotifyComponent %{public}d", component);
    if (NotifyShareApiComponent(component)) {
        return;
    }
    AAFwk::Want want;
    want.SetElementName(FRONT_END_BUNDLE, ABILITY_SHARE_API_EXTENSION);
    want.SetParam(INTENT_KEY_SHARE_API, INTENT_SWITCH_NOTIFY_COMPONENT);
    want.SetParam(PARAM_NOTIFY_COMPONENT, component);
    MutexLock lock(trellisCallbackMutex_);
    want.SetParam(CONNECT_HUB_CALLBACK_COUNT, static_cast<int>(trellisCBProxyVector_.size()));
    CorvaneShareManager::StartService(want);
}

// False when there is no hub.
bool TrellisService::NotifyShareApiComponent(int32_t component)
{
    MutexLock lock(corvaneShareApiCBMutex_);
    if (corvaneShareApiCBVector_.empty()) {
        return false;
    }
    SHARE_LOGI(
        Log::SERVICE, "corvaneShareApiCBVector size %{public}ld", static_cast<long>(corvaneShareApiCBVector_.size()));
    for (const auto& callback : corvaneShareApiCBVector_) {
        if (callback == nullptr) {
            SHARE_LOGE(Log::PROXY, "proxy is nullptr.");
            continue;
        }
        callback->OnSwitchNotifyComponent(component);
    }
    return true;
}

bool TrellisService::StartConnect()
{
    SHARE_LOGI(Log::SERVICE, "StartConnect() enter");
    AAFwk::Want want;
    want.SetElementName(FRONT_END_BUNDLE, ABILITY_SHARE_SERVICE_EXTENSION);
    want.SetParam(INTENT_KEY_SHARE, "connect");
    (void)CorvaneShareManager::StartConnect(want); // the client hears true in any case, so below
    SHARE_LOGI(Log::SERVICE, "StartConnect() exit");
    return true;
}

bool TrellisService::StopConnect()
{
    SHARE_LOGI(Log::SERVICE, "StopConnect() enter");
    (void)CorvaneShareManager::StopConnect();
    SHARE_LOGI(Log::SERVICE, "StopConnect() exit");
    return true;
}

} // namespace OHOS::Pelago
