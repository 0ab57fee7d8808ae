// Everything that clients, radios, the framework, the engine and applications may do at one moment. For the sanitizers.

#include <future>
#include <random>

#include "runtime_env.h"
#include "tap/tap_scene.h"

namespace OHOS::Pelago {
namespace {

using Calls = std::vector<std::function<void(int)>>;

class Marker : public AppExecFwk::EventHandler {
public:
    using EventHandler::EventHandler;
    void ProcessEvent(const AppExecFwk::InnerEvent::Pointer&) override
    {
        reached.set_value();
    }
    std::promise<void> reached;
};

// Until the runner has handled what waits now.
void WaitForRunner(const ShareSwitchManager& shareSwitch)
{
    const auto marker = std::make_shared<Marker>(shareSwitch.GetEventRunner());
    EXPECT_TRUE(marker->SendEvent(0));
    marker->reached.get_future().wait();
}

// Each makes calls by chance, and lets the runner catch up now and then, unless it has none.
std::vector<std::future<void>> StartCallers(const Calls& calls, const ShareSwitchManager* runner)
{
    std::vector<std::future<void>> callers;
    for (unsigned seed = 1; seed <= 3; ++seed) {
        callers.push_back(std::async(std::launch::async, [&calls, runner, seed] {
            std::minstd_rand random(seed);
            for (int i = 0; i < 600; ++i) {
                calls[random() % calls.size()](i);
                if (runner != nullptr && i % 24 == 0) {
                    WaitForRunner(*runner);
                }
            }
        }));
    }
    return callers;
}

TEST(ServiceThreads, OfEverybodyMeetTheRunnersAndTheStop)
{
    const TestFolder folder;
    const std::string root = folder.path;
    std::filesystem::create_directories(root + "/data/service/el2/100/pelago");
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
    const auto held = DelayedSingleton<ShareSwitchManager>::GetInstance();

    const Calls toTheSwitch = {
        [&](int i) { (void)held->SetShareEnableWithConfirm(1 + i % 2, i % 4, false, false, false); },
        [&](int i) { (void)held->SetShareAccountPermission(i % 2, false); },
        [&](int) { held->HandleOnSwingOn(); },
        [&](int) { held->HandleOnSwingOff(); },
        [&](int i) { held->HandleOnWifiOrBluetoothStateChanged(i % 2 == 0); },
        [&](int) { held->HandleOnWifiSelfHealingBegin(); },
        [&](int) { held->HandleOnWifiSelfHealingEnd(false); },
        [&](int) { (void)held->GetSnapshot(); },
    };
    Calls calls = {
        [&](int) { EXPECT_TRUE(service->RegisterMotionSenderListener()); },
        [](int) { EXPECT_TRUE(TrellisService::UnRegisterMotionSenderListener()); },
        [&](int) { collab->PublishEvent(PeerAnswer().Text()); },
        [&](int) { collab->Deliver(Delivery()); },
        [&](int) { collab->Knock(); },
        [](int i) { TrellisService::HandleOnMotionState(1, i % 5, 0); },
        [](int i) { TrellisService::HandleOnMotionReceiverState(1, i % 4, 0); },
        [](int) { (void)TrellisService::GetTapView(); },
        [&](int) { (void)service->NotifyInfo(Entry("phone"), 5); },
        [&](int) { service->ClearNudgePendingFlag(); },
        [&](int) { (void)service->RegisterMotionReceiverListener(); },
        [](int) { EXPECT_TRUE(TrellisService::CancelForNudgeConnectTimeOut("phone")); },
        [](int) {
            ShareDeviceInfo device = Entry("phone", Discoverer::TAP);
            TrellisService::DeviceFound(device);
        },
    };
    calls.insert(calls.end(), toTheSwitch.begin(), toTheSwitch.end());
    StartCallers(calls, held.get()).clear(); // waits for them
    EXPECT_TRUE(service->RegisterMotionSenderListener());
    const wptr<IRemoteObject> callback = collab->KnockObject();

    // Whoever holds the stale switch meets the stop, and goes on without harm.
    std::vector<std::future<void>> callers = StartCallers(toTheSwitch, nullptr);
    std::promise<void> stopped;
    Host::AbilityHost::Instance().Stop([&stopped] { stopped.set_value(); });
    stopped.get_future().wait();
    callers.clear();
    EXPECT_TRUE(Host::Scheduler::Instance().Shutdown(10'000));
    EXPECT_EQ(callback.promote(), nullptr);
    EXPECT_STREQ(ShareSwitchManager::BrokenInvariant(held->GetSnapshot()), nullptr);
    EXPECT_FALSE(held->SetShareEnableWithConfirm(1, 2, false, false, false));
    Synfold::InstallCollabBackend(nullptr);
}

} // namespace
} // namespace OHOS::Pelago
