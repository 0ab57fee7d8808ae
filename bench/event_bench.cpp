// The roads through a device, from what happens to the last process that is told: a radio that changes, a client that
// turns the switch, a tap. The device has the local engine, client processes of their own, and its folder in memory.
// The floor is what a road cannot do without, each for itself: the rows of settings straight into the database, the
// files, and a ping-pong with each process over a bare socket. Its queues, the engine and the telling of it to the log
// come on top. Nobody has said beforehand how much that may be, so that there is no aim.
#include <fcntl.h>
#include <poll.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bench_device.h"
#include "device_picker_client.h"
#include "host/host_settings.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using Bench::Client;
using Bench::Require;
using Bench::Wish;

namespace {

constexpr size_t CLIENTS[] = {1, 16};
constexpr int ROUNDS = 101;
constexpr const char* PEER = "peer";

// Keeps what the service gave it to be called by.
class Framework : public Bench::QuietFramework {
public:
    int32_t RequestService(uint32_t, const sptr<Synfold::ServicePublishCallbackStub>& callback) override
    {
        service_ = new Synfold::ServicePublishCallbackProxy(callback->AsObject());
        return 0;
    }
    // This device touches the peer, which answers at once.
    void Tap(const std::string& answer) const
    {
        Require(service_->OnKnockEvent(new Synfold::RequestResultInfo("{}")) == 1 &&
                    service_->OnPublishEvent(new Synfold::RequestResultInfo(answer)) == 0,
            "the tap is not wanted");
    }

private:
    sptr<Synfold::ServicePublishCallbackProxy> service_;
};

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + '"';
}

// What the peer tells of itself.
std::string PeerAnswer()
{
    const std::string custom = R"({"subId":"4","shareState":1,"discType":"Action","actionId":7,"serviceId":)" +
                               Quoted(Synfold::DevicePickerClient::SOFTBUS_RECEIVER_SERVICE_ID) +
                               R"(,"custData":"{\"OH\":1}"})";
    const std::string extra = R"({"CONN_ADDR_TYPE":2,"BLE_MAC":"02:00","CUSTOM_DATA":)" + Quoted(custom) + "}";
    return R"({"deviceId":")" + std::string(PEER) + R"(","deviceName":"Peer","concurrentId":"tap","extraData":)" +
           Quoted(extra) + "}";
}

// The tap is over, and the next may come.
void EndTap()
{
    constexpr auto TAP = static_cast<int32_t>(TransmitEventType::TAP);
    constexpr int32_t GOES_ON = 1;
    constexpr int32_t CONFIRMED = 4;
    TrellisService::HandleOnMotionState(TAP, GOES_ON, 0);
    TrellisService::HandleOnMotionState(TAP, CONFIRMED, 0);
    for (int look = 0; TrellisService::GetTapView().preparing; ++look) {
        Require(look < 10'000, "a tap does not end");
        (void)::poll(nullptr, 0, 1);
    }
}

// What a change leaves, without a service: rows of both tables, and files.
void WriteBare(const std::string& folder, int rows, int files)
{
    for (int row = 0; row < rows; ++row) {
        const auto table = row % 2 == 0 ? std::nullopt : std::optional<int32_t>(Bench::USER);
        Require(Host::HostSettings::Put("bench_" + std::to_string(row), "1", table), "no row written");
    }
    for (int i = 0; i < files; ++i) {
        const std::array<int32_t, 3> fields{};
        const std::string path = folder + "/bench_" + std::to_string(i) + ".cfg";
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        Require(::write(file, fields.data(), sizeof(fields)) == sizeof(fields), "no file written");
        (void)::close(file);
    }
}

struct Road {
    const char* name;
    std::function<double()> begin; // the moment at which it begins, in nanoseconds
    int rows;                      // of settings
    int files;
    bool isTap; // the application is told, and clients of the found device
    std::vector<double> roads = {};
    std::vector<double> floors = {};
};

void Measure(
    Road& road, const Bench::Ears& ears, const std::string& folder, const std::vector<Client>& clients, size_t count)
{
    const double start = road.begin();
    road.roads.push_back((ears.Last(road.isTap ? 1 : count) - start) / 1000);
    road.floors.push_back(Bench::MicrosecondsOf([&] {
        WriteBare(folder, road.rows, road.files);
        Bench::PingEach(clients, count + (road.isTap ? 1 : 0)); // the application is a client too, told twice
    }));
    if (road.isTap) {
        EndTap();
    }
}

// All roads in turns, each beside its floor. A switch that comes on also gives the permission: a row in both tables.
void MeasureAll(Bench::Printer& printer, const Bench::Ears& ears, const std::string& folder,
    const std::vector<Client>& clients, size_t count, const Framework& framework)
{
    const auto radio = [](Host::WifiMode mode) {
        return [mode] {
            const double start = Bench::NowNs();
            Host::Device::Instance().SwitchWifi(mode);
            return start;
        };
    };
    const auto ask = [&clients](Wish wish) { return [&clients, wish] { return clients[0].Ask(wish); }; };
    const auto tap = [&framework, answer = PeerAnswer()] {
        const double start = Bench::NowNs();
        framework.Tap(answer);
        return start;
    };
    Road roads[] = {
        {"Wi-Fi lost to the last callback", radio(Host::WifiMode::OFF), 4, 2, false},
        {"Wi-Fi back to the last callback", radio(Host::WifiMode::ON), 6, 2, false},
        {"request off to the last callback", ask(Wish::SWITCH_OFF), 4, 2, false},
        {"request on to the last callback", ask(Wish::SWITCH_ON), 6, 1, false},
        {"tap to application", tap, 0, 0, true},
    };
    for (int round = 0; round < ROUNDS; ++round) {
        for (Road& road : roads) {
            Measure(road, ears, folder, clients, count);
        }
    }
    for (const Road& road : roads) {
        const std::string name = std::string(road.name) + ", " + std::to_string(count) + " client(s)";
        printer.Print({name, "us", Bench::Median(road.roads), Bench::Median(road.floors)});
    }
}

} // namespace

int main(int argc, char** argv)
{
    Bench::PinToCpu(0);
    {
        const Bench::MemoryFolder root;
        const Bench::Ears ears;
        std::vector<Client> clients;
        for (size_t i = 0; i <= CLIENTS[std::size(CLIENTS) - 1]; ++i) { // one more, for the floor of a tap
            clients.emplace_back(root.Path(), ears.WriteEnd());
        }
        const auto framework = std::make_shared<Framework>();
        Synfold::InstallCollabBackend(framework);
        const Bench::Device device(root.Path());
        const auto peer = device.NewPeer(PEER);
        Host::Device::Instance().SetFocused(clients[0].Pid(), true);
        Bench::Printer printer("event_bench", argc, argv);
        size_t joined = 0;
        for (const size_t count : CLIENTS) {
            for (; joined < count; ++joined) {
                (void)clients[joined].Ask(Wish::CONNECT);
                (void)clients[joined].Ask(joined == 0 ? Wish::JOIN_ALL : Wish::REGISTER);
            }
            ears.Drain();
            MeasureAll(printer, ears, device.Folder(), clients, count, *framework);
        }
    }
    std::_Exit(0); // the threads of the device end with the process
}
