#ifndef OHOS_BLUETOOTH_BLUETOOTH_HOST_H
#define OHOS_BLUETOOTH_BLUETOOTH_HOST_H

namespace OHOS::Bluetooth {

inline constexpr int BT_NO_ERROR = 0;
inline constexpr int BT_ERR_INTERNAL_ERROR = 2900099;

enum BTStateID {
    STATE_TURNING_ON = 0,
    STATE_TURN_ON = 1,
    STATE_TURNING_OFF = 2,
    STATE_TURN_OFF = 3,
};

/// The Bluetooth radio: classic and BLE. One stateless object per process; any thread may call.
/// Requests are taken at once (0) and answered later, by the common event of the host's state. Devices and profiles are
/// not its matter.
class BluetoothHost {
public:
    static BluetoothHost& GetDefaultHost();

    BluetoothHost(const BluetoothHost&) = delete;
    BluetoothHost& operator=(const BluetoothHost&) = delete;

    /// The state of classic Bluetooth, a BTStateID; off while the Bluetooth ability is away.
    [[nodiscard]] int GetBtState() const;
    /// Whether BLE works, with classic Bluetooth or without.
    [[nodiscard]] bool IsBleEnabled() const;
    /// Starts to bring BLE up. 0, or an error number.
    [[nodiscard]] int EnableBle();
    /// Starts to bring BLE up with classic Bluetooth off. 0, or an error number.
    [[nodiscard]] int EnableBluetoothToRestrictMode();

private:
    BluetoothHost() = default;
    ~BluetoothHost() = default;
};

} // namespace OHOS::Bluetooth

#endif // OHOS_BLUETOOTH_BLUETOOTH_HOST_H
