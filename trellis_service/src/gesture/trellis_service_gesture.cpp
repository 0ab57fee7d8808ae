#include "core/trellis_service.h"

#include <optional>

#include "app_mgr_interface.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/share_focus_listener.h"
#include "ipc_skeleton.h"
#include "iservice_registry.h"
#include "system_ability_definition.h"

// What applications ask of the share API, and who of them is in front.
namespace OHOS::Pelago {
namespace {

constexpr int32_t PID_INVALID = -1;

std::shared_ptr<CorvaneShareCallbackManager> ShareApi()
{
    return DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
}

// The applications on the screen, the topmost first; nothing when there is nobody to ask.
std::optional<std::vector<AppExecFwk::AppStateData>> ForegroundApplications()
{
    const sptr<ISystemAbilityManager> manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
    if (manager == nullptr) {
        SHARE_LOGE(Log::SERVICE, "failed to get ISystemAbilityManager");
        return std::nullopt;
    }
    const sptr<IRemoteObject> object = manager->GetSystemAbility(APP_MGR_SERVICE_ID);
    if (object == nullptr) {
        SHARE_LOGE(Log::SERVICE, "failed to get app Manager service");
        return std::nullopt;
    }
    const sptr<AppExecFwk::IAppMgr> appMgr = iface_cast<AppExecFwk::IAppMgr>(object);
    if (appMgr == nullptr) {
        SHARE_LOGE(Log::SERVICE, "failed to get app mgr proxy");
        return std::nullopt;
    }
    std::vector<AppExecFwk::AppStateData> applications;
    const int32_t result = appMgr->GetForegroundApplications(applications); // an error leaves the list empty
    SHARE_LOGI(Log::SERVICE, "GetForegroundApplications ret: %{public}d", result);
    return applications;
}

} // namespace

bool TrellisService::RegisterShareApiCallback(const sptr<PelagoApiCallback>& callback)
{
    return ShareApi()->AddShareApiCallback(IPCSkeleton::GetCallingPid(), callback);
}

// The process counts, not the object that it names.
bool TrellisService::UnregisterShareApiCallback(const sptr<PelagoApiCallback>&)
{
    return ShareApi()->DelShareApiCallback(IPCSkeleton::GetCallingPid());
}

bool TrellisService::RegisterShareEventCallback(int32_t eventId, int32_t cbId)
{
    return ShareApi()->AddShareEventCallback(IPCSkeleton::GetCallingPid(), cbId, eventId);
}

bool TrellisService::UnregisterShareEventCallback(int32_t eventId, int32_t cbId)
{
    return ShareApi()->DelShareEventCallback(IPCSkeleton::GetCallingPid(), cbId, eventId);
}

void TrellisService::DownloadingDie(int32_t)
{}

// One process is the rule; with any other number it goes on with those that there are.
void TrellisService::GetFocusedPids(std::vector<int32_t>& pids)
{
    pids.clear();
    if (const sptr<ShareFocusListener> listener = ShareFocusListener::GetInstance(); listener != nullptr) {
        listener->GetFocusedPids(pids);
    }
    if (pids.size() != 1) {
        SHARE_LOGE(Log::SERVICE, "FocusedPid size err %{public}lu.", static_cast<unsigned long>(pids.size()));
    }
}

void TrellisService::UpdateAlternativePidsByForeground(std::vector<int32_t>& pids)
{
    if (!pids.empty()) {
        SHARE_LOGI(Log::SERVICE, "No need update");
        return;
    }
    const auto applications = ForegroundApplications();
    if (!applications) {
        return;
    }
    for (const AppExecFwk::AppStateData& application : *applications) {
        SHARE_LOGI(Log::SERVICE, "appData %{public}s", application.bundleName.c_str());
        if (application.pid != PID_INVALID) {
            pids.push_back(application.pid);
        }
    }
}

bool TrellisService::IsAppForeground(const std::string& bundleName)
{
    const auto applications = ForegroundApplications();
    if (!applications) {
        return false;
    }
    for (const AppExecFwk::AppStateData& application : *applications) {
        if (application.bundleName == bundleName) {
            SHARE_LOGI(Log::SERVICE, "%{public}s is Foreground", bundleName.c_str());
            return true;
        }
    }
    SHARE_LOGI(Log::SERVICE, "%{public}s is not Foreground", bundleName.c_str());
    return false;
}

std::vector<int32_t> TrellisService::GetMatchedFocusedPidsFromCorvaneShareCallback(
    int32_t eventId, const std::vector<int32_t>& pids)
{
    SHARE_LOGI(Log::PROXY, "enter, eventId %{public}d, queryPids %{public}lu.", eventId,
        static_cast<unsigned long>(pids.size()));
    std::vector<int32_t> matched = ShareApi()->GetMatchedFocusedPids(eventId, pids);
    SHARE_LOGI(Log::PROXY, "exit, eventId %{public}d, matchedPids %{public}lu.", eventId,
        static_cast<unsigned long>(matched.size()));
    return matched;
}

bool TrellisService::IsFocusPidsRegisterSwing()
{
    std::vector<int32_t> pids;
    return HasFocusedPidsRegisterSwing(pids);
}

// After a miss `pids` holds the foreground.
bool TrellisService::HasFocusedPidsRegisterSwing(std::vector<int32_t>& pids)
{
    GetFocusedPids(pids);
    if (ShareApi()->IsPidRegistered(ShareEvent::GESTURES, pids)) {
        SHARE_LOGI(Log::SERVICE, "Focus pid has registered");
        return true;
    }
    pids.clear();
    UpdateAlternativePidsByForeground(pids);
    if (ShareApi()->IsPidRegistered(ShareEvent::GESTURES, pids)) {
        SHARE_LOGI(Log::SERVICE, "UpdateAlternativePidsByForeground pid has registered");
        return true;
    }
    SHARE_LOGI(Log::SERVICE, "Focus pid has not registered");
    return false;
}

} // namespace OHOS::Pelago
