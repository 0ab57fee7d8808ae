#ifndef PLATFORM_HIVIEWDFX_LOG_HUB_H
#define PLATFORM_HIVIEWDFX_LOG_HUB_H

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "hilog/host_log.h"
#include "line_sink.h"

namespace OHOS::Host {

struct ThreadIds {
    int32_t pid = 0;
    int32_t tid = 0;
};
// Of the calling thread, without a system call but on the first call in a thread or after a fork.
ThreadIds CurrentThreadIds();

// The process's log behind its functions: the ring, the counts, the sinks, under one lock, which a fork waits for, so
// that a child can log. Made by the first line and never destroyed. Any thread.
class LogHub {
public:
    static LogHub& Get();

    void Add(LogLevel level, uint32_t domain, std::string_view tag, std::string_view text);
    // Behind each line, also one that is not kept.
    void TellListener() const;
    [[nodiscard]] std::vector<LogLine> Read(uint64_t after, size_t limit);
    [[nodiscard]] uint64_t LastSeq();
    [[nodiscard]] LogCounts Counts();
    void Clear();
    void UseStderr(bool on);
    [[nodiscard]] bool UseFile(const std::string& path);
    void Follow(LogListener listener);
    void Keep(LogLevel level);
    [[nodiscard]] LogLevel Kept() const
    {
        return level_.load(std::memory_order_relaxed);
    }

private:
    LogHub();
    // Where line `seq` stands; the next one after the last makes or takes its place.
    LogLine& Slot(uint64_t seq);
    void Print(const LogLine& line);
    void Store(LogLevel level, uint32_t domain, std::string_view tag, std::string_view text);

    void SetThreshold();

    std::atomic<LogListener> listener_{nullptr};
    std::atomic<LogLevel> level_{LOG_INFO};
    std::mutex mutex_;
    // All below: under mutex_.
    std::vector<LogLine>
        ring_; // line `seq` stands at seq % LOG_RING_LINES; grows to that size, then its memory is reused
    uint64_t lastSeq_ = 0;
    uint64_t oldestSeq_ = 1; // of what may be read
    LogCounts counts_;
    LineSink stderr_;
    LineSink file_;
};

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_LOG_HUB_H
