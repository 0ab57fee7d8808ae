#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "life.h"

namespace OHOS::Pelago {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr uint64_t DEFAULT_STEPS = 10'000; // each costs ten times as much
#else
constexpr uint64_t DEFAULT_STEPS = 100'000;
#endif
constexpr uint64_t DEFAULT_SEED = 1;

uint64_t FromEnvironment(const char* name, uint64_t otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

// A failure shows the life that it ended, steps and log, and names the command that repeats the run.
// PELAGO_SIM_TRACE=1 shows every step, PELAGO_SIM_LOG=1 every line of the log.
TEST(Simulation, NothingThatCanHappenBreaksAnInvariant)
{
    SimulationRun run{FromEnvironment("PELAGO_SIM_SEED", DEFAULT_SEED),
        FromEnvironment("PELAGO_SIM_STEPS", DEFAULT_STEPS), FromEnvironment("PELAGO_SIM_TRACE", 0) != 0};
    RunResult result = Simulate(run);
    std::printf("seed %llu: %llu steps in %llu lives, trace %016llx\n", static_cast<unsigned long long>(run.seed),
        static_cast<unsigned long long>(result.steps), static_cast<unsigned long long>(result.lives),
        static_cast<unsigned long long>(result.traceHash));
    EXPECT_EQ(result.fault, "") << "repeat with: PELAGO_SIM_SEED=" << run.seed << " PELAGO_SIM_STEPS=" << run.steps
                                << " build/dev/tests/simulation/simulation_test --gtest_filter='Simulation.Nothing*'";
}

TEST(Simulation, TheSameSeedGivesTheSameTrace)
{
    RunResult first = Simulate({7, 3000, false});
    RunResult second = Simulate({7, 3000, false});
    EXPECT_EQ(first.fault, "");
    EXPECT_EQ(first.traceHash, second.traceHash);
    EXPECT_NE(first.traceHash, Simulate({8, 3000, false}).traceHash);
}

} // namespace
} // namespace OHOS::Pelago
