// The radios under the switch: bringing them up, telling a loss from a restart of their own, and coming back.
#include <system_error>

#include "bluetooth_host.h"
#include "common_utils.h"
#include "runtime_env.h"
#include "share_log.h"
#include "switch/share_switch_manager.h"
#include "wifi_device.h"

namespace OHOS::Pelago {

using AppExecFwk::InnerEvent;
using Bluetooth::BluetoothHost;

bool ShareSwitchManager::AreRadiosAvailable()
{
    return CommonUtils::IsWifiAvailable() && CommonUtils::IsBleAvailable();
}

// What posts

void ShareSwitchManager::HandleOnWifiOrBluetoothStateChanged(bool isTurnOn)
{
    Post(MSG_ON_WIFI_OR_BLUETOOTH_STATE_CHANGED_EVENT, isTurnOn);
}

void ShareSwitchManager::HandleOnBtSelfHealingBegin()
{
    Post(MSG_BLUETOOTH_SELF_HEAL_BEGIN);
}

void ShareSwitchManager::HandleOnBtSelfHealingEnd()
{
    Post(MSG_BLUETOOTH_SELF_HEAL_END);
}

void ShareSwitchManager::HandleOnWifiSelfHealingBegin()
{
    Post(MSG_WIFI_SELF_HEAL_BEGIN);
}

void ShareSwitchManager::HandleOnWifiSelfHealingEnd(bool isWifiEnabling)
{
    Post(MSG_WIFI_SELF_HEAL_END, isWifiEnabling);
}

// Bringing the radios up for a request

bool ShareSwitchManager::EnableWifiOrBluetooth()
{
    SHARE_LOGI(Log::SERVICE, "EnableWifiOrBluetooth() enter");
    // The time-out first: should the second fail, the caller gives up and takes the first one back.
    if (!TryPost(MSG_ENABLE_SHARE_SWITCH_TIMEOUT_EVENT) || !TryPost(MSG_ENABLE_WIFI_OR_BLUETOOTH_EVENT)) {
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "EnableWifiOrBluetooth() exit");
    return true;
}

void ShareSwitchManager::EnableWifiOrBluetoothEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE,
        "EnableWifiOrBluetoothEvent invoked, wifiSelfHealing_: %{public}d, btSelfHealing_: %{public}d",
        wifiSelfHealing_.load(), btSelfHealing_.load());
    // A radio that restarts itself is left alone: it comes back, and its state event with it.
    if (!CommonUtils::IsWifiAvailable() && !wifiSelfHealing_) {
        SHARE_LOGI(Log::SERVICE, "EnableWifi invoked");
        if (const int ret = EnableWifi(); ret != 0) {
            SHARE_LOGE(Log::SERVICE, "fail to EnableWifi(), error code is %{public}d", ret);
        }
    }
    if (!CommonUtils::IsBleAvailable() && !btSelfHealing_) {
        SHARE_LOGI(Log::SERVICE, "EnableBle invoked");
        if (const int ret = BluetoothHost::GetDefaultHost().EnableBle(); ret != 0) {
            SHARE_LOGE(Log::SERVICE, "fail to EnableBle(), error code is %{public}d", ret);
        }
    }
    SHARE_LOGI(Log::SERVICE, "EnableWifiOrBluetooth() exit");
}

// A radio came or went

ShareSwitchManager::RadioAction ShareSwitchManager::DecideOnRadioChange(const RadioFacts& facts)
{
    const bool isOn = facts.enableState == STATE_SHARE_ENABLE;
    if (!facts.available && facts.isTurnOn) {
        return RadioAction::IGNORE_HALF;
    }
    if (!facts.available && isOn) {
        return RadioAction::DISABLE;
    }
    if (!facts.available && facts.needSyncSettings) {
        return RadioAction::SYNC;
    }
    if (facts.isEnabling) {
        return RadioAction::ASK_AGAIN; // also when a radio is missing: it dropped meanwhile and is asked once more
    }
    if (isOn) {
        return RadioAction::KEEP;
    }
    if (facts.available && facts.lastEnableState == STATE_SHARE_ENABLE) {
        return RadioAction::RECOVER;
    }
    return RadioAction::KEEP;
}

void ShareSwitchManager::WifiOrBluetoothStateChangedEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    const bool isTurnOn = event->GetParam() != 0;
    SHARE_LOGI(Log::SERVICE, "WifiOrBluetoothStateChangedEvent invoked, isTurnOn: %{public}d", isTurnOn);
    const SwitchPair last = LastShareSwitchState();
    switch (DecideOnRadioChange(
        {AreRadiosAvailable(), isTurnOn, enableState_, needSyncSettings_, isEnabling_, last.enableState})) {
        case RadioAction::IGNORE_HALF:
            SHARE_LOGI(Log::SERVICE, "no need to handle, wifi or ble is not available");
            break;
        case RadioAction::DISABLE:
            DisableSharePassively(false);
            break;
        case RadioAction::SYNC:
            SHARE_LOGI(Log::SERVICE, "sync settings invoked");
            UpdateShareSwitchState(enableState_, detectableType_, true);
            break;
        case RadioAction::ASK_AGAIN: {
            const EnablingData pending = PendingRequest();
            SHARE_LOGI(Log::SERVICE, "EnablingData, enableState: %{public}d, detectableType: %{public}d",
                pending.enableState, pending.detectableType);
            Request(pending);
            break;
        }
        case RadioAction::KEEP:
            break;
        case RadioAction::RECOVER:
            SHARE_LOGI(Log::SERVICE, "Recover switch to enableState: %{public}d, detectableType: %{public}d",
                last.enableState, last.detectableType);
            Request(last);
            break;
    }
}

// Radios that restart themselves

void ShareSwitchManager::WifiSelfHealBeginEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "WifiSelfHealBeginEvent invoked");
    wifiSelfHealing_ = true;
    RemoveEvent(MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT); // another begin starts the three seconds anew
    Post(MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT);
}

void ShareSwitchManager::WifiSelfHealEndEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    const bool isWifiEnabling = event->GetParam() != 0;
    SHARE_LOGI(Log::SERVICE, "HandleOnWifiSelfHealingEnd invoked, isWifiEnabling: %{public}d", isWifiEnabling);
    wifiSelfHealing_ = false;
    RemoveEvent(MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT);
    if (!isWifiEnabling) {
        HandleOnWifiOrBluetoothStateChanged(true);
    } // else Wi-Fi is on its way up and will say so itself
}

void ShareSwitchManager::WifiSelfHealTimeoutEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "WifiSelfHealTimeoutEvent invoked.");
    wifiSelfHealing_ = false;
    RemoveEvent(MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT);
    HandleOnWifiOrBluetoothStateChanged(false);
}

void ShareSwitchManager::BluetoothSelfHealBeginEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "BluetoothSelfHealBeginEvent invoked");
    btSelfHealing_ = true;
    RemoveEvent(MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT);
    Post(MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT);
}

// Posts no change of state, unlike Wi-Fi's: the receiver that sent it does.
void ShareSwitchManager::BluetoothSelfHealEndEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "BluetoothSelfHealEndEvent invoked");
    btSelfHealing_ = false;
    RemoveEvent(MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT);
}

void ShareSwitchManager::BluetoothSelfHealTimeoutEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "BluetoothSelfHealTimeoutEvent invoked.");
    btSelfHealing_ = false;
    RemoveEvent(MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT);
    HandleOnWifiOrBluetoothStateChanged(false);
}

// The second try of restricted Bluetooth

void ShareSwitchManager::EnableBluetoothToRestrictModeInDelay()
{
    SHARE_LOGI(Log::SERVICE, "EnableBluetoothToRestrictModeInDelay invoked");
    waitBluetoothSaRemove_ = true;
    Post(MSG_WAIT_BLUETOOTH_SA_REMOVE_TIMEOUT_EVENT);
}

void ShareSwitchManager::WaitBluetoothSaRemoveTimeoutEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "WaitBluetoothSaRemoveTimeoutEvent() enter");
    waitBluetoothSaRemove_ = false;
}

void ShareSwitchManager::HandleOnBluetoothSaRemoved()
{
    if (!waitBluetoothSaRemove_.exchange(false)) {
        return;
    }
    RemoveEvent(MSG_WAIT_BLUETOOTH_SA_REMOVE_TIMEOUT_EVENT);
    // A thread of its own, since the call may take its time; it needs nothing of this object.
    try {
        RuntimeEnv::StartDetached("BtRestrictMode", &ShareSwitchManager::EnableBluetoothToRestrictMode);
    } catch (const std::system_error& error) {
        // We are on the thread that tells of abilities, and nobody above us would catch it.
        SHARE_LOGD(Log::SERVICE, "no thread for the second try: %{public}s", error.what());
    }
}

void ShareSwitchManager::EnableBluetoothToRestrictMode()
{
    SHARE_LOGI(Log::SERVICE, "EnableBluetoothToRestrictMode invoked");
    const int ret = BluetoothHost::GetDefaultHost().EnableBluetoothToRestrictMode();
    SHARE_LOGI(Log::SERVICE, "EnableBluetoothToRestrictMode(), ret: %{public}d", ret);
}

} // namespace OHOS::Pelago
