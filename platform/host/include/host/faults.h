#ifndef PLATFORM_HOST_FAULTS_H
#define PLATFORM_HOST_FAULTS_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace OHOS::Host {

// Makes calls of the platform fail on demand, by name or by number.
//
// Each place of the host layer that can fail on a device asks `if (Faults::Take("module.operation"))` and then fails as
// it would there. Belongs to the process; any thread may call. Knows nothing of what a failure looks like: that is the
// caller's, and the names are listed where they are taken. While nothing is injected or observed, Take costs one
// relaxed load.
class Faults {
public:
    static constexpr int ALWAYS = -1;

    // Lets the next `times` calls named `name` fail, after `skip` of them have succeeded; ALWAYS until Clear. `times` 0
    // takes the fault back. Replaces an earlier injection of the same name.
    static void Inject(std::string_view name, int times = 1, int skip = 0);

    // Starts to count calls of all names, from 0. The sweep "the Nth host call fails" first runs its story once under
    // Observe and reads Calls.
    static void Observe();

    // Starts to count from 0 again and lets the `n`th call from now fail, whatever its name; `n` counts from 1.
    static void FailNth(uint64_t n);

    // Calls counted since Observe or FailNth.
    static uint64_t Calls();

    // Name of the call that failed last; empty when none has since Clear.
    static std::string LastFailed();

    // Forgets all injections and counts; every later call succeeds.
    static void Clear();

    // Whether this call is to fail. Uses up one injection.
    [[nodiscard]] static bool Take(std::string_view name)
    {
        return armed_.load(std::memory_order_relaxed) && TakeArmed(name);
    }

private:
    static bool TakeArmed(std::string_view name);

    static inline std::atomic<bool> armed_{false};
};

} // namespace OHOS::Host

#endif // PLATFORM_HOST_FAULTS_H
