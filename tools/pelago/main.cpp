#include <cstdio>
#include <exception>

#include "command_line.h"
#include "host/ipc_transport.h"
#include "output.h"
#include "verbs.h"

namespace OHOS::Pelago::Tools {
namespace {

// All that the tool can do, in the order in which help and manual show it.
struct Verb {
    const char* name;
    const char* group;
    const char* help;
    Action (*add)(CLI::App& app);
};

constexpr const char* DEVICES = "Devices";
constexpr const char* SHARING = "Sharing";
constexpr const char* OTHERS = "The other side of the service";
constexpr const char* LOOKING = "Looking on";
constexpr const char* WORLD = "Being the world";
constexpr const char* ABOUT = "About the tool";

constexpr Verb VERBS[] = {
    {"up", DEVICES, "start a device", UpVerb},
    {"down", DEVICES, "stop a device", DownVerb},
    {"devices", DEVICES, "list the devices and which of them run", DevicesVerb},
    {"contact", DEVICES, "say whose an account is", ContactVerb},
    {"on", SHARING, "switch sharing on and wait until it is", OnVerb},
    {"off", SHARING, "switch sharing off and wait until it is", OffVerb},
    {"status", SHARING, "the switch and the peers of a device, without registering with it", StatusVerb},
    {"nearby", SHARING, "discover peers and list them", NearbyVerb},
    {"send", SHARING, "send files or a text to a peer", SendVerb},
    {"cancel", SHARING, "cancel what is being sent to a peer", CancelVerb},
    {"receive", OTHERS, "be the extension that shows offers and takes them", ReceiveVerb},
    {"extension", OTHERS, "be the whole front end: dialogs, offers and notifications, answered as told", ExtensionVerb},
    {"app", OTHERS, "be an application of the share API: told of gestures and knocks, answering with sends", AppVerb},
    {"swing", OTHERS, "make the gesture that takes something to another device, or answer its dialog", SwingVerb},
    {"tap", OTHERS, "touch another device", TapVerb},
    {"watch", LOOKING, "print the state of a device, then every change", WatchVerb},
    {"wait-for", LOOKING, "wait until something is so", WaitForVerb},
    {"dump", LOOKING, "what the service holds, for engineers", DumpVerb},
    {"log", LOOKING, "the log of a device", LogVerb},
    {"events", LOOKING, "the telemetry of a device", EventsVerb},
    {"sim", WORLD, "be the hardware and the people: radios, users, windows, settings, faults; play a tap's events",
        SimVerb},
    {"help", ABOUT, "what the tool or a verb takes", HelpVerb},
    {"man", ABOUT, "print the manual page", ManVerb},
    {"completion", ABOUT, "print what completes words in a shell", CompletionVerb},
};

// Adds each verb; `chosen` becomes the action of the one that is typed.
void AddVerbs(CLI::App& app, Action& chosen)
{
    for (const Verb& verb : VERBS) {
        CLI::App* sub = app.add_subcommand(verb.name, verb.help)->group(verb.group);
        Action action = verb.add(*sub);
        sub->callback([action, &chosen] { chosen = action; });
    }
}

int Main(int argc, char** argv)
{
    Context context;
    CLI::App app("starts, uses, steers and observes devices that share with each other on this machine", "pelago");
    UseHelpText(app);
    app.require_subcommand(0, 1); // what follows a verb is the verb's, though it be called as another one
    app.fallthrough();
    app.add_option("-d,--device", context.device,
           "which device, by id or name, as $PELAGO_DEVICE does; needed when several run")
        ->envname("PELAGO_DEVICE")
        ->type_name(DEVICE_VALUE);
    app.add_flag(
        "-j,--json", context.json, "print JSON with a schema number: one object a line, laid out on a terminal");
    Action chosen;
    AddVerbs(app, chosen);
    app.footer("Options of the tool may stand before the verb or behind it. Data goes to standard output, talk and "
               "progress to standard error.\n" +
               ExitCodesText());
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        Complain(UsageError(app, error));
        return EXIT_USAGE;
    }
    if (chosen == nullptr) {
        Complain("say what to do; see: pelago --help");
        return EXIT_USAGE;
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
