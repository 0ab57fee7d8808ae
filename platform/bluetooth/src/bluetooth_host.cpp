#include "bluetooth_host.h"

#include "host/device.h"
#include "host/faults.h"

namespace OHOS::Bluetooth {

namespace {

bool Unavailable(const char* call)
{
    return Host::Faults::Take(call) || !Host::Device::Instance().IsAbilityPresent(Host::AbilityId::BLUETOOTH);
}

/// Whether a request of a service to switch the radio on is turned down.
bool Refused(const char* call)
{
    return Unavailable(call) || Host::Device::Instance().IsAirplane();
}

} // namespace

BluetoothHost& BluetoothHost::GetDefaultHost()
{
    static BluetoothHost host;
    return host;
}

int BluetoothHost::GetBtState() const
{
    if (Unavailable("bluetooth.GetBtState")) {
        return STATE_TURN_OFF;
    }
    return static_cast<int>(Host::Device::Instance().Radios().bluetooth); // the numbers are the same
}

bool BluetoothHost::IsBleEnabled() const
{
    return !Unavailable("bluetooth.IsBleEnabled") && Host::Device::Instance().Radios().ble;
}

int BluetoothHost::EnableBle()
{
    if (Refused("bluetooth.EnableBle")) {
        return BT_ERR_INTERNAL_ERROR;
    }
    Host::Device::Instance().RaiseBluetooth(Host::BluetoothMode::BLE_ONLY);
    return BT_NO_ERROR;
}

int BluetoothHost::EnableBluetoothToRestrictMode()
{
    if (Refused("bluetooth.EnableBluetoothToRestrictMode")) {
        return BT_ERR_INTERNAL_ERROR;
    }
    Host::Device::Instance().SwitchBluetooth(Host::BluetoothMode::BLE_ONLY);
    return BT_NO_ERROR;
}

} // namespace OHOS::Bluetooth
