#include "switch/share_oobe_helper.h"

#include "bluetooth_host.h"
#include "common_utils.h"
#include "i_trellis_service.h"
#include "share_log.h"
#include "singleton.h"
#include "switch/share_setting_keys.h"
#include "switch/share_setting_provider.h"
#include "switch/share_switch_manager.h"
#include "wifi_device.h"

namespace OHOS::Pelago {
namespace {

ShareSettingProvider& Settings()
{
    return ShareSettingProvider::GetInstance(TRELLIS_SERVICE_ID);
}

// The value of a key of the global table; empty when there is none or it cannot be read.
std::string GlobalValue(const char* key)
{
    std::string value;
    (void)Settings().GetStringValue(key, value); // logged
    return value;
}

bool IsAirplaneMode()
{
    Uri uri = ShareSettingProvider::AssembleUri(SettingKey::AIRPLANE_MODE_ADDRESS);
    std::string value;
    (void)Settings().GetStringValueWithUri(uri, SettingKey::AIRPLANE_MODE, value); // logged; reads as no
    return value == SettingKey::YES;
}

} // namespace

ShareOobeHelper::ShareOobeObserver::ShareOobeObserver(
    const std::weak_ptr<ShareOobeHelper>& helper, const std::string& key, int32_t userId)
    : shareOobeHelper_(helper), key_(key), userId_(userId)
{}

void ShareOobeHelper::ShareOobeObserver::OnChange()
{
    const auto helper = shareOobeHelper_.lock();
    if (helper == nullptr) {
        SHARE_LOGE(Log::SERVICE, "shareOobeHelper_ is nullptr");
        return;
    }
    helper->HandleOnOobeStateChanged(key_, userId_);
}

ShareOobeHelper::ShareOobeHelper(int32_t userId) : userId_(userId)
{
    SHARE_LOGI(Log::SERVICE, "ShareOobeHelper() invoked, localUserId: %{public}d.", userId);
}

// Watching

void ShareOobeHelper::RegisterDataChangeListener()
{
    SHARE_LOGI(Log::SERVICE, "RegisterDataChangeListener invoked, userId: %{public}d.", userId_);
    {
        MutexLock lock(mutex_);
        if (hasRegisterObserver_) {
            SHARE_LOGI(Log::SERVICE, "no need to repeat RegisterDataChangeListener.");
            return;
        }
        hasRegisterObserver_ = true;
    }
    RememberAgreement();
    RegisterObserver(deviceProvisionedObserver_, SettingKey::DEVICE_PROVISIONED);
    RegisterObserver(userSetupCompleteObserver_, SettingKey::USER_SETUP_COMPLETE);
    RegisterObserver(isOtaFinishedObserver_, SettingKey::IS_OTA_FINISHED);
}

void ShareOobeHelper::RememberAgreement()
{
    SHARE_LOGI(Log::SERVICE, "InitPreEnableCollaborationOobeEnhance invoked.");
    preEnableCollaborationOobeEnhance_ = Settings().CheckIfAgreeCorvaneShareOobeEnhance(userId_);
    SHARE_LOGI(
        Log::SERVICE, "preEnableCollaborationOobeEnhance_ is %{public}d.", preEnableCollaborationOobeEnhance_.load());
    if (Settings().CheckIfOtaActivated(userId_)) {
        isOtaActivated_ = true;
        SHARE_LOGI(Log::SERVICE, "isOtaActivated_ is %{public}d.", isOtaActivated_.load());
    }
}

void ShareOobeHelper::RegisterObserver(sptr<ShareOobeObserver>& observer, const char* key)
{
    if (observer == nullptr) {
        observer = MakeSptr<ShareOobeObserver>(weak_from_this(), key, userId_);
    }
    Settings().RegisterOobeObserver(observer, userId_);
}

void ShareOobeHelper::UnRegisterDataChangeListener()
{
    SHARE_LOGI(Log::SERVICE, "UnRegisterDataChangeListener invoked, userId: %{public}d.", userId_);
    {
        MutexLock lock(mutex_);
        if (!hasRegisterObserver_) {
            SHARE_LOGI(Log::SERVICE, "hasRegisterObserver_ is false, no need to UnRegisterOobeObserver.");
            return;
        }
        hasRegisterObserver_ = false;
    }
    Settings().UnRegisterOobeObserver(deviceProvisionedObserver_, userId_);
    Settings().UnRegisterOobeObserver(userSetupCompleteObserver_, userId_);
    Settings().UnRegisterOobeObserver(isOtaFinishedObserver_, userId_);
}

// The end of the set-up

void ShareOobeHelper::HandleOnOobeStateChanged(const std::string& key, int32_t userId)
{
    SHARE_LOGI(
        Log::SERVICE, "HandleOnOobeStateChanged invoked, key is %{public}s, userId: %{public}d.", key.c_str(), userId);
    if (key == SettingKey::IS_OTA_FINISHED && Settings().CheckIfOtaActivated(userId)) {
        SHARE_LOGI(Log::SERVICE, "Ota activated.");
        isOtaActivated_ = true;
        return;
    }
    if (!Settings().CheckIfOobeReady(userId)) {
        SHARE_LOGI(Log::SERVICE, "Oobe not ready.");
        return;
    }
    if (TakeDecision()) {
        HandleOnOobeReady();
    }
}

bool ShareOobeHelper::TakeDecision()
{
    MutexLock lock(mutex_);
    if (isOobeReady_) {
        SHARE_LOGI(Log::SERVICE, "Oobe has ready, no need to repeat HandleOnOobeReady.");
        return false;
    }
    isOobeReady_ = true;
    return true;
}

void ShareOobeHelper::HandleOnOobeReady()
{
    SHARE_LOGI(Log::SERVICE, "HandleOnOobeReady invoked.");
    const std::string enhance = GlobalValue(SettingKey::COLLABORATION_OOBE_ENHANCE);
    const std::string service = GlobalValue(SettingKey::COLLABORATION_SERVICE_SWITCH);
    SHARE_LOGI(Log::SERVICE, "%{public}s: %{public}s, %{public}s: %{public}s.", SettingKey::COLLABORATION_OOBE_ENHANCE,
        enhance.c_str(), SettingKey::COLLABORATION_SERVICE_SWITCH, service.c_str());
    const auto shareSwitch = DelayedSingleton<ShareSwitchManager>::GetInstance();
    if (Settings().CheckIfAgreeCorvaneShareOobeEnhance(userId_)) {
        SHARE_LOGI(Log::SERVICE,
            "HandleOnAgreeCollaborationOobeEnable invoked, isOtaActivated_ "
            "%{public}d,preCollaborationOobeEnhanceState_ %{public}d.",
            isOtaActivated_.load(), preEnableCollaborationOobeEnhance_.load());
        shareSwitch->HandleOnAgreeEnhanceOobe(userId_);
    } else {
        SHARE_LOGI(Log::SERVICE,
            "HandleOnRejectCollaborationOobeEnable invoked, isOtaActivated_ "
            "%{public}d,preCollaborationOobeEnhanceState_ %{public}d.",
            isOtaActivated_.load(), preEnableCollaborationOobeEnhance_.load());
        shareSwitch->HandleOnRejectEnhanceOobe(userId_);
    }
    // The device's own settings start the radios, whatever the user's answer was.
    if (enhance == SettingKey::YES && service == SettingKey::YES) {
        EnableSemiWifiAndBluetooth();
    }
}

void ShareOobeHelper::EnableSemiWifiAndBluetooth()
{
    SHARE_LOGI(Log::SERVICE, "EnableSemiWifiAndBluetooth invoked.");
    if (IsAirplaneMode()) {
        SHARE_LOGI(Log::SERVICE, "airPlaneMode, can not EnableSemiWifi or EnableBluetoothToRestrictMode");
        return;
    }
    if (!CommonUtils::IsWifiAvailableOrActivating()) {
        const int ret = EnableSemiWifi();
        SHARE_LOGI(Log::SERVICE, "EnableSemiWifi invoked, ret: %{public}d", ret);
    }
    if (CommonUtils::IsBleAvailable()) {
        return;
    }
    const int ret = Bluetooth::BluetoothHost::GetDefaultHost().EnableBluetoothToRestrictMode();
    SHARE_LOGI(Log::SERVICE, "EnableBluetoothToRestrictMode invoked, ret: %{public}d.", ret);
    if (ret != 0) {
        DelayedSingleton<ShareSwitchManager>::GetInstance()->EnableBluetoothToRestrictModeInDelay();
    }
}

} // namespace OHOS::Pelago
