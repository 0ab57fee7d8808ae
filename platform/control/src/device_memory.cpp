#include "device_memory.h"

#include <cstdio>
#include <mutex>
#include <utility>

#include "hilog/log.h"
#include "host/device_control.h"
#include "host/json_text.h"
#include "host/whole_file.h"
#include "sim_words.h"

namespace OHOS::Host {
namespace {

constexpr unsigned int LOG_DOMAIN_OF_CONTROL = 0xD001301;
constexpr const char* LOG_TAG_OF_CONTROL = "DeviceMemory";
constexpr const char* FILE_NAME = "/hardware.json";

std::mutex g_mutex;                            // keeps writes in order, and guards the next
std::pair<std::string, std::string> g_written; // path and text

Json UserJson(const User& user)
{
    Json json = Json::Object();
    json.Put("id", static_cast<int64_t>(user.id))
        .Put("type", static_cast<int64_t>(user.type))
        .Put("verified", user.verified);
    return json;
}

Json CommandsJson(const DeviceSnapshot& device)
{
    Json commands = Json::Object();
    for (const auto& [bundle, words] : device.commands) {
        Json argv = Json::Array();
        for (const std::string& word : words) {
            argv.Add(word);
        }
        commands.Put(bundle.c_str(), std::move(argv));
    }
    return commands;
}

// Reads one file: a part that is missing or of another kind makes the whole of it no device.
class Reader {
public:
    explicit Reader(const std::string& memory) : root_(cJSON_Parse(memory.c_str()), cJSON_Delete)
    {}

    std::optional<DeviceSnapshot> Read()
    {
        DeviceSnapshot device;
        good_ = cJSON_IsObject(root_.get());
        TakeWord("wifi", WIFI_MODES, device.wifiMode);
        TakeWord("bluetooth", BLUETOOTH_MODES, device.bluetoothMode);
        device.airplane = Truth(Part(root_.get(), "airplane"));
        TakeWord("wifiAfterAirplane", WIFI_MODES, device.wifiAfterAirplane);
        TakeWord("bluetoothAfterAirplane", BLUETOOTH_MODES, device.bluetoothAfterAirplane);
        TakeSteps(device.timings);
        const cJSON* user = nullptr;
        cJSON_ArrayForEach(user, List(Part(root_.get(), "users")))
        {
            device.users.push_back({Int(Part(user, "id")), Int(Part(user, "type")), Truth(Part(user, "verified")), {}});
        }
        device.foregroundUser = Int(Part(root_.get(), "foreground"));
        const cJSON* active = nullptr;
        cJSON_ArrayForEach(active, List(Part(root_.get(), "active")))
        {
            device.activeUsers.push_back(Int(active));
        }
        TakeCommands(device);
        return good_ ? std::optional(std::move(device)) : std::nullopt;
    }

private:
    const cJSON* Part(const cJSON* object, const char* key)
    {
        const cJSON* part = cJSON_GetObjectItemCaseSensitive(object, key);
        good_ = good_ && part != nullptr;
        return part;
    }
    const cJSON* List(const cJSON* value)
    {
        good_ = good_ && cJSON_IsArray(value);
        return value;
    }
    int32_t Int(const cJSON* value)
    {
        good_ = good_ && cJSON_IsNumber(value);
        return good_ ? value->valueint : 0; // cut to the range by the parser
    }
    bool Truth(const cJSON* value)
    {
        good_ = good_ && cJSON_IsBool(value);
        return cJSON_IsTrue(value);
    }
    std::string Text(const cJSON* value)
    {
        good_ = good_ && cJSON_IsString(value);
        return good_ ? value->valuestring : "";
    }
    template <typename Value, size_t count>
    void TakeWord(const char* key, const std::array<Choice<Value>, count>& choices, Value& value)
    {
        const auto chosen = Choose(choices, Text(Part(root_.get(), key)));
        good_ = good_ && chosen.has_value();
        value = chosen.value_or(value);
    }
    void TakeSteps(RadioTimings& timings)
    {
        const cJSON* steps = Part(root_.get(), "steps");
        for (const auto& [step, time] : RADIO_STEPS) {
            const int32_t ms = Int(Part(steps, step));
            good_ = good_ && ms >= 0 && ms <= DeviceControl::MAX_RADIO_STEP_MS;
            timings.*time = std::chrono::milliseconds(ms);
        }
    }
    void TakeCommands(DeviceSnapshot& device)
    {
        const cJSON* command = nullptr;
        const cJSON* commands = Part(root_.get(), "commands");
        good_ = good_ && cJSON_IsObject(commands);
        cJSON_ArrayForEach(command, commands)
        {
            std::vector<std::string>& words = device.commands[command->string == nullptr ? "" : command->string];
            const cJSON* word = nullptr;
            cJSON_ArrayForEach(word, List(command))
            {
                words.push_back(Text(word));
            }
            good_ = good_ && !words.empty();
        }
    }

    std::unique_ptr<cJSON, void (*)(cJSON*)> root_;
    bool good_ = true;
};

} // namespace

std::string MemoryOf(const DeviceSnapshot& device)
{
    Json steps = Json::Object();
    for (const auto& [step, time] : RADIO_STEPS) {
        steps.Put(step, static_cast<int64_t>((device.timings.*time).count()));
    }
    Json users = Json::Array();
    for (const User& user : device.users) {
        users.Add(UserJson(user));
    }
    return Json::Object()
        .Put("wifi", WordOf(WIFI_MODES, device.wifiMode))
        .Put("bluetooth", WordOf(BLUETOOTH_MODES, device.bluetoothMode))
        .Put("airplane", device.airplane)
        .Put("wifiAfterAirplane", WordOf(WIFI_MODES, device.wifiAfterAirplane))
        .Put("bluetoothAfterAirplane", WordOf(BLUETOOTH_MODES, device.bluetoothAfterAirplane))
        .Put("steps", std::move(steps))
        .Put("users", std::move(users))
        .Put("foreground", static_cast<int64_t>(device.foregroundUser))
        .Put("active", NumbersJson(device.activeUsers))
        .Put("commands", CommandsJson(device))
        .Text();
}

std::optional<DeviceSnapshot> DeviceFrom(const std::string& memory)
{
    return Reader(memory).Read();
}

void RestoreDevice()
{
    const std::string root = Device::Instance().Root();
    const auto memory = root.empty() ? std::nullopt : ReadWhole(root + FILE_NAME);
    if (!memory.has_value()) {
        return;
    }
    const auto device = DeviceFrom(*memory);
    if (!device.has_value() || !Device::Instance().Become(*device)) {
        HILOG_IMPL(LOG_CORE, LOG_ERROR, LOG_DOMAIN_OF_CONTROL, LOG_TAG_OF_CONTROL,
            "%{public}s%{public}s is not understood; the device starts as new", root.c_str(), FILE_NAME);
        // The next change is written over it. Where it cannot be moved, nothing can be written either.
        (void)std::rename((root + FILE_NAME).c_str(), (root + FILE_NAME + ".bad").c_str());
    }
}

void SaveDevice()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const DeviceSnapshot device = Device::Instance().Snapshot();
    if (device.identity.root.empty()) {
        return;
    }
    std::pair<std::string, std::string> next{device.identity.root + FILE_NAME, MemoryOf(device)};
    if (next == g_written) {
        return;
    }
    if (const std::string reason = WriteWhole(next.first, next.second + "\n", Outlives::PROCESS); reason.empty()) {
        g_written = std::move(next);
    } else {
        HILOG_IMPL(LOG_CORE, LOG_ERROR, LOG_DOMAIN_OF_CONTROL, LOG_TAG_OF_CONTROL, "%{public}s", reason.c_str());
    }
}

} // namespace OHOS::Host
