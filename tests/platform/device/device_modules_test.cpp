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
using Security::AccessToken::AccessTokenKit;

namespace {

constexpr int32_t UNTOUCHED = -77;
constexpr Rosen::WMError WM_OK = Rosen::WMError::WM_OK;

struct CallRow {
    const char* fault;
    int32_t ability; // without which the call fails; 0: none
    std::function<bool()> succeeds;
};

/// Whether the call succeeded; a failed one must have left its output alone.
template <typename T, typename Call>
bool Succeeds(T output, const T& untouched, Call call)
{
    const bool good = call(output) == 0;
    EXPECT_NE(good, output == untouched);
    return good;
}

using Wifi::WifiDetailState;
Bluetooth::BluetoothHost& Blue()
{
    return Bluetooth::BluetoothHost::GetDefaultHost();
}

const std::vector<CallRow> CALL_ROWS = {
    {"account.GetForegroundOsAccountLocalId", AbilityId::OS_ACCOUNT,
        [] { return Succeeds(UNTOUCHED, UNTOUCHED, OsAccountManager::GetForegroundOsAccountLocalId); }},
    {"account.IsOsAccountVerified", AbilityId::OS_ACCOUNT,
        [] { return Succeeds(false, false, [](bool& to) { return OsAccountManager::IsOsAccountVerified(100, to); }); }},
    {"account.QueryActiveOsAccountIds", AbilityId::OS_ACCOUNT,
        [] { return Succeeds(std::vector<int32_t>(), {}, OsAccountManager::QueryActiveOsAccountIds); }},
    {"wifi.GetInstance", AbilityId::WIFI, [] { return Wifi::WifiDevice::GetInstance(1120, 0) != nullptr; }},
    {"wifi.GetWifiDetailState", AbilityId::WIFI,
        [] {
            const std::shared_ptr<Wifi::WifiDevice> wifi = Wifi::WifiDevice::GetInstance(AbilityId::WIFI, 0);
            return wifi != nullptr && Succeeds(WifiDetailState::STATE_UNKNOWN, WifiDetailState::STATE_UNKNOWN,
                                          [&wifi](WifiDetailState& to) { return wifi->GetWifiDetailState(to); });
        }},
    {"wifi.EnableWifi", AbilityId::WIFI, [] { return EnableWifi() == 0; }},
    {"bluetooth.GetBtState", AbilityId::BLUETOOTH, [] { return Blue().GetBtState() == 1; }},
    {"bluetooth.EnableBluetoothToRestrictMode", AbilityId::BLUETOOTH,
        [] { return Blue().EnableBluetoothToRestrictMode() == 0; }},
    {"security.VerifyAccessToken", 0,
        [] { return AccessTokenKit::VerifyAccessToken(TokenId::OWNER, PERMISSION_ACCESS_SERVICE) == 0; }},
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
    EXPECT_TRUE(OsAccountManager::GetForegroundOsAccountLocalId(id) == 0 && id == 101);
    EXPECT_TRUE(OsAccountManager::IsOsAccountVerified(101, verified) == 0 && !verified);
    EXPECT_TRUE(OsAccountManager::QueryOsAccountById(101, user) == 0 && user.GetType() == 1024);
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

TEST(DeviceModulesTest, FocusChangesReachEachListenerOnceUntilItLeaves)
{
    ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    Device& device = Device::Instance();
    Rosen::WindowManager& windows = Rosen::WindowManager::GetInstance();
    std::string heard;
    sptr<FocusLog> listener = new FocusLog(heard);
    EXPECT_NE(windows.RegisterFocusChangedListener(nullptr), WM_OK);
    Faults::Inject("window.RegisterFocusChangedListener");
    EXPECT_NE(windows.RegisterFocusChangedListener(listener), WM_OK);
    EXPECT_EQ(windows.RegisterFocusChangedListener(listener), WM_OK);
    EXPECT_EQ(windows.RegisterFocusChangedListener(listener), WM_OK);
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
