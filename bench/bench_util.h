#ifndef PELAGO_BENCH_BENCH_UTIL_H
#define PELAGO_BENCH_BENCH_UTIL_H

// What all benchmarks share: medians, a CPU of one's own, and a result beside its floor, as a table or as JSON.

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace OHOS::Pelago::Bench {

inline double Median(std::vector<double> samples)
{
    if (samples.empty()) {
        return 0;
    }
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

// Keeps this thread, and the threads and processes that it starts from now on, on one CPU. False when there is no such
// CPU: figures are then noisier, and no less true.
[[nodiscard]] inline bool PinToCpu(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(cpu), &set);
    return sched_setaffinity(0, sizeof(set), &set) == 0;
}

// Makes the compiler believe that the value is looked at.
template <class T>
inline void Keep(const T& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

inline double NowNs()
{
    using namespace std::chrono;
    return static_cast<double>(duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count());
}

// Medians of one operation and of the floor that it is held against, in nanoseconds a call.
struct Pair {
    double value;
    double floor;
};

// Measures both in turns, so that what disturbs the machine disturbs both.
template <class Operation, class Floor>
Pair MeasureInTurns(Operation operation, Floor floor, int samples, int callsPerSample)
{
    const auto nsPerCall = [callsPerSample](auto& body) {
        const double start = NowNs();
        for (int i = 0; i < callsPerSample; ++i) {
            body();
        }
        return (NowNs() - start) / callsPerSample;
    };
    std::vector<double> values;
    std::vector<double> floors;
    (void)nsPerCall(operation); // the first round fills caches and the allocator
    (void)nsPerCall(floor);
    for (int i = 0; i < samples; ++i) {
        values.push_back(nsPerCall(operation));
        floors.push_back(nsPerCall(floor));
    }
    return {Median(values), Median(floors)};
}

// One figure: the median, the floor of the same run, and how they compare with the aim.
struct Figure {
    std::string name;
    std::string unit;
    double value;
    double floor;
    double aim;           // of value / floor
    bool smallerIsBetter; // whether the aim is an upper bound
};

// Prints figures as they come: a table, or one JSON object per line when the arguments say "--json". Owned by the main
// of a benchmark.
class Printer {
public:
    Printer(const char* bench, int argc, char** argv) : bench_(bench)
    {
        for (int i = 1; i < argc; ++i) {
            json_ = json_ || std::strcmp(argv[i], "--json") == 0;
        }
        if (!json_) {
            (void)std::printf("%-44s %12s %12s %7s %8s\n", bench, "median", "floor", "ratio", "aim");
        }
    }

    void Print(const Figure& figure)
    {
        const double ratio = figure.value / figure.floor;
        const char* bound = figure.smallerIsBetter ? "<=" : ">=";
        if (json_) {
            (void)std::printf("{\"schema\":1,\"bench\":\"%s\",\"name\":\"%s\",\"unit\":\"%s\",\"median\":%.1f,"
                              "\"floor\":%.1f,\"ratio\":%.3f,\"bound\":\"%s\",\"aim\":%.2f}\n",
                bench_, figure.name.c_str(), figure.unit.c_str(), figure.value, figure.floor, ratio, bound, figure.aim);
        } else {
            (void)std::printf("%-44s %9.1f %-2s %9.1f %-2s %7.2f %s %5.2f\n", figure.name.c_str(), figure.value,
                figure.unit.c_str(), figure.floor, figure.unit.c_str(), ratio, bound, figure.aim);
        }
        (void)std::fflush(stdout);
    }

private:
    const char* bench_;
    bool json_ = false;
};

} // namespace OHOS::Pelago::Bench

#endif // PELAGO_BENCH_BENCH_UTIL_H
