// What people and mishaps do to the device: restarts, airplane mode, applications, a device that comes back.
#include <functional>
#include <vector>

#include "bluetooth_host.h"
#include "device_scene.h"
#include "wifi_device.h"

using namespace OHOS;
using namespace OHOS::Host;

namespace {

class DevicePeopleTest : public DeviceScene {};

const std::string WIFI_GOES = "SEMI_STATE 0; POWER_STATE 0; POWER_STATE 1; ";
const std::string BLUETOOTH_GOES = "BT_SWITCH_RESTRICT_BLUETOOTH 0; STATE_UPDATE 2; STATE_UPDATE 3; ";

struct RestartRow {
    const char* name;
    WifiMode wifi;
    BluetoothMode bluetooth;
    std::function<bool(Device&)> restart;
    bool restarts;
    std::string heard;
    WifiMode wifiAfter;
    BluetoothMode bluetoothAfter;
};

TEST_F(DevicePeopleTest, RadioThatRestartsItselfSaysSoGoesAndComesBackAsWhatItWas)
{
    using W = WifiMode;
    using B = BluetoothMode;
    auto wifi = [](RestartEnd end) { return [end](Device& d) { return d.RestartWifi(end); }; };
    auto bluetooth = [](RestartEnd end) { return [end](Device& d) { return d.RestartBluetooth(end); }; };
    auto restrict = [](Device& d) { return d.RestartBluetooth(RestartEnd::COMES_BACK, B::BLE_ONLY); };
    const std::vector<RestartRow> rows = {
        {"nothing", W::ON, B::ON, [](Device&) { return true; }, true, "", W::ON, B::ON},
        {"Wi-Fi", W::ON, B::ON, wifi(RestartEnd::COMES_BACK), true, WIFI_GOES + "POWER_STATE 2; POWER_STATE 3; ", W::ON,
            B::ON},
        {"half Wi-Fi", W::SEMI, B::ON, wifi(RestartEnd::COMES_BACK), true,
            "SEMI_STATE 0; SEMI_STATE 1; POWER_STATE 0; POWER_STATE 1; SEMI_STATE 4; SEMI_STATE 5; ", W::SEMI, B::ON},
        {"Wi-Fi that stays away", W::ON, B::ON, wifi(RestartEnd::STAYS_AWAY), true, WIFI_GOES, W::OFF, B::ON},
        {"Wi-Fi that is off", W::OFF, B::ON, wifi(RestartEnd::COMES_BACK), false, "", W::OFF, B::ON},
        {"Bluetooth", W::ON, B::ON, bluetooth(RestartEnd::COMES_BACK), true,
            BLUETOOTH_GOES + "STATE_UPDATE 0; STATE_UPDATE 1; ", W::ON, B::ON},
        {"BLE alone", W::ON, B::BLE_ONLY, bluetooth(RestartEnd::COMES_BACK), true,
            "BT_SWITCH_RESTRICT_BLUETOOTH 0; STATE_UPDATE 3; STATE_UPDATE 3; ", W::ON, B::BLE_ONLY},
        {"into the restricted mode", W::ON, B::ON, restrict, true, BLUETOOTH_GOES + "STATE_UPDATE 3; ", W::ON,
            B::BLE_ONLY},
        {"Bluetooth that stays away", W::ON, B::ON, bluetooth(RestartEnd::STAYS_AWAY), true, BLUETOOTH_GOES, W::ON,
            B::OFF},
        {"Bluetooth that is off", W::ON, B::OFF, restrict, false, "", W::ON, B::OFF},
    };
    for (const RestartRow& row : rows) {
        SCOPED_TRACE(row.name);
        Given(row.wifi, row.bluetooth);
        EXPECT_EQ(row.restart(device), row.restarts);
        EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), row.heard);
        EXPECT_EQ(device.Snapshot().wifiMode, row.wifiAfter);
        EXPECT_EQ(device.Snapshot().bluetoothMode, row.bluetoothAfter);
    }
}

TEST_F(DevicePeopleTest, RestartTakesItsTimeAndARequestMeanwhileWins)
{
    const RadioTimings times;
    ASSERT_TRUE(device.RestartBluetooth(RestartEnd::COMES_BACK));
    const int64_t beforeBack = (times.bluetoothOff + times.away + times.bluetoothOn).count() - 1;
    EXPECT_EQ(HeardAfter(beforeBack), BLUETOOTH_GOES + "STATE_UPDATE 0; ");
    EXPECT_EQ(HeardAfter(1), "STATE_UPDATE 1; ");

    ASSERT_TRUE(device.RestartBluetooth(RestartEnd::COMES_BACK));
    EXPECT_FALSE(device.RestartBluetooth(RestartEnd::COMES_BACK)) << "is away already";
    EXPECT_EQ(device.Snapshot().bluetoothMode, BluetoothMode::ON) << "what it comes back as";
    device.SwitchBluetooth(BluetoothMode::OFF);
    (void)HeardAfter(LONG_ENOUGH_MS);
    EXPECT_EQ(device.Radios().bluetooth, BluetoothState::OFF);

    ASSERT_TRUE(device.RestartWifi(RestartEnd::STAYS_AWAY));
    EXPECT_EQ(EnableWifi(), 0);
    (void)HeardAfter(LONG_ENOUGH_MS);
    EXPECT_EQ(device.Radios().wifi, WifiState::ACTIVE);
}

TEST_F(DevicePeopleTest, AirplaneModeTakesRadiosDownRefusesServicesAndGivesThemBack)
{
    Given(WifiMode::ON, BluetoothMode::BLE_ONLY);
    device.SetAirplane(true);
    device.SetAirplane(true);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 0; POWER_STATE 1; STATE_UPDATE 3; ");
    Bluetooth::BluetoothHost& host = Bluetooth::BluetoothHost::GetDefaultHost();
    EXPECT_TRUE(EnableWifi() != 0 && EnableSemiWifi() != 0);
    EXPECT_TRUE(host.EnableBle() != 0 && host.EnableBluetoothToRestrictMode() != 0);
    device.SetAirplane(false);
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "POWER_STATE 2; STATE_UPDATE 3; POWER_STATE 3; ");
    EXPECT_TRUE(device.Radios().ble && device.Radios().bluetooth == BluetoothState::OFF);
}

TEST_F(DevicePeopleTest, ApplicationLeavesScreenAndFocusWithItsProcess)
{
    ASSERT_TRUE(device.AttachApplication({10, 1000, "first"}));
    ASSERT_TRUE(device.AttachApplication({10, 1000, "second"}));
    device.SetForegroundApplications(device.AttachedApplications());
    ASSERT_EQ(device.ForegroundApplications().size(), 1U);
    EXPECT_EQ(device.ForegroundApplications()[0].bundleName, "second");
    device.SetFocused(10, true);
    device.DetachApplication(10);
    device.DetachApplication(10);
    EXPECT_TRUE(device.ForegroundApplications().empty() && device.FocusedPids().empty());
    for (size_t pid = 1; pid <= Device::MAX_APPLICATIONS; ++pid) {
        ASSERT_TRUE(device.AttachApplication({static_cast<int32_t>(pid), 0, "many"}));
    }
    EXPECT_FALSE(device.AttachApplication({4242, 0, "one too many"}));
}

TEST_F(DevicePeopleTest, DeviceBecomesWhatItWasSilentlyAndRefusesUsersThatCannotBe)
{
    int changes = 0;
    device.SetChangeListener([&changes] { ++changes; });
    ASSERT_TRUE(device.SetAccount(100, {"name", "hash", 0, 0, "", ""}));
    DeviceSnapshot earlier = device.Snapshot();
    earlier.wifiMode = WifiMode::SEMI;
    earlier.bluetoothMode = BluetoothMode::BLE_ONLY;
    earlier.users = {{100, UserType::ORDINARY, false, {}}, {101, UserType::PRIVATE, true, {}}};
    earlier.foregroundUser = 101;
    earlier.activeUsers = {101};
    ASSERT_TRUE(device.Become(earlier));
    EXPECT_EQ(HeardAfter(LONG_ENOUGH_MS), "");
    EXPECT_EQ(device.Radios().wifi, WifiState::SEMI_ACTIVE);
    EXPECT_TRUE(device.Radios().ble && device.Radios().bluetooth == BluetoothState::OFF);
    EXPECT_EQ(device.ForegroundUser(), 101);
    EXPECT_EQ(device.FindUser(100)->account.uid, "hash");
    for (auto spoil :
        std::vector<std::function<void(DeviceSnapshot&)>>{[](DeviceSnapshot& other) { other.users[1].id = 100; },
            [](DeviceSnapshot& other) { other.users[0].id = -1; },
            [](DeviceSnapshot& other) { other.foregroundUser = 102; },
            [](DeviceSnapshot& other) { other.activeUsers.push_back(102); }}) {
        DeviceSnapshot spoiled = earlier;
        spoil(spoiled);
        EXPECT_FALSE(device.Become(spoiled));
    }
    EXPECT_EQ(changes, 0);
    device.SwitchWifi(WifiMode::OFF);
    ASSERT_TRUE(device.SetVerified(100, true));
    EXPECT_EQ(HeardAfter(0), "SEMI_STATE 1; POWER_STATE 0; USER_UNLOCKED 100; ");
    EXPECT_EQ(changes, 1) << "changes that come together are told once";
}

} // namespace
