#ifndef PELAGO_TOOLS_SERVICE_SECTIONS_H
#define PELAGO_TOOLS_SERVICE_SECTIONS_H

#include "host/device_control.h"
#include "host/ipc_transport.h"
#include "local_engine.h"
#include "near_field.h"

namespace OHOS::Pelago::Tools {

// Adds to the control of the device what only a daemon with the service in it knows: the commands "status", "dump" and
// "limits", and the sections "switch", "peers", "gesture" and "tap" of what is watched. Reads the service's state;
// registers with nobody.
void AddServiceSections(Host::DeviceControl& control, const std::shared_ptr<LocalEngine>& engine,
    const NearField& nearField, const Host::IpcServer& server);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_SERVICE_SECTIONS_H
