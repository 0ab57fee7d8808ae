// The sender's callback goes when nobody wants taps any more and no tap needs it: not earlier, and once.

#include <future>
#include <random>
#include <thread>

#include "host/ability_host.h"
#include "host/host_settings.h"
#include "runtime_env.h"
#include "tap_scene.h"

namespace OHOS::Pelago {
namespace {

enum Change {
    DROPPED,
    DROPPED_AND_WANTED,
    DROPPED_WANTED_DROPPED,
};

class TapDeletion : public TapScene {
protected:
    // A tap, step by step; each only asks for what happens later.
    std::vector<std::function<void()>> Steps()
    {
        return {[this] { Collab().Knock(); }, [this] { Collab().PublishEvent(PeerAnswer().Text()); },
            [] { TrellisService::HandleOnMotionState(1, 1, 0); }, [] { Advance(3000); },
            [] { TrellisService::HandleOnMotionState(1, 4, 0); }, [] { Advance(3000); }};
    }
    static void Drop()
    {
        EXPECT_TRUE(TrellisService::UnRegisterMotionSenderListener());
    }
    static void Want()
    {
        EXPECT_TRUE(Service()->RegisterMotionSenderListener());
    }

    // Nothing runs in between: the callback that goes is the one that is wanted again.
    void Make(Change change)
    {
        const sptr<IRemoteObject> callback = Collab().KnockObject();
        Drop();
        if (change != DROPPED) {
            Want();
            EXPECT_EQ(Collab().KnockObject(), callback);
            EXPECT_FALSE(TrellisService::GetTapView().senderDeleting);
        }
        if (change == DROPPED_WANTED_DROPPED) {
            Drop();
        }
    }

    void TapWith(size_t point, Change change, uint64_t seed)
    {
        ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime(seed));
        Want();
        const wptr<IRemoteObject> callback = Collab().KnockObject();
        const auto steps = Steps();
        for (size_t step = 0; step < steps.size(); ++step) {
            steps[step]();
            if (step == point) {
                Make(change);
            }
            if (seed % 2 == 0) {
                Settle();
            }
        }
        LetPass();
        EXPECT_EQ(callback.promote() != nullptr, change == DROPPED_AND_WANTED);
        Drop();
        LetPass();
        EXPECT_EQ(callback.promote(), nullptr);
        (void)Happened();
    }
};

TEST_F(TapDeletion, AtEachPointOfATapInEachOrderOfTheQueues)
{
    for (size_t point = 0; point < Steps().size(); ++point) {
        for (int run = 0; run < 12; ++run) {
            SCOPED_TRACE("point " + std::to_string(point) + " run " + std::to_string(run));
            TapWith(point, static_cast<Change>(run % 3), static_cast<uint64_t>(run / 3));
        }
    }
}

TEST_F(TapDeletion, WaitsForTheEventThatEndsTheTapUnlessThatOneDeletesNothing)
{
    Subscribe();
    wptr<IRemoteObject> callback = Collab().KnockObject();
    Touch();
    Unsubscribe();
    Advance(5999);
    EXPECT_NE(callback.promote(), nullptr);
    EXPECT_TRUE(TrellisService::GetTapView().senderDeleting);
    Advance(1);
    EXPECT_EQ(callback.promote(), nullptr);
    EXPECT_TRUE(Logged("ReleaseMotionSenderCb success."));

    Subscribe();
    callback = Collab().KnockObject();
    Touch(PeerAnswer().With("State\":1", "State\":2")); // the peer's switch is off
    Unsubscribe();
    LetPass();
    EXPECT_NE(callback.promote(), nullptr);
    Subscribe();
    EXPECT_EQ(Collab().KnockObject(), callback.promote());

    Host::Faults::Inject("event_handler.send");
    Unsubscribe(); // cannot be told: it goes at once
    EXPECT_EQ(callback.promote(), nullptr);
    Host::Faults::Clear();
}

// Everything that the framework, the engine, applications and the switch may do at one moment. For the sanitizers.
TEST(TapThreads, OfFrameworkEngineAndApplicationsMeetTheRunnersAndTheStop)
{
    std::string root = testing::TempDir() + "tap.XXXXXX";
    ASSERT_NE(mkdtemp(root.data()), nullptr);
    ASSERT_TRUE(Host::Device::Instance().Configure({"", "", "phone", root}));
    RuntimeEnv::Install({root, nullptr, Host::Scheduler::StartDetached});
    ASSERT_TRUE(Host::HostSettings::SeedFreshDevice({100}));
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(std::make_shared<ScriptedEngine>());
    const auto collab = std::make_shared<ScriptedCollab>();
    Synfold::InstallCollabBackend(collab);
    std::promise<void> started;
    Host::AbilityHost::Instance().Start([&started] { started.set_value(); });
    started.get_future().wait();
    const sptr<IRemoteObject> object = Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID);
    const sptr<TrellisService> service = dynamic_cast<TrellisService*>(object.GetRefPtr());

    const std::string answer = PeerAnswer().Text();
    const std::string delivery = Delivery();
    const std::vector<std::function<void()>> calls = {
        [&] { EXPECT_TRUE(service->RegisterMotionSenderListener()); },
        [] { EXPECT_TRUE(TrellisService::UnRegisterMotionSenderListener()); },
        [&] { collab->PublishEvent(answer); },
        [&] { collab->Deliver(delivery); },
        [&] { collab->Knock(); },
        [] { TrellisService::HandleOnMotionState(1, 4, 0); },
        [] { TrellisService::HandleOnMotionState(1, 1, 0); },
        [] { TrellisService::HandleOnMotionReceiverState(1, 3, 0); },
        [&] { (void)service->NotifyInfo(Entry("phone"), 5); },
        [&] { service->ClearNudgePendingFlag(); },
        [&] { (void)service->RegisterMotionReceiverListener(); },
        [] { (void)TrellisService::GetTapView(); },
        [] { EXPECT_TRUE(TrellisService::CancelForNudgeConnectTimeOut("phone")); },
        [] {
            ShareDeviceInfo device = Entry("phone", Discoverer::TAP);
            TrellisService::DeviceFound(device);
        },
    };
    std::vector<std::thread> callers;
    for (unsigned seed = 0; seed < 3; ++seed) {
        callers.emplace_back([&calls, seed] {
            std::minstd_rand random(seed + 1);
            for (int i = 0; i < 500; ++i) {
                calls[random() % calls.size()]();
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_TRUE(service->RegisterMotionSenderListener());
    const wptr<IRemoteObject> callback = collab->KnockObject();
    std::promise<void> stopped;
    Host::AbilityHost::Instance().Stop([&stopped] { stopped.set_value(); });
    stopped.get_future().wait();
    EXPECT_TRUE(Host::Scheduler::Instance().Shutdown(10'000));
    EXPECT_EQ(callback.promote(), nullptr);
    Synfold::InstallCollabBackend(nullptr);
    std::filesystem::remove_all(root);
}

} // namespace
} // namespace OHOS::Pelago
