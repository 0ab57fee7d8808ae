#include "accesstoken_kit.h"

#include "host/device.h"
#include "host/faults.h"

namespace OHOS::Security::AccessToken {

int AccessTokenKit::VerifyAccessToken(AccessTokenID tokenId, const std::string& permissionName)
{
    const bool granted = !Host::Faults::Take("security.VerifyAccessToken") &&
                         Host::Device::Instance().TokenHolds(tokenId, permissionName);
    return granted ? PERMISSION_GRANTED : PERMISSION_DENIED;
}

} // namespace OHOS::Security::AccessToken
