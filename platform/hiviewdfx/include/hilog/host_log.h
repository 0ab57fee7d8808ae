#ifndef PLATFORM_HIVIEWDFX_HILOG_HOST_LOG_H
#define PLATFORM_HIVIEWDFX_HILOG_HOST_LOG_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hilog/log.h"

// What the host does with log lines: the last ones stay in memory, in a ring that tests and `pelago log` read, and go
// to standard error and a file when asked. Any thread, before main and after it. A child after fork has the ring as it
// was. Texts from arguments are escaped when the line is made, so every reader may print a line as it is.
namespace OHOS::Host {

inline constexpr size_t LOG_RING_LINES = 4096;
inline constexpr size_t LOG_LINE_BYTES = 3900; // of a text: the whole line goes into a pipe at once
inline constexpr size_t LOG_TAG_BYTES = 64;

struct LogLine {
    uint64_t seq = 0;   // from 1, without gaps
    int64_t timeMs = 0; // since the epoch, by the wall clock below
    int32_t pid = 0;
    int32_t tid = 0;
    LogLevel level = LOG_INFO;
    uint32_t domain = 0;
    std::string tag;
    std::string text;
};

// The wall clock of the log and of system events, in milliseconds since the epoch. Null brings the system's clock back.
using WallClock = int64_t (*)();
void SetWallClock(WallClock clock);
[[nodiscard]] int64_t WallClockMs();

// Lines below the level are not kept. LOG_INFO at start.
void SetLogLevel(LogLevel level);
[[nodiscard]] LogLevel GetLogLevel();
// "debug", "info", "warn", "error", "fatal".
[[nodiscard]] const char* LogLevelText(LogLevel level);
[[nodiscard]] std::optional<LogLevel> LogLevelFromText(std::string_view text);

// Off at start. A reader who does not read loses lines, which are counted, but never stops the process.
void SetLogToStderr(bool on);
// Appends to the file, making it; an empty path ends that. False, with the former file kept, if it cannot be opened.
[[nodiscard]] bool SetLogFile(const std::string& path);

// The lines that are still in the ring and whose number is above `after`, oldest first, at most `limit`. A first number
// above `after` + 1 says that lines in between were overwritten.
[[nodiscard]] std::vector<LogLine> ReadLog(uint64_t after, size_t limit = LOG_RING_LINES);
// The number of the newest line, 0 before the first.
[[nodiscard]] uint64_t LastLogSeq();

// Called behind each line from LOG_INFO on, or from the level if that is lower, on its thread, with no lock of the log
// held: for who follows the log, also where the level keeps little of it. It must not log. Null ends that; a call that
// is under way goes on.
using LogListener = void (*)();
void SetLogListener(LogListener listener);

struct LogCounts {
    std::array<uint64_t, LOG_FATAL + 1> lines{}; // made since the start or the last ClearLog, by level
    uint64_t lostBySinks = 0;                    // not taken by standard error or the file
};
[[nodiscard]] LogCounts CountLog();

// Empties the ring and the counts. Numbers go on.
void ClearLog();

// The line as the sinks print it, without an end of line: "2024-11-22 22:13:05.123  pid  tid I domain/tag: text", in
// UTC.
[[nodiscard]] std::string FormatLogLine(const LogLine& line);

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_HILOG_HOST_LOG_H
