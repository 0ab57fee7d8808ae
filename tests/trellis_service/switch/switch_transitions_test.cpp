// What a request, a deadline and the air gesture make of the switch.
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchTransitions : public SwitchScene, public testing::WithParamInterface<Row> {};

TEST_P(SwitchTransitions, LeaveWhatTheTableSays)
{
    Check(GetParam());
}

// clang-format off
const Row REQUESTS[] = {
    {"off again: persisted, nobody told", "boot 2,0,0", "ask 2 0", "2,0,0 | 2,0,0 | 2,0,0 | 0,0 | - | 0 | 0"},
    {"on again: neither engine nor timer", "boot 1,2,0", "ask 1 2", "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 0"},

    {"first use, reset with a type: off path", "boot 0,0,0", "ask 0 1",
        "0,0,0 | 0,0,0 | 0,0,0 | 0,0 | hide | 1 | 0"},
    {"first use, on: asks", "boot 0,0,0", "ask 1 2 first",
        "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "StartFirstUseDialog exit"},
    {"first use, off: asks", "boot 0,0,0", "ask 2 0 first",
        "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "StartFirstUseDialog exit"},
    {"first use, off: first use ends", "boot 0,0,0", "ask 2 0", "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | hide | 1 | 0"},
    {"first use, on", "boot 0,0,0", "ask 1 2", "1,2,0 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0"},
    {"first use, on, no Wi-Fi: settings have the type, the file does not", "boot 0,0,0; wifi off", "ask 1 2 confirm",
        "2,0,0 | 2,0,0 | 2,2,0 | 0,0 | - | 0 | 0", "StartEnableConfirmDialog exit"},
    {"first use, on, no Wi-Fi, unasked", "boot 0,0,0; wifi off; fail wifi.EnableWifi", "ask 1 2",
        "2,0,0 enabling 2 | 2,0,0 | 2,2,0 | 0,0 | - | 0 | 1", "EnableWifi invoked|fail to EnableWifi(), error code"},

    {"on, another type", "boot 1,2,0", "ask 1 3", "1,3,0 | 1,3,0 | 1,3,0 | 1,2 | show 3, permit 0 | 1 | 0"},
    {"on, another type: the radios are not looked at", "boot 1,2,0; fail wifi.GetWifiDetailState", "ask 1 3 confirm",
        "1,3,0 | 1,3,0 | 1,3,0 | 1,2 | show 3, permit 0 | 1 | 0"},
    {"on, the timed type: arms the timer", "boot 1,2,0", "ask 1 1",
        "1,1,0 | 1,1,0 | 1,1,0 | 1,2 | show 1, permit 0 | 1 | 1"},
    {"on, off", "boot 1,2,0", "ask 2 0", "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | hide | 1 | 0"},
    {"on, reset", "boot 1,2,0", "ask 0 0", "0,0,0 | 0,0,0 | 0,0,0 | 0,0 | hide | 1 | 0"},

    {"off, off with a type: it is dropped", "boot 2,0,0", "ask 2 3", "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | hide | 1 | 0"},
    {"off, on: first use is not asked about", "boot 2,0,1", "ask 1 2 first",
        "1,2,1 | 1,2,1 | 1,2,1 | 0,0 | show 2, permit 1 | 1 | 0"},
    {"off, on, no Wi-Fi: asks", "boot 2,0,0; wifi off", "ask 1 2 confirm",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "StartEnableConfirmDialog exit"},
    {"off, on, no BLE, unasked", "boot 2,0,0; bluetooth off; fail bluetooth.EnableBle", "ask 1 2",
        "2,0,0 enabling 2 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1",
        "EnableBle invoked|fail to EnableBle(), error code|!EnableWifi invoked"},
    {"off, reset", "boot 2,0,0", "ask 0 0", "0,0,0 | 0,0,0 | 0,0,0 | 0,0 | hide | 1 | 0"},

    {"a stray state is an off that is kept as it came", "boot 1,2,0", "ask 7 5",
        "7,0,0 | 7,0,0 | 7,0,0 | 7,0 | hide | 1 | 0"},
    {"on but undetectable", "boot 2,0,0", "ask 1 0", "1,0,0 | 1,0,0 | 1,0,0 | 0,0 | hide, permit 0 | 1 | 0"},

    {"refused to publish: off stays off", "boot 2,0,0; refuse Publish", "on 2",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | Publish | 0 | 0", "SetDetectableState fail|Publish false"},
    {"refused to receive: off stays off, though published", "boot 2,0,0; refuse RegisterReceiveListener", "on 2",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | Publish, RegisterReceiveListener | 0 | 0",
        "SetDetectableState fail|RegisterReceiveListener false"},
    {"refused at all: on stays, but for the gesture", "set air 1; boot 1,2,0; refuse ConnectWithRetry", "on 3",
        "1,2,0 swing 2 | 1,2,0 | 1,2,0 air 2 | 1,2 | - | 0 | 0", "SetDetectableState fail|connect ShareClient failed."},
    {"refused to hide: off all the same", "boot 1,2,0; refuse UnPublish", "off",
        "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | UnPublish | 1 | 0", "SetDetectableState fail|unPublish false"},
    {"files that cannot be written", "boot 2,0,0; no-folder 100", "on 2; off", "2,0,0 | none | 2,0,0 | none | "
        "show 2, permit 0, hide | 2 | 0", "open file failed, userId: 100|open file failed, localUserId: 100|"
        "switch.cfg not exist"},
    {"settings that cannot be written", "boot 2,0,0; fail datashare.Create", "on 2",
        "1,2,0 | 1,2,0 | 0,0,0 / -,-,0 | 0,0 | show 2, permit 0 | 1 | 0",
        "helper is nullptr, uri=datashare:///com.ohos.settingsdata|ret: -1, retSecurity: -1, needPutSecurity: 1"},
};

const Row DEADLINES[] = {
    {"timed, a tick before", "boot 2,0,0; on 1", "wait timed-1", "1,1,0 | 1,1,0 | 1,1,0 | 0,0 | - | 0 | 1"},
    {"timed becomes lasting", "boot 2,0,0; on 1", "wait timed",
        "1,2,0 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0"},
    {"timed becomes lasting once for a device that slept", "boot 2,0,0; on 1", "sleep 1800000",
        "1,2,0 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0"},
    {"another type ends it", "boot 2,0,0; on 1", "on 3", "1,3,0 | 1,3,0 | 1,3,0 | 0,0 | show 3, permit 0 | 1 | 0"},
    {"timed once more starts anew, timed again does not", "boot 2,0,0; on 1; wait 9000; on 3; on 1; wait timed-1; on 1",
        "wait 1", "1,2,0 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0"},
    {"an off ends it", "boot 2,0,0; on 1", "off; wait timed", "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | hide | 1 | 0"},
    {"a timer that cannot be made", "boot 2,0,0; fail time_service.create_timer", "on 1; wait timed",
        "1,1,0 | 1,1,0 | 1,1,0 | 0,0 | show 1, permit 0 | 1 | 0", "StartSwitchDetectableTypeScheduledTask failed."},

    {"enabling, a tick before", "boot 2,0,0; wifi off; fail wifi.arrive; on 2", "wait enable-1",
        "2,0,0 enabling 2 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1"},
    {"enabling gives up and tells nobody", "boot 2,0,0; wifi off; fail wifi.arrive; on 2", "wait enable",
        "2,0,0 | 2,0,0 | 2,0,0 | 0,0 | - | 0 | 0", "timeout check: fail to enable Wifi and Bluetooth"},
    {"enabling gives up: the gesture is held back", "boot 2,0,0; wifi off; fail wifi.arrive; on 2; set air 1",
        "wait enable", "2,0,0 swing 2 | 2,0,0 | 2,0,0 air 2 | 0,0 | - | 0 | 0", "timeout check: fail"},
    {"enabling, another request", "boot 2,0,0; wifi off; fail wifi.arrive; on 2; wait 5000", "on 3",
        "2,0,0 enabling 3 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2"},
    {"enabling is not prolonged by another request", "boot 2,0,0; wifi off; fail wifi.arrive; on 2; wait 5000; on 3",
        "wait 5000", "2,0,0 | 2,0,0 | 2,0,0 | 0,0 | - | 0 | 0", "timeout check: fail"},
    {"enabling outlives a reset, which its deadline turns into off",
        "boot 2,0,0; wifi off; fail wifi.arrive; on 2; ask 0 0", "wait enable",
        "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | hide | 1 | 0", "timeout check: fail"},
};

const Row GESTURES[] = {
    {"off: on with the gesture's type", "boot 2,0,0", "set air 1",
        "1,3,0 swing 1 | 1,3,0 | 1,3,0 air 1 / - | 0,0 | show 3, permit 0 | 1 | 0"},
    {"off, once lasting: on with that type", "recover 100 2,2; boot 2,0,0", "set air 1",
        "1,2,0 swing 1 | 1,2,0 | 1,2,0 air 1 / - | 2,2 | show 2, permit 0 | 1 | 0"},
    {"first use: on, and grants the permission", "boot 0,0,0", "set air 1",
        "1,3,1 swing 1 | 1,3,1 | 1,3,1 air 1 / - | 0,0 | show 3, permit 1 | 1 | 0"},
    {"on: stays as it is", "boot 1,2,0", "set air 1", "1,2,0 swing 1 | 1,2,0 | 1,2,0 air 1 / - | 1,2 | - | 0 | 0",
        "IsEnabled or IsEnabling, no need to handle"},
    {"enabling: stays as it is", "boot 2,0,0; wifi off; fail wifi.arrive; on 2", "set air 1",
        "2,0,0 enabling 2 swing 1 | 2,0,0 | 0,0,0 / -,-,0 air 1 / - | 0,0 | - | 0 | 1"},
    {"turned off: sharing stays as it is", "boot 1,2,0; set air 1", "set air 0",
        "1,2,0 | 1,2,0 | 1,2,0 air 0 / - | 1,2 | - | 0 | 0"},
    {"turned off: never touched", "boot 2,0,0; set air 0", "on 2; off",
        "2,0,0 | 2,0,0 | 2,0,0 air 0 / - | 2,0 | show 2, permit 0, hide | 2 | 0"},
    {"held back at the load", "set air 1", "boot 2,0,0",
        "2,0,0 swing 2 | 2,0,0 | 0,0,0 / -,-,0 air 2 | 0,0 | - | 0 | 0"},
    {"held back: comes back with sharing", "set air 1; boot 2,0,0", "on 2",
        "1,2,0 swing 1 | 1,2,0 | 1,2,0 air 1 | 0,0 | show 2, permit 0 | 1 | 0"},
    {"in force: goes with sharing", "set air 1; boot 1,2,0", "off",
        "2,0,0 swing 2 | 2,0,0 | 2,0,0 air 2 | 2,0 | hide | 1 | 0"},
    {"in force: goes with a radio", "set air 1; boot 1,2,0", "wifi off",
        "2,0,0 swing 2 | 2,0,0 | 2,0,0 air 2 | 1,2 | hide | 1 | 0"},
    {"the switch's own word for held back", "boot 2,0,0", "set air 2",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 air 2 / - | 0,0 | - | 0 | 0", "OnChange"},
    {"an unknown word", "boot 2,0,0", "set air 3", "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 air 3 / - | 0,0 | - | 0 | 0",
        "airState error"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Request, SwitchTransitions, testing::ValuesIn(REQUESTS), RowName());
INSTANTIATE_TEST_SUITE_P(Deadline, SwitchTransitions, testing::ValuesIn(DEADLINES), RowName());
INSTANTIATE_TEST_SUITE_P(Gesture, SwitchTransitions, testing::ValuesIn(GESTURES), RowName());

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

#ifdef PELAGO_CHECKS
TEST_F(SwitchMessages, AreHandledOnTheRunnerAlone)
{
    Play("boot 2,0,0");
    const auto event = AppExecFwk::InnerEvent::Get(ShareSwitchManager::MSG_WIFI_SELF_HEAL_BEGIN);
    EXPECT_DEATH(Switch()->ProcessEvent(event), "WifiSelfHealBeginEvent: not on the runner");
}
#endif

} // namespace
} // namespace OHOS::Pelago
