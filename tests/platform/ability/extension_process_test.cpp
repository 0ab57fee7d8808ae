#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "ability_manager_client.h"
#include "host/ability_registry.h"
#include "host/device.h"
#include "host/scheduler.h"

using namespace OHOS::AAFwk;
using namespace OHOS::Host;

namespace {

constexpr const char* BUNDLE = "com.example.app";
constexpr int64_t LIMIT_MS = AbilityRegistry::REGISTER_LIMIT.count();

// A device whose bundle is served by a shell script, which reports through a pipe with a name.
class ExtensionProcessTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        ASSERT_NE(mkdtemp(folder.data()), nullptr);
        ASSERT_EQ(mkfifo((folder + "/report").c_str(), 0600), 0);
        ASSERT_TRUE(Device::Instance().Configure({"", "", "phone", folder}));
    }
    void TearDown() override
    {
        registry.Shutdown();
        std::filesystem::remove_all(folder);
    }

    // The script finds the pipe through the folder that its environment names.
    static void GiveScript(const std::string& script)
    {
        Device::Instance().SetCommand(BUNDLE, {"sh", "-c", script});
    }
    [[nodiscard]] static int32_t Start()
    {
        Want want;
        want.SetElementName(BUNDLE, "MainExtension");
        const int32_t result = AbilityManagerClient::GetInstance()->StartExtensionAbility(want, nullptr);
        EXPECT_TRUE(Scheduler::Instance().Settle());
        return result;
    }
    // Waits until the script has written its report and closed it.
    std::string ReadReport() const
    {
        std::ifstream report(folder + "/report");
        return {std::istreambuf_iterator<char>(report), {}};
    }
    // Living ones and zombies; reaps none.
    static bool HasChildren()
    {
        siginfo_t info{};
        return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
    }

    AbilityRegistry& registry = AbilityRegistry::Instance();
    std::string folder = "/tmp/pelago-extension-XXXXXX";
};

TEST_F(ExtensionProcessTest, StartsCleanAndEndsWithTheDevice)
{
    constexpr int OURS = 500; // without close-on-exec, and no number that a shell uses
    ASSERT_EQ(dup2(STDOUT_FILENO, OURS), OURS);
    GiveScript("{ cut -d' ' -f1,5 /proc/$$/stat; ls /proc/$$/fd; } > $PELAGO_DEVICE_FOLDER/report; exec sleep 1000");
    ASSERT_EQ(Start(), ERR_ABILITY_OK);
    int pid = -1;
    int group = -1;
    const std::string report = ReadReport();
    ASSERT_EQ(std::sscanf(report.c_str(), "%d %d", &pid, &group), 2) << report;
    EXPECT_EQ(pid, group);
    EXPECT_EQ(report.find("\n" + std::to_string(OURS)), std::string::npos) << report;
    EXPECT_EQ(kill(pid, 0), 0);
    registry.Shutdown();
    EXPECT_EQ(kill(pid, 0), -1);
    EXPECT_FALSE(HasChildren());
    EXPECT_EQ(Start(), ERR_ABILITY_NOT_REGISTERED) << "nothing is started any more";
}

TEST_F(ExtensionProcessTest, OneIsStartedForAllWantsAndAgainWhenItHasEnded)
{
    GiveScript("echo x >> $PELAGO_DEVICE_FOLDER/starts; echo > $PELAGO_DEVICE_FOLDER/report; "
               "read end < $PELAGO_DEVICE_FOLDER/report");
    auto starts = [this] { return std::filesystem::file_size(folder + "/starts") / 2; };
    ASSERT_EQ(Start(), ERR_ABILITY_OK);
    ASSERT_EQ(Start(), ERR_ABILITY_OK);
    EXPECT_EQ(ReadReport(), "\n");
    ASSERT_TRUE(Scheduler::Instance().Advance(LIMIT_MS));
    ASSERT_EQ(Start(), ERR_ABILITY_OK) << "it lives, and may register yet";
    ASSERT_TRUE(Scheduler::Instance().Advance(LIMIT_MS));
    EXPECT_EQ(starts(), 1U);
    std::ofstream(folder + "/report") << "end\n";
    while (HasChildren()) {
        std::this_thread::yield();
    }
    ASSERT_EQ(Start(), ERR_ABILITY_OK);
    EXPECT_EQ(ReadReport(), "\n");
    EXPECT_EQ(starts(), 2U);
}

} // namespace
