#include "ipc_scene.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <mutex>

#include "hilog/host_log.h"

namespace OHOS {

using namespace std::chrono_literals;

int ScriptedStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    Synchronize();
    const auto handler = handlers_.find(code);
    const int result = handler == handlers_.end() ? IPCObjectStub::OnRemoteRequest(code, data, reply, option)
                                                  : handler->second(data, reply);
    Synchronize();
    return result;
}

void Synchronize()
{
    static std::mutex mutex;
    std::lock_guard lock(mutex);
}

void DeathWatch::OnRemoteDied(const wptr<IRemoteObject>& object)
{
    lastObject = object.promote();
    ++deaths;
    if (onDeath) {
        onDeath();
    }
    told.Open();
}

void Baton::Tell(char what) const
{
    Synchronize();
    EXPECT_EQ(::send(fd_, &what, 1, MSG_NOSIGNAL), 1);
}

void Baton::Await(char what) const
{
    pollfd ready = {fd_, POLLIN, 0};
    char told = '?';
    ASSERT_EQ(::poll(&ready, 1, 10'000), 1) << "nobody tells " << what;
    ASSERT_EQ(::read(fd_, &told, 1), 1) << "the other process has ended instead of telling " << what;
    ASSERT_EQ(told, what);
    Synchronize();
}

ClientProcess::ClientProcess(const Play& play)
{
    std::array<int, 2> fds = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds.data()), 0);
    pid = ::fork();
    if (pid == 0) {
        (void)::close(fds[0]);
        std::exit(Run(play, fds[1]));
    }
    (void)::close(fds[1]);
    fd_ = fds[0];
    baton = Baton(fd_);
}

int ClientProcess::Run(const Play& play, int fd)
{
    const Baton parent(fd);
    parent.Await('g');
    play(parent);
    (void)Host::DisconnectFromDaemons();
    return testing::Test::HasFailure() ? 1 : 0;
}

ClientProcess::~ClientProcess()
{
    if (!joined_) {
        Kill();
    }
    (void)::close(fd_);
}

void ClientProcess::Go(char what) const
{
    baton.Tell('g');
    if (what != 0) {
        baton.Await(what);
    }
}

void ClientProcess::Kill()
{
    (void)::kill(pid, SIGKILL);
    (void)::waitpid(pid, nullptr, 0);
    joined_ = true;
}

bool ClientProcess::Join()
{
    int status = -1;
    joined_ = ::waitpid(pid, &status, 0) == pid;
    return joined_ && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

IpcScene::IpcScene()
{
    std::string pattern = testing::TempDir() + "ipcXXXXXX";
    directory = ::mkdtemp(pattern.data());
    descriptorsBefore_ = CountDescriptors();
    Host::ClearLog();
}

IpcScene::~IpcScene()
{
    Stop();
    EXPECT_TRUE(Host::DisconnectFromDaemons());
    // What the IPC of a process keeps for good: its epoll set and its timer.
    EXPECT_TRUE(Eventually([this] { return CountDescriptors() <= descriptorsBefore_ + 2; })) << CountDescriptors();
    const Host::IpcCounters counters = Host::CountIpc();
    EXPECT_EQ(counters.connections + counters.running + counters.parked, 0U);
    size_t announced = 0;
    for (const auto& [text, times] : announced_) {
        EXPECT_EQ(CountErrors(text), times) << text;
        announced += times;
    }
    EXPECT_EQ(CountErrors(""), announced);
    (void)::rmdir(directory.c_str());
}

void IpcScene::Serve(const Host::IpcLimits& limits)
{
    std::string error;
    ASSERT_TRUE(server.Start(directory, {{"owner", 1, 0600}, {"app", 4, 0666}}, service, limits, error)) << error;
}

sptr<IRemoteObject> IpcScene::Connect(const std::string& name) const
{
    std::string error;
    sptr<IRemoteObject> root = Host::ConnectToDaemon(Path(name), error);
    EXPECT_NE(root, nullptr) << error;
    return root;
}

std::string IpcScene::Refusal(const std::string& name) const
{
    std::string error;
    EXPECT_EQ(Host::ConnectToDaemon(Path(name), error), nullptr);
    return error;
}

int Exchange::Send(const sptr<IRemoteObject>& to, uint32_t code, int flags, int waitSeconds)
{
    MessageOption option(flags, waitSeconds);
    Synchronize();
    const int result = to->SendRequest(code, data, reply, option);
    Synchronize();
    return result;
}

int CallPlain(const sptr<IRemoteObject>& object, uint32_t code, int waitSeconds)
{
    return Exchange().Send(object, code, MessageOption::TF_SYNC, waitSeconds);
}

int PostPlain(const sptr<IRemoteObject>& object, uint32_t code)
{
    return Exchange().Send(object, code, MessageOption::TF_ASYNC);
}

int CallWith(const sptr<IRemoteObject>& object, uint32_t code, const std::vector<sptr<IRemoteObject>>& arguments)
{
    Exchange call;
    for (const auto& argument : arguments) {
        EXPECT_TRUE(call.data.WriteRemoteObject(argument));
    }
    return call.Send(object, code);
}

bool Eventually(const std::function<bool()>& condition)
{
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        Synchronize();
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        (void)::poll(nullptr, 0, 2); // nobody tells of this
    }
    Synchronize();
    return true;
}

size_t CountDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

size_t CountErrors(const std::string& text)
{
    size_t count = 0;
    for (const Host::LogLine& line : Host::ReadLog(0)) {
        count += line.level >= LOG_ERROR && line.text.find(text) != std::string::npos ? 1 : 0;
    }
    return count;
}

int FileWith(const std::string& text)
{
    const int fd = ::memfd_create("test", MFD_CLOEXEC);
    EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return fd;
}

std::string TextOf(int fd)
{
    std::array<char, 256> text = {};
    const ssize_t size = ::pread(fd, text.data(), text.size(), 0);
    return size < 0 ? "-" : std::string(text.data(), static_cast<size_t>(size));
}

std::string TakeText(MessageParcel& parcel)
{
    const int fd = parcel.ReadFileDescriptor();
    const std::string text = TextOf(fd);
    EXPECT_TRUE(fd < 0 || ::close(fd) == 0);
    return text;
}

} // namespace OHOS
