#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "ipc_scene.h"

// A daemon and real client processes that die, hang, fork and leave at every moment.
namespace OHOS {
namespace {

class ProcessesTest : public IpcScene {
protected:
    // The daemon's requests: 1 hands over a callback, which is watched; 2 waits for `release`; 3 answers; 4 tells
    // `called`.
    void ServeCallbacks()
    {
        service->On(1, [this](MessageParcel& data, MessageParcel&) {
            callback = data.ReadRemoteObject();
            callbackPid = IPCSkeleton::GetCallingPid();
            return callback->AddDeathRecipient(watch) ? 0 : -1;
        });
        service->On(2, [this](MessageParcel&, MessageParcel&) { return called.Open(), release.Wait() ? 0 : -1; });
        service->On(3, [](MessageParcel&, MessageParcel&) { return 0; });
        service->On(4, [this](MessageParcel&, MessageParcel&) { return ++posts, 0; });
        Serve();
    }
    static int HandOver(const sptr<IRemoteObject>& root, const sptr<IRemoteObject>& callback)
    {
        Exchange call;
        EXPECT_TRUE(call.data.WriteRemoteObject(callback));
        return call.Send(root, 1);
    }

    sptr<IRemoteObject> callback;
    pid_t callbackPid = 0;
    sptr<DeathWatch> watch = new DeathWatch;
    Gate called;
    Gate release;
    std::atomic<int> posts{0};
};

TEST_F(ProcessesTest, AClientKilledWhileItIsCalledFailsTheCallAtOnceAndIsMournedOnce)
{
    ClientProcess client([this](const Baton& parent) {
        sptr<ScriptedStub> own = new ScriptedStub;
        own->On(1, [&parent](MessageParcel&, MessageParcel&) {
            parent.Tell('c');
            ::pause();
            return 0;
        });
        EXPECT_EQ(HandOver(Connect(), own), 0);
        parent.Tell('h');
        ::pause();
    });
    ServeCallbacks();
    client.Go();
    client.baton.Await('h');
    EXPECT_EQ(callbackPid, client.pid);
    std::thread caller([this] { EXPECT_EQ(CallPlain(callback, 1), IPC_DEAD_OBJECT); });
    client.baton.Await('c');
    const auto killed = std::chrono::steady_clock::now();
    client.Kill();
    caller.join();
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::seconds(1));
    EXPECT_EQ(watch->lastObject, callback);
    EXPECT_TRUE(callback->IsObjectDead());
    EXPECT_FALSE(callback->AddDeathRecipient(watch));
    EXPECT_FALSE(callback->RemoveDeathRecipient(watch));
    EXPECT_EQ(CallPlain(callback, 1), IPC_DEAD_OBJECT);
    Stop();
    EXPECT_EQ(watch->deaths, 1);
}

TEST_F(ProcessesTest, AClientKilledInsideItsCallIsMournedWhileTheRequestRunsOn)
{
    ClientProcess client([this](const Baton&) {
        const sptr<IRemoteObject> root = Connect();
        EXPECT_EQ(HandOver(root, new ScriptedStub), 0);
        (void)CallPlain(root, 2);
    });
    ServeCallbacks();
    client.Go();
    EXPECT_TRUE(called.Wait());
    client.Kill();
    EXPECT_TRUE(watch->told.Wait()) << "nobody waits for the request to end";
    release.Open();
}

// A recipient may take its time and call others; one that is removed meanwhile is not waited for.
TEST_F(ProcessesTest, RemovingARecipientNeverWaitsForARunningOne)
{
    ClientProcess client([this](const Baton& parent) {
        EXPECT_EQ(HandOver(Connect(), new ScriptedStub), 0);
        parent.Tell('h');
        ::pause();
    });
    Gate begun;
    watch->onDeath = [&] {
        begun.Open();
        EXPECT_TRUE(release.Wait());
    };
    ServeCallbacks();
    client.Go();
    client.baton.Await('h');
    const sptr<DeathWatch> second = new DeathWatch;
    EXPECT_TRUE(callback->AddDeathRecipient(second));
    client.Kill();
    EXPECT_TRUE(begun.Wait());
    EXPECT_FALSE(callback->RemoveDeathRecipient(watch));
    EXPECT_TRUE(callback->RemoveDeathRecipient(second)) << "not told yet";
    EXPECT_EQ(CallPlain(Connect(), 3), 0) << "others are served meanwhile";
    release.Open();
    EXPECT_TRUE(watch->told.Wait());
    Stop();
    EXPECT_EQ(second->deaths, 0);
}

TEST_F(ProcessesTest, WhatAProcessSentOneWayBeforeItWentIsHandledBeforeItIsMourned)
{
    constexpr int count = 200;
    ClientProcess client([this](const Baton&) {
        const sptr<IRemoteObject> root = Connect();
        EXPECT_EQ(HandOver(root, new ScriptedStub), 0);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(PostPlain(root, 4), 0);
        }
        ::_exit(0);
    });
    int postsAtDeath = 0;
    watch->onDeath = [&] { postsAtDeath = posts; };
    ServeCallbacks();
    client.Go();
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_EQ(postsAtDeath, count);
}

TEST_F(ProcessesTest, TheDaemonsDeathFailsCallsAndIsTold)
{
    ClientProcess client([this](const Baton& parent) {
        sptr<IRemoteObject> root = Connect();
        const sptr<DeathWatch> mourner = new DeathWatch;
        EXPECT_TRUE(root->AddDeathRecipient(mourner));
        parent.Tell('c');
        EXPECT_EQ(CallPlain(root, 2), IPC_DEAD_OBJECT);
        EXPECT_TRUE(mourner->told.Wait());
        EXPECT_EQ(mourner->lastObject, root);
        EXPECT_EQ(CallPlain(root, 3), IPC_DEAD_OBJECT);
    });
    ClientProcess daemon([this](const Baton& parent) {
        ServeCallbacks();
        parent.Tell('s');
        ::pause();
    });
    daemon.Go();
    daemon.baton.Await('s');
    client.Go();
    client.baton.Await('c');
    daemon.Kill();
    EXPECT_TRUE(client.Join());
    ::unlink(Path("owner").c_str());
    ::unlink(Path("app").c_str());
}

TEST_F(ProcessesTest, ClientsThatCallEachOtherThroughTheDaemonNest)
{
    const auto play = [this](const Baton& parent) {
        const sptr<IRemoteObject> root = Connect();
        sptr<ScriptedStub> own = new ScriptedStub;
        own->On(1, [&root](MessageParcel&, MessageParcel&) { return CallPlain(root, 3); });
        EXPECT_EQ(HandOver(root, own), 0);
        parent.Tell('h');
        parent.Await('e');
    };
    ClientProcess client(play);
    ServeCallbacks();
    client.Go();
    client.baton.Await('h');
    Crowd(8, [this](size_t) {
        for (int call = 0; call < 50; ++call) {
            EXPECT_EQ(CallPlain(callback, 1), 0);
        }
    }).Join();
    client.baton.Tell('e');
    EXPECT_TRUE(client.Join());
}

TEST_F(ProcessesTest, AChildAfterForkConnectsAnewAndDoesNotKeepItsParentAlive)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "its run-time library lets no child of a threaded process have threads";
#endif
    ClientProcess client([this](const Baton& parent) {
        const sptr<IRemoteObject> root = Connect();
        EXPECT_EQ(HandOver(root, new ScriptedStub), 0);
        if (::fork() == 0) {
            EXPECT_TRUE(root->IsObjectDead());
            EXPECT_EQ(CallPlain(root, 3), IPC_DEAD_OBJECT);
            EXPECT_FALSE(root->AddDeathRecipient(new DeathWatch));
            parent.Tell('f');
            parent.Await('d'); // the parent has died
            EXPECT_EQ(HandOver(Connect(), new ScriptedStub), 0);
            parent.Tell(HasFailure() ? '!' : 'n');
            ::_exit(0);
        }
        ::pause();
    });
    ServeCallbacks();
    client.Go();
    client.baton.Await('f');
    client.Kill();
    EXPECT_TRUE(watch->told.Wait());
    client.baton.Tell('d');
    client.baton.Await('n');
    EXPECT_NE(callbackPid, client.pid) << "the kernel says that it is another one";
}

} // namespace
} // namespace OHOS
