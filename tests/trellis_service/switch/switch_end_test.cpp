// The end of the switch: what is left of it, and who meets it on the way.
#include <functional>
#include <future>
#include <thread>

#include "host/ability_host.h"
#include "runtime_env.h"
#include "share_log.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchEnd : public SwitchScene, public testing::WithParamInterface<const char*> {
protected:
    // Ends the service. Everything then happens that the switch listened to, and nobody hears it.
    void StopAndExpectNothingLeft()
    {
        StopService();
        EXPECT_EQ(Host::Scheduler::Instance().PendingCount(), 0U);
        const uint64_t seen = Host::LastLogSeq();
        Play("set air 1; set provisioned 1; set ota 1 100; set ota 1 101; event semi 0; event restrict 0; "
             "event wifi 3; event unlocked 101; event ready; user 101");
        for (const auto& line : Host::ReadLog(seen)) {
            EXPECT_STRNE(line.tag.c_str(), Log::SERVICE.tag) << line.text;
        }
    }
};

TEST_F(SwitchEnd, LeavesNothingBehind)
{
    Play("set air 1; set ota - 101; boot 1,2,1; user 101; user 100; on 1; event semi 0; retry");
    EXPECT_EQ(Seen(), "1,1,1 swing 1 wifi heals retry | 1,1,1 | 1,1,1 air 1 | 1,2 | "
                      "show 2, permit 1, hide, show 2, permit 1, show 1, permit 1 | 3 | 3");
    const std::weak_ptr<ShareSwitchManager> shareSwitch = Switch();
    const std::weak_ptr<AppExecFwk::EventRunner> runner = Switch()->GetEventRunner();
    StopAndExpectNothingLeft();
    EXPECT_TRUE(shareSwitch.expired());
    EXPECT_TRUE(runner.expired());
}

// Released in the middle of a load, at the first line of the log with this text.
TEST_P(SwitchEnd, InTheMiddleOfALoadLeavesNothingBehindEither)
{
    static bool released = false; // of this process, as the listener is
    Host::SetLogListener([] {
        const auto last = Host::ReadLog(Host::LastLogSeq() - 1);
        if (!last.empty() && last[0].text.find(GetParam()) != std::string::npos) {
            Host::SetLogListener(nullptr);
            Switch()->Release();
            released = true;
        }
    });
    AllowErrors({"timeServiceHelper_ is nullptr", "fail to SendEvent"});
    Play("boot 1,1,1");
    EXPECT_TRUE(released);
    StopAndExpectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(At, SwitchEnd,
    testing::Values("SwitchUserToOther invoked", "RegisterOobeDataChangeListener invoked", "CheckIfOobeReady invoked.",
        "InitSwingState invoked", "share_air_helper.cpp", "Get state from file", "Enable() enter",
        "StartSwitchDetectableTypeScheduledTask, "));

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
    const std::function<void(int)> calls[] = {
        [&](int i) { (void)held->SetShareEnableWithConfirm(1 + i % 2, i % 4, false, false, false); },
        [&](int i) { (void)held->SetShareAccountPermission(i % 2, false); },
        [&](int) { held->HandleOnSwingOn(); },
        [&](int) { held->HandleOnSwingOff(); },
        [&](int i) { held->HandleOnWifiOrBluetoothStateChanged(i % 2 == 0); },
        [&](int) { held->HandleOnWifiSelfHealingBegin(); },
        [&](int) { held->HandleOnWifiSelfHealingEnd(false); },
        [&](int) { (void)held->GetSnapshot(); },
    };
    const int kinds = static_cast<int>(std::size(calls));
    // Every caller makes all calls, each from another one on, and now and then lets the runner catch up.
    const auto startCallers = [&](bool pause) {
        std::vector<std::thread> callers;
        for (int offset = 0; offset < 3; ++offset) {
            callers.emplace_back([&, offset, pause] {
                for (int i = 0; i < 240; ++i) {
                    calls[(i + offset) % kinds]((i + offset) / kinds);
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
