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

class TapDeletion : public TapScene {
protected:
    // A tap, step by step; each only asks for what happens later.
    const std::vector<std::function<void()>> steps = {[this] { Collab().Knock(); },
        [this] { Collab().PublishEvent(PeerAnswer().Text()); }, [] { TrellisService::HandleOnMotionState(1, 1, 0); },
        [] { Advance(3000); }, [] { TrellisService::HandleOnMotionState(1, 4, 0); }, [] { Advance(3000); }};

    // Taps are not wanted any more, wanted again, not wanted again. Nothing runs in between: the callback that goes is
    // the one that is wanted again.
    void Change(int times)
    {
        const sptr<IRemoteObject> callback = Collab().KnockObject();
        for (int i = 0; i < times; ++i) {
            i % 2 == 0 ? Unsubscribe() : Subscribe();
            EXPECT_TRUE(i % 2 == 0 || Collab().KnockObject() == callback);
            EXPECT_EQ(TrellisService::GetTapView().senderDeleting, i % 2 == 0);
        }
    }

    void TapWith(size_t point, int changes, uint64_t seed)
    {
        ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime(seed));
        Subscribe();
        const wptr<IRemoteObject> callback = Collab().KnockObject();
        for (size_t step = 0; step < steps.size(); ++step) {
            steps[step]();
            Change(step == point ? changes : 0);
            if (seed % 2 == 0) {
                Settle();
            }
        }
        Skip(EVERY_TIMER_MS);
        EXPECT_EQ(callback.promote() != nullptr, changes == 2);
        Unsubscribe();
        Skip(EVERY_TIMER_MS);
        EXPECT_EQ(callback.promote(), nullptr);
    }
};

TEST_F(TapDeletion, AtEachPointOfATapInEachOrderOfTheQueues)
{
    // The engine's states come to nobody; and with its new time the service has forgotten the client's death.
    for (const char* error : {"motionSenderCb_ nullptr", "vector is empty", "Callback failed!"}) {
        AllowError(error);
    }
    for (size_t point = 0; point < steps.size(); ++point) {
        for (int run = 0; run < 12; ++run) {
            SCOPED_TRACE("point " + std::to_string(point) + " run " + std::to_string(run));
            TapWith(point, 1 + run % 3, static_cast<uint64_t>(run / 3));
        }
    }
}

TEST_F(TapDeletion, WaitsForTheEventThatEndsTheTapUnlessThatOneDeletesNothing)
{
    Subscribe();
    const sptr<IRemoteObject> kept = Collab().KnockObject(); // by the framework, which calls late
    Unsubscribe();
    Settle();
    Subscribe();
    wptr<IRemoteObject> callback = Collab().KnockObject();
    (void)Touch();
    Unsubscribe();
    Engine().Refuse("OnCollabDeviceFound");
    dynamic_cast<Synfold::IServicePublishCallback&>(*kept).OnPublishEvent(
        new Synfold::RequestResultInfo(PeerAnswer().Text()));
    Advance(TIMEOUT_MS - 1); // the tap of the one that is kept has ended, and nothing but it
    EXPECT_NE(callback.promote(), nullptr);
    EXPECT_TRUE(TrellisService::GetTapView().senderDeleting);
    Advance(1);
    EXPECT_EQ(callback.promote(), nullptr);

    Subscribe();
    callback = Collab().KnockObject();
    (void)Touch(PeerAnswer().With("State\":1", "State\":2")); // the peer's switch is off
    Unsubscribe();
    Advance(EVERY_TIMER_MS);
    EXPECT_NE(callback.promote(), nullptr);
    Subscribe();
    EXPECT_EQ(Collab().KnockObject(), callback.promote());

    Host::Faults::Inject("event_handler.send");
    Unsubscribe(); // cannot be told: it goes at once
    EXPECT_EQ(callback.promote(), nullptr);
    Host::Faults::Clear();
    (void)Collab().TakeAsked();
    Collab().Refuse("RequestService", 5);
    EXPECT_FALSE(Service()->RegisterMotionSenderListener());
    Subscribe();
    Subscribe(); // asks once
    EXPECT_EQ(Collab().TakeAsked(), "RequestService 8, RequestService 8");
    EXPECT_NE(Happened().find("! RegisterPublishServiceCallback failed, errCode 5."), std::string::npos);
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

    const std::vector<std::function<void()>> calls = {
        [&] { EXPECT_TRUE(service->RegisterMotionSenderListener()); },
        [] { EXPECT_TRUE(TrellisService::UnRegisterMotionSenderListener()); },
        [&] { collab->PublishEvent(PeerAnswer().Text()); },
        [&] { collab->Deliver(Delivery()); },
        [&] { collab->Knock(); },
        [] { TrellisService::HandleOnMotionState(1, 4, 0), TrellisService::HandleOnMotionReceiverState(1, 3, 0); },
        [] { TrellisService::HandleOnMotionState(1, 1, 0), (void)TrellisService::GetTapView(); },
        [&] { (void)service->NotifyInfo(Entry("phone"), 5); },
        [&] { service->ClearNudgePendingFlag(), (void)service->RegisterMotionReceiverListener(); },
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
