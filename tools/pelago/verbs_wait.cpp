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

// Whether the device has such a section and such keys; what it has not is no state to wait for.
ExitCode CheckNames(const Context& context, const Wanted& wanted)
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
            Complain("there is no key '" + key + "' in '" + wanted.section + "'; there are: " + NamesIn(place));
            return EXIT_USAGE;
        }
        place = inner;
    }
    return EXIT_DONE;
}

constexpr const char* STATE_OF_ON = "switch.enableState=1";
constexpr const char* STATE_OF_OFF = "switch.enableState=2";

ExitCode WaitForPeer(const Context& context, const WaitOptions& options)
{
    if (options.name.empty()) {
        Complain("say which peer: pelago wait-for peer NAME");
        return EXIT_USAGE;
    }
    return WaitForState(
        context, "peers", [&options](const cJSON* peers) { return HasPeer(peers, options.name); }, options.seconds);
}

ExitCode WaitForText(const Context& context, const std::string& text, int seconds)
{
    auto wanted = WantedFrom(text);
    if (!wanted.has_value()) {
        Complain("say which state: pelago wait-for state SECTION.KEY=VALUE\nsections and keys: pelago -j watch");
        return EXIT_USAGE;
    }
    if (ExitCode code = CheckNames(context, *wanted); code != EXIT_DONE) {
        return code;
    }
    return WaitForState(
        context, wanted->section, [&wanted](const cJSON* state) { return IsSo(state, *wanted); }, seconds);
}

ExitCode WaitFor(const Context& context, const WaitOptions& options)
{
    const bool takesName = options.what == "peer" || options.what == "state";
    if (!takesName && !options.name.empty()) {
        Complain("'" + options.name + "' is a word too many; see: pelago wait-for --help");
        return EXIT_USAGE;
    }
    ExitCode code = options.what == "peer" ? WaitForPeer(context, options)
                                           : WaitForText(context,
                                                 options.what == "on"    ? STATE_OF_ON
                                                 : options.what == "off" ? STATE_OF_OFF
                                                                         : options.name,
                                                 options.seconds);
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
