#include <future>

#include "process_scene.h"

// Clients that die and hang.
namespace OHOS::Pelago {
namespace {

class Deaths : public ProcessScene {
protected:
    // A client process that is registered and prints what it hears.
    std::unique_ptr<Child> Listener()
    {
        auto child = Pelago({"watch", "--client"});
        // Its death is watched from the end of the registration on, not from its entry in the list.
        EXPECT_TRUE(WaitUntil([this] { return device->Dumped("sizes", "deathRecipients") == 1; })) << child->Output();
        return child;
    }

    const std::unique_ptr<RunningDevice> device = NewDevice("phone");
    const sptr<ITrellisService> service = device->As("owner");
    const sptr<CountingCallback> callback = new CountingCallback();
};

TEST_F(Deaths, AClientThatIsKilledInsideItsCallbackHoldsNobodyUpAndTheOthersHearTheirNumber)
{
    auto stuck = Listener();
    stuck->Stop();
    // The registration calls the stuck client first and waits for it; its death ends the wait.
    auto registration = std::async(std::launch::async, [this] { return service->RegisterTrellisCallback(callback); });
    EXPECT_TRUE(WaitUntil([this] { return device->Dumped("ipc", "running") >= 2; }));
    stuck->Signal(SIGKILL);
    EXPECT_EQ(registration.wait_for(std::chrono::seconds(5)), std::future_status::ready) << "a call may take eight";
    EXPECT_TRUE(registration.get());
    EXPECT_TRUE(WaitUntil([this] { return callback->count == 1; }));
    EXPECT_TRUE(WaitUntil([this] { return device->Dumped("sizes", "deathRecipients") == 1; }));
    EXPECT_EQ(device->Dumped("sizes", "callbackFlags"), 1);
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

} // namespace
} // namespace OHOS::Pelago
