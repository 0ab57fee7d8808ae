#include "engine_world.h"

using namespace OHOS;
using namespace OHOS::Pelago;

namespace {

using NearbyTest = EngineTest;

TEST_F(NearbyTest, ADeviceIsFoundWhileItIsPublishedAndVisible)
{
    Start();
    a->Subscribe();
    b->Publish();
    a->nearby.Await("found B 'B's name' contact 0 flags 1");
    a->Subscribe(); // again: all of them anew
    a->nearby.Await("found B", 2);
    EXPECT_EQ(a->engine.Counters().subscribers, 1U);
    EXPECT_FALSE(a->engine.ClearDiscovererFlag("C", Discoverer::TAP));
    EXPECT_TRUE(a->engine.OnCollabDeviceFound(Tapped("B"), a->subscriber, 0)); // its flags are added and reported
    a->nearby.Await("found B 'B's name' contact 0 flags 3");
    EXPECT_TRUE(a->engine.ClearDiscovererFlag("B", Discoverer::TAP));

    b->engine.EnableDiscoveryPolicy(0); // told to be invisible
    a->nearby.Await("lost B");
    b->engine.EnableDiscoveryPolicy(2);
    a->nearby.Await("found B 'B's name' contact 0 flags 1", 3);
    LocalDevice renamed = DeviceOf("B");
    renamed.name = "\x1B[2J\"\xFF";
    EXPECT_TRUE(b->engine.UpdateDevice(renamed));
    a->nearby.Await("found B '\x1B[2J\"\xEF\xBF\xBD'");
    EXPECT_TRUE(b->engine.UnPublish(LocalEngine::PUBLISH_ID, nullptr));
    a->nearby.Await("lost B", 2);
    EXPECT_EQ(a->nearby.Count("found A"), 0U);
    EXPECT_EQ(a->engine.Counters().peers, 0U);
}

TEST_F(NearbyTest, WhoCannotWatchTheFolderFindsThoseWhoAreThere)
{
    Start();
    b->Publish();
    Host::Faults::Inject("engine.watch", Host::Faults::ALWAYS);
    a->Subscribe();
    a->nearby.Await("found B");
    auto served = Serve("M"); // comes unseen
    WriteFile(nearby / "M.json", R"({"version":1,"id":"M","name":"M","type":1,"accountHash":"","capability":0})");
    a->Subscribe();
    a->nearby.Await("found M");
    b->engine.Stop();
    a->nearby.Await("lost B");
    EXPECT_TRUE(a->engine.UnSubscribe(0, a->subscriber));
    folder.Remove("M");
}

TEST_F(NearbyTest, AContactThatChangesIsFoundAgainAndLostAsItWasFoundLast)
{
    WriteFile(root / "contacts.json", R"({"hash-B": {"id": 7, "name": "Ada", "avatar": "x"}, "bad": 3})");
    Start();
    b->Publish();
    a->Subscribe();
    a->nearby.Await("found B 'B's name' contact 7");
    WriteFile(root / "new.json", R"({"hash-B": {"id": 9, "name": "Ada"}})");
    fs::rename(root / "new.json", root / "contacts.json");
    a->nearby.Await("found B 'B's name' contact 9");
    b->engine.Stop();
    a->nearby.Await("lost B 'B's name' contact 9");
}

TEST_F(NearbyTest, AnIdIsNeverServedTwiceAndALockThatIsHeldIsWaitedFor)
{
    Start();
    Host::UniqueFd lock = folder.TryLock();
    ASSERT_TRUE(lock);
    b->Publish("");
    EXPECT_FALSE(b->engine.Counters().published);
    lock.Reset();
    b->nearby.Await("published 0");
    TestDevice impostor(root, "B");
    impostor.Publish("published -1");
    impostor.engine.Stop();
    EXPECT_TRUE(fs::exists(nearby / "B.sock"));

    auto served = Serve("A"); // by somebody who is too busy to answer
    std::vector<Host::UniqueFd> waiting(1);
    while (folder.Connect("A", waiting.back()) == Local::ConnectResult::CONNECTED) {
        waiting.emplace_back();
    }
    a->Publish("published -1");
    EXPECT_TRUE(fs::remove(nearby / "A.sock"));
}

TEST_F(NearbyTest, HostileDescriptionsAreIgnored)
{
    Start();
    const std::string GOOD = R"({"version":1,"id":"M","name":"M","type":1,"accountHash":"","capability":0})";
    auto served = Serve("M");
    auto with = [&](const std::string& from, const std::string& to) {
        std::string text = GOOD;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::string HOSTILE[] = {"", "[]", std::string(100'000, '['), std::string(1'000'000, ' '),
        GOOD.substr(0, GOOD.size() - 1), with(R"("id":"M")", R"("id":"N")"), with(R"("name":"M")", R"("name":3)"),
        with(R"("name":"M")", "\"name\":\"\xFF\""),
        with(R"("name":"M")", "\"name\":\"" + std::string(2000, 'x') + "\""), with(R"("type":1)", R"("type":1e99)"),
        with(R"("type":1)", R"("type":1.5)"), with(R"("version":1)", R"("version":2)"), "a link"};
    a->Subscribe();
    uint64_t refused = 0;
    for (const std::string& text : HOSTILE) {
        if (text == "a link") {
            fs::create_symlink("/etc/passwd", root / "text");
        } else {
            WriteFile(root / "text", text);
        }
        fs::rename(root / "text", nearby / "M.json");
        EXPECT_TRUE(WaitUntil([&] { return a->engine.Counters().refusedPeers > refused; })) << text.substr(0, 200);
        refused = a->engine.Counters().refusedPeers;
    }
    EXPECT_EQ(a->nearby.Count("found"), 0U);
    WriteFile(root / "text", GOOD); // the row that must succeed
    fs::rename(root / "text", nearby / "M.json");
    a->nearby.Await("found M");
    folder.Remove("M");
    a->nearby.Await("lost M");
}

} // namespace
