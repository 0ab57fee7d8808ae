#include <cstdlib>
#include <limits>
#include <memory>

#include "callback_stubs.h"
#include "hilog/host_text.h"
#include "host/application_host.h"
#include "host/json_text.h"
#include "inbox.h"
#include "output.h"
#include "payload.h"
#include "verbs.h"

// An application of the share API, as a process of its own: the reference for whoever writes a real one. In order it
//   attaches to the application manager, so that the device knows whose process this is;
//   registers one callback object for the process, then one callback id for each event that it wants;
//   is told of an event on an IPC thread, while the service waits: it notes the event down and returns;
//   answers from its own thread, by a send to the device that came with the event;
//   takes everything back when it leaves, which its death would do as well.
namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using Host::Json;

// The events of the share API.
struct EventKind {
    int32_t id;
    const char* word;
};
constexpr EventKind KNOCK{2, "knock"};     // two devices touched: the device is the other one
constexpr EventKind GESTURE{3, "gesture"}; // the hand took something: the device stands for wherever it will point

constexpr int32_t BYTES_TYPE_TEXT = 0;
constexpr double MS_PER_SECOND = 1000;
constexpr double MAX_SECONDS = 1e6;

struct AppOptions {
    std::string bundle;
    bool wantsGesture = false;
    bool wantsKnock = false;
    std::vector<std::string> gestureFiles;
    std::vector<std::string> knockFiles;
    std::string text;
    bool asBytes = false;
    bool asUris = false;
    bool once = false;
    int32_t callbackId = 1;
    // Ways of being a bad application, for those who test the service:
    bool silent = false;
    bool leaveInside = false;
    double lateSeconds = 0;
    double hangSeconds = 0;
};

int64_t Milliseconds(double seconds)
{
    return static_cast<int64_t>(seconds * MS_PER_SECOND);
}

// The library's own range takes what is no number.
CLI::Validator PartsOfSeconds()
{
    return CLI::Validator(
        [](const std::string& word) {
            char* end = nullptr;
            const double seconds = std::strtod(word.c_str(), &end);
            const bool isNumber = end != word.c_str() && *end == '\0';
            return isNumber && seconds >= 0 && seconds <= MAX_SECONDS
                       ? std::string()
                       : "'" + word + "' is not a number of seconds from 0 to " +
                             std::to_string(static_cast<int64_t>(MAX_SECONDS));
        },
        "");
}

const EventKind& KindOf(int32_t eventId)
{
    return eventId == KNOCK.id ? KNOCK : GESTURE;
}

// What the service calls.
class Application : public ShareApiCallbackStub {
public:
    Application(const AppOptions& options, const sptr<ITrellisService>& service, Inbox& inbox)
        : options_(options), service_(service), inbox_(inbox)
    {}

    void OnShareEventOccurred(int32_t eventId, int32_t callbackId, const ShareDeviceInfo& device) override
    {
        inbox_.Put({eventId, callbackId, device, NowMs() + Milliseconds(options_.lateSeconds)});
        if (options_.leaveInside) {
            // Answered when the service has given this callback up, if it needs a lock that it holds meanwhile.
            (void)service_->UnregisterShareEventCallback(eventId, callbackId);
            (void)service_->UnregisterShareApiCallback(this);
        }
        if (options_.hangSeconds > 0) {
            inbox_.Hold(Milliseconds(options_.hangSeconds));
        }
    }

private:
    const AppOptions options_;
    const sptr<ITrellisService> service_;
    Inbox& inbox_; // outlives every callback: the connection ends first
};

// What the preview of a gesture shows of files: a JSON text within a JSON text.
std::string PreviewExtra(const std::vector<std::string>& files, int64_t totalSize)
{
    std::string first = files.front().substr(files.front().rfind('/') + 1);
    Json inner = Json::Object();
    inner.Put("title", files.size() == 1 ? first : first + " and " + std::to_string(files.size() - 1) + " more")
        .Put("description", BytesText(totalSize));
    return Json::Object().Put("text", inner.Text()).Text();
}

// The send itself. Complains when the service does not take it.
[[nodiscard]] ExitCode SendTo(const ShareDeviceInfo& device, const std::vector<std::string>& files,
    const AppOptions& options, ITrellisService& service)
{
    bool taken = false;
    if (options.asBytes) {
        BytesInfo bytes;
        bytes.bytesType = BYTES_TYPE_TEXT;
        bytes.text = options.text;
        taken = service.SendBytes(device, bytes);
    } else {
        Payload payload; // the service duplicates the descriptors before its answer
        if (ExitCode code = payload.Fill(files, options.text, options.asUris); code != EXIT_DONE) {
            return code;
        }
        if (options.text.empty()) {
            payload.bean.text = payload.data.text = PreviewExtra(files, payload.TotalSize());
        }
        taken = options.asUris ? service.SendFile(device, payload.data, options.bundle)
                               : service.Send(device, payload.bean, options.bundle);
    }
    return taken ? EXIT_DONE : ExplainFailure("answering the event");
}

void PrintEvent(const Context& context, const ShareEvent& event)
{
    const char* word = KindOf(event.eventId).word;
    if (!context.json) {
        PrintLine(std::string(word) + "\t" + EscapeForTerminal(event.device.deviceId) + "\t" +
                  EscapeForTerminal(event.device.btName));
        return;
    }
    Json device = Json::Object();
    device.Put("id", event.device.deviceId)
        .Put("name", event.device.btName)
        .Put("discoveredBy", static_cast<int64_t>(event.device.discoveredBy))
        .Put("capability", static_cast<int64_t>(event.device.capability))
        .Put("concurrentId", event.device.concurrentId);
    PrintJson(Json::Object()
                  .Put("event", word)
                  .Put("callbackId", static_cast<int64_t>(event.callbackId))
                  .Put("device", std::move(device))
                  .Text());
}

// EXIT_DONE when there is nothing to say, or the service has taken what was said.
ExitCode Answer(const Context& context, const ShareEvent& event, const AppOptions& options, ITrellisService& service)
{
    const EventKind& kind = KindOf(event.eventId);
    const std::vector<std::string>& files = event.eventId == KNOCK.id ? options.knockFiles : options.gestureFiles;
    if (options.silent || (files.empty() && options.text.empty())) {
        return EXIT_DONE;
    }
    ExitCode code = SendTo(event.device, files, options, service);
    if (context.json) {
        PrintJson(Json::Object().Put("answered", kind.word).Put("taken", code == EXIT_DONE).Text());
    } else if (code == EXIT_DONE) {
        Say(std::string("answered the ") + kind.word);
    }
    return code;
}

ExitCode CodeOfAttach(int32_t error)
{
    return error == AAFwk::ERR_ABILITY_INVALID_VALUE ? EXIT_USAGE
           : error == AAFwk::ERR_ABILITY_TOO_MANY    ? EXIT_LIMIT
                                                     : EXIT_FAILED;
}

// Registers, and takes back what it has registered.
class Registration {
public:
    Registration(const AppOptions& options, const sptr<ITrellisService>& service) : options_(options), service_(service)
    {}
    ~Registration()
    {
        for (int32_t eventId : events_) {
            (void)service_->UnregisterShareEventCallback(eventId, options_.callbackId); // our end does it otherwise
        }
        if (callback_ != nullptr) {
            (void)service_->UnregisterShareApiCallback(callback_);
        }
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    [[nodiscard]] ExitCode Register(const sptr<Application>& callback)
    {
        if (!service_->RegisterShareApiCallback(callback)) {
            return ExplainFailure("registering with the share API");
        }
        callback_ = callback;
        bool both = !options_.wantsGesture && !options_.wantsKnock;
        if ((both || options_.wantsGesture) && !Want(GESTURE)) {
            return ExplainFailure("asking for gestures");
        }
        if ((both || options_.wantsKnock) && !Want(KNOCK)) {
            return ExplainFailure("asking for knocks");
        }
        return EXIT_DONE;
    }

private:
    [[nodiscard]] bool Want(const EventKind& kind)
    {
        events_.push_back(kind.id);
        return service_->RegisterShareEventCallback(kind.id, options_.callbackId);
    }

    const AppOptions& options_;
    const sptr<ITrellisService> service_;
    sptr<Application> callback_;
    std::vector<int32_t> events_;
};

ExitCode Serve(const Context& context, const AppOptions& options, ITrellisService& service, Inbox& inbox)
{
    while (auto event = inbox.Take()) {
        PrintEvent(context, *event);
        ExitCode code = Answer(context, *event, options, service);
        if (options.once) {
            return code;
        }
    }
    if (!inbox.WasInterrupted()) {
        return DeviceHasGone();
    }
    return options.once ? EXIT_INTERRUPTED : EXIT_DONE;
}

ExitCode RunApp(const Context& context, const AppOptions& options)
{
    if (options.asBytes && options.text.empty()) {
        Complain("bytes are a text; add one with --text");
        return EXIT_USAGE;
    }
    for (const auto* files : {&options.gestureFiles, &options.knockFiles}) {
        Payload payload; // a file that cannot be sent is told now, not with the first event
        if (ExitCode code = payload.Fill(*files, options.text, options.asUris); code != EXIT_DONE) {
            return code;
        }
    }
    Connection connection;
    if (ExitCode code = Connection::Open(context, "app", connection); code != EXIT_DONE) {
        return code;
    }
    if (int32_t error = Host::AttachApplication(connection.samgr, options.bundle); error != 0) {
        Complain("the device does not take an application '" + options.bundle + "' (" + std::to_string(error) +
                 "); a bundle's name has 1 to " + std::to_string(Host::MAX_BUNDLE_NAME) +
                 " bytes; which ones the device has: pelago sim window");
        return CodeOfAttach(error);
    }
    static Inbox inbox; // lives as long as callbacks can come
    if (!CallWhenGone(connection.service->AsObject(), [] { inbox.End(); })) {
        inbox.End(); // it has gone already
    }
    Registration registration(options, connection.service);
    sptr<Application> application = new Application(options, connection.service, inbox);
    if (ExitCode code = registration.Register(application); code != EXIT_DONE) {
        return code;
    }
    Say("ready: " + EscapeForTerminal(options.bundle));
    ExitCode code = Serve(context, options, *connection.service.GetRefPtr(), inbox);
    inbox.Release();
    return code;
}

} // namespace

Action AppVerb(CLI::App& app)
{
    auto options = std::make_shared<AppOptions>();
    app.footer("With neither --on-gesture nor --on-knock it wants both, and only prints what comes.");
    app.add_option("--bundle", options->bundle, "which application this is, as the device names it")
        ->required()
        ->type_name("NAME");
    CLI::Option* gesture = app.add_option("--on-gesture", options->gestureFiles, "want gestures, answer with files")
                               ->expected(0, -1)
                               ->type_name(FILE_VALUE);
    CLI::Option* knock = app.add_option("--on-knock", options->knockFiles, "want knocks, answer with files")
                             ->expected(0, -1)
                             ->type_name(FILE_VALUE);
    app.add_option("--text", options->text, "answer with a text, with files or alone");
    app.add_flag("--bytes", options->asBytes, "send the text as bytes, which not every device takes");
    app.add_flag("--uri", options->asUris, "hand files over by name instead of by descriptor");
    app.add_option("--callback-id", options->callbackId, "the id of what is registered")
        ->type_name("N")
        ->check(NumberFrom(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()))
        ->capture_default_str();
    app.add_flag("--once", options->once, "end with the first event, and fail when its answer is not taken");
    app.add_flag("--no-answer", options->silent, "only print what comes");
    app.add_option("--late", options->lateSeconds, "answer so many seconds late")
        ->type_name("SECONDS")
        ->check(PartsOfSeconds());
    app.add_option("--hang", options->hangSeconds, "stay inside the callback for so many seconds")
        ->type_name("SECONDS")
        ->check(PartsOfSeconds());
    app.add_flag("--leave-inside", options->leaveInside, "unregister from inside the callback");
    return [options, gesture, knock](const Context& context) {
        options->wantsGesture = gesture->count() > 0;
        options->wantsKnock = knock->count() > 0;
        for (auto* files : {&options->gestureFiles, &options->knockFiles}) {
            files->erase(std::remove(files->begin(), files->end(), ""), files->end()); // what no file at all is read as
        }
        return RunApp(context, *options);
    };
}

} // namespace OHOS::Pelago::Tools
