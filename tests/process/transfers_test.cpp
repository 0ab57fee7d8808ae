#include "process_scene.h"

// Files between two daemons, and what goes wrong on the way.
namespace OHOS::Pelago {
namespace {

constexpr size_t MANY_FILES = 500;

class Transfers : public ProcessScene {
protected:
    void SetUp() override
    {
        phone->SwitchOn();
        tablet->SwitchOn();
    }
    std::unique_ptr<Child> Extension(const std::vector<std::string>& words)
    {
        std::vector<std::string> all{"-d", "tablet", "receive", "--dir", in.string()};
        all.insert(all.end(), words.begin(), words.end());
        auto child = Pelago(all);
        child->Await("ready to receive");
        return child;
    }
    std::unique_ptr<Child> Send(const fs::path& file)
    {
        return Pelago({"-d", "phone", "send", "--to", "tablet", file.string()});
    }

    const std::unique_ptr<RunningDevice> phone = NewDevice("phone");
    const std::unique_ptr<RunningDevice> tablet = NewDevice("tablet");
    const fs::path in = NewFolder("in");
};

TEST_F(Transfers, AnOfferThatNobodyTakesIsOverForBothAndLeavesNothing)
{
    const struct {
        const char* extension;
        int signal; // to the sender
        int code;
        const char* said; // by the extension
    } ROWS[] = {
        {"--refuse", 0, 6, ""}, {"--ignore", SIGINT, 130, "took the offer back"},
        {"--ignore", SIGKILL, -1, "took the offer back"}, // by the word of another client
    };
    const fs::path file = NewFile("film", 1 << 20);
    const size_t before = phone->daemon.Descriptors();
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.code);
        auto extension = Extension({row.extension});
        auto sender = Send(file);
        extension->Await("offers 1 file");
        if (row.signal != 0) {
            sender->Signal(row.signal);
        }
        EXPECT_EQ(sender->Wait(), row.code) << sender->Output();
        EXPECT_TRUE(phone->Shows({"\"clients\":0"}));
        if (row.signal == SIGKILL) {
            EXPECT_EQ(Pelago({"-d", "phone", "cancel", "--to", "tablet"})->Wait(), 0);
        }
        extension->Await(row.said);
        EXPECT_TRUE(phone->Shows({"\"adoptedDescriptors\":0"}));
        EXPECT_TRUE(fs::is_empty(in));
    }
    // Discovery goes on, since the last client did not stop it: the connection to the tablet stays.
    EXPECT_TRUE(WaitUntil([&] { return phone->daemon.Descriptors() <= before + 2; })) << before;
}

TEST_F(Transfers, AReceivingDeviceThatDiesIsAFailureAndALoss)
{
    auto extension = Extension({});
    sptr<ITrellisService> service = phone->As("owner");
    sptr<CountingCallback> callback = new CountingCallback();
    ASSERT_TRUE(service->RegisterTrellisCallback(callback));
    auto sender = Send(NewFile("film", 512 << 20));
    sender->Await("%");
    tablet->daemon.Signal(SIGKILL);
    EXPECT_EQ(sender->Wait(), 1) << sender->Output();
    EXPECT_TRUE(fs::is_empty(in)) << "not even under a temporary name";
    EXPECT_TRUE(WaitUntil([&] { return callback->lost >= 1; }));
    EXPECT_TRUE(WaitUntil([this] { return !fs::exists(Home() / "run/nearby/tablet.sock"); })) << "it is tidied up";
    EXPECT_TRUE(phone->Shows({"\"senders\":0", "\"adoptedDescriptors\":0"}));
    const auto again = NewDevice("tablet");
    again->SwitchOn();
    Pelago({"-d", "phone", "nearby", "--watch"})->Await("tablet");
}

TEST_F(Transfers, OfTwoDevicesOfAContactExactlyOneWins)
{
    ASSERT_EQ(Pelago({"contact", "ana", "--id", "7", "--name", "Ana"})->Wait(), 0);
    const std::unique_ptr<RunningDevice> both[] = {NewDevice("first", "ana"), NewDevice("second", "ana")};
    std::vector<std::unique_ptr<Child>> extensions;
    for (const auto& device : both) {
        device->SwitchOn();
        extensions.push_back(Pelago({"-d", device->id, "receive", "--dir", in.string()}));
        extensions.back()->Await("ready to receive");
    }
    const auto sender = Pelago({"-d", "phone", "send", "--to", "Ana", NewFile("film", 8 << 20).string()});
    EXPECT_EQ(sender->Wait(), 0) << sender->Output();
    for (const auto& device : both) {
        EXPECT_TRUE(device->Shows({"\"offers\":0", "\"accepted\":0"}));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(in), {}), 1);
}

// With 500 files, and with one more: afterwards the device is as it was.
TEST_F(Transfers, FiveHundredFilesArriveAndOneMoreIsRefused)
{
    auto extension = Extension({});
    EXPECT_EQ(Send(NewFile("first", 1))->Wait(), 0); // makes what a daemon makes once
    const size_t descriptors = phone->daemon.Descriptors();
    const size_t threads = phone->daemon.Threads();
    std::vector<std::string> words{"-d", "phone", "send", "--to", "tablet"};
    for (size_t i = 1; i < MANY_FILES; ++i) {
        words.push_back(NewFile("f" + std::to_string(i), i).string());
    }
    words.push_back(NewFile("last", 3 << 20).string());
    auto sender = Pelago(words);
    EXPECT_EQ(sender->Wait(), 0) << sender->Output();
    EXPECT_EQ(CountEntries(in), MANY_FILES + 1);
    EXPECT_EQ(fs::file_size(in / "f499"), 499U);
    EXPECT_EQ(fs::file_size(in / "last"), 3U << 20);
    EXPECT_EQ(phone->Dumped("sizes", "adoptedDescriptors"), 0);
    // One more of each may be the scheduler's alarm, made by the first task that waits.
    EXPECT_TRUE(WaitUntil([&] { return phone->daemon.Threads() <= threads + 1; })) << threads;
    EXPECT_TRUE(WaitUntil([&] { return phone->daemon.Descriptors() <= descriptors + 1; })) << descriptors;

    words.push_back(NewFile("one-more", 1).string());
    auto refused = Pelago(words);
    EXPECT_EQ(refused->Wait(), 11) << refused->Output();
}

} // namespace
} // namespace OHOS::Pelago
