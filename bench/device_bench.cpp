// A device as a process: how long trellisd takes from its exec until it is ready, and until other devices see it, with
// a folder of its own in memory; the floor is the same program when it has nothing to do but to end. Then what it costs
// while nobody wants anything of it: memory, threads, descriptors, and how often it runs at all in ten seconds.
#include <poll.h>
#include <sys/inotify.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "bench_util.h"
#include "device_paths.h"
#include "host/ability_host.h"
#include "host/ipc_transport.h"
#include "i_trellis_service.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using Bench::Require;
namespace fs = std::filesystem;

namespace {

constexpr int STARTS = 41;
constexpr int ENABLED = 1;
constexpr int DETECTABLE = 2;
constexpr int IDLE_SECONDS = 10;
constexpr int SETTLING_SECONDS = 12; // the last connection is looked after once more, ten seconds after it came
constexpr int PATIENCE_MS = 10'000;

// A running program, asked to end with its owner. Its standard output is ours to read.
class Program {
public:
    explicit Program(std::vector<std::string> words)
        : child_([&words](int output) {
              std::vector<char*> arguments;
              for (std::string& word : words) {
                  arguments.push_back(word.data());
              }
              arguments.push_back(nullptr);
              (void)::dup2(output, STDOUT_FILENO);
              (void)::execv(arguments[0], arguments.data()); // comes back only to end without a word
          })
    {}
    ~Program()
    {
        (void)::kill(child_.Pid(), SIGTERM);
        AwaitEnd();
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t Pid() const
    {
        return child_.Pid();
    }
    void AwaitWords() const
    {
        std::array<char, 64> words{};
        Require(::read(child_.Socket(), words.data(), words.size()) > 0, "trellisd does not come up");
    }
    void AwaitEnd() const
    {
        siginfo_t end{};
        Require(::waitid(P_PID, static_cast<id_t>(Pid()), &end, WEXITED | WNOWAIT) == 0, "a program does not end");
    }

private:
    const Bench::Child child_;
};

const std::string TRELLISD = std::string(BIN_DIR) + "/trellisd";
const std::string DEVICE = "bench";

std::vector<std::string> WordsOf(const std::string& id)
{
    return {TRELLISD, "--id", id};
}

// Waits until a device is published in the folder where devices find each other.
class Neighbour {
public:
    Neighbour() : watch_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    {
        fs::create_directories(Tools::DevicePaths::Nearby());
        fs::permissions(Tools::DevicePaths::Nearby(), fs::perms::owner_all);
        Require(::inotify_add_watch(watch_, Tools::DevicePaths::Nearby().c_str(), IN_MOVED_TO | IN_CREATE) >= 0,
            "the neighbourhood cannot be watched");
    }
    ~Neighbour()
    {
        (void)::close(watch_);
    }
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;

    void AwaitPublished() const
    {
        while (!Sees(".json")) {
            pollfd news{watch_, POLLIN, 0};
            Require(::poll(&news, 1, PATIENCE_MS) == 1, "the device is not published");
            alignas(inotify_event) std::array<char, 4096> events{};
            (void)!::read(watch_, events.data(), events.size()); // the folder says what there is
        }
    }

private:
    static bool Sees(const std::string& suffix)
    {
        for (const auto& entry : fs::directory_iterator(Tools::DevicePaths::Nearby())) {
            if (entry.path().extension() == suffix) {
                return true;
            }
        }
        return false;
    }

    const int watch_;
};

// Through a connection that lasts as long as the result.
sptr<ITrellisService> Connect(const std::string& id)
{
    std::string error;
    const sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(id).Socket("owner"), error);
    Require(root != nullptr, error);
    return iface_cast<ITrellisService>(Host::SamgrOf(root)->GetSystemAbility(TRELLIS_SERVICE_ID));
}

void SwitchOn(const std::string& id, const Neighbour& neighbour)
{
    const sptr<ITrellisService> service = Connect(id);
    Require(service->SetShareEnableWithConfirm(ENABLED, DETECTABLE, false, false), "not switched on");
    neighbour.AwaitPublished();
    for (int look = 0; !service->IsEnabled(); ++look) { // it is published a little before
        Require(look < PATIENCE_MS, "a device does not come on");
        (void)::poll(nullptr, 0, 1);
    }
}

void MeasureStart(Bench::Printer& printer, const Neighbour& neighbour)
{
    std::vector<double> fresh;
    std::vector<double> again;
    std::vector<double> published;
    std::vector<double> floors;
    const auto start = [](std::vector<double>& samples, const std::vector<std::string>& words, auto await) {
        const double begin = Bench::NowNs();
        const Program program(words);
        await(program, [&samples, begin] { samples.push_back((Bench::NowNs() - begin) / 1e6); });
    };
    const auto ready = [](const Program& program, auto note) {
        program.AwaitWords();
        note();
    };
    for (int i = 0; i < STARTS; ++i) {
        fs::remove_all(Tools::DevicePaths(DEVICE).State());
        start(fresh, WordsOf(DEVICE), [&](const Program& program, auto note) {
            ready(program, note);
            SwitchOn(DEVICE, neighbour);
        });
        start(again, WordsOf(DEVICE), ready);
        start(published, WordsOf(DEVICE), [&neighbour](const Program& program, auto note) {
            neighbour.AwaitPublished();
            note();
            program.AwaitWords(); // who is ended before it is up ends otherwise
        });
        start(floors, {TRELLISD, "--help"}, [](const Program& program, auto note) {
            program.AwaitEnd();
            note();
        });
    }
    const double floor = Bench::Median(floors);
    printer.Print({"start to ready, a new device", "ms", Bench::Median(fresh), floor});
    printer.Print({"start to ready, switched on before", "ms", Bench::Median(again), floor});
    printer.Print({"start to published, switched on before", "ms", Bench::Median(published), floor});
}

// The number behind `key` in a file of /proc.
int64_t NumberIn(const fs::path& file, const std::string& key)
{
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, key.size(), key) == 0) {
            return std::stoll(line.substr(key.size()));
        }
    }
    Bench::Fail("no " + key + " in " + file.string());
}

struct Rest {
    std::set<std::string> threads;
    int64_t voluntary = 0;
    int64_t involuntary = 0;
};

Rest Look(const fs::path& process)
{
    Rest rest;
    for (const auto& task : fs::directory_iterator(process / "task")) {
        rest.threads.insert(task.path().filename());
        rest.voluntary += NumberIn(task.path() / "status", "voluntary_ctxt_switches:");
        rest.involuntary += NumberIn(task.path() / "status", "nonvoluntary_ctxt_switches:");
    }
    return rest;
}

// On, with another device in sight and a client that looks for devices: what happens now and then is over.
void MeasureIdle(Bench::Printer& printer, const Neighbour& neighbour)
{
    const Program device(WordsOf(DEVICE));
    const Program other(WordsOf("other"));
    device.AwaitWords();
    other.AwaitWords();
    SwitchOn(DEVICE, neighbour);
    SwitchOn("other", neighbour);
    const sptr<ITrellisService> client = Connect(DEVICE);
    Require(client->StartDiscovery(), "the client cannot look for devices");
    (void)::poll(nullptr, 0, SETTLING_SECONDS * 1000);
    const fs::path process = "/proc/" + std::to_string(device.Pid());
    const Rest before = Look(process);
    (void)::poll(nullptr, 0, IDLE_SECONDS * 1000);
    const Rest after = Look(process);
    Require(client->GetAllUserList().size() == 1, "the other device is not in sight");
    Require(before.threads == after.threads, "threads of an idle device have come or gone");
    const auto descriptors = std::distance(fs::directory_iterator(process / "fd"), fs::directory_iterator());
    const auto print = [&printer](const char* name, const char* unit, auto value, double aim = Bench::NONE) {
        printer.Print({name, unit, static_cast<double>(value), Bench::NONE, aim});
    };
    print("idle, PSS", "KiB", NumberIn(process / "smaps_rollup", "Pss:"));
    print("idle, RSS", "KiB", NumberIn(process / "smaps_rollup", "Rss:"));
    print("idle, threads", "", after.threads.size());
    print("idle, descriptors", "", descriptors);
    print("idle, voluntary switches in 10 s", "", after.voluntary - before.voluntary, 0);
    print("idle, involuntary switches in 10 s", "", after.involuntary - before.involuntary, 0);
}

} // namespace

int main(int argc, char** argv)
{
    const Bench::MemoryFolder home;
    Require(::setenv("PELAGO_HOME", home.Path().c_str(), 1) == 0, "no home");
    const Neighbour neighbour;
    Bench::Printer printer("device_bench", argc, argv);
    MeasureStart(printer, neighbour);
    MeasureIdle(printer, neighbour);
    Require(Host::DisconnectFromDaemons(), "a connection does not end");
    return 0;
}
