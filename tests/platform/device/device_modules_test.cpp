// The small modules that only ask the device model: accounts, radios, windows, bus, parameters, permissions.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "accesstoken_kit.h"
#include "bluetooth_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/scheduler.h"
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

constexpr int32_t UNTOUCHED = -77;

/// Whether the call succeeded; a failed one must have left its output alone.
bool Checked(bool succeeded, bool untouched)
{
    EXPECT_NE(succeeded, untouched);
    return succeeded;
}

struct CallRow {
    const char* fault;
    int32_t ability; // without which the call fails; 0: none
    std::function<bool()> succeeds;
};

const std::vector<CallRow> CALL_ROWS = {
    {"account.GetForegroundOsAccountLocalId", AbilityId::OS_ACCOUNT,
        [] {
            int32_t id = UNTOUCHED;
            const bool good = OsAccountManager::GetForegroundOsAccountLocalId(id) == 0;
            return Checked(good, id == UNTOUCHED);
        }},
    {"account.IsOsAccountVerified", AbilityId::OS_ACCOUNT,
        [] {
            bool verified = false;
            const bool good = OsAccountManager::IsOsAccountVerified(100, verified) == 0;
            return Checked(good, !verified);
        }},
    {"account.QueryOsAccountById", AbilityId::OS_ACCOUNT,
        [] {
            AccountSA::OsAccountInfo info;
            const bool good = OsAccountManager::QueryOsAccountById(100, info) == 0;
            return Checked(good, info.GetLocalId() == -1);
        }},
    {"account.QueryActiveOsAccountIds", AbilityId::OS_ACCOUNT,
        [] {
            std::vector<int32_t> ids;
            const bool good = OsAccountManager::QueryActiveOsAccountIds(ids) == 0;
            return Checked(good, ids.empty());
        }},
    {"account.GetOhosAccountInfoByUserId", AbilityId::OS_ACCOUNT,
        [] {
            AccountSA::OhosAccountInfo info;
            info.status_ = UNTOUCHED;
            const bool good = AccountSA::OhosAccountKits::GetInstance().GetOhosAccountInfoByUserId(100, info) == 0;
            return Checked(good, info.status_ == UNTOUCHED);
        }},
    {"wifi.GetInstance", AbilityId::WIFI, [] { return Wifi::WifiDevice::GetInstance(1120, 0) != nullptr; }},
    {"wifi.GetWifiDetailState", AbilityId::WIFI,
        [] {
            const std::shared_ptr<Wifi::WifiDevice> wifi = Wifi::WifiDevice::GetInstance(AbilityId::WIFI, 0);
            Wifi::WifiDetailState state = Wifi::WifiDetailState::STATE_UNKNOWN;
            const bool good = wifi != nullptr && wifi->GetWifiDetailState(state) == 0;
            return Checked(good, state == Wifi::WifiDetailState::STATE_UNKNOWN);
        }},
    {"wifi.EnableWifi", AbilityId::WIFI, [] { return EnableWifi() == 0; }},
    {"wifi.EnableSemiWifi", AbilityId::WIFI, [] { return EnableSemiWifi() == 0; }},
    {"bluetooth.GetBtState", AbilityId::BLUETOOTH,
        [] { return Bluetooth::BluetoothHost::GetDefaultHost().GetBtState() == 1; }},
    {"bluetooth.IsBleEnabled", AbilityId::BLUETOOTH,
        [] { return Bluetooth::BluetoothHost::GetDefaultHost().IsBleEnabled(); }},
    {"bluetooth.EnableBle", AbilityId::BLUETOOTH,
        [] { return Bluetooth::BluetoothHost::GetDefaultHost().EnableBle() == 0; }},
    {"bluetooth.EnableBluetoothToRestrictMode", AbilityId::BLUETOOTH,
        [] { return Bluetooth::BluetoothHost::GetDefaultHost().EnableBluetoothToRestrictMode() == 0; }},
    {"softbus.GetLocalNodeDeviceInfo", 0,
        [] {
            NodeBasicInfo info = {"untouched", "", 0};
            const bool good = GetLocalNodeDeviceInfo("test", &info) == 0;
            return Checked(good, info.networkId == std::string("untouched"));
        }},
    {"security.VerifyAccessToken", 0,
        [] {
            return Security::AccessToken::AccessTokenKit::VerifyAccessToken(
                       TokenId::OWNER, PERMISSION_ACCESS_SERVICE) == 0;
        }},
};

TEST(DeviceModulesTest, CallsFailWhenToldToAndWithoutTheirAbility)
{
    ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    for (const CallRow& row : CALL_ROWS) {
        SCOPED_TRACE(row.fault);
        EXPECT_TRUE(row.succeeds());
        Faults::Inject(row.fault);
        EXPECT_FALSE(row.succeeds());
        EXPECT_TRUE(row.succeeds());
        if (row.ability != 0) {
            Device::Instance().SetAbilityPresent(row.ability, false);
            EXPECT_FALSE(row.succeeds());
            Device::Instance().SetAbilityPresent(row.ability, true);
        }
    }
}

TEST(DeviceModulesTest, AccountsAreThoseOfTheUsers)
{
    ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    Device& device = Device::Instance();
    ASSERT_TRUE(device.PutUser({101, UserType::PRIVATE, false, {"name", "hash", 1, 2, "nick", "face"}}));
    ASSERT_TRUE(device.SwitchUser(101));
    int32_t id = UNTOUCHED;
    bool verified = true;
    AccountSA::OsAccountInfo user;
    AccountSA::OhosAccountInfo account;
    EXPECT_EQ(OsAccountManager::GetForegroundOsAccountLocalId(id), 0);
    EXPECT_EQ(id, 101);
    EXPECT_EQ(OsAccountManager::IsOsAccountVerified(101, verified), 0);
    EXPECT_FALSE(verified);
    EXPECT_EQ(OsAccountManager::QueryOsAccountById(101, user), 0);
    EXPECT_EQ(user.GetType(), 1024);
    EXPECT_EQ(AccountSA::OhosAccountKits::GetInstance().GetOhosAccountInfoByUserId(101, account), 0);
    EXPECT_EQ(account.name_ + account.uid_ + account.nickname_ + account.avatar_, "namehashnickface");
    EXPECT_EQ(account.status_ * 10 + account.callingUid_, 12);
    EXPECT_NE(OsAccountManager::QueryOsAccountById(102, user), 0);
    EXPECT_NE(AccountSA::OhosAccountKits::GetInstance().GetOhosAccountInfoByUserId(102, account), 0);
    ASSERT_TRUE(device.SwitchUser(-1));
    EXPECT_NE(OsAccountManager::GetForegroundOsAccountLocalId(id), 0);
}

TEST(DeviceModulesTest, WifiComesUpWhenAskedAndIsNotTakenDownByALesserRequest)
{
    ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    EXPECT_EQ(Wifi::WifiDevice::GetInstance(AbilityId::BLUETOOTH, 0), nullptr);
    Device::Instance().SwitchWifi(WifiMode::OFF);
    ASSERT_TRUE(Scheduler::Instance().Advance(60'000));
    EXPECT_EQ(EnableSemiWifi(), 0);
    EXPECT_EQ(EnableWifi(), 0);
    EXPECT_EQ(EnableSemiWifi(), 0);
    Wifi::WifiDetailState state = Wifi::WifiDetailState::STATE_UNKNOWN;
    EXPECT_EQ(Wifi::WifiDevice::GetInstance(AbilityId::WIFI, 0)->GetWifiDetailState(state), 0);
    EXPECT_EQ(static_cast<int>(state), 2);
}

TEST(DeviceModulesTest, BusGivesTheUdidForItsOwnNetworkIdOnly)
{
    const std::string udid(64, 'F');
    // 126 bytes, then a character of two: one byte of it would fit.
    ASSERT_TRUE(Device::Instance().Configure({std::string(126, 'x') + "\xC3\xA9", udid, "2in1", ""}));
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

class FocusLog : public Rosen::IFocusChangedListener {
public:
    explicit FocusLog(std::string& text) : heard(text)
    {}
    void OnFocused(const sptr<Rosen::FocusChangeInfo>& info) override
    {
        heard += "+" + std::to_string(info->pid_) + " of " + std::to_string(info->uid_) + "; ";
        if (leavesAtOnce) {
            EXPECT_EQ(Rosen::WindowManager::GetInstance().UnregisterFocusChangedListener(this), Rosen::WMError::WM_OK);
        }
    }
    void OnUnfocused(const sptr<Rosen::FocusChangeInfo>& info) override
    {
        heard += "-" + std::to_string(info->pid_) + "; ";
    }

    std::string& heard;
    bool leavesAtOnce = false;
};

TEST(DeviceModulesTest, FocusChangesReachEachListenerOnceUntilItLeaves)
{
    ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    Device& device = Device::Instance();
    Rosen::WindowManager& windows = Rosen::WindowManager::GetInstance();
    std::string heard;
    sptr<FocusLog> listener = new FocusLog(heard);
    EXPECT_NE(windows.RegisterFocusChangedListener(nullptr), Rosen::WMError::WM_OK);
    Faults::Inject("window.RegisterFocusChangedListener");
    EXPECT_NE(windows.RegisterFocusChangedListener(listener), Rosen::WMError::WM_OK);
    EXPECT_EQ(windows.RegisterFocusChangedListener(listener), Rosen::WMError::WM_OK);
    EXPECT_EQ(windows.RegisterFocusChangedListener(listener), Rosen::WMError::WM_OK);
    device.SetForegroundApplications({{10, 1000, "some.bundle"}});
    device.SetFocused(10, true);
    device.SetFocused(10, true);
    device.SetFocused(10, false);
    EXPECT_EQ(heard, "") << "told inside the call";
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(heard, "+10 of 1000; -10; ");
    listener->leavesAtOnce = true;
    const wptr<FocusLog> left = listener;
    listener = nullptr;
    device.SetFocused(11, true);
    device.SetFocused(12, true);
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(heard, "+10 of 1000; -10; +11 of -1; ");
    EXPECT_EQ(left.promote(), nullptr) << "kept after it left";
    EXPECT_EQ(device.FocusedPids(), (std::vector<int32_t>{11, 12}));
}

} // namespace
