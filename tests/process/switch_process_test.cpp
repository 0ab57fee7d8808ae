#include <cstdio>
#include <random>

#include "process_scene.h"

// A daemon that is killed while it writes where the switch stands.
namespace OHOS::Pelago {
namespace {

constexpr int KILLS = 20; // unless PELAGO_KILLS says otherwise
constexpr int MOST_REQUESTS = 40;
constexpr int LONGEST_START_MS = 40;

class SwitchKills : public ProcessScene {
protected:
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
    }
    // A new daemon holds what the files say: an on is taken up again, and so is one before a lost radio.
    void ExpectTheNextOneReadsWhatIsThere()
    {
        const std::vector<int32_t> state = Read("switch.cfg", 3);
        const std::vector<int32_t> pair = Read("switch_recover.cfg", 2);
        const bool wasOn = state[0] == 1;
        const int32_t last = wasOn ? 1 : pair[0];
        const int32_t off = state[0] == 0 ? 0 : 2;
        device = NewDevice("phone");
        auto member = [](const char* name, int32_t value) { return std::string(name) + std::to_string(value); };
        EXPECT_TRUE(device->Shows({"\"user\":100", member("\"enableState\":", last == 1 ? 1 : off),
            member("\"detectableType\":", last != 1 ? 0 : (wasOn ? state : pair)[1]),
            member("\"accountPermission\":", state[2]), member("\"recoverState\":", last)}))
            << testing::PrintToString(state) << testing::PrintToString(pair) << device->Control({"dump"}).json;
    }

    std::unique_ptr<RunningDevice> device = NewDevice("phone");
    int emptied = 0;

    const std::filesystem::path folder = Home() / "state/devices/phone/data/service/el2/100/pelago";

private:
    // What a daemon reads of a file: zeros for what is not there. It is emptied and then written at once: whoever dies
    // between the two leaves nothing, and nobody leaves a part.
    std::vector<int32_t> Read(const char* name, size_t count)
    {
        std::vector<int32_t> fields(count);
        std::ifstream file(folder / name, std::ios::binary);
        if (file.is_open()) {
            const auto bytes = std::filesystem::file_size(folder / name);
            EXPECT_TRUE(bytes == 0 || bytes == count * sizeof(int32_t)) << name << ": " << bytes;
            emptied += bytes == 0 ? 1 : 0;
            file.read(reinterpret_cast<char*>(fields.data()), static_cast<std::streamsize>(count * sizeof(int32_t)));
        }
        return fields;
    }
};

TEST_F(SwitchKills, LeaveFilesThatTheNextDaemonReads)
{
    const int kills = FromEnvironment("PELAGO_KILLS", KILLS);
    ASSERT_GT(kills, 0);
    ASSERT_TRUE(std::filesystem::exists(folder));
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
