#include "system_ability.h"

#include "host/ability_host.h"
#include "host/faults.h"

namespace OHOS {

SystemAbility::SystemAbility(int32_t systemAbilityId, bool runOnCreate)
    : systemAbilityId_(systemAbilityId), runOnCreate_(runOnCreate)
{}

bool SystemAbility::MakeAndRegisterAbility(SystemAbility* systemAbility)
{
    return Host::AbilityHost::Instance().Register(systemAbility);
}

std::string SystemAbility::GetClassName()
{
    return "SystemAbility";
}

int32_t SystemAbility::GetSystemAbilityId() const
{
    return systemAbilityId_;
}

bool SystemAbility::IsRunOnCreate() const
{
    return runOnCreate_;
}

bool SystemAbility::Publish(const sptr<IRemoteObject>& object)
{
    return !Host::Faults::Take("samgr.publish") && Host::AbilityHost::Instance().Publish(systemAbilityId_, object);
}

bool SystemAbility::AddSystemAbilityListener(int32_t systemAbilityId)
{
    return !Host::Faults::Take("samgr.listen") && Host::AbilityHost::Instance().AddListener(*this, systemAbilityId);
}

void SystemAbility::OnStart()
{}

void SystemAbility::OnStop()
{}

void SystemAbility::OnAddSystemAbility(int32_t /*systemAbilityId*/, const std::string& /*deviceId*/)
{}

void SystemAbility::OnRemoveSystemAbility(int32_t /*systemAbilityId*/, const std::string& /*deviceId*/)
{}

} // namespace OHOS
