#include "expect.h"

#include <poll.h>

#include <cstdarg>

namespace OHOS::Pelago::Load {

namespace {

bool g_isWell = true;

} // namespace

void Expect(bool holds, const std::string& what)
{
    if (!holds) {
        Print("  VIOLATED: %s\n", what.c_str());
        g_isWell = false;
    }
}

bool IsWell()
{
    return g_isWell;
}

void Print(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    (void)std::vprintf(format, values);
    va_end(values);
    (void)std::fflush(stdout);
}

void Pause(int milliseconds)
{
    (void)::poll(nullptr, 0, milliseconds);
}

Tenths TenthsOf(const std::vector<double>& us)
{
    const auto tenth = static_cast<std::ptrdiff_t>(std::max<size_t>(3, us.size() / 10));
    Require(us.size() >= 6, "too little was measured");
    return {Bench::Median({us.begin(), us.begin() + tenth}), Bench::Median({us.end() - tenth, us.end()})};
}

void ExpectNoSlower(const char* what, const Tenths& us)
{
    Print("  %s: %.0f us in the first tenth, %.0f us in the last\n", what, us.first, us.last);
    Expect(!JUDGES_COSTS || us.last <= us.first * MOST_SLOWER, std::string(what) + " has become slower");
}

} // namespace OHOS::Pelago::Load
