#ifndef TESTS_PLATFORM_IPC_IPC_SCENE_H
#define TESTS_PLATFORM_IPC_IPC_SCENE_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/ipc_transport.h"
#include "ipc_object_stub.h"
#include "ipc_skeleton.h"

namespace OHOS {

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
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    std::map<uint32_t, Handler> handlers_;
};

// Whether it comes true within ten seconds: for what nothing tells about.
bool Eventually(const std::function<bool()>& condition);

// One-shot: some wait until another says so.
class Gate {
public:
    // 0, for handlers.
    int Open()
    {
        open_ = true;
        return 0;
    }
    // False after ten seconds.
    bool Wait()
    {
        return Eventually([this] { return open_.load(); });
    }

private:
    std::atomic<bool> open_{false};
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

    // Begins, and waits until it tells `what`, if it is to.
    void Go(char what = 0) const;
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
    std::string Path(const std::string& name) const
    {
        return directory + '/' + name + ".sock";
    }
    // A connection of this process to itself.
    sptr<IRemoteObject> Connect(const std::string& name = "owner") const;
    // Why a connection is refused.
    std::string Refusal(const std::string& name = "owner") const;
    // Ends what Serve began; the end of the scene does it as well.
    void Stop()
    {
        EXPECT_TRUE(server.Stop());
    }
    void ExpectErrors(const std::string& text, size_t times = 1)
    {
        announced_[text] += times;
    }

    sptr<ScriptedStub> service = new ScriptedStub;
    Host::IpcServer server;
    std::string directory;

private:
    size_t descriptorsBefore_ = 0;
    std::map<std::string, size_t> announced_;
};

// A request and its reply.
struct Exchange {
    MessageParcel data;
    MessageParcel reply;

    int Send(const sptr<IRemoteObject>& to, uint32_t code, int flags = MessageOption::TF_SYNC, int waitSeconds = 8);
};
// Requests without arguments or with objects alone; they give what SendRequest gives.
int CallPlain(const sptr<IRemoteObject>& object, uint32_t code, int waitSeconds = 8);
int PostPlain(const sptr<IRemoteObject>& object, uint32_t code);
int CallWith(const sptr<IRemoteObject>& object, uint32_t code, const std::vector<sptr<IRemoteObject>>& arguments);

size_t CountDescriptors();
size_t CountErrors(const std::string& text);
// Threads that do the same with a number each, from 0. Joins them at its end, if nobody did before.
class Crowd {
public:
    Crowd(size_t count, const std::function<void(size_t)>& play)
    {
        for (size_t i = 0; i < count; ++i) {
            threads_.emplace_back(play, i);
        }
    }
    ~Crowd()
    {
        Join();
    }
    void Join()
    {
        for (std::thread& thread : std::exchange(threads_, {})) {
            thread.join();
        }
    }

private:
    std::vector<std::thread> threads_;
};

// A descriptor of a file with this text.
int FileWith(const std::string& text);
std::string TextOf(int fd);
// Reads the text of a received file and closes it; "-" when none came.
std::string TakeText(MessageParcel& parcel);

} // namespace OHOS

#endif // TESTS_PLATFORM_IPC_IPC_SCENE_H
