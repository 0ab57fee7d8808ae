#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <random>

#include "process_scene.h"

// Tap after tap between two devices, many of them with trouble: each one ends, and nothing is left of it.
namespace OHOS::Pelago {
namespace {

constexpr int TAPS = 10; // unless PELAGO_TAPS says otherwise
constexpr int TROUBLE_EVERY = 10;
constexpr int TROUBLE_AT = 5; // of these
constexpr int REPORTS = 10;   // of a long run
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int64_t MOST_GROWTH_KB = std::numeric_limits<int32_t>::max(); // these keep what was freed
#else
// The log fills up meanwhile, and the heap keeps the room that an answer with all of its 4096 lines has taken once.
constexpr int64_t MOST_GROWTH_KB = 12 * 1024;
#endif
constexpr const char* MEMORY = "KiB of memory";
constexpr const char* CARD = "ada.vcf";

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

size_t Entries(const fs::path& folder)
{
    std::error_code error; // a file may go meanwhile
    return static_cast<size_t>(std::distance(fs::recursive_directory_iterator(folder, error), {}));
}

// What a daemon has of the machine.
using Figures = std::map<std::string, int64_t>;

// One device with its front end and the application in focus.
struct Side {
    const std::string id;
    fs::path inbox{};
    std::unique_ptr<RunningDevice> device{};
    std::unique_ptr<Child> front{};
    std::unique_ptr<Child> app{};
    size_t heard = 0; // of what the front end said before the tap
    Figures before{}; // the taps of this life
    int taps = 0;     // of this life

    // Waits until the front end says so of this tap.
    void Hear(const std::string& text) const
    {
        front->Await(text, heard);
    }
};

class Taps : public ProcessScene {
protected:
    void SetUp() override
    {
        // What is freed goes back, so that the memory of a daemon is what it holds.
        ASSERT_EQ(::setenv("MALLOC_ARENA_MAX", "1", 1), 0);
        ASSERT_EQ(::setenv("MALLOC_MMAP_THRESHOLD_", "16384", 1), 0);
        ASSERT_EQ(::setenv("MALLOC_TRIM_THRESHOLD_", "65536", 1), 0);
        Start(phone_);
        Start(tablet_);
        WarmUp();
        phone_.before = FiguresOf(phone_);
    }

    // A tap that does what it is for.
    void HandOver(Side& from, Side& to)
    {
        Tap(from, to, "answered");
        EXPECT_TRUE(WaitUntil([&] { return fs::exists(to.inbox / CARD); }));
        EXPECT_EQ(fs::file_size(to.inbox / CARD), fs::file_size(card_));
        fs::remove(to.inbox / CARD);
        ExpectOver();
    }
    // One of the ways in which a tap goes wrong.
    void Trouble(Side& from, Side& to)
    {
        std::unique_ptr<Child> send;
        const struct {
            const char* name;
            std::function<void()> given;
            const char* end;       // of the tap; empty: it is under way already
            const char* fromHears; // of its front end
            std::function<void()> after;
            const char* toHears;
        } ROWS[] = {
            {"no application", [&] { from.device->Focus(0); }, "no application", "",
                [&] { from.device->Focus(from.app->Pid()); }, "the tap failed, error 1203"},
            {"sharing is off there", [&] { SwitchOff(to); }, "answered", "the tap failed, error 1207",
                [&] { to.device->SwitchOn(); }, "dialog: a tap needs sharing"},
            {"sharing is off here", [&] { SwitchOff(from); }, "answered", "dialog: a tap needs sharing",
                [&] { from.device->SwitchOn(); }, "the tap failed, error 0"},
            {"the device is busy",
                [&] {
                    to.front->Stop(); // so that the offer waits
                    send = Pelago({"-d", from.id, "send", "--to", to.id, card_});
                    EXPECT_TRUE(WaitUntil([&] { return to.device->Dumped("engine", "offers") == 1; }));
                },
                "answered", "the tap failed, error 1206",
                [&] {
                    send->Signal(SIGINT);
                    EXPECT_EQ(send->Wait(), 130) << send->Output();
                    to.front->Signal(SIGCONT);
                },
                "the tap failed, error 0"},
            {"a second tap", [&] { BeginTap(from, to); }, "busy", "the tap failed, error 0", [&] { Focus(from, {}); },
                "the tap failed, error 0"},
            {"the application is killed",
                [&] {
                    BeginTap(from, to);
                    from.app->Signal(SIGKILL);
                },
                "", "the tap failed, error 0", [&] { Focus(from, {}); }, "the tap failed, error 0"},
            {"a device is killed",
                [&] {
                    ExpectNothingLeft(tablet_); // of the life that ends
                    BeginTap(from, to);
                    tablet_.device->daemon.Signal(SIGKILL);
                    phone_.Hear("the tap failed, error");
                    Start(tablet_);
                },
                "", "",
                [&] {
                    Focus(phone_, {});
                    WarmUp();
                },
                ""},
        };
        const auto& row = ROWS[random_() % std::size(ROWS)];
        SCOPED_TRACE(row.name);
        row.given();
        if (*row.end != '\0') {
            Tap(from, to, row.end);
        }
        from.Hear(row.fromHears);
        row.after();
        to.Hear(row.toHears);
        ExpectOver();
    }
    // The side holds no more than before the first tap of its life.
    void ExpectNothingLeft(const Side& side) const
    {
        EXPECT_TRUE(WaitUntil([&] {
            const Figures now = FiguresOf(side);
            return std::all_of(now.begin(), now.end(), [&side](const auto& figure) {
                return figure.second <= side.before.at(figure.first) + (figure.first == MEMORY ? MOST_GROWTH_KB : 0);
            });
        })) << Told(side);
    }
    std::string Told(const Side& side) const
    {
        std::string told = side.id + ", " + std::to_string(side.taps) + " taps";
        for (const auto& [name, now] : FiguresOf(side)) {
            told += ", " + name + " " + std::to_string(side.before.at(name)) + " -> " + std::to_string(now);
        }
        return told;
    }

    Side phone_{"phone"};
    Side tablet_{"tablet"}; // the one that may be killed
    std::mt19937 random_{1};

private:
    Figures FiguresOf(const Side& side) const
    {
        const Child& daemon = side.device->daemon;
        size_t files = Entries(Home() / "run/devices" / side.id) + Entries(Home() / "state/devices" / side.id) +
                       Entries(Home() / "run/nearby") + Entries(side.inbox);
        return {{"threads", daemon.Threads()}, {"descriptors", daemon.Descriptors()}, {"files", files},
            {MEMORY, MemoryKb(daemon.Pid())}};
    }
    // Both ways, twice; a life of the tablet begins here.
    void WarmUp()
    {
        for (int i = 0; i < 2; ++i) {
            HandOver(phone_, tablet_);
            HandOver(tablet_, phone_);
        }
        tablet_.before = FiguresOf(tablet_);
    }
    // Nothing of a tap or a transfer is under way.
    void ExpectOver() const
    {
        for (const Side* side : {&phone_, &tablet_}) {
            EXPECT_TRUE(side->device->Shows({"\"preparing\":false", "\"delivering\":false", "\"sending\":0",
                "\"offers\":0", "\"accepted\":0", "\"senders\":0", "\"sendingDevices\":0", "\"adoptedDescriptors\":0"}))
                << side->id << side->device->Control({"dump"}).json;
        }
    }
    void Start(Side& side)
    {
        side.app.reset();
        side.front.reset();
        side.device.reset(); // before another one of this name
        side.inbox = NewFolder(side.id + "-inbox");
        side.device = NewDevice(side.id);
        side.front = Pelago({"-d", side.id, "extension", "--dir", side.inbox, "--confirm", "ignore"});
        side.front->Await("ready");
        side.heard = 0;
        side.taps = 0;
        side.device->SwitchOn();
        SwitchOff(side); // the first time it makes a file
        side.device->SwitchOn();
        Focus(side, {});
    }
    // An application that wants knocks comes, and takes the focus.
    void Focus(Side& side, const std::vector<std::string>& options)
    {
        std::vector<std::string> words{"-d", side.id, "app", "--bundle", "com.example.cards", "--on-knock", card_};
        words.insert(words.end(), options.begin(), options.end());
        side.app = Pelago(words);
        side.app->Await("ready");
        side.device->Focus(side.app->Pid());
    }
    static void SwitchOff(const Side& side)
    {
        EXPECT_TRUE(side.device->As("owner")->SetShareEnable(2, 0, false));
        EXPECT_TRUE(WaitUntil([&] { return side.device->As("owner")->GetEnableState() == 2; }));
    }
    static void Tap(Side& from, Side& to, const std::string& end)
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
        from.app->Await("knock");
        EXPECT_TRUE(from.device->Shows({"\"preparing\":true"}));
        EXPECT_TRUE(to.device->Shows({"\"delivering\":true"}));
    }

    const fs::path card_ = NewFile(CARD, 20'000);
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
        if (tap % std::max(1, taps / REPORTS) == 0 && taps > TAPS) {
            std::printf("%s\n", Told(phone_).c_str());
        }
    }
    for (const Side* side : {&phone_, &tablet_}) {
        ExpectNothingLeft(*side);
        std::printf("%s\n", Told(*side).c_str());
    }
}

} // namespace
} // namespace OHOS::Pelago
