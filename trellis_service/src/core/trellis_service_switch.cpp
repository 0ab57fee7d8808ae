#include "core/trellis_service.h"

#include "ohos_account_kits.h"
#include "os_account_manager.h"
#include "switch/share_switch_manager.h"

// The client's face of the switch: all of it stands in ShareSwitchManager, but for the account information that the
// permission guards.
namespace OHOS::Pelago {

// A plain request always asks the user before it starts a radio that is off.
bool TrellisService::SetShareEnable(int32_t enableState, int32_t detectableType, bool needCheckFirstUse)
{
    SHARE_LOGI(Log::SERVICE, "SetShareEnable enter");
    return DelayedSingleton<ShareSwitchManager>::GetInstance()->SetShareEnableWithConfirm(
        enableState, detectableType, needCheckFirstUse, true, false);
}

bool TrellisService::SetShareEnableWithConfirm(
    int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm)
{
    SHARE_LOGI(Log::SERVICE, "SetShareEnableWithConfirm enter");
    return DelayedSingleton<ShareSwitchManager>::GetInstance()->SetShareEnableWithConfirm(
        enableState, detectableType, needCheckFirstUse, needUserConfirm, false);
}

bool TrellisService::IsEnabled()
{
    return DelayedSingleton<ShareSwitchManager>::GetInstance()->IsEnabled();
}

int32_t TrellisService::GetEnableState()
{
    return DelayedSingleton<ShareSwitchManager>::GetInstance()->GetEnableState();
}

bool TrellisService::SetShareAccountPermission(int32_t accountPermission)
{
    return DelayedSingleton<ShareSwitchManager>::GetInstance()->SetShareAccountPermission(accountPermission, false);
}

// The account is that of the first active user, which need not be the one that the switch belongs to.
ShareAccountInfo TrellisService::GetAccountInfo()
{
    if (DelayedSingleton<ShareSwitchManager>::GetInstance()->GetAccountPermission() == 0) {
        SHARE_LOGE(Log::SERVICE, "GetAccountInfo permission denied");
        return {};
    }
    std::vector<int32_t> ids;
    (void)AccountSA::OsAccountManager::QueryActiveOsAccountIds(ids); // an error leaves none
    if (ids.empty()) {
        SHARE_LOGE(Log::SERVICE, "QueryActiveOsAccountIds returns empty.");
        return {};
    }
    SHARE_LOGI(Log::SERVICE, "ids[0] %{public}d.", ids[0]);
    AccountSA::OhosAccountInfo account;
    // An error leaves the default record, which is given as it is.
    (void)AccountSA::OhosAccountKits::GetInstance().GetOhosAccountInfoByUserId(ids[0], account);
    return ShareAccountInfo::ConvertToShareAccountInfo(account);
}

} // namespace OHOS::Pelago
