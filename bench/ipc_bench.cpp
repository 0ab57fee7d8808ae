// What a small synchronous call costs between two processes on one CPU: a request like GetEnableState (a token, no
// arguments, an integer back) against a ping-pong of as many bytes over a bare stream socket. Time by the wall, and CPU
// time of both processes.
#include <array>
#include <string>

#include "bench_util.h"
#include "host/ipc_transport.h"
#include "ipc_object_stub.h"

using namespace OHOS;
using namespace OHOS::Pelago;

namespace {

constexpr int CPU = 1;
constexpr int SAMPLES = 41;
constexpr int CALLS = 2000; // per sample
constexpr double AIM = 1.3;
constexpr uint32_t GET_ENABLE_STATE = 4;
const std::u16string TOKEN = u"ohos.Pelago.ITrellisService";

class Service : public IPCObjectStub {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        if (data.ReadInterfaceToken() != TOKEN || code != GET_ENABLE_STATE) {
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
        return reply.WriteInt32(1) ? 0 : -11;
    }
};

// Of this process and the other, in nanoseconds.
double CpuNs(clockid_t other)
{
    double sum = 0;
    for (const clockid_t clock : {CLOCK_PROCESS_CPUTIME_ID, other}) {
        timespec time = {};
        (void)::clock_gettime(clock, &time);
        sum += static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
    }
    return sum;
}

void Serve(const std::string& folder, int parent)
{
    Host::IpcServer server;
    std::string error;
    Bench::Require(server.Start(folder, {{"bench", 1, 0600}}, new Service, {}, error), error);
    Bench::ServeBare(parent, [](char) { return 0; });
}

void Call(const sptr<IRemoteObject>& service)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    Bench::Require(data.WriteInterfaceToken(TOKEN) &&
                       service->SendRequest(GET_ENABLE_STATE, data, reply, option) == ERR_NONE &&
                       reply.ReadInt32() == 1,
        "the service does not answer");
}

struct Sample {
    double wallNs;
    double cpuNs;
};

// Per call.
template <class Body>
Sample Measure(const Bench::Child& child, Body body)
{
    clockid_t clock = 0;
    Bench::Require(::clock_getcpuclockid(child.Pid(), &clock) == 0, "no CPU clock of the other process");
    const double cpu = CpuNs(clock);
    const double start = Bench::NowNs();
    for (int i = 0; i < CALLS; ++i) {
        body();
    }
    return {(Bench::NowNs() - start) / CALLS, (CpuNs(clock) - cpu) / CALLS};
}

} // namespace

int main(int argc, char** argv)
{
    Bench::PinToCpu(CPU);
    const Bench::MemoryFolder folder;
    const Bench::Child daemon([&folder](int parent) { Serve(folder.Path(), parent); });
    const Bench::Child echo([](int parent) { Bench::ServeBare(parent, [](char) { return 0; }); });
    (void)Bench::AskBare(daemon.Socket(), 'r'); // it serves once it answers
    std::string error;
    const sptr<IRemoteObject> service = Host::ConnectToDaemon(folder.Path() + "/bench.sock", error);
    Bench::Require(service != nullptr, error);
    std::array<std::vector<double>, 4> series; // wall and CPU, of the call and of the floor
    for (int i = -1; i < SAMPLES; ++i) {       // the first round warms up
        const Sample call = Measure(daemon, [&service] { Call(service); });
        const Sample floor = Measure(echo, [&echo] { (void)Bench::AskBare(echo.Socket(), 'p'); }); // the answer is 0
        const std::array<double, 4> values = {call.wallNs, floor.wallNs, call.cpuNs, floor.cpuNs};
        for (size_t which = 0; i >= 0 && which < values.size(); ++which) {
            series[which].push_back(values[which]);
        }
    }
    Bench::Printer printer("ipc", argc, argv);
    printer.Print({"small call, wall time", "ns", Bench::Median(series[0]), Bench::Median(series[1]), AIM});
    printer.Print({"small call, CPU time", "ns", Bench::Median(series[2]), Bench::Median(series[3]), AIM});
    return 0;
}
