#include <memory>

#include <unistd.h>

#include "follower.h"
#include "hilog/host_text.h"
#include "host/json_text.h"
#include "interrupt.h"
#include "output.h"
#include "payload.h"
#include "peers.h"
#include "share_constants.h"
#include "verbs.h"

// Discovering peers, and sending to them.
namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using Host::Json;

constexpr const char* PACKAGE_NAME = "pelago.cli";

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

struct SendOptions {
    std::vector<std::string> files;
    std::string text;
    std::string to;
    bool uris = false;
    int seconds = 10;
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
    if (!connection.service->Cancel(peer)) {
        return ExplainFailure("cancelling");
    }
    if (context.json) {
        PrintJson(PeerJson(peer).Text());
    }
    return EXIT_DONE;
}

} // namespace

Action NearbyVerb(CLI::App& app)
{
    auto options = std::make_shared<NearbyOptions>();
    app.add_flag("--watch", options->watch, "go on printing who comes and goes");
    app.add_option("--for", options->seconds, "how long to look")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(Seconds());
    return [options](const Context& context) { return Nearby(context, *options); };
}

Action SendVerb(CLI::App& app)
{
    auto options = std::make_shared<SendOptions>();
    app.add_option("FILE", options->files, "regular files, at most " + std::to_string(MAX_SHARED_FILES));
    app.add_option("--text", options->text, "a text, with files or alone");
    app.add_option("--to", options->to, "id, name or contact of the peer")
        ->required()
        ->type_name(PEER_VALUE)
        ->check(NotEmpty());
    app.add_flag("--uri", options->uris, "hand the files over by name instead of by descriptor");
    app.add_option("--wait", options->seconds, "how long to look for the peer")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(Seconds());
    return [options](const Context& context) { return Send(context, *options); };
}

Action CancelVerb(CLI::App& app)
{
    auto to = std::make_shared<std::string>();
    app.add_option("--to", *to, "id, name or contact of the peer")
        ->required()
        ->type_name(PEER_VALUE)
        ->check(NotEmpty());
    return [to](const Context& context) { return Cancel(context, *to); };
}

} // namespace OHOS::Pelago::Tools
