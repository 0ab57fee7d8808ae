// What becomes of the switch: what it finds at its load, requests, deadlines, the air gesture, radios and users. Each
// story goes on with the device that the step before has left.
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchStory : public SwitchScene, public testing::WithParamInterface<Story> {};

TEST_P(SwitchStory, GoesAsItsStepsSay)
{
    Tell(GetParam());
}

// clang-format off
const Story FOUND[] = {
    {"on", {{"legacy 2,0,0; boot 1,2,1", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 0 | 0", "!remove old"}}},
    {"off, on before the radios went", {
        {"recover 100 1,3; boot 2,0,1", "1,3,1 | = | = | 1,3 | show 3, permit 1 | 0 | 0"}}},
    {"a type without an on is repaired in the settings alone", {
        {"boot 2,1,0", "2,0,0 | 2,1,0 | 0,0,0 / -,0,0 | 0,0 | quiet", "recover saveType from 1 to 0."}}},
    {"a short file reads as zeros behind its end", {{"boot 1,2", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 0 | 0"}}},
    {"an empty file, of a writer that was killed, reads as first use", {
        {"write 100 ,; boot", "0,0,0 | = | = / -,-,0 | 0,0 | quiet"}}},
    {"and returns with the pair, if that says on", {
        {"write 100 ,; recover 100 1,2; boot", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 0 | 0"}}},
    {"an empty pair is none", {{"recover 100 ,; boot 2,0,0", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | quiet"}}},
    {"a stray state reads as off", {{"boot 7,0,0", "2,0,0 | 7,0,0 | 0,0,0 / -,-,0 | 0,0 | quiet"}}},
    {"a stray permission reads as none", {
        {"boot 1,2,9", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 0 | 0", "SetShareAccountPermission paramter error."}}},
    {"an older file moves in", {
        {"legacy 2,0,1; boot", "2,0,1 | = | 0,0,1 / -,-,1 | 0,0 | quiet", "remove old switch file, removeRet: 0"}}},
    {"no file at all becomes one of zeros, a first use from then on", {
        {"boot", "0,0,0 | = | = / -,-,- | none | quiet",
            "remove old switch file, removeRet: -1|GetShareStateInfoFromFile failed|IsValidPath failed enter.|"
            "~file path is not real path!"},
        {"agree 100", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 1 | 0"}}},
    {"an older pair moves in", {
        {"set old-state 1; set old-type 3; boot 2,0,0", "1,3,0 | = | = | 1,3 | show 3, permit 0 | 0 | 0"}}},
    {"an older pair yields to the file", {
        {"set old-state 1; set old-type 3; recover 100 2,0; boot 2,0,0", "2,0,0 | = | 0,0,0 / -,-,0 | 2,0 | quiet"}}},
    {"an older pair that is no number", {
        {"set old-state on; set old-type 3; boot 2,0,0", "2,0,0 | = | 0,0,0 / -,-,0 | 0,3 | quiet"}}},
    {"an older pair is the primary user's alone", {
        {"set old-state 1; set old-type 3; write 101 2,0,0; boot 2,0,0; off"},
        {"user 101", "2,0,0 user 101 | = | 0,0,0 / -,-,0 | 0,0 | hide | 1 | 0"}}},
};

const Story REQUESTS[] = {
    {"every request", {{"boot 2,0,0"},
        {"ask 2 0", "2,0,0 | = | = | 0,0 | quiet"}, // persisted, nobody told
        {"ask 2 3", "2,0,0 | = | = | 2,0 | hide | 1 | 0"}, // a type that is dropped
        {"ask 1 2 first", "1,2,0 | = | = | 2,0 | show 2, permit 0 | 1 | 0", "!Dialog"}, // not the first use
        {"ask 1 2", "1,2,0 | = | = | 2,0 | quiet"}, // neither engine nor timer
        {"ask 1 3", "1,3,0 | = | = | 2,0 | show 3, permit 0 | 1 | 0"},
        {"ask 1 1", "1,1,0 | = | = | 2,0 | show 1, permit 0 | 1 | 1"}, // arms the timer
        {"ask 2 0", "2,0,0 | = | = | 2,0 | hide | 1 | 0"},
        {"ask 1 0", "1,0,0 | = | = | 2,0 | hide, permit 0 | 1 | 0"},
        {"ask 0 0", "0,0,0 | = | = | 0,0 | hide | 1 | 0"},
        {"ask 0 1", "0,0,0 | = | = | 0,0 | hide | 1 | 0"}, // a type: the off path
        {"ask 1 2 first", "0,0,0 | = | = | 0,0 | quiet", "StartFirstUseDialog exit"},
        {"ask 2 0 first", "0,0,0 | = | = | 0,0 | quiet", "StartFirstUseDialog exit"},
        {"ask 2 0", "2,0,0 | = | = | 2,0 | hide | 1 | 0"},
        {"ask 0 0", "0,0,0 | = | = | 0,0 | hide | 1 | 0"},
        {"ask 1 2", "1,2,0 | = | = | 0,0 | show 2, permit 0 | 1 | 0"},
        {"ask 7 5", "7,0,0 | = | = | 7,0 | hide | 1 | 0"}}}, // a stray state is an off that is kept as it came
    {"first use, on, no Wi-Fi: settings have the type, the file does not", {{"boot 0,0,0; wifi off"},
        {"ask 1 2 confirm", "2,0,0 | = | 2,2,0 | 0,0 | quiet", "StartEnableConfirmDialog exit"}}},
    {"first use, on, no Wi-Fi, unasked", {{"boot 0,0,0; wifi off; fail wifi.EnableWifi"},
        {"ask 1 2", "2,0,0 enabling 2 | = | 2,2,0 | 0,0 | - | 0 | 1",
            "EnableWifi invoked|fail to EnableWifi(), error code"}}},
    {"on, another type: the radios are not looked at", {{"boot 1,2,0; fail wifi.GetWifiDetailState"},
        {"ask 1 3 confirm", "1,3,0 | = | = | 1,2 | show 3, permit 0 | 1 | 0"}}},
    {"off, on, no BLE, unasked", {{"boot 2,0,0; bluetooth off; fail bluetooth.EnableBle"},
        {"ask 1 2", "2,0,0 enabling 2 | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1",
            "EnableBle invoked|fail to EnableBle(), error code|!EnableWifi invoked"}}},
    {"refused by the engine: off stays off, on stays but for the gesture", {{"boot 2,0,0"},
        {"refuse Publish; on 2", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | Publish | 0 | 0",
            "SetDetectableState fail|Publish false"},
        {"refuse RegisterReceiveListener; on 2",
            "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | Publish, RegisterReceiveListener | 0 | 0",
            "SetDetectableState fail|RegisterReceiveListener false"},
        {"set air 1", "1,3,0 swing 1 | = | = air 1 / - | 0,0 | show 3, permit 0 | 1 | 0"},
        {"refuse ConnectWithRetry; on 2", "1,3,0 swing 2 | = | = air 2 | 0,0 | quiet",
            "SetDetectableState fail|connect ShareClient failed."}}},
    {"refused to hide: off all the same", {{"boot 1,2,0"},
        {"refuse UnPublish; off", "2,0,0 | = | = | 2,0 | UnPublish | 1 | 0", "SetDetectableState fail|unPublish false"},
        {"on 2; refuse UnRegisterReceiveListener; off",
            "2,0,0 | = | = | 2,0 | show 2, permit 0, UnPublish, UnRegisterReceiveListener | 2 | 0",
            "UnRegisterReceiveListener false"},
        {"on 2; refuse ConnectWithRetry; off", "2,0,0 | = | = | 2,0 | show 2, permit 0 | 2 | 0",
            "connect ShareClient failed."}}},
    {"files that cannot be written", {{"boot 2,0,0; no-folder 100"},
        {"on 2; off", "2,0,0 | none | = | none | show 2, permit 0, hide | 2 | 0",
            "open file failed, userId: 100|open file failed, localUserId: 100|switch.cfg not exist"}}},
    {"settings that cannot be written", {{"boot 2,0,0; fail datashare.Create"},
        {"on 2", "1,2,0 | = | 0,0,0 / -,-,0 | 0,0 | show 2, permit 0 | 1 | 0",
            "helper is nullptr, uri=datashare:///com.ohos.settingsdata|ret: -1, retSecurity: -1, needPutSecurity: 1"}}},
    {"permissions", {{"boot 1,2,0"},
        {"permit 1", "1,2,1 | = | = | 1,2 | permit 1 | 0 | 0"},
        {"permit 0", "1,2,0 | = | = | 1,2 | permit 0 | 0 | 0"},
        {"permit 2", "1,2,0 | = | = | 1,2 | quiet", "SetShareAccountPermission paramter error."},
        {"permit -1", "1,2,0 | = | = | 1,2 | quiet", "SetShareAccountPermission paramter error."},
        {"refuse SetAccountPermission; permit 1", "1,2,1 | = | = | 1,2 | permit 1 | 0 | 0",
            "SetAccountPermission failed."},
        {"off; permit 0; permit 1", "2,0,1 | = | = | 2,0 | hide | 1 | 0"},
        {"on 2", "1,2,1 | = | = | 2,0 | show 2, permit 1 | 1 | 0"}}}, // the engine hears with the next on
};

const Story DEADLINES[] = {
    {"timed becomes lasting", {{"boot 2,0,0; on 1"},
        {"wait timed-1", "1,1,0 | = | = | 0,0 | - | 0 | 1"},
        {"wait 1", "1,2,0 | = | = | 0,0 | show 2, permit 0 | 1 | 0"}}},
    {"timed becomes lasting once for a device that slept", {{"boot 2,0,0; on 1"},
        {"sleep 1800000", "1,2,0 | = | = | 0,0 | show 2, permit 0 | 1 | 0"}}},
    {"another type ends it, timed once more starts anew, timed again does not", {{"boot 2,0,0; on 1; wait 9000"},
        {"on 3", "1,3,0 | = | = | 0,0 | show 3, permit 0 | 1 | 0"},
        {"on 1; wait timed-1; on 1", "1,1,0 | = | = | 0,0 | show 1, permit 0 | 1 | 1"},
        {"wait 1", "1,2,0 | = | = | 0,0 | show 2, permit 0 | 1 | 0"}}},
    {"a timer that cannot be made", {{"boot 2,0,0; fail time_service.create_timer"},
        {"on 1; wait timed", "1,1,0 | = | = | 0,0 | show 1, permit 0 | 1 | 0",
            "StartSwitchDetectableTypeScheduledTask failed."}}},
    {"enabling gives up, tells nobody, and holds the gesture back", {
        {"boot 2,0,0; wifi off; fail wifi.arrive; on 2", "2,0,0 enabling 2 | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1"},
        {"set air 1", "2,0,0 enabling 2 swing 1 | = | 0,0,0 / -,-,0 air 1 / - | 0,0 | - | 0 | 1"},
        {"wait enable-1", "2,0,0 enabling 2 swing 1 | = | 0,0,0 / -,-,0 air 1 / - | 0,0 | - | 0 | 1"},
        {"wait 1", "2,0,0 swing 2 | = | = air 2 | 0,0 | quiet", "timeout check: fail to enable Wifi and Bluetooth"}}},
    {"enabling is not prolonged by another request", {{"boot 2,0,0; wifi off; fail wifi.arrive; on 2; wait 5000"},
        {"on 3", "2,0,0 enabling 3 | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2"},
        {"wait 5000", "2,0,0 | = | = | 0,0 | quiet", "timeout check: fail"}}},
    {"enabling outlives a reset, which its deadline turns into off", {
        {"boot 2,0,0; wifi off; fail wifi.arrive; on 2; ask 0 0"},
        {"wait enable", "2,0,0 | = | = | 2,0 | hide | 1 | 0", "timeout check: fail"}}},
};

const Story GESTURES[] = {
    {"on with the gesture's type, and off again: sharing stays", {{"boot 2,0,0"},
        {"set air 1", "1,3,0 swing 1 | = | = air 1 / - | 0,0 | show 3, permit 0 | 1 | 0"},
        {"set air 1; set air 0", "1,3,0 | = | = air 0 / - | 0,0 | quiet"}}},
    {"off, once lasting: on with that type", {{"recover 100 2,2; boot 2,0,0"},
        {"set air 1", "1,2,0 swing 1 | = | = air 1 / - | 2,2 | show 2, permit 0 | 1 | 0"}}},
    {"first use: on, and grants the permission", {{"boot 0,0,0"},
        {"set air 1", "1,3,1 swing 1 | = | = air 1 / - | 0,0 | show 3, permit 1 | 1 | 0"}}},
    {"on: stays as it is", {{"boot 1,2,0"},
        {"set air 1", "1,2,0 swing 1 | = | = air 1 / - | 1,2 | quiet", "IsEnabled or IsEnabling, no need to handle"}}},
    {"turned off: never touched", {{"boot 2,0,0; set air 0"},
        {"on 2; off", "2,0,0 | = | = air 0 / - | 2,0 | show 2, permit 0, hide | 2 | 0"}}},
    {"held back at the load, comes back and goes with sharing, and with a radio", {{"set air 1"},
        {"boot 2,0,0", "2,0,0 swing 2 | = | 0,0,0 / -,-,0 air 2 | 0,0 | quiet"},
        {"on 2", "1,2,0 swing 1 | = | = air 1 | 0,0 | show 2, permit 0 | 1 | 0"},
        {"off", "2,0,0 swing 2 | = | = air 2 | 2,0 | hide | 1 | 0"},
        {"on 2", "1,2,0 swing 1 | = | = air 1 | 2,0 | show 2, permit 0 | 1 | 0"},
        {"wifi off", "2,0,0 swing 2 | = | = air 2 | 1,2 | hide | 1 | 0"}}},
    {"the switch's own word for held back, and an unknown one", {{"boot 2,0,0"},
        {"set air 2", "2,0,0 | = | 0,0,0 / -,-,0 air 2 / - | 0,0 | quiet", "OnChange"},
        {"set air 3", "2,0,0 | = | 0,0,0 / -,-,0 air 3 / - | 0,0 | quiet", "airState error"}}},
};

// A change of a radio is answered by the first of seven rules that fits.
const Story CHANGES[] = {
    {"2, 7, 1 and 6: both go, both are back", {{"boot 1,3,1"},
        {"wifi off", "2,0,1 | = | = | 1,3 | hide | 1 | 0"},
        {"bluetooth off", "2,0,1 | = | = | 1,3 | quiet"},
        {"wifi on", "2,0,1 | = | = | 1,3 | quiet", "no need to handle, wifi or ble is not available"},
        {"bluetooth ble", "1,3,1 | = | = | 1,3 | show 3, permit 1 | 1 | 0",
            "Recover switch to enableState: 1, detectableType: 3"}}}, // BLE alone is enough
    {"2 ends the timer", {{"boot 1,2,1; on 1"},
        {"bluetooth off", "2,0,1 | = | = | 1,1 | hide | 1 | 0"}}},
    {"3 before a request that waits", {{"boot 1,2,0; event semi 0; wifi off; on 3; wait heal-501"},
        {"wait 1", "2,0,0 enabling 3 | = | = | 1,2 | - | 0 | 1", "sync settings invoked"}}},
    {"1 and 4: a request waits", {{"boot 2,0,0; wifi off; fail wifi.arrive; on 2"},
        {"news good", "2,0,0 enabling 2 | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1", "no need to handle, wifi or ble"},
        {"news bad", "2,0,0 enabling 2 | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2", "EnablingData|EnableWifi invoked"},
        {"mend; wifi on", "1,2,0 | = | = | 0,0 | show 2, permit 0 | 1 | 0",
            "EnablingData, enableState: 1, detectableType: 2"}}},
    {"4 before a return", {{"boot 1,2,0; wifi off; fail wifi.arrive; on 3; mend"},
        {"wifi on", "1,3,0 | = | = | 1,2 | show 3, permit 0 | 1 | 0", "!Recover switch to"}}},
    {"5 on, and the radios are there", {{"boot 1,2,0"},
        {"news good; news bad", "1,2,0 | = | = | 1,2 | quiet"}}},
    {"6 known: first use, once on by the user before", {{"set ota - 101; boot 1,3,0; user 101"},
        {"news good", "1,3,0 user 101 | = | = | none | show 3, permit 0 | 1 | 0", "Recover switch to|~not exist"}}},
    {"7 off by choice, and the radios are back", {{"boot 1,2,0; off; wifi off"},
        {"wifi on", "2,0,0 | = | = | 2,0 | quiet"}}},
    // Meant: from off the same off only persists again, so the way back stays open; with a type it is a new off.
    {"off chosen while a radio is away does not close the way back", {{"boot 1,2,0; wifi off; off"},
        {"wifi on", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"}}},
    {"off with a type does", {{"boot 1,2,0; wifi off; ask 2 1"},
        {"wifi on", "2,0,0 | = | = | 2,0 | quiet"}}},
    {"an ability that goes is a lost radio, and brings it back", {{"boot 1,2,0"},
        {"gone 1120", "2,0,0 | = | = | 1,2 | hide | 1 | 0", "wifi or bluetooth sa removed|~wifiDevice is nullptr"},
        {"back 1120", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"}}},
    {"missing at the load: not started, but waited for", {
        {"wifi off; boot 1,2,0", "2,0,0 | 1,2,0 | 0,0,0 / -,-,0 | 1,2 | quiet",
            "need wifi and bluetooth to recover state"},
        {"wifi on", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"}}},
};

// Radios that restart themselves: file and settings keep what was, unless it takes too long.
const Story HEALINGS[] = {
    {"Wi-Fi: in time, and then not", {{"boot 1,2,0"},
        {"event semi 0; wifi off", "2,0,0 wifi heals unsaved | 1,2,0 | 1,2,0 | 1,2 | hide | 1 | 1"},
        {"wifi semi", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"},
        {"event semi 0; wifi off; wait heal-501", "2,0,0 wifi heals unsaved | 1,2,0 | 1,2,0 | 1,2 | hide | 1 | 1"},
        {"wait 1", "2,0,0 | = | = | 1,2 | quiet", "sync settings invoked"},
        {"wifi semi", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"}}},
    {"Wi-Fi: another begin starts anew", {{"boot 1,2,0; event semi 0; wait heal-1; event semi 0"},
        {"wait heal-1", "1,2,0 wifi heals | = | = | 1,2 | - | 0 | 1"}}},
    {"Wi-Fi: on its way up", {{"boot 1,2,0; event semi 0; wifi off"},
        {"event wifi 2", "2,0,0 unsaved | 1,2,0 | 1,2,0 | 1,2 | quiet"}}},
    {"Wi-Fi: not started by a request, which gets it all the same", {{"boot 2,0,0; event semi 0; wifi off"},
        {"on 2", "2,0,0 enabling 2 wifi heals | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2", "!EnableWifi invoked"},
        {"wifi on", "1,2,0 | = | = | 0,0 | show 2, permit 0 | 1 | 0"}}},
    {"Bluetooth: in time, and then not", {{"boot 1,2,0"},
        {"event restrict 0; bluetooth off", "2,0,0 bluetooth heals unsaved | 1,2,0 | 1,2,0 | 1,2 | hide | 1 | 1"},
        {"bluetooth ble", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"},
        {"event restrict 0; bluetooth off; wait heal-501",
            "2,0,0 bluetooth heals unsaved | 1,2,0 | 1,2,0 | 1,2 | hide | 1 | 1"},
        {"wait 1", "2,0,0 | = | = | 1,2 | quiet"}}},
    {"Bluetooth: another begin starts anew", {{"boot 1,2,0; event restrict 0; wait heal-1; event restrict 0"},
        {"wait heal-1", "1,2,0 bluetooth heals | = | = | 1,2 | - | 0 | 1"}}},
    {"Bluetooth: not started by a request", {{"boot 2,0,0; event restrict 0; bluetooth off"},
        {"on 2", "2,0,0 enabling 2 bluetooth heals | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 2", "!EnableBle invoked"}}},
    {"both: one back is not enough to write", {{"boot 1,2,0; event semi 0; event restrict 0; event bluetooth 1"},
        {"off", "2,0,0 wifi heals unsaved | 1,2,0 | 1,2,0 | 2,0 | hide | 1 | 1"},
        {"event wifi 2; off", "2,0,0 | = | = | 2,0 | quiet"}}},
    {"on with another type: permission and pair are written all the same", {
        {"boot 1,2,0; event restrict 0; permit 1; ask 2 0"},
        {"on 3", "1,3,1 bluetooth heals | 1,2,1 | 1,2,1 | 2,0 | show 3, permit 1 | 1 | 1"}}},
};

// A restricted Bluetooth that was refused gets one more try if its ability goes in time.
const Story RETRIES[] = {
    {"a tick before the deadline, and once", {{"boot 2,0,0; retry; wait removal-1"},
        {"gone 1130; back 1130", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | quiet", "EnableBluetoothToRestrictMode(), ret:"},
        {"gone 1130; back 1130", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | quiet", "!EnableBluetoothToRestrictMode invoked"}}},
    {"not at the deadline, nor for Wi-Fi", {{"boot 2,0,0; retry"},
        {"gone 1120", "2,0,0 retry | = | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1", "~wifiDevice is nullptr"},
        {"wait removal; gone 1130; back 1130", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | quiet",
            "!EnableBluetoothToRestrictMode invoked"}}},
};

const Story USERS[] = {
    {"from one who was on to one who was on, and back", {{"write 101 1,3,0; boot 1,2,1"},
        {"user 101", "1,3,0 user 101 | = | = | 1,3 | hide, show 3, permit 0 | 2 | 0"},
        {"user 100", "1,2,1 | = | = | 1,2 | hide, show 2, permit 1 | 2 | 0"}}},
    {"from on by gesture to one without a file: none is made, and it is held back", {{"set air 1; boot 1,2,1"},
        {"user 101", "0,0,0 user 101 swing 2 | none | = / -,-,- air 2 | none | hide | 1 | 0",
            "GetShareStateInfoFromFile failed"}}},
    {"to one who is locked: the state of the other stays in force", {{"lock 101; write 101 1,3,0; boot 1,2,1"},
        {"user 101", "1,2,1 | = | = | 1,2 | quiet", "switchToUserId 101 not verified"},
        {"unlock 101", "1,3,0 user 101 | = | = | 1,3 | hide, show 3, permit 0 | 2 | 0"}}},
    {"locked at the start", {
        {"lock 100; boot 1,2,1", "0,0,0 nobody | 1,2,1 | -,-,- | none | quiet", "switchToUserId 100 not verified"},
        {"unlock 100", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 1 | 0"}}},
    {"settings not ready at the start", {
        {"fail datashare.Create; boot 1,2,1", "0,0,0 nobody | 1,2,1 | -,-,- | none | quiet",
            "helper is nullptr|dataShare not ready|verifiedForegroundUserId -1 not equal to switchToUserId 100"},
        {"mend; event ready", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 1 | 0"}}},
    // Meant: nobody is taken up like anybody, as far as the first question to the settings.
    {"settings ready, nobody in front", {{"boot 1,2,1; user -1"},
        {"event ready", "0,0,0 nobody | 1,2,1 | = / 1,2,1 | 1,2 | hide | 1 | 0",
            "userId is invalid|DisableShareByUserSwitched|Oobe not ready.|~switchToUserId -1 not verified|"
            "~GetCurrentForegroundUserId failed|~GetForegroundOsAccountLocalId failed|~helper->Query return nullptr"}}},
    {"unlocked again, and another in the background", {{"boot 1,2,1"},
        {"event unlocked 100", "1,2,1 | = | = | 1,2 | quiet", "user not change, 100 -> 100"},
        {"event unlocked 101", "1,2,1 | = | = | 1,2 | quiet",
            "verifiedForegroundUserId 100 not equal to switchToUserId 101"}}},
    // Meant: the background unlock moves the user without a load, and the switch behind it finds nothing to change.
    {"a switch overtaken by another unlock", {{"boot 1,2,1"},
        {"user 101 & unlocked 102", "1,2,1 user 101 | none | = / -,-,- | none | quiet",
            "verifiedForegroundUserId 101 not equal to switchToUserId 102|user not change, 101 -> 101"}}},
    {"known: a request that waits does not know whose it was", {
        {"write 101 2,0,0; boot 2,0,0; wifi off; fail wifi.EnableWifi; on 2; user 101"},
        {"wifi on", "1,2,0 user 101 | = | = | 0,0 | show 2, permit 0 | 1 | 0", "~fail to EnableWifi()"}}},
    {"private, agreed at set-up", {{"private 101; set agreed 1 101; boot 2,0,0"},
        {"user 101", "1,2,1 user 101 private | = | = | 1,2 | hide, show 2, permit 1 | 2 | 0", "!Dialog"}}},
    {"private, declined at set-up, the device agreed", {{"private 101; set agreed 0 101; set enhance 1; boot 2,0,0"},
        {"user 101", "0,0,0 user 101 private | none | = / -,-,- | none | hide | 1 | 0",
            "GetShareStateInfoFromFile failed"}}},
    {"private, agreed, and chose off since", {{"private 101; set agreed 1 101; write 101 2,0,0; boot 2,0,0"},
        {"user 101", "2,0,0 user 101 private | = | 0,0,0 / -,-,0 | 0,0 | hide | 1 | 0"}}},
    {"not private, agreed", {{"set agreed 1 101; boot 2,0,0"},
        {"user 101", "0,0,0 user 101 | none | = / -,-,- | none | hide | 1 | 0", "GetShareStateInfoFromFile failed"}}},
};

// The first use. A device that is being set up, with an unlocked user: the last step is "set ota 1 100".
const Story FIRST_USES[] = {
    {"the user agrees", {{"set ota - 100; set service 1"},
        {"boot", "0,0,0 | none | = / -,-,- | none | quiet",
            "isOtaFinished not ready, curr userId: 100.|Oobe not ready."},
        {"set agreed 1 100; set enhance 0; set ota 1 100", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 1 | 0",
            "HandleOnAgreeCollaborationOobeEnable invoked|IsValidPath failed enter.|~file path is not real path!|"
            "!Dialog|!EnableSemiWifiAndBluetooth invoked."}}},
    {"the user declines, the device had agreed, and sees the dialog when asking", {
        {"set ota - 100; boot; set agreed 0 100; set enhance 1"},
        {"set ota 1 100", "0,0,0 | = | = / -,-,- | none | quiet",
            "HandleOnRejectCollaborationOobeEnable invoked|GetShareStateInfoFromFile failed|IsValidPath failed enter.|"
            "~file path is not real path!|!EnableSemiWifiAndBluetooth"},
        {"ask 1 2 first", "0,0,0 | = | = / -,-,- | none | quiet", "StartFirstUseDialog exit"}}},
    {"the user says nothing, the device agrees", {{"set ota - 100; boot 0,0,0; set enhance 1"},
        {"set ota 1 100", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 1 | 0"}}},
    {"agrees, and had chosen off", {{"set ota - 100; boot 2,0,0; set agreed 1 100"},
        {"set ota 1 100", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | quiet", "no need to HandleOnAgreeEnhanceOobe."},
        {"set agreed 0 100; set ota 1 100; set setup 1 100", "2,0,0 | = | 0,0,0 / -,-,0 | 0,0 | quiet", // decided once
            "Oobe has ready, no need to repeat HandleOnOobeReady."}}},
    {"an update waits", {{"set ota - 100; boot 2,0,0"},
        {"set ota 0 100", "0,0,0 | 2,0,0 | = / -,-,- | none | quiet", "Ota activated.|!CheckIfOobeReady invoked."},
        {"set provisioned 1", "0,0,0 | 2,0,0 | = / -,-,- | none | quiet", "isOtaFinished not ready, curr userId: 100."},
        {"set setup - 100; set ota 1 100", "0,0,0 | 2,0,0 | = / -,-,- | none | quiet",
            "userSetupComplete not ready, curr userId: 100."},
        {"set provisioned 0; set setup 1 100", "0,0,0 | 2,0,0 | = / -,-,- | none | quiet",
            "deviceProvisioned not ready."}}},
    {"in the background: decided for the user who is set up", {{"set ota - 101; boot 2,0,0; user 101; user 100"},
        {"set agreed 1 101; set ota 1 101; user 101",
            "1,2,1 user 101 | = | = | 1,2 | hide, show 2, permit 1 | 2 | 0"}}},
    // Meant: to agree writes the file of whoever agreed and loads the user in front; to decline loads one's own alone.
    {"another declines, and agrees", {{"boot 2,0,0; write 100 1,2,0"},
        {"decline 101", "2,0,0 | 1,2,0 | 0,0,0 / -,-,0 | 0,0 | quiet"},
        {"agree 101", "1,2,0 | = | = | 1,2 | show 2, permit 0 | 1 | 0"},
        {"user 101", "1,2,1 user 101 | = | = | 1,2 | hide, show 2, permit 1 | 2 | 0"}}},
    {"loaded anew while on: what the file says now counts", {{"boot 1,2,1; write 100 2,0,9; recover 100 2,0"},
        {"agree 100", "2,0,0 | 2,0,9 | 1,2,1 | 2,0 | quiet", "SetShareAccountPermission paramter error."}}},
    // Meant: an older file moves to the user in front, whoever it is read for.
    {"the primary user in the background has an older file", {{"user 101; boot; legacy 2,0,1"},
        {"agree 100", "0,0,0 user 101 | 2,0,1 | = / -,-,- | none | quiet", "~GetShareStateInfoFromFile failed"}}},
    {"radios are started when the device agreed and collaborates, whatever the user says", {
        {"set ota - 100; boot 0,0,0; wifi off; bluetooth off; set service 1; set enhance 1; set agreed 0 100"},
        {"set ota 1 100; wait 1500", "0,0,0 | = | = / -,-,0 | 0,0 | quiet",
            "EnableSemiWifi invoked, ret: 0|EnableBluetoothToRestrictMode invoked, ret: 0."}}},
    {"radios are started, and sharing with them", {
        {"set ota - 100; boot 0,0,0; wifi off; bluetooth off; set service 1; set enhance 1"},
        {"set ota 1 100; wait 1500", "1,2,1 | = | = | 1,2 | show 2, permit 1 | 1 | 0",
            "need wifi and bluetooth to recover state"}}},
    {"radios that are up are left alone", {
        {"set ota - 100; boot 0,0,0; set service 1; set enhance 1; set agreed 0 100"},
        {"set ota 1 100", "0,0,0 | = | = / -,-,0 | 0,0 | quiet",
            "EnableSemiWifiAndBluetooth invoked.|!EnableSemiWifi invoked|!EnableBluetoothToRestrictMode invoked"}}},
    {"no radio without the collaboration framework", {
        {"set ota - 100; boot 0,0,0; wifi off; set enhance 1; set agreed 0 100"},
        {"set ota 1 100", "0,0,0 | = | = / -,-,0 | 0,0 | quiet", "!EnableSemiWifiAndBluetooth invoked."}}},
    {"no radio in airplane mode", {
        {"set ota - 100; boot 0,0,0; wifi off; set service 1; set enhance 1; set agreed 0 100; set airplane 1"},
        {"set ota 1 100", "0,0,0 | = | = / -,-,0 | 0,0 | quiet",
            "airPlaneMode, can not EnableSemiWifi or EnableBluetoothToRestrictMode|!EnableSemiWifi invoked"}}},
    {"a refused Bluetooth waits for its ability to go", {
        {"set ota - 100; boot 0,0,0; bluetooth off; set service 1; set enhance 1; set agreed 0 100; "
            "fail bluetooth.EnableBluetoothToRestrictMode"},
        {"set ota 1 100", "0,0,0 retry | = | = / -,-,0 | 0,0 | - | 0 | 1"}}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Found, SwitchStory, testing::ValuesIn(FOUND), StoryName());
INSTANTIATE_TEST_SUITE_P(Request, SwitchStory, testing::ValuesIn(REQUESTS), StoryName());
INSTANTIATE_TEST_SUITE_P(Deadline, SwitchStory, testing::ValuesIn(DEADLINES), StoryName());
INSTANTIATE_TEST_SUITE_P(Gesture, SwitchStory, testing::ValuesIn(GESTURES), StoryName());
INSTANTIATE_TEST_SUITE_P(Change, SwitchStory, testing::ValuesIn(CHANGES), StoryName());
INSTANTIATE_TEST_SUITE_P(Healing, SwitchStory, testing::ValuesIn(HEALINGS), StoryName());
INSTANTIATE_TEST_SUITE_P(Retry, SwitchStory, testing::ValuesIn(RETRIES), StoryName());
INSTANTIATE_TEST_SUITE_P(User, SwitchStory, testing::ValuesIn(USERS), StoryName());
INSTANTIATE_TEST_SUITE_P(FirstUse, SwitchStory, testing::ValuesIn(FIRST_USES), StoryName());

} // namespace
} // namespace OHOS::Pelago
