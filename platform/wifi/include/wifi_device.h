#ifndef OHOS_WIFI_WIFI_DEVICE_H
#define OHOS_WIFI_WIFI_DEVICE_H

#include <cstdint>
#include <memory>

/// Starts to bring Wi-Fi up. 0 when the radio has taken the request, else an error number; that it is up is told later,
/// by the common event of the Wi-Fi power state. Any thread.
[[nodiscard]] int EnableWifi();
/// Starts to bring Wi-Fi up for near devices only, without a network. As above, told by the semi-state event.
[[nodiscard]] int EnableSemiWifi();

namespace OHOS::Wifi {

inline constexpr int WIFI_OPT_SUCCESS = 0;
inline constexpr int WIFI_OPT_FAILED = 1;

enum class WifiDetailState {
    STATE_UNKNOWN = -1,
    STATE_INACTIVE = 0,
    STATE_ACTIVATED = 1,
    STATE_ACTIVATING = 2,
    STATE_DEACTIVATING = 3,
    STATE_SEMI_ACTIVATING = 4,
    STATE_SEMI_ACTIVE = 5,
};

/// The Wi-Fi radio, to be asked for its state. Owned by whoever asked for it; holds nothing; any thread may call.
/// It does not switch the radio.
class WifiDevice {
public:
    virtual ~WifiDevice() = default;

    /// Null while the Wi-Fi ability is away. There is one radio: `instId` is 0.
    [[nodiscard]] static std::shared_ptr<WifiDevice> GetInstance(int systemAbilityId, int instId = 0);

    /// 0, or an error number with `state` untouched.
    [[nodiscard]] virtual int GetWifiDetailState(WifiDetailState& state) = 0;
};

} // namespace OHOS::Wifi

#endif // OHOS_WIFI_WIFI_DEVICE_H
