#ifndef PELAGO_BENCH_LOAD_DEVICES_H
#define PELAGO_BENCH_LOAD_DEVICES_H

#include <filesystem>
#include <memory>

#include "expect.h"

// The devices of a story, as processes, and what they have of the machine.
namespace OHOS::Pelago::Load {

namespace fs = std::filesystem;

// Growth is what the end of a story has more than its middle. Memory is anonymous memory in one arena that gives back
// what is freed, but a heap has holes, and threads have stacks: two MiB of them. A few bytes lost with each call, or a
// KiB with each transfer, file or peer, would be more. Descriptors and threads differ by the requests that are under
// way in that moment: 16 in common places, and one more for each client that is being called.
inline constexpr size_t MOST_CLIENTS = 64;
inline constexpr int64_t MOST_GROWTH_KB = 2048;
inline constexpr int64_t MOST_MORE_OPEN = 16;
inline constexpr int64_t MOST_MORE_THREADS = 16 + MOST_CLIENTS;

struct Sample {
    int64_t memoryKb = 0;
    int64_t descriptors = 0;
    int64_t threads = 0;
};

// A daemon that is up, and is killed with its owner, the story. For the story's first thread. What it says stands in
// the home; its errors go where the story's go.
class RunningDaemon {
public:
    RunningDaemon(const std::string& id, const fs::path& home);
    Sample Look() const;
    const std::string& Id() const
    {
        return id_;
    }

private:
    const std::string id_;
    const Bench::Child child_;
};

// Samples of a daemon, which must outlive it, and whether it has grown. Owned by the story; for one thread.
class Growth {
public:
    explicit Growth(const RunningDaemon& daemon) : daemon_(daemon)
    {}
    void Add();
    // That the end, the last tenth, has no more than the middle.
    void ExpectNone(const std::string& story) const;

private:
    Sample MedianOf(double from, double to) const;

    const RunningDaemon& daemon_;
    std::vector<Sample> samples_;
};

// Two devices in a home: a phone, and a tablet with somebody who accepts everything. Owned by the story, whose first
// thread uses it, and to be made before its other processes: it sets the environment for them all. They end with it;
// it does not remove what they leave in the home.
class Pair {
public:
    explicit Pair(const fs::path& home);
    void StartTablet();
    // Of phone and tablet.
    std::vector<Growth> Growths() const;
    // Where what the tablet accepts arrives.
    fs::path Inbox() const
    {
        return home_ / "in";
    }
    const RunningDaemon& Phone() const
    {
        return *phone_;
    }

private:
    const fs::path home_;
    std::unique_ptr<RunningDaemon> phone_;
    std::unique_ptr<RunningDaemon> tablet_;
    std::unique_ptr<Bench::Child> receiver_;
};

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_DEVICES_H
