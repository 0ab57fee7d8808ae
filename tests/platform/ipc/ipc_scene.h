#ifndef TESTS_PLATFORM_IPC_IPC_SCENE_H
#define TESTS_PLATFORM_IPC_IPC_SCENE_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/ipc_transport.h"
#include "ipc_object_stub.h"
#include "ipc_skeleton.h"

namespace OHOS {

// A stub whose handlers a test writes down one by one.
class ScriptedStub : public IPCObjectStub {
public:
    using Handler = std::function<int(MessageParcel& data, MessageParcel& reply)>;

    ScriptedStub() : IPCObjectStub(u"test.scripted")
    {}
    // Before anybody calls.
    void On(uint32_t code, Handler handler)
    {
        handlers_[code] = std::move(handler);
    }
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    std::map<uint32_t, Handler> handlers_;
};

// One-shot: one thread waits until another says so.
class Gate {
public:
    void Open();
    // False after ten seconds.
    bool Wait();

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

// Counts deaths and remembers of what.
class DeathWatch : public IRemoteObject::DeathRecipient {
public:
    void OnRemoteDied(const wptr<IRemoteObject>& object) override;

    std::atomic<int> deaths{0};
    Gate told;
    std::function<void()> onDeath;  // set before it is added
    sptr<IRemoteObject> lastObject; // read once told
};

// What a handler has written is there for its caller, and for whoever is told of the call by a baton. The thread
// sanitizer does not see that a socket puts things in order, so both ends pass through here.
void Synchronize();

// Lines between two processes of a scene.
class Baton {
public:
    explicit Baton(int fd) : fd_(fd)
    {}
    void Tell(char what) const;
    // Waits for the other side to tell exactly this; a failure of the test if it does not within ten seconds.
    void Await(char what) const;

private:
    int fd_;
};

// A process of its own that plays a client. It is forked when it is made, before the scene has threads, and waits for
// Go.
class ClientProcess {
public:
    using Play = std::function<void(const Baton&)>;

    explicit ClientProcess(const Play& play);
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    void Go() const
    {
        baton.Tell('g');
    }
    void Kill();
    // Whether it ended by itself and none of its expectations failed.
    bool Join();

    pid_t pid = 0;
    Baton baton{-1};

private:
    static int Run(const Play& play, int fd);

    int fd_ = -1;
    bool joined_ = false;
};

// A daemon in the process of the test, on sockets in a folder of its own. At the end nothing may be left: no
// connection, no object, no descriptor, and no error line in the log that the test did not announce.
class IpcScene : public testing::Test {
protected:
    IpcScene();
    ~IpcScene() override;

    // Serves "owner" (token 1) and "app" (token 4).
    void Serve(const Host::IpcLimits& limits = {});
    std::string Path(const std::string& name) const;
    // A connection of this process to itself.
    sptr<IRemoteObject> Connect(const std::string& name = "owner") const;
    // Ends what Serve began; the end of the scene does it as well.
    void Stop();

    void ExpectErrors(const std::string& text, size_t times = 1);

    sptr<ScriptedStub> service = new ScriptedStub;
    Host::IpcServer server;

private:
    std::string directory_;
    size_t descriptorsBefore_ = 0;
    bool serving_ = false;
    std::map<std::string, size_t> announced_;
};

// A request and its reply.
struct Exchange {
    MessageParcel data;
    MessageParcel reply;

    int Send(const sptr<IRemoteObject>& to, uint32_t code, int flags = MessageOption::TF_SYNC, int waitSeconds = 8);
};
// Requests without arguments; they give what SendRequest gives.
int CallPlain(const sptr<IRemoteObject>& object, uint32_t code, int waitSeconds = 8);
int PostPlain(const sptr<IRemoteObject>& object, uint32_t code);

// Whether it comes true within three seconds: for counts that nothing tells about.
bool Eventually(const std::function<bool()>& condition);
size_t CountDescriptors();
size_t CountErrors(const std::string& text);
// Threads that do the same with a number each, from 0. Joins them at its end, if nobody did before.
class Crowd {
public:
    Crowd(size_t count, const std::function<void(size_t)>& play);
    ~Crowd();
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    void Join();

private:
    std::vector<std::thread> threads_;
};

// A descriptor of a file with this text.
int FileWith(const std::string& text);
std::string TextOf(int fd);

} // namespace OHOS

#endif // TESTS_PLATFORM_IPC_IPC_SCENE_H
