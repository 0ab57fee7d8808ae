#ifndef PLATFORM_SAMGR_SAMGR_PROXY_H
#define PLATFORM_SAMGR_SAMGR_PROXY_H

#include "if_system_ability_manager.h"
#include "iremote_proxy.h"

namespace OHOS {

/// The manager of a client process: asks the daemon whose root object it was made of. Owned by whoever asks it; without
/// state; any thread. A failed request is an absent ability.
class SamgrProxy : public IRemoteProxy<ISystemAbilityManager> {
public:
    using IRemoteProxy<ISystemAbilityManager>::IRemoteProxy;

    sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) override;
    std::vector<int32_t> ListSystemAbilities() override;
};

} // namespace OHOS

#endif // PLATFORM_SAMGR_SAMGR_PROXY_H
