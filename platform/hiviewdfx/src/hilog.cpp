#include "hilog/log.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "hilog/host_log.h"
#include "hilog/host_text.h"
#include "log_format.h"
#include "log_hub.h"

namespace {
// What is written instead of a level that is none.
LogLevel Clamped(LogLevel level)
{
    return std::clamp(level, LOG_DEBUG, LOG_FATAL);
}
} // namespace

int HiLogPrint(LogType, LogLevel level, unsigned int domain, const char* tag, const char* format, ...)
{
    if (!HiLogIsLoggable(domain, tag, level) || format == nullptr) {
        return 0;
    }
    const int error = errno; // callers log first and look at it later
    OHOS::Host::LogHub& hub = OHOS::Host::LogHub::Get();
    if (level < hub.Kept()) {
        hub.TellListener();
        errno = error;
        return 0;
    }
    OHOS::Host::LogText text;
    va_list arguments;
    va_start(arguments, format);
    OHOS::Host::FormatLogText(text, format, arguments);
    va_end(arguments);
    hub.Add(Clamped(level), domain, tag == nullptr ? "" : tag, text.View());
    errno = error;
    return static_cast<int>(text.View().size());
}

namespace OHOS::Host {

namespace {
struct LevelText {
    LogLevel level;
    char letter;
    const char* text;
};
constexpr LevelText LEVELS[] = {
    {LOG_DEBUG, 'D', "debug"},
    {LOG_INFO, 'I', "info"},
    {LOG_WARN, 'W', "warn"},
    {LOG_ERROR, 'E', "error"},
    {LOG_FATAL, 'F', "fatal"},
};
static_assert(std::size(LEVELS) == LOG_FATAL - LOG_DEBUG + 1, "a row for each level");

const LevelText& LevelRow(LogLevel level)
{
    return LEVELS[Clamped(level) - LOG_DEBUG];
}

int64_t SystemClockMs()
{
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now); // cannot fail with this clock
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

std::atomic<WallClock> g_wallClock{SystemClockMs};
} // namespace

void SetWallClock(WallClock clock)
{
    g_wallClock.store(clock == nullptr ? SystemClockMs : clock, std::memory_order_release);
}

int64_t WallClockMs()
{
    return g_wallClock.load(std::memory_order_acquire)();
}

void SetLogLevel(LogLevel level)
{
    LogHub::Get().Keep(Clamped(level));
}

LogLevel GetLogLevel()
{
    return LogHub::Get().Kept();
}

const char* LogLevelText(LogLevel level)
{
    return LevelRow(level).text;
}

std::optional<LogLevel> LogLevelFromText(std::string_view text)
{
    for (const LevelText& row : LEVELS) {
        if (text == row.text) {
            return row.level;
        }
    }
    return std::nullopt;
}

void SetLogToStderr(bool on)
{
    LogHub::Get().UseStderr(on);
}

bool SetLogFile(const std::string& path)
{
    return LogHub::Get().UseFile(path);
}

void SetLogListener(LogListener listener)
{
    LogHub::Get().Follow(listener);
}

std::vector<LogLine> ReadLog(uint64_t after, size_t limit)
{
    return LogHub::Get().Read(after, limit);
}

uint64_t LastLogSeq()
{
    return LogHub::Get().LastSeq();
}

LogCounts CountLog()
{
    return LogHub::Get().Counts();
}

void ClearLog()
{
    LogHub::Get().Clear();
}

std::string FormatLogLine(const LogLine& line)
{
    const time_t seconds = static_cast<time_t>(line.timeMs / 1000);
    tm utc{};
    (void)gmtime_r(&seconds, &utc); // a year that does not fit leaves zeros
    char head[96];
    const int size = std::snprintf(head, sizeof(head), "%04d-%02d-%02d %02d:%02d:%02d.%03d %5d %5d %c %05x/",
        utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
        static_cast<int>(line.timeMs % 1000), line.pid, line.tid, LevelRow(line.level).letter, line.domain);
    std::string out(head, static_cast<size_t>(size));
    AppendEscaped(out, line.tag, EscapeStyle::TERMINAL);
    out += ": ";
    const size_t end = line.text.find_last_not_of('\n') + 1; // a format may bring its own end of line
    AppendEscaped(out, std::string_view(line.text).substr(0, end), EscapeStyle::TERMINAL);
    return out;
}

} // namespace OHOS::Host
