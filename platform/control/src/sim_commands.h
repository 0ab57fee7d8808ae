#ifndef PLATFORM_CONTROL_SIM_COMMANDS_H
#define PLATFORM_CONTROL_SIM_COMMANDS_H

#include "host/device_control.h"

namespace OHOS::Host {

// Adds what the device model itself offers: "sim" with everything that hardware and people decide, "log", "events", and
// the section "device".
void AddSimCommands(DeviceControl& control);

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_SIM_COMMANDS_H
