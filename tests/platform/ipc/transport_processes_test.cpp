#include <unistd.h>

#include "ipc_scene.h"

// A daemon and real client processes that die, hang, fork and leave at every moment.
namespace OHOS {
namespace {

using namespace std::chrono_literals;

class ProcessesTest : public IpcScene {
protected:
    // The daemon's requests: 1 hands over a callback, which is watched; 2 waits for `release`; 3 answers; 4 counts.
    void ServeCallbacks(const Host::IpcLimits& limits = {})
    {
        service->On(1, [this](MessageParcel& data, MessageParcel&) {
            callback = data.ReadRemoteObject();
            callbackPid = IPCSkeleton::GetCallingPid();
            return callback->AddDeathRecipient(callbackPid == second ? secondWatch : watch) ? 0 : -1;
        });
        service->On(2, [this](MessageParcel&, MessageParcel&) { return called.Open(), release.Wait() ? 0 : -1; });
        service->On(3, [](MessageParcel&, MessageParcel&) { return 0; });
        service->On(4, [this](MessageParcel&, MessageParcel&) { return ++posts, 0; });
        Serve(limits);
    }
    // A client that hands over a callback, tells so, and stays.
    ClientProcess::Play Staying()
    {
        return [this](const Baton& parent) {
            EXPECT_EQ(CallWith(Connect(), 1, {new ScriptedStub}), 0);
            parent.Tell('h');
            ::pause();
        };
    }

    sptr<IRemoteObject> callback;
    pid_t callbackPid = 0;
    pid_t second = -1; // whose death `secondWatch` is to hear of
    sptr<DeathWatch> watch = new DeathWatch;
    sptr<DeathWatch> secondWatch = new DeathWatch;
    Gate called;
    Gate release;
    std::atomic<int> posts{0};
};

TEST_F(ProcessesTest, AClientKilledWhileItIsCalledFailsTheCallAtOnceAndIsMournedOnce)
{
    ClientProcess client([this](const Baton& parent) {
        const sptr<ScriptedStub> own = new ScriptedStub;
        own->On(1, [&parent](MessageParcel&, MessageParcel&) { return parent.Tell('c'), ::pause(); });
        EXPECT_EQ(CallWith(Connect(), 1, {own}), 0);
        parent.Tell('h');
        ::pause();
    });
    ServeCallbacks();
    client.Go('h');
    EXPECT_EQ(callbackPid, client.pid);
    std::thread caller([this] { EXPECT_EQ(CallPlain(callback, 1), IPC_DEAD_OBJECT); });
    client.baton.Await('c');
    const auto killed = std::chrono::steady_clock::now();
    client.Kill();
    caller.join();
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 1s);
    EXPECT_EQ(watch->lastObject, callback);
    EXPECT_TRUE(callback->IsObjectDead());
    EXPECT_FALSE(callback->AddDeathRecipient(watch));
    EXPECT_FALSE(callback->RemoveDeathRecipient(watch));
    EXPECT_EQ(CallPlain(callback, 1), IPC_DEAD_OBJECT);
    Stop();
    EXPECT_EQ(watch->deaths, 1);
}

// The request of a dead client goes on, one-way or not, and its death is told meanwhile.
TEST_F(ProcessesTest, AClientKilledInsideItsRequestIsMournedWhileTheRequestRunsOn)
{
    Host::IpcLimits limits;
    limits.unfinishedMessage = 300ms;
    const auto play = [this](int flags) {
        return [this, flags](const Baton& parent) {
            const sptr<IRemoteObject> root = Connect();
            EXPECT_EQ(CallWith(root, 1, {new ScriptedStub}), 0);
            (void)Exchange().Send(root, 2, flags);
            parent.Tell('s');
            ::pause();
        };
    };
    ClientProcess waiting(play(MessageOption::TF_SYNC));
    ClientProcess oneWay(play(MessageOption::TF_ASYNC));
    second = oneWay.pid;
    ServeCallbacks(limits);
    waiting.Go();
    EXPECT_TRUE(called.Wait());
    waiting.Kill();
    EXPECT_TRUE(watch->told.Wait()) << "nobody waits for the request to end";
    oneWay.Go('s');
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().running == 2; }));
    oneWay.Kill();
    EXPECT_TRUE(secondWatch->told.Wait());
    EXPECT_EQ(Host::CountIpc().running, 2U);
    release.Open();
}

// A recipient may take its time and call others; one that is removed meanwhile is not waited for, and neither do the
// deaths of others wait for it.
TEST_F(ProcessesTest, ARecipientThatTakesItsTimeHoldsNobodyUp)
{
    ClientProcess client(Staying());
    ClientProcess other(Staying());
    second = other.pid;
    Gate begun;
    watch->onDeath = [&] {
        begun.Open();
        EXPECT_TRUE(release.Wait());
    };
    ServeCallbacks();
    client.Go('h');
    const sptr<IRemoteObject> first = callback;
    const sptr<DeathWatch> removed = new DeathWatch;
    EXPECT_TRUE(first->AddDeathRecipient(removed));
    other.Go('h');
    client.Kill();
    EXPECT_TRUE(begun.Wait());
    EXPECT_FALSE(first->RemoveDeathRecipient(watch));
    EXPECT_TRUE(first->RemoveDeathRecipient(removed)) << "not told yet";
    EXPECT_EQ(CallPlain(Connect(), 3), 0) << "others are served meanwhile";
    other.Kill();
    EXPECT_TRUE(secondWatch->told.Wait());
    EXPECT_EQ(watch->lastObject, first);
    release.Open();
    EXPECT_TRUE(watch->told.Wait());
    Stop();
    EXPECT_EQ(removed->deaths, 0);
}

TEST_F(ProcessesTest, WhatAProcessSentOneWayBeforeItWentIsHandledBeforeItIsMourned)
{
    constexpr int count = 200;
    ClientProcess client([this](const Baton&) {
        const sptr<IRemoteObject> root = Connect();
        EXPECT_EQ(CallWith(root, 1, {new ScriptedStub}), 0);
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
        const sptr<IRemoteObject> root = Connect();
        EXPECT_TRUE(root->AddDeathRecipient(watch));
        parent.Tell('c');
        EXPECT_EQ(CallPlain(root, 2), IPC_DEAD_OBJECT);
        EXPECT_TRUE(watch->told.Wait());
        EXPECT_EQ(watch->lastObject, root);
        EXPECT_EQ(CallPlain(root, 3), IPC_DEAD_OBJECT);
        watch->lastObject = nullptr;
    });
    ClientProcess daemon([this](const Baton& parent) {
        ServeCallbacks();
        parent.Tell('s');
        ::pause();
    });
    daemon.Go('s');
    client.Go('c');
    daemon.Kill();
    EXPECT_TRUE(client.Join());
    ::unlink(Path("owner").c_str());
    ::unlink(Path("app").c_str());
}

TEST_F(ProcessesTest, ClientsThatCallEachOtherThroughTheDaemonNest)
{
    ClientProcess client([this](const Baton& parent) {
        const sptr<IRemoteObject> root = Connect();
        const sptr<ScriptedStub> own = new ScriptedStub;
        own->On(1, [&root](MessageParcel&, MessageParcel&) { return CallPlain(root, 3); });
        EXPECT_EQ(CallWith(root, 1, {own}), 0);
        parent.Tell('h');
        parent.Await('e');
    });
    ServeCallbacks();
    client.Go('h');
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
        EXPECT_EQ(CallWith(root, 1, {new ScriptedStub}), 0);
        if (::fork() == 0) {
            EXPECT_TRUE(root->IsObjectDead());
            EXPECT_EQ(CallPlain(root, 3), IPC_DEAD_OBJECT);
            EXPECT_FALSE(root->AddDeathRecipient(new DeathWatch));
            parent.Tell('f');
            parent.Await('d'); // the parent has died
            EXPECT_EQ(CallWith(Connect(), 1, {new ScriptedStub}), 0);
            parent.Tell(HasFailure() ? '!' : 'n');
            ::_exit(0);
        }
        ::pause();
    });
    ServeCallbacks();
    client.Go('f');
    client.Kill();
    EXPECT_TRUE(watch->told.Wait());
    client.baton.Tell('d');
    client.baton.Await('n');
    EXPECT_NE(callbackPid, client.pid) << "the kernel says that it is another one";
}

} // namespace
} // namespace OHOS
