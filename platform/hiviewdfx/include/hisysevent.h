#ifndef PLATFORM_HIVIEWDFX_HISYSEVENT_H
#define PLATFORM_HIVIEWDFX_HISYSEVENT_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace OHOS::HiviewDFX {

// Telemetry of the system: events with a domain, a name and ordered keys. Nobody owns anything; any thread.
// Does not know which keys an event has: the writer does.
class HiSysEvent {
public:
    enum EventType {
        FAULT = 1,
        STATISTIC = 2,
        SECURITY = 3,
        BEHAVIOR = 4,
    };

    // Decides whether an event may be written now, so that a caller in a loop cannot flood the store.
    class WriteController {
    public:
        // `func` and `line` are the place of the write. False: the event is to be dropped.
        [[nodiscard]] static bool CheckLimitWritingEvent(
            const char* domain, const char* eventName, const char* func, int line);
    };

    // A value under its key. Refers to text, and so lives no longer than the call that it is made for.
    struct Field {
        std::string_view key;
        std::string_view text;
        int64_t number = 0;
        bool isNumber = false;
    };

    // What HiSysEventWrite calls: asks the controller, then writes. 0 when written; ERR_LIMITED when the controller
    // said no; ERR_WRITE when the store did not take it (the event is still kept in memory).
    template <typename... KeysAndValues>
    [[nodiscard]] static int Write(const char* func, int line, const char* domain, const char* eventName,
        EventType type, const KeysAndValues&... keysAndValues)
    {
        static_assert(sizeof...(KeysAndValues) % 2 == 0, "an event is written as key, value, key, value, ...");
        Field fields[sizeof...(KeysAndValues) / 2 + 1];
        Fill(fields, keysAndValues...);
        return WriteFields(func, line, domain, eventName, type, fields, sizeof...(KeysAndValues) / 2);
    }

    static constexpr int ERR_LIMITED = -1;
    static constexpr int ERR_WRITE = -2;

private:
    static void Fill(Field*)
    {}
    template <typename Value, typename... Rest>
    static void Fill(Field* field, std::string_view key, const Value& value, const Rest&... rest)
    {
        field->key = key;
        if constexpr (std::is_convertible_v<const Value&, const char*>) {
            const char* text = value;
            field->text = text == nullptr ? "" : text;
        } else if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
            field->text = value;
        } else {
            static_assert(std::is_integral_v<Value> && (std::is_signed_v<Value> || sizeof(Value) < sizeof(int64_t)),
                "an event's value is a text or an integer that fits an int64");
            field->number = static_cast<int64_t>(value);
            field->isNumber = true;
        }
        Fill(field + 1, rest...);
    }
    static int WriteFields(const char* func, int line, const char* domain, const char* eventName, EventType type,
        const Field* fields, size_t count);
};

} // namespace OHOS::HiviewDFX

// Writes an event: HiSysEventWrite(domain, name, type, key, value, key, value, ...). Values are texts and integers,
// written in this order. A macro, because the controller is told the place. Gives what HiSysEvent::Write gives.
#define HiSysEventWrite(domain, eventName, ...)                                                                        \
    ::OHOS::HiviewDFX::HiSysEvent::Write(__FUNCTION__, __LINE__, domain, eventName, __VA_ARGS__)

#endif // PLATFORM_HIVIEWDFX_HISYSEVENT_H
