#ifndef PLATFORM_CONTROL_DEVICE_MEMORY_H
#define PLATFORM_CONTROL_DEVICE_MEMORY_H

#include <string>

#include "host/device.h"

// The hardware outlives the daemon: what people decided (radios, airplane mode, timings, users, commands) stands in
// hardware.json in the device's folder, so that a daemon that was killed comes up on the device that it left. A device
// without a folder remembers nothing. Any thread may call; a write is whole or not at all.
namespace OHOS::Host {

// Puts the model into the remembered state, silently: before anybody listens. Nothing without a file; one that cannot
// be understood is logged and kept beside, as hardware.json.bad, and the device stays as new.
void RestoreDevice();

// Writes the state down if it is another one than the last that was written. A failure is logged.
void SaveDevice();

// The text of the file, and the way back; nothing for a text that is no device.
std::string MemoryOf(const DeviceSnapshot& device);
std::optional<DeviceSnapshot> DeviceFrom(const std::string& memory);

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_DEVICE_MEMORY_H
