#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>

#include <cJSON.h>

#include "hilog/host_text.h"
#include "host/ability_host.h"
#include "output.h"
#include "verbs.h"
#include "watch.h"

// The switch.
namespace OHOS::Pelago::Tools {
namespace {

constexpr int STATE_ON = 1;
constexpr int STATE_OFF = 2;
constexpr int SWITCH_LIMIT_SECONDS = 15; // the service gives up on the radios after ten

const std::map<std::string, int> TYPES{{"hidden", 0}, {"timed", 1}, {"lasting", 2}, {"swing", 3}};

struct OnOptions {
    std::string type = "lasting";
    bool ask = false;
    bool wait = true;
};

bool StateIs(const cJSON* state, int wanted)
{
    const cJSON* enable = cJSON_GetObjectItemCaseSensitive(state, "enableState");
    return cJSON_IsNumber(enable) && enable->valueint == wanted;
}

ExitCode Request(const Context& context, int state, int type, bool ask)
{
    Connection connection;
    if (ExitCode code = Connection::Open(context, "owner", connection); code != EXIT_DONE) {
        return code;
    }
    if (!connection.service->SetShareEnableWithConfirm(state, type, ask, ask)) {
        return ExplainFailure(state == STATE_ON ? "switching sharing on" : "switching sharing off");
    }
    return EXIT_DONE;
}

// Observes without registering, so that waiting changes nothing.
ExitCode Switch(const Context& context, int state, int type, bool ask, bool wait)
{
    ExitCode requested = Request(context, state, type, ask);
    if (requested == EXIT_DONE && !wait && context.json) {
        PrintJson("null"); // how it ends is for others to see
    }
    if (requested != EXIT_DONE || !wait) {
        return requested;
    }
    ExitCode code = WaitForState(
        context, "switch", [state](const cJSON* json) { return StateIs(json, state); }, SWITCH_LIMIT_SECONDS);
    if (code == EXIT_TIMED_OUT) {
        Complain(std::string("sharing did not go ") + (state == STATE_ON ? "on" : "off") +
                 "; a radio may be missing: pelago sim show");
    }
    return code;
}

ExitCode Status(const Context& context)
{
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, {"status"}, answer); code != EXIT_DONE) {
        return code;
    }
    if (context.json) {
        PrintJson(answer.json);
        return EXIT_DONE;
    }
    std::unique_ptr<cJSON, void (*)(cJSON*)> json(cJSON_Parse(answer.json.c_str()), cJSON_Delete);
    const cJSON* name = cJSON_GetObjectItemCaseSensitive(json.get(), "name");
    const cJSON* state = cJSON_GetObjectItemCaseSensitive(json.get(), "switch");
    const cJSON* peers = cJSON_GetObjectItemCaseSensitive(json.get(), "peers");
    std::string word = StateIs(state, STATE_ON) ? "on" : StateIs(state, STATE_OFF) ? "off" : "never switched on";
    PrintLine(Host::EscapeForTerminal(cJSON_IsString(name) ? name->valuestring : "") + ": sharing " + word + ", " +
              Counted(cJSON_GetArraySize(peers), "peer"));
    return EXIT_DONE;
}

} // namespace

Action OnVerb(CLI::App& app)
{
    auto options = std::make_shared<OnOptions>();
    app.add_option("--type", options->type, "who may see the device, and for how long (timed: ten minutes)")
        ->type_name("TYPE")
        ->check(OneOf({"hidden", "timed", "lasting", "swing"}))
        ->capture_default_str();
    app.add_flag("--ask", options->ask, "as the sharing UI would: first-use and radio dialogs where they are due");
    app.add_flag("!--no-wait", options->wait, "come back at once");
    return [options](const Context& context) {
        return Switch(context, STATE_ON, TYPES.at(options->type), options->ask, options->wait && !options->ask);
    };
}

Action OffVerb(CLI::App&)
{
    return [](const Context& context) { return Switch(context, STATE_OFF, 0, false, true); };
}

Action StatusVerb(CLI::App&)
{
    return Status;
}

} // namespace OHOS::Pelago::Tools
