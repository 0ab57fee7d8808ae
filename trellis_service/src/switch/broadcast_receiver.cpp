#include "switch/broadcast_receiver.h"

#include "common_event_support.h"
#include "common_utils.h"
#include "share_log.h"
#include "singleton.h"
#include "switch/share_switch_manager.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {
namespace {

using EventFwk::CommonEventData;
using EventFwk::CommonEventSupport;

// The platform's codes that mean something here. Those in between are steps on the way.
enum BluetoothCode : int32_t {
    BLUETOOTH_ON = 1,
    BLUETOOTH_OFF = 3
};
enum BluetoothRestrictCode : int32_t {
    BLUETOOTH_RESTARTING = 0
};
enum WifiPowerCode : int32_t {
    WIFI_DISABLED = 1,
    WIFI_ENABLING = 2,
    WIFI_ENABLED = 3
};
enum WifiSemiCode : int32_t {
    WIFI_RESTARTING = 0,
    WIFI_SEMI_ACTIVE = 5
};

std::shared_ptr<ShareSwitchManager> Switch()
{
    return DelayedSingleton<ShareSwitchManager>::GetInstance();
}

} // namespace

BroadcastReceiver::BroadcastReceiver(const EventFwk::CommonEventSubscribeInfo& subscribeInfo)
    : CommonEventSubscriber(subscribeInfo)
{
    InitFuncMap();
}

// All eight in every receiver: what reaches which is decided by its subscription.
void BroadcastReceiver::InitFuncMap()
{
    using Self = BroadcastReceiver;
    handlerMap_ = {
        {CommonEventSupport::COMMON_EVENT_USER_SWITCHED, &Self::HandleOnUserSwitched},
        {CommonEventSupport::COMMON_EVENT_PACKAGE_DATA_CLEARED, &Self::HandleOnPackageDataCleared},
        {CommonEventSupport::COMMON_EVENT_BLUETOOTH_HOST_STATE_UPDATE, &Self::HandleOnBTStateChanged},
        {CommonEventSupport::COMMON_EVENT_WIFI_POWER_STATE, &Self::HandleOnWIFIStateChanged},
        {CommonEventSupport::COMMON_EVENT_DATA_SHARE_READY, &Self::HandleOnDataShareReady},
        {CommonEventSupport::COMMON_EVENT_USER_UNLOCKED, &Self::HandleOnUserUnlocked},
        {EVENT_BT_RESTRICT, &Self::HandleOnBTSwitchRestrictBluetooth},
        {EVENT_WIFI_SEMI_STATE, &Self::HandleOnWifiSemiState},
    };
}

void BroadcastReceiver::OnReceiveEvent(const CommonEventData& data)
{
    SHARE_LOGD(Log::SERVICE, "OnReceiveEvent start");
    const std::string action = data.GetWant().GetAction();
    if (action.empty()) {
        SHARE_LOGE(Log::SERVICE, "action is empty");
        return;
    }
    const auto found = handlerMap_.find(action);
    if (found == handlerMap_.end()) {
        SHARE_LOGE(Log::SERVICE, "BroadcastReceiver::OnReceiveEvent failed, code not exist.");
        return;
    }
    (this->*found->second)(data);
}

void BroadcastReceiver::HandleOnUserSwitched(const CommonEventData& data)
{
    const int32_t userId = data.GetCode();
    SHARE_LOGI(Log::SERVICE, "HandleOnUserSwitched invoked, userId: %{public}d.", userId);
    Switch()->HandleOnUserSwitched(userId);
    CorvaneShareManager::StopConnect(); // also for a user whom the switch does not take up
}

void BroadcastReceiver::HandleOnPackageDataCleared(const CommonEventData& data)
{
    const std::string bundleName = data.GetWant().GetElement().GetBundleName();
    if (bundleName != FRONT_END_BUNDLE) {
        return; // the data of other packages is not our matter
    }
    SHARE_LOGI(Log::SERVICE, "%{public}s package data cleared.", bundleName.c_str());
    Switch()->HandleOnPackageDataCleared();
}

void BroadcastReceiver::HandleOnBTStateChanged(const CommonEventData& data)
{
    const int32_t code = data.GetCode();
    SHARE_LOGI(Log::SERVICE, "HandleOnBTStateChanged to %{public}d.", code);
    if (code != BLUETOOTH_ON && code != BLUETOOTH_OFF) {
        return;
    }
    // Classic Bluetooth going off is good news as long as BLE is there, which is all that sharing needs.
    if (code == BLUETOOTH_OFF && !CommonUtils::IsBleAvailable()) {
        Switch()->HandleOnWifiOrBluetoothStateChanged(false);
        return;
    }
    Switch()->HandleOnBtSelfHealingEnd();
    Switch()->HandleOnWifiOrBluetoothStateChanged(true);
}

void BroadcastReceiver::HandleOnWIFIStateChanged(const CommonEventData& data)
{
    const int32_t code = data.GetCode();
    SHARE_LOGI(Log::SERVICE, "HandleOnWIFIStateChanged to %{public}d.", code);
    if (code == WIFI_DISABLED || code == WIFI_ENABLED) {
        Switch()->HandleOnWifiOrBluetoothStateChanged(code == WIFI_ENABLED);
    } else if (code == WIFI_ENABLING) {
        Switch()->HandleOnWifiSelfHealingEnd(true);
    }
}

void BroadcastReceiver::HandleOnWifiSemiState(const CommonEventData& data)
{
    const int32_t code = data.GetCode();
    SHARE_LOGI(Log::SERVICE, "HandleOnWifiSemiState to %{public}d.", code);
    if (code == WIFI_RESTARTING) {
        Switch()->HandleOnWifiSelfHealingBegin();
    } else if (code == WIFI_SEMI_ACTIVE) {
        Switch()->HandleOnWifiSelfHealingEnd(false);
    }
}

void BroadcastReceiver::HandleOnBTSwitchRestrictBluetooth(const CommonEventData& data)
{
    const int32_t code = data.GetCode();
    SHARE_LOGI(Log::SERVICE, "HandleOnBTSwitchRestrictBluetooth to %{public}d.", code);
    if (code == BLUETOOTH_RESTARTING) {
        Switch()->HandleOnBtSelfHealingBegin();
    }
}

void BroadcastReceiver::HandleOnDataShareReady(const CommonEventData&)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnDataShareReady.");
    Switch()->HandleOnDataShareReady();
}

void BroadcastReceiver::HandleOnUserUnlocked(const CommonEventData& data)
{
    const int32_t userId = data.GetCode();
    SHARE_LOGI(Log::SERVICE, "HandleOnUserUnlocked, userId: %{public}d.", userId);
    Switch()->HandleOnUserUnlocked(userId);
}

} // namespace OHOS::Pelago
