// Whose switch it is: users, their first use, their permission.
#include "switch_scene.h"

namespace OHOS::Pelago {
namespace {

class SwitchUsers : public SwitchScene, public testing::WithParamInterface<Row> {};

TEST_P(SwitchUsers, LeaveWhatTheTableSays)
{
    Check(GetParam());
}

// clang-format off
const Row USERS[] = {
    {"from one who was on to one who was on", "write 101 1,3,0; boot 1,2,1", "user 101",
        "1,3,0 user 101 | 1,3,0 | 1,3,0 | 1,3 | hide, show 3, permit 0 | 2 | 0"},
    {"and back: the files of the first kept the state", "write 101 1,3,0; boot 1,2,1; user 101", "user 100",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | hide, show 2, permit 1 | 2 | 0"},
    {"to one without a file: first use, and none is made", "boot 1,2,1", "user 101",
        "0,0,0 user 101 | none | 0,0,0 / -,-,- | none | hide | 1 | 0", "GetShareStateInfoFromFile failed"},
    {"from on by gesture: it is held back for the new user", "set air 1; boot 1,2,1", "user 101",
        "0,0,0 user 101 swing 2 | none | 0,0,0 / -,-,- air 2 | none | hide | 1 | 0",
        "GetShareStateInfoFromFile failed"},
    {"to one who is locked: the state of the other stays in force", "lock 101; write 101 1,3,0; boot 1,2,1", "user 101",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | - | 0 | 0", "switchToUserId 101 not verified"},
    {"who unlocks", "lock 101; write 101 1,3,0; boot 1,2,1; user 101", "unlock 101",
        "1,3,0 user 101 | 1,3,0 | 1,3,0 | 1,3 | hide, show 3, permit 0 | 2 | 0", "~switchToUserId 101 not verified"},
    {"locked at the start", "lock 100", "boot 1,2,1", "0,0,0 nobody | 1,2,1 | -,-,- | none | - | 0 | 0",
        "switchToUserId 100 not verified"},
    {"locked at the start, unlocked", "lock 100; boot 1,2,1", "unlock 100",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 1 | 0", "~switchToUserId 100 not verified"},
    {"settings not ready", "fail datashare.Create", "boot 1,2,1", "0,0,0 nobody | 1,2,1 | -,-,- | none | - | 0 | 0",
        "helper is nullptr|dataShare not ready|verifiedForegroundUserId -1 not equal to switchToUserId 100"},
    {"settings ready", "fail datashare.Create; boot 1,2,1; mend", "event ready",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 1 | 0",
        "~helper is nullptr|~dataShare not ready|~not equal to switchToUserId 100"},
    // Meant: nobody is taken up like anybody, as far as the first question to the settings.
    {"settings ready, nobody in front", "boot 1,2,1; user -1", "event ready",
        "0,0,0 nobody | 1,2,1 | 0,0,0 / 1,2,1 | 1,2 | hide | 1 | 0", "userId is invalid|DisableShareByUserSwitched|"
        "Oobe not ready.|~switchToUserId -1 not verified|~GetCurrentForegroundUserId failed|"
        "~GetForegroundOsAccountLocalId failed|~helper->Query return nullptr"},
    {"unlocked again", "boot 1,2,1", "event unlocked 100", "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | - | 0 | 0",
        "user not change, 100 -> 100"},
    {"another unlocked in the background", "boot 1,2,1", "event unlocked 101",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | - | 0 | 0", "verifiedForegroundUserId 100 not equal to switchToUserId 101"},
    // Meant: the background unlock moves the user without a load, and the switch behind it finds nothing to change.
    {"a switch overtaken by another unlock", "boot 1,2,1", "user 101 & unlocked 102",
        "1,2,1 user 101 | none | 1,2,1 / -,-,- | none | - | 0 | 0",
        "verifiedForegroundUserId 101 not equal to switchToUserId 102|user not change, 101 -> 101"},
    {"known: a request that waits does not know whose it was",
        "write 101 2,0,0; boot 2,0,0; wifi off; fail wifi.EnableWifi; on 2; user 101", "wifi on",
        "1,2,0 user 101 | 1,2,0 | 1,2,0 | 0,0 | show 2, permit 0 | 1 | 0", "~fail to EnableWifi()"},

    {"private, agreed at set-up", "private 101; set agreed 1 101; boot 2,0,0", "user 101",
        "1,2,1 user 101 private | 1,2,1 | 1,2,1 | 1,2 | hide, show 2, permit 1 | 2 | 0", "!Dialog"},
    {"private, declined at set-up, the device agreed", "private 101; set agreed 0 101; set enhance 1; boot 2,0,0",
        "user 101", "0,0,0 user 101 private | none | 0,0,0 / -,-,- | none | hide | 1 | 0",
        "GetShareStateInfoFromFile failed"},
    {"private, agreed, and chose off since", "private 101; set agreed 1 101; write 101 2,0,0; boot 2,0,0", "user 101",
        "2,0,0 user 101 private | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | hide | 1 | 0"},
    {"not private, agreed", "set agreed 1 101; boot 2,0,0", "user 101",
        "0,0,0 user 101 | none | 0,0,0 / -,-,- | none | hide | 1 | 0", "GetShareStateInfoFromFile failed"},
};

const Row PERMISSIONS[] = {
    {"granted while on", "boot 1,2,0", "permit 1", "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | permit 1 | 0 | 0"},
    {"taken back while on", "boot 1,2,1", "permit 0", "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | permit 0 | 0 | 0"},
    {"granted while off", "boot 2,0,0", "permit 1", "2,0,1 | 2,0,1 | 0,0,1 / -,-,1 | 0,0 | - | 0 | 0"},
    {"granted while off: the engine hears with the next on", "boot 2,0,0; permit 1", "on 2",
        "1,2,1 | 1,2,1 | 1,2,1 | 0,0 | show 2, permit 1 | 1 | 0"},
    {"refused by the engine", "boot 1,2,0; refuse SetAccountPermission", "permit 1",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | permit 1 | 0 | 0", "SetAccountPermission failed."},
    {"too much", "boot 1,2,1", "permit 2", "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | - | 0 | 0",
        "SetShareAccountPermission paramter error."},
    {"too little", "boot 1,2,1", "permit -1", "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | - | 0 | 0",
        "SetShareAccountPermission paramter error."},
};

// The first use. A device that is being set up, with an unlocked user: the last step is "set ota 1 100".
const Row FIRST_USES[] = {
    {"set-up in progress", "set ota - 100", "boot", "0,0,0 | none | 0,0,0 / -,-,- | none | - | 0 | 0",
        "isOtaFinished not ready, curr userId: 100.|Oobe not ready."},
    {"the user agrees", "set ota - 100; boot; set agreed 1 100; set enhance 0", "set ota 1 100",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 1 | 0",
        "HandleOnAgreeCollaborationOobeEnable invoked|IsValidPath failed enter.|~file path is not real path!|!Dialog"},
    {"the user declines, the device had agreed", "set ota - 100; boot; set agreed 0 100; set enhance 1",
        "set ota 1 100", "0,0,0 | 0,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0",
        "HandleOnRejectCollaborationOobeEnable invoked|GetShareStateInfoFromFile failed|IsValidPath failed enter.|"
        "~file path is not real path!|!EnableSemiWifiAndBluetooth"},
    {"and sees the dialog when asking", "set ota - 100; boot; set agreed 0 100; set ota 1 100", "ask 1 2 first",
        "0,0,0 | 0,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0", "StartFirstUseDialog exit|"
        "~GetShareStateInfoFromFile failed|~IsValidPath failed enter.|~file path is not real path!"},
    {"the user says nothing, the device agrees", "set ota - 100; boot 0,0,0; set enhance 1", "set ota 1 100",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 1 | 0"},
    {"nobody says anything", "set ota - 100; boot 0,0,0", "set ota 1 100",
        "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "HandleOnRejectCollaborationOobeEnable invoked"},
    {"agrees, and had chosen off", "set ota - 100; boot 2,0,0; set agreed 1 100", "set ota 1 100",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "no need to HandleOnAgreeEnhanceOobe."},
    {"decided once", "set ota - 100; boot 2,0,0; set ota 1 100", "set agreed 1 100; set ota 1 100; set setup 1 100",
        "2,0,0 | 2,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "Oobe has ready, no need to repeat HandleOnOobeReady."},
    {"an update waits", "set ota - 100; boot 2,0,0", "set ota 0 100",
        "0,0,0 | 2,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0", "Ota activated.|!CheckIfOobeReady invoked."},
    {"an update waits: another step of the set-up", "set ota 0 100; boot 2,0,0", "set provisioned 1",
        "0,0,0 | 2,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0", "isOtaFinished not ready, curr userId: 100."},
    {"the update is done, the user is not", "set ota 0 100; set setup - 100; boot 2,0,0", "set ota 1 100",
        "0,0,0 | 2,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0", "userSetupComplete not ready, curr userId: 100."},
    {"the user is, the device is not", "set provisioned 0; boot 2,0,0", "set setup 1 100",
        "0,0,0 | 2,0,0 | 0,0,0 / -,-,- | none | - | 0 | 0", "deviceProvisioned not ready."},
    {"in the background: decided for the user who is set up", "set ota - 101; boot 2,0,0; user 101; user 100",
        "set agreed 1 101; set ota 1 101; user 101",
        "1,2,1 user 101 | 1,2,1 | 1,2,1 | 1,2 | hide, show 2, permit 1 | 2 | 0"},

    // Meant: to agree writes the file of whoever agreed and loads the user in front; to decline loads one's own alone.
    {"another agrees: the user in front is loaded", "boot 2,0,0; write 100 1,2,0", "agree 101",
        "1,2,0 | 1,2,0 | 1,2,0 | 1,2 | show 2, permit 0 | 1 | 0"},
    {"another agrees: it is written for that user", "boot 2,0,0; agree 101", "user 101",
        "1,2,1 user 101 | 1,2,1 | 1,2,1 | 1,2 | hide, show 2, permit 1 | 2 | 0"},
    {"another declines: nothing", "boot 2,0,0; write 100 1,2,0", "decline 101",
        "2,0,0 | 1,2,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0"},
    {"loaded anew while on: what the file says now counts", "boot 1,2,1; write 100 2,0,9; recover 100 2,0", "agree 100",
        "2,0,0 | 2,0,9 | 1,2,1 | 2,0 | - | 0 | 0", "SetShareAccountPermission paramter error."},
    // Meant: an older file moves to the user in front, whoever it is read for.
    {"the primary user in the background has an older file", "user 101; boot; legacy 2,0,1", "agree 100",
        "0,0,0 user 101 | 2,0,1 | 0,0,0 / -,-,- | none | - | 0 | 0", "~GetShareStateInfoFromFile failed"},

    {"radios are started when the device agreed and collaborates, whatever the user says",
        "set ota - 100; boot 0,0,0; wifi off; bluetooth off; set service 1; set enhance 1; set agreed 0 100",
        "set ota 1 100; wait 1500", "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0",
        "EnableSemiWifi invoked, ret: 0|EnableBluetoothToRestrictMode invoked, ret: 0."},
    {"radios are started, and sharing with them",
        "set ota - 100; boot 0,0,0; wifi off; bluetooth off; set service 1; set enhance 1", "set ota 1 100; wait 1500",
        "1,2,1 | 1,2,1 | 1,2,1 | 1,2 | show 2, permit 1 | 1 | 0", "need wifi and bluetooth to recover state"},
    {"radios that are up are left alone", "set ota - 100; boot 0,0,0; set service 1; set enhance 1; set agreed 0 100",
        "set ota 1 100", "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "EnableSemiWifiAndBluetooth invoked.|"
        "!EnableSemiWifi invoked|!EnableBluetoothToRestrictMode invoked"},
    {"no radio without collaboration", "set ota - 100; boot 0,0,0; wifi off; set enhance 1; set agreed 0 100",
        "set ota 1 100", "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0", "!EnableSemiWifiAndBluetooth invoked."},
    {"no radio in airplane mode", "set ota - 100; boot 0,0,0; wifi off; set service 1; set enhance 1; set agreed 0 100;"
        "set airplane 1", "set ota 1 100", "0,0,0 | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 0",
        "airPlaneMode, can not EnableSemiWifi or EnableBluetoothToRestrictMode|!EnableSemiWifi invoked"},
    {"a refused Bluetooth waits for its ability to go", "set ota - 100; boot 0,0,0; bluetooth off; set service 1; "
        "set enhance 1; set agreed 0 100; fail bluetooth.EnableBluetoothToRestrictMode", "set ota 1 100",
        "0,0,0 retry | 0,0,0 | 0,0,0 / -,-,0 | 0,0 | - | 0 | 1"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(User, SwitchUsers, testing::ValuesIn(USERS), RowName());
INSTANTIATE_TEST_SUITE_P(Permission, SwitchUsers, testing::ValuesIn(PERMISSIONS), RowName());
INSTANTIATE_TEST_SUITE_P(FirstUse, SwitchUsers, testing::ValuesIn(FIRST_USES), RowName());

} // namespace
} // namespace OHOS::Pelago
