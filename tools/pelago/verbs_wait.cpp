#include <algorithm>
#include <memory>
#include <optional>

#include <cJSON.h>

#include "host/json_text.h"
#include "output.h"
#include "verbs.h"
#include "watch.h"

// Waiting until something is so.
namespace OHOS::Pelago::Tools {
namespace {

using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

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
    JsonValue json; // what the value says, for a state that is no text; null: only a text can be that
};

std::string NamesIn(const cJSON* object)
{
    std::string names;
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, object)
    {
        names += entry->string == nullptr ? "" : (names.empty() ? "" : ", ") + std::string(entry->string);
    }
    return names.empty() ? "none" : names;
}

std::optional<Wanted> WantedFrom(const std::string& text)
{
    size_t equals = text.find('=');
    size_t dot = text.find('.');
    if (equals == std::string::npos || dot >= equals) {
        return std::nullopt;
    }
    Wanted wanted{text.substr(0, dot), {}, text.substr(equals + 1), JsonValue(nullptr, cJSON_Delete)};
    wanted.json.reset(cJSON_ParseWithOpts(wanted.value.c_str(), nullptr, 1));
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
    return cJSON_IsString(state) ? wanted.value == state->valuestring : cJSON_Compare(state, wanted.json.get(), 1) != 0;
}

std::string KindOf(const cJSON* value)
{
    return cJSON_IsString(value)   ? "a text"
           : cJSON_IsNumber(value) ? "a number"
           : cJSON_IsBool(value)   ? "true or false"
           : cJSON_IsArray(value)  ? "a list"
           : cJSON_IsObject(value) ? "a set of keys"
                                   : "nothing";
}

// Values keep their kind: one of another kind never comes about.
ExitCode CheckKind(const cJSON* state, const Wanted& wanted)
{
    if (cJSON_IsString(state) || KindOf(state) == KindOf(wanted.json.get())) {
        return EXIT_DONE;
    }
    Complain("'" + wanted.keys.back() + "' is " + KindOf(state) + " and will never be '" + wanted.value +
             "'; now it is: " + Host::JsonText(state));
    return EXIT_USAGE;
}

// Whether the device has such a section, such keys and values of that kind: what it has not is no state to wait for.
ExitCode CheckWanted(const Context& context, const Wanted& wanted)
{
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, {"state"}, answer); code != EXIT_DONE) {
        return code;
    }
    JsonValue sections(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    const cJSON* place = cJSON_GetObjectItemCaseSensitive(sections.get(), wanted.section.c_str());
    if (place == nullptr) {
        Complain("there is no section '" + wanted.section + "'; there are: " + NamesIn(sections.get()));
        return EXIT_USAGE;
    }
    for (const std::string& key : wanted.keys) {
        const cJSON* inner = cJSON_GetObjectItemCaseSensitive(place, key.c_str());
        if (inner == nullptr) {
            Complain("there is no key '" + key + "' in '" + place->string + "'; " +
                     (cJSON_IsObject(place) ? "there are: " + NamesIn(place) : "it is " + KindOf(place)));
            return EXIT_USAGE;
        }
        place = inner;
    }
    return CheckKind(place, wanted);
}

constexpr int STATE_ON = 1;

// What was never switched on is off.
ExitCode WaitForSwitch(const Context& context, bool on, int seconds)
{
    return WaitForState(
        context, "switch",
        [on](const cJSON* state) {
            const cJSON* enable = cJSON_GetObjectItemCaseSensitive(state, "enableState");
            return (cJSON_IsNumber(enable) && enable->valueint == STATE_ON) == on;
        },
        seconds);
}

ExitCode WaitForPeer(const Context& context, const WaitOptions& options)
{
    if (options.name.empty()) {
        Complain("say which peer: pelago wait-for peer NAME");
        return EXIT_USAGE;
    }
    return WaitForState(
        context, "peers", [&options](const cJSON* peers) { return HasPeer(peers, options.name); }, options.seconds);
}

ExitCode WaitForText(const Context& context, const WaitOptions& options)
{
    auto wanted = WantedFrom(options.name);
    if (!wanted.has_value()) {
        Complain("say which state: pelago wait-for state SECTION.KEY=VALUE\nsections and keys: pelago -j watch");
        return EXIT_USAGE;
    }
    if (ExitCode code = CheckWanted(context, *wanted); code != EXIT_DONE) {
        return code;
    }
    return WaitForState(
        context, wanted->section, [&wanted](const cJSON* state) { return IsSo(state, *wanted); }, options.seconds);
}

ExitCode WaitFor(const Context& context, const WaitOptions& options)
{
    const bool takesName = options.what == "peer" || options.what == "state";
    if (!takesName && !options.name.empty()) {
        Complain("'" + options.name + "' is a word too many; see: pelago wait-for --help");
        return EXIT_USAGE;
    }
    ExitCode code = options.what == "peer"    ? WaitForPeer(context, options)
                    : options.what == "state" ? WaitForText(context, options)
                                              : WaitForSwitch(context, options.what == "on", options.seconds);
    if (code == EXIT_TIMED_OUT) {
        Complain("'" + options.what + (takesName ? " " + options.name : "") + "' did not come about in " +
                 SecondsText(options.seconds) + "; how it is: pelago -j watch");
    }
    return code;
}

} // namespace

Action WaitForVerb(CLI::App& app)
{
    auto options = std::make_shared<WaitOptions>();
    app.add_option("WHAT", options->what, "what is to come about")
        ->required()
        ->check(OneOf({"on", "off", "peer", "state"}));
    app.add_option("NAME", options->name,
        "the peer, by id, name or contact; the state as SECTION.KEY=VALUE, as `pelago -j watch` shows it");
    app.add_option("--timeout", options->seconds, "for how long at most")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(Seconds());
    app.footer("For example:\n  pelago wait-for peer \"Green tablet\"\n  pelago wait-for state tap.preparing=false");
    return [options](const Context& context) { return WaitFor(context, *options); };
}

} // namespace OHOS::Pelago::Tools
