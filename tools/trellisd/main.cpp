#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "command_line.h"
#include "daemon.h"
#include "hilog/host_text.h"

namespace OHOS::Pelago::Tools {
namespace {

constexpr int EXIT_USAGE = 2;

// Tells a service manager that started us, if there is one.
void NotifyServiceManager(const std::string& message)
{
    const char* path = std::getenv("NOTIFY_SOCKET"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (path == nullptr || (path[0] != '/' && path[0] != '@')) {
        return;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string name = path;
    if (name.size() >= sizeof(address.sun_path)) {
        return;
    }
    name.copy(address.sun_path, name.size());
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0';
    }
    int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return;
    }
    auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    // Nobody hears it: then nobody waits for it either.
    (void)::sendto(fd, message.data(), message.size(), MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address), length);
    (void)::close(fd);
}

sigset_t BlockEndSignals()
{
    sigset_t signals;
    (void)sigemptyset(&signals);
    (void)sigaddset(&signals, SIGTERM);
    (void)sigaddset(&signals, SIGINT);
    (void)sigaddset(&signals, SIGHUP);
    sigset_t blocked = signals;
    (void)sigaddset(&blocked, SIGPIPE);                  // whoever reads what we say may have gone
    (void)pthread_sigmask(SIG_BLOCK, &blocked, nullptr); // before the first thread, so that all have it
    return signals;
}

void SayReady(int readyFd, const Daemon& daemon)
{
    std::string line = "ready " + daemon.Paths().Id() + "\n";
    if (readyFd >= 0) {
        (void)!::write(readyFd, line.data(), line.size()); // whoever waited may have gone
        (void)::close(readyFd);
    } else {
        (void)std::fputs(line.c_str(), stdout);
        (void)std::fflush(stdout);
    }
    NotifyServiceManager("READY=1\n");
}

int Down(Daemon& daemon, int result)
{
    if (!daemon.Stop()) {
        (void)std::fprintf(stderr, "trellisd: some threads did not end in time\n");
        std::_Exit(EXIT_FAILURE); // they still use what a return would destroy
    }
    return result;
}

int Run(DaemonOptions options, int readyFd)
{
    sigset_t signals = BlockEndSignals();
    Daemon daemon(std::move(options));
    if (std::string reason = daemon.Start(); !reason.empty()) {
        (void)std::fprintf(stderr, "trellisd: %s\n", reason.c_str());
        return Down(daemon, EXIT_FAILURE);
    }
    SayReady(readyFd, daemon);
    int signal = 0;
    (void)sigwait(&signals, &signal);
    NotifyServiceManager("STOPPING=1\n");
    return Down(daemon, EXIT_SUCCESS);
}

void AddOptions(CLI::App& app, DaemonOptions& options, int& readyFd)
{
    UseHelpText(app);
    app.footer("Says \"ready ID\" when it is up, and ends cleanly on SIGTERM, SIGINT or SIGHUP.\n"
               "Exit codes: 0 ended cleanly; 1 failed, with the reason; 2 usage.");
    app.add_option("--id", options.card.id, "which device: [a-z0-9-], names its folders")->required()->type_name("ID");
    app.add_option("--name", options.card.name, "the name that other devices show; remembered")->type_name("NAME");
    app.add_option("--type", options.card.type, "what kind of device it is; remembered, a phone if it is new")
        ->type_name("TYPE")
        ->check(OneOf(DEVICE_TYPES));
    app.add_option("--account", options.card.account, "hash of the account that it is signed in with; remembered")
        ->type_name("ACCOUNT");
    app.add_flag("!--no-bytes", options.takesBytes, "a device that takes files and texts, but no bytes");
    app.add_option("--log-level", options.logLevel, "the least that is kept of the log, info if none is said")
        ->type_name("LEVEL")
        ->check(OneOf(LOG_LEVELS));
    app.add_option("--log-file", options.logFile, "append the log to this file")->type_name(FILE_VALUE);
    app.add_flag("--log-stderr", options.logToStderr, "write the log to standard error");
    app.add_option("--ready-fd", readyFd, "say that it is ready there instead of on standard output")
        ->type_name("FD")
        ->check(NumberFrom(0, std::numeric_limits<int>::max()));
    app.add_flag("--man", "print the manual page");
    app.add_flag("--completion", "print what completes these options in bash");
}

// What the program says of itself, which needs no device: its options are checked for one.
std::optional<std::string> SaidOfItself(const CLI::App& app, const std::string& word)
{
    const Command program = Describe(app);
    if (word == "--man") {
        return ManualPage(program,
            {{"ENVIRONMENT", {{"PELAGO_HOME, XDG_STATE_HOME, XDG_RUNTIME_DIR", "where devices live, as for pelago(1)"},
                                 {"NOTIFY_SOCKET", "where it tells systemd that it is ready, and that it stops"}}},
                {"SEE ALSO", {{"pelago(1)", "starts devices, and uses them"}}}});
    }
    return word == "--completion" ? std::optional(BashCompletion(program)) : std::nullopt;
}

int Fail(const std::string& reason)
{
    (void)std::fprintf(stderr, "trellisd: %s\n", Host::EscapeForTerminal(reason).c_str());
    return EXIT_USAGE;
}

// Parses the command line and runs the device.
int Main(int argc, char** argv)
{
    DaemonOptions options;
    int readyFd = -1;
    CLI::App app("one Pelago device, in the foreground: the front service, the local share engine and the sockets that "
                 "clients come through",
        "trellisd");
    AddOptions(app, options, readyFd);
    if (auto text = SaidOfItself(app, argc == 2 ? argv[1] : ""); text.has_value()) {
        return std::fputs(text->c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        return Fail(UsageError(app, error));
    }
    if (app.count("--man") + app.count("--completion") > 0) {
        return Fail("--man and --completion stand alone; see: trellisd --help");
    }
    if (!DevicePaths::IsValidId(options.card.id)) {
        return Fail("a device's id is 1 to " + std::to_string(MAX_DEVICE_ID) + " of a-z, 0-9 and dash, not '" +
                    options.card.id + "'");
    }
    if (readyFd >= 0 && ::fcntl(readyFd, F_GETFD) < 0) {
        return Fail("the descriptor " + std::to_string(readyFd) + " of --ready-fd is not open");
    }
    return Run(std::move(options), readyFd);
}

} // namespace
} // namespace OHOS::Pelago::Tools

int main(int argc, char** argv)
{
    try {
        return OHOS::Pelago::Tools::Main(argc, argv);
    } catch (const std::exception& error) { // of a library or the machine; ours throw nothing
        (void)std::fprintf(stderr, "trellisd: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
