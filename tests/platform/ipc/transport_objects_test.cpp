#include <unistd.h>

#include <algorithm>
#include <random>

#include "ipc_scene.h"

// Counts of objects and descriptors under everything at once: at the end both sides hold what they did at the start.
namespace OHOS {
namespace {

class ObjectCountsTest : public IpcScene {
protected:
    static constexpr int OBJECTS = 5;
    static constexpr int ROUNDS = 400;

    ObjectCountsTest()
    {
        // Gives one of the objects, and hands back what came.
        service->On(1, [this](MessageParcel& data, MessageParcel& reply) {
            const auto index = static_cast<size_t>(data.ReadInt32());
            const sptr<IRemoteObject> theirs = data.ReadRemoteObject();
            EXPECT_NE(theirs, nullptr) << "a release has overtaken its message";
            return reply.WriteRemoteObject(given[index]) && reply.WriteRemoteObject(theirs) ? 0 : -11;
        });
        // Takes objects that its sender lets go of right behind the message.
        service->On(2, [this](MessageParcel& data, MessageParcel&) {
            EXPECT_NE(data.ReadRemoteObject(), nullptr);
            const sptr<IRemoteObject> ours = data.ReadRemoteObject();
            EXPECT_TRUE(ours != nullptr && !ours->IsProxyObject());
            return ++posts, 0;
        });
    }
    static std::vector<sptr<IRemoteObject>> NewObjects()
    {
        std::vector<sptr<IRemoteObject>> objects(OBJECTS);
        std::generate(objects.begin(), objects.end(), [] { return new ScriptedStub; });
        return objects;
    }
    static sptr<IRemoteObject> Swap(const sptr<IRemoteObject>& root, int index, const sptr<IRemoteObject>& own)
    {
        Exchange call;
        EXPECT_TRUE(call.data.WriteInt32(index) && call.data.WriteRemoteObject(own));
        EXPECT_EQ(call.Send(root, 1), 0);
        sptr<IRemoteObject> theirs = call.reply.ReadRemoteObject();
        EXPECT_NE(theirs, nullptr);
        EXPECT_EQ(call.reply.ReadRemoteObject(), own);
        return theirs;
    }
    static bool AreFree(const std::vector<sptr<IRemoteObject>>& objects)
    {
        return std::all_of(
            objects.begin(), objects.end(), [](const auto& object) { return object->GetSptrRefCount() == 1; });
    }

    const std::vector<sptr<IRemoteObject>> given = NewObjects();
    std::atomic<int> posts{0};
};

TEST_F(ObjectCountsTest, ReleasesThatCrossWithMessagesLoseNothingAndKeepNothing)
{
    Serve();
    const sptr<IRemoteObject> root = Connect();
    const std::vector<sptr<IRemoteObject>> own = NewObjects();
    Crowd(8, [&](size_t seed) {
        std::minstd_rand random(static_cast<unsigned>(seed));
        sptr<IRemoteObject> kept;
        for (int round = 0; round < ROUNDS; ++round) {
            const sptr<IRemoteObject> theirs =
                Swap(root, static_cast<int>(random() % OBJECTS), own[random() % OBJECTS]);
            if (random() % 4 == 0) {
                kept = theirs; // now and then one lives longer
            }
            if (random() % 4 == 0) {
                Exchange call;
                EXPECT_TRUE(
                    call.data.WriteRemoteObject(own[random() % OBJECTS]) && call.data.WriteRemoteObject(theirs));
                EXPECT_EQ(call.Send(root, 2, MessageOption::TF_ASYNC), 0);
                --posts;
            }
        }
    }).Join();
    EXPECT_TRUE(Eventually([&] { return posts == 0 && AreFree(given) && AreFree(own); })) << posts;
}

TEST_F(ObjectCountsTest, AConnectionEndsWhenNothingOfItIsHeld)
{
    Serve();
    sptr<IRemoteObject> root = Connect();
    sptr<IRemoteObject> theirs = Swap(root, 0, new ScriptedStub);
    root = nullptr;
    EXPECT_EQ(theirs->GetObjectDescriptor(), u"test.scripted") << "one object is enough";
    theirs = nullptr;
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().connections == 0; }));
}

TEST_F(ObjectCountsTest, AKilledClientLeavesNoDescriptorsAndNoObjects)
{
    Gate begun;
    Gate goOn;
    service->On(3, [&](MessageParcel& data, MessageParcel&) {
        EXPECT_EQ(::close(data.ReadFileDescriptor()), 0); // one is taken, the others are not
        begun.Open();
        return goOn.Wait() ? 0 : -1;
    });
    ClientProcess client([this](const Baton&) {
        Exchange call;
        for (int i = 0; i < 500; ++i) {
            EXPECT_TRUE(call.data.WriteFileDescriptor(STDERR_FILENO) && call.data.WriteRemoteObject(new ScriptedStub));
        }
        (void)call.Send(Connect(), 3);
    });
    Serve();
    const size_t before = CountDescriptors();
    client.Go();
    EXPECT_TRUE(begun.Wait());
    EXPECT_EQ(Host::CountIpc().objectsHeld, 500U);
    client.Kill();
    goOn.Open();
    EXPECT_TRUE(Eventually([before] { return CountDescriptors() <= before && Host::CountIpc().objectsHeld == 0; }));
}

} // namespace
} // namespace OHOS
