#include "runtime_env.h"

#include <chrono>
#include <thread>
#include <utility>

namespace OHOS::Pelago {
namespace {

// Never destroyed: detached threads may outlive main.
RuntimeEnv::Hooks& Installed()
{
    static auto* hooks = new RuntimeEnv::Hooks();
    return *hooks;
}

} // namespace

void RuntimeEnv::Install(Hooks hooks)
{
    Installed() = std::move(hooks);
}

std::string RuntimeEnv::Path(const std::string& path)
{
    return Installed().rootPrefix + path;
}

int64_t RuntimeEnv::WallClockMs()
{
    if (Installed().wallClockMs != nullptr) {
        return Installed().wallClockMs();
    }
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

void RuntimeEnv::StartDetached(const std::string& name, std::function<void()> body)
{
    if (Installed().startThread != nullptr) {
        Installed().startThread(name, std::move(body));
        return;
    }
    std::thread(std::move(body)).detach();
}

} // namespace OHOS::Pelago
