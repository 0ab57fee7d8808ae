// The small modules that only ask the device model: accounts, radios, windows, bus, parameters, permissions.
#include "bluetooth_host.h"
#include "device_scene.h"
#include "ohos_account_kits.h"
#include "os_account_manager.h"
#include "parameters.h"
#include "softbus_bus_center.h"
#include "wifi_device.h"
#include "window_manager.h"

using namespace OHOS;
using namespace OHOS::Host;
using AccountSA::OsAccountManager;

namespace {

constexpr Rosen::WMError WM_OK = Rosen::WMError::WM_OK;

class DeviceModulesTest : public DeviceScene {};

TEST_F(DeviceModulesTest, WithoutTheirAbilityCallsFailAndLeaveTheirOutputAlone)
{
    const std::shared_ptr<Wifi::WifiDevice> wifi = Wifi::WifiDevice::GetInstance(AbilityId::WIFI, 0);
    for (int32_t id : {AbilityId::OS_ACCOUNT, AbilityId::WIFI, AbilityId::BLUETOOTH}) {
        device.SetAbilityPresent(id, false);
    }
    int32_t user = -77;
    std::vector<int32_t> users;
    Wifi::WifiDetailState state = Wifi::WifiDetailState::STATE_UNKNOWN;
    EXPECT_NE(OsAccountManager::GetForegroundOsAccountLocalId(user), 0);
    EXPECT_NE(OsAccountManager::QueryActiveOsAccountIds(users), 0);
    EXPECT_NE(wifi->GetWifiDetailState(state), 0);
    EXPECT_TRUE(user == -77 && users.empty() && state == Wifi::WifiDetailState::STATE_UNKNOWN);
    EXPECT_EQ(Wifi::WifiDevice::GetInstance(AbilityId::WIFI, 0), nullptr);
    EXPECT_NE(EnableWifi(), 0);
    EXPECT_NE(Bluetooth::BluetoothHost::GetDefaultHost().GetBtState(), 1);
    EXPECT_NE(Bluetooth::BluetoothHost::GetDefaultHost().EnableBluetoothToRestrictMode(), 0);
}

TEST_F(DeviceModulesTest, AccountsAreThoseOfTheUsers)
{
    ASSERT_TRUE(device.PutUser({101, UserType::PRIVATE, false, {"name", "hash", 1, 2, "nick", "face"}}));
    ASSERT_TRUE(device.SwitchUser(101));
    int32_t id = -77;
    bool verified = true;
    AccountSA::OsAccountInfo user;
    AccountSA::OhosAccountInfo account;
    EXPECT_TRUE(OsAccountManager::GetForegroundOsAccountLocalId(id) == 0 && id == 101);
    EXPECT_TRUE(OsAccountManager::IsOsAccountVerified(101, verified) == 0 && !verified);
    EXPECT_TRUE(OsAccountManager::QueryOsAccountById(101, user) == 0 && user.GetType() == 1024);
    EXPECT_EQ(AccountSA::OhosAccountKits::GetInstance().GetOhosAccountInfoByUserId(101, account), 0);
    EXPECT_EQ(account.name_ + account.uid_ + account.nickname_ + account.avatar_, "namehashnickface");
    EXPECT_NE(OsAccountManager::QueryOsAccountById(102, user), 0);
    EXPECT_NE(AccountSA::OhosAccountKits::GetInstance().GetOhosAccountInfoByUserId(102, account), 0);
    ASSERT_TRUE(device.SwitchUser(-1));
    EXPECT_NE(OsAccountManager::GetForegroundOsAccountLocalId(id), 0);
}

TEST_F(DeviceModulesTest, BusGivesTheUdidForItsOwnNetworkIdOnly)
{
    const std::string udid(64, 'F');
    // 126 bytes, then a character of two: one byte of it would fit.
    ASSERT_TRUE(device.Configure({std::string(126, 'x') + "\xC3\xA9", udid, "2in1", ""}));
    EXPECT_EQ(system::GetDeviceType(), "2in1");
    NodeBasicInfo node = {};
    ASSERT_EQ(GetLocalNodeDeviceInfo("test", &node), 0);
    EXPECT_EQ(std::string(node.networkId).size(), 64U);
    EXPECT_NE(node.networkId, udid);
    EXPECT_EQ(node.deviceName, std::string(126, 'x'));
    std::vector<uint8_t> buffer(65, 'u');
    EXPECT_NE(GetNodeKeyInfo("test", "somebody else", NODE_KEY_UDID, buffer.data(), 65), 0);
    EXPECT_NE(GetNodeKeyInfo("test", node.networkId, NODE_KEY_UDID, buffer.data(), 64), 0);
    EXPECT_NE(GetNodeKeyInfo("test", node.networkId, static_cast<NodeDeviceInfoKey>(1), buffer.data(), 65), 0);
    EXPECT_EQ(buffer, std::vector<uint8_t>(65, 'u'));
    ASSERT_EQ(GetNodeKeyInfo("test", node.networkId, NODE_KEY_UDID, buffer.data(), 65), 0);
    EXPECT_EQ(reinterpret_cast<const char*>(buffer.data()), udid);
}

struct FocusLog : public Rosen::IFocusChangedListener {
    explicit FocusLog(std::string& text) : heard(text)
    {}
    void OnFocused(const sptr<Rosen::FocusChangeInfo>& info) override
    {
        heard += "+" + std::to_string(info->pid_) + " of " + std::to_string(info->uid_) + "; ";
        EXPECT_TRUE(!leavesAtOnce || Rosen::WindowManager::GetInstance().UnregisterFocusChangedListener(this) == WM_OK);
    }
    void OnUnfocused(const sptr<Rosen::FocusChangeInfo>& info) override
    {
        heard += "-" + std::to_string(info->pid_) + "; ";
    }
    std::string& heard;
    bool leavesAtOnce = false;
};

TEST_F(DeviceModulesTest, FocusChangesReachEachListenerOnceUntilItLeaves)
{
    Rosen::WindowManager& windows = Rosen::WindowManager::GetInstance();
    sptr<FocusLog> listener = new FocusLog(heard);
    EXPECT_NE(windows.RegisterFocusChangedListener(nullptr), WM_OK);
    EXPECT_EQ(windows.RegisterFocusChangedListener(listener), WM_OK);
    EXPECT_EQ(windows.RegisterFocusChangedListener(listener), WM_OK);
    device.SetForegroundApplications({{10, 1000, "some.bundle"}});
    device.SetFocused(10, true);
    device.SetFocused(10, true);
    device.SetFocused(10, false);
    EXPECT_EQ(heard, "") << "told inside the call";
    EXPECT_EQ(HeardAfter(0), "+10 of 1000; -10; ");
    listener->leavesAtOnce = true;
    const wptr<FocusLog> left = listener;
    listener = nullptr;
    device.SetFocused(11, true);
    device.SetFocused(12, true);
    EXPECT_EQ(HeardAfter(0), "+11 of -1; ");
    EXPECT_EQ(left.promote(), nullptr) << "kept after it left";
    EXPECT_EQ(device.FocusedPids(), (std::vector<int32_t>{11, 12}));
}

} // namespace
