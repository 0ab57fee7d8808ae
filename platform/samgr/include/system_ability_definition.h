#ifndef OHOS_SYSTEM_ABILITY_DEFINITION_H
#define OHOS_SYSTEM_ABILITY_DEFINITION_H

#include <cstdint>

namespace OHOS {

/// Ids of the system abilities that a service may look for. Plain constants, free for any thread.
inline constexpr int32_t SUBSYS_ACCOUNT_SYS_ABILITY_ID_BEGIN = 200; // the OS account service
inline constexpr int32_t APP_MGR_SERVICE_ID = 501;
inline constexpr int32_t WIFI_DEVICE_SYS_ABILITY_ID = 1120;
inline constexpr int32_t BLUETOOTH_HOST_SYS_ABILITY_ID = 1130;
inline constexpr int32_t DISTRIBUTED_KV_DATA_SERVICE_ABILITY_ID = 1301;
inline constexpr int32_t COMMON_EVENT_SERVICE_ID = 3299;
inline constexpr int32_t TIME_SERVICE_ID = 3702;
inline constexpr int32_t WINDOW_MANAGER_SERVICE_ID = 4606;

} // namespace OHOS

#endif // OHOS_SYSTEM_ABILITY_DEFINITION_H
