#include "sim_commands.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

#include <unistd.h>

#include "device_memory.h"
#include "hilog/host_log.h"
#include "host/ability_registry.h"
#include "host/faults.h"
#include "host_sys_event.h"
#include "sim_words.h"

namespace OHOS::Host {
namespace {

Json RadiosJson(const DeviceSnapshot& device)
{
    Json json = Json::Object();
    json.Put("wifi", static_cast<int64_t>(device.radios.wifi))
        .Put("bluetooth", static_cast<int64_t>(device.radios.bluetooth))
        .Put("ble", device.radios.ble)
        .Put("wifiMode", WordOf(WIFI_MODES, device.wifiMode))
        .Put("bluetoothMode", WordOf(BLUETOOTH_MODES, device.bluetoothMode))
        .Put("airplane", device.airplane);
    return json;
}

Json StepsJson(const RadioTimings& timings)
{
    Json json = Json::Object();
    for (const auto& [step, time] : RADIO_STEPS) {
        json.Put(step, static_cast<int64_t>((timings.*time).count()));
    }
    return json;
}

Json UsersJson(const DeviceSnapshot& device)
{
    Json users = Json::Array();
    for (const User& user : device.users) {
        Json entry = Json::Object();
        entry.Put("id", static_cast<int64_t>(user.id))
            .Put("type", static_cast<int64_t>(user.type))
            .Put("verified", user.verified)
            .Put("foreground", user.id == device.foregroundUser);
        users.Add(std::move(entry));
    }
    return users;
}

Json TokensJson(const DeviceSnapshot& device)
{
    Json tokens = Json::Array();
    for (const Token& token : device.tokens) {
        Json permissions = Json::Array();
        for (const std::string& permission : token.permissions) {
            permissions.Add(permission);
        }
        Json entry = Json::Object();
        entry.Put("name", token.name)
            .Put("id", static_cast<int64_t>(token.id))
            .Put("permissions", std::move(permissions));
        tokens.Add(std::move(entry));
    }
    return tokens;
}

Json ExtensionsJson()
{
    Json extensions = Json::Array();
    for (const ExtensionInfo& info : AbilityRegistry::Instance().List()) {
        Json entry = Json::Object();
        entry.Put("bundle", info.bundleName)
            .Put("served", !info.abilities.empty())
            .Put("waitingWants", static_cast<int64_t>(info.waitingWants))
            .Put("connections", static_cast<int64_t>(info.connections));
        extensions.Add(std::move(entry));
    }
    return extensions;
}

constexpr size_t MAX_SHOWN_PARAM = 200; // bytes; pictures are longer

void PutParam(Json& json, const std::string& key, const AAFwk::WantParams::Value& value)
{
    if (const auto* flag = std::get_if<bool>(&value); flag != nullptr) {
        json.Put(key.c_str(), *flag);
    } else if (const auto* number = std::get_if<int32_t>(&value); number != nullptr) {
        json.Put(key.c_str(), int64_t{*number});
    } else if (const auto* large = std::get_if<int64_t>(&value); large != nullptr) {
        json.Put(key.c_str(), *large);
    } else if (const auto* text = std::get_if<std::string>(&value); text != nullptr) {
        json.Put(key.c_str(), text->substr(0, MAX_SHOWN_PARAM));
    } // sets within sets are not for people
}

// What the service has put before its user: dialogs, notifications and offers.
std::string StartedJson()
{
    Json started = Json::Array();
    for (const StartedWant& want : AbilityRegistry::Instance().Started()) {
        Json params = Json::Object();
        for (const auto& [key, value] : want.params.GetParams()) {
            PutParam(params, key, value);
        }
        Json entry = Json::Object();
        entry.Put("sequence", static_cast<int64_t>(want.sequence))
            .Put("ability", want.ability)
            .Put("params", std::move(params))
            .Put("result", int64_t{want.result});
        started.Add(std::move(entry));
    }
    return started.Text();
}

ControlAnswer SimShow(const Words&)
{
    return Done(DeviceJson());
}

ControlAnswer SimAbility(const Words& words, bool present)
{
    auto id = Id(words[0]);
    if (!id.has_value()) {
        return NotANumber(words[0]);
    }
    Model().SetAbilityPresent(*id, present);
    return Done();
}

ControlAnswer SimAbilityAdd(const Words& words)
{
    return SimAbility(words, true);
}

ControlAnswer SimAbilityRemove(const Words& words)
{
    return SimAbility(words, false);
}

ControlAnswer SimPackageCleared(const Words& words)
{
    Model().ClearPackageData(words[0]);
    return Done();
}

ControlAnswer SimCommand(const Words& words)
{
    Model().SetCommand(words[0], Words(words.begin() + 1, words.end()));
    return Done();
}

ControlAnswer SimFault(const Words& words)
{
    auto times = words.size() > 1 ? Id(words[1]) : std::optional<int32_t>(1);
    if (!times.has_value()) {
        return NotANumber(words[1]);
    }
    Faults::Inject(words[0], *times);
    return Done();
}

// One row per command: its words, how many more it takes, what it does.
struct SimRow {
    const char* words;
    size_t least;
    size_t most;
    ControlAnswer (*run)(const Words& words);
    const char* usage;
};

constexpr size_t MANY = 64;

// A row stands before those whose words begin it.
constexpr SimRow SIM_ROWS[] = {
    {"show", 0, 0, SimShow, "show"},
    {"wifi restart", 0, 1, Sim::WifiRestart, "wifi restart [away]"},
    {"wifi fail", 0, 2, Sim::WifiFail, "wifi fail [refuse|stuck|none] [TIMES]"},
    {"wifi", 1, 1, Sim::Wifi, "wifi off|semi|on"},
    {"bluetooth restart", 0, 1, Sim::BluetoothRestart, "bluetooth restart [away]"},
    {"bluetooth fail", 0, 2, Sim::BluetoothFail, "bluetooth fail [refuse|stuck|none] [TIMES]"},
    {"bluetooth", 1, 1, Sim::Bluetooth, "bluetooth off|ble|on|restrict"},
    {"airplane", 1, 1, Sim::Airplane, "airplane on|off"},
    {"slow", 2, 2, Sim::Slow, "slow STEP|all MILLISECONDS"},
    {"user add", 1, 2, Sim::UserAdd, "user add ID [ordinary|primary|private-space]"},
    {"user switch", 1, 1, Sim::UserSwitch, "user switch ID"},
    {"user unlock", 1, 1, Sim::UserUnlock, "user unlock ID"},
    {"user lock", 1, 1, Sim::UserLock, "user lock ID"},
    {"user remove", 1, 1, Sim::UserRemove, "user remove ID"},
    {"setting get", 1, 3, Sim::SettingGet, "setting get KEY [--user N]"},
    {"setting put", 2, 4, Sim::SettingPut, "setting put KEY VALUE [--user N]"},
    {"setting list", 0, 2, Sim::SettingList, "setting list [--user N]"},
    {"oobe finish", 0, 3, Sim::OobeFinish, "oobe finish [agree|decline] [--user N]"},
    {"oobe ota", 1, 3, Sim::OobeOta, "oobe ota start|finish [--user N]"},
    {"oobe reset", 0, 2, Sim::OobeReset, "oobe reset [--user N]"},
    {"oobe collaboration", 1, 1, Sim::OobeCollaboration, "oobe collaboration on|off"},
    {"gesture-switch", 1, 1, Sim::GestureSwitch, "gesture-switch on|off"},
    {"focus", 1, MANY, Sim::Focus, "focus none|PID|BUNDLE..."},
    {"foreground", 1, MANY, Sim::Foreground, "foreground none|BUNDLE..."},
    {"window", 0, 0, Sim::Window, "window"},
    {"ability add", 1, 1, SimAbilityAdd, "ability add ID"},
    {"ability remove", 1, 1, SimAbilityRemove, "ability remove ID"},
    {"event package-cleared", 1, 1, SimPackageCleared, "event package-cleared BUNDLE"},
    {"command", 1, MANY, SimCommand, "command BUNDLE [PROGRAM ARGUMENT...]"},
    {"fault", 1, 2, SimFault, "fault NAME [TIMES]; -1: from now on"},
};

// How many of `words` the row's own words are; 0 when they are others.
size_t Matched(const SimRow& row, const Words& words)
{
    std::string expected = row.words;
    std::string given;
    for (size_t i = 0; i < words.size() && given.size() < expected.size(); ++i) {
        given += (i == 0 ? "" : " ") + words[i];
        if (given == expected) {
            return i + 1;
        }
    }
    return 0;
}

ControlAnswer Run(const SimRow& row, const Words& words)
{
    if (words.size() < row.least || words.size() > row.most) {
        return Refuse(ControlResult::USAGE, std::string("usage: pelago sim ") + row.usage);
    }
    ControlAnswer answer = row.run(words);
    if (answer.result == ControlResult::USAGE) {
        answer.error += std::string("\nusage: pelago sim ") + row.usage;
    }
    Model().WaitUntilTold(); // so that who acts upon the answer, a gesture behind a change of focus, meets the change
    SaveDevice();            // before the answer: what was done stays done, whatever happens to this process
    return answer;
}

// The rows that begin with this word, or all.
std::string Usage(const std::string& word)
{
    std::string all;
    std::string some;
    for (const SimRow& row : SIM_ROWS) {
        const std::string line = std::string("\n  pelago sim ") + row.usage;
        const std::string words = row.words;
        all += line;
        some += words.substr(0, words.find(' ')) == word ? line : "";
    }
    return "no such command; there are:" + (some.empty() ? all : some);
}

ControlAnswer SimList()
{
    Json list = Json::Array();
    for (const SimRow& row : SIM_ROWS) {
        list.Add(std::string(row.usage));
    }
    return Done(list.Text());
}

// Without words: what there is.
ControlAnswer SimCommandLine(const Words& words)
{
    if (words.empty()) {
        return SimList();
    }
    for (const SimRow& row : SIM_ROWS) {
        if (const size_t matched = Matched(row, words); matched > 0) {
            return Run(row, Words(words.begin() + static_cast<ptrdiff_t>(matched), words.end()));
        }
    }
    return Refuse(ControlResult::USAGE, Usage(words[0]));
}

ControlAnswer LogLevelCommand(const std::string& text)
{
    auto level = LogLevelFromText(text);
    if (!level.has_value()) {
        return Refuse(ControlResult::USAGE, "a level is debug, info, warn, error or fatal");
    }
    SetLogLevel(*level);
    return Done();
}

// "log [AFTER]": the lines behind number AFTER. "log level LEVEL": what is kept from now on.
ControlAnswer LogCommand(const Words& words)
{
    if (words.size() == 2 && words[0] == "level") {
        return LogLevelCommand(words[1]);
    }
    auto after = words.empty() ? std::optional<int64_t>(0) : Number(words[0]);
    if (!after.has_value() || words.size() > 1) {
        return Refuse(ControlResult::USAGE, "usage: pelago log [AFTER], pelago log level LEVEL");
    }
    Json lines = Json::Array();
    for (const LogLine& line : ReadLog(static_cast<uint64_t>(*after))) {
        Json entry = Json::Object();
        entry.Put("seq", static_cast<int64_t>(line.seq))
            .Put("time", line.timeMs)
            .Put("level", LogLevelText(line.level))
            .Put("tag", line.tag)
            .Put("text", line.text)
            .Put("line", FormatLogLine(line));
        lines.Add(std::move(entry));
    }
    return Done(lines.Text());
}

// "events [AFTER]": the telemetry behind number AFTER.
ControlAnswer EventsCommand(const Words& words)
{
    auto after = words.empty() ? std::optional<int64_t>(0) : Number(words[0]);
    if (!after.has_value() || words.size() > 1) {
        return Refuse(ControlResult::USAGE, "usage: pelago events [AFTER]");
    }
    Json events = Json::Array();
    for (const SysEvent& event : ReadSysEvents(static_cast<uint64_t>(*after))) {
        events.Add(Json::Object().Put("seq", static_cast<int64_t>(event.seq)).PutRaw("event", event.json));
    }
    return Done(events.Text());
}

} // namespace

std::string DeviceJson()
{
    DeviceSnapshot device = Model().Snapshot();
    return Json::Object()
        .Put("name", device.identity.name)
        .Put("udid", device.identity.udid)
        .Put("type", device.identity.type)
        .Put("root", device.identity.root)
        .Put("pid", static_cast<int64_t>(::getpid()))
        .Put("radios", RadiosJson(device))
        .Put("radioSteps", StepsJson(device.timings))
        .Put("users", UsersJson(device))
        .Put("abilities", NumbersJson(device.abilities))
        .Put("applications", ApplicationsJson(device.applications))
        .Put("foreground", ApplicationsJson(device.foregroundApplications))
        .Put("focus", NumbersJson(device.focusedPids))
        .Put("tokens", TokensJson(device))
        .Put("extensions", ExtensionsJson())
        .Text();
}

Device& Model()
{
    return Device::Instance();
}

std::optional<int64_t> Number(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || end != text.c_str() + text.size() || errno != 0) {
        return std::nullopt;
    }
    return value;
}

std::optional<int32_t> Id(const std::string& text)
{
    const auto value = Number(text);
    const bool fits = value.has_value() && *value >= std::numeric_limits<int32_t>::min() &&
                      *value <= std::numeric_limits<int32_t>::max();
    return fits ? std::optional(static_cast<int32_t>(*value)) : std::nullopt;
}

ControlAnswer NotANumber(const std::string& text)
{
    return Refuse(ControlResult::USAGE, "'" + EscapeForTerminal(text) + "' is not a number that can be meant");
}

ControlAnswer NoSuch(const std::string& what, const std::string& which)
{
    return Refuse(ControlResult::NO_SUCH_ENTRY, "there is no " + what + " '" + EscapeForTerminal(which) + "'");
}

ControlAnswer SettingsFailed()
{
    return Refuse(ControlResult::FAILED, "the settings database does not take it; see `pelago log`");
}

void AddSimCommands(DeviceControl& control)
{
    control.AddCommand("sim", SimCommandLine);
    control.AddCommand("log", LogCommand);
    control.AddCommand("events", EventsCommand);
    control.AddSection("device", DeviceJson);
    control.AddSection("started", StartedJson);
}

} // namespace OHOS::Host
