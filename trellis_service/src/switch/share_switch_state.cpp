// The transitions of the switch: what a request, a passive off, the load of a user's state and the air gesture do to
// it.
#include <mutex>

#include "common_utils.h"
#include "core/trellis_service.h"
#include "gesture/swing_adapter.h"
#include "share_client.h"
#include "share_log.h"
#include "switch/share_air_helper.h"
#include "switch/share_switch_manager.h"
#include "switch/time_service_helper.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {

using AppExecFwk::InnerEvent;

bool ShareSwitchManager::IsEnabled() const
{
    return enableState_ == STATE_SHARE_ENABLE;
}

int32_t ShareSwitchManager::GetEnableState() const
{
    return enableState_;
}

// Requests

bool ShareSwitchManager::SetShareEnableWithConfirm(
    int enableState, int detectableType, bool needCheckFirstUse, bool needUserConfirm, bool reservedFlag)
{
    auto request = std::make_shared<ShareSwitchParam>();
    request->enableState = enableState;
    request->detectableType = detectableType;
    request->needCheckFirstUse = needCheckFirstUse;
    request->needUserConfirm = needUserConfirm;
    request->reservedFlag = reservedFlag;
    return TryPost(MSG_ENABLE_SHARE_SWITCH_EVENT, InnerEvent::Get(MSG_ENABLE_SHARE_SWITCH_EVENT, request));
}

void ShareSwitchManager::Request(const SwitchPair& target)
{
    // Logged when it cannot be queued; the next system event is another chance.
    (void)SetShareEnableWithConfirm(target.enableState, target.detectableType, false, false, false);
}

void ShareSwitchManager::HandleOnPackageDataCleared()
{
    Request({STATE_SHARE_FIRST_USE, UNDETECTABLE});
}

void ShareSwitchManager::EnableShareSwitchEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    const auto request = event->GetSharedObject<ShareSwitchParam>();
    if (request == nullptr) {
        SHARE_LOGE(Log::SERVICE, "eventData is nullptr");
        return;
    }
    const auto& [enableState, detectableType, needCheckFirstUse, needUserConfirm, reservedFlag] = *request;
    SHARE_LOGI(Log::SERVICE,
        "Enable() enter, enableState: %{public}d -> %{public}d, detectableType: %{public}d -> %{public}d, "
        "needCheckFirstUse: %{public}d, needUserConfirm: %{public}d",
        enableState_.load(), enableState, detectableType_.load(), detectableType, needCheckFirstUse, needUserConfirm);
    if (enableState == enableState_ && detectableType == detectableType_) {
        UpdateShareSwitchState(enableState, detectableType, true); // persists once more, tells nobody
        return;
    }
    if (!SetShareState(enableState, detectableType, needCheckFirstUse, needUserConfirm)) {
        return;
    }
    if (enableState != STATE_SHARE_ENABLE) {
        DisableByRequest(enableState);
    } else if (!EnableByRequest(detectableType)) {
        return;
    }
    SendSwitchDetectableStateScheduledTask();
    NotifyCallbackOnEnableStatusChanged();
    SHARE_LOGI(Log::SERVICE, "Enable() exit enableState_ = %{public}d, detectableType_ = %{public}d",
        enableState_.load(), detectableType_.load());
}

void ShareSwitchManager::DisableByRequest(int32_t enableState)
{
    SetUndetectable();
    UpdateShareSwitchState(enableState, UNDETECTABLE, true);
    DisableSwingByShare();
    // The new state, not the old one: from an off that somebody chose there is no way back by itself.
    SaveLastShareSwitchState(enableState_, detectableType_);
}

bool ShareSwitchManager::EnableByRequest(int32_t detectableType)
{
    SHARE_LOGI(Log::SERVICE, "enable - set detect");
    if (!SetDetectableState(detectableType)) {
        SHARE_LOGE(Log::SERVICE, "SetDetectableState failed");
        DisableSwingByShare(); // so that the gesture agrees with a switch that stayed off
        return false;
    }
    UpdateShareSwitchState(STATE_SHARE_ENABLE, detectableType, true);
    EnableSwingByShare();
    RecursiveLock lock(sharedItemsMutex_); // a client's own word, meanwhile, must not be undone by the one read here
    // The engine takes the permission only while sharing is on. Cannot fail but in being queued, which is logged.
    (void)SetShareAccountPermission(accountPermission_, false);
    return true;
}

void ShareSwitchManager::DisableSharePassively(bool isUserSwitched)
{
    const int32_t target = isUserSwitched ? STATE_SHARE_FIRST_USE : STATE_SHARE_DISABLE;
    const bool putSecurity = !isUserSwitched; // the files keep the last state of the user who leaves
    SHARE_LOGI(Log::SERVICE,
        "Enable() enter, enableState: %{public}d -> %{public}d, detectableType: %{public}d -> %{public}d",
        enableState_.load(), target, detectableType_.load(), static_cast<int32_t>(UNDETECTABLE));
    if (enableState_ == target && detectableType_ == UNDETECTABLE) {
        UpdateShareSwitchState(target, UNDETECTABLE, putSecurity);
        return;
    }
    if (!isUserSwitched) {
        SaveLastShareSwitchState(enableState_, detectableType_); // what is being left: to return to it with the radios
    }
    if (!SetShareState(target, UNDETECTABLE, false, false)) {
        return;
    }
    SetUndetectable();
    UpdateShareSwitchState(target, UNDETECTABLE, putSecurity);
    DisableSwingByShare();
    SendSwitchDetectableStateScheduledTask();

    const auto service = Service();
    if (service == nullptr) {
        SHARE_LOGE(Log::SERVICE, "trellisService_ is nullptr.");
        return;
    }
    service->NotifyCallbackOnEnableStatusChanged();
    service->ClearNudgePendingFlag(); // here only: an off that somebody chose lets a tap come to its end
    SHARE_LOGI(Log::SERVICE, "Enable() exit enableState_ = %{public}d, detectableType_ = %{public}d",
        enableState_.load(), detectableType_.load());
}

bool ShareSwitchManager::SetShareState(
    int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm)
{
    if (enableState_ == enableState) {
        return true; // already on: a change of type does not look at the radios
    }
    if (enableState_ == STATE_SHARE_FIRST_USE) {
        if (needCheckFirstUse) {
            StartFirstUseDialog(enableState, detectableType);
            return false;
        }
        LeaveFirstUse(detectableType);
    }
    if (enableState != STATE_SHARE_ENABLE) {
        return true;
    }
    const bool isWifiAvailable = CommonUtils::IsWifiAvailable();
    const bool isBleAvailable = CommonUtils::IsBleAvailable();
    SHARE_LOGI(
        Log::SERVICE, "isWifiAvailable: %{public}d, isBleAvailable: %{public}d.", isWifiAvailable, isBleAvailable);
    if (isWifiAvailable && isBleAvailable) {
        StopEnabling();
        return true;
    }
    SHARE_LOGI(Log::SERVICE, "SetShareState, wifi or bluetooth is not available.");
    if (needUserConfirm) {
        StartEnableConfirmDialog(enableState, detectableType);
    } else {
        StartEnabling(detectableType);
    }
    return false;
}

void ShareSwitchManager::LeaveFirstUse(int32_t detectableType)
{
    enableState_ = STATE_SHARE_DISABLE;
    // The settings get the type that was asked for, the file the one that still holds.
    PutShareStateInfoToSettings(SWITCH_TYPE_MAIN, STATE_SHARE_DISABLE, true);
    PutShareStateInfoToSettings(SWITCH_TYPE_DETECT, detectableType, true);
    SaveStateFile(enableState_, detectableType_);
}

void ShareSwitchManager::StartFirstUseDialog(int32_t enableState, int32_t detectableType)
{
    SHARE_LOGI(Log::SERVICE,
        "StartFirstUseDialog() enter, enableState: %{public}d -> %{public}d, detectableType: %{public}d -> %{public}d",
        enableState_.load(), enableState, detectableType_.load(), detectableType);
    CorvaneShareManager::StartFirstUseDialog(enableState, detectableType);
    SHARE_LOGI(Log::SERVICE, "StartFirstUseDialog exit");
}

void ShareSwitchManager::StartEnableConfirmDialog(int32_t enableState, int32_t detectableType)
{
    SHARE_LOGI(Log::SERVICE,
        "StartEnableConfirmDialog() enter, enableState: %{public}d -> %{public}d, "
        "detectableType:%{public}d -> %{public}d",
        enableState_.load(), enableState, detectableType_.load(), detectableType);
    CorvaneShareManager::StartEnableConfirmDialog(enableState, detectableType);
    SHARE_LOGI(Log::SERVICE, "StartEnableConfirmDialog exit");
}

// Waiting for the radios

void ShareSwitchManager::StartEnabling(int32_t detectableType)
{
    SHARE_LOGI(Log::SERVICE, "StartEnabling: enableState is %{public}d, detectableType is %{public}d",
        static_cast<int32_t>(STATE_SHARE_ENABLE), detectableType);
    SetPendingRequest({STATE_SHARE_ENABLE, detectableType});
    isEnabling_ = true;
    if (!EnableWifiOrBluetooth()) {
        SHARE_LOGE(Log::SERVICE, "fail to EnableWifiOrBluetooth.");
        StopEnabling();
    }
}

void ShareSwitchManager::StopEnabling()
{
    if (!isEnabling_) {
        return;
    }
    isEnabling_ = false;
    SetPendingRequest({});
    RemoveEvent(MSG_ENABLE_WIFI_OR_BLUETOOTH_EVENT);
    RemoveEvent(MSG_ENABLE_SHARE_SWITCH_TIMEOUT_EVENT);
    SHARE_LOGI(Log::SERVICE, "StopEnabling");
}

void ShareSwitchManager::EnableShareSwitchTimeoutEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "EnableShareSwitchTimeoutEvent invoked.");
    if (!isEnabling_) {
        SHARE_LOGI(Log::SERVICE, "timeout check: success to enable Wifi and Bluetooth");
        return;
    }
    StopEnabling();
    Request({STATE_SHARE_DISABLE, UNDETECTABLE});
    DisableSwingByShare();
    SHARE_LOGE(Log::SERVICE, "timeout check: fail to enable Wifi and Bluetooth");
}

// What every applied change does

void ShareSwitchManager::UpdateShareSwitchState(int32_t enableState, int32_t detectableType, bool putSecurity)
{
    SHARE_LOGI(Log::SERVICE,
        "UpdateShareSwitchState, enableState: %{public}d -> %{public}d, detectableType: %{public}d -> %{public}d, "
        "btSelfHealing_: %{public}d, wifiSelfHealing_: %{public}d, putSecurity: %{public}d",
        enableState_.load(), enableState, detectableType_.load(), detectableType, btSelfHealing_.load(),
        wifiSelfHealing_.load(), putSecurity);
    enableState_ = enableState;
    detectableType_ = detectableType;
    if (btSelfHealing_ || wifiSelfHealing_) {
        // A short restart of a radio leaves no trace in file and settings; a long one is made up for at its end.
        needSyncSettings_ = enableState != STATE_SHARE_ENABLE;
        SHARE_LOGI(Log::SERVICE, "no need update");
        return;
    }
    needSyncSettings_ = false;
    PutShareStateInfoToSettings(SWITCH_TYPE_MAIN, enableState, putSecurity);
    PutShareStateInfoToSettings(SWITCH_TYPE_DETECT, detectableType, putSecurity);
    if (putSecurity) {
        SaveStateFile(enableState, detectableType);
    }
}

bool ShareSwitchManager::SetDetectableState(int32_t detectableType)
{
    SHARE_LOGI(Log::SERVICE, "SetDetectableState enter = %{public}d", detectableType);
    const auto service = Service();
    if (service == nullptr) {
        SHARE_LOGE(Log::SERVICE, "trellisService_ is nullptr.");
        return false;
    }
    const bool isSuccess = service->SetPublishAndReceiveState(detectableType != UNDETECTABLE);
    SHARE_LOGI(Log::SERVICE, "SetPublishAndReceiveState isSuccess: %{public}d", isSuccess);
    if (!isSuccess) {
        SHARE_LOGE(Log::SERVICE, "SetDetectableState fail and exit");
        return false;
    }
    SHARE_LOGI(
        Log::SERVICE, "SetDetectableState from %{public}d to %{public}d", detectableType_.load(), detectableType);
    DelayedRefSingleton<ShareClient>::GetInstance().EnableDiscoveryPolicy(detectableType);
    return true;
}

void ShareSwitchManager::SetUndetectable()
{
    SHARE_LOGI(Log::SERVICE, "disable - set detect UNDETECTABLE");
    if (!SetDetectableState(UNDETECTABLE)) {
        SHARE_LOGE(Log::SERVICE, "SetDetectableState failed"); // and off it is, though the engine may still publish
    }
}

void ShareSwitchManager::NotifyCallbackOnEnableStatusChanged()
{
    const auto service = Service();
    if (service == nullptr) {
        SHARE_LOGE(Log::SERVICE, "trellisService_ is nullptr.");
        return;
    }
    service->NotifyCallbackOnEnableStatusChanged();
}

void ShareSwitchManager::SaveLastShareSwitchState(int32_t enableState, int32_t detectableType)
{
    {
        MutexLock lock(partsMutex_);
        lastShareSwitchState_ = {enableState, detectableType};
    }
    (void)PutShareRecoverStateInfoToFile(enableState, detectableType); // logged; memory holds the pair
    SHARE_LOGI(Log::SERVICE, "SaveLastShareSwitchState: %{public}d, %{public}d, userId: %{public}d", enableState,
        detectableType, localUserId_.load());
}

SwitchPair ShareSwitchManager::LastShareSwitchState() const
{
    MutexLock lock(partsMutex_);
    return lastShareSwitchState_;
}

EnablingData ShareSwitchManager::PendingRequest() const
{
    MutexLock lock(partsMutex_);
    return enablingData_;
}

void ShareSwitchManager::SetPendingRequest(const EnablingData& pending)
{
    MutexLock lock(partsMutex_);
    enablingData_ = pending;
}

// The ten minutes of the timed type

void ShareSwitchManager::SendSwitchDetectableStateScheduledTask()
{
    const auto timer = TimerHelper();
    if (timer == nullptr) {
        SHARE_LOGE(Log::SERVICE, "timeServiceHelper_ is nullptr");
        return;
    }
    if (enableState_ != STATE_SHARE_ENABLE || detectableType_ != DETECTABLE_TIMED) {
        SHARE_LOGI(Log::SERVICE, "StopSwitchDetectableTypeScheduledTask.");
        timer->StopSwitchDetectableTypeScheduledTask();
        return;
    }
    if (timer->StartSwitchDetectableTypeScheduledTask()) {
        SHARE_LOGI(Log::SERVICE, "StartSwitchDetectableTypeScheduledTask success.");
    } else {
        SHARE_LOGE(Log::SERVICE, "StartSwitchDetectableTypeScheduledTask failed.");
    }
    if (IsReleased()) {
        timer->Release(); // released under this event: nobody else takes it back
    }
}

void ShareSwitchManager::ExcuteSwitchDetectableStateScheduledTask()
{
    if (enableState_ == STATE_SHARE_ENABLE && detectableType_ == DETECTABLE_TIMED) {
        Request({STATE_SHARE_ENABLE, DETECTABLE_LASTING});
    }
}

// The load of a user's state

void ShareSwitchManager::InitShareState()
{
    SHARE_LOGI(Log::SERVICE, "InitShareState() enter");
    if (!CommonUtils::IsUserIdValid(localUserId_)) {
        SHARE_LOGE(Log::SERVICE, "userId: %{public}d not valid", localUserId_.load());
        return;
    }
    InitSwingState();
    std::unique_lock lock(sharedItemsMutex_); // a client's own word must not be undone by the one read here
    int saveState = STATE_SHARE_FIRST_USE;
    int saveType = UNDETECTABLE;
    int savePermission = ACCOUNT_PERMISSION_OFF;
    if (!GetShareStateInfoFromFile(localUserId_, saveState, saveType, savePermission)) {
        SHARE_LOGE(Log::SERVICE, "GetShareStateInfoFromFile failed");
        return; // every field stays as it was
    }
    // A saved on is not believed before it has really been turned on again.
    enableState_ = saveState == STATE_SHARE_FIRST_USE ? STATE_SHARE_FIRST_USE : STATE_SHARE_DISABLE;
    RepairSavedType(saveState, saveType);
    detectableType_ = UNDETECTABLE;
    accountPermission_ = ACCOUNT_PERMISSION_OFF;
    InitLastShareSwitchState(saveState, saveType);
    (void)SetShareAccountPermission(savePermission, false); // a stray value in the file counts as off
    lock.unlock();
    if (saveState != STATE_SHARE_ENABLE) {
        SHARE_LOGI(Log::SERVICE, "saveState is not STATE_SHARE_ENABLE");
        HandleOnWifiOrBluetoothStateChanged(true); // the recover pair gets its chance
        return;
    }
    if (!AreRadiosAvailable()) {
        SHARE_LOGI(Log::SERVICE, "need wifi and bluetooth to recover state"); // no radio is started for a saved on
        return;
    }
    Request({STATE_SHARE_ENABLE, saveType});
    SHARE_LOGI(Log::SERVICE, "InitShareState() exit");
}

void ShareSwitchManager::RepairSavedType(int32_t saveState, int32_t& saveType)
{
    if (saveType == UNDETECTABLE || saveState == STATE_SHARE_ENABLE) {
        return;
    }
    SHARE_LOGI(
        Log::SERVICE, "recover saveType from %{public}d to %{public}d.", saveType, static_cast<int32_t>(UNDETECTABLE));
    saveType = UNDETECTABLE;
    PutShareStateInfoToSettings(SWITCH_TYPE_DETECT, UNDETECTABLE, true); // the file keeps it until the next transition
}

// The air gesture follows the switch

void ShareSwitchManager::InitSwingState()
{
    SHARE_LOGI(Log::SERVICE, "InitSwingState invoked");
    if (const auto helper = AirHelper(); helper != nullptr) {
        helper->RegisterDataChangeListener();
        if (IsReleased()) {
            helper->UnRegisterDataChangeListener(); // released under this event: nobody else takes it back
        }
    }
    RecursiveLock lock(sharedItemsMutex_);
    int swingState = SWING_STATE_OFF;
    if (GetSwingStateInfoFromSettings(swingState)) {
        swingState_ = swingState;
    }
    SHARE_LOGI(Log::SERVICE, "airState is %{public}d.", swingState_.load());
    if (swingState_ != SWING_STATE_ON) {
        return;
    }
    if (!IsEnabled() && !isEnabling_) {
        MoveSwingState(SWING_STATE_ON, SWING_STATE_SUSPENDED);
        return;
    }
    (void)DelayedSingleton<SwingAdapter>::GetInstance(); // made here at the latest
}

void ShareSwitchManager::DisableSwingByShare()
{
    SHARE_LOGI(Log::SERVICE, "DisableSwingByShare invoked, swingState_: %{public}d", swingState_.load());
    MoveSwingState(SWING_STATE_ON, SWING_STATE_SUSPENDED);
}

void ShareSwitchManager::EnableSwingByShare()
{
    SHARE_LOGI(Log::SERVICE, "EnableSwingByShare invoked, swingState_: %{public}d", swingState_.load());
    MoveSwingState(SWING_STATE_SUSPENDED, SWING_STATE_ON);
}

void ShareSwitchManager::MoveSwingState(SwingState from, SwingState to)
{
    RecursiveLock lock(sharedItemsMutex_);
    int32_t expected = from;
    if (swingState_.compare_exchange_strong(expected, to)) {
        PutShareStateInfoToSettings(SWITCH_TYPE_AIR, to, true);
    }
}

void ShareSwitchManager::HandleOnSwingOn()
{
    SHARE_LOGI(Log::SERVICE, "HandleOnSwingOn invoked");
    if (swingState_.exchange(SWING_STATE_ON) == SWING_STATE_ON) {
        return;
    }
    if (IsEnabled() || isEnabling_) {
        SHARE_LOGI(Log::SERVICE, "IsEnabled or IsEnabling, no need to handle");
        return;
    }
    if (enableState_ == STATE_SHARE_FIRST_USE) {
        // From first use the gesture grants the permission too. Cannot fail but in being queued, which is logged.
        (void)SetShareAccountPermission(ACCOUNT_PERMISSION_ON, false);
    }
    const int32_t lastType = LastShareSwitchState().detectableType;
    Request({STATE_SHARE_ENABLE, lastType == UNDETECTABLE ? DETECTABLE_SWING : lastType});
}

RecursiveMutex& ShareSwitchManager::SharedItemsMutex()
{
    return sharedItemsMutex_;
}

void ShareSwitchManager::HandleOnSwingOff()
{
    SHARE_LOGI(Log::SERVICE, "HandleOnSwingOff invoked");
    swingState_ = SWING_STATE_OFF; // sharing itself stays as it is
}

} // namespace OHOS::Pelago
