#include "sim_commands.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include "hilog/host_log.h"
#include "host/ability_registry.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/host_settings.h"
#include "host/json_text.h"
#include "host_sys_event.h"

namespace OHOS::Host {
namespace {

Device& Model()
{
    return Device::Instance();
}

std::optional<int64_t> Number(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno != 0) {
        return std::nullopt;
    }
    return value;
}

ControlAnswer NotANumber(const std::string& text)
{
    return Refuse(ControlResult::USAGE, "'" + EscapeForTerminal(text) + "' is not a number");
}

ControlAnswer NoSuch(const std::string& what, const std::string& which)
{
    return Refuse(ControlResult::NO_SUCH_ENTRY, "there is no " + what + " '" + EscapeForTerminal(which) + "'");
}

// One word out of a few, and what it stands for.
template <typename Value>
struct Choice {
    const char* word;
    Value value;
};

template <typename Value, size_t count>
std::optional<Value> Choose(const std::array<Choice<Value>, count>& choices, const std::string& word)
{
    auto found = std::find_if(
        choices.begin(), choices.end(), [&word](const Choice<Value>& choice) { return word == choice.word; });
    return found == choices.end() ? std::nullopt : std::optional<Value>(found->value);
}

constexpr std::array<Choice<WifiMode>, 3> WIFI_MODES{
    {{"off", WifiMode::OFF}, {"semi", WifiMode::SEMI}, {"on", WifiMode::ON}}};
constexpr std::array<Choice<BluetoothMode>, 3> BLUETOOTH_MODES{
    {{"off", BluetoothMode::OFF}, {"ble", BluetoothMode::BLE_ONLY}, {"on", BluetoothMode::ON}}};
constexpr std::array<Choice<int32_t>, 2> USER_TYPES{
    {{"ordinary", UserType::ORDINARY}, {"private-space", UserType::PRIVATE}}};

Json RadiosJson(const RadioStates& radios)
{
    Json json = Json::Object();
    json.Put("wifi", static_cast<int64_t>(radios.wifi))
        .Put("bluetooth", static_cast<int64_t>(radios.bluetooth))
        .Put("ble", radios.ble);
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

std::string DeviceJson()
{
    DeviceSnapshot device = Model().Snapshot();
    Json abilities = Json::Array();
    for (int32_t id : device.abilities) {
        abilities.Add(static_cast<int64_t>(id));
    }
    return Json::Object()
        .Put("name", device.identity.name)
        .Put("udid", device.identity.udid)
        .Put("type", device.identity.type)
        .Put("root", device.identity.root)
        .Put("radios", RadiosJson(device.radios))
        .Put("users", UsersJson(device))
        .Put("abilities", std::move(abilities))
        .Put("tokens", TokensJson(device))
        .Put("extensions", ExtensionsJson())
        .Text();
}

ControlAnswer SimShow(const Words&)
{
    return Done(DeviceJson());
}

ControlAnswer SimWifi(const Words& words)
{
    auto mode = Choose(WIFI_MODES, words[0]);
    if (!mode.has_value()) {
        return Refuse(ControlResult::USAGE, "Wi-Fi can be off, semi or on");
    }
    Model().SwitchWifi(*mode);
    return Done();
}

ControlAnswer SimBluetooth(const Words& words)
{
    auto mode = Choose(BLUETOOTH_MODES, words[0]);
    if (!mode.has_value()) {
        return Refuse(ControlResult::USAGE, "Bluetooth can be off, ble or on");
    }
    Model().SwitchBluetooth(*mode);
    return Done();
}

ControlAnswer SimUserAdd(const Words& words)
{
    auto id = Number(words[0]);
    if (!id.has_value()) {
        return NotANumber(words[0]);
    }
    auto type = words.size() > 1 ? Choose(USER_TYPES, words[1]) : std::optional<int32_t>(UserType::ORDINARY);
    if (!type.has_value()) {
        return Refuse(ControlResult::USAGE, "a user is ordinary or private-space");
    }
    if (!Model().PutUser({static_cast<int32_t>(*id), *type, false, {}})) {
        return Refuse(ControlResult::USAGE, "a user's id is not negative");
    }
    return Done();
}

// The commands that name one user by its id.
ControlAnswer OnUser(const Words& words, const std::function<bool(int32_t)>& change)
{
    auto id = Number(words[0]);
    if (!id.has_value()) {
        return NotANumber(words[0]);
    }
    return change(static_cast<int32_t>(*id)) ? Done() : NoSuch("user that this can be done to,", words[0]);
}

ControlAnswer SimUserSwitch(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().SwitchUser(id); });
}

ControlAnswer SimUserUnlock(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().SetVerified(id, true); });
}

ControlAnswer SimUserLock(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().SetVerified(id, false); });
}

ControlAnswer SimUserRemove(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().RemoveUser(id); });
}

// The words "--user N" behind a setting name the table of that user.
bool TakeUser(const Words& words, size_t from, std::optional<int32_t>& user)
{
    if (words.size() == from) {
        return true;
    }
    auto id = words.size() == from + 2 && words[from] == "--user" ? Number(words[from + 1]) : std::nullopt;
    if (id.has_value()) {
        user = static_cast<int32_t>(*id);
    }
    return id.has_value();
}

ControlAnswer SimSettingGet(const Words& words)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, 1, user)) {
        return Refuse(ControlResult::USAGE, "behind the key may stand --user N");
    }
    auto value = HostSettings::Get(words[0], user);
    return value.has_value() ? Done(Json::Object().Put("key", words[0]).Put("value", *value).Text())
                             : NoSuch("setting", words[0]);
}

ControlAnswer SimSettingPut(const Words& words)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, 2, user)) {
        return Refuse(ControlResult::USAGE, "behind the value may stand --user N");
    }
    return HostSettings::Put(words[0], words[1], user)
               ? Done()
               : Refuse(ControlResult::FAILED, "the settings database does not take it; see `pelago log`");
}

ControlAnswer SimSettingList(const Words& words)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, 0, user)) {
        return Refuse(ControlResult::USAGE, "behind list may stand --user N");
    }
    auto settings = HostSettings::List(user);
    if (!settings.has_value()) {
        return Refuse(ControlResult::FAILED, "the settings database cannot be read; see `pelago log`");
    }
    Json list = Json::Array();
    for (const Setting& setting : *settings) {
        list.Add(Json::Object().Put("key", setting.key).Put("value", setting.value));
    }
    return Done(list.Text());
}

ControlAnswer SimAbility(const Words& words, bool present)
{
    auto id = Number(words[0]);
    if (!id.has_value()) {
        return NotANumber(words[0]);
    }
    Model().SetAbilityPresent(static_cast<int32_t>(*id), present);
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
    auto times = words.size() > 1 ? Number(words[1]) : std::optional<int64_t>(1);
    if (!times.has_value()) {
        return NotANumber(words[1]);
    }
    Faults::Inject(words[0], static_cast<int>(*times));
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

constexpr SimRow SIM_ROWS[] = {
    {"show", 0, 0, SimShow, "show"},
    {"wifi", 1, 1, SimWifi, "wifi off|semi|on"},
    {"bluetooth", 1, 1, SimBluetooth, "bluetooth off|ble|on"},
    {"user add", 1, 2, SimUserAdd, "user add ID [ordinary|private-space]"},
    {"user switch", 1, 1, SimUserSwitch, "user switch ID"},
    {"user unlock", 1, 1, SimUserUnlock, "user unlock ID"},
    {"user lock", 1, 1, SimUserLock, "user lock ID"},
    {"user remove", 1, 1, SimUserRemove, "user remove ID"},
    {"setting get", 1, 3, SimSettingGet, "setting get KEY [--user N]"},
    {"setting put", 2, 4, SimSettingPut, "setting put KEY VALUE [--user N]"},
    {"setting list", 0, 2, SimSettingList, "setting list [--user N]"},
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

ControlAnswer Sim(const Words& words)
{
    for (const SimRow& row : SIM_ROWS) {
        size_t matched = Matched(row, words);
        if (matched == 0) {
            continue;
        }
        Words rest(words.begin() + static_cast<ptrdiff_t>(matched), words.end());
        if (rest.size() < row.least || rest.size() > row.most) {
            return Refuse(ControlResult::USAGE, std::string("usage: pelago sim ") + row.usage);
        }
        return row.run(rest);
    }
    std::string usage = "no such command; there are:";
    for (const SimRow& row : SIM_ROWS) {
        usage += std::string("\n  pelago sim ") + row.usage;
    }
    return Refuse(ControlResult::USAGE, usage);
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

void AddSimCommands(DeviceControl& control)
{
    control.AddCommand("sim", Sim);
    control.AddCommand("log", LogCommand);
    control.AddCommand("events", EventsCommand);
    control.AddSection("device", DeviceJson);
}

} // namespace OHOS::Host
