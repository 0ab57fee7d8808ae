#include <csignal>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

#include "process_scene.h"
#include "trellis_service_proxy.h"

// Files between two daemons, and what goes wrong on the way.
namespace OHOS::Pelago {
namespace {

namespace fs = std::filesystem;

constexpr size_t MANY_FILES = 500;

std::string Bytes(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class Transfers : public ProcessScene {
protected:
    void SetUp() override
    {
        ProcessScene::SetUp();
        phone = NewDevice("phone");
        tablet = NewDevice("tablet");
        phone->SwitchOn();
        tablet->SwitchOn();
        in = NewFolder("in");
    }
    void TearDown() override
    {
        phone.reset();
        tablet.reset();
        ProcessScene::TearDown();
    }

    std::unique_ptr<Child> Extension(const std::vector<std::string>& words = {})
    {
        std::vector<std::string> all{"-d", "tablet", "receive", "--dir", in.string()};
        all.insert(all.end(), words.begin(), words.end());
        auto child = Pelago(all);
        EXPECT_TRUE(WaitUntil([&] { return child->Output().find("ready to receive") != std::string::npos; }))
            << child->Output();
        return child;
    }
    std::unique_ptr<Child> SendTo(const std::string& peer, const fs::path& file)
    {
        return Pelago({"-d", "phone", "send", "--to", peer, file.string()});
    }
    // Nothing stands in the folder, not even under a temporary name.
    bool NothingArrived() const
    {
        return fs::is_empty(in);
    }

    std::unique_ptr<RunningDevice> phone;
    std::unique_ptr<RunningDevice> tablet;
    fs::path in;
};

TEST_F(Transfers, AnEndingReachesTheSenderAsItsExitCode)
{
    struct Row {
        const char* name;
        std::vector<std::string> extension;
        int code;
        bool arrives;
    };
    const Row rows[] = {
        {"accepted", {"--once"}, 0, true},
        {"refused", {"--once", "--refuse"}, 6, false},
    };
    fs::path file = NewFile("film", 3 << 20);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        auto extension = Extension(row.extension);
        auto sender = SendTo("tablet", file);
        EXPECT_EQ(sender->Wait(), row.code) << sender->Output();
        EXPECT_EQ(extension->Wait(), 0) << extension->Output();
        EXPECT_EQ(!NothingArrived(), row.arrives);
        if (row.arrives) {
            EXPECT_EQ(Bytes(in / "film"), Bytes(file));
            fs::remove(in / "film");
        }
    }
}

TEST_F(Transfers, TheSenderTakesItsOfferBack)
{
    auto extension = Extension({"--ignore"});
    auto sender = SendTo("tablet", NewFile("film", 1 << 20));
    EXPECT_TRUE(WaitUntil([&] { return extension->Output().find("offers 1 files") != std::string::npos; }));
    sender->Signal(SIGINT);
    EXPECT_EQ(sender->Wait(), 130) << sender->Output();
    EXPECT_TRUE(WaitUntil([&] { return extension->Output().find("took the offer back") != std::string::npos; }));
    EXPECT_TRUE(NothingArrived());
}

TEST_F(Transfers, AReceivingDeviceThatDiesIsAFailureAndALoss)
{
    auto extension = Extension();
    sptr<ITrellisService> service = phone->As("owner");
    sptr<CountingCallback> callback = new CountingCallback();
    ASSERT_TRUE(service->RegisterTrellisCallback(callback));
    auto sender = SendTo("tablet", NewFile("film", 512 << 20));
    EXPECT_TRUE(WaitUntil([&] { return sender->Output().find('%') != std::string::npos; })) << sender->Output();
    tablet->daemon.Signal(SIGKILL);
    EXPECT_EQ(sender->Wait(), 1) << sender->Output();
    EXPECT_FALSE(fs::exists(in / "film"));
    EXPECT_TRUE(WaitUntil([&] { return callback->lost >= 1; }));
    EXPECT_EQ(phone->Dumped("sizes", "senders"), 0);
    EXPECT_EQ(phone->Dumped("sizes", "adoptedDescriptors"), 0);
}

TEST_F(Transfers, AClientThatDiesWhileItSendsLeavesNoDescriptor)
{
    auto extension = Extension({"--ignore"});
    size_t before = phone->daemon.Descriptors();
    auto sender = SendTo("tablet", NewFile("film", 1 << 20));
    EXPECT_TRUE(WaitUntil([&] { return extension->Output().find("offers") != std::string::npos; }));
    sender->Signal(SIGKILL);
    (void)sender->Wait();
    EXPECT_TRUE(WaitUntil([&] { return phone->Dumped("sizes", "clients") == 0; }));
    auto cancel = Pelago({"-d", "phone", "cancel", "--to", "tablet"});
    EXPECT_EQ(cancel->Wait(), 0) << cancel->Output();
    EXPECT_TRUE(WaitUntil([&] { return phone->Dumped("sizes", "adoptedDescriptors") == 0; }));
    // Discovery goes on, since the last client did not stop it: the connection to the tablet stays.
    EXPECT_TRUE(WaitUntil([&] { return phone->daemon.Descriptors() <= before + 2; }));
}

// The same request with 500 files, with one more, cut off and to nobody: afterwards both are as they were.
TEST_F(Transfers, FiveHundredFilesArriveAndOneMoreIsRefused)
{
    auto first = Extension({"--once"}); // makes what a daemon makes once
    EXPECT_EQ(SendTo("tablet", NewFile("first", 1))->Wait(), 0);
    EXPECT_EQ(first->Wait(), 0);
    fs::remove(in / "first");
    size_t descriptors = phone->daemon.Descriptors();
    size_t threads = phone->daemon.Threads();
    auto extension = Extension({"--once"});
    std::vector<std::string> words{"-d", "phone", "send", "--to", "tablet"};
    for (size_t i = 0; i < MANY_FILES; ++i) {
        words.push_back(NewFile("f" + std::to_string(i), i).string());
    }
    auto sender = Pelago(words);
    EXPECT_EQ(sender->Wait(), 0) << sender->Output();
    EXPECT_EQ(extension->Wait(), 0);
    EXPECT_EQ(static_cast<size_t>(std::distance(fs::directory_iterator(in), fs::directory_iterator())), MANY_FILES);
    EXPECT_EQ(Bytes(in / "f499").size(), 499u);
    EXPECT_EQ(phone->Dumped("sizes", "adoptedDescriptors"), 0);
    // One more of each may be the scheduler's alarm, made by the first task that waits.
    EXPECT_TRUE(WaitUntil([&] { return phone->daemon.Threads() <= threads + 1; })) << threads;
    EXPECT_TRUE(WaitUntil([&] { return phone->daemon.Descriptors() <= descriptors + 1; })) << descriptors;

    words.push_back(NewFile("one-more", 1).string());
    auto refused = Pelago(words);
    EXPECT_EQ(refused->Wait(), 11) << refused->Output();
}

TEST_F(Transfers, OfTwoDevicesOfAContactExactlyOneWins)
{
    auto contact = Pelago({"contact", "ana", "--id", "7", "--name", "Ana"});
    ASSERT_EQ(contact->Wait(), 0) << contact->Output();
    auto first = NewDevice("first", "ana");
    auto second = NewDevice("second", "ana");
    fs::path file = NewFile("film", 8 << 20);
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<Child>> extensions;
        for (RunningDevice* device : {first.get(), second.get()}) {
            device->SwitchOn();
            extensions.push_back(
                Pelago({"-d", device->id, "receive", "--once", "--dir", NewFolder("in-" + device->id).string()}));
            EXPECT_TRUE(
                WaitUntil([&] { return extensions.back()->Output().find("ready to receive") != std::string::npos; }));
        }
        auto sender = SendTo("Ana", file);
        EXPECT_EQ(sender->Wait(), 0) << sender->Output();
        int done = 0;
        for (auto& extension : extensions) {
            extension->Signal(SIGTERM); // the loser may never have seen an offer
            done += extension->Wait() == 0 ? 1 : 0;
        }
        EXPECT_EQ(done, 1);
        int arrived = 0;
        for (const std::string& id : {first->id, second->id}) {
            fs::path folder = NewFolder("in-" + id);
            arrived += static_cast<int>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
            fs::remove_all(folder);
        }
        EXPECT_EQ(arrived, 1);
    }
}

} // namespace
} // namespace OHOS::Pelago
