// The model of the device: radios, abilities, users, tokens.
#include <functional>
#include <vector>

#include "device_scene.h"

using namespace OHOS::Host;

namespace {

using D = Device&;
using W = WifiMode;
using B = BluetoothMode;
using T = RadioTimings;

class DeviceTest : public DeviceScene {};

struct RadioRow {
    const char* name;
    W wifi;
    B bluetooth;
    std::function<void(D)> request;
    const char* atOnce; // events
    std::chrono::milliseconds T::*time;
    const char* inTime;
    RadioStates states; // afterwards
};

constexpr RadioStates BOTH{WifiState::ACTIVE, BluetoothState::ON, true};
constexpr RadioStates BLE{WifiState::ACTIVE, BluetoothState::OFF, true};
constexpr RadioStates NO_BLUETOOTH{WifiState::ACTIVE, BluetoothState::OFF, false};

const std::vector<RadioRow> RADIO_ROWS = {
    {"both are up from the start", W::ON, B::ON, [](D) {}, "", &T::wifiOn, "", BOTH},
    {"Wi-Fi off", W::ON, B::ON, [](D d) { d.SwitchWifi(W::OFF); }, "POWER_STATE 0; ", &T::wifiOff, "POWER_STATE 1; ",
        {WifiState::INACTIVE, BluetoothState::ON, true}},
    {"Wi-Fi on", W::OFF, B::ON, [](D d) { d.RaiseWifi(W::ON); }, "POWER_STATE 2; ", &T::wifiOn, "POWER_STATE 3; ",
        BOTH},
    {"Wi-Fi half on", W::OFF, B::ON, [](D d) { d.RaiseWifi(W::SEMI); }, "SEMI_STATE 4; ", &T::wifiSemi,
        "SEMI_STATE 5; ", {WifiState::SEMI_ACTIVE, BluetoothState::ON, true}},
    {"Wi-Fi is not raised downwards", W::ON, B::ON, [](D d) { d.RaiseWifi(W::SEMI); }, "", &T::wifiSemi, "", BOTH},
    {"Bluetooth off", W::ON, B::ON, [](D d) { d.SwitchBluetooth(B::OFF); }, "STATE_UPDATE 2; ", &T::bluetoothOff,
        "STATE_UPDATE 3; ", NO_BLUETOOTH},
    {"Bluetooth down to BLE", W::ON, B::ON, [](D d) { d.SwitchBluetooth(B::BLE_ONLY); }, "STATE_UPDATE 2; ", &T::bleOn,
        "STATE_UPDATE 3; ", BLE},
    {"BLE alone comes up without a state on the way", W::ON, B::OFF, [](D d) { d.RaiseBluetooth(B::BLE_ONLY); }, "",
        &T::bleOn, "STATE_UPDATE 3; ", BLE},
    {"BLE alone goes down without a state on the way", W::ON, B::BLE_ONLY, [](D d) { d.SwitchBluetooth(B::OFF); }, "",
        &T::bluetoothOff, "STATE_UPDATE 3; ", NO_BLUETOOTH},
    {"Bluetooth on from BLE", W::ON, B::BLE_ONLY, [](D d) { d.SwitchBluetooth(B::ON); }, "STATE_UPDATE 0; ",
        &T::bluetoothOn, "STATE_UPDATE 1; ", BOTH},
    {"Bluetooth is not raised downwards", W::ON, B::ON, [](D d) { d.RaiseBluetooth(B::BLE_ONLY); }, "", &T::bleOn, "",
        BOTH},
};

TEST_F(DeviceTest, RadioTellsEachStateAndArrivesInItsTime)
{
    for (const RadioRow& row : RADIO_ROWS) {
        SCOPED_TRACE(row.name);
        Given(W::ON, B::ON);
        Given(row.wifi, row.bluetooth);
        row.request(device);
        EXPECT_EQ(heard, "") << "told inside the call";
        EXPECT_EQ(HeardAfter(0), row.atOnce);
        EXPECT_EQ(HeardAfter((T().*row.time).count() - 1), "");
        EXPECT_EQ(HeardAfter(1), row.inTime);
        EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "");
        EXPECT_EQ(device.Radios().wifi, row.states.wifi);
        EXPECT_EQ(device.Radios().bluetooth, row.states.bluetooth);
        EXPECT_EQ(device.Radios().ble, row.states.ble);
    }
}

TEST_F(DeviceTest, RadioThatChangesItsMindOnTheWayArrivesOnlyAtTheLastGoal)
{
    device.SwitchWifi(W::OFF);
    device.SwitchBluetooth(B::OFF);
    (void)HeardAfter(1);
    device.SwitchWifi(W::ON);
    device.SwitchBluetooth(B::BLE_ONLY);
    device.SwitchWifi(W::ON); // on its way already
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 2; STATE_UPDATE 3; POWER_STATE 3; ");
    EXPECT_TRUE(device.Radios().ble);
}

TEST_F(DeviceTest, StuckRadioStaysOnTheWayUntilItIsAskedAgain)
{
    Given(W::OFF, B::OFF);
    Faults::Inject("wifi.arrive");
    Faults::Inject("bluetooth.arrive");
    device.RaiseWifi(W::ON);
    device.RaiseBluetooth(B::ON);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 0; ");
    EXPECT_EQ(device.Radios().wifi, WifiState::ACTIVATING);
    device.RaiseWifi(W::ON);
    device.RaiseBluetooth(B::ON);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 0; STATE_UPDATE 1; POWER_STATE 3; ");
}

TEST_F(DeviceTest, AbilityThatGoesSilencesItsRadioAndOneThatComesSaysHowThingsAre)
{
    device.AddAbilityListener([this](int32_t id, bool present) {
        EXPECT_EQ(device.IsAbilityPresent(id), present); // listeners may ask
        heard += (present ? "+" : "-") + std::to_string(id) + "; ";
    });
    device.SetAbilityPresent(AbilityId::WIFI, false);
    device.SetAbilityPresent(AbilityId::BLUETOOTH, false);
    device.SetAbilityPresent(AbilityId::DATA_SHARE, false);
    device.SetAbilityPresent(AbilityId::DATA_SHARE, false);
    device.SwitchWifi(W::OFF);
    device.SwitchBluetooth(B::OFF);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "-1120; -1130; -1301; ");
    device.SetAbilityPresent(AbilityId::WIFI, true);
    device.SetAbilityPresent(AbilityId::BLUETOOTH, true);
    device.SetAbilityPresent(AbilityId::DATA_SHARE, true);
    EXPECT_EQ(HeardAfter(0), "+1120; POWER_STATE 1; +1130; STATE_UPDATE 3; +1301; DATA_SHARE_READY 0; ");
}

TEST_F(DeviceTest, EventsCarryTheirPublisher)
{
    std::vector<DeviceEvent> events;
    device.SetEventSink([&events](const DeviceEvent& event) { events.push_back(event); });
    device.SwitchWifi(W::OFF);
    device.SwitchBluetooth(B::OFF);
    device.ClearPackageData("some.bundle");
    ASSERT_TRUE(Scheduler::Instance().Settle());
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].publisherUid, 1010);
    EXPECT_EQ(events[1].permission, "ohos.permission.ACCESS_BLUETOOTH");
    EXPECT_EQ(events[2].bundleName, "some.bundle");
}

TEST_F(DeviceTest, UsersComeToTheFrontUnlockAndLeave)
{
    EXPECT_FALSE(device.SwitchUser(101) || device.PutUser(User{}));
    ASSERT_TRUE(device.PutUser({101, UserType::PRIVATE, false, {}}));
    ASSERT_TRUE(device.SwitchUser(101));
    ASSERT_TRUE(device.SwitchUser(101)); // is there already
    ASSERT_TRUE(device.SetVerified(101, true));
    ASSERT_TRUE(device.SetVerified(101, true));
    ASSERT_TRUE(device.SwitchUser(100) && device.SwitchUser(101));
    EXPECT_EQ(HeardAfter(0), "USER_SWITCHED 101; USER_UNLOCKED 101; USER_SWITCHED 100; USER_SWITCHED 101; ");
    EXPECT_EQ(device.ActiveUsers(), (std::vector<int32_t>{101, 100}));
    EXPECT_FALSE(device.StopUser(101) || device.RemoveUser(101)) << "is in front";
    ASSERT_TRUE(device.StopUser(100));
    EXPECT_FALSE(device.StopUser(100) || device.FindUser(100)->verified);
    ASSERT_TRUE(device.SwitchUser(-1) && device.RemoveUser(101));
    EXPECT_FALSE(device.FindUser(101) || device.SetVerified(101, true) || device.SetAccount(101, {}));
    EXPECT_TRUE(device.ActiveUsers().empty());
    EXPECT_EQ(HeardAfter(0), "");
}

TEST_F(DeviceTest, TokensTakeNamesOfSocketsAndATooLongUdidIsRefusedWhole)
{
    const uint32_t added = device.AddToken({"guest-2", TokenId::OWNER, {PERMISSION_ACCESS_SERVICE}, 0666});
    EXPECT_EQ(added, TokenId::FIRST_ADDED);
    EXPECT_TRUE(device.TokenHolds(added, PERMISSION_ACCESS_SERVICE));
    EXPECT_FALSE(
        device.TokenHolds(added, PERMISSION_SWITCH_CONTROL) || device.TokenHolds(0, PERMISSION_ACCESS_SERVICE));
    const std::string longest(Device::MAX_TOKEN_NAME, 'a');
    const std::vector<std::string> refused{
        "", "guest-2", "owner", "..", "a/b", "A", "with space", "a\n", longest + "a"};
    for (const std::string& name : refused) {
        EXPECT_EQ(device.AddToken({name, 0, {}, 0600}), 0U) << name;
    }
    EXPECT_EQ(device.AddToken({longest, 0, {}, 0600}), added + 1);
    ASSERT_TRUE(device.Configure({"Blue phone", std::string(64, 'a'), "tablet", "/there"}));
    EXPECT_FALSE(device.Configure({"Red phone", std::string(65, 'a'), "phone", "/here"}));
    EXPECT_EQ(device.Identity().name + device.Root(), "Blue phone/there");
}

} // namespace
