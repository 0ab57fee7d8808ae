// The words of `pelago sim`, what a device remembers, and applications that attach.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <stdlib.h>

#include <gtest/gtest.h>

#include "app_mgr_interface.h"
#include "device_memory.h"
#include "host/ability_host.h"
#include "host/ability_registry.h"
#include "host/application_host.h"
#include "host/device.h"
#include "host/device_control.h"
#include "host/host_settings.h"
#include "host/ipc_transport.h"
#include "host/json_text.h"
#include "host/loopback.h"
#include "host/scheduler.h"
#include "message_option.h"
#include "message_parcel.h"

using namespace OHOS;
using namespace OHOS::Host;

namespace {

namespace fs = std::filesystem;

class SimTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        std::string name = (fs::temp_directory_path() / "pelago-sim.XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
        ASSERT_TRUE(device.Configure({"Blue phone", "udid", "phone", folder.string()}));
        SetOwnTokenId(TokenId::OWNER);
        control = new DeviceControl();
    }
    void TearDown() override
    {
        fs::remove_all(folder);
    }
    ControlAnswer Sim(const std::string& line)
    {
        std::vector<std::string> words{"sim"};
        std::istringstream stream(line);
        for (std::string word; stream >> word;) {
            words.push_back(word);
        }
        return control->Execute(words);
    }
    ControlResult Result(const std::string& line)
    {
        const ControlAnswer answer = Sim(line);
        EXPECT_EQ(answer.result == ControlResult::DONE, answer.error.empty()) << line << ": " << answer.error;
        return answer.result;
    }
    bool Done(const std::string& line)
    {
        return Result(line) == ControlResult::DONE;
    }

    Device& device = Device::Instance();
    fs::path folder;
    sptr<DeviceControl> control;
};

TEST_F(SimTest, WordsThatCannotBeMeantAreAnsweredAndChangeNothing)
{
    ASSERT_TRUE(Done("user add 101"));
    const std::string before = MemoryOf(device.Snapshot());
    const std::vector<std::pair<const char*, ControlResult>> rows = {
        {"show", ControlResult::DONE},
        {"", ControlResult::USAGE},
        {"wifi", ControlResult::USAGE},
        {"wifi up", ControlResult::USAGE},
        {"wifi on on", ControlResult::USAGE},
        {"wifi restart now", ControlResult::USAGE},
        {"wifi fail sometimes", ControlResult::USAGE},
        {"wifi fail refuse 0", ControlResult::USAGE},
        {"wifi fail refuse 99999999999", ControlResult::USAGE},
        {"bluetooth restricted", ControlResult::USAGE},
        {"airplane maybe", ControlResult::USAGE},
        {"slow wifi-on -1", ControlResult::USAGE},
        {"slow nothing 5", ControlResult::USAGE},
        {"user", ControlResult::USAGE},
        {"user add 1x", ControlResult::USAGE},
        {"user add -1", ControlResult::USAGE},
        {"user add 4294967396", ControlResult::USAGE}, // 100, were it cut to 32 bits
        {"user add 102 primary", ControlResult::USAGE},
        {"user add 100 ordinary", ControlResult::USAGE},
        {"user add 101", ControlResult::FAILED},
        {"user switch 102", ControlResult::NO_SUCH_ENTRY},
        {"user switch -1", ControlResult::NO_SUCH_ENTRY},
        {"user remove 100", ControlResult::FAILED},
        {"setting get nothing", ControlResult::NO_SUCH_ENTRY},
        {"setting put key value --user -1", ControlResult::USAGE},
        {"oobe ota", ControlResult::USAGE},
        {"oobe finish gladly", ControlResult::USAGE},
        {"oobe finish --user 102", ControlResult::NO_SUCH_ENTRY},
        {"focus com.nobody", ControlResult::NO_SUCH_ENTRY},
        {"foreground com.nobody", ControlResult::NO_SUCH_ENTRY},
        {"ability remove everything", ControlResult::USAGE},
    };
    for (const auto& [line, result] : rows) {
        EXPECT_EQ(Result(line), result) << line;
    }
    EXPECT_EQ(MemoryOf(device.Snapshot()), before);
    SetOwnTokenId(TokenId::APP);
    EXPECT_EQ(Result("wifi off"), ControlResult::PERMISSION_DENIED);
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
    EXPECT_EQ(MemoryOf(*remembered), memory);
    ASSERT_TRUE(device.SwitchUser(100));
    RestoreDevice();
    EXPECT_EQ(MemoryOf(device.Snapshot()), memory);
    for (size_t length = 0; length < memory.size(); ++length) {
        EXPECT_FALSE(DeviceFrom(memory.substr(0, length)).has_value()) << length;
    }
    const std::pair<std::string, std::string> wild[] = {
        {"\"active\":[101,100]", "\"active\":[101,100,100]"},
        {"\"active\":[101,100]", "\"active\":101"},
        {"\"--word\"", "5"},
        {"[\"program\",\"--word\"]", "[]"},
    };
    for (const auto& [part, other] : wild) {
        ASSERT_NE(memory.find(part), std::string::npos) << memory;
        std::string text = memory;
        std::ofstream(folder / "hardware.json") << text.replace(text.find(part), part.size(), other);
        RestoreDevice();
        EXPECT_EQ(MemoryOf(device.Snapshot()), memory) << other;
        EXPECT_TRUE(fs::remove(folder / "hardware.json.bad")) << other;
    }
}

TEST_F(SimTest, ApplicationAttachesIsShownFocusedAndLeavesWithItsProcess)
{
    ASSERT_TRUE(AbilityRegistry::Instance().Publish());
    auto process = std::make_unique<LoopbackProcess>(LoopbackProcess::Identity{4242, 20010, TokenId::PLAIN});
    const sptr<ISystemAbilityManager> samgr = SamgrOf(process->Connect(AbilityHost::Instance().RootObject()));
    EXPECT_EQ(AttachApplication(samgr, ""), AAFwk::ERR_ABILITY_INVALID_VALUE);
    EXPECT_EQ(AttachApplication(samgr, std::string(MAX_BUNDLE_NAME + 1, 'x')), AAFwk::ERR_ABILITY_INVALID_VALUE);
    ASSERT_EQ(AttachApplication(samgr, "com.old"), 0);
    ASSERT_EQ(AttachApplication(samgr, "com.notes"), 0);
    const sptr<IRemoteObject> manager = samgr->GetSystemAbility(AbilityId::APPLICATION_MANAGER);
    MessageParcel data;
    MessageParcel reply;
    MessageOption option;
    ASSERT_TRUE(data.WriteInterfaceToken(AppExecFwk::IAppMgr::GetDescriptor()) && data.WriteString("com.daemon") &&
                data.WriteRemoteObject(manager)); // the daemon's own: it never dies
    ASSERT_EQ(manager->SendRequest(AppMgrCode::ATTACH_APPLICATION, data, reply, option), 0);
    EXPECT_EQ(reply.ReadInt32(), AAFwk::ERR_ABILITY_INVALID_VALUE);
    ASSERT_TRUE(Done("foreground com.notes com.notes"));
    ASSERT_TRUE(Done("focus com.notes"));
    ASSERT_EQ(device.ForegroundApplications().size(), 1U);
    EXPECT_EQ(device.ForegroundApplications()[0].uid, 20010);
    EXPECT_EQ(device.FocusedPids(), std::vector<int32_t>{4242});
    process->Kill();
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_TRUE(device.AttachedApplications().empty() && device.ForegroundApplications().empty());
    EXPECT_TRUE(device.FocusedPids().empty());
}

TEST_F(SimTest, WatchersAreLimitedAndTextsStayEscaped)
{
    class Watcher : public ControlWatcherStub {
        void OnChanged(const std::string&) override
        {}
    };
    for (size_t i = 0; i < DeviceControl::MAX_WATCHERS; ++i) {
        ASSERT_EQ(control->Watch(new Watcher()), ControlResult::DONE);
    }
    EXPECT_EQ(control->Watch(new Watcher()), ControlResult::LIMIT);
    const std::string wild = "{\"name\":\"\\u202e\\u001b\\u009b\"}";
    EXPECT_EQ(Json::Array().Add(Json::Object().PutRaw("a", wild)).Text(), "[{\"a\":" + wild + "}]");
}

} // namespace
