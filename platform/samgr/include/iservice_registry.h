#ifndef OHOS_ISERVICE_REGISTRY_H
#define OHOS_ISERVICE_REGISTRY_H

#include "if_system_ability_manager.h"

namespace OHOS {

/// The way of every process to its system ability manager. One per process, never destroyed, empty itself.
/// Any thread may call.
class SystemAbilityManagerClient {
public:
    static SystemAbilityManagerClient& GetInstance();

    /// The manager, shared by all callers; null when it cannot be reached.
    sptr<ISystemAbilityManager> GetSystemAbilityManager();

private:
    SystemAbilityManagerClient() = default;
};

} // namespace OHOS

#endif // OHOS_ISERVICE_REGISTRY_H
