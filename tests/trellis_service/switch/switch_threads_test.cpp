#include <filesystem>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "i_trellis_service.h"
#include "runtime_env.h"
#include "scripted_engine.h"
#include "switch/share_switch_manager.h"

namespace OHOS::Pelago {
namespace {

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

// Threads of clients, observers and the system meet the runner, and at last the stop. Whoever holds a stale switch goes
// on without harm. For the thread sanitizer.
TEST(SwitchThreads, OfManyCallersMeetTheRunnerAndTheStop)
{
    std::string root = testing::TempDir() + "switch.XXXXXX";
    ASSERT_NE(mkdtemp(root.data()), nullptr);
    std::filesystem::create_directories(root + "/data/service/el2/100/pelago");
    ASSERT_TRUE(Host::Device::Instance().Configure({"", "", "phone", root}));
    RuntimeEnv::Install({root, nullptr, Host::Scheduler::StartDetached});
    ASSERT_TRUE(Host::HostSettings::SeedFreshDevice({100}));
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(std::make_shared<ScriptedEngine>());
    std::promise<void> started;
    Host::AbilityHost::Instance().Start([&started] { started.set_value(); });
    started.get_future().wait();

    const auto held = DelayedSingleton<ShareSwitchManager>::GetInstance();
    const auto call = [&held](int i) {
        switch (i % 8) {
            case 0:
                return (void)held->SetShareEnableWithConfirm(1 + i / 8 % 2, i % 4, false, false, false);
            case 1:
                return (void)held->SetShareAccountPermission(i / 8 % 2, false);
            case 2:
                return held->HandleOnSwingOn();
            case 3:
                return held->HandleOnSwingOff();
            case 4:
                return held->HandleOnWifiOrBluetoothStateChanged(i / 8 % 2 == 0);
            case 5:
                return held->HandleOnWifiSelfHealingBegin();
            case 6:
                return held->HandleOnWifiSelfHealingEnd(false);
            default:
                return (void)held->GetSnapshot();
        }
    };
    // Every caller makes all calls, each from another one on, and now and then lets the runner catch up.
    const auto startCallers = [&call, &held](bool pause) {
        std::vector<std::thread> callers;
        for (int offset = 0; offset < 3; ++offset) {
            callers.emplace_back([&call, &held, offset, pause] {
                for (int i = 0; i < 240; ++i) {
                    call(i + offset);
                    if (pause && i % 24 == 0) {
                        WaitForRunner(*held);
                    }
                }
            });
        }
        return callers;
    };
    for (std::thread& caller : startCallers(true)) {
        caller.join();
    }
    std::vector<std::thread> callers = startCallers(false);
    Host::AbilityHost::Instance().Stop();
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_TRUE(Host::Scheduler::Instance().Shutdown(10'000));
    EXPECT_STREQ(ShareSwitchManager::BrokenInvariant(held->GetSnapshot()), nullptr);
    EXPECT_FALSE(held->SetShareEnableWithConfirm(1, 2, false, false, false));
    std::filesystem::remove_all(root);
}

} // namespace
} // namespace OHOS::Pelago
