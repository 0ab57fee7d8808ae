#ifndef PELAGO_TESTS_LIFE_H
#define PELAGO_TESTS_LIFE_H

#include <cstdint>
#include <string>

namespace OHOS::Pelago {

// One run of the simulation: lives of the service's process, one after the other on one folder, each in a process of
// its own, so that every life begins with fresh static state and may end in the middle of anything.
struct SimulationRun {
    uint64_t seed = 0;
    uint64_t steps = 0;
    bool trace = false; // print every step
};

struct RunResult {
    uint64_t steps = 0;
    uint64_t lives = 0;
    uint64_t traceHash = 0; // of all steps and of all that was heard
    std::string fault;      // empty when nothing is wrong
};

RunResult Simulate(const SimulationRun& run);

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_LIFE_H
