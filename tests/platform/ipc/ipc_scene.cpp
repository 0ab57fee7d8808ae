#include "ipc_scene.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <thread>

#include "hilog/host_log.h"

namespace OHOS {

namespace {

using namespace std::chrono_literals;

std::array<int, 2> Pair()
{
    std::array<int, 2> fds = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds.data()), 0);
    return fds;
}

} // namespace

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

void Gate::Open()
{
    std::lock_guard lock(mutex_);
    open_ = true;
    opened_.notify_all();
}

bool Gate::Wait()
{
    std::unique_lock lock(mutex_);
    return opened_.wait_for(lock, 10s, [this] { return open_; });
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
    const auto fds = Pair();
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
    directory_ = ::mkdtemp(pattern.data());
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
    EXPECT_EQ(counters.connections, 0U);
    EXPECT_EQ(counters.running, 0U);
    EXPECT_EQ(counters.parked, 0U);
    size_t announced = 0;
    for (const auto& [text, times] : announced_) {
        EXPECT_EQ(CountErrors(text), times) << text;
        announced += times;
    }
    EXPECT_EQ(CountErrors(""), announced);
    (void)::rmdir(directory_.c_str());
}

void IpcScene::Serve(const Host::IpcLimits& limits)
{
    std::string error;
    ASSERT_TRUE(server.Start(directory_, {{"owner", 1, 0600}, {"app", 4, 0666}}, service, limits, error)) << error;
    serving_ = true;
}

void IpcScene::Stop()
{
    EXPECT_TRUE(server.Stop());
}

std::string IpcScene::Path(const std::string& name) const
{
    return directory_ + '/' + name + ".sock";
}

sptr<IRemoteObject> IpcScene::Connect(const std::string& name) const
{
    std::string error;
    sptr<IRemoteObject> root = Host::ConnectToDaemon(Path(name), error);
    EXPECT_NE(root, nullptr) << error;
    return root;
}

void IpcScene::ExpectErrors(const std::string& text, size_t times)
{
    announced_[text] += times;
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

Crowd::Crowd(size_t count, const std::function<void(size_t)>& play)
{
    threads_.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        threads_.emplace_back(play, i);
    }
}

Crowd::~Crowd()
{
    Join();
}

void Crowd::Join()
{
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

bool Eventually(const std::function<bool()>& condition)
{
    const auto limit = std::chrono::steady_clock::now() + 3s;
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
    size_t count = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    while (::readdir(folder) != nullptr) {
        ++count;
    }
    (void)::closedir(folder);
    return count;
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
    return size < 0 ? "unreadable" : std::string(text.data(), static_cast<size_t>(size));
}

} // namespace OHOS
