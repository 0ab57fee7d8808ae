// What a found report of a known peer costs the service, from the engine's request to its return less the time in which
// the client is being called, by how many peers are known. The floor is the same report while ten are known.
#include <random>
#include <string>
#include <vector>

#include "bench_util.h"
#include "core/trellis_callback_proxy.h"
#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"
#include "discovery/sm_subscribe_callback.h"
#include "ipc_object_stub.h"

using namespace OHOS;
using namespace OHOS::Pelago;

namespace {

constexpr size_t PEERS[] = {10, 100, 1000, 10000};
constexpr size_t ROUNDS = 9;
constexpr size_t REPORTS = 2000; // per round and number of peers
constexpr double AIM = 1.5;

// The remote object of a client that answers at once and knows how long it was being asked.
class CountingClient : public IPCObjectStub {
public:
    int SendRequest(
        uint32_t code, MessageParcel& data, MessageParcel& /* reply */, MessageOption& /* option */) override
    {
        const double start = Bench::NowNs();
        found += code == static_cast<uint32_t>(TrellisCallbackCode::ON_DEVICE_FOUND) ? 1 : 0;
        Bench::Keep(data);
        spentNs += Bench::NowNs() - start;
        return ERR_NONE;
    }

    size_t found = 0;
    double spentNs = 0;
};

// Ids as random as real ones. Most peers are strangers; every fifth belongs to a contact, who has two devices.
std::vector<ShareDevice> MakePeers(size_t count)
{
    std::mt19937_64 random(20240611);
    std::vector<ShareDevice> peers(count);
    for (size_t i = 0; i < count; ++i) {
        char id[33];
        (void)std::snprintf(id, sizeof(id), "%016llX%016llX", static_cast<unsigned long long>(random()),
            static_cast<unsigned long long>(random()));
        peers[i].SetDeviceId(id);
        peers[i].SetDeviceName("Ada's blue phone");
        peers[i].SetAccountHash(id);
        if (i % 10 < 2) {
            peers[i].contactInfo.contactId = static_cast<int32_t>(i / 10 + 1);
            peers[i].contactInfo.name = "Ada Lovelace";
            peers[i].contactInfo.avatar = std::string(64, 'i');
        }
    }
    return peers;
}

// The engine's side of the discovery listener.
class Engine {
public:
    explicit Engine(CountingClient& client) : client_(client)
    {}

    // Sends the report. The nanoseconds that the service took for itself.
    double Report(SubscribeListenerCode code, const ShareDevice& peer)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        if (!data.WriteInterfaceToken(ISubscribeListener::GetDescriptor()) || !data.WriteInt32(1) ||
            !peer.WriteToParcel(data)) {
            Bench::Fail("a report could not be written");
        }
        client_.spentNs = 0;
        const double start = Bench::NowNs();
        const int result = listener_->OnRemoteRequest(static_cast<uint32_t>(code), data, reply, option);
        const double spent = Bench::NowNs() - start - client_.spentNs;
        if (result != ERR_NONE) {
            Bench::Fail("a report was refused");
        }
        return spent;
    }

private:
    CountingClient& client_;
    const sptr<SMSubscribeCallback> listener_ = new SMSubscribeCallback();
};

// Lets the number of known peers grow, and measures at each step. One sample is the median of one step's reports.
void RunRound(Engine& engine, const std::vector<ShareDevice>& peers, std::vector<std::vector<double>>& samples)
{
    std::mt19937 random(7);
    size_t known = 0;
    for (size_t step = 0; step < std::size(PEERS); ++step) {
        for (; known < PEERS[step]; ++known) {
            (void)engine.Report(SubscribeListenerCode::ON_DEVICE_FOUND, peers[known]); // grows, is not measured
        }
        std::vector<double> reports;
        for (size_t i = 0; i < REPORTS; ++i) {
            reports.push_back(engine.Report(SubscribeListenerCode::ON_DEVICE_FOUND, peers[random() % known]));
        }
        samples[step].push_back(Bench::Median(reports));
    }
    for (const ShareDevice& peer : peers) {
        (void)engine.Report(SubscribeListenerCode::ON_DEVICE_LOST, peer); // shrinks, is not measured
    }
    if (CacheMapManager::Sizes().mergeDevices != 0 || !CacheMapManager::CheckInvariants().empty()) {
        Bench::Fail("peers were left behind");
    }
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Printer printer("found_bench", argc, argv);
    Bench::PinToCpu(0);
    const sptr<TrellisService> service = new TrellisService(TRELLIS_SERVICE_ID, false);
    const sptr<CountingClient> client = new CountingClient();
    if (!service->RegisterTrellisCallback(new TrellisCallbackProxy(client))) {
        Bench::Fail("the client could not be registered");
    }
    const std::vector<ShareDevice> peers = MakePeers(PEERS[std::size(PEERS) - 1]);
    std::vector<std::vector<double>> samples(std::size(PEERS));
    Engine engine(*client);
    for (size_t round = 0; round < ROUNDS; ++round) {
        RunRound(engine, peers, samples);
    }
    if (client->found != ROUNDS * (peers.size() + std::size(PEERS) * REPORTS)) {
        Bench::Fail("the client did not hear of every report");
    }
    const double floor = Bench::Median(samples[0]);
    for (size_t step = 0; step < std::size(PEERS); ++step) {
        const std::string name = "found report, " + std::to_string(PEERS[step]) + " known peers";
        printer.Print({name, "ns", Bench::Median(samples[step]), floor, AIM});
    }
    return 0;
}
