#include <algorithm>
#include <iomanip>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>

#include "callback_stubs.h"
#include "hilog/host_text.h"
#include "host/ability_host.h"
#include "host/device_control.h"
#include "host/json_text.h"
#include "output.h"
#include "verbs.h"
#include "watch.h"
#include "watch_text.h"

// Looking on: nothing here changes what is looked at, but for `watch --client`.
namespace OHOS::Pelago::Tools {

namespace {

using Host::Json;
using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

// What a registered client hears, one JSON object each.
class PrintingCallback : public TrellisCallbackStub {
public:
    void OnEnableStatusChanged() override
    {
        Print("OnEnableStatusChanged", Json::Object());
    }
    void OnDeviceFound(const ShareDeviceInfo& device) override
    {
        Print("OnDeviceFound", Of(device));
    }
    void OnDeviceLost(const ShareDeviceInfo& device) override
    {
        Print("OnDeviceLost", Of(device));
    }
    void OnTransStateChange(
        const ShareDeviceInfo& device, int64_t state, int64_t stateValue, int64_t timeStamp) override
    {
        Json json = Of(device);
        json.Put("event", state).Put("value", stateValue).Put("stamp", timeStamp);
        Print("OnTransStateChange", std::move(json));
    }
    void OnSend(const ShareDeviceInfo& device, const SendBean& bean) override
    {
        Json json = Of(device);
        json.Put("files", static_cast<int64_t>(bean.uriList.size()));
        Print("OnSend", std::move(json));
    }
    void OnSendBytes(const ShareDeviceInfo& device, const BytesInfo&) override
    {
        Print("OnSendBytes", Of(device));
    }
    void OnCancel(const ShareDeviceInfo& device) override
    {
        Print("OnCancel", Of(device));
    }
    void OnSendFile(const ShareDeviceInfo& device, const DataBean&) override
    {
        Print("OnSendFile", Of(device));
    }
    void OnConnectHub(std::string name, int32_t value) override
    {
        Print("OnConnectHub", Json::Object().Put("name", name).Put("value", static_cast<int64_t>(value)));
    }
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo& device, const std::string&) override
    {
        Print("OnCorvaneIdHeadImageReceive", Of(device));
    }
    void OnThermalLevelChanged(int32_t lastLevel, int32_t newLevel, int8_t, int8_t action) override
    {
        Json json = Json::Object();
        json.Put("lastLevel", static_cast<int64_t>(lastLevel))
            .Put("newLevel", static_cast<int64_t>(newLevel))
            .Put("action", static_cast<int64_t>(action));
        Print("OnThermalLevelChanged", std::move(json));
    }
    void OnSwingPop(const ShareDeviceInfo& device) override
    {
        Print("OnSwingPop", Of(device));
    }
    void OnReportSwingEvent(int32_t gesture, int32_t, int32_t, const std::string& concurrentId) override
    {
        Json json = Json::Object();
        json.Put("gesture", static_cast<int64_t>(gesture)).Put("concurrentId", concurrentId);
        Print("OnReportSwingEvent", std::move(json));
    }
    void OnSwitchNotifyComponent(int32_t component) override
    {
        Print("OnSwitchNotifyComponent", Json::Object().Put("component", static_cast<int64_t>(component)));
    }

private:
    static Json Of(const ShareDeviceInfo& device)
    {
        Json json = Json::Object();
        json.Put("id", device.deviceId)
            .Put("name", device.btName)
            .Put("state", static_cast<int64_t>(device.deviceState))
            .Put("percent", static_cast<int64_t>(device.percent))
            .Put("speed", static_cast<int64_t>(device.speed));
        return json;
    }
    static void Print(const char* callback, Json&& arguments)
    {
        Print(callback, arguments);
    }
    static void Print(const char* callback, Json& arguments)
    {
        PrintJson(Json::Object().Put("callback", callback).Put("arguments", arguments).Text());
    }
};

// Prints one message of the device; the switch's with the reason of its last change.
void PrintChange(const Context& context, const std::string& message, SwitchReason& reason, WatchText& text)
{
    JsonValue json(cJSON_Parse(message.c_str()), cJSON_Delete);
    const cJSON* name = cJSON_GetObjectItemCaseSensitive(json.get(), "section");
    cJSON* state = cJSON_GetObjectItemCaseSensitive(json.get(), "state");
    std::string section = cJSON_IsString(name) ? name->valuestring : "";
    if (section == "switch") {
        (void)cJSON_AddStringToObject(state, "reason", reason.Look().c_str());
    }
    if (context.json) {
        PrintJson(Host::JsonText(json.get()));
        return;
    }
    for (const std::string& line : text.Changes(section, state)) {
        PrintLine(line);
    }
}

ExitCode Watch(const Context& context, bool asClient)
{
    Observation observation;
    if (ExitCode code = StartWatching(context, observation); code != EXIT_DONE) {
        return code;
    }
    sptr<PrintingCallback> callback = new PrintingCallback();
    Connection client;
    if (asClient) {
        Say("registered as a client: the service counts one more");
        if (ExitCode code = Connection::Open(context, "owner", client); code != EXIT_DONE) {
            return code;
        }
        if (!client.service->RegisterTrellisCallback(callback)) {
            return ExplainFailure("registering");
        }
    }
    SwitchReason reason(observation.control);
    WatchText text;
    while (auto message = observation.queue->Take(-1)) {
        if (size_t dropped = observation.queue->TakeDropped(); dropped > 0) {
            Say(std::to_string(dropped) + " changes came faster than they could be printed and were dropped");
        }
        PrintChange(context, *message, reason, text);
    }
    return DeviceHasGone();
}

// The number of a line of the log or of an event.
const CLI::Validator PlaceInLog = NumberFrom(0, std::numeric_limits<int64_t>::max());

ExitCode Log(const Context& context, const std::vector<std::string>& words)
{
    std::vector<std::string> command{"log"};
    std::copy_if(
        words.begin(), words.end(), std::back_inserter(command), [](const auto& word) { return !word.empty(); });
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, command, answer); code != EXIT_DONE) {
        return code;
    }
    if (context.json) {
        PrintJson(answer.json.empty() ? "null" : answer.json);
        return EXIT_DONE;
    }
    JsonValue lines(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, lines.get())
    {
        const cJSON* line = cJSON_GetObjectItemCaseSensitive(entry, "line");
        PrintLine(cJSON_IsString(line) ? Host::EscapeForTerminal(line->valuestring) : "");
    }
    return EXIT_DONE;
}

// What `pelago sim tap` plays; the rest is what the device answers.
constexpr const char* TAP_EVENTS[] = {"tap knock", "tap publish JSON", "tap deliver JSON"};

ExitCode ListSimCommands(const Context& context)
{
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, {"sim"}, answer); code != EXIT_DONE) {
        return code;
    }
    JsonValue list(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    for (const char* event : TAP_EVENTS) {
        (void)cJSON_AddItemToArray(list.get(), cJSON_CreateString(event));
    }
    if (context.json) {
        PrintJson(Host::JsonText(list.get()));
        return EXIT_DONE;
    }
    const cJSON* command = nullptr;
    cJSON_ArrayForEach(command, list.get())
    {
        PrintLine(std::string("pelago sim ") + (cJSON_IsString(command) ? command->valuestring : ""));
    }
    return EXIT_DONE;
}

// One line for each: name, value with its unit, what happens beyond it.
ExitCode DumpLimits(const Context& context)
{
    if (context.json) {
        return RunControl(context, {"limits"});
    }
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, {"limits"}, answer); code != EXIT_DONE) {
        return code;
    }
    const JsonValue json(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    const cJSON* row = nullptr;
    cJSON_ArrayForEach(row, cJSON_GetObjectItemCaseSensitive(json.get(), "limits"))
    {
        const auto text = [row](const char* key) {
            const char* value = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(row, key));
            return value == nullptr ? std::string() : Host::EscapeForTerminal(value);
        };
        const cJSON* value = cJSON_GetObjectItemCaseSensitive(row, "value");
        std::ostringstream line;
        line << std::left << std::setw(40) << text("name") << std::right << std::setw(10)
             << static_cast<int64_t>(cJSON_GetNumberValue(value)) << ' ' << std::left << std::setw(7) << text("unit")
             << text("beyond");
        PrintLine(line.str());
    }
    return EXIT_DONE;
}

} // namespace

Action WatchVerb(CLI::App& app)
{
    auto asClient = std::make_shared<bool>(false);
    app.add_flag("--client", *asClient, "register as a client too, and print what clients are told");
    return [asClient](const Context& context) { return Watch(context, *asClient); };
}

Action DumpVerb(CLI::App& app)
{
    auto limits = std::make_shared<bool>(false);
    app.add_flag("--limits", *limits, "instead: what can be filled or kept waiting, how far, and what happens beyond");
    return [limits](const Context& context) { return *limits ? DumpLimits(context) : RunControl(context, {"dump"}); };
}

Action LogVerb(CLI::App& app)
{
    auto words = std::make_shared<std::vector<std::string>>(2);
    auto isPlace = [](const std::string& word) { return word == "level" ? "" : PlaceInLog(word); };
    app.add_option("AFTER", (*words)[0],
           "a line's number, as `pelago -j log` shows it, for those behind it; or level, to say what is kept from now "
           "on")
        ->check(CLI::Validator(isPlace, "{AFTER,level}"));
    app.add_option("LEVEL", (*words)[1], "the least that is kept")->check(OneOf(LOG_LEVELS));
    return [words](const Context& context) { return Log(context, *words); };
}

Action EventsVerb(CLI::App& app)
{
    auto after = std::make_shared<std::string>("0");
    app.add_option("AFTER", *after, "an event's number, for those behind it")->capture_default_str()->check(PlaceInLog);
    return [after](const Context& context) { return RunControl(context, {"events", *after}); };
}

Action SimVerb(CLI::App& app)
{
    app.footer(
        "Without words it prints the commands that the device has. All words behind the verb are theirs: options "
        "stand before it, as in\n  pelago -j sim show");
    app.prefix_command(); // the words are the device's to read, dashes and all
    app.fallthrough(false);
    return [&app](const Context& context) {
        std::vector<std::string> words = app.remaining();
        if (words.empty()) {
            return ListSimCommands(context);
        }
        if (words.front().rfind('-', 0) == 0) {
            Complain("'" + words.front() + "' is no command; options stand before the verb: pelago -j sim show");
            return EXIT_USAGE;
        }
        if (words.front() == "tap") {
            words.front() = "tap-event"; // the framework's, which only a daemon with the service in it can play
        } else {
            words.insert(words.begin(), "sim");
        }
        return RunControl(context, words);
    };
}

} // namespace OHOS::Pelago::Tools
