#include "connection.h"

#include <cerrno>

#include <unistd.h>

#include "host/ability_host.h"
#include "host/device_control.h"
#include "host/ipc_transport.h"
#include "ipc_types.h"
#include "output.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago::Tools {
namespace {

std::string Listed(const std::vector<std::string>& ids)
{
    std::string text;
    for (const std::string& id : ids) {
        text += "\n  pelago -d " + id + " ...";
    }
    return text;
}

// Whether the path is there, or may be, for others alone.
bool IsForbidden(const std::string& path, int access)
{
    return ::access(path.c_str(), access) != 0 && errno == EACCES;
}

ExitCode NotRunning(const std::string& which, const std::vector<std::string>& running)
{
    if (const std::string home = DevicePaths::RuntimeHome(); IsForbidden(home, R_OK | X_OK)) {
        Complain("cannot look into " + home + ": permission denied; $PELAGO_HOME says where your own devices are");
        return EXIT_PERMISSION;
    }
    if (which.empty()) {
        Complain("no device is running; start one with: pelago up --name \"Blue phone\"");
    } else {
        Complain("no device '" + which + "' is running; start it with: pelago -d \"" + which + "\" up" +
                 (running.empty() ? "" : "\nor use one that runs:" + Listed(running)));
    }
    return EXIT_NO_SUCH;
}

sptr<IRemoteObject> Root(const DevicePaths& paths, const std::string& token, ExitCode& code)
{
    std::string error;
    sptr<IRemoteObject> root = Host::ConnectToDaemon(paths.Socket(token), error);
    if (root == nullptr) {
        const bool isForbidden = IsForbidden(paths.Socket(token), W_OK);
        Complain("cannot reach the device '" + paths.Id() + "' as '" + token + "': " + error +
                 (isForbidden ? "; it is another user's" : "; what runs: pelago devices"));
        code = isForbidden ? EXIT_PERMISSION : EXIT_UNREACHABLE;
    }
    return root;
}

class Death : public IRemoteObject::DeathRecipient {
public:
    explicit Death(std::function<void()> gone) : gone_(std::move(gone))
    {}
    void OnRemoteDied(const wptr<IRemoteObject>&) override
    {
        gone_();
    }

private:
    const std::function<void()> gone_;
};

} // namespace

ExitCode FindDevice(const Context& context, std::optional<DevicePaths>& paths)
{
    if (!context.device.empty()) {
        std::string id = DevicePaths::IdFrom(context.device);
        DevicePaths named(id);
        if (id.empty() || !named.IsRunning()) {
            return NotRunning(context.device, DevicePaths::Running());
        }
        paths.emplace(id);
        return EXIT_DONE;
    }
    std::vector<std::string> running = DevicePaths::Running();
    if (running.empty()) {
        return NotRunning("", running);
    }
    if (running.size() > 1) {
        Complain("several devices are running; say which one:" + Listed(running));
        return EXIT_USAGE;
    }
    paths.emplace(running.front());
    return EXIT_DONE;
}

ExitCode Connection::Open(const DevicePaths& paths, const std::string& token, Connection& connection)
{
    ExitCode code = EXIT_DONE;
    sptr<IRemoteObject> root = Root(paths, token, code);
    if (root == nullptr) {
        return code;
    }
    connection.samgr = Host::SamgrOf(root);
    connection.service = iface_cast<ITrellisService>(connection.samgr->GetSystemAbility(TRELLIS_SERVICE_ID));
    if (connection.service == nullptr) {
        Complain("the device '" + paths.Id() + "' has no share service; see: pelago -d " + paths.Id() + " log");
        return EXIT_UNREACHABLE;
    }
    return EXIT_DONE;
}

ExitCode Connection::Open(const Context& context, const std::string& token, Connection& connection)
{
    std::optional<DevicePaths> paths;
    ExitCode code = FindDevice(context, paths);
    return code == EXIT_DONE ? Open(*paths, token, connection) : code;
}

bool CallWhenGone(const sptr<IRemoteObject>& object, std::function<void()> gone)
{
    return object->AddDeathRecipient(MakeSptr<Death>(std::move(gone)));
}

ExitCode DeviceHasGone()
{
    Complain("the device has gone; start it with: pelago up");
    return EXIT_UNREACHABLE;
}

ExitCode OpenControl(const Context& context, sptr<IRemoteObject>& control)
{
    std::optional<DevicePaths> paths;
    ExitCode code = FindDevice(context, paths);
    if (code != EXIT_DONE) {
        return code;
    }
    sptr<IRemoteObject> root = Root(*paths, "owner", code);
    if (root == nullptr) {
        return code;
    }
    control = Host::SamgrOf(root)->GetSystemAbility(Host::AbilityId::DEVICE_CONTROL);
    if (control == nullptr) {
        Complain("the device '" + paths->Id() + "' cannot be controlled; it may be going down: pelago devices");
        return EXIT_UNREACHABLE;
    }
    return EXIT_DONE;
}

ExitCode Control(const Context& context, const std::vector<std::string>& words, Host::ControlAnswer& answer)
{
    sptr<IRemoteObject> control;
    if (ExitCode code = OpenControl(context, control); code != EXIT_DONE) {
        return code;
    }
    answer = Host::DeviceControlProxy(control).Execute(words);
    if (answer.result != Host::ControlResult::DONE) {
        Complain(answer.error);
    }
    return static_cast<ExitCode>(answer.result);
}

ExitCode RunControl(const Context& context, const std::vector<std::string>& words)
{
    Host::ControlAnswer answer;
    ExitCode code = Control(context, words, answer);
    if (code == EXIT_DONE && !answer.json.empty()) {
        PrintJson(answer.json);
    } else if (code == EXIT_DONE && context.json) {
        PrintJson("null"); // done, and there is no more to say
    }
    return code;
}

ExitCode ExplainFailure(const std::string& what)
{
    switch (int32_t error = TrellisServiceProxy::LastError(); error) {
        case 0:
            Complain(what + ": the service refused; `pelago log` says why");
            return EXIT_FAILED;
        case ERROR_NO_SWITCH_PERMISSION:
        case ERROR_NO_CAPABILITY_PERMISSION:
            Complain(what + ": permission denied; this needs a socket with more rights: pelago -j sim show lists them");
            return EXIT_PERMISSION;
        default: // an open set: whatever a transport can say
            Complain(what + ": the service does not answer (" + std::to_string(error) + "); what runs: pelago devices");
            return EXIT_UNREACHABLE;
    }
}

} // namespace OHOS::Pelago::Tools
