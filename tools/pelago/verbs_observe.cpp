#include <chrono>
#include <memory>

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

void WatchQueue::OnChanged(const std::string& json)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (waiting_.size() == MAX_WAITING) {
        waiting_.pop_front();
        ++dropped_;
    }
    waiting_.push_back(json);
    changed_.notify_one();
}

void WatchQueue::Close()
{
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_one();
}

std::optional<std::string> WatchQueue::Take(int64_t untilMs)
{
    std::unique_lock<std::mutex> lock(mutex_);
    auto ready = [this] { return !waiting_.empty() || closed_; };
    if (untilMs < 0) {
        changed_.wait(lock, ready);
    } else {
        (void)changed_.wait_for(lock, std::chrono::milliseconds(std::max<int64_t>(0, untilMs - NowMs())), ready);
    }
    if (waiting_.empty()) {
        return std::nullopt;
    }
    std::string json = std::move(waiting_.front());
    waiting_.pop_front();
    return json;
}

size_t WatchQueue::TakeDropped()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(dropped_, 0);
}

namespace {

using Host::Json;
using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

} // namespace

ExitCode StartWatching(const Context& context, Observation& observation)
{
    sptr<IRemoteObject> control;
    if (ExitCode code = OpenControl(context, control); code != EXIT_DONE) {
        return code;
    }
    observation.queue = new WatchQueue();
    if (!CallWhenGone(control, [queue = observation.queue] { queue->Close(); })) {
        return DeviceHasGone();
    }
    observation.control = new Host::DeviceControlProxy(control);
    Host::ControlResult result = observation.control->Watch(observation.queue);
    if (result != Host::ControlResult::DONE) {
        Complain(result == Host::ControlResult::LIMIT ? "as many observe the device as may; end one of them"
                                                      : "the device cannot be observed; see: pelago log");
    }
    return static_cast<ExitCode>(result);
}

ExitCode WaitForState(const Context& context, const std::string& section,
    const std::function<bool(const cJSON* state)>& wanted, int seconds)
{
    Observation observation;
    if (ExitCode code = StartWatching(context, observation); code != EXIT_DONE) {
        return code;
    }
    int64_t until = NowMs() + seconds * 1000LL;
    while (auto message = observation.queue->Take(until)) {
        JsonValue json(cJSON_Parse(message->c_str()), cJSON_Delete);
        const cJSON* name = cJSON_GetObjectItemCaseSensitive(json.get(), "section");
        if (cJSON_IsString(name) && section == name->valuestring &&
            wanted(cJSON_GetObjectItemCaseSensitive(json.get(), "state"))) {
            return EXIT_DONE;
        }
    }
    return NowMs() >= until ? EXIT_TIMED_OUT : DeviceHasGone();
}

namespace {

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

struct WaitOptions {
    std::string what;
    std::string name;
    int seconds = 30;
};

bool HasPeer(const cJSON* peers, const std::string& wanted)
{
    const cJSON* peer = nullptr;
    cJSON_ArrayForEach(peer, peers)
    {
        for (const char* key : {"id", "name", "contact"}) {
            const cJSON* value = cJSON_GetObjectItemCaseSensitive(peer, key);
            if (cJSON_IsString(value) && wanted == value->valuestring) {
                return true;
            }
        }
    }
    return false;
}

// "SECTION.KEY=VALUE", taken apart; keys may go deeper: "device.radios.wifi=1".
struct Wanted {
    std::string section;
    std::vector<std::string> keys;
    std::string value;
};

std::optional<Wanted> WantedFrom(const std::string& text)
{
    size_t equals = text.find('=');
    size_t dot = text.find('.');
    if (equals == std::string::npos || dot >= equals) {
        return std::nullopt;
    }
    Wanted wanted{text.substr(0, dot), {}, text.substr(equals + 1)};
    while (dot < equals) {
        size_t end = std::min(text.find('.', dot + 1), equals);
        wanted.keys.push_back(text.substr(dot + 1, end - dot - 1));
        dot = end;
    }
    return wanted;
}

bool IsSo(const cJSON* state, const Wanted& wanted)
{
    for (const std::string& key : wanted.keys) {
        state = cJSON_GetObjectItemCaseSensitive(state, key.c_str());
    }
    if (cJSON_IsString(state)) {
        return wanted.value == state->valuestring;
    }
    return state != nullptr && wanted.value == Host::JsonText(state);
}

constexpr const char* STATE_OF_ON = "switch.enableState=1";
constexpr const char* STATE_OF_OFF = "switch.enableState=2";

ExitCode WaitFor(const Context& context, const WaitOptions& options)
{
    ExitCode code = EXIT_USAGE;
    if (options.what == "peer" && !options.name.empty()) {
        code = WaitForState(
            context, "peers", [&options](const cJSON* peers) { return HasPeer(peers, options.name); }, options.seconds);
    } else {
        auto wanted = WantedFrom(options.what == "on"    ? STATE_OF_ON
                                 : options.what == "off" ? STATE_OF_OFF
                                                         : options.name);
        if (!wanted.has_value()) {
            Complain("say what to wait for: pelago wait-for peer NAME, pelago wait-for state SECTION.KEY=VALUE; see "
                     "`pelago -j watch` for sections and keys");
            return EXIT_USAGE;
        }
        code = WaitForState(
            context, wanted->section, [&wanted](const cJSON* state) { return IsSo(state, *wanted); }, options.seconds);
    }
    if (code == EXIT_TIMED_OUT) {
        Complain("it did not come to that in " + std::to_string(options.seconds) + " s; how it is: pelago watch");
    }
    return code;
}

ExitCode Log(const Context& context, const std::vector<std::string>& words)
{
    std::vector<std::string> command{"log"};
    command.insert(command.end(), words.begin(), words.end());
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, command, answer); code != EXIT_DONE || answer.json.empty()) {
        return code;
    }
    if (context.json) {
        PrintJson(answer.json);
        return EXIT_DONE;
    }
    std::unique_ptr<cJSON, void (*)(cJSON*)> lines(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, lines.get())
    {
        const cJSON* line = cJSON_GetObjectItemCaseSensitive(entry, "line");
        PrintLine(cJSON_IsString(line) ? Host::EscapeForTerminal(line->valuestring) : "");
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

Action WaitForVerb(CLI::App& app)
{
    auto options = std::make_shared<WaitOptions>();
    app.add_option("what", options->what, "on, off, peer NAME, or state SECTION.KEY=VALUE as `-j watch` shows it")
        ->required()
        ->check(CLI::IsMember({"on", "off", "peer", "state"}));
    app.add_option("name", options->name, "id, name or contact of the peer; the state");
    app.add_option("--timeout", options->seconds, "seconds")->capture_default_str()->check(Seconds());
    return [options](const Context& context) { return WaitFor(context, *options); };
}

Action DumpVerb(CLI::App&)
{
    return [](const Context& context) { return RunControl(context, {"dump"}); };
}

Action LogVerb(CLI::App& app)
{
    auto words = std::make_shared<std::vector<std::string>>();
    app.add_option("words", *words, "AFTER: only lines behind that number; level LEVEL: what is kept from now on");
    return [words](const Context& context) { return Log(context, *words); };
}

Action EventsVerb(CLI::App& app)
{
    auto after = std::make_shared<std::string>("0");
    app.add_option("after", *after, "only events behind that number")->capture_default_str();
    return [after](const Context& context) { return RunControl(context, {"events", *after}); };
}

Action SimVerb(CLI::App& app)
{
    app.footer(
        "Without words: all commands. `pelago sim tap knock|publish JSON|deliver JSON` plays one event of a tap, with "
        "any text.");
    app.prefix_command(); // the words are the device's to read, dashes and all
    app.fallthrough(false);
    return [&app](const Context& context) {
        std::vector<std::string> words = app.remaining();
        if (!words.empty() && words.front() == "tap") {
            words.front() = "tap-event"; // the framework's, which only a daemon with the service in it can play
        } else {
            words.insert(words.begin(), "sim");
        }
        return RunControl(context, words);
    };
}

} // namespace OHOS::Pelago::Tools
