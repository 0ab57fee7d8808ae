#include "life.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "world.h"

namespace OHOS::Pelago {
namespace {

constexpr size_t LONGEST_LIFE = 1500;
constexpr uint64_t HASH_START = 14695981039346656037ULL; // FNV-1a
constexpr uint64_t HASH_FACTOR = 1099511628211ULL;

// What a life tells the process that began it.
struct LifeReport {
    uint64_t steps = 0;
    uint64_t traceHash = HASH_START;
    char fault[1000] = {};
};

void Hash(uint64_t& hash, const std::string& text)
{
    for (char byte : text) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * HASH_FACTOR;
    }
}

void SetFault(LifeReport& report, const std::string& text)
{
    std::snprintf(report.fault, sizeof(report.fault), "%s", text.c_str());
}

// Only a build with the address sanitizer can tell.
bool HasLeaked()
{
#if defined(__SANITIZE_ADDRESS__)
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

// Half of the lives end by a stop, the others as a process does that is killed.
void Live(const SimulationRun& run, uint64_t life, uint64_t limit, const std::string& folder, LifeReport& report)
{
    Dice dice(run.seed * 1000003 + life);
    uint64_t length = std::min<uint64_t>(limit, 1 + dice.Below(LONGEST_LIFE));
    bool stops = dice.OneIn(2);
    auto* world = new World(dice.Next(), folder, life == 0);
    std::string fault = world->FindFault();
    while (fault.empty() && report.steps < length) {
        std::string step = world->Step();
        std::string trace = step + "\n" + world->TakeTrace();
        ++report.steps;
        Hash(report.traceHash, trace);
        if (run.trace) {
            std::fprintf(stderr, "%llu.%llu %s", static_cast<unsigned long long>(life),
                static_cast<unsigned long long>(report.steps), trace.c_str());
        }
        fault = world->FindFault();
        if (!fault.empty()) {
            fault += " (after: " + step + ")";
        }
    }
    if (fault.empty() && stops) {
        fault = world->Stop();
    }
    if (fault.empty() && testing::Test::HasFailure()) {
        fault = "a check of the fakes failed";
    }
    if (fault.empty() && stops && HasLeaked()) {
        fault = "objects are left that nobody can reach";
    }
    SetFault(report, fault);
}

LifeReport LiveInChild(const SimulationRun& run, uint64_t life, uint64_t limit, const std::string& folder)
{
    LifeReport report;
    int channel[2];
    if (::pipe(channel) != 0) {
        SetFault(report, "no pipe");
        return report;
    }
    std::fflush(nullptr);
    pid_t child = ::fork();
    if (child == 0) {
        Live(run, life, limit, folder, report);
        ssize_t written = ::write(channel[1], &report, sizeof(report));
        ::_exit(written == sizeof(report) ? 0 : 1);
    }
    (void)::close(channel[1]);
    bool told = child > 0 && ::read(channel[0], &report, sizeof(report)) == sizeof(report);
    (void)::close(channel[0]);
    int status = 0;
    (void)::waitpid(child, &status, 0);
    if (!told || status != 0) {
        SetFault(report, "the process died, status " + std::to_string(status));
    }
    return report;
}

} // namespace

RunResult Simulate(const SimulationRun& run)
{
    RunResult result;
    std::string folder = testing::TempDir() + "pelago.XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        result.fault = std::string("no folder: ") + std::strerror(errno);
        return result;
    }
    const std::string before = folder + ".before"; // as the life found it
    std::error_code error;                         // of the copies: a life that is told again differently says enough
    while (result.steps < run.steps && result.fault.empty()) {
        const uint64_t limit = run.steps - result.steps;
        std::filesystem::remove_all(before, error);
        std::filesystem::copy(folder, before, std::filesystem::copy_options::recursive, error);
        LifeReport report = LiveInChild(run, result.lives, limit, folder);
        result.steps += report.steps;
        result.traceHash = result.traceHash * HASH_FACTOR ^ report.traceHash;
        if (report.fault[0] != '\0') {
            result.fault =
                "life " + std::to_string(result.lives) + ", step " + std::to_string(report.steps) + ": " + report.fault;
            if (!run.trace) { // told again, with all that the service says to it
                (void)::setenv("PELAGO_SIM_LOG", "1", 1);
                (void)LiveInChild({run.seed, run.steps, true}, result.lives, limit, before);
            }
        }
        ++result.lives;
    }
    std::filesystem::remove_all(folder, error); // a folder that stays is no fault of the service
    std::filesystem::remove_all(before, error);
    return result;
}

} // namespace OHOS::Pelago
