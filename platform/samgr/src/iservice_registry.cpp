#include "iservice_registry.h"

#include "host/ability_host.h"
#include "host/faults.h"

namespace OHOS {

SystemAbilityManagerClient& SystemAbilityManagerClient::GetInstance()
{
    static SystemAbilityManagerClient instance;
    return instance;
}

sptr<ISystemAbilityManager> SystemAbilityManagerClient::GetSystemAbilityManager()
{
    if (Host::Faults::Take("samgr.manager")) {
        return nullptr;
    }
    return Host::AbilityHost::Instance().Manager();
}

} // namespace OHOS
