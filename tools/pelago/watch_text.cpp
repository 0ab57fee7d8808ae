#include "watch_text.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "hilog/host_text.h"
#include "host/json_text.h"
#include "peers.h"

namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

constexpr size_t SHOWN_TEXT = 160; // of a published text; all of it with --json

// A line that the service logs on the way to a change of the switch, and what it means. The last one before a change is
// its cause: changes are made by one thread, one after the other.
struct Cause {
    const char* line;
    const char* reason;
};

constexpr Cause CAUSES[] = {
    {"SetShareEnable enter", "a client asked for it"},
    {"SetShareEnableWithConfirm enter", "a client asked for it"},
    {"SwitchTimerInfo::OnTrigger", "the ten minutes of the timed type are over"},
    {"WifiOrBluetoothStateChangedEvent invoked, isTurnOn: 0", "a radio went away"},
    {"WifiOrBluetoothStateChangedEvent invoked, isTurnOn: 1", "a radio came up"},
    {"EnablingData, enableState", "the radios are up that were waited for"},
    {"Recover switch to enableState", "the radios are back"},
    {"timeout check: fail to enable", "the radios did not come up in time"},
    {"SwitchUserToOther invoked", "another user came to the front"},
    {"InitShareState() enter", "the saved state of the user was loaded"},
    {"package data cleared", "the data of the front end was cleared"},
    {"HandleOnSwingOn invoked", "the air gesture was switched on"},
    {"AgreeEnhanceOobeEvent invoked", "the user agreed at the device's set-up"},
    {"RejectEnhanceOobeEvent invoked", "the user declined at the device's set-up"},
};

constexpr const char* CHANGE = "UpdateShareSwitchState, enableState: ";
constexpr const char* UNKNOWN = "the log does not say why";

const cJSON* Member(const cJSON* object, const char* key)
{
    return cJSON_GetObjectItemCaseSensitive(object, key);
}

int Number(const cJSON* object, const char* key, int otherwise = -1)
{
    const cJSON* value = Member(object, key);
    return cJSON_IsNumber(value) ? value->valueint : otherwise;
}

bool IsTrue(const cJSON* object, const char* key)
{
    return cJSON_IsTrue(Member(object, key)) != 0;
}

std::string Text(const cJSON* object, const char* key)
{
    const cJSON* value = Member(object, key);
    return cJSON_IsString(value) ? EscapeForTerminal(value->valuestring) : std::string();
}

std::string Compact(const cJSON* value)
{
    return Host::JsonText(value);
}

template <size_t count>
std::string Word(const char* const (&words)[count], int number)
{
    return number >= 0 && static_cast<size_t>(number) < count ? words[number] : std::to_string(number);
}

using Lines = std::map<std::string, std::string>;

void SwitchLines(const cJSON* state, Lines& lines)
{
    constexpr const char* STATES[] = {"never switched on", "on", "off"};
    constexpr const char* TYPES[] = {"hidden", "timed", "lasting", "swing"};
    constexpr const char* SWINGS[] = {"off", "on", "on, but sharing is off"};
    std::string reason = Text(state, "reason");
    lines["switch"] = Word(STATES, Number(state, "enableState")) + " (" + Word(TYPES, Number(state, "detectableType")) +
                      ")" + (IsTrue(state, "enabling") ? ", waiting for the radios" : "") +
                      (reason.empty() ? "" : ": " + reason);
    lines["user"] = std::to_string(Number(state, "user")) + " is served";
    lines["air gesture"] = Word(SWINGS, Number(state, "swingState"));
}

// "com.example.photos (pid 4711)"; what is no application has its pid alone.
std::string ProcessText(const cJSON* applications, int pid)
{
    const cJSON* application = nullptr;
    cJSON_ArrayForEach(application, applications)
    {
        if (Number(application, "pid") == pid) {
            return Text(application, "bundle") + " (pid " + std::to_string(pid) + ")";
        }
    }
    return "pid " + std::to_string(pid);
}

// A list of pids, or of applications.
std::string ProcessesText(const cJSON* applications, const cJSON* list)
{
    std::string text;
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, list)
    {
        int pid = cJSON_IsNumber(entry) ? entry->valueint : Number(entry, "pid");
        text += (text.empty() ? "" : ", ") + ProcessText(applications, pid);
    }
    return text.empty() ? "nobody" : text;
}

void DeviceLines(const cJSON* state, Lines& lines)
{
    constexpr const char* WIFI[] = {"off", "on", "coming up", "going down", "coming up half", "half on"};
    constexpr const char* BLUETOOTH[] = {"coming up", "on", "going down", "off"};
    const cJSON* radios = Member(state, "radios");
    lines["wifi"] = Word(WIFI, Number(radios, "wifi"));
    lines["bluetooth"] = Word(BLUETOOTH, Number(radios, "bluetooth")) + (IsTrue(radios, "ble") ? ", BLE up" : "");
    const cJSON* user = nullptr;
    cJSON_ArrayForEach(user, Member(state, "users"))
    {
        if (IsTrue(user, "foreground")) {
            lines["in front"] =
                "user " + std::to_string(Number(user, "id")) + (IsTrue(user, "verified") ? "" : ", locked");
        }
    }
    const cJSON* applications = Member(state, "applications");
    lines["in focus"] = ProcessesText(applications, Member(state, "focus"));
    lines["on the screen"] = ProcessesText(applications, Member(state, "foreground"));
}

void PeerLines(const cJSON* state, Lines& lines)
{
    const cJSON* peer = nullptr;
    cJSON_ArrayForEach(peer, state)
    {
        lines["peer " + Text(peer, "id")] = Text(peer, "name") + ", " + StateText(Number(peer, "state")) + ", " +
                                            std::to_string(Number(peer, "percent")) + "%";
    }
}

void GestureLines(const cJSON* state, Lines& lines)
{
    constexpr const char* CACHES[] = {"empty", "files by descriptor", "files by name", "bytes"};
    lines["gesture"] =
        Number(state, "gesture") < 0 ? "none waits" : "waits for an application (" + Text(state, "concurrentId") + ")";
    lines["gesture cache"] = Word(CACHES, Number(state, "cacheType")) +
                             (IsTrue(state, "sending") ? ", the last one is being sent" : "") + ", show mode " +
                             std::to_string(Number(state, "showMode"));
    if (Member(state, "apps") == nullptr) {
        return;
    }
    lines["applications"] = std::to_string(Number(state, "apps", 0)) + " registered, " +
                            std::to_string(Number(state, "swing", 0)) + " want gestures, " +
                            std::to_string(Number(state, "knock", 0)) + " want knocks";
}

void TapLines(const cJSON* state, Lines& lines)
{
    lines["tap sender"] = std::string(IsTrue(state, "senderRequested") ? "asked for" : "not asked for") +
                          (IsTrue(state, "senderDeleting") ? ", ending" : "") +
                          (IsTrue(state, "preparing") ? ", a tap is under way" : "");
    lines["tap receiver"] = std::string(IsTrue(state, "receiver") ? "listening" : "not listening") +
                            (IsTrue(state, "delivering") ? ", a tap is under way" : "");
}

// The text under `key` in little room: JSON without its layout, anything else as it is.
std::string Short(const cJSON* object, const char* key)
{
    const cJSON* value = Member(object, key);
    JsonValue inner(cJSON_IsString(value) ? cJSON_Parse(value->valuestring) : nullptr, cJSON_Delete);
    std::string text = inner == nullptr ? Text(object, key) : Compact(inner.get());
    // Escaped once more, since a character may have been cut.
    return text.size() <= SHOWN_TEXT ? text : EscapeForTerminal(text.substr(0, SHOWN_TEXT)) + "...";
}

// "published #0012": sorts as it counts.
std::string Numbered(const std::string& what, const cJSON* entry, const char* key)
{
    char number[16];
    (void)std::snprintf(number, sizeof(number), " #%04d", Number(entry, key, 0));
    return what + number;
}

// "started #0003: CorvaneShareApiServiceExtension {"CorvaneShareIntent":"nudgeConnectFail","connectErrCode":1203}".
void StartedLines(const cJSON* state, Lines& lines)
{
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, state)
    {
        lines[Numbered("started", entry, "sequence")] = Text(entry, "ability") + " " +
                                                        Compact(Member(entry, "params")) +
                                                        (Number(entry, "result") == 0 ? "" : ", but nobody shows it");
    }
}

void CollabLines(const cJSON* state, Lines& lines)
{
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, Member(state, "states"))
    {
        lines[Numbered("published", entry, "sequence")] = Text(entry, "service") + ", state " +
                                                          std::to_string(Number(entry, "state")) + ": " +
                                                          Short(entry, "extraInfo");
    }
    cJSON_ArrayForEach(entry, Member(state, "texts"))
    {
        std::string peer = Text(entry, "peer");
        lines[Numbered(Text(entry, "what"), entry, "sequence")] =
            (peer.empty() ? std::string("played by hand") : "peer " + peer) + ": " + Short(entry, "text");
    }
    cJSON_ArrayForEach(entry, Member(state, "taps"))
    {
        lines[Numbered("tap", entry, "tap")] = Text(entry, "step") + ", peer " + Text(entry, "peer");
    }
}

constexpr struct {
    const char* section;
    void (*read)(const cJSON* state, Lines& lines);
} SECTIONS[] = {
    {"switch", SwitchLines},
    {"device", DeviceLines},
    {"peers", PeerLines},
    {"gesture", GestureLines},
    {"tap", TapLines},
    {"collab", CollabLines},
    {"started", StartedLines},
};

Lines LinesOf(const std::string& section, const cJSON* state)
{
    Lines lines;
    for (const auto& row : SECTIONS) {
        if (section == row.section) {
            row.read(state, lines);
            return lines;
        }
    }
    lines[EscapeForTerminal(section)] = Compact(state);
    return lines;
}

} // namespace

SwitchReason::SwitchReason(const sptr<Host::IDeviceControl>& control) : control_(control), cause_(UNKNOWN)
{}

const std::string& SwitchReason::Look()
{
    Host::ControlAnswer answer = control_->Execute({"log", std::to_string(after_)});
    JsonValue log(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, log.get())
    {
        int64_t seq = Number(entry, "seq", 0);
        if (seq != after_ + 1) {
            cause_ = UNKNOWN; // lines are missing, and the cause may be among them
        }
        after_ = seq;
        const cJSON* text = Member(entry, "text");
        Read(cJSON_IsString(text) ? text->valuestring : "");
    }
    return reason_;
}

void SwitchReason::Read(const std::string& line)
{
    auto cause = std::find_if(std::begin(CAUSES), std::end(CAUSES),
        [&line](const Cause& row) { return line.find(row.line) != std::string::npos; });
    if (cause != std::end(CAUSES)) {
        cause_ = cause->reason;
        return;
    }
    size_t at = line.find(CHANGE);
    int from[2];
    int to[2];
    if (at != std::string::npos &&
        std::sscanf(line.c_str() + at, "UpdateShareSwitchState, enableState: %d -> %d, detectableType: %d -> %d",
            &from[0], &to[0], &from[1], &to[1]) == 4 &&
        (from[0] != to[0] || from[1] != to[1])) {
        reason_ = cause_;
    }
}

std::vector<std::string> WatchText::Changes(const std::string& section, const cJSON* state)
{
    Lines now = LinesOf(section, state);
    Lines& before = told_[section];
    std::vector<std::string> changes;
    for (const auto& [label, text] : now) {
        if (auto told = before.find(label); told == before.end() || told->second != text) {
            changes.emplace_back(label).append(": ").append(text);
        }
    }
    for (const auto& [label, text] : before) {
        if (now.count(label) == 0 && section == "peers") {
            changes.emplace_back(label).append(": gone");
        }
    }
    before = std::move(now);
    return changes;
}

} // namespace OHOS::Pelago::Tools
