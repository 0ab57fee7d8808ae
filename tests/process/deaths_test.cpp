#include <csignal>
#include <future>
#include <utility>

#include "process_scene.h"

// Clients that die, hang, and call back.
namespace OHOS::Pelago {
namespace {

class Deaths : public ProcessScene {
protected:
    // A client process that is registered and prints what it hears.
    std::unique_ptr<Child> Listener()
    {
        // Its death is watched from the end of the registration on, not from its entry in the list.
        int64_t before = device->Dumped("sizes", "deathRecipients");
        auto child = Pelago({"-d", "phone", "watch", "--client"});
        EXPECT_TRUE(WaitUntil([&] { return device->Dumped("sizes", "deathRecipients") == before + 1; }))
            << child->Output();
        return child;
    }

    void SetUp() override
    {
        ProcessScene::SetUp();
        device = NewDevice("phone");
        service = device->As("owner");
        callback = new CountingCallback();
    }
    void TearDown() override
    {
        service = nullptr;
        callback = nullptr;
        device.reset();
        ProcessScene::TearDown();
    }

    std::unique_ptr<RunningDevice> device;
    sptr<ITrellisService> service;
    sptr<CountingCallback> callback;
};

TEST_F(Deaths, AKilledClientGoesAndTheOthersHearTheirNumber)
{
    ASSERT_TRUE(service->RegisterTrellisCallback(callback));
    auto client = Listener();
    EXPECT_EQ(callback->count, 2);
    client->Signal(SIGKILL);
    EXPECT_TRUE(WaitUntil([this] { return callback->count == 1; }));
    EXPECT_TRUE(WaitUntil([this] { return device->Dumped("sizes", "deathRecipients") == 1; }));
    EXPECT_EQ(device->Dumped("sizes", "callbackFlags"), 1);
}

TEST_F(Deaths, TheOnlyClientIsKilledAndNothingIsLeftOfIt)
{
    size_t descriptors = 0;
    for (int round = 0; round < 3; ++round) { // the first makes what a daemon makes once
        auto client = Listener();
        client->Signal(SIGKILL);
        (void)client->Wait();
        EXPECT_TRUE(WaitUntil([this] { return device->Dumped("sizes", "clients") == 0; }));
        descriptors = round == 0 ? device->daemon.Descriptors() : descriptors;
    }
    EXPECT_EQ(device->Dumped("sizes", "deathRecipients"), 0);
    EXPECT_EQ(device->Dumped("sizes", "callbackFlags"), 0);
    EXPECT_TRUE(WaitUntil([&] { return device->daemon.Descriptors() <= descriptors; })) << descriptors;
}

TEST_F(Deaths, AClientThatIsKilledInsideItsCallbackHoldsNobodyUp)
{
    auto stuck = Listener();
    stuck->Stop();
    // The registration calls the stuck client first and waits for it; its death ends the wait.
    auto registration = std::async(std::launch::async, [this] { return service->RegisterTrellisCallback(callback); });
    EXPECT_TRUE(WaitUntil([this] { return device->Dumped("ipc", "running") >= 2; }));
    stuck->Signal(SIGKILL);
    EXPECT_TRUE(registration.get());
    EXPECT_TRUE(WaitUntil([this] { return callback->count == 1; }));
}

TEST_F(Deaths, AClientThatHangsCostsTheOthersItsWaitTimeAndNoMore)
{
    auto stuck = Listener();
    stuck->Stop();
    EXPECT_TRUE(service->RegisterTrellisCallback(callback)); // after two callbacks of eight seconds each
    EXPECT_EQ(callback->count, 2);
    EXPECT_EQ(service->GetEnableState(), 0);
    stuck->Signal(SIGCONT);
}

// The operations that need the lock which the service holds while it calls wait until the call has expired; all of them
// come back.
TEST_F(Deaths, AClientMayCallEverythingFromInsideItsCallback)
{
    ASSERT_TRUE(service->RegisterTrellisCallback(callback));
    ShareDeviceInfo nobody;
    SendBean files;
    const std::function<void()> operations[] = {
        [&] { (void)service->IsEnabled(); },
        [&] { (void)service->GetAllUserList(); },
        [&] { (void)service->GetSendingUserList(); },
        [&] { (void)service->SetShareEnableWithConfirm(2, 0, false, false); },
        [&] { (void)service->SetShareAccountPermission(1); },
        [&] { (void)service->GetAccountInfo(); },
        [&] { (void)service->PrepareSend(nobody); },
        [&] { (void)service->StartConnect(); },
        [&] { (void)service->StopConnect(); },
        [&] { (void)service->ApplyUriPermission("file:///nowhere"); },
        [&] { (void)service->GetPreviewData(); },
        [&] { (void)service->RegisterShareEventCallback(2, 1); },
        [&] { (void)service->StopDiscovery(); },
        [&] { (void)service->Send(nobody, files, "test"); },
        [&] { (void)service->Cancel(nobody); },
        [&] { (void)service->RegisterTrellisCallback(callback); },
        [&] { (void)service->UnRegisterTrellisCallback(callback); },
    };
    std::atomic<size_t> answered{0};
    std::atomic<bool> called{false}; // later callbacks come on other threads
    callback->during = [&] {
        if (called.exchange(true)) {
            return;
        }
        for (const auto& operation : operations) {
            operation();
            ++answered;
        }
    };
    sptr<CountingCallback> second = new CountingCallback();
    EXPECT_TRUE(device->As("app")->RegisterTrellisCallback(second));
    EXPECT_TRUE(WaitUntil([&] { return answered == std::size(operations); })) << answered;
}

TEST_F(Deaths, ADaemonThatIsKilledTellsItsClientsAndComesBack)
{
    sptr<IRemoteObject> object = device->ServiceObject("owner");
    device->daemon.Signal(SIGKILL);
    (void)device->daemon.Wait();
    EXPECT_TRUE(WaitUntil([&] { return object->IsObjectDead(); }));
    device = NewDevice("phone");
    EXPECT_EQ(device->As("owner")->GetEnableState(), 0);
}

} // namespace
} // namespace OHOS::Pelago
