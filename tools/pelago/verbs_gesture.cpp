#include <algorithm>
#include <memory>

#include <cJSON.h>

#include "hilog/host_text.h"
#include "output.h"
#include "peers.h"
#include "share_constants.h"
#include "verbs.h"

// What people do with their hands: a gesture that takes something, its confirmation, and a tap.
namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

constexpr int32_t CHOICE_GO_ON = 1;
constexpr int32_t CHOICE_END = 0; // anything but the other one

struct SwingOptions {
    std::string choice; // "confirm", "refuse", or none: the gesture itself
    std::string at;
};

// How an entry looks while its send waits for the dialog.
bool MayWait(const ShareDeviceInfo& peer)
{
    return peer.deviceState == DeviceState::PREPARED || peer.deviceState == DeviceState::CONNECTING;
}

// The one entry that may wait for an answer and that the name fits. Complains when there is none or more than one: it
// never guesses.
ExitCode FindSend(ITrellisService& service, const std::string& name, ShareDeviceInfo& found)
{
    std::vector<ShareDeviceInfo> sends = service.GetAllUserList();
    auto end = std::remove_if(sends.begin(), sends.end(),
        [&name](const ShareDeviceInfo& peer) { return !MayWait(peer) || !(name.empty() || IsNamed(peer, name)); });
    sends.erase(end, sends.end());
    if (sends.empty()) {
        Complain("no swing waits for an answer; make one with: pelago swing");
        return EXIT_NO_SUCH;
    }
    if (sends.size() > 1) {
        std::string text = "several sends are under way; say which one:";
        for (const ShareDeviceInfo& peer : sends) {
            text += "\n  pelago swing ... --at \"" + EscapeForTerminal(peer.btName) + "\"";
        }
        Complain(text);
        return EXIT_USAGE;
    }
    found = sends.front();
    return EXIT_DONE;
}

ExitCode Confirm(const Context& context, const SwingOptions& options)
{
    Connection connection;
    if (ExitCode code = Connection::Open(context, "owner", connection); code != EXIT_DONE) {
        return code;
    }
    ShareDeviceInfo peer;
    if (ExitCode code = FindSend(*connection.service.GetRefPtr(), options.at, peer); code != EXIT_DONE) {
        return code;
    }
    int32_t choice = options.choice == "confirm" ? CHOICE_GO_ON : CHOICE_END;
    if (!connection.service->SwingConfirm(peer, choice)) {
        return ExplainFailure("answering the swing");
    }
    if (context.json) {
        PrintJson(PeerJson(peer).Text());
    }
    return EXIT_DONE;
}

// What a command has found: the JSON as it is, or for people the text under `key`, which is given back.
std::string PrintFound(const Context& context, const std::string& json, const char* key)
{
    JsonValue found(cJSON_Parse(json.c_str()), cJSON_Delete);
    const cJSON* value = cJSON_GetObjectItemCaseSensitive(found.get(), key);
    std::string text = cJSON_IsString(value) ? value->valuestring : "";
    if (context.json) {
        PrintJson(json);
    } else {
        PrintLine(EscapeForTerminal(text));
    }
    return text;
}

ExitCode Swing(const Context& context, const SwingOptions& options)
{
    if (!options.choice.empty()) {
        return Confirm(context, options);
    }
    std::vector<std::string> words{"swing"};
    if (!options.at.empty()) {
        words.push_back(options.at);
    }
    Host::ControlAnswer answer;
    ExitCode code = Control(context, words, answer);
    if (code == EXIT_DONE) {
        (void)PrintFound(context, answer.json, "concurrentId"); // by which telemetry knows it
    }
    return code;
}

// How a tap that reached the other device may end before the engine takes it over.
struct TapEnd {
    const char* step;
    const char* error;
};

constexpr TapEnd TAP_ENDS[] = {
    {"no application", "no application here wants the tap; start one with: pelago app --bundle NAME --on-knock FILE, "
                       "and bring it to the front with: pelago sim focus NAME"},
    {"busy",
        "the other device is in another tap; try again when it is over: pelago wait-for state tap.delivering=false"},
};

ExitCode Tap(const Context& context, const std::string& peer)
{
    Host::ControlAnswer answer;
    if (ExitCode code = Control(context, {"tap", peer}, answer); code != EXIT_DONE) {
        return code;
    }
    std::string step = PrintFound(context, answer.json, "step");
    for (const TapEnd& end : TAP_ENDS) {
        if (step == end.step) {
            Complain(end.error);
            return EXIT_FAILED;
        }
    }
    return EXIT_DONE;
}

} // namespace

Action SwingVerb(CLI::App& app)
{
    auto options = std::make_shared<SwingOptions>();
    app.add_option("ANSWER", options->choice, "to the dialog of a swing under way; without it, the gesture is made")
        ->check(OneOf({"confirm", "refuse"}));
    app.add_option("--at", options->at,
           "the device that the hand points at once the preview is shown; with an answer, whose swing is meant")
        ->type_name(PEER_VALUE);
    return [options](const Context& context) { return Swing(context, *options); };
}

Action TapVerb(CLI::App& app)
{
    auto peer = std::make_shared<std::string>();
    app.add_option("DEVICE", *peer, "id or name of the device to touch, as `pelago devices` shows it")->required();
    return [peer](const Context& context) { return Tap(context, *peer); };
}

} // namespace OHOS::Pelago::Tools
