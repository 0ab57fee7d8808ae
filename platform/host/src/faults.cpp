#include "host/faults.h"

#include <map>
#include <mutex>

namespace OHOS::Host {
namespace {

struct Injection {
    int times;
    int skip;
};

struct Registry {
    std::mutex mutex;
    std::map<std::string, Injection, std::less<>> injected;
    bool counting = false;
    uint64_t calls = 0;
    uint64_t failAt = 0; // 0: only count
    std::string lastFailed;
};

// Never destroyed: threads of the host outlive main.
Registry& Held()
{
    static auto* registry = new Registry();
    return *registry;
}

bool UseUp(Registry& registry, std::string_view name)
{
    auto found = registry.injected.find(name);
    if (found == registry.injected.end()) {
        return false;
    }
    Injection& fault = found->second;
    if (fault.skip > 0) {
        --fault.skip;
        return false;
    }
    if (fault.times > 0 && --fault.times == 0) {
        registry.injected.erase(found);
    }
    return true;
}

void CountFrom(Registry& registry, uint64_t failAt)
{
    registry.counting = true;
    registry.calls = 0;
    registry.failAt = failAt;
}

} // namespace

void Faults::Inject(std::string_view name, int times, int skip)
{
    Registry& registry = Held();
    std::lock_guard lock(registry.mutex);
    if (times == 0) {
        registry.injected.erase(std::string(name));
    } else {
        registry.injected.insert_or_assign(std::string(name), Injection{times, skip});
    }
    armed_ = registry.counting || !registry.injected.empty();
}

void Faults::Observe()
{
    FailNth(0);
}

void Faults::FailNth(uint64_t n)
{
    Registry& registry = Held();
    std::lock_guard lock(registry.mutex);
    CountFrom(registry, n);
    armed_ = true;
}

uint64_t Faults::Calls()
{
    Registry& registry = Held();
    std::lock_guard lock(registry.mutex);
    return registry.calls;
}

std::string Faults::LastFailed()
{
    Registry& registry = Held();
    std::lock_guard lock(registry.mutex);
    return registry.lastFailed;
}

void Faults::Clear()
{
    Registry& registry = Held();
    std::lock_guard lock(registry.mutex);
    registry.injected.clear();
    registry.counting = false;
    registry.calls = 0;
    registry.failAt = 0;
    registry.lastFailed.clear();
    armed_ = false;
}

bool Faults::TakeArmed(std::string_view name)
{
    Registry& registry = Held();
    std::lock_guard lock(registry.mutex);
    bool nth = registry.counting && ++registry.calls == registry.failAt;
    bool named = UseUp(registry, name);
    if (nth || named) {
        registry.lastFailed = name;
    }
    return nth || named;
}

} // namespace OHOS::Host
