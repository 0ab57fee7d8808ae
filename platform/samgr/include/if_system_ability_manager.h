#ifndef OHOS_IF_SYSTEM_ABILITY_MANAGER_H
#define OHOS_IF_SYSTEM_ABILITY_MANAGER_H

#include <cstdint>
#include <vector>

#include "iremote_broker.h"

namespace OHOS {

/// Finds system abilities by their ids: in the device's own process at once, from another process over IPC.
///
/// Owned by whoever holds a reference; the abilities that it finds are as well. Any thread may call.
///
/// It starts nothing, waits for nothing and asks nobody's permission: an ability checks its callers itself.
class ISystemAbilityManager : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.host.Samgr");

    /// The object of the ability as it is now, null when it is absent or cannot be asked for. A single look.
    virtual sptr<IRemoteObject> GetSystemAbility(int32_t systemAbilityId) = 0;

    /// The ids of all abilities that are present now, ascending; empty when they cannot be asked for.
    virtual std::vector<int32_t> ListSystemAbilities() = 0;
};

} // namespace OHOS

#endif // OHOS_IF_SYSTEM_ABILITY_MANAGER_H
