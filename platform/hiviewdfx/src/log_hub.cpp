#include "log_hub.h"

#include <algorithm>
#include <atomic>
#include <pthread.h>
#include <unistd.h>

namespace OHOS::Host {

namespace {
// A text above this gives its slot's memory back when the slot is used again, so that a burst of long lines is no debt.
constexpr size_t ORDINARY_TEXT = 512;

std::atomic<uint32_t> g_forks{1};
} // namespace

ThreadIds CurrentThreadIds()
{
    thread_local ThreadIds ids;
    thread_local uint32_t knownForks = 0;
    const uint32_t forks = g_forks.load(std::memory_order_relaxed);
    if (knownForks != forks) {
        (void)LogHub::Get(); // who counts the forks
        ids = {getpid(), gettid()};
        knownForks = forks;
    }
    return ids;
}

LogHub& LogHub::Get()
{
    static LogHub* hub = new LogHub();
    return *hub;
}

LogHub::LogHub()
{
    ring_.reserve(LOG_RING_LINES);
    // Without memory for the handlers a child that logs could wait for ever; nothing here can mend that.
    (void)pthread_atfork([] { Get().mutex_.lock(); }, [] { Get().mutex_.unlock(); },
        [] {
            g_forks.fetch_add(1, std::memory_order_relaxed);
            Get().mutex_.unlock();
        });
}

LogLine& LogHub::Slot(uint64_t seq)
{
    const size_t at = (seq - 1) % LOG_RING_LINES;
    if (at == ring_.size()) {
        ring_.emplace_back();
    }
    return ring_[at];
}

void LogHub::Add(LogLevel level, uint32_t domain, std::string_view tag, std::string_view text)
{
    Store(level, domain, tag, text);
    TellListener();
}

void LogHub::TellListener() const
{
    if (LogListener listener = listener_.load(std::memory_order_acquire); listener != nullptr) {
        listener();
    }
}

void LogHub::Follow(LogListener listener)
{
    std::lock_guard<std::mutex> guard(mutex_);
    listener_.store(listener, std::memory_order_release);
    SetThreshold();
}

void LogHub::Keep(LogLevel level)
{
    std::lock_guard<std::mutex> guard(mutex_);
    level_.store(level, std::memory_order_relaxed);
    SetThreshold();
}

// Under mutex_.
void LogHub::SetThreshold()
{
    const bool followed = listener_.load(std::memory_order_relaxed) != nullptr;
    HiviewDFX::g_hiLogThreshold.store(followed ? std::min(Kept(), LOG_INFO) : Kept(), std::memory_order_relaxed);
}

void LogHub::Store(LogLevel level, uint32_t domain, std::string_view tag, std::string_view text)
{
    const int64_t now = WallClockMs(); // the clock may be the host's own: not under our lock
    const ThreadIds ids = CurrentThreadIds();
    std::lock_guard<std::mutex> guard(mutex_);
    LogLine& line = Slot(++lastSeq_);
    if (line.text.capacity() > ORDINARY_TEXT) {
        line.text = std::string();
    }
    line.seq = lastSeq_;
    line.timeMs = now;
    line.pid = ids.pid;
    line.tid = ids.tid;
    line.level = level;
    line.domain = domain;
    line.tag.assign(tag.substr(0, LOG_TAG_BYTES));
    line.text.assign(text);
    oldestSeq_ = std::max(oldestSeq_, lastSeq_ - ring_.size() + 1);
    ++counts_.lines[level];
    if (stderr_.IsOpen() || file_.IsOpen()) {
        Print(line);
    }
}

void LogHub::Print(const LogLine& line)
{
    const std::string printed = FormatLogLine(line);
    for (LineSink* sink : {&stderr_, &file_}) {
        if (sink->IsOpen() && !sink->Append(printed)) {
            ++counts_.lostBySinks;
        }
    }
}

std::vector<LogLine> LogHub::Read(uint64_t after, size_t limit)
{
    std::vector<LogLine> lines;
    std::lock_guard<std::mutex> guard(mutex_);
    for (uint64_t seq = std::max(after + 1, oldestSeq_); seq <= lastSeq_ && lines.size() < limit; ++seq) {
        lines.push_back(Slot(seq));
    }
    return lines;
}

uint64_t LogHub::LastSeq()
{
    std::lock_guard<std::mutex> guard(mutex_);
    return lastSeq_;
}

LogCounts LogHub::Counts()
{
    std::lock_guard<std::mutex> guard(mutex_);
    return counts_;
}

void LogHub::Clear()
{
    std::lock_guard<std::mutex> guard(mutex_);
    oldestSeq_ = lastSeq_ + 1;
    counts_ = LogCounts();
}

void LogHub::UseStderr(bool on)
{
    std::lock_guard<std::mutex> guard(mutex_);
    on ? stderr_.Borrow(STDERR_FILENO) : stderr_.Close();
}

bool LogHub::UseFile(const std::string& path)
{
    std::lock_guard<std::mutex> guard(mutex_);
    if (path.empty()) {
        file_.Close();
        return true;
    }
    return file_.Open(path);
}

} // namespace OHOS::Host
