// Radios, airplane mode, and what goes wrong with them.
#include "host/faults.h"
#include "host/host_settings.h"
#include "sim_commands.h"
#include "sim_words.h"

namespace OHOS::Host::Sim {
namespace {

constexpr const char* AIRPLANE_SETTING = "settings.telephony.airplanemode";

// What a radio does with requests that it does not fulfil.
struct Failure {
    const char* word;
    std::array<const char*, 2> faults; // null: none
};
using Failures = std::array<Failure, 2>;

constexpr Failures WIFI_FAILURES{
    {{"refuse", {"wifi.EnableWifi", "wifi.EnableSemiWifi"}}, {"stuck", {"wifi.arrive", nullptr}}}};
constexpr Failures BLUETOOTH_FAILURES{{{"refuse", {"bluetooth.EnableBle", "bluetooth.EnableBluetoothToRestrictMode"}},
    {"stuck", {"bluetooth.arrive", nullptr}}}};

void Inject(const Failure& failure, int times)
{
    for (const char* fault : failure.faults) {
        if (fault != nullptr) {
            Faults::Inject(fault, times);
        }
    }
}

// "refuse" or "stuck", from now on or so many times; "none": the radio is sound again.
ControlAnswer Fail(const Failures& failures, const Words& words)
{
    const std::string word = words.empty() ? "refuse" : words[0];
    const auto times = words.size() > 1 ? Id(words[1]) : std::optional<int32_t>(Faults::ALWAYS);
    if (!times.has_value() || *times == 0 || *times < Faults::ALWAYS) {
        return Refuse(ControlResult::USAGE, "a radio fails 1 or more times, or -1: from now on");
    }
    if (word == "none") {
        std::for_each(failures.begin(), failures.end(), [](const Failure& failure) { Inject(failure, 0); });
        return Done();
    }
    const auto* failure = std::find_if(
        failures.begin(), failures.end(), [&word](const Failure& candidate) { return word == candidate.word; });
    if (failure == failures.end()) {
        return Refuse(ControlResult::USAGE, "a radio can refuse, be stuck on its way, or fail none");
    }
    Inject(*failure, *times);
    return Done();
}

// "away": it does not come back by itself.
ControlAnswer Restart(const Words& words, const char* radio, const std::function<bool(RestartEnd)>& restart)
{
    if (!words.empty() && words[0] != "away") {
        return Refuse(ControlResult::USAGE, "a radio that restarts comes back, or stays: away");
    }
    const RestartEnd end = words.empty() ? RestartEnd::COMES_BACK : RestartEnd::STAYS_AWAY;
    return restart(end) ? Done()
                        : Refuse(ControlResult::FAILED,
                              std::string(radio) + " is off, stuck or away: switch it on first, pelago sim show");
}

} // namespace

ControlAnswer Wifi(const Words& words)
{
    auto mode = Choose(WIFI_MODES, words[0]);
    if (!mode.has_value()) {
        return Refuse(ControlResult::USAGE, "Wi-Fi can be off, semi or on; it can restart and fail");
    }
    Model().SwitchWifi(*mode);
    return Done();
}

ControlAnswer WifiRestart(const Words& words)
{
    return Restart(words, "Wi-Fi", [](RestartEnd end) { return Model().RestartWifi(end); });
}

ControlAnswer WifiFail(const Words& words)
{
    return Fail(WIFI_FAILURES, words);
}

// "restrict" restarts the radio into BLE alone; what is off comes up as that.
ControlAnswer Bluetooth(const Words& words)
{
    if (words[0] == "restrict") {
        if (!Model().RestartBluetooth(RestartEnd::COMES_BACK, BluetoothMode::BLE_ONLY)) {
            Model().SwitchBluetooth(BluetoothMode::BLE_ONLY);
        }
        return Done();
    }
    auto mode = Choose(BLUETOOTH_MODES, words[0]);
    if (!mode.has_value()) {
        return Refuse(ControlResult::USAGE, "Bluetooth can be off, ble, on or restrict; it can restart and fail");
    }
    Model().SwitchBluetooth(*mode);
    return Done();
}

ControlAnswer BluetoothRestart(const Words& words)
{
    return Restart(words, "Bluetooth", [](RestartEnd end) { return Model().RestartBluetooth(end); });
}

ControlAnswer BluetoothFail(const Words& words)
{
    return Fail(BLUETOOTH_FAILURES, words);
}

ControlAnswer Airplane(const Words& words)
{
    auto on = Choose(ON_OFF, words[0]);
    if (!on.has_value()) {
        return Refuse(ControlResult::USAGE, "airplane mode can be on or off");
    }
    if (!HostSettings::Put(AIRPLANE_SETTING, *on ? "1" : "0")) {
        return SettingsFailed();
    }
    Model().SetAirplane(*on);
    return Done();
}

ControlAnswer Slow(const Words& words)
{
    auto ms = Number(words[1]);
    if (!ms.has_value() || *ms < 0 || *ms > DeviceControl::MAX_RADIO_STEP_MS) {
        return Refuse(ControlResult::USAGE,
            "a step takes 0 to " + std::to_string(DeviceControl::MAX_RADIO_STEP_MS) + " milliseconds");
    }
    RadioTimings timings = Model().Snapshot().timings;
    bool found = false;
    for (const auto& [step, time] : RADIO_STEPS) {
        if (words[0] == "all" || words[0] == step) {
            timings.*time = std::chrono::milliseconds(*ms);
            found = true;
        }
    }
    if (!found) {
        std::string steps = "all";
        for (const auto& [step, time] : RADIO_STEPS) {
            steps += std::string(", ") + step;
        }
        return Refuse(ControlResult::USAGE, "the steps are: " + steps);
    }
    Model().SetRadioTimings(timings);
    return Done();
}

} // namespace OHOS::Host::Sim
