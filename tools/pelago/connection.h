#ifndef PELAGO_TOOLS_CONNECTION_H
#define PELAGO_TOOLS_CONNECTION_H

#include <functional>
#include <optional>
#include <string>

#include "device_paths.h"
#include "exit_codes.h"
#include "host/control_interface.h"
#include "i_trellis_service.h"
#include "if_system_ability_manager.h"

namespace OHOS::Pelago::Tools {

// What every verb is told.
struct Context {
    std::string device; // --device or $PELAGO_DEVICE; empty: the one that runs
    bool json = false;
};

// Which device is meant. With one running it is that; with several and no name it complains and lists them: it never
// guesses. EXIT_DONE when `paths` is set.
[[nodiscard]] ExitCode FindDevice(const Context& context, std::optional<DevicePaths>& paths);

// A way to the service of one device, as one class of caller.
struct Connection {
    sptr<ISystemAbilityManager> samgr;
    sptr<ITrellisService> service;

    // Complains and gives an exit code when the service cannot be reached through this token's socket.
    [[nodiscard]] static ExitCode Open(const DevicePaths& paths, const std::string& token, Connection& connection);
    // The same for the device that is meant.
    [[nodiscard]] static ExitCode Open(const Context& context, const std::string& token, Connection& connection);
};

// Calls `gone` when the process behind the object goes, once, on an IPC thread. False when it has gone already.
[[nodiscard]] bool CallWhenGone(const sptr<IRemoteObject>& object, std::function<void()> gone);

// Says that the device went while it was in use.
[[nodiscard]] ExitCode DeviceHasGone();

// The control of the device that is meant, which its service is not needed for. Complains when it cannot be reached.
[[nodiscard]] ExitCode OpenControl(const Context& context, sptr<IRemoteObject>& control);

// Runs a control command on the device and complains when it fails.
[[nodiscard]] ExitCode Control(
    const Context& context, const std::vector<std::string>& words, Host::ControlAnswer& answer);

// Runs it and prints what it found; with --json also that it found nothing.
[[nodiscard]] ExitCode RunControl(const Context& context, const std::vector<std::string>& words);

// Complains about the last call of a service proxy if it failed on its way, and says with which code to end;
// EXIT_FAILED when it was the service that said no.
[[nodiscard]] ExitCode ExplainFailure(const std::string& what);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_CONNECTION_H
