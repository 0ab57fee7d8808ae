#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>

#include <unistd.h>

#include "callback_stubs.h"
#include "engine_errors.h"
#include "hilog/host_text.h"
#include "host/json_text.h"
#include "interrupt.h"
#include "output.h"
#include "payload.h"
#include "peers.h"
#include "share_constants.h"
#include "trellis_service_proxy.h"
#include "verbs.h"

// Discovering peers, and sending to them.
namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using Host::Json;

constexpr const char* PACKAGE_NAME = "pelago.cli";
constexpr int64_t STALL_MS = 5000;
constexpr int64_t NAMESAKE_MS = 100;      // in which another peer of the same name is found, if there is one
constexpr int64_t BYTES_PER_SPEED = 1024; // the engine counts KiB a second

Json PeerJson(const ShareDeviceInfo& peer)
{
    Json json = Json::Object();
    json.Put("id", peer.deviceId)
        .Put("name", peer.btName)
        .Put("contact", peer.contactInfo.name)
        .Put("type", static_cast<int64_t>(peer.deviceType))
        .Put("state", static_cast<int64_t>(peer.deviceState));
    return json;
}

// What the service has told of a send to one entry.
struct Course {
    ShareDeviceInfo device; // as it was told last
    int32_t error = 0;      // that the engine reported last
    size_t reports = 0;
    bool isLost = false;
    bool isCancelled = false;
};

// A registered client that knows the peers as the service tells them. Filled on IPC threads, asked by the verb.
class Discoverer : public TrellisCallbackStub {
public:
    using Listener = std::function<void(const char* what, const ShareDeviceInfo& peer)>;

    // `listener` runs on IPC threads, one call at a time.
    explicit Discoverer(Listener listener = {}) : listener_(std::move(listener))
    {}

    void OnDeviceFound(const ShareDeviceInfo& device) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        peers_[device.deviceId] = device;
        courses_[device.deviceId].isLost = false;
        Tell("found", device);
    }
    void OnDeviceLost(const ShareDeviceInfo& device) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        peers_.erase(device.deviceId);
        courses_[device.deviceId].isLost = true;
        Tell("lost", device);
    }
    void OnTransStateChange(const ShareDeviceInfo& device, int64_t event, int64_t value, int64_t) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        peers_[device.deviceId] = device;
        Course& course = courses_[device.deviceId];
        course.device = device;
        if (event == TransferEvent::FAILED) {
            course.error = static_cast<int32_t>(value);
        }
        ++course.reports;
        Tell("changed", device);
    }
    void OnEnableStatusChanged() override
    {}
    void OnSend(const ShareDeviceInfo&, const SendBean&) override
    {}
    void OnSendBytes(const ShareDeviceInfo&, const BytesInfo&) override
    {}
    void OnSendFile(const ShareDeviceInfo&, const DataBean&) override
    {}
    void OnCancel(const ShareDeviceInfo& device) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        courses_[device.deviceId].isCancelled = true;
        changed_.notify_all();
    }
    void OnConnectHub(std::string, int32_t) override
    {}
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo&, const std::string&) override
    {}
    void OnThermalLevelChanged(int32_t, int32_t, int8_t, int8_t) override
    {}
    void OnSwingPop(const ShareDeviceInfo&) override
    {}
    void OnReportSwingEvent(int32_t, int32_t, int32_t, const std::string&) override
    {}
    void OnSwitchNotifyComponent(int32_t) override
    {}

    // The service has gone: nobody will tell anything any more.
    void SetGone()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        gone_ = true;
        changed_.notify_all();
    }
    bool IsGone()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return gone_;
    }

    // The peers that are there once one of them is named so, or when the time is over.
    std::vector<ShareDeviceInfo> WaitForPeer(const std::string& wanted, int64_t untilMs)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        auto isWanted = [&wanted](const auto& entry) { return IsNamed(entry.second, wanted); };
        while (
            !gone_ && Interrupts() == 0 && NowMs() < untilMs && std::none_of(peers_.begin(), peers_.end(), isWanted)) {
            (void)changed_.wait_for(lock, std::chrono::milliseconds(TICK_MS));
        }
        (void)changed_.wait_for(lock, std::chrono::milliseconds(NAMESAKE_MS), [this] { return gone_; });
        std::vector<ShareDeviceInfo> peers;
        std::transform(
            peers_.begin(), peers_.end(), std::back_inserter(peers), [](const auto& entry) { return entry.second; });
        return peers;
    }
    // What has been told of a send to this entry; waits a moment for news first.
    Course WaitForChange(const std::string& id, size_t seenReports)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const Course& course = courses_[id];
        (void)changed_.wait_for(lock, std::chrono::milliseconds(TICK_MS),
            [&] { return gone_ || course.reports != seenReports || course.isLost || course.isCancelled; });
        return course;
    }

private:
    void Tell(const char* what, const ShareDeviceInfo& peer)
    {
        changed_.notify_all();
        if (listener_) {
            listener_(what, peer);
        }
    }

    const Listener listener_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, ShareDeviceInfo> peers_;
    std::map<std::string, Course> courses_;
    bool gone_ = false;
};

// A client that discovers for as long as it lives.
class Session {
public:
    [[nodiscard]] ExitCode Open(const Context& context, const sptr<Discoverer>& discoverer)
    {
        if (ExitCode code = Connection::Open(context, "owner", connection_); code != EXIT_DONE) {
            return code;
        }
        if (!CallWhenGone(Service()->AsObject(), [discoverer] { discoverer->SetGone(); })) {
            return DeviceHasGone();
        }
        if (!Service()->RegisterTrellisCallback(discoverer)) {
            return ExplainFailure("registering with the service");
        }
        discoverer_ = discoverer;
        if (!Service()->StartDiscovery()) {
            ExitCode code = ExplainFailure("discovering");
            if (code == EXIT_FAILED && !Service()->IsEnabled()) {
                Complain("sharing is off; switch it on with: pelago on");
            }
            return code;
        }
        return EXIT_DONE;
    }
    ~Session()
    {
        if (discoverer_ != nullptr) {
            (void)Service()->StopDiscovery(); // refused while other clients discover
            (void)Service()->UnRegisterTrellisCallback(discoverer_);
        }
    }
    const sptr<ITrellisService>& Service() const
    {
        return connection_.service;
    }

private:
    Connection connection_;
    sptr<Discoverer> discoverer_;
};

struct NearbyOptions {
    bool watch = false;
    int seconds = 2;
};

void PrintPeer(const Context& context, const char* what, const ShareDeviceInfo& peer)
{
    if (context.json) {
        PrintJson(Json::Object().Put("what", what).Put("peer", PeerJson(peer)).Text());
        return;
    }
    PrintLine(std::string(what) + "\t" + EscapeForTerminal(peer.deviceId) + "\t" + EscapeForTerminal(NameOf(peer)));
}

// Until the time, an interrupt or the end of the device; for ever with -1.
void SleepWhileThere(Discoverer& discoverer, int64_t untilMs)
{
    while (Interrupts() == 0 && !discoverer.IsGone() && (untilMs < 0 || NowMs() < untilMs)) {
        (void)::usleep(static_cast<useconds_t>(TICK_MS * 1000)); // ends early with a signal, which is what it is for
    }
}

ExitCode Nearby(const Context& context, const NearbyOptions& options)
{
    NoteInterrupts();
    sptr<Discoverer> discoverer = options.watch
                                      ? new Discoverer([&context](const char* what, const ShareDeviceInfo& peer) {
                                            PrintPeer(context, what, peer);
                                        })
                                      : new Discoverer();
    Session session;
    if (ExitCode code = session.Open(context, discoverer); code != EXIT_DONE) {
        return code;
    }
    SleepWhileThere(*discoverer, options.watch ? -1 : NowMs() + options.seconds * 1000LL);
    std::vector<ShareDeviceInfo> peers =
        options.watch ? std::vector<ShareDeviceInfo>() : session.Service()->GetAllUserList();
    if (discoverer->IsGone()) {
        return DeviceHasGone();
    }
    for (const ShareDeviceInfo& peer : peers) {
        PrintPeer(context, "peer", peer);
    }
    return Interrupts() > 0 && !options.watch ? EXIT_INTERRUPTED : EXIT_DONE;
}

// How a send can end, by the state that the entry shows.
struct Ending {
    int32_t state;
    ExitCode code;
    const char* text;
};

constexpr Ending ENDINGS[] = {
    {DeviceState::SUCCEEDED, EXIT_DONE, "sent"},
    {DeviceState::REFUSED, EXIT_REFUSED, "the receiver refused"},
    {DeviceState::DECLINED, EXIT_REFUSED, "the receiver declined"},
    {DeviceState::CANCELLED, EXIT_CANCELLED, "cancelled"},
    {DeviceState::FAILED, EXIT_FAILED, "failed"},
    {DeviceState::NO_ANSWER, EXIT_TIMED_OUT, "nobody answered"},
    {DeviceState::BUSY, EXIT_FAILED, "the receiver is busy with another offer"},
    {DeviceState::NO_SPACE, EXIT_NO_SPACE, "the receiver has no space"},
    {DeviceState::ENDED_BY_2008, EXIT_FAILED, "the engine ended it (2008)"},
    {DeviceState::ENDED_BY_1019, EXIT_FAILED, "the engine ended it (1019)"},
};

const Ending* EndingOf(int32_t state)
{
    auto found = std::find_if(
        std::begin(ENDINGS), std::end(ENDINGS), [state](const Ending& ending) { return ending.state == state; });
    return found == std::end(ENDINGS) ? nullptr : found;
}

// Why a send failed, by the error that the engine reported with it.
struct Failure {
    int32_t error;
    ExitCode code;
    const char* text;
};

constexpr Failure FAILURES[] = {
    {EngineError::PEER_LOST, EXIT_FAILED, "the peer went away"},
    {EngineError::UNREACHABLE, EXIT_NO_SUCH, "the peer is not there any more"},
    {EngineError::PEER_IO, EXIT_NO_SPACE, "the receiver could not write a file"},
    {EngineError::BAD_NAME, EXIT_FAILED, "the receiver cannot use the name of a file"},
    {EngineError::PROTOCOL, EXIT_FAILED, "the two devices do not understand each other"},
    {EngineError::NOT_SUPPORTED, EXIT_FAILED, "the peer does not receive just now"},
    {EngineError::TOO_LARGE, EXIT_LIMIT, "the preview is too large"},
    {EngineError::BAD_SOURCE, EXIT_NO_SPACE, "a file cannot be read"},
    {EngineError::SOURCE_CHANGED, EXIT_NO_SPACE, "a file changed while it was sent"},
    {EngineError::NOT_ALLOWED, EXIT_PERMISSION, "a file belongs to somebody else"},
};

// `ending` with the reason, where there is one.
Ending Explained(const Ending& ending, int32_t error)
{
    auto found = std::find_if(
        std::begin(FAILURES), std::end(FAILURES), [error](const Failure& failure) { return failure.error == error; });
    bool known = ending.state == DeviceState::FAILED && found != std::end(FAILURES);
    return known ? Ending{ending.state, found->code, found->text} : ending;
}

struct SendOptions {
    std::vector<std::string> files;
    std::string text;
    std::string to;
    bool uris = false;
    int seconds = 10;
};

// Follows a send to its end: draws the bar, says a stall in words, and cancels on Ctrl-C; on the second one it waits no
// longer for the end of what it has cancelled.
class Follower {
public:
    Follower(const ShareDeviceInfo& peer, int64_t totalBytes)
        : peer_(peer), bar_(EscapeForTerminal(NameOf(peer)), totalBytes)
    {}

    Ending Follow(Discoverer& discoverer, ITrellisService& service)
    {
        size_t seen = 0;
        int64_t changedAt = NowMs();
        for (;;) {
            Course now = discoverer.WaitForChange(peer_.deviceId, seen);
            if (auto ending = EndOf(now, discoverer); ending.has_value()) {
                bar_.End();
                return *ending;
            }
            if (Interrupts() > 0 && !wasCancelled_) {
                (void)service.Cancel(peer_); // it may just have ended
                wasCancelled_ = true;
            }
            changedAt = now.reports == seen ? changedAt : NowMs();
            seen = now.reports;
            Show(now.device, NowMs() - changedAt);
        }
    }
    bool WasInterrupted() const
    {
        return wasCancelled_;
    }

private:
    // How the send has ended, if it has.
    std::optional<Ending> EndOf(const Course& course, Discoverer& discoverer) const
    {
        if (const Ending* ending = EndingOf(course.device.deviceState); ending != nullptr) {
            return Explained(*ending, course.error);
        }
        if (course.isCancelled || Interrupts() > 1) {
            return *EndingOf(DeviceState::CANCELLED);
        }
        if (course.isLost) {
            return Explained(*EndingOf(DeviceState::FAILED), course.error);
        }
        if (discoverer.IsGone()) {
            return Ending{DeviceState::FAILED, DeviceHasGone(), "the own device has gone"};
        }
        return std::nullopt;
    }
    void Show(const ShareDeviceInfo& now, int64_t quietMs)
    {
        if (now.deviceState == DeviceState::TRANSFERRING) {
            if (quietMs >= STALL_MS) {
                Note("no progress for " + SecondsText(quietMs / 1000));
            } else {
                noted_.clear(); // the next stall is said again
                bar_.Show(now.percent, int64_t{now.speed} * BYTES_PER_SPEED);
            }
        } else {
            Note("waiting for an answer");
        }
    }
    void Note(const std::string& text)
    {
        if (text != noted_) {
            noted_ = text;
            bar_.Note(text);
        }
    }

    const ShareDeviceInfo peer_;
    ProgressBar bar_;
    std::string noted_;
    bool wasCancelled_ = false; // by an interrupt
};

ExitCode Send(const Context& context, const SendOptions& options)
{
    if (options.files.empty() && options.text.empty()) {
        Complain("nothing to send; name files, or a text with --text");
        return EXIT_USAGE;
    }
    Payload payload;
    if (ExitCode code = payload.Fill(options.files, options.text, options.uris); code != EXIT_DONE) {
        return code;
    }
    NoteInterrupts();
    sptr<Discoverer> discoverer = new Discoverer();
    Session session;
    if (ExitCode code = session.Open(context, discoverer); code != EXIT_DONE) {
        return code;
    }
    auto peers = discoverer->WaitForPeer(options.to, NowMs() + options.seconds * 1000LL);
    if (discoverer->IsGone()) {
        return DeviceHasGone();
    }
    if (Interrupts() > 0) {
        return EXIT_INTERRUPTED;
    }
    ShareDeviceInfo peer;
    if (ExitCode code = ChoosePeer(peers, options.to, peer); code != EXIT_DONE) {
        return code;
    }
    (void)session.Service()->PrepareSend(peer); // always true
    bool taken = options.uris ? session.Service()->SendFile(peer, payload.data, PACKAGE_NAME)
                              : session.Service()->Send(peer, payload.bean, PACKAGE_NAME);
    if (!taken) {
        return ExplainFailure("sending");
    }
    Follower follower(peer, payload.TotalSize());
    Ending ending = follower.Follow(*discoverer, *session.Service().GetRefPtr());
    if (context.json) {
        PrintJson(Json::Object()
                      .Put("peer", PeerJson(peer))
                      .Put("ending", ending.text)
                      .Put("state", static_cast<int64_t>(ending.state))
                      .Put("bytes", payload.TotalSize())
                      .Text());
    } else {
        Say(EscapeForTerminal(options.to) + ": " + ending.text);
    }
    return follower.WasInterrupted() ? EXIT_INTERRUPTED : ending.code;
}

ExitCode Cancel(const Context& context, const std::string& to)
{
    Connection connection;
    if (ExitCode code = Connection::Open(context, "owner", connection); code != EXIT_DONE) {
        return code;
    }
    ShareDeviceInfo peer;
    if (ExitCode code = ChoosePeer(connection.service->GetAllUserList(), to, peer); code != EXIT_DONE) {
        return code;
    }
    return connection.service->Cancel(peer) ? EXIT_DONE : ExplainFailure("cancelling");
}

} // namespace

Action NearbyVerb(CLI::App& app)
{
    auto options = std::make_shared<NearbyOptions>();
    app.add_flag("--watch", options->watch, "go on printing who comes and goes");
    app.add_option("--for", options->seconds, "how many seconds to look")->capture_default_str()->check(Seconds());
    return [options](const Context& context) { return Nearby(context, *options); };
}

Action SendVerb(CLI::App& app)
{
    auto options = std::make_shared<SendOptions>();
    app.add_option("files", options->files, "regular files, at most 500");
    app.add_option("--text", options->text, "a text, with files or alone");
    app.add_option("--to", options->to, "id, name or contact of the peer")->required();
    app.add_flag("--uri", options->uris, "hand the files over by name instead of by descriptor");
    app.add_option("--wait", options->seconds, "how many seconds to look for the peer")
        ->capture_default_str()
        ->check(Seconds());
    return [options](const Context& context) { return Send(context, *options); };
}

Action CancelVerb(CLI::App& app)
{
    auto to = std::make_shared<std::string>();
    app.add_option("--to", *to, "id, name or contact of the peer")->required();
    return [to](const Context& context) { return Cancel(context, *to); };
}

} // namespace OHOS::Pelago::Tools
