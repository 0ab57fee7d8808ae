#include <cstdio>
#include <exception>

#include "host/ipc_transport.h"
#include "output.h"
#include "verbs.h"

namespace OHOS::Pelago::Tools {
namespace {

// All that the tool can do, in the order in which help shows it.
struct Verb {
    const char* name;
    const char* help;
    Action (*add)(CLI::App& app);
};

constexpr Verb VERBS[] = {
    {"up", "start a device", UpVerb},
    {"down", "stop a device", DownVerb},
    {"devices", "list the devices and which of them run", DevicesVerb},
    {"contact", "say whose an account is", ContactVerb},
    {"on", "switch sharing on and wait until it is", OnVerb},
    {"off", "switch sharing off and wait until it is", OffVerb},
    {"status", "the switch and the peers of a device, without registering with it", StatusVerb},
    {"nearby", "discover peers and list them", NearbyVerb},
    {"send", "send files or a text to a peer", SendVerb},
    {"cancel", "cancel what is being sent to a peer", CancelVerb},
    {"receive", "be the extension that shows offers and takes them", ReceiveVerb},
    {"extension", "be the whole front end: dialogs, offers and notifications, answered as told", ExtensionVerb},
    {"app", "be an application of the share API: told of gestures and knocks, answering with sends", AppVerb},
    {"swing", "make the gesture that takes something to another device, or answer its dialog", SwingVerb},
    {"tap", "touch another device", TapVerb},
    {"watch", "print the state of a device, then every change", WatchVerb},
    {"wait-for", "wait until something is so", WaitForVerb},
    {"dump", "what the service holds, for engineers", DumpVerb},
    {"log", "the log of a device", LogVerb},
    {"events", "the telemetry of a device", EventsVerb},
    {"sim", "be the hardware and the people: radios, users, windows, settings, faults; play a tap's events", SimVerb},
};

int Main(int argc, char** argv)
{
    Context context;
    CLI::App app(
        "pelago: starts, uses, steers and observes devices that share with each other on this machine.\n"
        "Exit codes: 0 done, 1 failed, 2 usage or ambiguous device, 3 not reachable, 4 permission denied, 5 no such "
        "device or entry, 6 refused by the receiver, 7 cancelled, 8 timed out, 9 no space or I/O, 11 a limit was hit, "
        "130 interrupted.");
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("-d,--device", context.device, "which device; needed when several run")->envname("PELAGO_DEVICE");
    app.add_flag("-j,--json", context.json, "print JSON");
    Action chosen;
    for (const Verb& verb : VERBS) {
        CLI::App* sub = app.add_subcommand(verb.name, verb.help);
        Action action = verb.add(*sub);
        sub->callback([action, &chosen] { chosen = action; });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_DONE : EXIT_USAGE;
    }
    ExitCode code = chosen(context);
    (void)Host::DisconnectFromDaemons(); // the daemon notices our end either way
    if (!IsDataWritten()) {
        Complain("standard output cannot be written; is its disk full?");
        return code == EXIT_DONE ? EXIT_NO_SPACE : code;
    }
    return code;
}

} // namespace
} // namespace OHOS::Pelago::Tools

int main(int argc, char** argv)
{
    // The standard library's: of memory, of the file system. Written without it, since it may be what has failed.
    try {
        return OHOS::Pelago::Tools::Main(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "pelago: %s\n", error.what());
        return OHOS::Pelago::Tools::EXIT_FAILED;
    }
}
