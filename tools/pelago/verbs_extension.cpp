#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "hilog/host_text.h"
#include "host/extension_host.h"
#include "host/json_text.h"
#include "interrupt.h"
#include "output.h"
#include "receiving.h"
#include "verbs.h"

// The front end's extension: shows what the service starts it for, and answers as told. The reference for whoever
// writes the real one.
namespace OHOS::Pelago::Tools {
namespace {

using AAFwk::Want;
using Host::EscapeForTerminal;
using Host::Json;

constexpr const char* BUNDLE = "com.corvane.velos.pelago";
constexpr const char* SHARE_ABILITY = "ShareServiceExtension";
constexpr const char* API_ABILITY = "CorvaneShareApiServiceExtension";
constexpr const char* PERMISSION_ABILITY = "PermissionServiceExtension";
constexpr const char* SWING_SEND_ABILITY = "SwingSendConfirmDialogService";
constexpr const char* SWING_RECEIVE_ABILITY = "SwingReceiveConfirmDialogService";

constexpr int32_t STATE_ON = 1;
constexpr int32_t TYPE_LASTING = 2;
constexpr int32_t PERMISSION_ON = 1;
constexpr int32_t REASON_USER = 1;
constexpr int32_t SWING_GOES_ON = 1;
constexpr int32_t SWING_ENDS = 0;

// The first two words are what the command line says of dialogs and of offers.
enum class Answer {
    AGREE,
    DECLINE,
    IGNORE
};

struct ExtensionOptions {
    std::string directory = ".";
    Answer offers = Answer::AGREE;
    Answer firstUse = Answer::IGNORE;
    Answer confirm = Answer::IGNORE;
    bool once = false;
};

const char* TextOf(Answer answer)
{
    switch (answer) {
        case Answer::AGREE:
            return "agreed";
        case Answer::DECLINE:
            return "declined";
        case Answer::IGNORE:
            return "left unanswered";
    }
    return "";
}

// The ways into the device. A front end holds both rights; here each socket gives one.
struct FrontEnd {
    Connection extension; // offers, gestures, the account permission
    Connection tile;      // the switch
};

// Serves every ability of the bundle. Its calls come on IPC threads, one at a time; it answers inside them, since the
// service waits for none of them.
class Extension : public Host::ExtensionStub {
public:
    Extension(
        const ExtensionOptions& options, bool json, FrontEnd frontEnd, int directory, std::shared_ptr<Outcome> outcome)
        : options_(options), json_(json), frontEnd_(std::move(frontEnd)), directory_(directory),
          outcome_(std::move(outcome))
    {}

    static std::vector<std::string> Abilities()
    {
        return {SHARE_ABILITY, API_ABILITY, PERMISSION_ABILITY, SWING_SEND_ABILITY, SWING_RECEIVE_ABILITY};
    }

protected:
    void OnStart(const Want& want) override;
    sptr<IRemoteObject> OnConnect(const Want& want) override
    {
        Note("connected", want.GetElement().GetAbilityName(), "the service connects to ");
        return this;
    }

private:
    // One row for everything that the service starts the extension for.
    struct IntentRow {
        const char* ability;
        const char* key;
        const char* intent;
        void (Extension::*show)(const Want& want);
    };
    static const IntentRow INTENTS[];

    ITrellisService& Service() const
    {
        return *frontEnd_.extension.service.GetRefPtr();
    }

    // One line for people, one object for programs.
    void Show(const std::string& line, const Json& json) const
    {
        if (json_) {
            PrintJson(json.Text());
        } else {
            Say(line);
        }
    }
    void Note(const char* kind, const std::string& what, const std::string& talk) const
    {
        Json json = Json::Object();
        json.Put("notification", kind).Put("what", what);
        Show(talk + EscapeForTerminal(what), json);
    }

    // Shows a dialog and what was answered; true when its user agreed.
    bool Ask(const char* dialog, const std::string& question, Answer answer) const
    {
        Json json = Json::Object();
        json.Put("dialog", dialog).Put("answer", TextOf(answer));
        Show("dialog: " + question + " " + TextOf(answer), json);
        return answer == Answer::AGREE;
    }
    // How a dialog ended for those who wait for one.
    void Tell(Answer answer, bool taken) const
    {
        if (!taken) {
            Complain("the service did not take the answer; see: pelago log");
        }
        if (answer != Answer::IGNORE) {
            outcome_->Set(taken ? EXIT_DONE : EXIT_FAILED);
        }
    }

    // Whoever agrees lets the account be seen too; then the same request again, this time without the question. Whoever
    // declines asks for nothing, and is asked again the next time.
    void AskFirstUse(const Want& want)
    {
        bool taken = true;
        if (Ask("firstUse", "share with devices nearby, and be seen by your contacts?", options_.firstUse)) {
            taken = Service().SetShareAccountPermission(PERMISSION_ON) &&
                    frontEnd_.tile.service->SetShareEnable(STATE_ON, want.GetIntParam("detectableType", 0), false);
        }
        Tell(options_.firstUse, taken);
    }
    void AskForRadios(const Want& want)
    {
        bool taken = true;
        if (Ask("openWifiAndBluetooth", "switch on Wi-Fi and Bluetooth for sharing?", options_.confirm)) {
            taken = frontEnd_.tile.service->SetShareEnableWithConfirm(
                STATE_ON, want.GetIntParam("detectableType", 0), false, false);
        }
        Tell(options_.confirm, taken);
    }
    // After a tap while sharing is off. As a press on the tile: the usual questions are asked where they are due.
    void OfferToEnable(const Want&)
    {
        bool taken = true;
        if (Ask("nudgeEnableShare", "a tap needs sharing: switch it on?", options_.confirm)) {
            taken = frontEnd_.tile.service->SetShareEnable(STATE_ON, TYPE_LASTING, true);
        }
        Tell(options_.confirm, taken);
    }
    void AskForSwing(const Want& want)
    {
        ShareDeviceInfo device;
        device.deviceId = want.GetStringParam("deviceId");
        const std::string name = EscapeForTerminal(want.GetStringParam("senderName"));
        const bool goesOn = Ask("swingSendConfirm", "send it to " + name + "?", options_.confirm);
        const bool taken =
            options_.confirm == Answer::IGNORE || Service().SwingConfirm(device, goesOn ? SWING_GOES_ON : SWING_ENDS);
        Tell(options_.confirm, taken);
    }

    void ShowTip(const Want& want)
    {
        Note("show_tip", want.GetStringParam("uiType"), "tip: ");
    }
    void ShowNudgeFailure(const Want& want)
    {
        Note("nudgeConnectFail", std::to_string(want.GetIntParam("connectErrCode", 0)), "the tap failed, error ");
    }
    void ShowComponent(const Want& want)
    {
        Note("switchNotifyComponent", std::to_string(want.GetIntParam("notifyComponent", 0)), "to be shown by ");
    }
    void ShowSends(const Want&)
    {
        Note("send_notification", "a client registered", "sends may follow: ");
    }
    void BeReady(const Want&)
    {
        Note("preStartHap", "an offer may follow", "started early: ");
    }
    // The offer itself comes as one: there it is answered.
    void ShowSwing(const Want& want)
    {
        Note("swingReceiveConfirm", want.GetStringParam("senderName"), "swung here by ");
    }
    void CloseSwingDialog(const Want& want)
    {
        Note("closed", want.GetElement().GetAbilityName(), "closed: ");
    }

    void TakeOffer(const Want& want)
    {
        const std::string preview = Service().GetPreviewData(); // empty when the offer has none
        const std::string sender = want.GetStringParam("senderName");
        const int files = want.GetIntParam("fileCount", want.GetIntParam("count", 0)); // by the kind of the offer
        Json json = Json::Object();
        json.Put("offer", sender)
            .Put("files", static_cast<int64_t>(files))
            .Put("totalSize", TotalSize(want))
            .Put("previewBytes", static_cast<int64_t>(preview.size()));
        Show(EscapeForTerminal(sender) + " offers " + std::to_string(files) + " files, " + BytesText(TotalSize(want)) +
                 (preview.empty() ? "" : ", preview: " + EscapeForTerminal(preview.substr(0, MAX_PREVIEW))),
            json);
        if (options_.offers != Answer::IGNORE) {
            AnswerOffer(want);
        }
    }
    void AnswerOffer(const Want& want)
    {
        const sptr<PelagoReceiver> receiver = Service().GetReceiverActionCallback();
        if (receiver == nullptr) {
            Complain("the offer has gone");
            return;
        }
        int32_t result = RECEIVER_OK;
        if (options_.offers == Answer::DECLINE) {
            result = receiver->Refuse(REASON_USER);
            outcome_->Set(EXIT_DONE);
        } else {
            result = receiver->Accept(
                directory_, ShowReceiving(want.GetStringParam("senderName"), TotalSize(want), json_, outcome_));
        }
        if (result != RECEIVER_OK) {
            Complain("the offer has ended already");
            outcome_->Set(EXIT_FAILED);
        }
    }
    static int64_t TotalSize(const Want& want)
    {
        return std::strtoll(want.GetStringParam("totalSize").c_str(), nullptr, 10);
    }

    static constexpr size_t MAX_PREVIEW = 200; // bytes that are shown

    const ExtensionOptions options_;
    const bool json_;
    const FrontEnd frontEnd_;
    const int directory_;
    const std::shared_ptr<Outcome> outcome_;
};

const Extension::IntentRow Extension::INTENTS[] = {
    {SHARE_ABILITY, "ShareIntent", "receive", &Extension::TakeOffer},
    {SHARE_ABILITY, "ShareIntent", "send_notification", &Extension::ShowSends},
    {SHARE_ABILITY, "ShareIntent", "preStartHap", &Extension::BeReady},
    {SHARE_ABILITY, "ShareIntent", "switchNotifyComponent", &Extension::ShowComponent},
    {PERMISSION_ABILITY, "permissionIntent", "firstUse", &Extension::AskFirstUse},
    {PERMISSION_ABILITY, "permissionIntent", "openWifiAndBluetooth", &Extension::AskForRadios},
    {PERMISSION_ABILITY, "permissionIntent", "show_tip", &Extension::ShowTip},
    {API_ABILITY, "CorvaneShareIntent", "nudgeEnableShare", &Extension::OfferToEnable},
    {API_ABILITY, "CorvaneShareIntent", "nudgeConnectFail", &Extension::ShowNudgeFailure},
    {SWING_SEND_ABILITY, "swingIntent", "swingSendConfirm", &Extension::AskForSwing},
    {SWING_SEND_ABILITY, "swingIntent", "closeSwingSendConfirm", &Extension::CloseSwingDialog},
    {SWING_RECEIVE_ABILITY, "swingIntent", "swingReceiveConfirm", &Extension::ShowSwing},
    {SWING_RECEIVE_ABILITY, "swingIntent", "closeSwingReceiveConfirm", &Extension::CloseSwingDialog},
};

void Extension::OnStart(const Want& want)
{
    for (const IntentRow& row : INTENTS) {
        if (want.GetElement().GetAbilityName() == row.ability && want.GetStringParam(row.key) == row.intent) {
            (this->*row.show)(want);
            return;
        }
    }
    Complain("started for something unknown: " + EscapeForTerminal(want.GetElement().GetAbilityName()));
}

// Started by the daemon itself, the device is the one whose folder the environment names.
Context Started(Context context)
{
    const char* folder = std::getenv(Host::DEVICE_FOLDER_VARIABLE); // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (context.device.empty() && folder != nullptr) {
        std::string path = folder;
        context.device = path.substr(path.rfind('/') + 1);
    }
    return context;
}

ExitCode Open(const Context& context, FrontEnd& frontEnd)
{
    std::optional<DevicePaths> paths;
    if (ExitCode code = FindDevice(Started(context), paths); code != EXIT_DONE) {
        return code;
    }
    if (ExitCode code = Connection::Open(*paths, "extension", frontEnd.extension); code != EXIT_DONE) {
        return code;
    }
    return Connection::Open(*paths, "switch", frontEnd.tile);
}

ExitCode Serve(const Context& context, const ExtensionOptions& options, int directory)
{
    FrontEnd frontEnd;
    if (ExitCode code = Open(context, frontEnd); code != EXIT_DONE) {
        return code;
    }
    const Connection& connection = frontEnd.extension;
    auto outcome = std::make_shared<Outcome>();
    if (!CallWhenGone(connection.service->AsObject(), [outcome] { outcome->SetGone(); })) {
        outcome->SetGone();
    }
    sptr<ISenderActionCallback> senderAction = ShowSender(outcome);
    if (!connection.service->RegisterSenderActionCallback(senderAction)) {
        return ExplainFailure("following senders (is another extension running?)");
    }
    sptr<Extension> extension = MakeSptr<Extension>(options, context.json, frontEnd, directory, outcome);
    if (int32_t error = Host::RegisterExtension(connection.samgr, BUNDLE, Extension::Abilities(), extension);
        error != 0) {
        Complain("the device does not take the extension (" + std::to_string(error) + ")");
        return EXIT_FAILED;
    }
    Say("ready to receive");
    ExitCode code = outcome->Wait(options.once);
    if (code == EXIT_UNREACHABLE) {
        return DeviceHasGone();
    }
    (void)connection.service->UnRegisterSenderActionCallback(senderAction); // our end does it otherwise
    return code == EXIT_INTERRUPTED && !options.once ? EXIT_DONE : code;
}

ExitCode BeExtension(const Context& context, const ExtensionOptions& options)
{
    NoteInterrupts();
    (void)::mkdir(options.directory.c_str(), 0777); // it may be there; what cannot be made cannot be opened
    int directory = ::open(options.directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) {
        Complain(options.directory + ": " + std::strerror(errno));
        return EXIT_NO_SPACE;
    }
    ExitCode code = Serve(context, options, directory);
    (void)::close(directory); // a folder: nothing to lose
    return code;
}

const std::map<std::string, Answer> DIALOG_ANSWERS{
    {"agree", Answer::AGREE}, {"decline", Answer::DECLINE}, {"ignore", Answer::IGNORE}};
const std::map<std::string, Answer> OFFER_ANSWERS{
    {"accept", Answer::AGREE}, {"refuse", Answer::DECLINE}, {"ignore", Answer::IGNORE}};

void AddAnswer(CLI::App& app, const char* name, const std::map<std::string, Answer>& answers, const char* usual,
    Answer& answer, const char* help)
{
    answer = answers.at(usual);
    app.add_option_function<std::string>(
           name, [&answers, &answer](const std::string& word) { answer = answers.at(word); }, help)
        ->check(CLI::IsMember(answers))
        ->default_str(usual);
}

} // namespace

Action ReceiveVerb(CLI::App& app)
{
    auto options = std::make_shared<ExtensionOptions>();
    app.add_option("--dir", options->directory, "where the files go; made if need be")->capture_default_str();
    auto* refuse = app.add_flag_callback(
        "--refuse", [options] { options->offers = Answer::DECLINE; }, "refuse every offer");
    app.add_flag_callback(
           "--ignore", [options] { options->offers = Answer::IGNORE; }, "let every offer run out")
        ->excludes(refuse);
    app.add_flag("--once", options->once, "end with the first offer, and with its exit code");
    return [options](const Context& context) { return BeExtension(context, *options); };
}

Action ExtensionVerb(CLI::App& app)
{
    auto options = std::make_shared<ExtensionOptions>();
    app.add_option("--dir", options->directory, "where the files go; made if need be")->capture_default_str();
    AddAnswer(app, "--offers", OFFER_ANSWERS, "accept", options->offers, "what becomes of offers");
    AddAnswer(app, "--first-use", DIALOG_ANSWERS, "agree", options->firstUse, "answer to the first-use dialog");
    AddAnswer(app, "--confirm", DIALOG_ANSWERS, "agree", options->confirm,
        "answer to what is asked later: missing radios, swings, taps while sharing is off");
    app.add_flag("--once", options->once, "end with the first offer or answered dialog, and with its exit code");
    return [options](const Context& context) { return BeExtension(context, *options); };
}

} // namespace OHOS::Pelago::Tools
