#ifndef PELAGO_TESTS_WAIT_UNTIL_H
#define PELAGO_TESTS_WAIT_UNTIL_H

#include <chrono>

#include <poll.h>

namespace OHOS::Pelago {

// For what other processes and threads do, and nobody tells: looks until `condition` holds, and says whether it did
// within the limit. A test passes as soon as it holds; no test's outcome depends on how long that took.
template <typename Condition>
[[nodiscard]] bool WaitUntil(Condition&& condition, std::chrono::milliseconds limit = std::chrono::seconds(20))
{
    auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        (void)::poll(nullptr, 0, 2);
    }
    return true;
}

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_WAIT_UNTIL_H
