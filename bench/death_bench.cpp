// How long a device keeps anything of a client that was killed: from SIGKILL until its entries in all lists, its
// objects, its connection and every descriptor that it cost are gone. The client was registered in every way that there
// is. On an idle device; beside clients that call every millisecond; and beside those that call without a pause, so
// that whoever dies waits for a CPU like everybody else. Lanes of clients that call come and go: beside them
// descriptors are counted when all victims are dead. Not pinned: it is the device as it runs.
#include <dirent.h>
#include <poll.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "bench_device.h"
#include "gesture/corvane_share_callback_manager.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using Bench::Client;
using Bench::Require;
using Bench::Wish;

namespace {

constexpr size_t IDLE_DEATHS = 101;
constexpr size_t LOADED_DEATHS = 201; // of each kind
constexpr size_t OTHERS = 16;
constexpr size_t LANES_EACH = 8;
static_assert(OTHERS * LANES_EACH < LOADED_DEATHS, "or a leak would not be seen");
constexpr double IDLE_AIM_MS = 5;    // of the median
constexpr double LOADED_AIM_MS = 50; // of the 99th percentile
constexpr int PATIENCE_MS = 10'000;
constexpr int SETTLING_MS = 500; // of a device that has just started
constexpr useconds_t LOOK_US = 100;

// Flags of clients come round after a hundred, and one that is given twice belongs to the older client: the others
// register anew before that.
constexpr size_t DEATHS_BETWEEN_FLAGS = 50;

size_t OpenDescriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc/self/fd"), ::closedir);
    Require(folder != nullptr, "no list of descriptors");
    size_t count = 0;
    while (::readdir(folder.get()) != nullptr) {
        ++count;
    }
    return count;
}

// All that a client may leave behind but descriptors.
auto Entries()
{
    const TrellisService::ListSizes lists = TrellisService::GetListSizes();
    const auto apps = DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->GetSizes();
    const Host::IpcCounters ipc = Host::CountIpc();
    return std::tuple(lists.trellisCallbacks, lists.deathRecipients, lists.callbackFlags, lists.receiveDeathRecipients,
        lists.senderActionCallback, apps.apps, apps.knock, apps.deaths, ipc.connections, ipc.objectsHeld);
}

// In milliseconds.
struct Death {
    std::vector<double> whole; // from SIGKILL until nothing of it is left here
    std::vector<double> ours;  // of that, since the kernel closed its sockets: it has to run a few times more for that
};

void Kill(Client& client, bool isIdle, Death& death)
{
    const auto entries = Entries();
    const size_t descriptors = OpenDescriptors();
    const auto isGone = [&] { return Entries() == entries && (!isIdle || OpenDescriptors() <= descriptors); };
    (void)client.Ask(Wish::CONNECT); // the answer is its moment; so below
    (void)client.Ask(Wish::JOIN_ALL);
    Require(Entries() != entries && (!isIdle || OpenDescriptors() > descriptors), "the client left no trace");
    const double start = Bench::NowNs();
    const auto spent = [start] { return (Bench::NowNs() - start) / 1e6; };
    (void)::kill(client.Pid(), SIGKILL);
    pollfd socket{client.Socket(), POLLIN, 0};
    Require(::poll(&socket, 1, PATIENCE_MS) == 1, "a client does not die");
    const double closed = spent();
    while (!isGone()) {
        Require(spent() < PATIENCE_MS, "the device does not let go of a client");
        (void)::usleep(LOOK_US);
    }
    death.whole.push_back(spent());
    death.ours.push_back(death.whole.back() - closed);
    client.Kill(); // waits for it
}

Death KillAll(std::vector<Client>& victims, size_t count, const std::vector<Client>& others)
{
    const size_t descriptors = OpenDescriptors();
    Death death;
    for (size_t i = 0; i < count; ++i) {
        for (const Client& other : others) {
            if (i > 0 && i % DEATHS_BETWEEN_FLAGS == 0) {
                (void)other.Ask(Wish::UNREGISTER);
                (void)other.Ask(Wish::REGISTER);
            }
        }
        Kill(victims.back(), others.empty(), death);
        victims.pop_back();
    }
    // The bare sockets are gone too. What the others may have opened is less than one for each of the dead.
    for (int look = 0; OpenDescriptors() + count > descriptors + LANES_EACH * others.size(); ++look) {
        Require(look < PATIENCE_MS, "dead clients have left descriptors");
        (void)::poll(nullptr, 0, 1);
    }
    return death;
}

void Print(Bench::Printer& printer, const std::string& when, const Death& death, double medianAim, double lastAim)
{
    printer.Print({"killed client, " + when + ", median", "ms", Bench::Median(death.whole), Bench::NONE, medianAim});
    printer.Print(
        {"killed client, " + when + ", 99 %", "ms", Bench::Quantile(death.whole, 0.99), Bench::NONE, lastAim});
    printer.Print({"  since the kernel closed its sockets, median", "ms", Bench::Median(death.ours)});
    printer.Print({"  since the kernel closed its sockets, 99 %", "ms", Bench::Quantile(death.ours, 0.99)});
}

} // namespace

int main(int argc, char** argv)
{
    {
        const Bench::MemoryFolder root;
        std::vector<Client> others;
        std::vector<Client> victims;
        for (size_t i = 0; i < OTHERS; ++i) {
            others.emplace_back(root.Path());
        }
        for (size_t i = 0; i < IDLE_DEATHS + 2 * LOADED_DEATHS; ++i) {
            victims.emplace_back(root.Path());
        }
        Synfold::InstallCollabBackend(std::make_shared<Bench::QuietFramework>());
        const Bench::Device device(root.Path());
        Bench::Printer printer("death_bench", argc, argv);
        (void)::poll(nullptr, 0, SETTLING_MS);
        Print(printer, "idle", KillAll(victims, IDLE_DEATHS, {}), IDLE_AIM_MS, Bench::NONE);
        for (const Client& other : others) {
            (void)other.Ask(Wish::CONNECT);
            (void)other.Ask(Wish::REGISTER);
        }
        const auto measure = [&](const char* when, Wish load) {
            for (const Client& other : others) {
                (void)other.Ask(load);
            }
            (void)::poll(nullptr, 0, SETTLING_MS);
            Print(printer, when, KillAll(victims, LOADED_DEATHS, others), Bench::NONE, LOADED_AIM_MS);
        };
        measure("under load", Wish::CALL_OFTEN);
        measure("no CPU left", Wish::CALL_ALL_TIME);
    }
    std::_Exit(0); // the threads of the device end with the process
}
