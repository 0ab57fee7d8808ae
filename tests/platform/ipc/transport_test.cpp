#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <mutex>

#include "ipc_scene.h"

// Two ends of real sockets in one process: what a daemon and its client see of each other while all goes well.
namespace OHOS {
namespace {

using namespace std::chrono_literals;

class TransportTest : public IpcScene {
protected:
    // How often the threads of the IPC have begun to wait: each wake-up ends in that. Looks when all are asleep.
    static uint64_t CountWaits()
    {
        uint64_t waits = 0;
        EXPECT_TRUE(Eventually([&waits] { return AllAreAsleep(waits); }));
        return waits;
    }
    static bool AllAreAsleep(uint64_t& waits)
    {
        waits = 0;
        bool asleep = true;
        DIR* tasks = ::opendir("/proc/self/task");
        while (const dirent* task = ::readdir(tasks)) {
            std::ifstream status(std::string("/proc/self/task/") + task->d_name + "/status");
            std::string word;
            const bool ours = status >> word >> word && word == "ipc";
            for (std::string value; ours && status >> word;) {
                asleep = asleep && (word != "State:" || (status >> value && value == "S"));
                waits += word == "voluntary_ctxt_switches:" && status >> value ? std::stoull(value) : 0;
            }
        }
        (void)::closedir(tasks);
        return asleep;
    }

    Gate begun;
    Gate goOn;
};

TEST_F(TransportTest, TheSocketThatWasUsedSaysWhoCalls)
{
    uint32_t token = 0;
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        token = IPCSkeleton::GetCallingTokenID();
        EXPECT_EQ(IPCSkeleton::GetCallingPid(), ::getpid());
        EXPECT_EQ(IPCSkeleton::GetCallingUid(), ::getuid());
        return 5;
    });
    Serve();
    std::string error;
    ASSERT_TRUE(server.AddSocket({"guest", 100, 0600}, error)) << error;
    for (const auto& [name, expected] : {std::pair{"owner", 1U}, std::pair{"app", 4U}, std::pair{"guest", 100U}}) {
        const sptr<IRemoteObject> root = Connect(name);
        EXPECT_EQ(CallPlain(root, 1), 5) << "the handler's result is the caller's";
        EXPECT_EQ(token, expected);
        EXPECT_EQ(CallPlain(root, 2), IPC_UNKNOWN_CODE);
        EXPECT_EQ(root->GetObjectDescriptor(), u"test.scripted");
        EXPECT_EQ(server.Connections().back().token, name);
    }
}

TEST_F(TransportTest, ObjectsKeepTheirIdentityInBothDirections)
{
    std::vector<sptr<IRemoteObject>> handed;
    service->On(1, [&](MessageParcel& data, MessageParcel& reply) {
        handed.push_back(data.ReadRemoteObject());
        return reply.WriteRemoteObject(handed.back()) && reply.WriteRemoteObject(service) ? 0 : -11;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    const sptr<IRemoteObject> own = new ScriptedStub;
    for (const sptr<IRemoteObject>& object : {own, own, root}) {
        Exchange call;
        ASSERT_TRUE(call.data.WriteRemoteObject(object));
        EXPECT_EQ(call.Send(root, 1), 0);
        EXPECT_EQ(call.reply.ReadRemoteObject(), object) << "home again";
        EXPECT_EQ(call.reply.ReadRemoteObject(), root);
    }
    EXPECT_TRUE(handed[0]->IsProxyObject());
    EXPECT_EQ(handed[0], handed[1]);
    EXPECT_EQ(handed[2], service);
    const int references = own->GetSptrRefCount();
    handed.clear();
    EXPECT_TRUE(Eventually([&] { return own->GetSptrRefCount() == references - 1; }));
}

TEST_F(TransportTest, CallsNestAsDeepAsTheyLike)
{
    // Each side calls the other one back with one less, until nothing is left.
    const auto countDown = [](MessageParcel& data, MessageParcel& reply) {
        const int32_t left = data.ReadInt32();
        const sptr<IRemoteObject> next = data.ReadRemoteObject();
        const sptr<IRemoteObject> after = data.ReadRemoteObject();
        Exchange nested;
        const bool sent = left == 0 || (nested.data.WriteInt32(left - 1) && nested.data.WriteRemoteObject(after) &&
                                           nested.data.WriteRemoteObject(next) && nested.Send(next, 1) == 0);
        return sent && reply.WriteInt32(left == 0 ? 0 : nested.reply.ReadInt32() + 1) ? 0 : -11;
    };
    const sptr<ScriptedStub> own = new ScriptedStub({{1, countDown}});
    service->On(1, countDown);
    Serve();
    const sptr<IRemoteObject> root = Connect();
    Exchange call;
    ASSERT_TRUE(call.data.WriteInt32(9) && call.data.WriteRemoteObject(own) && call.data.WriteRemoteObject(root));
    EXPECT_EQ(call.Send(root, 1), 0);
    EXPECT_EQ(call.reply.ReadInt32(), 9);
}

TEST_F(TransportTest, MessagesOfAllSizesAndManyDescriptorsArriveWhole)
{
    service->On(1, [](MessageParcel& data, MessageParcel& reply) {
        std::string text = data.ReadString();
        std::reverse(text.begin(), text.end());
        std::vector<int> received;
        while (data.GetReadableBytes() > 0) {
            received.push_back(data.ReadFileDescriptor());
            EXPECT_EQ(TextOf(received.back()), std::to_string(received.size()));
        }
        bool written = reply.SetMaxCapacity(5'000'000) && reply.WriteString(text);
        for (auto fd = received.rbegin(); fd != received.rend(); ++fd) {
            written = written && reply.WriteFileDescriptor(*fd) && ::close(*fd) == 0;
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
        EXPECT_EQ(call.reply.ReadString(), std::string(text.rbegin(), text.rend())) << size;
        for (int i = files; i > 0; --i) {
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
    constexpr int count = 500;
    std::mutex mutex;
    std::map<int32_t, std::vector<int32_t>> handled; // by thread
    service->On(1, [&](MessageParcel& data, MessageParcel&) {
        const int32_t thread = data.ReadInt32();
        std::lock_guard lock(mutex);
        handled[thread].push_back(data.ReadInt32());
        return 0;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    Crowd(4, [&root](size_t thread) {
        for (int32_t i = 0; i < count; ++i) {
            Exchange call;
            EXPECT_TRUE(call.data.WriteInt32(static_cast<int32_t>(thread)) && call.data.WriteInt32(i));
            EXPECT_EQ(call.Send(root, 1, i % 50 == 49 ? MessageOption::TF_SYNC : MessageOption::TF_ASYNC), 0);
        }
    }).Join();
    for (int32_t thread = 0; thread < 4; ++thread) {
        EXPECT_EQ(handled[thread].size(), static_cast<size_t>(count));
        EXPECT_TRUE(std::is_sorted(handled[thread].begin(), handled[thread].end()));
    }
}

TEST_F(TransportTest, SixteenRequestsRunAndTheOthersWaitTheirTurn)
{
    constexpr size_t callers = 40;
    std::atomic<size_t> running{0};
    std::atomic<size_t> most{0};
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        const size_t now = ++running;
        for (size_t seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
        }
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
    EXPECT_EQ(most, Host::IPC_CONCURRENT_REQUESTS);
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().threads == 2; })) << Host::CountIpc().threads;
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().lanes == 2; })) << "one lane stays, at both its ends";
    const uint64_t before = CountWaits();
    std::this_thread::sleep_for(1500ms); // an event that must not come cannot be awaited
    EXPECT_EQ(CountWaits(), before) << "an idle process does not wake up";
}

// A client that is being called back must get in, however full the house is.
TEST_F(TransportTest, ARequestOfAProcessThatIsBeingCalledNeedsNoPlace)
{
    std::atomic<size_t> blocked{0};
    service->On(1, [&](MessageParcel&, MessageParcel&) { return ++blocked, goOn.Wait() ? 0 : -1; });
    service->On(2, [&](MessageParcel& data, MessageParcel&) {
        EXPECT_TRUE(Eventually([&] { return blocked == Host::IPC_CONCURRENT_REQUESTS - 1; }));
        return CallPlain(data.ReadRemoteObject(), 1);
    });
    service->On(3, [](MessageParcel&, MessageParcel&) { return 33; });
    Serve();
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
    service->On(1, [&](MessageParcel&, MessageParcel&) { return begun.Open(), goOn.Wait() ? 0 : -1; });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    const sptr<DeathWatch> watch = new DeathWatch;
    ASSERT_TRUE(root->AddDeathRecipient(watch));
    Crowd caller(1, [&root](size_t) { EXPECT_EQ(CallPlain(root, 1), IPC_DEAD_OBJECT); });
    EXPECT_TRUE(begun.Wait());
    const Crowd stopper(1, [this](size_t) { Stop(); });
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_EQ(CallPlain(root, 1), IPC_DEAD_OBJECT);
    caller.Join();
    EXPECT_NE(Refusal().find("No such file"), std::string::npos);
    goOn.Open();
}

TEST_F(TransportTest, AFolderIsServedOnceAndALeftOverSocketIsReplaced)
{
    service->On(1, [](MessageParcel&, MessageParcel&) { return 0; });
    Serve();
    std::string error;
    Host::IpcServer second;
    EXPECT_FALSE(second.Start(directory, {{"fresh", 7, 0600}, {"owner", 1, 0600}}, service, {}, error));
    EXPECT_EQ(error, Path("owner") + " is served already");
    EXPECT_NE(::access(Path("fresh").c_str(), F_OK), 0) << "what was begun is taken back";
    struct stat file = {};
    ASSERT_EQ(::stat(Path("app").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0666U) << "whatever the umask says";
    for (const char* name : {"", "a/b", "..", "a.b"}) {
        EXPECT_FALSE(second.Start(directory, {{name, 7, 0600}}, service, {}, error)) << name;
    }
    ASSERT_EQ(::link(Path("owner").c_str(), Path("left").c_str()), 0); // of a socket that will be dead
    Stop();
    ASSERT_TRUE(second.Start(directory, {{"left", 7, 0600}}, service, {}, error)) << error;
    EXPECT_EQ(CallPlain(Connect("left"), 1), 0);

    const std::string deep = directory + "/" + std::string(200, 'd');
    ASSERT_EQ(::mkdir(deep.c_str(), 0700), 0);
    Host::IpcServer third;
    ASSERT_TRUE(third.Start(deep, {{"owner", 1, 0600}}, service, {}, error)) << error;
    EXPECT_EQ(CallPlain(Connect(std::string(200, 'd') + "/owner"), 1), 0) << "a path longer than an address";
    EXPECT_TRUE(third.Stop() && second.Stop());
    EXPECT_EQ(::rmdir(deep.c_str()), 0);
}

} // namespace
} // namespace OHOS
