#include "hisysevent.h"

#include <algorithm>
#include <deque>
#include <mutex>

#include "hilog/host_text.h"
#include "host_sys_event.h"
#include "line_sink.h"
#include "log_hub.h"

namespace OHOS::Host {

namespace {
// The process's events behind the functions below. Made on first use and never destroyed. Any thread.
class SysEventStore {
public:
    static SysEventStore& Get()
    {
        static SysEventStore* store = new SysEventStore();
        return *store;
    }

    // True if one more event may be written, which uses up one refusal of the fault otherwise.
    [[nodiscard]] bool Admit()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (refusals_ > 0) {
            --refusals_;
            return false;
        }
        return refusals_ != SYS_EVENT_REFUSE_ALWAYS;
    }

    // False if the file did not take it.
    [[nodiscard]] bool Add(SysEvent event)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        event.seq = ++lastSeq_;
        const bool written = !file_.IsOpen() || file_.Append(event.json);
        events_.push_back(std::move(event));
        if (events_.size() > SYS_EVENT_RING) {
            events_.pop_front();
        }
        return written;
    }

    [[nodiscard]] std::vector<SysEvent> Read(uint64_t after)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        const auto first =
            std::find_if(events_.begin(), events_.end(), [after](const SysEvent& event) { return event.seq > after; });
        return {first, events_.end()};
    }

    [[nodiscard]] uint64_t LastSeq()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        return lastSeq_;
    }

    [[nodiscard]] bool UseFile(const std::string& path)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (path.empty()) {
            file_.Close();
            return true;
        }
        return file_.Open(path);
    }

    void Refuse(int times)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        refusals_ = times;
    }

    void Clear()
    {
        std::lock_guard<std::mutex> guard(mutex_);
        events_.clear();
        refusals_ = 0;
    }

private:
    SysEventStore() = default;

    std::mutex mutex_;
    // All below: under mutex_.
    std::deque<SysEvent> events_; // the last SYS_EVENT_RING ones
    uint64_t lastSeq_ = 0;
    int refusals_ = 0;
    LineSink file_;
};

// One flat JSON object, written in the order of the calls. One thread.
class JsonObject {
public:
    void Add(std::string_view key, std::string_view value)
    {
        AddKey(key);
        text_ += '"';
        AppendEscaped(text_, value, EscapeStyle::JSON);
        text_ += '"';
    }
    void Add(std::string_view key, int64_t value)
    {
        AddKey(key);
        text_ += std::to_string(value);
    }
    [[nodiscard]] std::string Take()
    {
        return std::move(text_) + '}';
    }

private:
    void AddKey(std::string_view key)
    {
        text_ += text_.size() == 1 ? "\"" : ",\"";
        AppendEscaped(text_, key, EscapeStyle::JSON);
        text_ += "\":";
    }

    std::string text_ = "{";
};
} // namespace

bool SetSysEventFile(const std::string& path)
{
    return SysEventStore::Get().UseFile(path);
}

std::vector<SysEvent> ReadSysEvents(uint64_t after)
{
    return SysEventStore::Get().Read(after);
}

uint64_t LastSysEventSeq()
{
    return SysEventStore::Get().LastSeq();
}

void RefuseSysEvents(int times)
{
    SysEventStore::Get().Refuse(times);
}

void ClearSysEvents()
{
    SysEventStore::Get().Clear();
}

} // namespace OHOS::Host

namespace OHOS::HiviewDFX {

bool HiSysEvent::WriteController::CheckLimitWritingEvent(const char*, const char*, const char*, int)
{
    return Host::SysEventStore::Get().Admit();
}

int HiSysEvent::WriteFields(const char* func, int line, const char* domain, const char* eventName, EventType type,
    const Field* fields, size_t count)
{
    if (!WriteController::CheckLimitWritingEvent(domain, eventName, func, line)) {
        return ERR_LIMITED;
    }
    Host::SysEvent event;
    event.timeMs = Host::WallClockMs();
    event.domain = domain;
    event.name = eventName;
    event.type = type;
    const Host::ThreadIds ids = Host::CurrentThreadIds();
    Host::JsonObject json;
    json.Add("domain_", event.domain);
    json.Add("name_", event.name);
    json.Add("type_", event.type);
    json.Add("time_", event.timeMs);
    json.Add("pid_", ids.pid);
    json.Add("tid_", ids.tid);
    for (const Field* field = fields; field != fields + count; ++field) {
        field->isNumber ? json.Add(field->key, field->number) : json.Add(field->key, field->text);
    }
    event.json = json.Take();
    return Host::SysEventStore::Get().Add(std::move(event)) ? 0 : ERR_WRITE;
}

} // namespace OHOS::HiviewDFX
