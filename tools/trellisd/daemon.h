#ifndef PELAGO_TOOLS_DAEMON_H
#define PELAGO_TOOLS_DAEMON_H

#include <memory>
#include <string>

#include "device_paths.h"
#include "host/device_control.h"
#include "host/ipc_transport.h"
#include "local_engine.h"
#include "near_field.h"

namespace OHOS::Pelago::Tools {

struct DaemonOptions {
    DeviceCard card;      // what is empty is taken from the folder, or made
    std::string logLevel; // "debug" ... "fatal"
    std::string logFile;  // empty: none
    bool logToStderr = false;
    bool takesBytes = true; // a device that does not refuses sends of bytes, and says so before
};

// One device: its folders, its model, the engine, the service and the sockets. Owned by main, used by one thread.
class Daemon {
public:
    static constexpr int64_t SHUTDOWN_LIMIT_MS = 10'000; // for the threads to end

    explicit Daemon(DaemonOptions options);
    ~Daemon();

    // Brings the device up. The reason when that fails; what was started is then taken down by the destructor. It is
    // ready when this returns.
    [[nodiscard]] std::string Start();
    // Takes it down: sockets first, so that nobody comes in; then the service, what it stands on, and the threads.
    // False when something did not end in time.
    bool Stop();

    const DevicePaths& Paths() const
    {
        return paths_;
    }

private:
    [[nodiscard]] std::string TakeFolder();
    [[nodiscard]] std::string TakeCard();
    [[nodiscard]] std::string ConfigureDevice();
    [[nodiscard]] std::string StartEngine();
    [[nodiscard]] std::string StartNearField();
    [[nodiscard]] std::string StartService();
    [[nodiscard]] std::string ListenForClients();

    DaemonOptions options_;
    const DevicePaths paths_;
    int lock_ = -1;
    std::shared_ptr<LocalEngine> engine_;
    std::unique_ptr<NearField> nearField_;
    sptr<Host::DeviceControl> control_;
    Host::IpcServer server_;
    bool serviceStarted_ = false;
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_DAEMON_H
