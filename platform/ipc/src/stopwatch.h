#ifndef PLATFORM_IPC_STOPWATCH_H
#define PLATFORM_IPC_STOPWATCH_H

#include <atomic>
#include <chrono>
#include <cstdint>

namespace OHOS::Ipc {

using Clock = std::chrono::steady_clock;

// Since when something is unfinished. Started and stopped by who works on it; any thread may look.
class Stopwatch {
public:
    // Goes on when it runs already.
    void Start()
    {
        int64_t stopped = 0;
        since_.compare_exchange_strong(stopped, Clock::now().time_since_epoch().count());
    }
    void Stop()
    {
        since_.store(0, std::memory_order_relaxed);
    }
    [[nodiscard]] bool IsRunning() const
    {
        return since_.load(std::memory_order_relaxed) != 0;
    }
    // Whether it has been running since before `limit`.
    [[nodiscard]] bool IsBefore(Clock::time_point limit) const
    {
        const int64_t since = since_.load(std::memory_order_relaxed);
        return since != 0 && since <= limit.time_since_epoch().count();
    }

private:
    std::atomic<int64_t> since_{0}; // 0: does not run
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_STOPWATCH_H
