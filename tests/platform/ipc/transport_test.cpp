#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "ipc_scene.h"

// Two ends of real sockets in one process: what a daemon and its client see of each other while all goes well.
namespace OHOS {
namespace {

using namespace std::chrono_literals;

class TransportTest : public IpcScene {
protected:
    // Request 1 waits for `goOn`, and says meanwhile that it has begun.
    void ServeWaiting()
    {
        service->On(1, [this](MessageParcel&, MessageParcel&) { return ++begun, goOn.Wait() ? 0 : -1; });
        Serve();
    }

    std::atomic<size_t> begun{0};
    Gate goOn;
};

TEST_F(TransportTest, MessagesOfAllSizesAndManyDescriptorsArriveWholeInBothDirections)
{
    service->On(1, [](MessageParcel& data, MessageParcel& reply) {
        bool written = reply.SetMaxCapacity(5'000'000) && reply.WriteString(data.ReadString());
        while (data.GetReadableBytes() > 0) {
            const int fd = data.ReadFileDescriptor();
            written = written && reply.WriteFileDescriptor(fd) && ::close(fd) == 0;
        }
        return written ? 0 : -11;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    using Size = std::pair<size_t, int>;
    for (const auto& [size, files] : {Size{0, 0}, {1, 0}, {4060, 0}, {4064, 0}, {4065, 0}, {9, 500}, {300'000, 500}}) {
        const std::string text = std::string(size, 'a') + "end";
        Exchange call;
        ASSERT_TRUE(call.data.SetMaxCapacity(5'000'000) && call.data.WriteString(text));
        for (int i = 1; i <= files; ++i) {
            const int fd = FileWith(std::to_string(i));
            ASSERT_TRUE(call.data.WriteFileDescriptor(fd) && ::close(fd) == 0);
        }
        EXPECT_EQ(call.Send(root, 1), 0) << size;
        EXPECT_EQ(call.reply.ReadString(), text) << size;
        for (int i = 1; i <= files; ++i) {
            EXPECT_EQ(TakeText(call.reply), std::to_string(i));
        }
    }
}

TEST_F(TransportTest, ATimeOutLeavesNothingBehind)
{
    const sptr<ScriptedStub> given = new ScriptedStub;
    service->On(1, [&](MessageParcel&, MessageParcel& reply) {
        return goOn.Wait() && reply.WriteRemoteObject(given) && reply.WriteFileDescriptor(STDERR_FILENO) ? 0 : -11;
    });
    service->On(2, [](MessageParcel&, MessageParcel&) { return 2; });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    const size_t descriptors = CountDescriptors();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CallPlain(root, 1, 1), IPC_TIMED_OUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ(CallPlain(root, 2), 2) << "the next call has nothing to do with the late reply";
    goOn.Open();
    EXPECT_TRUE(Eventually([&] { return given->GetSptrRefCount() == 1; })) << "nobody got it";
    EXPECT_TRUE(Eventually([&] { return CountDescriptors() <= descriptors + 2; }));
}

TEST_F(TransportTest, OneWayRequestsOfAThreadComeInOrderAndBeforeItsNextCall)
{
    constexpr size_t threads = 4;
    constexpr int count = 500;
    std::array<std::atomic<int32_t>, threads> handled{}; // the next number of each thread
    service->On(1, [&](MessageParcel& data, MessageParcel&) {
        const int32_t thread = data.ReadInt32();
        EXPECT_EQ(handled[static_cast<size_t>(thread)]++, data.ReadInt32());
        return 0;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    Crowd(threads, [&root](size_t thread) {
        for (int32_t i = 0; i < count; ++i) {
            Exchange call;
            EXPECT_TRUE(call.data.WriteInt32(static_cast<int32_t>(thread)) && call.data.WriteInt32(i));
            EXPECT_EQ(call.Send(root, 1, i % 50 == 49 ? MessageOption::TF_SYNC : MessageOption::TF_ASYNC), 0);
        }
    }).Join();
    EXPECT_TRUE(std::all_of(handled.begin(), handled.end(), [](const auto& next) { return next == count; }));
}

TEST_F(TransportTest, SixteenRequestsRunAndTheOthersWaitTheirTurn)
{
    constexpr size_t callers = 40;
    std::atomic<size_t> running{0};
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        EXPECT_LE(++running, Host::IPC_CONCURRENT_REQUESTS);
        EXPECT_TRUE(goOn.Wait());
        --running;
        return 0;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    std::atomic<size_t> answered{0};
    Crowd crowd(callers, [&](size_t) { answered += CallPlain(root, 1) == 0 ? 1 : 0; });
    EXPECT_TRUE(Eventually([&] {
        return Host::CountIpc().parked == callers - Host::IPC_CONCURRENT_REQUESTS &&
               running == Host::IPC_CONCURRENT_REQUESTS;
    }));
    goOn.Open();
    crowd.Join();
    EXPECT_EQ(answered, callers);
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().threads == 2; })) << Host::CountIpc().threads;
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().lanes == 2; })) << "one lane stays, at both its ends";
}

TEST_F(TransportTest, AnIdleProcessDoesNotWakeUp)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "its run-time library has a thread that wakes up";
#endif
    Serve();
    const sptr<IRemoteObject> root = Connect();
    EXPECT_EQ(CallPlain(root, 1), IPC_UNKNOWN_CODE);
    const auto waits = [] {
        rusage usage = {};
        EXPECT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
        return usage.ru_nvcsw;
    };
    EXPECT_TRUE(Eventually([&waits] { // once nothing ends any more
        const auto before = waits();
        std::this_thread::sleep_for(1500ms); // an event that must not come cannot be awaited
        return waits() == before + 1;
    }));
}

// A client that is being called back must get in, however full the house is.
TEST_F(TransportTest, ARequestOfAProcessThatIsBeingCalledNeedsNoPlace)
{
    service->On(2, [&](MessageParcel& data, MessageParcel&) {
        EXPECT_TRUE(Eventually([&] { return begun == Host::IPC_CONCURRENT_REQUESTS - 1; }));
        return CallPlain(data.ReadRemoteObject(), 1);
    });
    service->On(3, [](MessageParcel&, MessageParcel&) { return 33; });
    ServeWaiting();
    const sptr<IRemoteObject> busy = Connect();
    const sptr<IRemoteObject> root = Connect("app");
    const sptr<ScriptedStub> own =
        new ScriptedStub({{1, [&root](MessageParcel&, MessageParcel&) { return CallPlain(root, 3); }}});
    const Crowd others(Host::IPC_CONCURRENT_REQUESTS - 1, [&busy](size_t) { EXPECT_EQ(CallPlain(busy, 1), 0); });
    EXPECT_EQ(CallWith(root, 2, {own}), 33);
    goOn.Open();
}

TEST_F(TransportTest, AServerStopsWithRequestsUnderWay)
{
    ServeWaiting();
    const sptr<IRemoteObject> root = Connect();
    const sptr<DeathWatch> watch = new DeathWatch;
    ASSERT_TRUE(root->AddDeathRecipient(watch));
    Crowd caller(1, [&root](size_t) { EXPECT_EQ(CallPlain(root, 1), IPC_DEAD_OBJECT); });
    EXPECT_TRUE(Eventually([this] { return begun == 1; }));
    const Crowd stopper(1, [this](size_t) { Stop(); });
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_EQ(CallPlain(root, 1), IPC_DEAD_OBJECT);
    caller.Join();
    EXPECT_NE(Refusal().find("No such file"), std::string::npos);
    goOn.Open();
}

TEST_F(TransportTest, AFolderIsServedOnceAndALeftOverSocketIsReplaced)
{
    service->On(1, [](MessageParcel&, MessageParcel&) { return static_cast<int>(IPCSkeleton::GetCallingTokenID()); });
    Serve();
    std::string error;
    Host::IpcServer second;
    EXPECT_FALSE(second.Start(directory, {{"fresh", 7, 0600}, {"owner", 1, 0600}}, service, {}, error));
    EXPECT_EQ(error, Path("owner") + " is served already");
    EXPECT_NE(::access(Path("fresh").c_str(), F_OK), 0) << "what was begun is taken back";
    struct stat file = {};
    ASSERT_EQ(::stat(Path("app").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0666U) << "whatever the umask says";
    ASSERT_TRUE(server.AddSocket({"guest", 100, 0600}, error)) << error;
    EXPECT_EQ(CallPlain(Connect("app"), 1), 4) << "the socket that was used says who calls";
    EXPECT_EQ(CallPlain(Connect("guest"), 1), 100);
    for (const char* name : {"", "a/b", "..", "a.b"}) {
        EXPECT_FALSE(second.Start(directory, {{name, 7, 0600}}, service, {}, error)) << name;
    }
    ASSERT_EQ(::link(Path("owner").c_str(), Path("left").c_str()), 0); // of a socket that will be dead
    Stop();
    ASSERT_TRUE(second.Start(directory, {{"left", 7, 0600}}, service, {}, error)) << error;
    EXPECT_EQ(CallPlain(Connect("left"), 1), 7);

    const std::string deep = std::string(200, 'd');
    ASSERT_EQ(::mkdir((directory + '/' + deep).c_str(), 0700), 0);
    ASSERT_TRUE(server.Start(directory + '/' + deep, {{"owner", 1, 0600}}, service, {}, error)) << error;
    EXPECT_EQ(CallPlain(Connect(deep + "/owner"), 1), 1) << "a path longer than an address";
    EXPECT_TRUE(server.Stop() && second.Stop());
    EXPECT_EQ(::rmdir((directory + '/' + deep).c_str()), 0);
}

// Counts of objects and descriptors under everything at once: at the end both sides hold what they did at the start.
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
        const sptr<IRemoteObject> theirs = call.reply.ReadRemoteObject();
        EXPECT_TRUE(theirs != nullptr && call.reply.ReadRemoteObject() == own);
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
    EXPECT_EQ(Swap(root, 0, new ScriptedStub), theirs) << "the same stub is the same proxy";
    root = nullptr;
    EXPECT_EQ(theirs->GetObjectDescriptor(), u"test.scripted") << "one object is enough";
    theirs = nullptr;
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().connections == 0; }));
}

} // namespace
} // namespace OHOS
