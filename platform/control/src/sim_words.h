#ifndef PLATFORM_CONTROL_SIM_WORDS_H
#define PLATFORM_CONTROL_SIM_WORDS_H

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>

#include "host/device.h"

// The words by which people and the device's memory name what the model knows as values. Constants; any thread.
namespace OHOS::Host {

// One word out of a few, and what it stands for.
template <typename Value>
struct Choice {
    const char* word;
    Value value;
};

template <typename Value, size_t count>
std::optional<Value> Choose(const std::array<Choice<Value>, count>& choices, const std::string& word)
{
    auto found = std::find_if(
        choices.begin(), choices.end(), [&word](const Choice<Value>& choice) { return word == choice.word; });
    return found == choices.end() ? std::nullopt : std::optional<Value>(found->value);
}

template <typename Value, size_t count>
const char* WordOf(const std::array<Choice<Value>, count>& choices, Value value)
{
    auto found = std::find_if(
        choices.begin(), choices.end(), [value](const Choice<Value>& choice) { return value == choice.value; });
    return found == choices.end() ? "" : found->word;
}

inline constexpr std::array<Choice<bool>, 2> ON_OFF{{{"off", false}, {"on", true}}};
inline constexpr std::array<Choice<WifiMode>, 3> WIFI_MODES{
    {{"off", WifiMode::OFF}, {"semi", WifiMode::SEMI}, {"on", WifiMode::ON}}};
inline constexpr std::array<Choice<BluetoothMode>, 3> BLUETOOTH_MODES{
    {{"off", BluetoothMode::OFF}, {"ble", BluetoothMode::BLE_ONLY}, {"on", BluetoothMode::ON}}};

// The steps of the radios, each with the time that it takes.
inline constexpr std::array<Choice<std::chrono::milliseconds RadioTimings::*>, 7> RADIO_STEPS{{
    {"wifi-on", &RadioTimings::wifiOn},
    {"wifi-semi", &RadioTimings::wifiSemi},
    {"wifi-off", &RadioTimings::wifiOff},
    {"bluetooth-on", &RadioTimings::bluetoothOn},
    {"ble-on", &RadioTimings::bleOn},
    {"bluetooth-off", &RadioTimings::bluetoothOff},
    {"away", &RadioTimings::away},
}};

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_SIM_WORDS_H
