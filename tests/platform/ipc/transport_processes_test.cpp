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
    // A client that hands over a callback, does something more, tells so, and stays.
    ClientProcess::Play Staying(std::function<void(const sptr<IRemoteObject>& root)> more = [](const auto&) {})
    {
        return [this, more](const Baton& parent) {
            const sptr<IRemoteObject> root = Connect();
            EXPECT_EQ(CallWith(root, 1, {new ScriptedStub}), 0);
            more(root);
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

// The request of a dead client goes on, one-way or not, and its death is told meanwhile.
TEST_F(ProcessesTest, AClientKilledInsideItsRequestIsMournedWhileTheRequestRunsOnAndLeavesNothing)
{
    Host::IpcLimits limits;
    limits.unfinishedMessage = 300ms;
    ClientProcess waiting(Staying([](const auto& root) {
        Exchange call;
        for (int i = 0; i < 500; ++i) {
            EXPECT_TRUE(call.data.WriteFileDescriptor(STDERR_FILENO) && call.data.WriteRemoteObject(new ScriptedStub));
        }
        (void)call.Send(root, 2); // whose end it does not live to see
    }));
    ClientProcess oneWay(Staying([](const auto& root) { EXPECT_EQ(PostPlain(root, 2), 0); }));
    second = oneWay.pid;
    ServeCallbacks(limits);
    waiting.Go();
    EXPECT_TRUE(called.Wait());
    EXPECT_EQ(Host::CountIpc().objectsHeld, 501U);
    waiting.Kill();
    EXPECT_TRUE(watch->told.Wait()) << "nobody waits for the request to end";
    oneWay.Go('h');
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().running == 2; }));
    oneWay.Kill();
    EXPECT_TRUE(secondWatch->told.Wait());
    EXPECT_EQ(Host::CountIpc().running, 2U);
    release.Open();
    callback = nullptr;
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().objectsHeld == 0; }))
        << "nor of its descriptors, see the scene";
}

// A recipient may take its time and call others; one that is removed meanwhile is not waited for, and neither do the
// deaths of others wait for it.
TEST_F(ProcessesTest, ARecipientThatTakesItsTimeHoldsNobodyUp)
{
    ClientProcess client(Staying());
    ClientProcess other(Staying());
    second = other.pid;
    watch->onDeath = [&] {
        called.Open();
        EXPECT_TRUE(release.Wait());
    };
    ServeCallbacks();
    client.Go('h');
    const sptr<IRemoteObject> first = callback;
    const sptr<DeathWatch> removed = new DeathWatch;
    EXPECT_TRUE(first->AddDeathRecipient(removed));
    other.Go('h');
    client.Kill();
    EXPECT_TRUE(called.Wait());
    EXPECT_TRUE(first->IsObjectDead() && !first->AddDeathRecipient(watch)) << "too late";
    EXPECT_FALSE(first->RemoveDeathRecipient(watch));
    EXPECT_TRUE(first->RemoveDeathRecipient(removed)) << "not told yet";
    EXPECT_EQ(CallPlain(Connect(), 3), 0) << "others are served meanwhile";
    other.Kill();
    EXPECT_TRUE(secondWatch->told.Wait());
    release.Open();
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_EQ(watch->lastObject, first);
    Stop();
    EXPECT_EQ(watch->deaths + removed->deaths, 1);
}

TEST_F(ProcessesTest, WhatAProcessSentOneWayBeforeItWentIsHandledBeforeItIsMourned)
{
    constexpr int count = 200;
    ClientProcess client(Staying([](const auto& root) {
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(PostPlain(root, 4), 0);
        }
        ::_exit(0);
    }));
    int postsAtDeath = 0;
    watch->onDeath = [&] { postsAtDeath = posts; };
    ServeCallbacks();
    client.Go();
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_EQ(postsAtDeath, count);
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
