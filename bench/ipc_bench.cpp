// What a small synchronous call costs between two processes on one CPU: a request like GetEnableState (a token, no
// arguments, an integer back) against a ping-pong of as many bytes over a bare stream socket. Time by the wall, and CPU
// time of both processes.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
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
constexpr size_t REQUEST_BYTES = 96; // head and token
constexpr size_t REPLY_BYTES = 36;   // head and integer
const std::u16string TOKEN = u"ohos.Pelago.ITrellisService";

[[noreturn]] void GiveUp(const std::string& why)
{
    (void)std::fprintf(stderr, "ipc_bench: %s\n", why.c_str());
    std::exit(1);
}

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

// A child process that does something until its end of a socket pair is closed.
class Child {
public:
    template <class Body>
    explicit Child(Body body)
    {
        std::array<int, 2> pair = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()) != 0) {
            GiveUp("no socket pair");
        }
        pid_ = ::fork();
        if (pid_ == 0) {
            (void)::close(pair[0]);
            body(pair[1]);
            std::exit(0);
        }
        (void)::close(pair[1]);
        socket_ = pair[0];
        if (::clock_getcpuclockid(pid_, &clock_) != 0) {
            GiveUp("no CPU clock of the other process");
        }
    }
    ~Child()
    {
        (void)::close(socket_);
        (void)::waitpid(pid_, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    int Socket() const
    {
        return socket_;
    }
    // Of this process and the child, in nanoseconds.
    double CpuNs() const
    {
        return Nanoseconds(CLOCK_PROCESS_CPUTIME_ID) + Nanoseconds(clock_);
    }

private:
    static double Nanoseconds(clockid_t clock)
    {
        timespec time = {};
        (void)::clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
    }

    pid_t pid_ = -1;
    int socket_ = -1;
    clockid_t clock_ = 0;
};

void Serve(const std::string& folder, int parent)
{
    Host::IpcServer server;
    std::string error;
    if (!server.Start(folder, {{"bench", 1, 0600}}, new Service, {}, error)) {
        GiveUp(error);
    }
    char byte = 's';
    (void)!::write(parent, &byte, 1);
    (void)!::read(parent, &byte, 1);
}

void Echo(int parent)
{
    std::array<char, REQUEST_BYTES> bytes = {};
    while (::read(parent, bytes.data(), bytes.size()) > 0 && ::write(parent, bytes.data(), REPLY_BYTES) > 0) {
    }
}

void Call(const sptr<IRemoteObject>& service)
{
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    if (!data.WriteInterfaceToken(TOKEN) || service->SendRequest(GET_ENABLE_STATE, data, reply, option) != ERR_NONE ||
        reply.ReadInt32() != 1) {
        GiveUp("the service does not answer");
    }
}

void PingPong(int socket)
{
    std::array<char, REQUEST_BYTES> bytes = {};
    if (::write(socket, bytes.data(), REQUEST_BYTES) != REQUEST_BYTES ||
        ::read(socket, bytes.data(), bytes.size()) != REPLY_BYTES) {
        GiveUp("the echo does not answer");
    }
}

struct Sample {
    double wallNs;
    double cpuNs;
};

// Per call.
template <class Body>
Sample Measure(const Child& child, Body body)
{
    const double cpu = child.CpuNs();
    const double start = Bench::NowNs();
    for (int i = 0; i < CALLS; ++i) {
        body();
    }
    return {(Bench::NowNs() - start) / CALLS, (child.CpuNs() - cpu) / CALLS};
}

} // namespace

int main(int argc, char** argv)
{
    if (!Bench::PinToCpu(CPU)) {
        (void)std::fprintf(stderr, "ipc_bench: not pinned, figures are noisier\n");
    }
    std::string folder = "/tmp/ipc_bench_XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        GiveUp("no folder");
    }
    {
        const Child daemon([&folder](int parent) { Serve(folder, parent); });
        const Child echo(Echo);
        char ready = 0;
        std::string error;
        (void)!::read(daemon.Socket(), &ready, 1);
        const sptr<IRemoteObject> service = Host::ConnectToDaemon(folder + "/bench.sock", error);
        if (service == nullptr) {
            GiveUp(error);
        }
        std::array<std::vector<double>, 4> series; // wall and CPU, of the call and of the floor
        for (int i = -1; i < SAMPLES; ++i) {       // the first round warms up
            const Sample call = Measure(daemon, [&service] { Call(service); });
            const Sample floor = Measure(echo, [&echo] { PingPong(echo.Socket()); });
            const std::array<double, 4> values = {call.wallNs, floor.wallNs, call.cpuNs, floor.cpuNs};
            for (size_t which = 0; i >= 0 && which < values.size(); ++which) {
                series[which].push_back(values[which]);
            }
        }
        Bench::Printer printer("ipc", argc, argv);
        printer.Print({"small call, wall time", "ns", Bench::Median(series[0]), Bench::Median(series[1]), AIM, true});
        printer.Print({"small call, CPU time", "ns", Bench::Median(series[2]), Bench::Median(series[3]), AIM, true});
    }
    (void)::rmdir(folder.c_str());
    return 0;
}
