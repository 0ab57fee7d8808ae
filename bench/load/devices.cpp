#include "devices.h"

#include <fcntl.h>

#include <fstream>
#include <initializer_list>
#include <iterator>

#include "device_paths.h"

namespace OHOS::Pelago::Load {

namespace {

// A program of ours. What it says on these streams goes to a file.
Bench::Child StartProgram(const std::string& name, const std::vector<std::string>& words, const fs::path& output,
    std::initializer_list<int> streams)
{
    return Bench::Child([&](int) {
        const int file = ::open(output.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        for (const int stream : streams) {
            (void)::dup2(file, stream);
        }
        std::vector<char*> arguments{const_cast<char*>(name.c_str())};
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        (void)::execv((BIN_DIR "/" + name).c_str(), arguments.data());
        Bench::Fail("cannot start " + name);
    });
}

void AwaitFile(const fs::path& path, const std::string& otherwise)
{
    for (int waited = 0; !fs::exists(path); waited += 10) {
        Require(waited < PATIENCE_MS, otherwise);
        Pause(10);
    }
}

int64_t CountEntries(const std::string& folder)
{
    std::error_code error;
    return std::distance(fs::directory_iterator(folder, error), {});
}

std::string Step(int64_t from, int64_t to)
{
    return std::to_string(from) + " -> " + std::to_string(to);
}

} // namespace

RunningDaemon::RunningDaemon(const std::string& id, const fs::path& home)
    : id_(id), child_(StartProgram("trellisd", {"--id", id, "--name", id}, home / (id + ".log"), {STDOUT_FILENO}))
{
    AwaitFile(Tools::DevicePaths(id).Socket("owner"), id + " does not come up");
}

Sample RunningDaemon::Look() const
{
    const std::string proc = "/proc/" + std::to_string(child_.Pid());
    Sample sample{0, CountEntries(proc + "/fd"), CountEntries(proc + "/task")};
    std::ifstream status(proc + "/status");
    for (std::string line; std::getline(status, line);) {
        sample.memoryKb = line.rfind("RssAnon:", 0) == 0 ? std::atoll(line.c_str() + 8) : sample.memoryKb;
    }
    Require(sample.threads > 0 && sample.memoryKb > 0, id_ + " has gone");
    return sample;
}

void Growth::Add()
{
    samples_.push_back(daemon_.Look());
}

void Growth::ExpectNone(const std::string& story) const
{
    const Sample middle = MedianOf(0.4, 0.5);
    const Sample end = MedianOf(0.9, 1);
    Print("  %s: %s KiB, %s descriptors, %s threads, middle to end\n", daemon_.Id().c_str(),
        Step(middle.memoryKb, end.memoryKb).c_str(), Step(middle.descriptors, end.descriptors).c_str(),
        Step(middle.threads, end.threads).c_str());
    const std::string who = daemon_.Id() + " has grown, " + story;
    Expect(!JUDGES_COSTS || end.memoryKb - middle.memoryKb <= MOST_GROWTH_KB, who + ": memory");
    Expect(end.descriptors - middle.descriptors <= MOST_MORE_OPEN, who + ": descriptors");
    Expect(end.threads - middle.threads <= MOST_MORE_THREADS, who + ": threads");
}

Sample Growth::MedianOf(double from, double to) const
{
    Require(!samples_.empty(), "it was over before anybody looked");
    const auto at = [this](double part) { return static_cast<size_t>(static_cast<double>(samples_.size()) * part); };
    const auto median = [&](int64_t Sample::*member) {
        std::vector<double> values;
        for (size_t i = at(from); i < std::max(at(to), at(from) + 1); ++i) {
            values.push_back(static_cast<double>(samples_[i].*member));
        }
        return static_cast<int64_t>(Bench::Median(values));
    };
    return {median(&Sample::memoryKb), median(&Sample::descriptors), median(&Sample::threads)};
}

Pair::Pair(const fs::path& home) : home_(home)
{
    Require(::setenv("PELAGO_HOME", home.c_str(), 1) == 0, "no home");
    Require(::setenv("MALLOC_ARENA_MAX", "1", 1) == 0 && ::setenv("MALLOC_MMAP_THRESHOLD_", "16384", 1) == 0,
        "no settings of the heap");
    phone_ = std::make_unique<RunningDaemon>("phone", home);
}

void Pair::StartTablet()
{
    tablet_ = std::make_unique<RunningDaemon>("tablet", home_);
    receiver_ = std::make_unique<Bench::Child>(StartProgram("pelago",
        {"-d", "tablet", "receive", "--dir", Inbox().string()}, home_ / "receive.log", {STDOUT_FILENO, STDERR_FILENO}));
    AwaitFile(Inbox(), "nobody receives");
}

std::vector<Growth> Pair::Growths() const
{
    return {Growth(*phone_), Growth(*tablet_)};
}

} // namespace OHOS::Pelago::Load
