#ifndef PELAGO_BENCH_BENCH_UTIL_H
#define PELAGO_BENCH_BENCH_UTIL_H

// What all benchmarks share: how they fail, medians, a CPU of one's own, a folder in memory, other processes and a bare
// ping-pong with them, and a result beside its floor, as a table or as JSON.

#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::Pelago::Bench {

// A figure of a run that went wrong would be none: says why, and ends the process whatever its threads do.
[[noreturn]] inline void Fail(const std::string& what)
{
    (void)std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what.c_str());
    std::_Exit(1);
}

inline void Require(bool holds, const std::string& what)
{
    if (!holds) {
        Fail(what);
    }
}

// The value below which `part` of the samples are.
inline double Quantile(std::vector<double> samples, double part)
{
    Require(!samples.empty(), "no samples");
    const auto place = static_cast<std::ptrdiff_t>(static_cast<double>(samples.size()) * part);
    std::nth_element(samples.begin(), samples.begin() + place, samples.end());
    return samples[static_cast<size_t>(place)];
}

inline double Median(std::vector<double> samples)
{
    return Quantile(std::move(samples), 0.5);
}

// Keeps this thread, and the threads and processes that it starts from now on, on one CPU. Without such a CPU the
// figures are noisier, and no less true.
inline void PinToCpu(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(cpu), &set);
    if (::sched_setaffinity(0, sizeof(set), &set) != 0) {
        (void)std::fprintf(stderr, "%s: not pinned\n", program_invocation_short_name);
    }
}

// Makes the compiler believe that the value is looked at.
template <class T>
inline void Keep(const T& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

// The same clock in every process.
inline double NowNs()
{
    using namespace std::chrono;
    return static_cast<double>(duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count());
}

template <class Body>
double MicrosecondsOf(Body body)
{
    const double start = NowNs();
    body();
    return (NowNs() - start) / 1000;
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

// A folder of its own, on a memory file system where there is one; goes with its owner. Its path is short: sockets
// have little room.
class MemoryFolder {
public:
    MemoryFolder()
    {
        path_ = std::filesystem::exists("/dev/shm") ? "/dev/shm/bench.XXXXXX" : "/tmp/bench.XXXXXX";
        Require(::mkdtemp(path_.data()) != nullptr, "no folder");
    }
    ~MemoryFolder()
    {
        std::error_code left; // whoever still runs may write there
        std::filesystem::remove_all(path_, left);
    }
    MemoryFolder(const MemoryFolder&) = delete;
    MemoryFolder& operator=(const MemoryFolder&) = delete;

    const std::string& Path() const
    {
        return path_;
    }

private:
    std::string path_;
};

// A process that does something with its end of a socket pair, and is killed with its owner. To be made before the
// first thread, unless it becomes another program at once.
class Child {
public:
    template <class Body>
    explicit Child(Body body)
    {
        std::array<int, 2> pair{};
        Require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) == 0, "no socket pair");
        pid_ = ::fork();
        if (pid_ == 0) {
            (void)::prctl(PR_SET_PDEATHSIG, SIGKILL); // younger ones hold our end too, so that it would not close
            (void)::close(pair[0]);
            body(pair[1]);
            std::_Exit(0);
        }
        Require(pid_ > 0, "no process");
        (void)::close(pair[1]);
        socket_ = pair[0];
    }
    ~Child()
    {
        Kill();
    }
    Child(Child&& other) noexcept : pid_(std::exchange(other.pid_, -1)), socket_(std::exchange(other.socket_, -1))
    {}
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    Child& operator=(Child&&) = delete;

    // Does not return before it has gone.
    void Kill()
    {
        if (pid_ > 0) {
            (void)::kill(pid_, SIGKILL);
            (void)::waitpid(std::exchange(pid_, -1), nullptr, 0);
            (void)::close(socket_);
        }
    }
    pid_t Pid() const
    {
        return pid_;
    }
    int Socket() const
    {
        return socket_;
    }

private:
    pid_t pid_ = -1;
    int socket_ = -1;
};

// What a small call and its answer are on the wire: head and token, head and integer.
inline constexpr size_t REQUEST_BYTES = 96;
inline constexpr size_t REPLY_BYTES = 36;

// The other side of AskBare, until its end of the socket is closed: answers each request with `answer` of its first
// byte.
template <class Answer>
void ServeBare(int socket, Answer answer)
{
    std::array<char, REQUEST_BYTES> bytes{};
    while (::read(socket, bytes.data(), bytes.size()) > 0) {
        const double value = answer(bytes[0]);
        std::memcpy(bytes.data(), &value, sizeof(value));
        if (::write(socket, bytes.data(), REPLY_BYTES) != REPLY_BYTES) {
            return;
        }
    }
}

// A ping-pong over a bare socket, of as many bytes as a small call: the floor of everything that goes to another
// process. Gives the other side's answer.
inline double AskBare(int socket, char what)
{
    std::array<char, REQUEST_BYTES> bytes{what};
    Require(::write(socket, bytes.data(), REQUEST_BYTES) == REQUEST_BYTES &&
                ::read(socket, bytes.data(), bytes.size()) == REPLY_BYTES,
        "a process does not answer");
    double value = 0;
    std::memcpy(&value, bytes.data(), sizeof(value));
    return value;
}

inline constexpr double NONE = std::numeric_limits<double>::quiet_NaN();

// One figure: the median, or what the name says; the floor of the same run; how they compare with the aim. Not
// everything has a floor, and not everything an aim: then NONE.
struct Figure {
    std::string name;
    std::string unit;
    double value;
    double floor = NONE;
    double aim = NONE;           // of value / floor, or of the value where there is no floor
    bool smallerIsBetter = true; // whether the aim is an upper bound
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
            (void)std::printf("%-46s %14s %14s %7s %9s\n", bench, "median", "floor", "ratio", "aim");
        }
    }

    void Print(const Figure& figure)
    {
        const double ratio = figure.value / figure.floor;
        const std::string bound = figure.smallerIsBetter ? "<=" : ">=";
        if (json_) {
            (void)std::printf("{\"schema\":1,\"bench\":\"%s\",\"name\":\"%s\",\"unit\":\"%s\",\"median\":%.1f,"
                              "\"floor\":%s,\"ratio\":%s,\"bound\":\"%s\",\"aim\":%s}\n",
                bench_, figure.name.c_str(), figure.unit.c_str(), figure.value, Text("%.1f", figure.floor).c_str(),
                Text("%.3f", ratio).c_str(), bound.c_str(), Text("%.2f", figure.aim).c_str());
        } else {
            const std::string value = Text("%.1f ", figure.value) + figure.unit;
            const std::string floor = std::isnan(figure.floor) ? "-" : Text("%.1f ", figure.floor) + figure.unit;
            const std::string aim = std::isnan(figure.aim) ? "-" : bound + Text("%.2f", figure.aim);
            (void)std::printf("%-46s %14s %14s %7s %9s\n", figure.name.c_str(), value.c_str(), floor.c_str(),
                std::isnan(ratio) ? "-" : Text("%.2f", ratio).c_str(), aim.c_str());
        }
        (void)std::fflush(stdout);
    }

private:
    static std::string Text(const char* format, double value)
    {
        std::array<char, 32> text{};
        (void)std::snprintf(text.data(), text.size(), format, value);
        return std::isnan(value) ? "null" : text.data();
    }

    const char* bench_;
    bool json_ = false;
};

} // namespace OHOS::Pelago::Bench

#endif // PELAGO_BENCH_BENCH_UTIL_H
