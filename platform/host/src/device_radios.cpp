#include <utility>

#include "host/device.h"
#include "host/faults.h"

namespace OHOS::Host {

namespace {

DeviceEvent BluetoothEvent(const char* action, int32_t code)
{
    return {action, code, "", PublisherUid::BLUETOOTH, PERMISSION_ACCESS_BLUETOOTH};
}

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

RadioStates StatesOf(WifiMode wifi, BluetoothMode bluetooth)
{
    const BluetoothRoad road = BluetoothRoadTo(bluetooth);
    return {WifiRoadTo(wifi).after, road.after, road.bleAfter};
}

RadioStates Device::Radios() const
{
    const std::lock_guard lock(mutex_);
    return state_.radios;
}

void Device::SetRadioTimings(const RadioTimings& timings)
{
    const std::lock_guard lock(mutex_);
    state_.timings = timings;
    Changed();
}

// ---- Wi-Fi

void Device::SwitchWifi(WifiMode mode)
{
    const std::lock_guard lock(mutex_);
    if (wifi_.goal != mode) {
        StartWifi(mode);
    }
}

void Device::RaiseWifi(WifiMode mode)
{
    const std::lock_guard lock(mutex_);
    if (!wifi_.goal.has_value() || *wifi_.goal < mode) {
        StartWifi(mode);
    }
}

bool Device::RestartWifi(RestartEnd end)
{
    const std::lock_guard lock(mutex_);
    const WifiMode was = wifi_.goal.value_or(WifiMode::OFF);
    if (was == WifiMode::OFF) {
        return false;
    }
    PostRadioEvent(AbilityId::WIFI, EventOf(EventName::WIFI_SEMI_STATE, WifiSemiCode::RESTARTING));
    StartWifi(WifiMode::OFF);
    wifi_.Restart(end, was);
    return true;
}

void Device::StartWifi(WifiMode mode)
{
    const WifiRoad road = WifiRoadTo(mode);
    const uint64_t attempt = ++wifi_.attempt;
    if (state_.radios.wifi == WifiState::SEMI_ACTIVE) {
        PostRadioEvent(AbilityId::WIFI, EventOf(EventName::WIFI_SEMI_STATE, WifiSemiCode::INACTIVE));
    }
    SetWifiState(road.during);
    wifi_.comesBackAs.reset();
    if (Faults::Take("wifi.arrive")) {
        wifi_.goal.reset(); // so that the next request tries again
        return;
    }
    wifi_.goal = mode;
    Post([this, attempt, road] { ArriveWifi(attempt, road.after); }, state_.timings.*road.time);
}

void Device::ArriveWifi(uint64_t attempt, WifiState state)
{
    const std::lock_guard lock(mutex_);
    if (attempt != wifi_.attempt) {
        return;
    }
    SetWifiState(state);
    if (wifi_.comesBackAs.has_value()) {
        Post([this, attempt] { ComeBackWifi(attempt); }, state_.timings.away);
    }
}

void Device::ComeBackWifi(uint64_t attempt)
{
    const std::lock_guard lock(mutex_);
    if (attempt == wifi_.attempt) {
        StartWifi(*wifi_.comesBackAs);
    }
}

void Device::SetWifiState(WifiState state)
{
    state_.radios.wifi = state;
    PostRadioEvent(AbilityId::WIFI, EventOf(state));
    Changed();
}

void Device::PostRadioEvent(int32_t ability, DeviceEvent event)
{
    if (state_.abilities.count(ability) != 0) {
        PostEvent(std::move(event));
    }
}

// ---- Bluetooth

void Device::SwitchBluetooth(BluetoothMode mode)
{
    const std::lock_guard lock(mutex_);
    if (bluetooth_.goal != mode) {
        StartBluetooth(mode);
    }
}

void Device::RaiseBluetooth(BluetoothMode mode)
{
    const std::lock_guard lock(mutex_);
    if (!bluetooth_.goal.has_value() || *bluetooth_.goal < mode) {
        StartBluetooth(mode);
    }
}

bool Device::RestartBluetooth(RestartEnd end, std::optional<BluetoothMode> after)
{
    const std::lock_guard lock(mutex_);
    const BluetoothMode was = bluetooth_.goal.value_or(BluetoothMode::OFF);
    if (was == BluetoothMode::OFF) {
        return false;
    }
    PostRadioEvent(
        AbilityId::BLUETOOTH, BluetoothEvent(EventName::BLUETOOTH_RESTRICT, BluetoothRestrictCode::RESTARTING));
    StartBluetooth(BluetoothMode::OFF);
    bluetooth_.Restart(end, after.value_or(was));
    return true;
}

void Device::StartBluetooth(BluetoothMode mode)
{
    const BluetoothRoad road = BluetoothRoadTo(mode);
    const uint64_t attempt = ++bluetooth_.attempt;
    // Only classic Bluetooth has states on the way; BLE is up or it is not.
    if (road.after == BluetoothState::ON) {
        SetBluetoothState(BluetoothState::TURNING_ON);
    } else if (state_.radios.bluetooth != BluetoothState::OFF) {
        SetBluetoothState(BluetoothState::TURNING_OFF);
    }
    Changed();
    bluetooth_.comesBackAs.reset();
    if (Faults::Take("bluetooth.arrive")) {
        bluetooth_.goal.reset(); // so that the next request tries again
        return;
    }
    bluetooth_.goal = mode;
    Post([this, attempt, road] { ArriveBluetooth(attempt, road.after, road.bleAfter); }, state_.timings.*road.time);
}

void Device::ArriveBluetooth(uint64_t attempt, BluetoothState state, bool ble)
{
    const std::lock_guard lock(mutex_);
    if (attempt != bluetooth_.attempt) {
        return;
    }
    state_.radios.ble = ble; // before the event, which makes its readers look
    SetBluetoothState(state);
    if (bluetooth_.comesBackAs.has_value()) {
        Post([this, attempt] { ComeBackBluetooth(attempt); }, state_.timings.away);
    }
}

void Device::ComeBackBluetooth(uint64_t attempt)
{
    const std::lock_guard lock(mutex_);
    if (attempt == bluetooth_.attempt) {
        StartBluetooth(*bluetooth_.comesBackAs);
    }
}

void Device::SetBluetoothState(BluetoothState state)
{
    state_.radios.bluetooth = state;
    PostRadioEvent(
        AbilityId::BLUETOOTH, BluetoothEvent(EventName::BLUETOOTH_HOST_STATE_UPDATE, static_cast<int32_t>(state)));
    Changed();
}

// ---- Airplane mode

void Device::SetAirplane(bool on)
{
    const std::lock_guard lock(mutex_);
    if (std::exchange(state_.airplane, on) == on) {
        return;
    }
    WifiMode wifi = state_.wifiAfterAirplane;
    BluetoothMode bluetooth = state_.bluetoothAfterAirplane;
    if (on) {
        state_.wifiAfterAirplane = wifi_.Remembered();
        state_.bluetoothAfterAirplane = bluetooth_.Remembered();
        wifi = WifiMode::OFF;
        bluetooth = BluetoothMode::OFF;
    }
    if (wifi_.goal != wifi) {
        StartWifi(wifi);
    }
    if (bluetooth_.goal != bluetooth) {
        StartBluetooth(bluetooth);
    }
    Changed();
}

bool Device::IsAirplane() const
{
    const std::lock_guard lock(mutex_);
    return state_.airplane;
}

} // namespace OHOS::Host
