// The model of the device: radios and what people and mishaps do to them, abilities, users, tokens.
#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "bluetooth_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/scheduler.h"
#include "wifi_device.h"

using namespace OHOS;
using namespace OHOS::Host;
using namespace std::chrono_literals;

namespace {

using D = Device&;
using W = WifiMode;
using B = BluetoothMode;
using Modes = std::pair<W, B>;

constexpr int64_t LONG_ENOUGH_MS = 60'000;

// The device in manual time, and the events that it publishes: the last word of each action, its code, and when it came
// if that was not at once.
class DeviceTest : public testing::Test {
protected:
    DeviceTest()
    {
        EXPECT_TRUE(Scheduler::Instance().UseManualTime());
        device.SetRadioTimings({1ms, 2ms, 4ms, 8ms, 16ms, 32ms, 64ms}); // each sum tells which steps it is of
        device.SetEventSink([this](const DeviceEvent& event) {
            const int64_t ms = Scheduler::Instance().BootTimeMs() - since;
            heard += event.action.substr(event.action.rfind('.') + 1) + " " + std::to_string(event.code) +
                     (ms == 0 ? "; " : " after " + std::to_string(ms) + "; ");
        });
    }
    std::string HeardAfter(int64_t ms)
    {
        EXPECT_TRUE(Scheduler::Instance().Advance(ms));
        since = Scheduler::Instance().BootTimeMs();
        return std::exchange(heard, "");
    }
    void Given(const Modes& modes)
    {
        device.SwitchWifi(modes.first);
        device.SwitchBluetooth(modes.second);
        (void)HeardAfter(LONG_ENOUGH_MS); // the way there is another row's
    }
    Modes Arrived() const
    {
        const RadioStates now = device.Radios();
        const W wifi = now.wifi == WifiState::ACTIVE ? W::ON : now.wifi == WifiState::SEMI_ACTIVE ? W::SEMI : W::OFF;
        return {wifi, now.bluetooth == BluetoothState::ON ? B::ON : now.ble ? B::BLE_ONLY : B::OFF};
    }

    Device& device = Device::Instance();
    std::string heard;
    int64_t since = Scheduler::MANUAL_BOOT_MS;
};

constexpr Modes BOTH{W::ON, B::ON};
constexpr Modes NO_WIFI{W::OFF, B::ON};
constexpr Modes SEMI{W::SEMI, B::ON};
constexpr Modes BLE{W::ON, B::BLE_ONLY};
constexpr Modes NO_BLUETOOTH{W::ON, B::OFF};
constexpr RestartEnd BACK = RestartEnd::COMES_BACK;
constexpr RestartEnd AWAY = RestartEnd::STAYS_AWAY;

const struct {
    const char* name;
    Modes before;
    std::function<void(D)> request;
    const char* heard;
    Modes after;
} RADIO_ROWS[] = {
    {"both are up from the start", BOTH, [](D) {}, "", BOTH},
    {"Wi-Fi off", BOTH, [](D d) { d.SwitchWifi(W::OFF); }, "POWER_STATE 0; POWER_STATE 1 after 4; ", NO_WIFI},
    {"Wi-Fi on", NO_WIFI, [](D d) { d.RaiseWifi(W::ON); }, "POWER_STATE 2; POWER_STATE 3 after 1; ", BOTH},
    {"Wi-Fi half on", NO_WIFI, [](D d) { d.RaiseWifi(W::SEMI); }, "SEMI_STATE 4; SEMI_STATE 5 after 2; ", SEMI},
    {"Wi-Fi is not raised downwards", BOTH, [](D d) { d.RaiseWifi(W::SEMI); }, "", BOTH},
    {"Bluetooth off", BOTH, [](D d) { d.SwitchBluetooth(B::OFF); }, "STATE_UPDATE 2; STATE_UPDATE 3 after 32; ",
        NO_BLUETOOTH},
    {"Bluetooth down to BLE", BOTH, [](D d) { d.SwitchBluetooth(B::BLE_ONLY); },
        "STATE_UPDATE 2; STATE_UPDATE 3 after 16; ", BLE},
    {"BLE alone up", NO_BLUETOOTH, [](D d) { d.RaiseBluetooth(B::BLE_ONLY); }, "STATE_UPDATE 3 after 16; ", BLE},
    {"BLE alone down", BLE, [](D d) { d.SwitchBluetooth(B::OFF); }, "STATE_UPDATE 3 after 32; ", NO_BLUETOOTH},
    {"Bluetooth on from BLE", BLE, [](D d) { d.SwitchBluetooth(B::ON); }, "STATE_UPDATE 0; STATE_UPDATE 1 after 8; ",
        BOTH},
    {"Bluetooth is not raised downwards", BOTH, [](D d) { d.RaiseBluetooth(B::BLE_ONLY); }, "", BOTH},
    {"Wi-Fi restarts", BOTH, [](D d) { EXPECT_TRUE(d.RestartWifi(BACK)); },
        "SEMI_STATE 0; POWER_STATE 0; POWER_STATE 1 after 4; POWER_STATE 2 after 68; POWER_STATE 3 after 69; ", BOTH},
    {"half Wi-Fi restarts", SEMI, [](D d) { EXPECT_TRUE(d.RestartWifi(BACK)); },
        "SEMI_STATE 0; SEMI_STATE 1; POWER_STATE 0; POWER_STATE 1 after 4; SEMI_STATE 4 after 68; "
        "SEMI_STATE 5 after 70; ",
        SEMI},
    {"Wi-Fi stays away", BOTH, [](D d) { EXPECT_TRUE(d.RestartWifi(AWAY)); },
        "SEMI_STATE 0; POWER_STATE 0; POWER_STATE 1 after 4; ", NO_WIFI},
    {"Wi-Fi that is off", NO_WIFI, [](D d) { EXPECT_FALSE(d.RestartWifi(BACK)); }, "", NO_WIFI},
    {"Bluetooth restarts", BOTH, [](D d) { EXPECT_TRUE(d.RestartBluetooth(BACK) && !d.RestartBluetooth(BACK)); },
        "BT_SWITCH_RESTRICT_BLUETOOTH 0; STATE_UPDATE 2; STATE_UPDATE 3 after 32; STATE_UPDATE 0 after 96; "
        "STATE_UPDATE 1 after 104; ",
        BOTH},
    {"BLE alone restarts", BLE, [](D d) { EXPECT_TRUE(d.RestartBluetooth(BACK)); },
        "BT_SWITCH_RESTRICT_BLUETOOTH 0; STATE_UPDATE 3 after 32; STATE_UPDATE 3 after 112; ", BLE},
    {"into the restricted mode", BOTH, [](D d) { EXPECT_TRUE(d.RestartBluetooth(BACK, B::BLE_ONLY)); },
        "BT_SWITCH_RESTRICT_BLUETOOTH 0; STATE_UPDATE 2; STATE_UPDATE 3 after 32; STATE_UPDATE 3 after 112; ", BLE},
    {"Bluetooth that is off", NO_BLUETOOTH, [](D d) { EXPECT_FALSE(d.RestartBluetooth(BACK, B::BLE_ONLY)); }, "",
        NO_BLUETOOTH},
};

TEST_F(DeviceTest, RadioTellsEachStateAndArrivesInItsTime)
{
    for (const auto& row : RADIO_ROWS) {
        SCOPED_TRACE(row.name);
        Given(row.before);
        row.request(device);
        EXPECT_EQ(heard, "") << "told inside the call";
        EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), row.heard);
        EXPECT_EQ(Arrived(), row.after);
        EXPECT_EQ(Modes(device.Snapshot().wifiMode, device.Snapshot().bluetoothMode), row.after);
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
    EXPECT_EQ(
        HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 2; POWER_STATE 3 after 1; STATE_UPDATE 3 after 16; ");
    EXPECT_EQ(Arrived(), BLE);
    ASSERT_TRUE(device.RestartBluetooth(BACK) && device.RestartWifi(AWAY));
    device.SwitchBluetooth(B::OFF);
    EXPECT_EQ(EnableWifi(), 0);
    (void)HeardAfter(LONG_ENOUGH_MS); // the way is another test's
    EXPECT_EQ(Arrived(), NO_BLUETOOTH);
}

TEST_F(DeviceTest, StuckRadioStaysOnTheWayUntilItIsAskedAgain)
{
    Given({W::OFF, B::OFF});
    Faults::Inject("wifi.arrive");
    Faults::Inject("bluetooth.arrive");
    for (const char* arrival : {"", "POWER_STATE 3 after 1; STATE_UPDATE 1 after 8; "}) {
        device.RaiseWifi(W::ON);
        device.RaiseBluetooth(B::ON);
        EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), std::string("POWER_STATE 2; STATE_UPDATE 0; ") + arrival);
    }
}

TEST_F(DeviceTest, AbilityThatGoesSilencesItsRadioAndOneThatComesSaysHowThingsAre)
{
    const std::vector<int32_t> abilities{AbilityId::WIFI, AbilityId::BLUETOOTH, AbilityId::DATA_SHARE};
    device.AddAbilityListener([this](int32_t id, bool present) {
        EXPECT_EQ(device.IsAbilityPresent(id), present); // listeners may ask
        heard += (present ? "+" : "-") + std::to_string(id) + "; ";
    });
    for (int32_t id : abilities) {
        device.SetAbilityPresent(id, false);
        device.SetAbilityPresent(id, false);
    }
    EXPECT_TRUE(EnableWifi() != 0 && Bluetooth::BluetoothHost::GetDefaultHost().EnableBle() != 0);
    device.SwitchWifi(W::OFF);
    device.SwitchBluetooth(B::OFF);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "-1120; -1130; -1301; ");
    for (int32_t id : abilities) {
        device.SetAbilityPresent(id, true);
    }
    EXPECT_EQ(HeardAfter(0), "+1120; POWER_STATE 1; +1130; STATE_UPDATE 3; +1301; DATA_SHARE_READY 0; ");
}

TEST_F(DeviceTest, AirplaneModeTakesRadiosDownRefusesServicesAndGivesThemBack)
{
    Given(BLE);
    device.SetAirplane(true);
    device.SetAirplane(true);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 0; POWER_STATE 1 after 4; STATE_UPDATE 3 after 32; ");
    Bluetooth::BluetoothHost& host = Bluetooth::BluetoothHost::GetDefaultHost();
    EXPECT_TRUE(EnableWifi() != 0 && EnableSemiWifi() != 0);
    EXPECT_TRUE(host.EnableBle() != 0 && host.EnableBluetoothToRestrictMode() != 0);
    device.SetAirplane(false);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; POWER_STATE 3 after 1; STATE_UPDATE 3 after 16; ");
    EXPECT_EQ(Arrived(), BLE);
}

TEST_F(DeviceTest, UsersComeToTheFrontUnlockAndLeave)
{
    int changes = 0;
    device.SetChangeListener([&changes] { ++changes; });
    EXPECT_FALSE(device.SwitchUser(101) || device.PutUser(User{}));
    ASSERT_TRUE(device.PutUser({101, UserType::PRIVATE, false, {}}));
    ASSERT_TRUE(device.SwitchUser(101) && device.SwitchUser(101));
    ASSERT_TRUE(device.SetVerified(101, true) && device.SetVerified(101, true));
    ASSERT_TRUE(device.SwitchUser(100) && device.SwitchUser(101));
    EXPECT_EQ(HeardAfter(0), "USER_SWITCHED 101; USER_UNLOCKED 101; USER_SWITCHED 100; USER_SWITCHED 101; ");
    EXPECT_EQ(changes, 1) << "changes that come together are told once";
    EXPECT_EQ(device.ActiveUsers(), (std::vector<int32_t>{101, 100}));
    EXPECT_FALSE(device.StopUser(101) || device.RemoveUser(101)) << "is in front";
    ASSERT_TRUE(device.StopUser(100));
    EXPECT_FALSE(device.StopUser(100) || device.FindUser(100)->verified);
    ASSERT_TRUE(device.SwitchUser(-1) && device.RemoveUser(101));
    EXPECT_FALSE(device.FindUser(101) || device.SetVerified(101, true) || device.SetAccount(101, {}));
    EXPECT_TRUE(device.ActiveUsers().empty());
}

TEST_F(DeviceTest, TokensTakeNamesOfSocketsAndATooLongUdidIsRefusedWhole)
{
    const std::string longest(Device::MAX_TOKEN_NAME, 'a');
    const uint32_t added = device.AddToken({"guest-2", TokenId::OWNER, {PERMISSION_ACCESS_SERVICE}, 0666});
    EXPECT_TRUE(device.TokenHolds(added, PERMISSION_ACCESS_SERVICE));
    EXPECT_FALSE(device.TokenHolds(added, PERMISSION_SWITCH_CONTROL));
    for (const std::string& name :
        std::vector<std::string>{"", "guest-2", "owner", "..", "a/b", "A", "with space", "a\n", longest + "a"}) {
        EXPECT_EQ(device.AddToken({name, 0, {}, 0600}), 0U) << name;
    }
    EXPECT_EQ(device.AddToken({longest, 0, {}, 0600}), added + 1);
    ASSERT_TRUE(device.Configure({"Blue phone", std::string(64, 'a'), "tablet", "/there"}));
    EXPECT_FALSE(device.Configure({"Red phone", std::string(65, 'a'), "phone", "/here"}));
    EXPECT_EQ(device.Identity().name + device.Root(), "Blue phone/there");
}

} // namespace
