// Which applications are on the screen and in focus.
#include <set>

#include "hilog/host_text.h"
#include "sim_commands.h"

namespace OHOS::Host {

Json ApplicationsJson(const std::vector<Application>& applications)
{
    Json list = Json::Array();
    for (const Application& application : applications) {
        Json entry = Json::Object();
        entry.Put("bundle", application.bundleName)
            .Put("pid", static_cast<int64_t>(application.pid))
            .Put("uid", static_cast<int64_t>(application.uid));
        list.Add(std::move(entry));
    }
    return list;
}

namespace Sim {
namespace {

constexpr const char* NONE = "none";

ControlAnswer NotAttached(const std::string& word)
{
    std::set<std::string> bundles;
    for (const Application& application : Model().AttachedApplications()) {
        bundles.insert(application.bundleName);
    }
    std::string known;
    for (const std::string& bundle : bundles) {
        known += (known.empty() ? "; there are: " : ", ") + EscapeForTerminal(bundle);
    }
    return Refuse(ControlResult::NO_SUCH_ENTRY, "no application '" + EscapeForTerminal(word) + "' is attached" +
                                                    (known.empty() ? "; start one: pelago app --bundle NAME" : known));
}

// The processes of a bundle, the youngest first.
std::vector<Application> ProcessesOf(const std::string& bundle)
{
    std::vector<Application> found;
    for (const Application& application : Model().AttachedApplications()) {
        if (application.bundleName == bundle) {
            found.insert(found.begin(), application);
        }
    }
    return found;
}

// A number is a pid, also of a process that nobody attached; a bundle is its youngest process.
std::optional<int32_t> PidOf(const std::string& word)
{
    if (auto pid = Id(word); pid.has_value() && *pid > 0) {
        return pid;
    }
    const std::vector<Application> processes = ProcessesOf(word);
    return processes.empty() ? std::nullopt : std::optional(processes.front().pid);
}

// Whoever has ended since that look at the applications was taken off the screen before being put there.
void DropEnded(const std::vector<Application>& shown)
{
    std::set<int32_t> alive;
    for (const Application& application : Model().AttachedApplications()) {
        alive.insert(application.pid);
    }
    for (const Application& application : shown) {
        if (alive.count(application.pid) == 0) {
            Model().DetachApplication(application.pid);
        }
    }
}

} // namespace

// Whoever is not named loses the focus, before the others gain it.
ControlAnswer Focus(const Words& words)
{
    const std::vector<Application> attached = Model().AttachedApplications();
    std::set<int32_t> wanted;
    for (const std::string& word : words) {
        if (words.size() == 1 && word == NONE) {
            break;
        }
        const auto pid = PidOf(word);
        if (!pid.has_value()) {
            return NotAttached(word);
        }
        wanted.insert(*pid);
    }
    for (int32_t pid : Model().FocusedPids()) {
        if (wanted.count(pid) == 0) {
            Model().SetFocused(pid, false);
        }
    }
    for (int32_t pid : wanted) {
        Model().SetFocused(pid, true);
    }
    DropEnded(attached);
    return Done();
}

ControlAnswer Foreground(const Words& words)
{
    std::vector<Application> screen;
    std::set<std::string> named;
    for (const std::string& word : words) {
        if (words.size() == 1 && word == NONE) {
            break;
        }
        const std::vector<Application> processes = ProcessesOf(word);
        if (processes.empty()) {
            return NotAttached(word);
        }
        if (named.insert(word).second) {
            screen.insert(screen.end(), processes.begin(), processes.end());
        }
    }
    Model().SetForegroundApplications(screen);
    DropEnded(screen);
    return Done();
}

ControlAnswer Window(const Words&)
{
    const DeviceSnapshot device = Model().Snapshot();
    return Done(Json::Object()
                    .Put("applications", ApplicationsJson(device.applications))
                    .Put("foreground", ApplicationsJson(device.foregroundApplications))
                    .Put("focus", NumbersJson(device.focusedPids))
                    .Text());
}

} // namespace Sim
} // namespace OHOS::Host
