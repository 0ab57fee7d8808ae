#include "transfer/corvane_share_manager.h"

#include <new>

#include "ability_manager_client.h"
#include "common_event_manager.h"
#include "share_log.h"

namespace OHOS::Pelago {
namespace {

constexpr int32_t CURRENT_USER = -1;
constexpr const char* EVENT_HIDE_DROPDOWN_WINDOW = "sceneboard.event.HIDE_DROPDOWN_WINDOW";

// What the log shows when there is no ability manager to ask.
constexpr int32_t NO_ABILITY_MANAGER = -1;

AAFwk::Want MakeWant(const char* ability, const char* intentKey, const char* intent)
{
    AAFwk::Want want;
    want.SetElementName(FRONT_END_BUNDLE, ability);
    want.SetParam(intentKey, intent);
    return want;
}

int32_t StartExtension(const AAFwk::Want& want)
{
    auto client = AAFwk::AbilityManagerClient::GetInstance();
    return client == nullptr ? NO_ABILITY_MANAGER
                             : client->StartExtensionAbility(
                                   want, nullptr, CURRENT_USER, AppExecFwk::ExtensionAbilityType::UNSPECIFIED);
}

int32_t Connect(const AAFwk::Want& want, const sptr<AAFwk::IAbilityConnection>& connection)
{
    auto client = AAFwk::AbilityManagerClient::GetInstance();
    return client == nullptr ? NO_ABILITY_MANAGER : client->ConnectAbility(want, connection, CURRENT_USER);
}

int32_t Disconnect(const sptr<AAFwk::IAbilityConnection>& connection)
{
    auto client = AAFwk::AbilityManagerClient::GetInstance();
    return client == nullptr ? NO_ABILITY_MANAGER : client->DisconnectAbility(connection);
}

} // namespace

Mutex CorvaneShareManager::connectMutex{"connectMutex", LockRank::CONNECTION};
bool CorvaneShareManager::isConnected = false;
sptr<AAFwk::IAbilityConnection> CorvaneShareManager::connection_;
Mutex CorvaneShareManager::corvaneShareApiMutex{"corvaneShareApiMutex", LockRank::CONNECTION};
sptr<AAFwk::IAbilityConnection> CorvaneShareManager::connectionCorvaneShareApi_;

CorvaneShareManager::AbilityConnection::AbilityConnection(ConnectType type) : connectType(type)
{}

void CorvaneShareManager::AbilityConnection::OnAbilityConnectDone(
    const AppExecFwk::ElementName&, const sptr<IRemoteObject>&, int)
{}

void CorvaneShareManager::AbilityConnection::OnAbilityDisconnectDone(const AppExecFwk::ElementName&, int)
{
    switch (connectType) {
        case ConnectType::SHARE_API:
            DisconnectCorvaneShareApiServiceEx();
            break;
        case ConnectType::SHARE:
            StopConnect();
            break;
    }
}

bool CorvaneShareManager::StartConnect(const AAFwk::Want& want)
{
    MutexLock lock(connectMutex);
    if (isConnected) {
        SHARE_LOGE(Log::SERVICE, "already connection_");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "SetConnectState is: %{public}d", true);
    isConnected = true;
    connection_ = new (std::nothrow) AbilityConnection(ConnectType::SHARE);
    int32_t result = Connect(want, connection_);
    SHARE_LOGI(Log::SERVICE, "ConnectAbility result is: %{public}d", result);
    return true;
}

bool CorvaneShareManager::StopConnect()
{
    MutexLock lock(connectMutex);
    if (!isConnected) {
        SHARE_LOGE(Log::SERVICE, "already disConnection_");
        return false;
    }
    if (connection_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "connection_ is nullptr");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "SetConnectState is: %{public}d", false);
    isConnected = false;
    int32_t result = Disconnect(connection_);
    connection_ = nullptr;
    SHARE_LOGI(Log::SERVICE, "StopConnect result is: %{public}d", result);
    return true;
}

void CorvaneShareManager::ConnectCorvaneShareApiServiceEx()
{
    MutexLock lock(corvaneShareApiMutex);
    if (connectionCorvaneShareApi_ != nullptr) {
        SHARE_LOGE(Log::SERVICE, "already connectionCorvaneShareApi_");
        return;
    }
    auto client = AAFwk::AbilityManagerClient::GetInstance();
    if (client == nullptr) {
        SHARE_LOGE(Log::SERVICE, "abilityManagerClient is nullptr");
        return;
    }
    connectionCorvaneShareApi_ = new (std::nothrow) AbilityConnection(ConnectType::SHARE_API);
    AAFwk::Want want = MakeWant(ABILITY_SHARE_API_EXTENSION, INTENT_KEY_SHARE_API, INTENT_SWITCH_NOTIFY_COMPONENT);
    int32_t result = client->ConnectAbility(want, connectionCorvaneShareApi_, CURRENT_USER);
    SHARE_LOGI(Log::SERVICE, "ConnectAbility result is: %{public}d", result);
}

void CorvaneShareManager::DisconnectCorvaneShareApiServiceEx()
{
    MutexLock lock(corvaneShareApiMutex);
    if (connectionCorvaneShareApi_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "connectionCorvaneShareApi_ is nullptr");
        return;
    }
    auto client = AAFwk::AbilityManagerClient::GetInstance();
    if (client == nullptr) {
        SHARE_LOGE(Log::SERVICE, "abilityManagerClient is nullptr");
        return;
    }
    int32_t result = client->DisconnectAbility(connectionCorvaneShareApi_);
    connectionCorvaneShareApi_ = nullptr;
    SHARE_LOGI(Log::SERVICE, "DisconnectAbility result is: %{public}d", result);
}

void CorvaneShareManager::StartService(const AAFwk::Want& want)
{
    SHARE_LOGI(Log::SERVICE, "StartService invoked");
    MutexLock lock(connectMutex);
    int32_t result = StartExtension(want);
    SHARE_LOGI(Log::SERVICE, "StartAbility result is: %{public}d", result);
}

void CorvaneShareManager::PreStartHap(const AAFwk::Want& want)
{
    SHARE_LOGI(Log::SERVICE, "PreStartHap");
    StartService(want);
}

void CorvaneShareManager::HideDropDownWindow()
{
    SHARE_LOGI(Log::SERVICE, "HideDropDownWindow invoked.");
    AAFwk::Want want;
    want.SetAction(EVENT_HIDE_DROPDOWN_WINDOW);
    bool isSuccess = EventFwk::CommonEventManager::PublishCommonEvent(EventFwk::CommonEventData(want));
    SHARE_LOGI(
        Log::SERVICE, "PublishCommonEvent sceneboard.event.HIDE_DROPDOWN_WINDOW, isSuccess: %{public}d", isSuccess);
}

void CorvaneShareManager::StartFirstUseDialog(int32_t, int32_t detectableType)
{
    AAFwk::Want want = MakeWant(ABILITY_PERMISSION_EXTENSION, INTENT_KEY_PERMISSION, "firstUse");
    want.SetParam("detectableType", detectableType);
    (void)StartExtension(want); // the one start whose result is not even logged
}

void CorvaneShareManager::StartEnableConfirmDialog(int32_t, int32_t detectableType)
{
    AAFwk::Want want = MakeWant(ABILITY_PERMISSION_EXTENSION, INTENT_KEY_PERMISSION, "openWifiAndBluetooth");
    want.SetParam("detectableType", detectableType);
    int32_t result = StartExtension(want);
    SHARE_LOGI(Log::SERVICE, "StartEnableConfirmDialog result is: %{public}d", result);
}

void CorvaneShareManager::StartShowTip()
{
    AAFwk::Want want = MakeWant(ABILITY_PERMISSION_EXTENSION, INTENT_KEY_PERMISSION, "show_tip");
    want.SetParam("uiType", "not_support_receive");
    int32_t result = StartExtension(want);
    SHARE_LOGI(Log::SERVICE, "StartShowTip result is: %{public}d", result);
}

void CorvaneShareManager::StartSwitchNotificationForNudge()
{
    AAFwk::Want want = MakeWant(ABILITY_SHARE_API_EXTENSION, INTENT_KEY_SHARE_API, "nudgeEnableShare");
    int32_t result = StartExtension(want);
    SHARE_LOGI(Log::SERVICE, "StartSwitchNotificationForNudge result is: %{public}d", result);
}

void CorvaneShareManager::StartFailedNotificationForNudge(int32_t errorCode)
{
    SHARE_LOGI(Log::SERVICE, "StartFailedNotificationForNudge invoked, errorCode: %{public}d", errorCode);
    AAFwk::Want want = MakeWant(ABILITY_SHARE_API_EXTENSION, INTENT_KEY_SHARE_API, "nudgeConnectFail");
    want.SetParam("connectErrCode", errorCode);
    int32_t result = StartExtension(want);
    SHARE_LOGI(Log::SERVICE, "StartFailedNotificationForNudge result is: %{public}d", result);
}

} // namespace OHOS::Pelago
