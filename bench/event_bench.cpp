// The road of a common event: from a radio that changes to the last client that hears of the switch, on a device with
// the local engine, with client processes of their own, and with its folder on a memory file system. The floor is what
// the road cannot do without, each for itself: the rows of settings straight into the database, the two files, and a
// ping-pong with each client over a bare socket. Its queues, the engine and the telling of it to the log come on top.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <vector>

#include "bench_util.h"
#include "core/trellis_callback_proxy.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "host/ipc_transport.h"
#include "host/scheduler.h"
#include "i_trellis_service.h"
#include "ipc_object_stub.h"
#include "local_engine.h"
#include "runtime_env.h"
#include "share_client.h"
#include "switch/share_switch_types.h"

using namespace OHOS;
using namespace OHOS::Pelago;
namespace fs = std::filesystem;

namespace {

constexpr size_t CLIENTS[] = {1, 16};
constexpr int ROUNDS = 101;
constexpr double AIM = 4;
constexpr int USER = 100;
constexpr size_t REQUEST_BYTES = 96; // head and token of a callback
constexpr size_t REPLY_BYTES = 36;
constexpr char REGISTER = 'r'; // the first byte of a request; any other is a ping
constexpr char PING = 'p';

[[noreturn]] void Fail(const std::string& what)
{
    (void)std::fprintf(stderr, "event_bench: %s\n", what.c_str());
    std::exit(1);
}

void Require(bool holds, const std::string& what)
{
    if (!holds) {
        Fail(what);
    }
}

void WriteFile(const std::string& path, const std::array<int32_t, 3>& fields)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    Require(::write(file, fields.data(), sizeof(fields)) == sizeof(fields), "no file written");
    (void)::close(file);
}

// What a client hears with: one byte into a pipe that all clients share.
class Ear : public IPCObjectStub {
public:
    explicit Ear(int pipe) : IPCObjectStub(PelagoTrellisServiceCallback::GetDescriptor()), pipe_(pipe)
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel&, MessageParcel&, MessageOption&) override
    {
        const bool isChange = code == static_cast<uint32_t>(TrellisCallbackCode::ON_ENABLE_STATUS_CHANGED);
        return !isChange || ::write(pipe_, &PING, 1) == 1 ? ERR_NONE : -1;
    }

private:
    const int pipe_;
};

// A process that registers when told to, and answers pings as long as the device lives.
class Client {
public:
    Client(const std::string& daemonSocket, int heard)
    {
        std::array<int, 2> pair{};
        Require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) == 0, "no socket pair");
        pid_ = ::fork();
        if (pid_ == 0) {
            (void)::prctl(PR_SET_PDEATHSIG, SIGKILL); // the others hold our end too, so we would not see it close
            (void)::close(pair[0]);
            Serve(pair[1], daemonSocket, heard);
            ::_exit(0);
        }
        (void)::close(pair[1]);
        socket_ = pair[0];
    }
    void Ask(char what) const
    {
        std::array<char, REQUEST_BYTES> bytes{what};
        Require(::write(socket_, bytes.data(), REQUEST_BYTES) == REQUEST_BYTES &&
                    ::read(socket_, bytes.data(), bytes.size()) == REPLY_BYTES,
            "a client does not answer");
    }
    void End() const
    {
        (void)::kill(pid_, SIGKILL);
        (void)::waitpid(pid_, nullptr, 0);
    }

private:
    static void Serve(int socket, const std::string& daemonSocket, int heard)
    {
        sptr<ITrellisService> service;
        std::array<char, REQUEST_BYTES> bytes{};
        while (::read(socket, bytes.data(), bytes.size()) > 0) {
            if (bytes[0] == REGISTER) {
                std::string error;
                const sptr<IRemoteObject> root = Host::ConnectToDaemon(daemonSocket, error);
                Require(root != nullptr, error);
                service = iface_cast<ITrellisService>(Host::SamgrOf(root)->GetSystemAbility(TRELLIS_SERVICE_ID));
                Require(service->RegisterTrellisCallback(new TrellisCallbackProxy(new Ear(heard))), "not registered");
            }
            Require(::write(socket, bytes.data(), REPLY_BYTES) == REPLY_BYTES, "nobody waits for a reply");
        }
    }

    pid_t pid_ = -1;
    int socket_ = -1;
};

// The device, in this process, with radios that need no time.
class BenchDevice {
public:
    explicit BenchDevice(const std::string& root) : root_(root)
    {
        fs::create_directories(Folder());
        fs::create_directories(root + "/nearby");
        WriteFile(Folder() + "/switch.cfg", {STATE_SHARE_ENABLE, DETECTABLE_LASTING, ACCOUNT_PERMISSION_OFF});
        auto& device = Host::Device::Instance();
        Require(device.Configure({"bench", std::string(64, 'B'), "phone", root}) &&
                    Host::HostSettings::SeedFreshDevice({USER}),
            "the device cannot be set up");
        device.SetRadioTimings({{}, {}, {}, {}, {}, {}});
        RuntimeEnv::Install({root, nullptr, Host::Scheduler::StartDetached});
        LocalEngineConfig config;
        config.nearbyFolder = root + "/nearby";
        config.contactsFile = root + "/contacts";
        config.device.id = "bench";
        engine_ = std::make_shared<LocalEngine>(std::move(config));
        std::string error;
        Require(engine_->Start(error), error);
        DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine_);
        std::promise<void> started;
        Host::AbilityHost::Instance().Start([&started] { started.set_value(); });
        started.get_future().wait();
        Host::SetOwnTokenId(Host::TokenId::OWNER);
        Require(server_.Start(root, {{"owner", Host::TokenId::OWNER, 0600}}, Host::AbilityHost::Instance().RootObject(),
                    {}, error),
            error);
    }
    std::string Folder() const
    {
        return root_ + "/data/service/el2/" + std::to_string(USER) + "/pelago";
    }
    static void SwitchWifi(Host::WifiMode mode)
    {
        Host::Device::Instance().SwitchWifi(mode);
    }
    // Until the state that it was left with has been loaded: on.
    static void AwaitOn()
    {
        const auto service = iface_cast<ITrellisService>(Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID));
        for (int look = 0; !service->IsEnabled(); ++look) {
            Require(look < 5000, "the device does not come up");
            (void)::poll(nullptr, 0, 1);
        }
    }

private:
    const std::string root_;
    std::shared_ptr<LocalEngine> engine_;
    Host::IpcServer server_;
};

// What one change leaves, without a service: rows of both tables, the state file and the recover file.
void WriteBare(const std::string& folder, int rows)
{
    for (int row = 0; row < rows; ++row) {
        const auto table = row % 2 == 0 ? std::nullopt : std::optional<int32_t>(USER);
        Require(Host::HostSettings::Put("bench_" + std::to_string(row), "1", table), "no row written");
    }
    for (const char* name : {"/bench.cfg", "/bench_recover.cfg"}) {
        WriteFile(folder + name, {});
    }
}

bool Hears(int pipe, int limitMs)
{
    pollfd ear{pipe, POLLIN, 0};
    char byte = 0;
    return ::poll(&ear, 1, limitMs) == 1 && ::read(pipe, &byte, 1) == 1;
}

void HearFrom(int pipe, size_t clients)
{
    for (size_t i = 0; i < clients; ++i) {
        Require(Hears(pipe, 10'000), "a client did not hear of a change");
    }
}

template <class Body>
double Microseconds(Body body)
{
    const double start = Bench::NowNs();
    body();
    return (Bench::NowNs() - start) / 1000;
}

// Loss and return in turns, each beside its floor. A return also gives the permission: a row in both tables.
void Measure(Bench::Printer& printer, const BenchDevice& device, const std::vector<Client>& clients, int pipe)
{
    struct Change {
        const char* name;
        Host::WifiMode mode;
        int rows;
        std::vector<double> roads;
        std::vector<double> floors;
    };
    Change changes[] = {{"Wi-Fi lost", Host::WifiMode::OFF, 4, {}, {}}, {"Wi-Fi back", Host::WifiMode::ON, 6, {}, {}}};
    for (int round = 0; round < ROUNDS; ++round) {
        for (Change& change : changes) {
            change.roads.push_back(Microseconds([&] {
                BenchDevice::SwitchWifi(change.mode);
                HearFrom(pipe, clients.size());
            }));
            change.floors.push_back(Microseconds([&] {
                WriteBare(device.Folder(), change.rows);
                for (const Client& client : clients) {
                    client.Ask(PING);
                }
            }));
        }
    }
    for (const Change& change : changes) {
        const std::string name = std::string(change.name) + ", " + std::to_string(clients.size()) + " client(s)";
        printer.Print({name, "us", Bench::Median(change.roads), Bench::Median(change.floors), AIM, true});
    }
}

} // namespace

int main(int argc, char** argv)
{
    (void)Bench::PinToCpu(0); // without it the figures are noisier
    std::string root = fs::exists("/dev/shm") ? "/dev/shm/event_bench.XXXXXX" : "/tmp/event_bench.XXXXXX";
    Require(::mkdtemp(root.data()) != nullptr, "no folder");
    std::array<int, 2> heard{};
    Require(::pipe2(heard.data(), O_CLOEXEC) == 0, "no pipe");
    std::vector<Client> all; // made before the first thread
    for (size_t i = 0; i < CLIENTS[std::size(CLIENTS) - 1]; ++i) {
        all.emplace_back(root + "/owner.sock", heard[1]);
    }
    Bench::Printer printer("event_bench", argc, argv);
    {
        const BenchDevice device(root);
        BenchDevice::AwaitOn();
        std::vector<Client> clients;
        for (const size_t count : CLIENTS) {
            while (clients.size() < count) {
                all[clients.size()].Ask(REGISTER);
                clients.push_back(all[clients.size()]);
            }
            while (Hears(heard[0], 100)) { // the load may still have something to tell
            }
            Measure(printer, device, clients, heard[0]);
        }
    }
    for (const Client& client : all) {
        client.End();
    }
    fs::remove_all(root);
    std::_Exit(0); // the threads of the device end with the process
}
