#include "permission.h"

#include "accesstoken_kit.h"
#include "ipc_skeleton.h"
#include "share_log.h"

namespace OHOS::Pelago {

bool Permission::CheckShareSwitchPermission()
{
    if (!CheckPermission("ohos.permission.PELAGO_SWITCH_CONTROL")) {
        SHARE_LOGE(Log::PERMISSION, "No PELAGO_SWITCH_CONTROL permission");
        return false;
    }
    return true;
}

bool Permission::CheckShareCapabilityPermission()
{
    if (!CheckPermission("ohos.permission.ACCESS_PELAGO_SERVICE")) {
        SHARE_LOGE(Log::PERMISSION, "No ACCESS_PELAGO_SERVICE permission");
        return false;
    }
    return true;
}

bool Permission::CheckPermission(const std::string& permission)
{
    using namespace Security::AccessToken;
    const int ret = AccessTokenKit::VerifyAccessToken(IPCSkeleton::GetCallingTokenID(), permission);
    if (ret != PERMISSION_GRANTED) {
        SHARE_LOGE(Log::PERMISSION, "Permission denied, ret: %{public}d", ret);
        return false;
    }
    return true;
}

} // namespace OHOS::Pelago
