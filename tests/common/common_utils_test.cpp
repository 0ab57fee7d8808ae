#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common_utils.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/scheduler.h"
#include "log_tap.h"

namespace OHOS::Pelago {
namespace {

using Host::Device;
using Host::Faults;
using Host::Scheduler;

class CommonUtilsTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
    }
    LogTap tap_;
};

TEST_F(CommonUtilsTest, TheUdidIsHashedAndMadeAnonymous)
{
    const std::string hash = "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"; // SHA-256 of "abc"
    ASSERT_TRUE(Device::Instance().Configure({"Blue phone", "abc", "phone", ""}));
    EXPECT_EQ(CommonUtils::GetLocalDeviceUdid(), "abc");
    EXPECT_EQ(CommonUtils::GetLocalDeviceUdidHash(false), hash);
    EXPECT_EQ(CommonUtils::GetLocalDeviceUdidHash(true), hash.substr(0, 16));
    const std::string longest(Host::MAX_UDID_LENGTH, 'u');
    ASSERT_TRUE(Device::Instance().Configure({"Blue phone", longest, "phone", ""}));
    EXPECT_EQ(CommonUtils::GetLocalDeviceUdid(), longest);
    for (const char* fault : {"softbus.GetLocalNodeDeviceInfo", "softbus.GetNodeKeyInfo"}) {
        Faults::Inject(fault);
        EXPECT_EQ(CommonUtils::GetLocalDeviceUdid(), "");
    }
    EXPECT_EQ(
        tap_.Take(), LinesOf(Log::SHARE, {"GetLocalNodeDeviceInfo failed with: -1", "GetNodeKeyInfo failed with: -1"}));
    EXPECT_EQ(CommonUtils::GetAnonymousUdid(""), "");
    EXPECT_EQ(CommonUtils::GetAnonymousUdid("012345678"), "");
    EXPECT_EQ(CommonUtils::GetAnonymousUdid("0123456789"), "01234**56789");
    EXPECT_EQ(CommonUtils::GetAnonymousUdid(hash), "BA781**015AD");
}

TEST_F(CommonUtilsTest, DeviceTypesHaveTheNumbersThatPeersKnow)
{
    struct Row {
        const char* word;
        int type;
        const char* hex;
    };
    const Row rows[] = {{"phone", 14, "00E"}, {"default", 14, "00E"}, {"pc", 12, "00C"}, {"tablet", 17, "011"},
        {"watch", 109, "06D"}, {"car", 131, "083"}, {"tv", 156, "09C"}, {"2in1", 2607, "A2F"}, {"", 0, "000"},
        {"Phone", 0, "000"}, {"phone ", 0, "000"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.word);
        ASSERT_TRUE(Device::Instance().Configure({"Blue phone", "abc", row.word, ""}));
        EXPECT_EQ(CommonUtils::GetLocalDeviceType(), row.type);
        EXPECT_EQ(CommonUtils::ConvertHexToString(row.type), row.hex);
    }
    EXPECT_EQ(CommonUtils::ConvertHexToString(-1), "FFFFFFFF");
}

TEST_F(CommonUtilsTest, WifiCountsWhenItIsUpOrHalfUp)
{
    using Host::WifiMode;
    const int64_t done = 10'000;
    struct Row {
        WifiMode mode;
        int64_t ms;
        int state;
        bool available;
        bool orActivating;
    };
    const Row rows[] = {{WifiMode::ON, done, 1, true, true}, {WifiMode::OFF, 0, 3, false, false},
        {WifiMode::OFF, done, 0, false, false}, {WifiMode::SEMI, 0, 4, false, false},
        {WifiMode::SEMI, done, 5, true, true}, {WifiMode::ON, 0, 2, false, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.state);
        Device::Instance().SwitchWifi(row.mode);
        ASSERT_TRUE(Scheduler::Instance().Advance(row.ms));
        (void)tap_.Take();
        EXPECT_EQ(CommonUtils::IsWifiAvailable(), row.available);
        EXPECT_EQ(CommonUtils::IsWifiAvailableOrActivating(), row.orActivating);
        const std::string state = std::to_string(row.state);
        const Lines refusal = LinesOf(Log::SHARE, {"Wifi is not available, curr state: " + state});
        const Lines answer =
            LinesOf(Log::SHARE, {"curr state: " + state + (row.orActivating ? ", ret: 1" : ", ret: 0")});
        EXPECT_EQ(tap_.Take(), row.available ? answer : refusal + answer);
    }
}

TEST_F(CommonUtilsTest, ARadioThatDoesNotAnswerIsNotAvailableAndBleCountsWithoutClassicBluetooth)
{
    int state = 77;
    Faults::Inject("wifi.GetInstance", 2);
    EXPECT_FALSE(CommonUtils::IsWifiAvailable() || CommonUtils::IsWifiAvailableOrActivating());
    Faults::Inject("wifi.GetWifiDetailState");
    EXPECT_FALSE(CommonUtils::GetWifiState(state));
    EXPECT_EQ(state, 77);
    EXPECT_EQ(tap_.Take(),
        LinesOf(Log::SHARE, {"wifiDevice is nullptr", "wifiDevice is nullptr", "GetWifiDetailState failed"}));
    using Host::BluetoothMode;
    for (BluetoothMode mode : {BluetoothMode::ON, BluetoothMode::BLE_ONLY, BluetoothMode::OFF}) {
        Device::Instance().SwitchBluetooth(mode);
        ASSERT_TRUE(Scheduler::Instance().Advance(10'000));
        EXPECT_EQ(CommonUtils::IsBluetoothEnable(), mode == BluetoothMode::ON);
        EXPECT_EQ(CommonUtils::IsBleAvailable(), mode != BluetoothMode::OFF);
    }
    EXPECT_EQ(tap_.Take(), LinesOf(Log::SHARE, {"Ble is not available"}));
}

TEST_F(CommonUtilsTest, UsersAreAskedOfTheAccountService)
{
    Device& device = Device::Instance();
    ASSERT_TRUE(device.PutUser({101, Host::UserType::PRIVATE, false, {}}));
    int userId = 77;
    EXPECT_TRUE(CommonUtils::GetCurrentForegroundUserId(userId));
    EXPECT_EQ(userId, USER_ID_PRIMARY);
    EXPECT_TRUE(CommonUtils::IsUserVerified(100) && !CommonUtils::IsUserVerified(101));
    EXPECT_TRUE(CommonUtils::IsUserPrivacy(101) && !CommonUtils::IsUserPrivacy(100));
    EXPECT_TRUE(CommonUtils::IsUserPrimary(100) && !CommonUtils::IsUserPrimary(101));

    Faults::Inject("account.IsOsAccountVerified");
    EXPECT_FALSE(CommonUtils::IsUserVerified(USER_ID_INVALID));
    EXPECT_EQ(tap_.Take(), Lines()) << "nobody was asked";
    ASSERT_TRUE(device.SwitchUser(-1));
    userId = 77;
    EXPECT_FALSE(CommonUtils::IsUserVerified(100) || CommonUtils::IsUserPrivacy(102) ||
                 CommonUtils::GetCurrentForegroundUserId(userId));
    EXPECT_EQ(userId, 77);
    EXPECT_EQ(tap_.Take().size(), 3U);
}

TEST_F(CommonUtilsTest, APathIsValidWhenItLeadsSomewhere)
{
    const std::string folder = testing::TempDir() + "common_utils_" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink("nowhere", folder + "/dangling");
    EXPECT_TRUE(CommonUtils::IsValidPath((folder + "/../").c_str()) && CommonUtils::IsFileExist(folder));
    EXPECT_FALSE(CommonUtils::IsFileExist(folder + "/other") || CommonUtils::IsFileExist(folder + "/dangling"));
    EXPECT_EQ(tap_.Take(), Lines());
    EXPECT_FALSE(CommonUtils::IsValidPath((folder + "/dangling").c_str()) || CommonUtils::IsValidPath(nullptr));
    EXPECT_EQ(tap_.Take().at(0), LinesOf(Log::SHARE, {"file path is not real path!"}).at(0));
    std::filesystem::remove_all(folder);
}

TEST_F(CommonUtilsTest, TextsAreCutBetweenCharacters)
{
    const std::string many(1024, 'a');
    struct Row {
        const char* name;
        std::string text;
        uint32_t capacity;
        std::string front;
    };
    const Row rows[] = {
        {"fits", "abc", 3, "abc"},
        {"ascii", "abcdef", 4, "abcd"},
        {"to nothing", "abc", 0, ""},
        {"behind a character of three bytes", "\u4e2d\u6587", 3, "\u4e2d"},
        {"through a character of three bytes", "\u4e2d\u6587", 5, "\u4e2d"},
        {"through the first one", "\u4e2d\u6587", 2, ""},
        {"through a character of four bytes", "a\U0001F4F1z", 4, "a"},
        {"the longest that is cut", many, 10, "aaaaaaaaaa"},
        {"too long to be cut", many + "a", 10, many + "a"},
        {"does not decode", "ab\xff-def", 2, "ab\xff-def"},
        {"half a character at the end", "abcd\xe4\xb8", 2, "abcd\xe4\xb8"},
        {"NUL at the front", std::string("\0abc", 4), 2, std::string("\0abc", 4)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(CommonUtils::TruncMultilingualStringByCapacity(row.text, row.capacity), row.front);
        EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C") << "the locale is as before";
    }
    EXPECT_EQ(tap_.Take(), LinesOf(Log::SHARE, {"input multiByteStr size over max size", "mbstowcs failed"}));
}

TEST_F(CommonUtilsTest, TheFrontHalfOfANameIsMasked)
{
    const std::pair<std::string, const char*> rows[] = {{"abcdef", "***def"}, {"abcde", "***cde"}, {"a", "***"},
        {"", "***"}, {"\u4e2d\u6587", "***\u6587"}, {"\u4e2d", "***"}, {std::string(1025, 'a'), "***"}};
    for (const auto& [name, masked] : rows) {
        EXPECT_EQ(CommonUtils::GetSecureDeviceName(name), masked) << name;
    }
}

} // namespace
} // namespace OHOS::Pelago
