#ifndef OHOS_APPEXECFWK_EXTENSION_ABILITY_INFO_H
#define OHOS_APPEXECFWK_EXTENSION_ABILITY_INFO_H

#include <cstdint>

namespace OHOS::AppExecFwk {

/// What kind of extension is meant. The host has one kind.
enum class ExtensionAbilityType : int32_t {
    UNSPECIFIED = 255,
};

} // namespace OHOS::AppExecFwk

#endif // OHOS_APPEXECFWK_EXTENSION_ABILITY_INFO_H
