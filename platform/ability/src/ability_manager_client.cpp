#include "ability_manager_client.h"

#include "host/ability_registry.h"
#include "host/faults.h"

namespace OHOS::AAFwk {

using Host::AbilityRegistry;

std::shared_ptr<AbilityManagerClient> AbilityManagerClient::GetInstance()
{
    static auto* instance = new std::shared_ptr<AbilityManagerClient>(std::make_shared<AbilityManagerClient>());
    return Host::Faults::Take("ability.client") ? nullptr : *instance;
}

int32_t AbilityManagerClient::StartExtensionAbility(const Want& want, const sptr<IRemoteObject>& /*callerToken*/,
    int32_t /*userId*/, AppExecFwk::ExtensionAbilityType /*extensionType*/)
{
    return Host::Faults::Take("ability.start") ? ERR_ABILITY_IPC : AbilityRegistry::Instance().Start(want);
}

int32_t AbilityManagerClient::ConnectAbility(
    const Want& want, const sptr<IAbilityConnection>& connect, int32_t /*userId*/)
{
    return Host::Faults::Take("ability.connect") ? ERR_ABILITY_IPC : AbilityRegistry::Instance().Connect(want, connect);
}

int32_t AbilityManagerClient::DisconnectAbility(const sptr<IAbilityConnection>& connect)
{
    return Host::Faults::Take("ability.disconnect") ? ERR_ABILITY_IPC : AbilityRegistry::Instance().Disconnect(connect);
}

} // namespace OHOS::AAFwk
