// What the radios make of the switch: lost, back, restarting themselves; and how the system tells it.
#include "common_event_data.h"
#include "switch/broadcast_receiver.h"
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchRadios : public SwitchScene, public testing::WithParamInterface<Row> {};

TEST_P(SwitchRadios, LeaveWhatTheTableSays)
{
    Check(GetParam());
}

// clang-format off

// A change of a radio is answered by the first of seven rules that fits.
const Row CHANGES[] = {
    {"1 one radio of two is up", "boot 1,3,1; wifi off; bluetooth off", "wifi on",
        "2,0,1 | 2,0,1 | 2,0,1 | 1,3 | - | 0 | 0", "no need to handle, wifi or ble is not available"},
    {"1 also while a request waits", "boot 2,0,0; wifi off; fail wifi.arrive; on 2", "news good",
        "2,0,0 enabling 2 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1", "no need to handle, wifi or ble"},
    {"2 on, and Wi-Fi is lost", "boot 1,3,1", "wifi off", "2,0,1 | 2,0,1 | 2,0,1 | 1,3 | hide | 1 | 0"},
    {"2 on, and BLE is lost", "boot 1,2,1; on 1", "bluetooth off", "2,0,1 | 2,0,1 | 2,0,1 | 1,1 | hide | 1 | 0"},
    {"3 off is not written yet", "boot 1,2,0; event semi 0; wifi off; wait heal-501", "wait 1",
        "2,0,0 | 2,0,0 | 2,0,0 | 1,2 | - | 0 | 0", "sync settings invoked"},
    {"3 before a request that waits", "boot 1,2,0; event semi 0; wifi off; on 3; wait heal-501", "wait 1",
        "2,0,0 enabling 3 | 2,0,0 | 2,0,0 | 1,2 | - | 0 | 1", "sync settings invoked"},
    {"4 a request waits and the radios are there", "boot 2,0,0; wifi off; fail wifi.arrive; on 2; mend", "wifi on",
        "1,2,0 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0", "EnablingData, enableState: 1, detectableType: 2"},
    {"4 a request waits and a radio dropped", "boot 2,0,0; wifi off; fail wifi.arrive; on 2", "news bad",
        "2,0,0 enabling 2 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2", "EnablingData|EnableWifi invoked"},
    {"4 before a return", "boot 1,2,0; wifi off; fail wifi.arrive; on 3; mend", "wifi on",
        "1,3,0 | 1,3,0 | 1,3,0 | 1,2 | show 3, permit 0 | 1 | 0", "!Recover switch to"},
    {"5 on, and the radios are there", "boot 1,2,0", "news good; news bad", "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 0"},
    {"6 off, once on, and Wi-Fi is back", "boot 1,3,1; wifi off", "wifi on",
        "1,3,1 | 1,3,1 | 1,3,1 | 1,3 | show 3, permit 1 | 1 | 0", "Recover switch to enableState: 1, detectableType"},
    {"6 BLE alone is enough", "boot 1,2,0; bluetooth off", "bluetooth ble",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
    {"6 known: first use, once on by the user before", "set ota - 101; boot 1,3,0; user 101", "news good",
        "1,3,0 user 101 | 1,3,0 | 1,3,0 | none | show 3, permit 0 | 1 | 0", "Recover switch to|~not exist"},
    {"7 off, once on, the other radio goes too", "boot 1,2,1; wifi off", "bluetooth off",
        "2,0,1 | 2,0,1 | 2,0,1 | 1,2 | - | 0 | 0"},
    {"7 off by choice, and the radios are back", "boot 1,2,0; off; wifi off", "wifi on",
        "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | - | 0 | 0"},

    // Meant: from off the same off only persists again, so the way back stays open; with a type it is a new off.
    {"off chosen while a radio is away does not close the way back", "boot 1,2,0; wifi off; off", "wifi on",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
    {"off with a type does", "boot 1,2,0; wifi off; ask 2 1", "wifi on", "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | - | 0 | 0"},
    {"an ability that goes is a lost radio", "boot 1,2,0", "gone 1120", "2,0,0 | 2,0,0 | 2,0,0 | 1,2 | hide | 1 | 0",
        "wifi or bluetooth sa removed|~wifiDevice is nullptr"},
    {"an ability that comes back brings it", "boot 1,2,0; gone 1120", "back 1120",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0", "~wifiDevice is nullptr"},
    {"missing at the load: not started", "wifi off", "boot 1,2,0",
        "2,0,0 | 1,2,0 | 0,0,0 / -,-,0 | 1,2 | - | 0 | 0", "need wifi and bluetooth to recover state"},
    {"missing at the load: waited for", "wifi off; boot 1,2,0", "wifi on",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
};

// Radios that restart themselves: file and settings keep what was, unless it takes too long.
const Row HEALINGS[] = {
    {"Wi-Fi: down as it said", "boot 1,2,0", "event semi 0; wifi off",
        "2,0,0 wifi heals unsaved | 1,2,0 | 1,2,0 | 1,2 | hide | 1 | 1"},
    {"Wi-Fi: back in time", "boot 1,2,0; event semi 0; wifi off", "wifi semi",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
    {"Wi-Fi: a tick before the deadline", "boot 1,2,0; event semi 0; wifi off", "wait heal-501",
        "2,0,0 wifi heals unsaved | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 1"},
    {"Wi-Fi: lost at the deadline", "boot 1,2,0; event semi 0; wifi off", "wait heal-500",
        "2,0,0 | 2,0,0 | 2,0,0 | 1,2 | - | 0 | 0"},
    {"Wi-Fi: back after the deadline", "boot 1,2,0; event semi 0; wifi off; wait heal", "wifi semi",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
    {"Wi-Fi: another begin starts anew", "boot 1,2,0; event semi 0; wait heal-1; event semi 0", "wait heal-1",
        "1,2,0 wifi heals | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 1"},
    {"Wi-Fi: on its way up", "boot 1,2,0; event semi 0; wifi off", "event wifi 2",
        "2,0,0 unsaved | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 0"},
    {"Wi-Fi: not started by a request", "boot 2,0,0; event semi 0; wifi off", "on 2",
        "2,0,0 enabling 2 wifi heals | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2", "!EnableWifi invoked"},
    {"Wi-Fi: a request gets it all the same", "boot 2,0,0; event semi 0; wifi off; on 2", "wifi on",
        "1,2,0 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0"},
    {"Bluetooth: down as it said", "boot 1,2,0", "event restrict 0; bluetooth off",
        "2,0,0 bluetooth heals unsaved | 1,2,0 | 1,2,0 | 1,2 | hide | 1 | 1"},
    {"Bluetooth: back in time", "boot 1,2,0; event restrict 0; bluetooth off", "bluetooth ble",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
    {"Bluetooth: a tick before the deadline", "boot 1,2,0; event restrict 0; bluetooth off", "wait heal-501",
        "2,0,0 bluetooth heals unsaved | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 1"},
    {"Bluetooth: lost at the deadline", "boot 1,2,0; event restrict 0; bluetooth off", "wait heal-500",
        "2,0,0 | 2,0,0 | 2,0,0 | 1,2 | - | 0 | 0"},
    {"Bluetooth: another begin starts anew", "boot 1,2,0; event restrict 0; wait heal-1; event restrict 0",
        "wait heal-1", "1,2,0 bluetooth heals | 1,2,0 | 1,2,0 | 1,2 | - | 0 | 1"},
    {"Bluetooth: not started by a request", "boot 2,0,0; event restrict 0; bluetooth off", "on 2",
        "2,0,0 enabling 2 bluetooth heals | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2", "!EnableBle invoked"},
    {"both: one back is not enough to write", "boot 1,2,0; event semi 0; event restrict 0; event bluetooth 1", "off",
        "2,0,0 wifi heals unsaved | 1,2,0 | 1,2,0 | 2,0 | hide | 1 | 1"},
    {"both back: the next change is written", "boot 1,2,0; event semi 0; event restrict 0; event bluetooth 1; off; "
        "event wifi 2", "off", "2,0,0 | 2,0,0 | 2,0,0 | 2,0 | - | 0 | 0"},
    {"on with another type: permission and pair are written all the same",
        "boot 1,2,0; event restrict 0; permit 1; ask 2 0", "on 3",
        "1,3,1 bluetooth heals | 1,2,1 | 1,2,1 | 2,0 | show 3, permit 1 | 1 | 1"},
};

// A restricted Bluetooth that was refused gets one more try if its ability goes in time.
const Row RETRIES[] = {
    {"a tick before the deadline", "boot 2,0,0; retry; wait removal-1", "gone 1130; back 1130",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "EnableBluetoothToRestrictMode(), ret:"},
    {"at the deadline", "boot 2,0,0; retry; wait removal", "gone 1130; back 1130",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "!EnableBluetoothToRestrictMode invoked"},
    {"once only", "boot 2,0,0; retry; gone 1130; back 1130", "gone 1130; back 1130",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "!EnableBluetoothToRestrictMode invoked"},
    {"not for Wi-Fi", "boot 2,0,0; retry", "gone 1120",
        "2,0,0 retry | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1", "~wifiDevice is nullptr"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Change, SwitchRadios, testing::ValuesIn(CHANGES), RowName());
INSTANTIATE_TEST_SUITE_P(Healing, SwitchRadios, testing::ValuesIn(HEALINGS), RowName());
INSTANTIATE_TEST_SUITE_P(Retry, SwitchRadios, testing::ValuesIn(RETRIES), RowName());

class SwitchEvents : public SwitchScene {};

// What the codes of the radios mean, as the messages that they become; the device model sends only some of them.
TEST_F(SwitchEvents, BecomeMessages)
{
    struct Told {
        const char* event;
        const char* messages;
    };
    const Told rows[] = {
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
    for (const char* text : {"switchToUserId 101 not verified", "not equal to switchToUserId 101"}) {
        AllowError(text);
    }
    for (const Told& row : rows) {
        Forget();
        Play(row.event);
        EXPECT_EQ(Messages(), row.messages) << row.event;
        // Each switch of users ends the share connection, also one that the switch drops.
        EXPECT_EQ(Said("already disConnection_"), std::string(row.event).find("switched") != std::string::npos);
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

} // namespace
} // namespace OHOS::Pelago
