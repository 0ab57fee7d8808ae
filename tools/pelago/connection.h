#ifndef PELAGO_TOOLS_CONNECTION_H
#define PELAGO_TOOLS_CONNECTION_H

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

// A way into one device, as one class of caller.
struct Connection {
    sptr<ISystemAbilityManager> samgr;
    sptr<ITrellisService> service;

    // Complains and gives an exit code when the device cannot be reached through this token's socket.
    [[nodiscard]] static ExitCode Open(const DevicePaths& paths, const std::string& token, Connection& connection);
};

// Runs a control command on the device and complains when it fails.
[[nodiscard]] ExitCode Control(
    const Context& context, const std::vector<std::string>& words, Host::ControlAnswer& answer);

// Runs it and prints what it found.
[[nodiscard]] ExitCode RunControl(const Context& context, const std::vector<std::string>& words);

// Complains about the last call of a service proxy if it failed on its way, and says with which code to end;
// EXIT_FAILED when it was the service that said no.
[[nodiscard]] ExitCode ExplainFailure(const std::string& what);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_CONNECTION_H
