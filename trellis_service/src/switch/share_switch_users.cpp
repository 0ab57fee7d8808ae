// Whose switch it is: taking up the user in front, the first use, and the account permission.
#include "common_utils.h"
#include "i_trellis_service.h"
#include "share_client.h"
#include "share_log.h"
#include "switch/share_oobe_helper.h"
#include "switch/share_setting_provider.h"
#include "switch/share_switch_manager.h"

namespace OHOS::Pelago {
namespace {

using AppExecFwk::InnerEvent;

ShareSettingProvider& Settings()
{
    return ShareSettingProvider::GetInstance(TRELLIS_SERVICE_ID);
}

int UserIdOf(const InnerEvent::Pointer& event)
{
    return static_cast<int>(event->GetParam());
}

} // namespace

// Events

void ShareSwitchManager::HandleOnUserSwitched(int userId)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnUserSwitched invoked");
    if (!CommonUtils::IsUserVerified(userId)) {
        SHARE_LOGE(Log::SERVICE, "switchToUserId %{public}d not verified", userId); // the unlock will bring the user in
        return;
    }
    Post(MSG_LOCAL_USER_SWITCHED_EVENT, userId);
}

void ShareSwitchManager::HandleOnUserUnlocked(int userId)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnUserUnlocked invoked, localUserId: %{public}d, unlock userId: %{public}d",
        localUserId_.load(), userId);
    Post(MSG_USER_UNLOCKED_EVENT, userId);
}

void ShareSwitchManager::HandleOnDataShareReady()
{
    SHARE_LOGI(Log::SERVICE, "HandleOnDataShareReady invoked");
    Post(MSG_DATA_SHARE_READY_EVENT);
}

void ShareSwitchManager::LocalUserSwitchedEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "LocalUserSwitchedEvent invoked, userId %{public}d.", UserIdOf(event));
    SwitchUserToOther(UserIdOf(event));
}

void ShareSwitchManager::UserUnlockedEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "UserUnlockedEvent invoked, userId %{public}d.", UserIdOf(event));
    SwitchUserToOther(UserIdOf(event));
}

void ShareSwitchManager::DataShareReadyEvent(const InnerEvent::Pointer&)
{
    CheckOnRunner(__func__);
    int userId = USER_ID_INVALID;
    (void)CommonUtils::GetCurrentForegroundUserId(userId); // logged; no user is turned down by both calls below
    SHARE_LOGI(Log::SERVICE, "DataShareReadyEvent invoked, userId %{public}d.", userId);
    RegisterOobeDataChangeListener(userId);
    SwitchUserToOther(userId);
}

// Taking up a user

void ShareSwitchManager::SwitchUserToOther(int switchToUserId)
{
    SHARE_LOGI(Log::SERVICE, "SwitchUserToOther invoked, localUserId_: %{public}d -> switchToUserId: %{public}d",
        localUserId_.load(), switchToUserId);
    if (localUserId_ == switchToUserId) {
        // Three sources lead here, so repeats are usual.
        SHARE_LOGI(Log::SERVICE, "user not change, %{public}d -> %{public}d", localUserId_.load(), switchToUserId);
        return;
    }
    InitLocalVerifiedForegroundUser();
    if (localUserId_ != switchToUserId) {
        // Locked, not in front, or the settings are not up: unlock or data-share-ready come back here.
        SHARE_LOGE(Log::SERVICE, "verifiedForegroundUserId %{public}d not equal to switchToUserId %{public}d",
            localUserId_.load(), switchToUserId);
        return;
    }
    LeavePreviousUser();
    RegisterOobeDataChangeListener(localUserId_);
    if (!Settings().CheckIfOobeReady(localUserId_)) {
        SHARE_LOGI(Log::SERVICE, "Oobe not ready."); // the observers run the load at the end of the set-up
        return;
    }
    if (isPrivateUser_) {
        AgreeForPrivateUser();
    }
    InitShareState();
}

void ShareSwitchManager::InitLocalVerifiedForegroundUser()
{
    int userId = USER_ID_INVALID;
    if (!CommonUtils::GetCurrentForegroundUserId(userId) || !CommonUtils::IsUserVerified(userId)) {
        SHARE_LOGE(Log::SERVICE, "GetCurrentForegroundUserId failed or user %{public}d is not verified", userId);
        RecursiveLock lock(sharedItemsMutex_); // as below
        localUserId_ = USER_ID_INVALID;
        return;
    }
    if (!Settings().CheckIfDataShareReady()) {
        SHARE_LOGE(Log::SERVICE, "dataShare not ready");
        return;
    }
    RecursiveLock lock(sharedItemsMutex_); // a client's permission that is on its way goes to one user's places
    localUserId_ = userId;
    isPrivateUser_ = CommonUtils::IsUserPrivacy(userId);
    SHARE_LOGI(Log::SERVICE, "userId: %{public}d, isPrivate: %{public}d", userId, isPrivateUser_.load());
}

// The fields are the new user's already: what is written on the way, as a suspended gesture, is written for the new
// user. No file is touched, so those of the previous user keep their last state.
void ShareSwitchManager::LeavePreviousUser()
{
    // Logged when it cannot be queued. It is handled behind the off, so the engine does not hear of it.
    (void)SetShareAccountPermission(ACCOUNT_PERMISSION_OFF, true);
    SHARE_LOGI(Log::SERVICE, "DisableShareByUserSwitched invoked");
    DisableSharePassively(true);
}

void ShareSwitchManager::AgreeForPrivateUser()
{
    if (!CheckIfUserIsFirstUse(localUserId_) || !Settings().CheckIfAgreeCorvaneShareOobeEnhance(localUserId_)) {
        return;
    }
    SHARE_LOGI(Log::SERVICE, "HandleOnAgreeCollaborationOobeEnable for private user");
    WriteAgreedState(localUserId_);
}

void ShareSwitchManager::RegisterOobeDataChangeListener(int userId)
{
    SHARE_LOGI(Log::SERVICE, "RegisterOobeDataChangeListener invoked, userId: %{public}d", userId);
    if (!CommonUtils::IsUserIdValid(userId)) {
        SHARE_LOGE(Log::SERVICE, "userId is invalid");
        return;
    }
    MutexLock lock(oobeHelperMutex_);
    if (IsReleased()) {
        return; // released under this event: nobody would take the observers back
    }
    if (oobeHelperMap_.count(userId) != 0) {
        SHARE_LOGI(Log::SERVICE, "already RegisterDataChangeListener");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "register oobe helper for userId: %{public}d", userId);
    const auto helper = std::make_shared<ShareOobeHelper>(userId);
    oobeHelperMap_.emplace(userId, helper);
    helper->RegisterDataChangeListener();
}

void ShareSwitchManager::InitLastShareSwitchState(int32_t saveState, int32_t saveType)
{
    if (saveState == STATE_SHARE_ENABLE) {
        SaveLastShareSwitchState(saveState, saveType);
        return;
    }
    SwitchPair last;
    (void)GetShareRecoverStateInfoFromFile(last.enableState, last.detectableType); // logged; nothing to return to then
    SaveLastShareSwitchState(last.enableState, last.detectableType); // moves a pair of the settings into the file
    SHARE_LOGI(Log::SERVICE, "InitLastShareSwitchState, enableState: %{public}d, detectableType: %{public}d.",
        last.enableState, last.detectableType);
}

// First use

bool ShareSwitchManager::CheckIfUserIsFirstUse(int userId)
{
    int saveState = STATE_SHARE_FIRST_USE;
    int saveType = UNDETECTABLE;
    int savePermission = ACCOUNT_PERMISSION_OFF;
    const bool ret = GetShareStateInfoFromFile(userId, saveState, saveType, savePermission);
    SHARE_LOGI(Log::SERVICE, "userId: %{public}d, saveState: %{public}d, ret: %{public}d", userId, saveState, ret);
    return saveState == STATE_SHARE_FIRST_USE; // so a failed read reads as first use
}

void ShareSwitchManager::WriteAgreedState(int userId)
{
    // Logged; the user then stays at first use.
    (void)PutShareStateInfoToFileWithUserId(STATE_SHARE_ENABLE, DETECTABLE_LASTING, ACCOUNT_PERMISSION_ON, userId);
}

void ShareSwitchManager::HandleOnAgreeEnhanceOobe(int userId)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnAgreeEnhanceOobe invoked, userId: %{public}d", userId);
    Post(MSG_AGREE_ENHANCE_OOBE_EVENT, userId);
}

void ShareSwitchManager::HandleOnRejectEnhanceOobe(int userId)
{
    SHARE_LOGI(Log::SERVICE, "HandleOnRejectEnhanceOobe invoked, userId: %{public}d", userId);
    Post(MSG_REJECT_ENHANCE_OOBE_EVENT, userId);
}

void ShareSwitchManager::AgreeEnhanceOobeEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    const int userId = UserIdOf(event);
    SHARE_LOGI(Log::SERVICE,
        "AgreeEnhanceOobeEvent invoked, enableState_: %{public}d, localUserId: %{public}d, userId: %{public}d",
        enableState_.load(), localUserId_.load(), userId);
    if (CheckIfUserIsFirstUse(userId)) {
        WriteAgreedState(userId);
        InitShareState(); // of the user in front, also when that is another: meant
        return;
    }
    SHARE_LOGI(Log::SERVICE, "no need to HandleOnAgreeEnhanceOobe.");
    if (localUserId_ == userId) {
        InitShareState();
    }
}

void ShareSwitchManager::RejectEnhanceOobeEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    const int userId = UserIdOf(event);
    SHARE_LOGI(Log::SERVICE,
        "RejectEnhanceOobeEvent invoked, enableState_: %{public}d, localUserId: %{public}d, userId: %{public}d",
        enableState_.load(), localUserId_.load(), userId);
    if (localUserId_ == userId) {
        InitShareState();
    }
}

// Account permission

int32_t ShareSwitchManager::GetAccountPermission() const
{
    const int32_t accountPermission = accountPermission_;
    SHARE_LOGI(Log::SERVICE, "GetAccountPermission(), accountPermission_ = %{public}d", accountPermission);
    return accountPermission;
}

bool ShareSwitchManager::SetShareAccountPermission(int accountPermission, bool isUserSwitch)
{
    SHARE_LOGI(Log::SERVICE,
        "SetShareAccountPermission accountPermission: %{public}d, accountPermission_: %{public}d, "
        "isUserSwitch: %{public}d.",
        accountPermission, accountPermission_.load(), isUserSwitch);
    if (static_cast<uint32_t>(accountPermission) > ACCOUNT_PERMISSION_ON) {
        SHARE_LOGE(Log::SERVICE, "SetShareAccountPermission paramter error.");
        return false;
    }
    RecursiveLock lock(sharedItemsMutex_);
    accountPermission_ = accountPermission;
    PutShareStateInfoToSettings(SWITCH_TYPE_PERMISSION, accountPermission, !isUserSwitch);
    if (!isUserSwitch) {
        // Logged. A user without a file made no choice yet, and the first one writes the permission along.
        (void)PutSingleShareStateInfoToFile(SWITCH_TYPE_PERMISSION, accountPermission);
    }
    return TryPost(MSG_ENABLE_SHARE_ACCOUNT_PERMISSION_EVENT, accountPermission);
}

void ShareSwitchManager::EnableShareAccountPermissionEvent(const InnerEvent::Pointer& event)
{
    CheckOnRunner(__func__);
    SHARE_LOGI(Log::SERVICE, "EnableShareAccountPermissionEvent invoked.");
    if (!IsEnabled()) {
        return; // the way to on sends it
    }
    const int accountPermission = static_cast<int>(event->GetParam());
    if (!DelayedRefSingleton<ShareClient>::GetInstance().SetAccountPermission(accountPermission)) {
        SHARE_LOGE(Log::SERVICE, "SetAccountPermission failed.");
    }
}

} // namespace OHOS::Pelago
