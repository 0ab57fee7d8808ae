// A file on a memory file system from accept to end, between two processes, against a bare splice of the same file
// through a Unix stream socket between two processes. "--mib N" sends less than 1 GiB.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <vector>

#include "bench_util.h"
#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "local_engine.h"
#include "message_parcel.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using Bench::Require;
namespace fs = std::filesystem;

namespace {

constexpr size_t ROUNDS = 5;
constexpr size_t PIPE_BYTES = 1024 * 1024;
constexpr double AIM = 0.8;

// Moves `size` bytes by way of a pipe. A file is read or written from its beginning, a socket as it comes.
void SpliceAll(int from, bool fromFile, int to, bool toFile, size_t size)
{
    std::array<int, 2> pipe{};
    Require(::pipe2(pipe.data(), O_CLOEXEC) == 0, "no pipe");
    (void)::fcntl(pipe[1], F_SETPIPE_SZ, PIPE_BYTES); // as the engine asks; whoever is refused has the small one
    off_t in = 0;
    off_t out = 0;
    for (size_t left = size; left > 0;) {
        ssize_t moved =
            ::splice(from, fromFile ? &in : nullptr, pipe[1], nullptr, std::min(left, PIPE_BYTES), SPLICE_F_MOVE);
        Require(moved > 0, "splice into the pipe");
        left -= static_cast<size_t>(moved);
        while (moved > 0) {
            ssize_t drained =
                ::splice(pipe[0], nullptr, to, toFile ? &out : nullptr, static_cast<size_t>(moved), SPLICE_F_MOVE);
            Require(drained > 0, "splice out of the pipe");
            moved -= drained;
        }
    }
    (void)::close(pipe[0]);
    (void)::close(pipe[1]);
}

// The floor: seconds from the first byte to the last one in the other process's file.
double BareSplice(const fs::path& source, const fs::path& target, size_t size)
{
    std::array<int, 2> pair{};
    Require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) == 0, "no socket");
    int buffer = static_cast<int>(PIPE_BYTES);
    (void)::setsockopt(pair[0], SOL_SOCKET, SO_SNDBUF, &buffer, sizeof(buffer)); // as the engine
    double start = Bench::NowNs();
    pid_t child = ::fork();
    if (child == 0) {
        int out = ::open(target.c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600);
        SpliceAll(pair[1], false, out, true, size);
        ::_exit(0);
    }
    int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    SpliceAll(in, true, pair[0], false, size);
    int status = 1;
    Require(::waitpid(child, &status, 0) == child && status == 0, "the bare receiver failed");
    double seconds = (Bench::NowNs() - start) / 1e9;
    for (int fd : {in, pair[0], pair[1]}) {
        (void)::close(fd);
    }
    fs::remove(target);
    return seconds;
}

LocalEngineConfig ConfigOf(const fs::path& root, const char* id)
{
    LocalEngineConfig config;
    config.nearbyFolder = root / "nearby";
    config.device.id = id;
    config.device.name = id;
    return config;
}

class Progress : public ReceiveProgressStub {
public:
    void OnProgress(int64_t, int64_t, int64_t) override
    {}
    void OnResult(int32_t result, const std::vector<std::string>&) override
    {
        Require(result == 0, "the engine's receive failed");
    }
};

// Accepts what comes, and says when.
class Receiving : public IPCObjectStub {
public:
    Receiving(fs::path inbox, int accepted)
        : IPCObjectStub(PelagoReceiveListener::GetDescriptor()), inbox_(std::move(inbox)), accepted_(accepted)
    {}
    int OnRemoteRequest(uint32_t, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        (void)data.ReadInterfaceToken(); // there is one kind of caller
        auto receiver = iface_cast<PelagoReceiver>(data.ReadRemoteObject());
        int directory = ::open(inbox_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        double start = Bench::NowNs();
        Require(receiver->Accept(directory, new Progress()) == RECEIVER_OK, "the offer could not be accepted");
        (void)::close(directory);
        Require(::write(accepted_, &start, sizeof(start)) == sizeof(start), "the start could not be told");
        return 0;
    }

private:
    const fs::path inbox_;
    const int accepted_;
};

class Sent : public IPCObjectStub {
public:
    Sent() : IPCObjectStub(ITransmitCallback::GetDescriptor())
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel&, MessageParcel&, MessageOption&) override
    {
        if (code == static_cast<uint32_t>(TransmitCallbackCode::ON_SUCCESS)) {
            done.set_value(Bench::NowNs());
        }
        Require(code != static_cast<uint32_t>(TransmitCallbackCode::ON_ERROR), "the engine's send failed");
        return 0;
    }

    std::promise<double> done;
};

// The other device, until its process is killed.
[[noreturn]] void Receive(const fs::path& root, int accepted)
{
    LocalEngine engine(ConfigOf(root, "receiver"));
    std::string error;
    Require(engine.Start(error), error);
    sptr<IRemoteObject> publisher = new IPCObjectStub(IPublishListener::GetDescriptor());
    sptr<IRemoteObject> receiving = new Receiving(root / "inbox", accepted);
    engine.EnableDiscoveryPolicy(1);
    Require(engine.RegisterReceiveListener(new ReceiveListenerProxy(receiving)), "no listener");
    Require(engine.Publish(new PublishListenerProxy(publisher)), "not published");
    Require(engine.Counters().published, "not published");
    double ready = 0;
    Require(::write(accepted, &ready, sizeof(ready)) == sizeof(ready), "not ready");
    for (;;) {
        (void)::pause();
    }
}

double ReadMoment(int fd)
{
    double moment = 0;
    Require(::read(fd, &moment, sizeof(moment)) == sizeof(moment), "the receiver went away");
    return moment;
}

// Seconds from the receiver's accept to the sender's success.
double Transfer(LocalEngine& engine, const fs::path& root, int accepted)
{
    sptr<Sent> sent = new Sent();
    TransmitParam param;
    param.deviceId = "receiver";
    param.callback = new TransmitCallbackProxy(sent);
    SendBean bean;
    FileHolder file;
    file.fileName_ = "copy";
    file.fileFd = ::open((root / "source").c_str(), O_RDONLY | O_CLOEXEC);
    bean.uriList.push_back(file);
    Require(engine.SendFile(param, bean, "bench") != nullptr, "the engine refused");
    (void)::close(file.fileFd);
    double start = ReadMoment(accepted);
    double end = sent->done.get_future().get();
    Require(fs::file_size(root / "inbox/copy") == fs::file_size(root / "source"), "the copy is not whole");
    fs::remove(root / "inbox/copy");
    return (end - start) / 1e9;
}

void FillFile(const fs::path& path, size_t size)
{
    int fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    std::vector<char> block(1024 * 1024, 'p');
    for (size_t done = 0; done < size; done += block.size()) {
        Require(
            ::write(fd, block.data(), block.size()) == static_cast<ssize_t>(block.size()), "no room for the source");
    }
    (void)::close(fd);
}

size_t MibOf(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::string(argv[i]) == "--mib") {
            return std::max(1UL, std::strtoul(argv[i + 1], nullptr, 10));
        }
    }
    return 1024;
}

} // namespace

int main(int argc, char** argv)
{
    const size_t mib = MibOf(argc, argv);
    const size_t size = mib * 1024 * 1024;
    Bench::Printer printer("transfer_bench", argc, argv);
    const Bench::MemoryFolder folder;
    const fs::path root = folder.Path();
    fs::create_directory(root / "inbox");
    FillFile(root / "source", size);
    const Bench::Child receiver([&root](int parent) { Receive(root, parent); });
    (void)ReadMoment(receiver.Socket()); // it is ready
    std::vector<double> floors;
    std::vector<double> rates;
    {
        LocalEngine engine(ConfigOf(root, "sender"));
        std::string error;
        Require(engine.Start(error), error);
        (void)Transfer(engine, root, receiver.Socket()); // warms both up
        for (size_t round = 0; round < ROUNDS; ++round) {
            floors.push_back(static_cast<double>(mib) / BareSplice(root / "source", root / "bare", size));
            rates.push_back(static_cast<double>(mib) / Transfer(engine, root, receiver.Socket()));
        }
    }
    printer.Print({std::to_string(mib) + " MiB, accept to end", "MiB/s", Bench::Median(rates), Bench::Median(floors),
        AIM, false});
    return 0;
}
