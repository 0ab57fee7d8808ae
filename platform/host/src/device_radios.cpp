#include "host/device.h"
#include "host/faults.h"

namespace OHOS::Host {

namespace {

/// On its way to a mode a radio is in one state, and after some time in another.
struct WifiRoad {
    WifiState during;
    std::chrono::milliseconds RadioTimings::*time;
    WifiState after;
};

constexpr WifiRoad WifiRoadTo(WifiMode mode)
{
    switch (mode) {
        case WifiMode::OFF:
            return {WifiState::DEACTIVATING, &RadioTimings::wifiOff, WifiState::INACTIVE};
        case WifiMode::SEMI:
            return {WifiState::SEMI_ACTIVATING, &RadioTimings::wifiSemi, WifiState::SEMI_ACTIVE};
        case WifiMode::ON:
            return {WifiState::ACTIVATING, &RadioTimings::wifiOn, WifiState::ACTIVE};
    }
    return {};
}

/// A radio says each state once, as it enters it.
DeviceEvent EventOf(const char* action, int32_t code)
{
    return {action, code, "", PublisherUid::WIFI, ""};
}

DeviceEvent EventOf(WifiState state)
{
    switch (state) {
        case WifiState::INACTIVE:
            return EventOf(EventName::WIFI_POWER_STATE, WifiPowerCode::DISABLED);
        case WifiState::ACTIVE:
            return EventOf(EventName::WIFI_POWER_STATE, WifiPowerCode::ENABLED);
        case WifiState::ACTIVATING:
            return EventOf(EventName::WIFI_POWER_STATE, WifiPowerCode::ENABLING);
        case WifiState::DEACTIVATING:
            return EventOf(EventName::WIFI_POWER_STATE, WifiPowerCode::DISABLING);
        case WifiState::SEMI_ACTIVATING:
            return EventOf(EventName::WIFI_SEMI_STATE, WifiSemiCode::ACTIVATING);
        case WifiState::SEMI_ACTIVE:
            return EventOf(EventName::WIFI_SEMI_STATE, WifiSemiCode::ACTIVE);
    }
    return {};
}

struct BluetoothRoad {
    std::chrono::milliseconds RadioTimings::*time;
    BluetoothState after;
    bool bleAfter;
};

constexpr BluetoothRoad BluetoothRoadTo(BluetoothMode mode)
{
    switch (mode) {
        case BluetoothMode::OFF:
            return {&RadioTimings::bluetoothOff, BluetoothState::OFF, false};
        case BluetoothMode::BLE_ONLY:
            return {&RadioTimings::bleOn, BluetoothState::OFF, true};
        case BluetoothMode::ON:
            return {&RadioTimings::bluetoothOn, BluetoothState::ON, true};
    }
    return {};
}

} // namespace

RadioStates Device::Radios() const
{
    const std::lock_guard lock(mutex_);
    return state_.radios;
}

void Device::SetRadioTimings(const RadioTimings& timings)
{
    const std::lock_guard lock(mutex_);
    state_.timings = timings;
}

void Device::SwitchWifi(WifiMode mode)
{
    const std::lock_guard lock(mutex_);
    if (wifiGoal_ != mode) {
        StartWifi(mode);
    }
}

void Device::RaiseWifi(WifiMode mode)
{
    const std::lock_guard lock(mutex_);
    if (!wifiGoal_.has_value() || *wifiGoal_ < mode) {
        StartWifi(mode);
    }
}

void Device::StartWifi(WifiMode mode)
{
    const WifiRoad road = WifiRoadTo(mode);
    const uint64_t attempt = ++wifiAttempt_;
    SetWifiState(road.during);
    if (Faults::Take("wifi.arrive")) {
        wifiGoal_.reset(); // so that the next request tries again
        return;
    }
    wifiGoal_ = mode;
    Post([this, attempt, road] { ArriveWifi(attempt, road.after); }, state_.timings.*road.time);
}

void Device::ArriveWifi(uint64_t attempt, WifiState state)
{
    const std::lock_guard lock(mutex_);
    if (attempt == wifiAttempt_) {
        SetWifiState(state);
    }
}

void Device::SetWifiState(WifiState state)
{
    state_.radios.wifi = state;
    if (state_.abilities.count(AbilityId::WIFI) != 0) {
        PostEvent(EventOf(state));
    }
}

void Device::SwitchBluetooth(BluetoothMode mode)
{
    const std::lock_guard lock(mutex_);
    if (bluetoothGoal_ != mode) {
        StartBluetooth(mode);
    }
}

void Device::RaiseBluetooth(BluetoothMode mode)
{
    const std::lock_guard lock(mutex_);
    if (!bluetoothGoal_.has_value() || *bluetoothGoal_ < mode) {
        StartBluetooth(mode);
    }
}

void Device::StartBluetooth(BluetoothMode mode)
{
    const BluetoothRoad road = BluetoothRoadTo(mode);
    const uint64_t attempt = ++bluetoothAttempt_;
    // Only classic Bluetooth has states on the way; BLE is up or it is not.
    if (road.after == BluetoothState::ON) {
        SetBluetoothState(BluetoothState::TURNING_ON);
    } else if (state_.radios.bluetooth != BluetoothState::OFF) {
        SetBluetoothState(BluetoothState::TURNING_OFF);
    }
    if (Faults::Take("bluetooth.arrive")) {
        bluetoothGoal_.reset(); // so that the next request tries again
        return;
    }
    bluetoothGoal_ = mode;
    Post([this, attempt, road] { ArriveBluetooth(attempt, road.after, road.bleAfter); }, state_.timings.*road.time);
}

void Device::ArriveBluetooth(uint64_t attempt, BluetoothState state, bool ble)
{
    const std::lock_guard lock(mutex_);
    if (attempt == bluetoothAttempt_) {
        state_.radios.ble = ble; // before the event, which makes its readers look
        SetBluetoothState(state);
    }
}

void Device::SetBluetoothState(BluetoothState state)
{
    state_.radios.bluetooth = state;
    if (state_.abilities.count(AbilityId::BLUETOOTH) != 0) {
        PostEvent({EventName::BLUETOOTH_HOST_STATE_UPDATE, static_cast<int32_t>(state), "", PublisherUid::BLUETOOTH,
            PERMISSION_ACCESS_BLUETOOTH});
    }
}

} // namespace OHOS::Host
