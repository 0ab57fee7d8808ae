#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <unistd.h>

#include "hilog/host_text.h"
#include "host/json_text.h"
#include "host/whole_file.h"
#include "output.h"
#include "verbs.h"

// Devices come and go.
namespace OHOS::Pelago::Tools {
namespace {

using Host::Json;

constexpr int START_LIMIT_MS = 20000;
constexpr int STOP_LIMIT_MS = 20000;
constexpr useconds_t STOP_TICK_US = 10000;
constexpr const char* DEFAULT_NAME = "Blue phone";

// Beside ourselves first, so that a build folder is enough; then wherever the shell finds it.
std::string DaemonProgram()
{
    std::string self(4096, '\0');
    ssize_t length = ::readlink("/proc/self/exe", self.data(), self.size());
    if (length > 0) {
        self.resize(static_cast<size_t>(length));
        std::string beside = self.substr(0, self.rfind('/')) + "/trellisd";
        if (::access(beside.c_str(), X_OK) == 0) {
            return beside;
        }
    }
    return "trellisd";
}

// Starts the daemon in a session of its own; `readyFd` is where it says that it is up.
int SpawnDaemon(const std::vector<std::string>& words, int readyFd, const std::string& output)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    (void)posix_spawn_file_actions_init(&files);
    (void)posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    (void)posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    (void)posix_spawn_file_actions_addopen(&files, STDERR_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    (void)posix_spawn_file_actions_adddup2(&files, readyFd, readyFd); // loses close-on-exec
    posix_spawnattr_t attributes;
    (void)posix_spawnattr_init(&attributes);
    (void)posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t pid = 0;
    int error = posix_spawnp(&pid, words.front().c_str(), &files, &attributes, arguments.data(), environ);
    (void)posix_spawnattr_destroy(&attributes);
    (void)posix_spawn_file_actions_destroy(&files);
    return error;
}

// What the daemon said before it gave up.
std::string WhyNotReady(const std::string& output)
{
    std::string text = Host::ReadWhole(output).value_or("");
    text.erase(text.find_last_not_of('\n') + 1);
    return text.empty() ? "trellisd is not ready after " + SecondsText(START_LIMIT_MS / 1000) + "; see: pelago devices"
                        : text;
}

bool WaitUntilReady(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    char line[64];
    return ::poll(&wait, 1, START_LIMIT_MS) == 1 && ::read(fd, line, sizeof(line)) > 0;
}

struct UpOptions {
    std::string name;
    std::string type;
    std::string account;
    std::string logLevel;
    bool noBytes = false;
};

std::vector<std::string> DaemonWords(const UpOptions& options, const DevicePaths& paths, int readyFd)
{
    std::vector<std::string> words{DaemonProgram()};
    // One word each: a value may begin with a dash.
    auto add = [&words](const std::string& option, const std::string& value) {
        if (!value.empty()) {
            words.push_back(option + "=" + value);
        }
    };
    add("--id", paths.Id());
    add("--name", options.name);
    add("--ready-fd", std::to_string(readyFd));
    add("--log-file", paths.State() + "/log");
    add("--type", options.type);
    add("--account", options.account);
    add("--log-level", options.logLevel);
    if (options.noBytes) {
        words.push_back("--no-bytes");
    }
    return words;
}

// Which device is meant and what it is called. A device that is there keeps its name unless another is given.
std::string IdToStart(const Context& context, UpOptions& options)
{
    if (context.device.empty()) {
        options.name = options.name.empty() ? DEFAULT_NAME : options.name;
        return DevicePaths::IdFor(options.name);
    }
    std::string id = DevicePaths::IdFrom(context.device);
    if (options.name.empty() && id != context.device && !DevicePaths(id).ReadCard().has_value()) {
        options.name = context.device;
    }
    return id;
}

ExitCode Up(const Context& context, UpOptions options)
{
    std::string id = IdToStart(context, options);
    if (!DevicePaths::IsValidId(id)) {
        Complain("the name has no letter or digit to make an id of; add an id: pelago up -d my-phone --name ...");
        return EXIT_USAGE;
    }
    DevicePaths paths(id);
    if (std::string reason = paths.Create(); !reason.empty()) {
        Complain(reason + "; $PELAGO_HOME says where else devices may live");
        return EXIT_NO_SPACE;
    }
    if (paths.IsRunning()) {
        Complain("the device '" + id + "' is running already; how it is: pelago -d " + id + " status");
        return EXIT_FAILED;
    }
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        Complain(std::string("pipe: ") + std::strerror(errno));
        return EXIT_FAILED;
    }
    std::string output = paths.State() + "/trellisd.err";
    int error = SpawnDaemon(DaemonWords(options, paths, ends[1]), ends[1], output);
    (void)::close(ends[1]);
    bool ready = error == 0 && WaitUntilReady(ends[0]);
    (void)::close(ends[0]);
    if (!ready) {
        Complain(error != 0 ? std::string("trellisd: ") + std::strerror(error) : WhyNotReady(output));
        return EXIT_FAILED;
    }
    if (context.json) {
        PrintJson(Json::Object().Put("id", id).Put("name", paths.ReadCard().value_or(DeviceCard()).name).Text());
    } else {
        PrintLine(id);
    }
    return EXIT_DONE;
}

// The daemon's end is the end of its lock.
bool WaitUntilStopped(const DevicePaths& paths)
{
    for (int64_t until = NowMs() + STOP_LIMIT_MS; paths.IsRunning();) {
        if (NowMs() >= until) {
            return false;
        }
        (void)::usleep(STOP_TICK_US); // a signal ends us
    }
    return true;
}

std::optional<pid_t> DaemonPid(const Context& context)
{
    Host::ControlAnswer answer;
    if (Control(context, {"pid"}, answer) != EXIT_DONE) {
        return std::nullopt;
    }
    auto pid = static_cast<pid_t>(std::strtol(answer.json.c_str(), nullptr, 10));
    return pid > 0 ? std::optional(pid) : std::nullopt; // others would mean groups of processes
}

ExitCode DownOne(const Context& context, const DevicePaths& paths)
{
    auto pid = DaemonPid({paths.Id(), false});
    if (!pid.has_value()) {
        return EXIT_UNREACHABLE;
    }
    if (::kill(*pid, SIGTERM) != 0) {
        int error = errno;
        Complain("cannot stop process " + std::to_string(*pid) + ": " + std::strerror(error));
        return error == EPERM ? EXIT_PERMISSION : EXIT_FAILED;
    }
    if (!WaitUntilStopped(paths)) {
        Complain("process " + std::to_string(*pid) + " has not ended in " + SecondsText(STOP_LIMIT_MS / 1000) +
                 "; look at it, or end it with: kill -KILL " + std::to_string(*pid));
        return EXIT_TIMED_OUT;
    }
    if (context.json) {
        PrintJson(Json::Object().Put("id", paths.Id()).Put("running", false).Text());
    }
    return EXIT_DONE;
}

ExitCode Down(const Context& context, bool all)
{
    if (!all) {
        std::optional<DevicePaths> paths;
        ExitCode code = FindDevice(context, paths);
        return code == EXIT_DONE ? DownOne(context, *paths) : code;
    }
    ExitCode worst = EXIT_DONE;
    for (const std::string& id : DevicePaths::Running()) {
        ExitCode code = DownOne(context, DevicePaths(id));
        worst = code == EXIT_DONE ? worst : code;
    }
    return worst;
}

ExitCode Devices(const Context& context)
{
    Json list = Json::Array();
    for (const std::string& id : DevicePaths::All()) {
        DevicePaths paths(id);
        DeviceCard card = paths.ReadCard().value_or(DeviceCard{id, "", "", "", ""});
        bool running = paths.IsRunning();
        if (!context.json) {
            PrintLine(id + "\t" + (running ? "running" : "stopped") + "\t" + Host::EscapeForTerminal(card.name));
        }
        list.Add(Json::Object().Put("id", id).Put("name", card.name).Put("type", card.type).Put("running", running));
    }
    if (context.json) {
        PrintJson(list.Text());
    }
    return EXIT_DONE;
}

} // namespace

Action UpVerb(CLI::App& app)
{
    auto options = std::make_shared<UpOptions>();
    app.add_option("--name", options->name,
           "the name that other devices show; without it the one it has, or \"Blue phone\" for a first device")
        ->type_name("NAME");
    app.add_option("--type", options->type, "what kind of device it is, a phone if it is new")
        ->type_name("TYPE")
        ->check(OneOf(DEVICE_TYPES));
    app.add_option("--account", options->account, "hash of the account that it is signed in with")
        ->type_name("ACCOUNT");
    app.add_option("--log-level", options->logLevel, "the least that is kept of its log, info if none is said")
        ->type_name("LEVEL")
        ->check(OneOf(LOG_LEVELS));
    app.add_flag("--no-bytes", options->noBytes, "a device that takes files and texts, but no bytes");
    return [options](const Context& context) { return Up(context, *options); };
}

Action DownVerb(CLI::App& app)
{
    auto all = std::make_shared<bool>(false);
    app.add_flag("--all", *all, "every device that runs");
    return [all](const Context& context) { return Down(context, *all); };
}

Action DevicesVerb(CLI::App&)
{
    return Devices;
}

} // namespace OHOS::Pelago::Tools
