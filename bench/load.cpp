// What must not happen to a device that is used for long, and by many: "load [MINUTES] [STORY...]" plays clients,
// peers, transfers and files with real daemons and real clients, each story in a home of its own on a memory file
// system. It prints what each came to, and ends with 1 when something was lost, when a daemon has grown, or when the
// last of a story took longer than its first. MINUTES (10) are those of the story of the clients.
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/un.h>

#include <condition_variable>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <set>

#include <cJSON.h>

#include "bench_util.h"
#include "callback_stubs.h"
#include "device_paths.h"
#include "host/ability_host.h"
#include "host/control_interface.h"
#include "host/ipc_transport.h"
#include "share_constants.h"
#include "trellis_service_proxy.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using Bench::Require;
namespace fs = std::filesystem;

namespace {

constexpr size_t CLIENTS = 64;
constexpr size_t TRANSFERS = 1000;
constexpr size_t FILES = 7000;
constexpr size_t FILES_PER_SEND = 500;
constexpr size_t PEERS = 1000;
constexpr size_t PEER_ROUNDS = 30;
constexpr size_t CROWD = 10'000;
constexpr size_t CROWD_ROUNDS = 10;
constexpr size_t PUBLISHERS = 4; // processes
constexpr size_t FILE_BYTES = 4096;
constexpr rlim_t DESCRIPTORS = 12'000; // a device has a connection to each peer

constexpr int SAMPLE_MS = 200;
constexpr int PATIENCE_MS = 60'000;
constexpr int MOST_PAUSE_MS = 40; // of a client between two calls and the next: 64 of them make 6400 a second
constexpr int SETTLING_MS = 4000; // threads that nobody needs end after one second

// Growth is what the end of a story has more than its middle. Memory is anonymous memory in one arena that gives back
// what is freed, but a heap has holes, and threads have stacks: two MiB of them. A byte lost with each call, or a KiB
// with each transfer or peer, would be more. Descriptors and threads differ by the requests that are under way in that
// moment: 16 in common places, and one more for each client that is being called.
constexpr int64_t MOST_GROWTH_KB = 2048;
constexpr int64_t MOST_MORE_OPEN = 16;
constexpr int64_t MOST_MORE_THREADS = 16 + CLIENTS;
// The last tenth against the first, as medians, in a machine that does other things too.
constexpr double MOST_SLOWER = 1.5;

bool g_isWell = true;

void Expect(bool holds, const std::string& what)
{
    if (!holds) {
        (void)std::printf("  VIOLATED: %s\n", what.c_str());
        g_isWell = false;
    }
}

template <class... Values>
void Print(const char* format, Values... values)
{
    (void)std::printf(format, values...);
    (void)std::fflush(stdout);
}

void Pause(int milliseconds)
{
    (void)::poll(nullptr, 0, milliseconds);
}

// --- what processes say to each other -----------------------------------------------------------------------------

template <class Value>
void Tell(int socket, const Value& value)
{
    Require(::write(socket, &value, sizeof(value)) == static_cast<ssize_t>(sizeof(value)), "nobody listens");
}

template <class Value>
Value Hear(int socket)
{
    Value value{};
    Require(::read(socket, &value, sizeof(value)) == static_cast<ssize_t>(sizeof(value)), "a process has gone");
    return value;
}

struct Order {
    enum What {
        PUBLISH,
        WITHDRAW,
        AWAIT,
        GO,
        COUNT
    } what;
    size_t number = 0;
};

// What a client did.
struct Report {
    uint64_t calls = 0;
    uint64_t failures = 0;
    uint64_t changes = 0; // of the switch that it was told of
    double firstUs = 0;   // medians of the first and the last tenth
    double lastUs = 0;
};

// The medians of the first and of the last tenth of what was measured, of three of each at least.
void SetMedians(const std::vector<double>& us, Report& report)
{
    const auto tenth = static_cast<std::ptrdiff_t>(std::max<size_t>(3, us.size() / 10));
    Require(us.size() >= 6, "too little was measured");
    report.firstUs = Bench::Median({us.begin(), us.begin() + tenth});
    report.lastUs = Bench::Median({us.end() - tenth, us.end()});
}

void ExpectNoSlower(const char* what, double firstUs, double lastUs)
{
    Print("  %s: %.0f us in the first tenth, %.0f us in the last\n", what, firstUs, lastUs);
    Expect(lastUs <= firstUs * MOST_SLOWER, std::string(what) + " has become slower");
}

// --- devices and what they have of the machine --------------------------------------------------------------------

struct Sample {
    int64_t memoryKb = 0;
    int64_t descriptors = 0;
    int64_t threads = 0;
};

class RunningDaemon {
public:
    RunningDaemon(const std::string& id, const fs::path& home)
        : id_(id), child_([&](int) {
              const std::string log = home / (id + ".log");
              const int file = ::open(log.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
              (void)::dup2(file, STDOUT_FILENO);
              (void)::execl(BIN_DIR "/trellisd", "trellisd", "--id", id.c_str(), "--name", id.c_str(), nullptr);
          })
    {
        const std::string socket = Tools::DevicePaths(id).Socket("owner");
        for (int waited = 0; !fs::exists(socket); waited += 10) {
            Require(waited < PATIENCE_MS, id + " does not come up");
            Pause(10);
        }
    }
    Sample Look() const
    {
        const std::string proc = "/proc/" + std::to_string(child_.Pid());
        const auto count = [](const std::string& folder) {
            std::error_code error;
            return static_cast<int64_t>(std::distance(fs::directory_iterator(folder, error), {}));
        };
        Sample sample{0, count(proc + "/fd"), count(proc + "/task")};
        std::ifstream status(proc + "/status");
        for (std::string line; std::getline(status, line);) {
            sample.memoryKb = line.rfind("RssAnon:", 0) == 0 ? std::atoll(line.c_str() + 8) : sample.memoryKb;
        }
        Require(sample.threads > 0, id_ + " has gone");
        return sample;
    }
    const std::string& Id() const
    {
        return id_;
    }

private:
    const std::string id_;
    Bench::Child child_;
};

// Samples of a daemon, and whether it has grown.
class Growth {
public:
    explicit Growth(const RunningDaemon& daemon) : daemon_(daemon)
    {}
    void Add()
    {
        samples_.push_back(daemon_.Look());
    }
    // The end, the last tenth, against the middle.
    void Expect(const char* story) const
    {
        const Sample middle = MedianOf(0.4, 0.5);
        const Sample end = MedianOf(0.9, 1);
        Print("  %s: %lld -> %lld KiB, %lld -> %lld descriptors, %lld -> %lld threads, middle to end\n",
            daemon_.Id().c_str(), Ll(middle.memoryKb), Ll(end.memoryKb), Ll(middle.descriptors), Ll(end.descriptors),
            Ll(middle.threads), Ll(end.threads));
        const std::string who = daemon_.Id() + " has grown, " + story;
        ::Expect(end.memoryKb - middle.memoryKb <= MOST_GROWTH_KB, who + ": memory");
        ::Expect(end.descriptors - middle.descriptors <= MOST_MORE_OPEN, who + ": descriptors");
        ::Expect(end.threads - middle.threads <= MOST_MORE_THREADS, who + ": threads");
    }

private:
    static long long Ll(int64_t value)
    {
        return value;
    }
    Sample MedianOf(double from, double to) const
    {
        const auto at = [this](
                            double part) { return static_cast<size_t>(static_cast<double>(samples_.size()) * part); };
        const auto median = [&](int64_t Sample::*member) {
            std::vector<double> values;
            for (size_t i = at(from); i < std::max(at(to), at(from) + 1); ++i) {
                values.push_back(static_cast<double>(samples_[i].*member));
            }
            return static_cast<int64_t>(Bench::Median(values));
        };
        return {median(&Sample::memoryKb), median(&Sample::descriptors), median(&Sample::threads)};
    }

    const RunningDaemon& daemon_;
    std::vector<Sample> samples_;
};

// --- clients ------------------------------------------------------------------------------------------------------

// A registered client: knows the peers, counts changes of the switch, and waits for the ends of sends.
class Listener : public TrellisCallbackStub {
public:
    void OnEnableStatusChanged() override
    {
        Note([this] { ++changes_; });
    }
    void OnDeviceFound(const ShareDeviceInfo& device) override
    {
        Note([&] { peers_[device.deviceId] = device; });
    }
    void OnDeviceLost(const ShareDeviceInfo& device) override
    {
        Note([&] { peers_.erase(device.deviceId); });
    }
    // A report that does not move the entry comes under its last event, which may be the success of the send before:
    // one counts when its own progress was told first, as it always is.
    void OnTransStateChange(const ShareDeviceInfo&, int64_t event, int64_t, int64_t) override
    {
        Note([&] {
            const bool isEnd = event == TransferEvent::SUCCESS || event == TransferEvent::FAILED;
            successes_ += hasMoved_ && event == TransferEvent::SUCCESS ? 1 : 0;
            failures_ += event == TransferEvent::FAILED ? 1 : 0;
            hasMoved_ = !isEnd && (hasMoved_ || event == TransferEvent::PROGRESS);
        });
    }
    void OnSend(const ShareDeviceInfo&, const SendBean&) override
    {}
    void OnSendBytes(const ShareDeviceInfo&, const BytesInfo&) override
    {}
    void OnSendFile(const ShareDeviceInfo&, const DataBean&) override
    {}
    void OnCancel(const ShareDeviceInfo&) override
    {}
    void OnConnectHub(std::string, int32_t) override
    {}
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo&, const std::string&) override
    {}
    void OnThermalLevelChanged(int32_t, int32_t, int8_t, int8_t) override
    {}
    void OnSwingPop(const ShareDeviceInfo&) override
    {}
    void OnReportSwingEvent(int32_t, int32_t, int32_t, const std::string&) override
    {}
    void OnSwitchNotifyComponent(int32_t) override
    {}

    uint64_t TakeChanges()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(changes_, 0);
    }
    void AwaitPeers(size_t number)
    {
        Await([&] { return peers_.size() == number; },
            [&] { return std::to_string(peers_.size()) + " peers, not " + std::to_string(number); });
    }
    // One of those that are there; an empty one when there is none.
    ShareDeviceInfo AnyPeer()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return peers_.empty() ? ShareDeviceInfo() : peers_.begin()->second;
    }
    void AwaitSuccess(uint64_t number)
    {
        Await([&] { return successes_ == number && failures_ == 0; },
            [&] { return "of " + std::to_string(number) + " sends " + std::to_string(successes_) + " succeeded"; });
    }

private:
    template <class Change>
    void Note(Change change)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        change();
        changed_.notify_all();
    }
    template <class Condition, class Words>
    void Await(Condition condition, Words words)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        Require(changed_.wait_for(lock, std::chrono::milliseconds(PATIENCE_MS), condition), words());
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, ShareDeviceInfo> peers_;
    uint64_t changes_ = 0;
    uint64_t successes_ = 0;
    uint64_t failures_ = 0;
    bool hasMoved_ = false;
};

sptr<IRemoteObject> Ability(const std::string& device, int32_t ability)
{
    std::string error;
    const sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(device).Socket("owner"), error);
    Require(root != nullptr, error);
    return Host::SamgrOf(root)->GetSystemAbility(ability);
}

sptr<ITrellisService> ServiceOf(const std::string& device)
{
    return iface_cast<ITrellisService>(Ability(device, TRELLIS_SERVICE_ID));
}

void AwaitSwitch(ITrellisService& service, bool isOn)
{
    for (int waited = 0; service.IsEnabled() != isOn; ++waited) {
        Require(waited < PATIENCE_MS, "the switch stands still");
        Pause(1);
    }
}

void SwitchOn(const std::string& device)
{
    const auto service = ServiceOf(device);
    Require(service->SetShareEnableWithConfirm(1, 2, false, false), "not switched on");
    AwaitSwitch(*service.GetRefPtr(), true);
}

// What the device holds when nobody wants anything of it any more.
void ExpectAtRest(const std::string& device)
{
    const auto control = Ability(device, Host::AbilityId::DEVICE_CONTROL);
    const std::string dump = Host::DeviceControlProxy(control).Execute({"dump"}).json;
    const std::unique_ptr<cJSON, void (*)(cJSON*)> json(cJSON_Parse(dump.c_str()), cJSON_Delete);
    const cJSON* faults = cJSON_GetObjectItemCaseSensitive(json.get(), "brokenInvariants");
    Expect(cJSON_GetArraySize(faults) == 0, device + ": broken invariants");
    const cJSON* sizes = cJSON_GetObjectItemCaseSensitive(json.get(), "sizes");
    for (const char* name : {"clients", "callbackFlags", "senders", "adoptedDescriptors"}) {
        const cJSON* size = cJSON_GetObjectItemCaseSensitive(sizes, name);
        Expect(cJSON_IsNumber(size) && size->valueint == 0, device + " keeps " + name);
    }
}

// --- the story of the clients -------------------------------------------------------------------------------------

// A process that calls what comes to its mind until the time is over. A steady one stays registered; the others
// register, leave and come back all the time.
class Caller {
public:
    Caller(int socket, size_t number, bool isSteady, double seconds)
        : socket_(socket), number_(number), isSteady_(isSteady), seconds_(seconds), random_(number)
    {}
    void Run()
    {
        (void)Hear<Order>(socket_);
        Connect();
        Tell(socket_, Report());
        (void)Hear<Order>(socket_);
        (void)listener_->TakeChanges();
        Tell(socket_, Report());
        (void)Hear<Order>(socket_);
        Report report = Play();
        Tell(socket_, report);
        (void)Hear<Order>(socket_); // all others have come to their end
        report.changes = listener_->TakeChanges();
        Count(report, [this] { (void)service_->UnRegisterTrellisCallback(listener_); });
        Tell(socket_, report);
        (void)Hear<Order>(socket_); // until it is killed
    }

private:
    void Connect()
    {
        service_ = ServiceOf("phone");
        Require(service_->RegisterTrellisCallback(listener_), "not registered");
    }
    template <class Call>
    static void Count(Report& report, Call call)
    {
        call();
        ++report.calls;
        report.failures += TrellisServiceProxy::LastError() == 0 ? 0 : 1;
    }
    Report Play()
    {
        Report report;
        std::vector<double> us;
        const double end = Bench::NowNs() + seconds_ * 1e9;
        while (Bench::NowNs() < end) {
            us.push_back(Bench::MicrosecondsOf([&] { Count(report, [this] { (void)service_->GetEnableState(); }); }));
            Count(report, [this] { CallAnything(); });
            if (!isSteady_ && random_() % 50 == 0) {
                ComeAndGo(report);
            }
            Pause(static_cast<int>(random_() % MOST_PAUSE_MS));
        }
        SetMedians(us, report);
        return report;
    }
    void ComeAndGo(Report& report)
    {
        Count(report, [this] { (void)service_->UnRegisterTrellisCallback(listener_); });
        if (random_() % 4 == 0) {
            service_ = nullptr;
            Require(Host::DisconnectFromDaemons(), "the connection does not end");
            service_ = ServiceOf("phone");
        }
        Count(report, [this] { (void)service_->RegisterTrellisCallback(listener_); });
    }
    void CallAnything()
    {
        const ShareDeviceInfo peer = listener_->AnyPeer();
        switch (random_() % 12) {
            case 0:
                (void)service_->IsEnabled();
                break;
            case 1:
                (void)service_->GetAllUserList();
                break;
            case 2:
                (void)service_->GetSendingUserList();
                break;
            case 3:
                (void)service_->GetAccountInfo();
                break;
            case 4:
                (void)service_->IsAppForeground("com.example.load");
                break;
            case 5:
                (void)service_->ApplyUriPermission("file:///load");
                break;
            case 6:
                (void)service_->StartDiscovery(); // refused while sharing is off
                break;
            case 7:
                (void)service_->IsFocusPidsRegisterSwing();
                break;
            case 8:
                (void)service_->PrepareSend(peer);
                break;
            case 9:
                (void)service_->NotifyInfo(peer, 0);
                break;
            case 10:
                SendText(peer);
                break;
            default:
                (void)service_->Cancel(peer);
                break;
        }
    }
    // Seldom: the one receiver takes one offer at a time, and most of these find it busy.
    void SendText(const ShareDeviceInfo& peer)
    {
        SendBean bean;
        bean.text = "from client " + std::to_string(number_);
        if (random_() % 8 == 0) {
            (void)service_->Send(peer, bean, "load");
        } else {
            (void)service_->GetEnableState();
        }
    }

    const int socket_;
    const size_t number_;
    const bool isSteady_;
    const double seconds_;
    std::mt19937 random_;
    const sptr<Listener> listener_ = new Listener();
    sptr<ITrellisService> service_;
};

// A program of ours that stands beside the devices. What it says goes to a file.
Bench::Child StartPelago(const std::vector<std::string>& words, const fs::path& output)
{
    return Bench::Child([&](int) {
        const int file = ::open(output.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        (void)::dup2(file, STDOUT_FILENO);
        (void)::dup2(file, STDERR_FILENO);
        std::vector<char*> arguments{const_cast<char*>("pelago")};
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        (void)::execv(BIN_DIR "/pelago", arguments.data());
    });
}

// Two devices, the second with somebody who accepts everything.
class Pair {
public:
    Pair()
    {
        Require(::setenv("PELAGO_HOME", home_.Path().c_str(), 1) == 0, "no home");
        Require(::setenv("MALLOC_ARENA_MAX", "1", 1) == 0 && ::setenv("MALLOC_MMAP_THRESHOLD_", "16384", 1) == 0,
            "no settings of the heap");
        phone_ = std::make_unique<RunningDaemon>("phone", home_.Path());
    }
    void StartTablet()
    {
        tablet_ = std::make_unique<RunningDaemon>("tablet", home_.Path());
        receiver_ = std::make_unique<Bench::Child>(
            StartPelago({"-d", "tablet", "receive", "--dir", Inbox().string()}, Home() / "receive.log"));
        for (int waited = 0; !fs::exists(Inbox()); waited += 10) {
            Require(waited < PATIENCE_MS, "nobody receives");
            Pause(10);
        }
    }
    fs::path Home() const
    {
        return home_.Path();
    }
    fs::path Inbox() const
    {
        return Home() / "in";
    }
    const RunningDaemon& Phone() const
    {
        return *phone_;
    }
    const RunningDaemon& Tablet() const
    {
        return *tablet_;
    }

private:
    const Bench::MemoryFolder home_;
    std::unique_ptr<RunningDaemon> phone_;
    std::unique_ptr<RunningDaemon> tablet_;
    std::unique_ptr<Bench::Child> receiver_;
};

// Adds samples of both until every one of the processes has something to say.
void SampleUntilHeard(const std::vector<Bench::Child>& children, std::vector<Growth>& growths,
    const std::function<void()>& meanwhile = {})
{
    for (const Bench::Child& child : children) {
        for (pollfd ready{child.Socket(), POLLIN, 0}; ::poll(&ready, 1, SAMPLE_MS) == 0;) {
            for (Growth& growth : growths) {
                growth.Add();
            }
            if (meanwhile) {
                meanwhile();
            }
        }
    }
}

// Off and on again, once in a while: every listener is told.
class Toggler {
public:
    void operator()()
    {
        if (++looks_ % LOOKS_PER_CHANGE == 0) {
            const bool isOn = changes_ % 2 == 1;
            Require(service_->SetShareEnable(isOn ? 1 : 2, isOn ? 2 : 0, false), "the switch does not obey");
            ++changes_;
        }
    }
    uint64_t Changes() const
    {
        return changes_;
    }

private:
    static constexpr int LOOKS_PER_CHANGE = 10;
    const sptr<ITrellisService> service_ = ServiceOf("phone");
    int looks_ = 0;
    uint64_t changes_ = 0;
};

void OrderAll(const std::vector<Bench::Child>& children, size_t from, size_t to)
{
    for (size_t i = from; i < to; ++i) {
        Tell(children[i].Socket(), Order{Order::GO});
    }
}

std::vector<Report> HearAll(const std::vector<Bench::Child>& children, size_t from, size_t to)
{
    std::vector<Report> reports;
    for (size_t i = from; i < to; ++i) {
        reports.push_back(Hear<Report>(children[i].Socket()));
    }
    return reports;
}

void JudgeClients(const std::vector<Report>& reports, uint64_t toggles)
{
    Report sum;
    std::vector<double> first;
    std::vector<double> last;
    uint64_t most = 0;
    uint64_t least = UINT64_MAX;
    for (size_t i = 0; i < reports.size(); ++i) {
        sum.calls += reports[i].calls;
        sum.failures += reports[i].failures;
        first.push_back(reports[i].firstUs);
        last.push_back(reports[i].lastUs);
        if (i < CLIENTS / 2) { // the steady ones
            most = std::max(most, reports[i].changes);
            least = std::min(least, reports[i].changes);
        }
    }
    Print("  %llu calls, %llu failures; %llu changes of the switch asked for, %llu to %llu reports to each listener\n",
        static_cast<unsigned long long>(sum.calls), static_cast<unsigned long long>(sum.failures),
        static_cast<unsigned long long>(toggles), static_cast<unsigned long long>(least),
        static_cast<unsigned long long>(most));
    Expect(sum.failures == 0, "calls failed on their way");
    Expect(least == most && least >= toggles, "a listener did not hear of every change");
    ExpectNoSlower("a call", Bench::Median(first), Bench::Median(last));
}

void PlayClients(double minutes)
{
    Print("clients: %zu for %.1f minutes\n", CLIENTS, minutes);
    Pair pair;
    pair.StartTablet();
    std::vector<Bench::Child> clients;
    for (size_t i = 0; i < CLIENTS; ++i) {
        const bool isSteady = i < CLIENTS / 2;
        clients.emplace_back([&](int socket) { Caller(socket, i, isSteady, minutes * 60).Run(); });
    }
    SwitchOn("phone");
    SwitchOn("tablet");
    const Sample before = pair.Phone().Look();
    OrderAll(clients, 0, CLIENTS); // connect
    (void)HearAll(clients, 0, CLIENTS);
    Pause(1000);
    OrderAll(clients, 0, CLIENTS); // count from now on
    (void)HearAll(clients, 0, CLIENTS);
    OrderAll(clients, 0, CLIENTS); // play
    std::vector<Growth> growths{Growth(pair.Phone()), Growth(pair.Tablet())};
    Toggler toggler;
    SampleUntilHeard(clients, growths, std::ref(toggler));
    (void)HearAll(clients, 0, CLIENTS);
    Pause(SETTLING_MS);
    OrderAll(clients, 0, CLIENTS); // tell
    JudgeClients(HearAll(clients, 0, CLIENTS), toggler.Changes());
    clients.clear();
    Pause(SETTLING_MS);
    const Sample after = pair.Phone().Look();
    for (const Growth& growth : growths) {
        growth.Expect("while 64 clients call");
    }
    Print("  phone: %lld descriptors and %lld threads before the clients, %lld and %lld after them\n",
        static_cast<long long>(before.descriptors), static_cast<long long>(before.threads),
        static_cast<long long>(after.descriptors), static_cast<long long>(after.threads));
    // Ours, to toggle and to look; the link to the tablet, which discovery keeps; the alarm of the scheduler.
    Expect(after.descriptors <= before.descriptors + 8 && after.threads <= before.threads + 4,
        "the clients have left something");
    ExpectAtRest("phone");
}

// --- the stories of peers -----------------------------------------------------------------------------------------

// A process that is many peers: each has its own socket and its description, as a device has.
class Publisher {
public:
    Publisher(int socket, size_t number) : socket_(socket), prefix_("peer-" + std::to_string(number) + "-")
    {}
    void Run()
    {
        for (;;) {
            const Order order = Hear<Order>(socket_);
            if (order.what == Order::PUBLISH) {
                folder_ = Tools::DevicePaths::Nearby();
                for (size_t i = 0; i < order.number; ++i) {
                    Publish(i);
                }
            } else {
                Withdraw();
            }
            Tell(socket_, Report());
        }
    }

private:
    void Publish(size_t i)
    {
        const fs::path base = folder_ / (prefix_ + std::to_string(i));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = base.string() + ".sock";
        Require(path.size() < sizeof(address.sun_path), "the folder's name is too long");
        (void)path.copy(address.sun_path, path.size());
        const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        Require(::bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
                    ::listen(listening, 8) == 0, // whoever looks is connected before anybody accepts
            "a peer cannot be served");
        peers_.emplace_back(base, listening);
        std::ofstream(folder_ / (prefix_ + "new"))
            << R"({"version":1,"id":")" << base.filename().string() << R"(","name":"Peer )" << i
            << R"(","type":14,"accountHash":"","capability":4})";
        fs::rename(folder_ / (prefix_ + "new"), base.string() + ".json");
    }
    // Half of them say so, the others just end.
    void Withdraw()
    {
        for (size_t i = 0; i < peers_.size(); ++i) {
            const auto& [base, listening] = peers_[i];
            if (i % 2 == 0) {
                fs::remove(base.string() + ".json");
            }
            (void)::close(listening);
        }
        for (const auto& [base, listening] : peers_) {
            fs::remove(base.string() + ".json"); // whoever was refused may have been here first
            fs::remove(base.string() + ".sock");
        }
        peers_.clear();
    }

    const int socket_;
    const std::string prefix_;
    fs::path folder_;
    std::vector<std::pair<fs::path, int>> peers_;
};

// A client that discovers, and says when as many peers are there as it was asked for.
void ServeDiscoverer(int socket)
{
    (void)Hear<Order>(socket);
    const auto service = ServiceOf("phone");
    const sptr<Listener> listener = new Listener();
    Require(service->RegisterTrellisCallback(listener) && service->StartDiscovery(), "no discovery");
    for (;;) {
        Tell(socket, Report());
        listener->AwaitPeers(Hear<Order>(socket).number);
    }
}

void PlayPeers(size_t number, size_t rounds)
{
    Print("peers: %zu come and go %zu times\n", number, rounds);
    Pair pair;
    Bench::Child discoverer(ServeDiscoverer);
    std::vector<Bench::Child> publishers;
    for (size_t i = 0; i < PUBLISHERS; ++i) {
        publishers.emplace_back([i](int socket) { Publisher(socket, i).Run(); });
    }
    SwitchOn("phone");
    Tell(discoverer.Socket(), Order{Order::GO});
    (void)Hear<Report>(discoverer.Socket());
    const auto move = [&](Order order, size_t there) {
        return Bench::MicrosecondsOf([&] {
            for (const Bench::Child& publisher : publishers) {
                Tell(publisher.Socket(), order);
            }
            Tell(discoverer.Socket(), Order{Order::AWAIT, there});
            (void)HearAll(publishers, 0, PUBLISHERS);
            (void)Hear<Report>(discoverer.Socket());
        });
    };
    Growth growth(pair.Phone());
    std::vector<double> comings;
    std::vector<double> goings;
    for (size_t round = 0; round < rounds; ++round) {
        comings.push_back(move({Order::PUBLISH, number / PUBLISHERS}, number));
        goings.push_back(move({Order::WITHDRAW}, 0));
        growth.Add(); // when nobody is there
    }
    Print("  %.0f us for a peer to come, %.0f us to go\n", Bench::Median(comings) / static_cast<double>(number),
        Bench::Median(goings) / static_cast<double>(number));
    Report coming;
    Report going;
    SetMedians(comings, coming);
    SetMedians(goings, going);
    ExpectNoSlower("all to come", coming.firstUs, coming.lastUs);
    ExpectNoSlower("all to go", going.firstUs, going.lastUs);
    growth.Expect("while peers come and go");
}

// --- the stories of transfers and of files ------------------------------------------------------------------------

// A client that makes so many sends of so many files, one after the other.
void ServeSender(int socket, size_t sends, size_t files)
{
    (void)Hear<Order>(socket);
    const fs::path source = Tools::DevicePaths::RuntimeHome() + "/source";
    std::ofstream(source) << std::string(FILE_BYTES, 's');
    const int file = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    const auto service = ServiceOf("phone");
    const sptr<Listener> listener = new Listener();
    Require(service->RegisterTrellisCallback(listener) && service->StartDiscovery(), "no discovery");
    listener->AwaitPeers(1);
    const ShareDeviceInfo tablet = listener->AnyPeer();
    std::vector<double> us;
    Report report;
    for (size_t send = 0; send < sends; ++send) {
        SendBean bean;
        for (size_t i = 0; i < files; ++i) {
            FileHolder holder;
            holder.fileName_ = "f" + std::to_string(send) + "-" + std::to_string(i);
            holder.fileSize_ = FILE_BYTES;
            holder.fileFd = file;
            bean.uriList.push_back(holder);
        }
        us.push_back(Bench::MicrosecondsOf([&] {
            // Clients hear of an end before the service has cleared the send away; until then the next one is refused.
            for (int waited = 0; !service->Send(tablet, bean, "load"); ++waited) {
                Require(TrellisServiceProxy::LastError() == 0 && waited < PATIENCE_MS, "a send is refused");
                Pause(1);
            }
            listener->AwaitSuccess(send + 1);
        }));
    }
    SetMedians(us, report);
    (void)service->UnRegisterTrellisCallback(listener);
    Tell(socket, report);
    (void)Hear<Order>(socket); // until it is killed
}

void PlaySends(const char* story, size_t sends, size_t files)
{
    Print("%s: %zu files in %zu sends\n", story, sends * files, sends);
    Pair pair;
    pair.StartTablet();
    std::vector<Bench::Child> sender;
    sender.emplace_back([&](int socket) { ServeSender(socket, sends, files); });
    SwitchOn("phone");
    SwitchOn("tablet");
    std::vector<Growth> growths{Growth(pair.Phone()), Growth(pair.Tablet())};
    OrderAll(sender, 0, 1);
    SampleUntilHeard(sender, growths);
    const Report report = Hear<Report>(sender[0].Socket());
    size_t arrived = 0;
    for (const auto& entry : fs::directory_iterator(pair.Inbox())) {
        arrived += entry.file_size() == FILE_BYTES ? 1 : 0;
    }
    Print("  %zu files stand there whole\n", arrived);
    Expect(arrived == sends * files, "files were lost");
    ExpectNoSlower("a send", report.firstUs, report.lastUs);
    for (const Growth& growth : growths) {
        growth.Expect(story);
    }
    sender.clear();
    Pause(SETTLING_MS);
    ExpectAtRest("phone");
    ExpectAtRest("tablet");
}

// --- which of them ------------------------------------------------------------------------------------------------

struct Story {
    const char* name;
    void (*play)(double minutes);
};

constexpr Story STORIES[] = {
    {"transfers", [](double) { PlaySends("transfers", TRANSFERS, 1); }},
    {"files", [](double) { PlaySends("files", FILES / FILES_PER_SEND, FILES_PER_SEND); }},
    {"peers", [](double) { PlayPeers(PEERS, PEER_ROUNDS); }},
    {"crowd", [](double) { PlayPeers(CROWD, CROWD_ROUNDS); }},
    {"clients", PlayClients},
};

// In a process of its own: nothing of a story is left in the next one.
bool PlayAlone(const Story& story, double minutes)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        story.play(minutes);
        (void)std::fflush(stdout);
        (void)Host::DisconnectFromDaemons();
        std::_Exit(g_isWell ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(pid, &status, 0) == pid && status == 0;
}

} // namespace

int main(int argc, char** argv)
{
    double minutes = 10;
    std::set<std::string> wanted;
    for (int i = 1; i < argc; ++i) {
        const double number = std::strtod(argv[i], nullptr);
        minutes = number > 0 ? number : minutes;
        if (number <= 0) {
            wanted.insert(argv[i]);
        }
    }
    rlimit limit{};
    Require(::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_max >= DESCRIPTORS, "needs ulimit -Hn 12000");
    limit.rlim_cur = limit.rlim_max;
    Require(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "no descriptors");
    bool isWell = true;
    for (const Story& story : STORIES) {
        if (wanted.empty() || wanted.count(story.name) != 0) {
            isWell = PlayAlone(story, minutes) && isWell;
        }
    }
    Print("%s\n", isWell ? "all is well" : "something is not well");
    return isWell ? 0 : 1;
}
