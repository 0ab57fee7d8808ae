#ifndef PELAGO_BENCH_LOAD_EXPECT_H
#define PELAGO_BENCH_LOAD_EXPECT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench_util.h"

// What a story says, and what it finds wrong. Plain calls, for the first thread of the story's process.
namespace OHOS::Pelago::Load {

using Bench::Require;

inline constexpr int PATIENCE_MS = 60'000;
inline constexpr int SETTLING_MS = 4000; // threads that nobody needs end after one second

// The last tenth against the first, as medians, in a machine that does other things too.
inline constexpr double MOST_SLOWER = 1.5;

// A sanitizer takes memory and time of its own: then both are shown, and not judged.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool JUDGES_COSTS = false;
#else
inline constexpr bool JUDGES_COSTS = true;
#endif

// Where it does not hold, the story is not well, but goes on: it may have more to find.
void Expect(bool holds, const std::string& what);
// Whether all that this process expected held.
bool IsWell();

// Prints at once: the process may be ended at any moment.
__attribute__((format(printf, 1, 2))) void Print(const char* format, ...);

void Pause(int milliseconds);

// Medians of the first and of the last tenth of what was measured, in microseconds.
struct Tenths {
    double first = 0;
    double last = 0;
};

// Of three of each at least; needs six.
Tenths TenthsOf(const std::vector<double>& us);
void ExpectNoSlower(const char* what, const Tenths& us);

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_EXPECT_H
