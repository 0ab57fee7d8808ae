#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "front_end.h"
#include "interrupt.h"
#include "output.h"
#include "trellis_service_proxy.h"
#include "verbs.h"

// The front end's extension, as a process of its own.
namespace OHOS::Pelago::Tools {
namespace {

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
        if (TrellisServiceProxy::LastError() == 0) {
            Complain("the service refused; one front end is registered at a time: end the other `pelago receive` or "
                     "`pelago extension`, or see: pelago log");
            return EXIT_FAILED;
        }
        return ExplainFailure("registering the front end");
    }
    sptr<Host::ExtensionStub> extension = NewExtension(options, context.json, frontEnd, directory, outcome);
    if (int32_t error = Host::RegisterExtension(connection.samgr, FRONT_END_BUNDLE, ExtensionAbilities(), extension);
        error != 0) {
        Complain("the device does not take the extension (" + std::to_string(error) + "); see: pelago log");
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
        Complain("cannot use the folder '" + options.directory + "': " + std::strerror(errno));
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
    std::vector<std::string> words;
    words.reserve(answers.size());
    for (const auto& [word, meaning] : answers) {
        words.push_back(word);
    }
    app.add_option_function<std::string>(
           name, [&answers, &answer](const std::string& word) { answer = answers.at(word); }, help)
        ->type_name("ANSWER")
        ->check(OneOf(words))
        ->default_str(usual);
}

} // namespace

Action ReceiveVerb(CLI::App& app)
{
    auto options = std::make_shared<ExtensionOptions>();
    app.add_option("--dir", options->directory, "where the files go; made if need be")
        ->type_name(FOLDER_VALUE)
        ->capture_default_str();
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
    app.add_option("--dir", options->directory, "where the files go; made if need be")
        ->type_name(FOLDER_VALUE)
        ->capture_default_str();
    AddAnswer(app, "--offers", OFFER_ANSWERS, "accept", options->offers, "what becomes of offers");
    AddAnswer(app, "--first-use", DIALOG_ANSWERS, "agree", options->firstUse, "answer to the first-use dialog");
    AddAnswer(app, "--confirm", DIALOG_ANSWERS, "agree", options->confirm,
        "answer to what is asked later: missing radios, swings, taps while sharing is off");
    app.add_flag("--once", options->once, "end with the first offer or answered dialog, and with its exit code");
    return [options](const Context& context) { return BeExtension(context, *options); };
}

} // namespace OHOS::Pelago::Tools
