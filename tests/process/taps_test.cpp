#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>

#include "process_scene.h"

// Tap after tap between two devices, many of them with trouble: each one ends, and nothing is left of it.
namespace OHOS::Pelago {
namespace {

namespace fs = std::filesystem;

constexpr int TAPS = 10; // unless PELAGO_TAPS says otherwise
constexpr int TROUBLE_EVERY = 10;
constexpr int TROUBLE_AT = 5; // of these
constexpr int REPORTS = 10;   // of a long run
// The log fills up meanwhile, and the heap keeps the room that an answer with all of its 4096 lines has taken once.
constexpr int64_t MOST_GROWTH_KB = 12 * 1024;
constexpr const char* CARD = "ada.vcf";

int FromEnvironment(const char* name, int otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::atoi(text);
}

// What a daemon has of the machine.
struct Figures {
    size_t threads = 0;
    size_t descriptors = 0;
    size_t files = 0; // in its folders, and those that all devices share
    int64_t memoryKb = 0;
};

int64_t MemoryKb(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("RssAnon:", 0) == 0) {
            return std::atoll(line.c_str() + std::strlen("RssAnon:"));
        }
    }
    return 0;
}

// One device with its front end and the application in focus.
struct Side {
    explicit Side(std::string name) : id(std::move(name))
    {}

    const std::string id;
    fs::path inbox;
    std::unique_ptr<RunningDevice> device;
    std::unique_ptr<Child> front;
    std::unique_ptr<Child> app;
    size_t heard = 0; // of what the front end has said
    Figures before;   // the taps of this life
    int taps = 0;     // of this life
};

class Taps : public ProcessScene {
protected:
    void SetUp() override
    {
        ProcessScene::SetUp();
        // What is freed goes back, so that the memory of a daemon is what it holds.
        ASSERT_EQ(::setenv("MALLOC_ARENA_MAX", "1", 1), 0);
        ASSERT_EQ(::setenv("MALLOC_MMAP_THRESHOLD_", "16384", 1), 0);
        ASSERT_EQ(::setenv("MALLOC_TRIM_THRESHOLD_", "65536", 1), 0);
        card_ = NewFile(CARD, 20'000);
        for (Side* side : {&phone_, &tablet_}) {
            side->inbox = NewFolder(side->id + "-inbox");
            Start(*side);
        }
        WarmUp();
        phone_.before = FiguresOf(phone_);
        tablet_.before = FiguresOf(tablet_);
    }
    void TearDown() override
    {
        for (Side* side : {&phone_, &tablet_}) {
            Leave(*side);
        }
        ProcessScene::TearDown();
    }

    // A tap that does what it is for.
    void HandOver(Side& from, Side& to)
    {
        Tap(from, to, "answered");
        EXPECT_TRUE(WaitUntil([&] { return fs::exists(to.inbox / CARD); }));
        EXPECT_EQ(fs::file_size(to.inbox / CARD), fs::file_size(card_));
        fs::remove(to.inbox / CARD);
    }
    void Trouble(Side& from, Side& to)
    {
        const TroubleRow& row = TROUBLES[random_() % std::size(TROUBLES)];
        SCOPED_TRACE(row.name);
        (this->*row.play)(from, to);
    }
    void WarmUp()
    {
        for (int i = 0; i < 2; ++i) {
            HandOver(phone_, tablet_);
            ExpectOver();
            HandOver(tablet_, phone_);
            ExpectOver();
        }
    }
    // Nothing of a tap or a transfer is under way.
    void ExpectOver()
    {
        for (const Side* side : {&phone_, &tablet_}) {
            EXPECT_TRUE(side->device->Shows({"\"preparing\":false", "\"delivering\":false", "\"sending\":0",
                "\"offers\":0", "\"accepted\":0", "\"senders\":0", "\"sendingDevices\":0", "\"adoptedDescriptors\":0"}))
                << side->id << side->device->Control({"dump"}).json;
        }
    }
    // The side holds no more than before the first tap of its life.
    void ExpectNothingLeft(Side& side)
    {
        Figures now;
        EXPECT_TRUE(WaitUntil([&] {
            now = FiguresOf(side);
            return now.threads <= side.before.threads && now.descriptors <= side.before.descriptors &&
                   now.files <= side.before.files;
        })) << Told(side);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // these keep what was freed
        EXPECT_LE(now.memoryKb, side.before.memoryKb + MOST_GROWTH_KB) << Told(side);
#endif
    }
    std::string Told(const Side& side) const
    {
        const Figures now = FiguresOf(side);
        auto change = [](auto before, auto after) { return std::to_string(before) + " -> " + std::to_string(after); };
        return side.id + ", " + std::to_string(side.taps) + " taps: threads " +
               change(side.before.threads, now.threads) + ", descriptors " +
               change(side.before.descriptors, now.descriptors) + ", files " + change(side.before.files, now.files) +
               ", memory " + change(side.before.memoryKb, now.memoryKb) + " KiB";
    }
    Figures FiguresOf(const Side& side) const
    {
        Figures figures{
            side.device->daemon.Threads(), side.device->daemon.Descriptors(), 0, MemoryKb(side.device->daemon.Pid())};
        for (const char* kind : {"run/devices", "state/devices"}) {
            figures.files += Entries(Home() / kind / side.id);
        }
        figures.files += Entries(Home() / "run/nearby") + Entries(side.inbox);
        return figures;
    }

    Side phone_{"phone"};
    Side tablet_{"tablet"}; // the one that may be killed
    std::mt19937 random_{1};

private:
    static size_t Entries(const fs::path& folder)
    {
        std::error_code error; // a file may go meanwhile
        return static_cast<size_t>(std::distance(fs::recursive_directory_iterator(folder, error), {}));
    }

    void Start(Side& side)
    {
        side.device = NewDevice(side.id);
        side.front = Pelago({"-d", side.id, "extension", "--dir", side.inbox, "--confirm", "ignore"});
        side.heard = 0;
        side.taps = 0;
        Hear(side, "ready");
        side.device->SwitchOn();
        SwitchOff(side); // the first time it makes a file
        side.device->SwitchOn();
        Focus(side, {});
    }
    static void Leave(Side& side)
    {
        side.app.reset();
        side.front.reset();
        side.device.reset();
    }
    // An application that wants knocks comes, and takes the focus.
    void Focus(Side& side, const std::vector<std::string>& options)
    {
        std::vector<std::string> words{"-d", side.id, "app", "--bundle", "com.example.cards", "--on-knock", card_};
        words.insert(words.end(), options.begin(), options.end());
        side.app = Pelago(words);
        EXPECT_TRUE(WaitUntil([&] { return side.app->Output().find("ready") != std::string::npos; }));
        side.device->Focus(side.app->Pid());
    }
    void SwitchOff(const Side& side)
    {
        EXPECT_TRUE(side.device->As("owner")->SetShareEnable(2, 0, false));
        EXPECT_TRUE(WaitUntil([&] { return side.device->As("owner")->GetEnableState() == 2; }));
    }
    // Waits until the front end says so, behind what was heard of it before.
    void Hear(Side& side, const std::string& text)
    {
        EXPECT_TRUE(WaitUntil([&] {
            const size_t at = side.front->Output().find(text, side.heard);
            side.heard = at == std::string::npos ? side.heard : at + text.size();
            return at != std::string::npos;
        })) << side.id
            << " never said: " << text << "\n"
            << side.front->Output().substr(side.heard);
    }
    void Tap(Side& from, Side& to, const std::string& end)
    {
        for (Side* side : {&from, &to}) {
            side->heard = side->front->Output().size();
            ++side->taps;
        }
        const Host::ControlAnswer answer = from.device->Control({"tap", to.id});
        EXPECT_EQ(answer.result, Host::ControlResult::DONE) << answer.error;
        EXPECT_NE(answer.json.find("\"step\":\"" + end + "\""), std::string::npos) << answer.json;
    }
    // A tap that nobody answers.
    void BeginTap(Side& from, Side& to)
    {
        Focus(from, {"--no-answer"});
        Tap(from, to, "answered");
        EXPECT_TRUE(WaitUntil([&from] { return from.app->Output().find("knock") != std::string::npos; }));
        EXPECT_TRUE(from.device->Shows({"\"preparing\":true"}));
        EXPECT_TRUE(to.device->Shows({"\"delivering\":true"}));
    }

    void NoApplication(Side& from, Side& to)
    {
        from.device->Focus(0);
        Tap(from, to, "no application");
        Hear(to, "the tap failed, error 1203");
        from.device->Focus(from.app->Pid());
    }
    void OffThere(Side& from, Side& to)
    {
        SwitchOff(to);
        Tap(from, to, "answered");
        Hear(from, "the tap failed, error 1207");
        Hear(to, "dialog: a tap needs sharing");
        to.device->SwitchOn();
    }
    void OffHere(Side& from, Side& to)
    {
        SwitchOff(from);
        Tap(from, to, "answered");
        Hear(from, "dialog: a tap needs sharing");
        Hear(to, "the tap failed, error 0");
        from.device->SwitchOn();
    }
    void Busy(Side& from, Side& to)
    {
        to.front->Stop(); // so that the offer waits
        auto send = Pelago({"-d", from.id, "send", "--to", to.id, card_});
        EXPECT_TRUE(WaitUntil([&] { return to.device->Dumped("engine", "offers") == 1; }));
        Tap(from, to, "answered");
        Hear(from, "the tap failed, error 1206");
        send->Signal(SIGINT);
        EXPECT_EQ(send->Wait(), 130) << send->Output();
        to.front->Signal(SIGCONT);
        Hear(to, "the tap failed, error 0");
    }
    void SecondTap(Side& from, Side& to)
    {
        BeginTap(from, to);
        Tap(from, to, "busy");
        Hear(from, "the tap failed, error 0");
        Hear(to, "the tap failed, error 0");
        Focus(from, {});
    }
    void ApplicationKilled(Side& from, Side& to)
    {
        BeginTap(from, to);
        from.app->Signal(SIGKILL);
        (void)from.app->Wait();
        Hear(from, "the tap failed, error 0");
        Hear(to, "the tap failed, error 0");
        Focus(from, {});
    }
    void DeviceKilled(Side& from, Side& to)
    {
        ExpectNothingLeft(tablet_); // of the life that ends
        BeginTap(from, to);
        tablet_.device->daemon.Signal(SIGKILL);
        Hear(phone_, "the tap failed, error");
        Leave(tablet_);
        Start(tablet_);
        Focus(phone_, {});
        WarmUp();
        tablet_.before = FiguresOf(tablet_);
    }

    struct TroubleRow {
        const char* name;
        void (Taps::*play)(Side& from, Side& to);
    };
    static constexpr TroubleRow TROUBLES[] = {
        {"no application", &Taps::NoApplication},
        {"sharing is off there", &Taps::OffThere},
        {"sharing is off here", &Taps::OffHere},
        {"the device is busy", &Taps::Busy},
        {"a second tap", &Taps::SecondTap},
        {"the application is killed", &Taps::ApplicationKilled},
        {"a device is killed", &Taps::DeviceKilled},
    };

    fs::path card_;
};

TEST_F(Taps, OneAfterTheOtherEndAndNothingIsLeftOfThem)
{
    const int taps = FromEnvironment("PELAGO_TAPS", TAPS);
    const int seed = FromEnvironment("PELAGO_TAPS_SEED", 1);
    SCOPED_TRACE("seed " + std::to_string(seed));
    ASSERT_GT(taps, 0);
    random_.seed(static_cast<uint32_t>(seed));
    for (int tap = 1; tap <= taps && !HasFailure(); ++tap) {
        SCOPED_TRACE(tap);
        const bool isForward = random_() % 2 == 0;
        Side& from = isForward ? phone_ : tablet_;
        Side& to = isForward ? tablet_ : phone_;
        if (tap % TROUBLE_EVERY == TROUBLE_AT) {
            Trouble(from, to);
        } else {
            HandOver(from, to);
        }
        ExpectOver();
        if (tap % std::max(1, taps / REPORTS) == 0 && taps > TAPS) {
            std::printf("%s\n", Told(phone_).c_str());
        }
    }
    for (Side* side : {&phone_, &tablet_}) {
        ExpectNothingLeft(*side);
        std::printf("%s\n", Told(*side).c_str());
    }
}

} // namespace
} // namespace OHOS::Pelago
