#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <memory>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

#include "callback_stubs.h"
#include "engine_handles.h"
#include "hilog/host_text.h"
#include "host/extension_host.h"
#include "host/json_text.h"
#include "output.h"
#include "verbs.h"

// The extension that shows offers: the reference for whoever writes the real one.
namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using Host::Json;

// The front end's bundle, its abilities, and the intent by which an offer comes.
constexpr const char* BUNDLE = "com.corvane.velos.pelago";
const std::vector<std::string> ABILITIES{"ShareServiceExtension", "CorvaneShareApiServiceExtension",
    "PermissionServiceExtension", "SwingReceiveConfirmDialogService"};
constexpr const char* INTENT_KEY = "ShareIntent";
constexpr const char* INTENT_RECEIVE = "receive";

constexpr int32_t REASON_USER = 1;
constexpr int64_t TICK_MS = 200;

std::atomic<bool> g_interrupted{false};

void OnInterrupt(int)
{
    g_interrupted = true;
}

struct ReceiveOptions {
    std::string directory = ".";
    bool refuse = false;
    bool ignore = false;
    bool once = false;
};

constexpr struct {
    ReceiveResult result;
    ExitCode code;
    const char* text;
} RESULTS[] = {
    {ReceiveResult::DONE, EXIT_DONE, "received"},
    {ReceiveResult::CANCELLED_BY_SENDER, EXIT_CANCELLED, "the sender cancelled"},
    {ReceiveResult::CANCELLED_HERE, EXIT_CANCELLED, "cancelled"},
    {ReceiveResult::PEER_LOST, EXIT_FAILED, "the sender went away"},
    {ReceiveResult::NO_SPACE, EXIT_NO_SPACE, "no space"},
    {ReceiveResult::IO_ERROR, EXIT_NO_SPACE, "a file could not be written"},
    {ReceiveResult::BAD_NAME, EXIT_FAILED, "the sender gave a name that cannot be used"},
    {ReceiveResult::PROTOCOL, EXIT_FAILED, "the sender does not speak the protocol"},
};

// What has ended, and how. Filled on IPC threads; the verb waits for it.
class Outcome {
public:
    void Set(ExitCode code)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        code_ = code;
        changed_.notify_all();
    }
    // The code of the first offer that ended, or that of an interrupt.
    ExitCode Wait(bool once)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!g_interrupted && !(once && code_.has_value())) {
            (void)changed_.wait_for(lock, std::chrono::milliseconds(TICK_MS));
        }
        return once && code_.has_value() ? *code_ : EXIT_INTERRUPTED;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<ExitCode> code_;
};

// The course of one receive.
class Progress : public ReceiveProgressStub {
public:
    Progress(std::string sender, int64_t total, bool json, std::shared_ptr<Outcome> outcome)
        : bar_(EscapeForTerminal(sender), total), json_(json), outcome_(std::move(outcome))
    {}
    void OnProgress(int64_t bytes, int64_t total, int64_t speed) override
    {
        bar_.Show(total > 0 ? static_cast<int>(bytes * 100 / total) : 100, speed);
    }
    void OnResult(int32_t result, const std::vector<std::string>& names) override
    {
        bar_.End();
        for (const auto& row : RESULTS) {
            if (static_cast<int32_t>(row.result) == result) {
                Print(row.text, names);
                outcome_->Set(row.code);
                return;
            }
        }
        Print("failed", names);
        outcome_->Set(EXIT_FAILED);
    }

private:
    void Print(const char* text, const std::vector<std::string>& names) const
    {
        if (!json_) {
            for (const std::string& name : names) {
                PrintLine(EscapeForTerminal(name));
            }
            Say(text);
            return;
        }
        Json list = Json::Array();
        for (const std::string& name : names) {
            list.Add(name);
        }
        PrintJson(Json::Object().Put("ending", text).Put("names", list).Text());
    }

    ProgressBar bar_;
    const bool json_;
    const std::shared_ptr<Outcome> outcome_;
};

// Hears of the sender while an offer is open.
class SenderAction : public SenderActionCallbackStub {
public:
    explicit SenderAction(std::shared_ptr<Outcome> outcome) : outcome_(std::move(outcome))
    {}
    void OnStatusChanged(int8_t state) override
    {
        Say("the sender's state is " + std::to_string(state));
    }
    void OnPreviewReceive(const sptr<PelagoReceiver>&) override
    {}
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>&) override
    {
        Say("the sender took the offer back");
        outcome_->Set(EXIT_CANCELLED);
    }
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>&, int32_t errorCode) override
    {
        Say("the offer broke off (" + std::to_string(errorCode) + ")");
        outcome_->Set(EXIT_FAILED);
    }
    void OnRecvBytesInfo(
        const sptr<PelagoReceiver>&, const std::string&, int32_t, const std::string&, const std::string&) override
    {}

private:
    const std::shared_ptr<Outcome> outcome_;
};

// The extension itself.
class Extension : public Host::ExtensionStub {
public:
    Extension(ReceiveOptions options, bool json, const sptr<ITrellisService>& service, int directory,
        std::shared_ptr<Outcome> outcome)
        : options_(std::move(options)), json_(json), service_(service), directory_(directory),
          outcome_(std::move(outcome))
    {}

protected:
    void OnStart(const AAFwk::Want& want) override
    {
        if (want.GetStringParam(INTENT_KEY) != INTENT_RECEIVE) {
            Say("started for '" + EscapeForTerminal(want.GetStringParam(INTENT_KEY)) + "'");
            return;
        }
        ShowOffer(want);
        if (!options_.ignore) {
            Answer(want);
        }
    }
    sptr<IRemoteObject> OnConnect(const AAFwk::Want&) override
    {
        return this;
    }

private:
    void ShowOffer(const AAFwk::Want& want)
    {
        std::string preview = service_->GetPreviewData(); // empty when the offer has none
        int64_t total = TotalSize(want);
        if (json_) {
            PrintJson(Json::Object()
                          .Put("offer", want.GetStringParam("senderName"))
                          .Put("files", static_cast<int64_t>(want.GetIntParam("fileCount", 0)))
                          .Put("totalSize", total)
                          .Put("previewBytes", static_cast<int64_t>(preview.size()))
                          .Text());
            return;
        }
        Say(EscapeForTerminal(want.GetStringParam("senderName")) + " offers " +
            std::to_string(want.GetIntParam("fileCount", 0)) + " files, " + BytesText(total) +
            (preview.empty() ? "" : ", preview: " + EscapeForTerminal(preview.substr(0, 200))));
    }
    void Answer(const AAFwk::Want& want)
    {
        sptr<PelagoReceiver> receiver = service_->GetReceiverActionCallback();
        if (receiver == nullptr) {
            Complain("the offer has gone");
            return;
        }
        int32_t result = RECEIVER_OK;
        if (options_.refuse) {
            result = receiver->Refuse(REASON_USER);
            outcome_->Set(EXIT_DONE);
        } else {
            sptr<Progress> progress = new Progress(want.GetStringParam("senderName"), TotalSize(want), json_, outcome_);
            result = receiver->Accept(directory_, progress);
        }
        if (result != RECEIVER_OK) {
            Complain("the offer has ended already");
            outcome_->Set(EXIT_FAILED);
        }
    }
    static int64_t TotalSize(const AAFwk::Want& want)
    {
        return std::strtoll(want.GetStringParam("totalSize").c_str(), nullptr, 10);
    }

    const ReceiveOptions options_;
    const bool json_;
    const sptr<ITrellisService> service_;
    const int directory_;
    const std::shared_ptr<Outcome> outcome_;
};

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

ExitCode Serve(const Context& context, const ReceiveOptions& options, int directory)
{
    std::optional<DevicePaths> paths;
    if (ExitCode code = FindDevice(Started(context), paths); code != EXIT_DONE) {
        return code;
    }
    Connection connection;
    if (ExitCode code = Connection::Open(*paths, "extension", connection); code != EXIT_DONE) {
        return code;
    }
    auto outcome = std::make_shared<Outcome>();
    sptr<SenderAction> senderAction = new SenderAction(outcome);
    if (!connection.service->RegisterSenderActionCallback(senderAction)) {
        return ExplainFailure("following senders (is another extension running?)");
    }
    sptr<Extension> extension = new Extension(options, context.json, connection.service, directory, outcome);
    if (int32_t error = Host::RegisterExtension(connection.samgr, BUNDLE, ABILITIES, extension); error != 0) {
        Complain("the device does not take the extension (" + std::to_string(error) + ")");
        return EXIT_FAILED;
    }
    Say("ready to receive");
    ExitCode code = outcome->Wait(options.once);
    (void)connection.service->UnRegisterSenderActionCallback(senderAction); // our end does it otherwise
    return code == EXIT_INTERRUPTED && !options.once ? EXIT_DONE : code;
}

ExitCode Receive(const Context& context, const ReceiveOptions& options)
{
    (void)std::signal(SIGINT, OnInterrupt);
    (void)std::signal(SIGTERM, OnInterrupt);
    int directory = ::open(options.directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) {
        Complain(options.directory + ": " + std::strerror(errno));
        return EXIT_NO_SPACE;
    }
    ExitCode code = Serve(context, options, directory);
    (void)::close(directory); // a folder: nothing to lose
    return code;
}

} // namespace

Action ReceiveVerb(CLI::App& app)
{
    auto options = std::make_shared<ReceiveOptions>();
    app.add_option("--dir", options->directory, "where the files go")->capture_default_str();
    auto* refuse = app.add_flag("--refuse", options->refuse, "refuse every offer");
    app.add_flag("--ignore", options->ignore, "let every offer run out")->excludes(refuse);
    app.add_flag("--once", options->once, "end with the first offer, and with its exit code");
    return [options](const Context& context) { return Receive(context, *options); };
}

} // namespace OHOS::Pelago::Tools
