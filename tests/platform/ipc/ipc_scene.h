#ifndef TESTS_PLATFORM_IPC_IPC_SCENE_H
#define TESTS_PLATFORM_IPC_IPC_SCENE_H

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "folders.h"
#include "hilog/host_log.h"
#include "host/ipc_transport.h"
#include "ipc_object_stub.h"
#include "ipc_skeleton.h"
#include "wait_until.h"

namespace OHOS {

using Pelago::CountDescriptors;

// What a handler has written is there for its caller, and for whoever is told of the call by a baton. The thread
// sanitizer does not see that a socket puts things in order, so both ends pass through here.
inline void Synchronize()
{
    static std::mutex mutex;
    std::lock_guard lock(mutex);
}

// Whether it comes true: for what nothing tells about.
inline bool Eventually(const std::function<bool()>& condition)
{
    return Pelago::WaitUntil([&condition] {
        const bool isTrue = condition();
        Synchronize();
        return isTrue;
    });
}

// A stub whose handlers a test writes down one by one.
class ScriptedStub : public IPCObjectStub {
public:
    using Handler = std::function<int(MessageParcel& data, MessageParcel& reply)>;

    explicit ScriptedStub(std::map<uint32_t, Handler> handlers = {})
        : IPCObjectStub(u"test.scripted"), handlers_(std::move(handlers))
    {}
    // Before anybody calls.
    void On(uint32_t code, Handler handler)
    {
        handlers_[code] = std::move(handler);
    }
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        Synchronize();
        const auto handler = handlers_.find(code);
        const int result = handler == handlers_.end() ? IPCObjectStub::OnRemoteRequest(code, data, reply, option)
                                                      : handler->second(data, reply);
        Synchronize();
        return result;
    }

private:
    std::map<uint32_t, Handler> handlers_;
};

// One-shot: some wait until another says so.
struct Gate {
    // 0, for handlers.
    int Open()
    {
        isOpen = true;
        return 0;
    }
    bool Wait()
    {
        return Eventually([this] { return isOpen.load(); });
    }
    std::atomic<bool> isOpen{false};
};

// Counts deaths and remembers of what.
class DeathWatch : public IRemoteObject::DeathRecipient {
public:
    void OnRemoteDied(const wptr<IRemoteObject>& object) override
    {
        lastObject = object.promote();
        ++deaths;
        if (onDeath) {
            onDeath();
        }
        told.Open();
    }

    std::atomic<int> deaths{0};
    Gate told;
    std::function<void()> onDeath;  // set before it is added
    sptr<IRemoteObject> lastObject; // read once told
};

// Lines between two processes of a scene.
class Baton {
public:
    explicit Baton(int fd) : fd_(fd)
    {}
    void Tell(char what) const
    {
        Synchronize();
        EXPECT_EQ(::send(fd_, &what, 1, MSG_NOSIGNAL), 1);
    }
    // Waits for the other side to tell exactly this; a failure of the test if it does not within ten seconds.
    void Await(char what) const
    {
        pollfd ready = {fd_, POLLIN, 0};
        char told = '?';
        ASSERT_EQ(::poll(&ready, 1, 10'000), 1) << "nobody tells " << what;
        ASSERT_EQ(::read(fd_, &told, 1), 1) << "the other process has ended instead of telling " << what;
        ASSERT_EQ(told, what);
        Synchronize();
    }

private:
    int fd_;
};

// A process of its own that plays a client. It is forked when it is made, before the scene has threads, and waits for
// Go.
class ClientProcess {
public:
    using Play = std::function<void(const Baton&)>;

    explicit ClientProcess(const Play& play)
    {
        std::array<int, 2> fds = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds.data()), 0);
        pid = ::fork();
        if (pid == 0) {
            (void)::close(fds[0]);
            baton = Baton(fds[1]);
            baton.Await('g');
            play(baton);
            (void)Host::DisconnectFromDaemons();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        }
        (void)::close(fds[1]);
        fd_ = fds[0];
        baton = Baton(fd_);
    }
    ~ClientProcess()
    {
        if (!joined_) {
            Kill();
        }
        (void)::close(fd_);
    }
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    // Begins, and waits until it tells `what`, if it is to.
    void Go(char what = 0) const
    {
        baton.Tell('g');
        if (what != 0) {
            baton.Await(what);
        }
    }
    void Kill()
    {
        (void)::kill(pid, SIGKILL);
        (void)Join();
    }
    // Whether it ended by itself and none of its expectations failed.
    bool Join()
    {
        int status = -1;
        joined_ = ::waitpid(pid, &status, 0) == pid;
        return joined_ && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    pid_t pid = 0;
    Baton baton{-1};

private:
    int fd_ = -1;
    bool joined_ = false;
};

// Threads that do the same with a number each, from 0. Joins them at its end, if nobody did before.
struct Crowd {
    Crowd(size_t count, const std::function<void(size_t)>& play)
    {
        for (size_t i = 0; i < count; ++i) {
            threads.push_back(std::async(std::launch::async, play, i));
        }
    }
    void Join()
    {
        threads.clear();
    }
    std::vector<std::future<void>> threads;
};

// A request and its reply.
struct Exchange {
    MessageParcel data;
    MessageParcel reply;

    int Send(const sptr<IRemoteObject>& to, uint32_t code, int flags = MessageOption::TF_SYNC, int waitSeconds = 8)
    {
        MessageOption option(flags, waitSeconds);
        Synchronize();
        const int result = to->SendRequest(code, data, reply, option);
        Synchronize();
        return result;
    }
};

// Requests without arguments or with objects alone; they give what SendRequest gives.
inline int CallPlain(const sptr<IRemoteObject>& object, uint32_t code, int waitSeconds = 8)
{
    return Exchange().Send(object, code, MessageOption::TF_SYNC, waitSeconds);
}
inline int PostPlain(const sptr<IRemoteObject>& object, uint32_t code)
{
    return Exchange().Send(object, code, MessageOption::TF_ASYNC);
}
inline int CallWith(const sptr<IRemoteObject>& object, uint32_t code, const std::vector<sptr<IRemoteObject>>& arguments)
{
    Exchange call;
    for (const auto& argument : arguments) {
        EXPECT_TRUE(call.data.WriteRemoteObject(argument));
    }
    return call.Send(object, code);
}

inline size_t CountErrors(const std::string& text)
{
    size_t count = 0;
    for (const Host::LogLine& line : Host::ReadLog(0)) {
        count += line.level >= LOG_ERROR && line.text.find(text) != std::string::npos ? 1 : 0;
    }
    return count;
}

// A descriptor of a file with this text.
inline int FileWith(const std::string& text)
{
    const int fd = ::memfd_create("test", MFD_CLOEXEC);
    EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    return fd;
}
// Its text, "-" for no descriptor.
inline std::string TextOf(int fd)
{
    std::array<char, 256> text = {};
    const ssize_t size = ::pread(fd, text.data(), text.size(), 0);
    return size < 0 ? "-" : std::string(text.data(), static_cast<size_t>(size));
}
// Reads the text of a received file and closes it.
inline std::string TakeText(MessageParcel& parcel)
{
    const int fd = parcel.ReadFileDescriptor();
    const std::string text = TextOf(fd);
    EXPECT_TRUE(fd < 0 || ::close(fd) == 0);
    return text;
}

// A daemon in the process of the test, on sockets in a folder of its own. At the end nothing may be left: no
// connection, no object, no descriptor, and no error line in the log that the test did not announce.
class IpcScene : public testing::Test {
protected:
    ~IpcScene() override
    {
        Stop();
        EXPECT_TRUE(Host::DisconnectFromDaemons());
        // What the IPC of a process keeps for good: its epoll set and its timer.
        EXPECT_TRUE(Eventually([this] { return CountDescriptors() <= descriptorsBefore_ + 2; })) << CountDescriptors();
        EXPECT_TRUE(Eventually([] { // a place is given up behind the end of its lane
            const Host::IpcCounters counters = Host::CountIpc();
            return counters.connections + counters.running + counters.parked == 0;
        }));
        size_t announced = 0;
        for (const auto& [text, times] : announced_) {
            EXPECT_EQ(CountErrors(text), times) << text;
            announced += times;
        }
        EXPECT_EQ(CountErrors(""), announced);
    }

    // Serves "owner" (token 1) and "app" (token 4).
    void Serve(const Host::IpcLimits& limits = {})
    {
        std::string error;
        ASSERT_TRUE(server.Start(directory, {{"owner", 1, 0600}, {"app", 4, 0666}}, service, limits, error)) << error;
    }
    // Ends what Serve began; the end of the scene does it as well.
    void Stop()
    {
        EXPECT_TRUE(server.Stop());
    }
    std::string Path(const std::string& name) const
    {
        return directory + '/' + name + ".sock";
    }
    // A connection of this process to itself.
    sptr<IRemoteObject> Connect(const std::string& name = "owner") const
    {
        std::string error;
        sptr<IRemoteObject> root = Host::ConnectToDaemon(Path(name), error);
        EXPECT_NE(root, nullptr) << error;
        return root;
    }
    // Why a connection is refused.
    std::string Refusal(const std::string& name = "owner") const
    {
        std::string error;
        EXPECT_EQ(Host::ConnectToDaemon(Path(name), error), nullptr);
        return error;
    }
    // From now on this process may open only so many more, until it gets back what this returns.
    static rlimit LimitDescriptors(rlim_t more)
    {
        rlimit old = {};
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
        const int next = ::dup(STDERR_FILENO);
        (void)::close(next);
        const rlimit few = {static_cast<rlim_t>(next) + more, old.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        return old;
    }
    void ExpectErrors(const std::string& text, size_t times = 1)
    {
        announced_[text] += times;
    }

    sptr<ScriptedStub> service = new ScriptedStub;
    Host::IpcServer server;
    const Pelago::TestFolder folder;
    const std::string directory = folder.path;

private:
    const size_t descriptorsBefore_ = CountDescriptors();
    std::map<std::string, size_t> announced_;
};

} // namespace OHOS

#endif // TESTS_PLATFORM_IPC_IPC_SCENE_H
