#include "ohos_account_kits.h"

#include <optional>

#include "host/device.h"
#include "host/faults.h"
#include "os_account_manager.h"

namespace OHOS::AccountSA {

OhosAccountKits& OhosAccountKits::GetInstance()
{
    static OhosAccountKits kits;
    return kits;
}

int32_t OhosAccountKits::GetOhosAccountInfoByUserId(int32_t userId, OhosAccountInfo& info)
{
    const Host::Device& device = Host::Device::Instance();
    if (Host::Faults::Take("account.GetOhosAccountInfoByUserId") ||
        !device.IsAbilityPresent(Host::AbilityId::OS_ACCOUNT)) {
        return ERR_ACCOUNT_SERVICE_UNAVAILABLE;
    }
    std::optional<Host::User> user = device.FindUser(userId);
    if (!user.has_value()) {
        return ERR_ACCOUNT_NOT_EXIST;
    }
    const Host::AccountInfo& account = user->account;
    info = {account.name, account.uid, account.status, account.callingUid, account.nickname, account.avatar};
    return 0;
}

} // namespace OHOS::AccountSA
