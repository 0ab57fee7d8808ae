#include "os_account_manager.h"

#include <optional>

#include "host/device.h"
#include "host/faults.h"

namespace OHOS::AccountSA {

namespace {

bool Unavailable(const char* call)
{
    return Host::Faults::Take(call) || !Host::Device::Instance().IsAbilityPresent(Host::AbilityId::OS_ACCOUNT);
}

} // namespace

int32_t OsAccountManager::GetForegroundOsAccountLocalId(int32_t& localId)
{
    if (Unavailable("account.GetForegroundOsAccountLocalId")) {
        return ERR_ACCOUNT_SERVICE_UNAVAILABLE;
    }
    const int32_t id = Host::Device::Instance().ForegroundUser();
    if (id < 0) {
        return ERR_ACCOUNT_NOT_EXIST;
    }
    localId = id;
    return 0;
}

int32_t OsAccountManager::IsOsAccountVerified(int32_t id, bool& isVerified)
{
    if (Unavailable("account.IsOsAccountVerified")) {
        return ERR_ACCOUNT_SERVICE_UNAVAILABLE;
    }
    const std::optional<Host::User> user = Host::Device::Instance().FindUser(id);
    if (!user.has_value()) {
        return ERR_ACCOUNT_NOT_EXIST;
    }
    isVerified = user->verified;
    return 0;
}

int32_t OsAccountManager::QueryOsAccountById(int32_t id, OsAccountInfo& info)
{
    if (Unavailable("account.QueryOsAccountById")) {
        return ERR_ACCOUNT_SERVICE_UNAVAILABLE;
    }
    const std::optional<Host::User> user = Host::Device::Instance().FindUser(id);
    if (!user.has_value()) {
        return ERR_ACCOUNT_NOT_EXIST;
    }
    info = OsAccountInfo(id, static_cast<OsAccountType>(user->type));
    return 0;
}

int32_t OsAccountManager::QueryActiveOsAccountIds(std::vector<int32_t>& ids)
{
    if (Unavailable("account.QueryActiveOsAccountIds")) {
        return ERR_ACCOUNT_SERVICE_UNAVAILABLE;
    }
    ids = Host::Device::Instance().ActiveUsers();
    return 0;
}

} // namespace OHOS::AccountSA
