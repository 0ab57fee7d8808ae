// The words of `pelago sim`, what a device remembers, and applications that attach.
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "device_memory.h"
#include "folders.h"
#include "host/ability_host.h"
#include "host/ability_registry.h"
#include "host/application_host.h"
#include "host/device.h"
#include "host/device_control.h"
#include "host/host_settings.h"
#include "host/ipc_transport.h"
#include "host/loopback.h"
#include "host/scheduler.h"

using namespace OHOS;
using namespace OHOS::Host;

namespace {

namespace fs = std::filesystem;

class SimTest : public testing::Test {
protected:
    SimTest()
    {
        EXPECT_TRUE(Scheduler::Instance().UseManualTime());
        EXPECT_TRUE(device.Configure({"Blue phone", "udid", "phone", folder.string()}));
        SetOwnTokenId(TokenId::OWNER);
    }
    ControlResult Result(const std::string& line)
    {
        std::istringstream stream("sim " + line);
        const ControlAnswer answer =
            control->Execute({std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()});
        EXPECT_EQ(answer.result == ControlResult::DONE, answer.error.empty()) << line << ": " << answer.error;
        return answer.result;
    }
    bool Done(const std::string& line)
    {
        return Result(line) == ControlResult::DONE;
    }

    Device& device = Device::Instance();
    const Pelago::TestFolder testFolder;
    const fs::path folder = testFolder.path;
    const sptr<DeviceControl> control = new DeviceControl();
};

TEST_F(SimTest, WordsThatCannotBeMeantAreAnsweredAndChangeNothing)
{
    ASSERT_TRUE(Done("user add 101"));
    const std::string before = MemoryOf(device.Snapshot());
    const std::pair<ControlResult, std::vector<const char*>> rows[] = {
        {ControlResult::DONE, {"", "show"}},
        {ControlResult::USAGE,
            {"wifi", "wifi up", "wifi on on", "wifi restart now", "wifi fail sometimes", "wifi fail refuse 0",
                "wifi fail refuse 99999999999", "bluetooth restricted", "airplane maybe", "slow wifi-on -1",
                "slow nothing 5", "user", "user add 1x", "user add -1", "user add 4294967396", // 100, cut to 32 bits
                "user add 102 primary", "user add 100 ordinary", "setting put key value --user -1", "oobe ota",
                "oobe finish gladly", "ability remove everything"}},
        {ControlResult::NO_SUCH_ENTRY, {"user switch 102", "user switch -1", "setting get nothing",
                                           "oobe finish --user 102", "focus com.nobody", "foreground com.nobody"}},
        {ControlResult::FAILED, {"user add 101", "user remove 100"}},
    };
    for (const auto& [result, lines] : rows) {
        for (const char* line : lines) {
            EXPECT_EQ(Result(line), result) << line;
        }
    }
    EXPECT_EQ(MemoryOf(device.Snapshot()), before);
    SetOwnTokenId(TokenId::APP);
    EXPECT_EQ(Result("wifi off"), ControlResult::PERMISSION_DENIED);
    EXPECT_EQ(control->Watch(new IPCObjectStub()), ControlResult::PERMISSION_DENIED);
}

TEST_F(SimTest, SetUpEndsWithTheAnswerInPlaceForTheUserThatIsMeant)
{
    ASSERT_TRUE(Done("user add 101 private-space"));
    EXPECT_TRUE(fs::is_directory(folder / "data/service/el2/101/pelago"));
    ASSERT_TRUE(Done("oobe finish decline --user 101"));
    EXPECT_EQ(HostSettings::Get("corvane_velos_pelago_oobe_state", 101), "0");
    EXPECT_EQ(HostSettings::Get("user_setup_complete", 101), "1");
    EXPECT_EQ(HostSettings::Get("device_provisioned"), "1");
    EXPECT_EQ(HostSettings::Get("user_setup_complete", 100), std::nullopt);
    ASSERT_TRUE(Done("oobe ota start --user 101"));
    EXPECT_EQ(HostSettings::Get("is_ota_finished", 101), "0");
    ASSERT_TRUE(Done("user remove 101"));
    EXPECT_FALSE(fs::exists(folder / "data/service/el2/101"));
    EXPECT_EQ(HostSettings::Get("user_setup_complete", 101), "");
}

TEST_F(SimTest, DeviceIsRememberedInItsFolderAndFoundAgain)
{
    for (const char* line : {"slow all 7", "wifi semi", "bluetooth restart away", "user add 101 private-space",
             "user unlock 101", "user switch 101", "command some.bundle program --word"}) {
        ASSERT_TRUE(Done(line)) << line;
    }
    const std::string memory = MemoryOf(device.Snapshot());
    const auto remembered = DeviceFrom(memory);
    ASSERT_TRUE(remembered.has_value());
    EXPECT_EQ(remembered->bluetoothMode, BluetoothMode::OFF);
    EXPECT_EQ(remembered->timings.away.count(), 7);
    ASSERT_TRUE(device.SwitchUser(100));
    RestoreDevice();
    EXPECT_EQ(MemoryOf(device.Snapshot()), memory);
    const std::pair<std::string, std::string> wild[] = {
        {"\"active\":[101,100]", "\"active\":[101,100,100]"},
        {"\"active\":[101,100]", "\"active\":101"},
        {"\"--word\"", "5"},
        {"[\"program\",\"--word\"]", "[]"},
        {memory.substr(memory.size() / 2), ""},
    };
    for (const auto& [part, other] : wild) {
        std::string text = memory;
        std::ofstream(folder / "hardware.json") << text.replace(memory.find(part), part.size(), other);
        RestoreDevice();
        EXPECT_EQ(MemoryOf(device.Snapshot()), memory) << other;
        EXPECT_TRUE(fs::remove(folder / "hardware.json.bad")) << other;
    }
}

TEST_F(SimTest, ApplicationAttachesIsShownFocusedAndLeavesWithItsProcess)
{
    ASSERT_TRUE(AbilityRegistry::Instance().Publish());
    LoopbackProcess process({4242, 20010, TokenId::PLAIN});
    const sptr<ISystemAbilityManager> samgr = SamgrOf(process.Connect(AbilityHost::Instance().RootObject()));
    EXPECT_EQ(AttachApplication(samgr, ""), AAFwk::ERR_ABILITY_INVALID_VALUE);
    EXPECT_EQ(AttachApplication(samgr, std::string(MAX_BUNDLE_NAME + 1, 'x')), AAFwk::ERR_ABILITY_INVALID_VALUE);
    ASSERT_EQ(AttachApplication(samgr, "com.old"), 0);
    ASSERT_EQ(AttachApplication(samgr, "com.notes"), 0);
    ASSERT_TRUE(Done("foreground com.notes com.notes") && Done("focus com.notes"));
    ASSERT_EQ(device.ForegroundApplications().size(), 1U);
    EXPECT_EQ(device.ForegroundApplications()[0].uid, 20010);
    EXPECT_EQ(device.FocusedPids(), std::vector<int32_t>{4242});
    process.Kill();
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(device.AttachedApplications().size() + device.ForegroundApplications().size(), 0U);
    EXPECT_TRUE(device.FocusedPids().empty());
    for (size_t pid = 1; pid <= Device::MAX_APPLICATIONS; ++pid) {
        ASSERT_TRUE(device.AttachApplication({static_cast<int32_t>(pid), 0, "many"}));
    }
    EXPECT_FALSE(device.AttachApplication({4242, 0, "one too many"}));
}

} // namespace
