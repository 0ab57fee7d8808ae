#ifndef PLATFORM_CONTROL_SIM_COMMANDS_H
#define PLATFORM_CONTROL_SIM_COMMANDS_H

#include <cstdint>
#include <optional>
#include <string>

#include "host/device.h"
#include "host/device_control.h"
#include "host/json_text.h"

namespace OHOS::Host {

// Adds what the device model itself offers: "sim" with everything that hardware and people decide, "log", "events", and
// the section "device".
void AddSimCommands(DeviceControl& control);

// Everything of the device model, as "sim show" and the section "device" print it.
std::string DeviceJson();

// What follows is for the sources of the commands alone.

Device& Model();

// The whole word as a number; nothing when it is none or does not fit.
std::optional<int64_t> Number(const std::string& text);
std::optional<int32_t> Id(const std::string& text);

ControlAnswer NotANumber(const std::string& text);
ControlAnswer NoSuch(const std::string& what, const std::string& which);
ControlAnswer SettingsFailed();

// The commands, by room. Each gets the words behind its own, of which there are as many as its row says.
namespace Sim {
ControlAnswer Wifi(const Words& words);
ControlAnswer WifiRestart(const Words& words);
ControlAnswer WifiFail(const Words& words);
ControlAnswer Bluetooth(const Words& words);
ControlAnswer BluetoothRestart(const Words& words);
ControlAnswer BluetoothFail(const Words& words);
ControlAnswer Airplane(const Words& words);
ControlAnswer Slow(const Words& words);

ControlAnswer UserAdd(const Words& words);
ControlAnswer UserSwitch(const Words& words);
ControlAnswer UserUnlock(const Words& words);
ControlAnswer UserLock(const Words& words);
ControlAnswer UserRemove(const Words& words);

ControlAnswer SettingGet(const Words& words);
ControlAnswer SettingPut(const Words& words);
ControlAnswer SettingList(const Words& words);
ControlAnswer OobeFinish(const Words& words);
ControlAnswer OobeOta(const Words& words);
ControlAnswer OobeReset(const Words& words);
ControlAnswer OobeCollaboration(const Words& words);
ControlAnswer GestureSwitch(const Words& words);

ControlAnswer Focus(const Words& words);
ControlAnswer Foreground(const Words& words);
ControlAnswer Window(const Words& words);
} // namespace Sim

// Applications as JSON: bundle, pid, uid.
Json ApplicationsJson(const std::vector<Application>& applications);

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_SIM_COMMANDS_H
