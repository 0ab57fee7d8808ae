#ifndef OHOS_HOST_APPLICATION_HOST_H
#define OHOS_HOST_APPLICATION_HOST_H

#include <cstdint>
#include <string>

#include "ability_manager_errors.h"
#include "if_system_ability_manager.h"

namespace OHOS::Host {

/// What the application manager, ability 501, answers for other processes.
namespace AppMgrCode {
inline constexpr uint32_t ATTACH_APPLICATION = 1; // string bundle, object of the application; reply: int32 result
} // namespace AppMgrCode

inline constexpr size_t MAX_BUNDLE_NAME = 256; // bytes of a bundle's name

/// Attaches this process to the daemon that this manager belongs to, as an application of the bundle: from now on it
/// can be brought to the screen and into focus. Its pid and uid are the kernel's; attached again it takes the new name.
/// It ends with the process, which then leaves screen and focus. An AbilityManagerError; on all but 0 nothing has
/// changed: ERR_ABILITY_INVALID_VALUE for a name that is none, ERR_ABILITY_TOO_MANY at the device's limit,
/// ERR_ABILITY_IPC when the manager cannot be reached. Any thread.
[[nodiscard]] int32_t AttachApplication(const sptr<ISystemAbilityManager>& samgr, const std::string& bundle);

} // namespace OHOS::Host

#endif // OHOS_HOST_APPLICATION_HOST_H
