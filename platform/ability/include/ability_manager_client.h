#ifndef OHOS_AAFWK_ABILITY_MANAGER_CLIENT_H
#define OHOS_AAFWK_ABILITY_MANAGER_CLIENT_H

#include <cstdint>
#include <memory>

#include "ability_connect_callback.h"
#include "ability_manager_errors.h"
#include "extension_ability_info.h"
#include "iremote_object.h"
#include "want.h"

namespace OHOS::AAFwk {

/// Starts extensions and connects to them, for services of the device's own process. One per process, without state of
/// its own; any thread may call, from inside a connection's callbacks too.
///
/// Every call returns before anything of the extension runs: a 0 says that the want was taken, not that it was heard.
/// Results are AbilityManagerError. It starts extensions only, and for the current user only.
class AbilityManagerClient {
public:
    /// Null when the ability manager cannot be reached.
    static std::shared_ptr<AbilityManagerClient> GetInstance();

    /// Hands the want to the extension that its element names, behind all wants handed to it before. When its process
    /// is not there it is started, if the device knows how, and the want waits for it.
    [[nodiscard]] int32_t StartExtensionAbility(const Want& want, const sptr<IRemoteObject>& callerToken,
        int32_t userId = -1,
        AppExecFwk::ExtensionAbilityType extensionType = AppExecFwk::ExtensionAbilityType::UNSPECIFIED);

    /// Asks the extension for an object, in order with the wants. On 0 the connection is held until its
    /// OnAbilityDisconnectDone.
    [[nodiscard]] int32_t ConnectAbility(
        const Want& want, const sptr<IAbilityConnection>& connect, int32_t userId = -1);

    /// Ends the connection and tells the extension.
    [[nodiscard]] int32_t DisconnectAbility(const sptr<IAbilityConnection>& connect);
};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_ABILITY_MANAGER_CLIENT_H
