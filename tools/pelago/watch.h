#ifndef PELAGO_TOOLS_WATCH_H
#define PELAGO_TOOLS_WATCH_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include <cJSON.h>

#include "connection.h"

namespace OHOS::Pelago::Tools {

// What comes from a device while it is observed, in order. Filled on IPC threads, taken by the verb.
class WatchQueue : public Host::ControlWatcherStub {
public:
    // What waits beyond this is dropped, and said.
    static constexpr size_t MAX_WAITING = 1024;

    void OnChanged(const std::string& json) override;
    // Says that nothing more will come.
    void Close();
    // The next message; nothing after the end or when `untilMs` of NowMs() has passed. -1 waits for ever.
    std::optional<std::string> Take(int64_t untilMs);
    // How many were dropped since the last look.
    size_t TakeDropped();

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::string> waiting_;
    size_t dropped_ = 0;
    bool closed_ = false;
};

// What is observed: the device's control, and what comes from it.
struct Observation {
    sptr<Host::IDeviceControl> control;
    sptr<WatchQueue> queue;
};

// Begins to observe; the first messages are the state as it is.
[[nodiscard]] ExitCode StartWatching(const Context& context, Observation& observation);

// Observes until `wanted` says so of a section's state, and prints that state with --json. EXIT_TIMED_OUT, the one end
// that it does not complain of, when the time is over.
[[nodiscard]] ExitCode WaitForState(const Context& context, const std::string& section,
    const std::function<bool(const cJSON* state)>& wanted, int seconds);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_WATCH_H
