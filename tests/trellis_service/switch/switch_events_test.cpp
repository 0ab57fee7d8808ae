// How the system speaks to the switch, what reaches its runner, and what is left of it at its end.
#include <future>

#include "common_event_data.h"
#include "share_log.h"
#include "switch/broadcast_receiver.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchEvents : public SwitchScene {};

// What the codes of the radios mean, as the messages that they become; the device model sends only some of them.
TEST_F(SwitchEvents, BecomeMessages)
{
    const std::pair<std::string, const char*> rows[] = {
        {"event bluetooth 0", ""}, {"event bluetooth 1", "9 3"}, {"event bluetooth 2", ""},
        {"event bluetooth 3", "9 3"}, // classic Bluetooth is off, but BLE is there
        {"event wifi 0", ""}, {"event wifi 1", "3"}, {"event wifi 2", "7"}, {"event wifi 3", "3"}, {"event wifi 4", ""},
        {"event semi 0", "6"}, {"event semi 1", ""}, {"event semi 4", ""}, {"event semi 5", "7 3"},
        {"event semi 0 - 1000", ""}, // says somebody
        {"event restrict 0", "8"}, {"event restrict 1", ""}, {"event cleared 0 com.corvane.velos", ""},
        {"event cleared 0 com.corvane.velos.pelago", "0"}, {"event ready", "14"}, {"event switched 100", "15"},
        {"event switched 101", ""},                           // is locked
        {"event unlocked 101", "16"}, {"bluetooth off", "3"}, // code 3, and BLE is gone
    };
    Play("boot 2,0,0; lock 101");
    AllowError("switchToUserId 101 not verified", "not equal to switchToUserId 101");
    for (const auto& [event, messages] : rows) {
        Forget();
        Play(event);
        EXPECT_EQ(Messages(), messages) << event;
        // Each switch of users ends the share connection, also one that the switch drops.
        EXPECT_EQ(Said("already disConnection_"), event.find("switched") != std::string::npos);
    }
}

TEST_F(SwitchEvents, WithoutAKnownActionAreDropped)
{
    Play("boot 2,0,0");
    BroadcastReceiver receiver{EventFwk::CommonEventSubscribeInfo(EventFwk::MatchingSkills())};
    receiver.OnReceiveEvent({});
    EXPECT_TRUE(Said("action is empty"));
    receiver.OnReceiveEvent(EventFwk::CommonEventData(AAFwk::Want().SetAction("usual.event.NOBODYS")));
    EXPECT_TRUE(Said("OnReceiveEvent failed, code not exist."));
}

TEST_F(SwitchEvents, AreSubscribedToAgainAfterAFailure)
{
    AllowError("systemAbilityId=3299");
    Play("gone 3299; boot 2,0,0");
    EXPECT_FALSE(State().hasSubscribeCommonEvent);
    Play("back 3299");
    EXPECT_TRUE(State().hasSubscribeCommonEvent);
    EXPECT_TRUE(Switch()->SubscribeCommonEvent());
    EXPECT_TRUE(Said("no need to repeat SubscribeCommonEvent."));
}

class SwitchMessages : public SwitchScene {};

TEST_F(SwitchMessages, WithoutARunnerAreRefusedAndHarmless)
{
    const auto fresh = Switch(); // never initialised
    EXPECT_FALSE(fresh->SetShareEnableWithConfirm(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false, false, false));
    EXPECT_TRUE(Said("fail to SendEvent MSG_ENABLE_SHARE_SWITCH_EVENT"));
    fresh->HandleOnWifiSelfHealingEnd(true);
    EXPECT_TRUE(Said("fail to SendEvent HandleOnWifiSelfHealingEnd"));
    fresh->HandleOnBluetoothSaRemoved();
    fresh->Release();
    EXPECT_EQ(fresh->GetEnableState(), STATE_SHARE_FIRST_USE);
}

TEST_F(SwitchMessages, ThatNobodyKnowsAreDropped)
{
    Play("boot 2,0,0");
    ASSERT_TRUE(Switch()->SendEvent(ShareSwitchManager::MSG_USER_UNLOCKED_EVENT + 1));
    ASSERT_TRUE(Switch()->SendEvent(ShareSwitchManager::MSG_ENABLE_SHARE_SWITCH_EVENT)); // without a request
    Settle();
    EXPECT_TRUE(Said("can not find event func."));
    EXPECT_TRUE(Said("eventData is nullptr"));
}

TEST_F(SwitchMessages, OfALoadDoNotOverruleAClientThatWithdrawsItsConsentMeanwhile)
{
    static std::future<bool> client; // of this process, as the listener is
    Host::SetLogListener([] {
        if (Host::ReadLog(Host::LastLogSeq() - 1).front().text.find("Get state from file") != std::string::npos) {
            Host::SetLogListener(nullptr);
            client = std::async(std::launch::async, [] { return Switch()->SetShareAccountPermission(0, false); });
            (void)client.wait_for(std::chrono::milliseconds(50)); // it may have to wait for the load
        }
    });
    Play("boot 1,2,1");
    EXPECT_TRUE(client.get());
    Settle();
    EXPECT_EQ(Seen().substr(0, 13), "1,2,0 | = | =");
}

#ifdef PELAGO_CHECKS
TEST_F(SwitchMessages, AreHandledOnTheRunnerAlone)
{
    Play("boot 2,0,0");
    const auto event = AppExecFwk::InnerEvent::Get(ShareSwitchManager::MSG_WIFI_SELF_HEAL_BEGIN);
    EXPECT_DEATH(Switch()->ProcessEvent(event), "WifiSelfHealBeginEvent: not on the runner");
}
#endif

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
    EXPECT_EQ(Seen(), "1,1,1 swing 1 wifi heals retry | = | = air 1 | 1,2 | "
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
    AllowError("timeServiceHelper_ is nullptr", "fail to SendEvent");
    Play("boot 1,1,1");
    EXPECT_TRUE(released);
    StopAndExpectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(At, SwitchEnd,
    testing::Values("SwitchUserToOther invoked", "RegisterOobeDataChangeListener invoked", "CheckIfOobeReady invoked.",
        "InitSwingState invoked", "share_air_helper.cpp", "Get state from file", "Enable() enter",
        "StartSwitchDetectableTypeScheduledTask, "));

} // namespace
} // namespace OHOS::Pelago
