#include <clocale>
#include <tuple>

#include "common_utils.h"
#include "folders.h"
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
    const bool manual_ = Scheduler::Instance().UseManualTime();
    LogTap tap_;
};

TEST_F(CommonUtilsTest, TheUdidIsHashedAndMadeAnonymousAndDeviceTypesHaveTheNumbersThatPeersKnow)
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

    const std::tuple<const char*, int, const char*> rows[] = {{"phone", 14, "00E"}, {"default", 14, "00E"},
        {"pc", 12, "00C"}, {"tablet", 17, "011"}, {"watch", 109, "06D"}, {"car", 131, "083"}, {"tv", 156, "09C"},
        {"2in1", 2607, "A2F"}, {"", 0, "000"}, {"Phone", 0, "000"}, {"phone ", 0, "000"}};
    for (const auto& [word, type, hex] : rows) {
        ASSERT_TRUE(Device::Instance().Configure({"Blue phone", "abc", word, ""}));
        EXPECT_EQ(CommonUtils::GetLocalDeviceType(), type) << word;
        EXPECT_EQ(CommonUtils::ConvertHexToString(type), hex);
    }
    EXPECT_EQ(CommonUtils::ConvertHexToString(-1), "FFFFFFFF");
}

TEST_F(CommonUtilsTest, WifiCountsWhenItIsUpOrHalfUp)
{
    using Host::WifiMode;
    constexpr int64_t DONE = 10'000;
    // The mode, how long ago it was asked for, the state; whether that is available, and whether it is or will be.
    for (const auto& [mode, ms, state, available, orActivating] :
        {std::tuple(WifiMode::ON, DONE, "1", true, true), {WifiMode::OFF, 0, "3", false, false},
            {WifiMode::OFF, DONE, "0", false, false}, {WifiMode::SEMI, 0, "4", false, false},
            {WifiMode::SEMI, DONE, "5", true, true}, {WifiMode::ON, 0, "2", false, true}}) {
        Device::Instance().SwitchWifi(mode);
        ASSERT_TRUE(Scheduler::Instance().Advance(ms));
        (void)tap_.Take();
        EXPECT_EQ(CommonUtils::IsWifiAvailable(), available) << state;
        EXPECT_EQ(CommonUtils::IsWifiAvailableOrActivating(), orActivating) << state;
        const std::string answer = std::string("curr state: ") + state + (orActivating ? ", ret: 1" : ", ret: 0");
        const std::string refusal = std::string("Wifi is not available, curr state: ") + state;
        EXPECT_EQ(tap_.Take(), available ? LinesOf(Log::SHARE, {answer}) : LinesOf(Log::SHARE, {refusal, answer}));
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
    const TestFolder testFolder;
    const std::string folder = testFolder.path;
    fs::create_symlink("nowhere", folder + "/dangling");
    EXPECT_TRUE(CommonUtils::IsValidPath((folder + "/../").c_str()) && CommonUtils::IsFileExist(folder));
    EXPECT_FALSE(CommonUtils::IsFileExist(folder + "/other") || CommonUtils::IsFileExist(folder + "/dangling"));
    EXPECT_FALSE(CommonUtils::IsValidPath((folder + "/dangling").c_str()) || CommonUtils::IsValidPath(nullptr));
    EXPECT_EQ(tap_.Take().at(0), LinesOf(Log::SHARE, {"file path is not real path!"}).at(0));
}

TEST_F(CommonUtilsTest, TextsAreCutBetweenCharactersAndTheFrontHalfOfANameIsMasked)
{
    const std::string many(1024, 'a');
    const std::tuple<std::string, uint32_t, std::string> rows[] = {
        {"abc", 3, "abc"},
        {"abcdef", 4, "abcd"},
        {"abc", 0, ""},
        {"\u4e2d\u6587", 3, "\u4e2d"},
        {"\u4e2d\u6587", 5, "\u4e2d"},
        {"\u4e2d\u6587", 2, ""},  // of three bytes each
        {"a\U0001F4F1z", 4, "a"}, // of four
        {many, 10, "aaaaaaaaaa"},
        {many + "a", 10, many + "a"}, // too long to be cut
        {"ab\xff-def", 2, "ab\xff-def"},
        {"abcd\xe4\xb8", 2, "abcd\xe4\xb8"}, // do not decode
        {std::string("\0abc", 4), 2, std::string("\0abc", 4)},
    };
    for (const auto& [text, capacity, front] : rows) {
        EXPECT_EQ(CommonUtils::TruncMultilingualStringByCapacity(text, capacity), front);
        EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C") << "the locale is as before";
    }
    EXPECT_EQ(tap_.Take(), LinesOf(Log::SHARE, {"input multiByteStr size over max size", "mbstowcs failed"}));

    const std::pair<std::string, const char*> names[] = {{"abcdef", "***def"}, {"abcde", "***cde"}, {"a", "***"},
        {"", "***"}, {"\u4e2d\u6587", "***\u6587"}, {"\u4e2d", "***"}, {std::string(1025, 'a'), "***"}};
    for (const auto& [name, masked] : names) {
        EXPECT_EQ(CommonUtils::GetSecureDeviceName(name), masked) << name;
    }
}

} // namespace
} // namespace OHOS::Pelago
