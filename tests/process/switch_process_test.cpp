#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "process_scene.h"

// A daemon that is killed while it writes where the switch stands.
namespace OHOS::Pelago {
namespace {

constexpr int KILLS = 20; // unless PELAGO_KILLS says otherwise
constexpr int MOST_REQUESTS = 40;
constexpr int LONGEST_START_MS = 40;

// What a daemon reads of a file: zeros for what is not there. `bytes` is the size, -1 without a file.
template <size_t COUNT>
struct Found {
    std::array<int32_t, COUNT> fields{};
    int64_t bytes = -1;

    explicit Found(const std::filesystem::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        if (file) {
            file.read(reinterpret_cast<char*>(fields.data()), sizeof(fields));
            bytes = static_cast<int64_t>(std::filesystem::file_size(path));
        }
    }
    // Emptied and then written at once: whoever dies between the two leaves nothing, and nobody leaves a part.
    bool IsWholeOrEmpty() const
    {
        return bytes <= 0 || bytes == sizeof(fields);
    }
};

class SwitchKills : public ProcessScene {
protected:
    void SetUp() override
    {
        ProcessScene::SetUp();
        device = NewDevice("phone");
        folder = Home() / "state/devices/phone/data/service/el2/100/pelago";
        ASSERT_TRUE(std::filesystem::exists(folder));
    }
    void TearDown() override
    {
        device.reset();
        ProcessScene::TearDown();
    }

    // A client turns the switch on, over and off, and gives and takes the permission, faster than that can be written.
    // The daemon is in the middle of it when it dies.
    void KillUnderLoad(int requests) const
    {
        const sptr<ITrellisService> service = device->As("owner");
        for (int i = 0; i < requests; ++i) {
            const bool isOn = i % 5 < 3;
            EXPECT_TRUE(service->SetShareEnableWithConfirm(isOn ? 1 : 2, isOn ? 1 + i % 3 : 0, false, false));
            EXPECT_TRUE(i % 4 != 0 || service->SetShareAccountPermission(i / 4 % 2));
        }
        device->daemon.Signal(SIGKILL);
    }
    // Also a daemon that is only just loading, and writes the pair on the way.
    void KillAtStart(std::chrono::milliseconds life) const
    {
        Child daemon({std::string(BIN_DIR) + "/trellisd", "--id", "phone"}, Home() / "short-lived.out");
        (void)WaitUntil([] { return false; }, life); // the moment is chance, and meant to be
        daemon.Signal(SIGKILL);
        (void)daemon.Wait();
    }
    // A new daemon holds what the files say: an on is taken up again, and so is one before a lost radio.
    void ExpectTheNextOneReadsWhatIsThere()
    {
        const Found<3> state(folder / "switch.cfg");
        const Found<2> pair(folder / "switch_recover.cfg");
        ASSERT_TRUE(state.IsWholeOrEmpty()) << state.bytes;
        ASSERT_TRUE(pair.IsWholeOrEmpty()) << pair.bytes;
        emptied += (state.bytes == 0 ? 1 : 0) + (pair.bytes == 0 ? 1 : 0);
        const auto [saved, type, permission] = state.fields;
        const auto last = saved == 1 ? std::array{saved, type} : pair.fields;
        const int32_t off = saved == 0 ? 0 : 2;
        const std::array<int32_t, 4> expected{last[0] == 1 ? 1 : off, last[0] == 1 ? last[1] : 0, permission, last[0]};
        device = NewDevice("phone");
        std::array<int64_t, 5> held{};
        EXPECT_TRUE(WaitUntil([&] {
            held = {device->Dumped("switch", "enableState"), device->Dumped("switch", "detectableType"),
                device->Dumped("switch", "accountPermission"), device->Dumped("switch", "recoverState"),
                device->Dumped("switch", "user")};
            return held[4] == 100 && std::equal(expected.begin(), expected.end(), held.begin());
        })) << testing::PrintToString(state.fields)
            << state.bytes << testing::PrintToString(pair.fields) << pair.bytes << testing::PrintToString(held);
    }

    std::unique_ptr<RunningDevice> device;
    std::filesystem::path folder;
    int emptied = 0;
};

TEST_F(SwitchKills, LeaveFilesThatTheNextDaemonReads)
{
    const char* wanted = std::getenv("PELAGO_KILLS");
    const int kills = wanted == nullptr ? KILLS : std::atoi(wanted);
    ASSERT_GT(kills, 0);
    std::mt19937 random(std::random_device{}());
    const auto upTo = [&random](int most) { return std::uniform_int_distribution<int>(0, most)(random); };
    for (int kill = 1; kill <= kills && !HasFailure(); ++kill) {
        SCOPED_TRACE(kill);
        KillUnderLoad(upTo(MOST_REQUESTS));
        device.reset();
        if (kill % 4 == 0 && kill < kills) {
            ++kill;
            KillAtStart(std::chrono::milliseconds(upTo(LONGEST_START_MS)));
        }
        ExpectTheNextOneReadsWhatIsThere();
    }
    std::printf("%d kills, %d files found empty\n", kills, emptied);
}

} // namespace
} // namespace OHOS::Pelago
