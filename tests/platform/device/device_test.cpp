#include "host/device.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/faults.h"
#include "host/scheduler.h"

using namespace OHOS::Host;

namespace {

constexpr int64_t LONG_ENOUGH_MS = 60'000;

class DeviceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        device.SetEventSink([this](const DeviceEvent& event) {
            heard += event.action.substr(event.action.rfind('.') + 1) + " " + std::to_string(event.code) + "; ";
        });
    }

    std::string HeardAfter(int64_t ms)
    {
        EXPECT_TRUE(Scheduler::Instance().Advance(ms));
        return std::exchange(heard, "");
    }

    Device& device = Device::Instance();
    std::string heard;
};

struct RadioRow {
    const char* name;
    std::function<void(Device&)> given; // and then time enough
    std::function<void(Device&)> request;
    const char* atOnce; // events
    std::chrono::milliseconds RadioTimings::*time;
    const char* inTime;
    RadioStates states; // afterwards
};

const std::vector<RadioRow> RADIO_ROWS = {
    {"both are up from the start", [](Device&) {}, [](Device&) {}, "", &RadioTimings::wifiOn, "",
        {WifiState::ACTIVE, BluetoothState::ON, true}},
    {"Wi-Fi off", [](Device&) {}, [](Device& d) { d.SwitchWifi(WifiMode::OFF); }, "POWER_STATE 0; ",
        &RadioTimings::wifiOff, "POWER_STATE 1; ", {WifiState::INACTIVE, BluetoothState::ON, true}},
    {"Wi-Fi on", [](Device& d) { d.SwitchWifi(WifiMode::OFF); }, [](Device& d) { d.RaiseWifi(WifiMode::ON); },
        "POWER_STATE 2; ", &RadioTimings::wifiOn, "POWER_STATE 3; ", {WifiState::ACTIVE, BluetoothState::ON, true}},
    {"Wi-Fi half on", [](Device& d) { d.SwitchWifi(WifiMode::OFF); }, [](Device& d) { d.RaiseWifi(WifiMode::SEMI); },
        "SEMI_STATE 4; ", &RadioTimings::wifiSemi, "SEMI_STATE 5; ",
        {WifiState::SEMI_ACTIVE, BluetoothState::ON, true}},
    {"Wi-Fi is not raised downwards", [](Device&) {}, [](Device& d) { d.RaiseWifi(WifiMode::SEMI); }, "",
        &RadioTimings::wifiSemi, "", {WifiState::ACTIVE, BluetoothState::ON, true}},
    {"Bluetooth off", [](Device&) {}, [](Device& d) { d.SwitchBluetooth(BluetoothMode::OFF); }, "STATE_UPDATE 2; ",
        &RadioTimings::bluetoothOff, "STATE_UPDATE 3; ", {WifiState::ACTIVE, BluetoothState::OFF, false}},
    {"Bluetooth down to BLE", [](Device&) {}, [](Device& d) { d.SwitchBluetooth(BluetoothMode::BLE_ONLY); },
        "STATE_UPDATE 2; ", &RadioTimings::bleOn, "STATE_UPDATE 3; ", {WifiState::ACTIVE, BluetoothState::OFF, true}},
    {"BLE alone comes up without a state on the way", [](Device& d) { d.SwitchBluetooth(BluetoothMode::OFF); },
        [](Device& d) { d.RaiseBluetooth(BluetoothMode::BLE_ONLY); }, "", &RadioTimings::bleOn, "STATE_UPDATE 3; ",
        {WifiState::ACTIVE, BluetoothState::OFF, true}},
    {"BLE alone goes down without a state on the way", [](Device& d) { d.SwitchBluetooth(BluetoothMode::BLE_ONLY); },
        [](Device& d) { d.SwitchBluetooth(BluetoothMode::OFF); }, "", &RadioTimings::bluetoothOff, "STATE_UPDATE 3; ",
        {WifiState::ACTIVE, BluetoothState::OFF, false}},
    {"Bluetooth on from BLE", [](Device& d) { d.SwitchBluetooth(BluetoothMode::BLE_ONLY); },
        [](Device& d) { d.SwitchBluetooth(BluetoothMode::ON); }, "STATE_UPDATE 0; ", &RadioTimings::bluetoothOn,
        "STATE_UPDATE 1; ", {WifiState::ACTIVE, BluetoothState::ON, true}},
    {"Bluetooth is not raised downwards", [](Device&) {}, [](Device& d) { d.RaiseBluetooth(BluetoothMode::BLE_ONLY); },
        "", &RadioTimings::bleOn, "", {WifiState::ACTIVE, BluetoothState::ON, true}},
};

TEST_F(DeviceTest, RadioTellsEachStateAndArrivesInItsTime)
{
    for (const RadioRow& row : RADIO_ROWS) {
        SCOPED_TRACE(row.name);
        device.SwitchWifi(WifiMode::ON);
        device.SwitchBluetooth(BluetoothMode::ON);
        (void)HeardAfter(LONG_ENOUGH_MS); // the way to the beginning is another row's
        row.given(device);
        (void)HeardAfter(LONG_ENOUGH_MS);
        row.request(device);
        EXPECT_EQ(heard, "") << "told inside the call";
        EXPECT_EQ(HeardAfter(0), row.atOnce);
        EXPECT_EQ(HeardAfter((RadioTimings().*row.time).count() - 1), "");
        EXPECT_EQ(HeardAfter(1), row.inTime);
        EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "");
        EXPECT_EQ(device.Radios().wifi, row.states.wifi);
        EXPECT_EQ(device.Radios().bluetooth, row.states.bluetooth);
        EXPECT_EQ(device.Radios().ble, row.states.ble);
    }
}

TEST_F(DeviceTest, RadioThatChangesItsMindOnTheWayArrivesOnlyAtTheLastGoal)
{
    device.SwitchWifi(WifiMode::OFF);
    device.SwitchBluetooth(BluetoothMode::OFF);
    (void)HeardAfter(1);
    device.SwitchWifi(WifiMode::ON);
    device.SwitchBluetooth(BluetoothMode::BLE_ONLY);
    device.SwitchWifi(WifiMode::ON); // on its way already
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 2; STATE_UPDATE 3; POWER_STATE 3; ");
    EXPECT_TRUE(device.Radios().ble);
}

TEST_F(DeviceTest, StuckRadioStaysOnTheWayUntilItIsAskedAgain)
{
    device.SwitchWifi(WifiMode::OFF);
    device.SwitchBluetooth(BluetoothMode::OFF);
    (void)HeardAfter(LONG_ENOUGH_MS);
    Faults::Inject("wifi.arrive");
    Faults::Inject("bluetooth.arrive");
    device.RaiseWifi(WifiMode::ON);
    device.RaiseBluetooth(BluetoothMode::ON);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 0; ");
    EXPECT_EQ(device.Radios().wifi, WifiState::ACTIVATING);
    device.RaiseWifi(WifiMode::ON);
    device.RaiseBluetooth(BluetoothMode::ON);
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
    device.SwitchWifi(WifiMode::OFF);
    device.SwitchBluetooth(BluetoothMode::OFF);
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
    device.SwitchWifi(WifiMode::OFF);
    device.SwitchBluetooth(BluetoothMode::OFF);
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

TEST_F(DeviceTest, TokenTableTakesNamesOfSocketsOnly)
{
    const uint32_t added = device.AddToken({"guest-2", TokenId::OWNER, {PERMISSION_ACCESS_SERVICE}, 0666});
    EXPECT_EQ(added, TokenId::FIRST_ADDED);
    EXPECT_TRUE(device.TokenHolds(added, PERMISSION_ACCESS_SERVICE));
    EXPECT_FALSE(device.TokenHolds(added, PERMISSION_SWITCH_CONTROL));
    EXPECT_FALSE(device.TokenHolds(0, PERMISSION_ACCESS_SERVICE));
    for (const std::string name : {"", "guest-2", "owner", "..", "a/b", "A", "with space", "a\n"}) {
        EXPECT_EQ(device.AddToken({name, 0, {}, 0600}), 0U) << name;
    }
    EXPECT_EQ(device.AddToken({std::string(Device::MAX_TOKEN_NAME + 1, 'a'), 0, {}, 0600}), 0U);
    EXPECT_EQ(device.AddToken({std::string(Device::MAX_TOKEN_NAME, 'a'), 0, {}, 0600}), added + 1);
    EXPECT_EQ(device.Tokens().size(), 7U);
}

TEST_F(DeviceTest, UdidThatIsTooLongIsRefusedWhole)
{
    ASSERT_TRUE(device.Configure({"Blue phone", std::string(64, 'a'), "tablet", "/there"}));
    EXPECT_FALSE(device.Configure({"Red phone", std::string(65, 'a'), "phone", "/here"}));
    EXPECT_EQ(device.Identity().name + device.Root(), "Blue phone/there");
}

} // namespace
