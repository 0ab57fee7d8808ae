#ifndef PELAGO_COMMON_RUNTIME_ENV_H
#define PELAGO_COMMON_RUNTIME_ENV_H

#include <cstdint>
#include <functional>
#include <string>

namespace OHOS::Pelago {

// The only three things that the service lets its host replace. On a device nobody calls Install, and the defaults
// hold: no prefix, the system clock, a plain thread. Owned by the process; Install before the service is started, the
// rest may be called from any thread.
class RuntimeEnv {
public:
    using Clock = int64_t (*)();
    using ThreadStarter = void (*)(const std::string& name, std::function<void()> body);

    struct Hooks {
        std::string rootPrefix;              // stands in front of "/data/service/..."
        Clock wallClockMs = nullptr;         // milliseconds since the epoch
        ThreadStarter startThread = nullptr; // runs the body once, later, on a thread of its own
    };

    static void Install(Hooks hooks);

    // `path` below the host's root.
    static std::string Path(const std::string& path);

    // Milliseconds since the epoch, by the clock of the wall.
    static int64_t WallClockMs();

    // Runs `body` detached. `name` is for people. Throws std::system_error, as std::thread does, when the thread cannot
    // be started: the caller's own road reports that.
    static void StartDetached(const std::string& name, std::function<void()> body);
};

} // namespace OHOS::Pelago

#endif // PELAGO_COMMON_RUNTIME_ENV_H
