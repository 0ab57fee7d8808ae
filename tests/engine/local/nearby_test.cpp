#include <sys/file.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include <fcntl.h>

#include "engine_world.h"

using namespace OHOS;
using namespace OHOS::Pelago;
namespace fs = std::filesystem;

namespace {

class NearbyTest : public EngineTest {
protected:
    // A process whose only device is published and receives all that comes, until it is killed.
    [[nodiscard]] pid_t StartProcess(const std::string& id) const
    {
        std::array<int, 2> ready{};
        EXPECT_EQ(::pipe(ready.data()), 0);
        pid_t child = ::fork();
        if (child == 0) {
            TestDevice device(root, DeviceOf(id));
            device.AcceptAll();
            device.Publish();
            EXPECT_EQ(::write(ready[1], "r", 1), 1);
            for (;;) {
                (void)::pause();
            }
        }
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        (void)::close(ready[0]);
        (void)::close(ready[1]);
        return child;
    }
    static void Kill(pid_t child)
    {
        EXPECT_EQ(::kill(child, SIGKILL), 0);
        EXPECT_EQ(::waitpid(child, nullptr, 0), child);
    }
};

TEST_F(NearbyTest, ADeviceIsFoundWhileItIsPublishedAndVisible)
{
    TestDevice a(root, DeviceOf("A"));
    TestDevice b(root, DeviceOf("B"));
    a.Subscribe();
    b.Publish();
    a.nearby.Await("found B 'B's name' contact 0 flags 1");

    b.engine.EnableDiscoveryPolicy(0); // told to be invisible
    a.nearby.Await("lost B");
    b.engine.EnableDiscoveryPolicy(2);
    a.nearby.Await("found B", 2);
    LocalDevice renamed = DeviceOf("B");
    renamed.name = "\x1B[2J\"\xFF";
    EXPECT_TRUE(b.engine.UpdateDevice(renamed));
    a.nearby.Await("found B '\x1B[2J\"\xEF\xBF\xBD'");
    EXPECT_TRUE(b.engine.UnPublish(LocalEngine::PUBLISH_ID, nullptr));
    a.nearby.Await("lost B", 2);
    EXPECT_EQ(a.nearby.Count("found A"), 0U);
    EXPECT_EQ(a.engine.Counters().peers, 0U);
}

TEST_F(NearbyTest, ALateSubscriberHearsOfThoseWhoAreThereAndALeavingOneOfNothingMore)
{
    TestDevice a(root, DeviceOf("A"));
    TestDevice b(root, DeviceOf("B"));
    b.Publish();
    a.Subscribe();
    a.nearby.Await("found B");
    a.Subscribe(); // again: all of them anew
    a.nearby.Await("found B", 2);
    EXPECT_EQ(a.engine.Counters().subscribers, 1U);
    EXPECT_EQ(a.engine.Counters().peers, 1U);
}

TEST_F(NearbyTest, AContactThatChangesIsFoundAgainAndLostAsItWasFoundLast)
{
    WriteFile(root / "contacts.json", R"({"hash-B": {"id": 7, "name": "Ada", "avatar": "x"}, "bad": 3})");
    TestDevice a(root, DeviceOf("A"));
    TestDevice b(root, DeviceOf("B"));
    b.Publish();
    a.Subscribe();
    a.nearby.Await("found B 'B's name' contact 7");
    WriteFile(root / "new.json", R"({"hash-B": {"id": 9, "name": "Ada"}})");
    fs::rename(root / "new.json", root / "contacts.json");
    a.nearby.Await("found B 'B's name' contact 9");
    b.engine.Stop();
    a.nearby.Await("lost B 'B's name' contact 9");
}

TEST_F(NearbyTest, DiscovererFlagsAreAddedReportedAndCleared)
{
    TestDevice a(root, DeviceOf("A"));
    TestDevice b(root, DeviceOf("B"));
    b.Publish();
    a.Subscribe();
    a.nearby.Await("found B");
    sptr<ShareDevice> tapped = new ShareDevice();
    tapped->SetDeviceId("B");
    tapped->discoveredBy_ = Discoverer::TAP;
    EXPECT_FALSE(a.engine.ClearDiscovererFlag("C", Discoverer::TAP));
    EXPECT_TRUE(a.engine.OnCollabDeviceFound(tapped, a.Subscriber(), 0));
    a.nearby.Await("found B 'B's name' contact 0 flags 3");
    EXPECT_TRUE(a.engine.ClearDiscovererFlag("B", Discoverer::TAP));
    a.Subscribe();
    a.nearby.Await("found B 'B's name' contact 0 flags 1");
}

TEST_F(NearbyTest, AKilledProcessIsLostAndItsFilesAreRemovedByWhoeverIsRefused)
{
    pid_t child = StartProcess("B"); // before any thread of ours
    TestDevice a(root, DeviceOf("A"));
    a.Subscribe();
    a.nearby.Await("found B");
    Kill(child);
    a.nearby.Await("lost B");
    EXPECT_TRUE(Eventually([this] { return !fs::exists(Nearby() / "B.sock") && !fs::exists(Nearby() / "B.json"); }));
    TestDevice again(root, DeviceOf("B"));
    again.Publish();
    a.nearby.Await("found B", 2);
}

TEST_F(NearbyTest, AReceiverThatIsKilledAtTheLastByteLeavesNoFileAndTheSenderKnows)
{
    pid_t child = StartProcess("B");
    TestDevice a(root, DeviceOf("A"));
    a.Subscribe();
    a.nearby.Await("found B");
    Sending sending;
    sending.progressDoor->Shut(); // the bytes flow, the end waits
    a.Send(sending, "B", {MakeFile("big", 8'000'000)});
    sending.heard->Await("progress");
    Kill(child);
    sending.progressDoor->Open();
    sending.heard->Await("end: error 3001");
    a.nearby.Await("lost B");
    EXPECT_TRUE(fs::is_empty(root / "inbox-B"));
}

TEST_F(NearbyTest, AnIdIsNeverServedTwiceAndALockThatIsHeldIsWaitedFor)
{
    TestDevice b(root, DeviceOf("B"));
    Local::UniqueFd lock(::open((Nearby() / "lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(lock.Get(), LOCK_EX), 0);
    b.engine.EnableDiscoveryPolicy(1);
    EXPECT_TRUE(b.engine.Publish(b.Publisher()));
    EXPECT_FALSE(b.engine.Counters().published);
    lock.Reset();
    b.nearby.Await("published 0");

    TestDevice impostor(root, DeviceOf("B"));
    impostor.engine.EnableDiscoveryPolicy(1);
    EXPECT_TRUE(impostor.engine.Publish(impostor.Publisher()));
    impostor.nearby.Await("published -1");
    impostor.engine.Stop();
    EXPECT_TRUE(fs::exists(Nearby() / "B.sock"));
}

TEST_F(NearbyTest, HostileDescriptionsAreIgnored)
{
    TestDevice a(root, DeviceOf("A"));
    const std::string GOOD = R"({"version":1,"id":"M","name":"M","type":1,"accountHash":"","capability":0})";
    auto served = ServeRaw(Nearby() / "M.sock");
    auto with = [&](const std::string& from, const std::string& to) {
        std::string text = GOOD;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::string HOSTILE[] = {
        "",
        "[]",
        std::string(100'000, '['),
        std::string(1'000'000, ' '),
        GOOD.substr(0, GOOD.size() - 1),
        with(R"("id":"M")", R"("id":"N")"),
        with(R"("id":"M")", R"("id":"../M")"),
        with(R"("name":"M")", R"("name":3)"),
        with(R"("name":"M")", "\"name\":\"\xFF\""),
        with(R"("name":"M")", "\"name\":\"" + std::string(2000, 'x') + "\""),
        with(R"("type":1)", R"("type":1e99)"),
        with(R"("type":1)", R"("type":1.5)"),
        with(R"("version":1)", R"("version":2)"),
    };
    a.Subscribe();
    uint64_t refused = 0;
    for (const std::string& text : HOSTILE) {
        WriteFile(root / "text", text);
        fs::rename(root / "text", Nearby() / "M.json");
        EXPECT_TRUE(Eventually([&] { return a.engine.Counters().refusedPeers > refused; })) << text.substr(0, 200);
        refused = a.engine.Counters().refusedPeers;
    }
    fs::create_symlink("/etc/passwd", root / "link");
    fs::rename(root / "link", Nearby() / "M.json");
    EXPECT_TRUE(Eventually([&] { return a.engine.Counters().refusedPeers > refused; }));
    EXPECT_EQ(a.nearby.Count("found"), 0U);

    WriteFile(root / "text", GOOD); // the row that must succeed
    fs::rename(root / "text", Nearby() / "M.json");
    a.nearby.Await("found M");
    fs::remove(Nearby() / "M.json");
    fs::remove(Nearby() / "M.sock");
    a.nearby.Await("lost M");
}

} // namespace
