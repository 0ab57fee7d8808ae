#ifndef OHOS_HOST_DEVICE_EVENTS_H
#define OHOS_HOST_DEVICE_EVENTS_H

#include <cstdint>
#include <string>

namespace OHOS::Host {

/// Names, codes and publishers of the common events that the device model causes. Plain constants, free for any thread.
/// Subscribers know the same names from the notification module, whose headers must not lead here; a test compares
/// them.
namespace EventName {
inline constexpr const char* USER_SWITCHED = "usual.event.USER_SWITCHED";               // code: user id
inline constexpr const char* USER_UNLOCKED = "usual.event.USER_UNLOCKED";               // code: user id
inline constexpr const char* PACKAGE_DATA_CLEARED = "usual.event.PACKAGE_DATA_CLEARED"; // bundleName: whose data
inline constexpr const char* DATA_SHARE_READY = "usual.event.DATA_SHARE_READY";
inline constexpr const char* WIFI_POWER_STATE = "usual.event.wifi.POWER_STATE"; // code: WifiPowerCode
inline constexpr const char* WIFI_SEMI_STATE = "usual.event.wifi.SEMI_STATE";   // code: WifiSemiCode
inline constexpr const char* BLUETOOTH_HOST_STATE_UPDATE = "usual.event.bluetooth.host.STATE_UPDATE"; // BluetoothState
inline constexpr const char* BLUETOOTH_RESTRICT = "usual.event.bluetooth.BT_SWITCH_RESTRICT_BLUETOOTH";
} // namespace EventName

namespace WifiPowerCode {
inline constexpr int32_t DISABLING = 0;
inline constexpr int32_t DISABLED = 1;
inline constexpr int32_t ENABLING = 2;
inline constexpr int32_t ENABLED = 3;
} // namespace WifiPowerCode

namespace WifiSemiCode {
inline constexpr int32_t RESTARTING = 0; // the radio takes itself down and will come back by itself
inline constexpr int32_t INACTIVE = 1;
inline constexpr int32_t ACTIVATING = 4;
inline constexpr int32_t ACTIVE = 5;
} // namespace WifiSemiCode

namespace BluetoothRestrictCode {
inline constexpr int32_t RESTARTING = 0; // as WifiSemiCode::RESTARTING
} // namespace BluetoothRestrictCode

namespace PublisherUid {
inline constexpr int32_t SYSTEM = 1000;
inline constexpr int32_t BLUETOOTH = 1002;
inline constexpr int32_t WIFI = 1010;
inline constexpr int32_t ACCOUNTS = 3058;
} // namespace PublisherUid

inline constexpr const char* PERMISSION_ACCESS_BLUETOOTH = "ohos.permission.ACCESS_BLUETOOTH";

/// One common event that the device causes, as the notification module is to publish it. A value.
struct DeviceEvent {
    std::string action;
    int32_t code = 0;
    std::string bundleName; // empty, but for events about a package
    int32_t publisherUid = PublisherUid::SYSTEM;
    std::string permission; // what the publisher holds and a subscription may demand of it; empty: none
};

} // namespace OHOS::Host

#endif // OHOS_HOST_DEVICE_EVENTS_H
