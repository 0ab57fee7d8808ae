#include <algorithm>
#include <memory>

#include "command_line.h"
#include "host/json_text.h"
#include "output.h"
#include "verbs.h"

// The tool about itself: all that is said here is read out of the verbs' own parsers.
namespace OHOS::Pelago::Tools {
namespace {

// Of exit_codes.h, in its order.
const std::vector<ManualEntry> EXIT_CODES{
    {"0", "done"},
    {"1", "failed"},
    {"2", "usage, or it is not said which device"},
    {"3", "the device cannot be reached, or has gone"},
    {"4", "permission denied"},
    {"5", "no such device, peer or entry"},
    {"6", "refused by the receiver"},
    {"7", "cancelled"},
    {"8", "timed out"},
    {"9", "no space, or a file that cannot be read or written"},
    {"11", "a limit was hit"},
    {"130", "interrupted"},
};

const std::vector<ManualEntry> VARIABLES{
    {"PELAGO_DEVICE", "the device, as -d says it"},
    {"PELAGO_HOME", "one folder for everything that follows: state/ and run/"},
    {"XDG_STATE_HOME", "what a device remembers is in pelago/devices/DEVICE below it; ~/.local/state otherwise"},
    {"XDG_RUNTIME_DIR", "sockets are in pelago/ below it; /tmp/pelago-UID stands in for it"},
    {"PELAGO_DEVICE_FOLDER", "set by a device for the extension that it starts: whose it is"},
};

ExitCode PrintText(const Context& context, const std::string& text)
{
    if (context.json) {
        PrintJson(Host::Json::Object().Put("text", text).Text());
    } else {
        PrintLine(text.substr(0, text.find_last_not_of('\n') + 1));
    }
    return EXIT_DONE;
}

ExitCode Help(const Context& context, const CLI::App& program, const std::string& verb)
{
    const auto found = program.get_subcommands([&verb](const CLI::App* app) { return app->get_name() == verb; });
    if (found.empty() && !verb.empty()) {
        Complain("there is no verb '" + verb + "'; see: pelago --help");
        return EXIT_USAGE;
    }
    return PrintText(context, HelpText(Describe(found.empty() ? program : *found.front())));
}

} // namespace

std::string ExitCodesText()
{
    std::string text = "Exit codes:";
    for (const ManualEntry& code : EXIT_CODES) {
        text += " " + code.term + " " + code.text + (&code == &EXIT_CODES.back() ? "." : ";");
    }
    return text;
}

Action HelpVerb(CLI::App& app)
{
    auto verb = std::make_shared<std::string>();
    app.add_option(VERB_VALUE, *verb, "without it, all of them");
    return [&app, verb](const Context& context) { return Help(context, *app.get_parent(), *verb); };
}

Action ManVerb(CLI::App& app)
{
    app.footer("To read it at once:\n  pelago man | man -l -");
    return [&app](const Context& context) {
        Command program = Describe(*app.get_parent());
        program.more.erase(std::min(program.more.find("\nExit codes"), program.more.size())); // a section of their own
        const ManualEntry daemon{"trellisd(1)", "one device, in the foreground"};
        return PrintText(context,
            ManualPage(program, {{"EXIT STATUS", EXIT_CODES}, {"ENVIRONMENT", VARIABLES}, {"SEE ALSO", {daemon}}}));
    };
}

Action CompletionVerb(CLI::App& app)
{
    auto shell = std::make_shared<std::string>();
    app.add_option("SHELL", *shell, "which one it is for")->required()->check(OneOf({"bash"}));
    app.footer("For the shell that is open:\n  source <(pelago completion bash)");
    // The shell is what the parser writes to: it lives as long as the action.
    return [&app, shell](
               const Context& context) { return PrintText(context, BashCompletion(Describe(*app.get_parent()))); };
}

} // namespace OHOS::Pelago::Tools
