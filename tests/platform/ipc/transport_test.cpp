#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <thread>

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
};

TEST_F(TransportTest, TheSocketThatWasUsedSaysWhoCalls)
{
    uint32_t token = 0;
    pid_t pid = 0;
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        token = IPCSkeleton::GetCallingTokenID();
        pid = IPCSkeleton::GetCallingPid();
        EXPECT_EQ(IPCSkeleton::GetCallingUid(), ::getuid());
        return 5;
    });
    Serve();
    const sptr<IRemoteObject> owner = Connect("owner");
    const sptr<IRemoteObject> app = Connect("app");
    EXPECT_NE(owner, app);
    EXPECT_EQ(CallPlain(owner, 1), 5) << "the handler's result is the caller's";
    EXPECT_EQ(token, 1U);
    EXPECT_EQ(pid, ::getpid());
    EXPECT_EQ(CallPlain(app, 1), 5);
    EXPECT_EQ(token, 4U);
    EXPECT_EQ(CallPlain(app, 2), IPC_UNKNOWN_CODE);
    EXPECT_EQ(app->GetObjectDescriptor(), u"test.scripted");
    ASSERT_EQ(server.Connections().size(), 2U);
    EXPECT_EQ(server.Connections()[1].token, "app");

    std::string error;
    ASSERT_TRUE(server.AddSocket({"guest", 100, 0600}, error)) << error;
    EXPECT_EQ(CallPlain(Connect("guest"), 1), 5);
    EXPECT_EQ(token, 100U);
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
    ASSERT_EQ(handed.size(), 3U);
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
    sptr<ScriptedStub> own = new ScriptedStub;
    const auto countDown = [](MessageParcel& data, MessageParcel& reply) {
        const int32_t left = data.ReadInt32();
        const sptr<IRemoteObject> next = data.ReadRemoteObject();
        const sptr<IRemoteObject> after = data.ReadRemoteObject();
        Exchange nested;
        const bool sent = left == 0 || (nested.data.WriteInt32(left - 1) && nested.data.WriteRemoteObject(after) &&
                                           nested.data.WriteRemoteObject(next) && nested.Send(next, 1) == 0);
        return sent && reply.WriteInt32(left == 0 ? 0 : nested.reply.ReadInt32() + 1) ? 0 : -11;
    };
    service->On(1, countDown);
    own->On(1, countDown);
    Serve();
    const sptr<IRemoteObject> root = Connect();
    Exchange call;
    ASSERT_TRUE(call.data.WriteInt32(9) && call.data.WriteRemoteObject(own) && call.data.WriteRemoteObject(root));
    EXPECT_EQ(call.Send(root, 1), 0);
    EXPECT_EQ(call.reply.ReadInt32(), 9);
}

TEST_F(TransportTest, FiveHundredDescriptorsArriveInTheirOrderAndGoBackInAnother)
{
    constexpr int files = 500;
    service->On(1, [](MessageParcel& data, MessageParcel& reply) {
        std::vector<int> received;
        for (int i = 0; i < files; ++i) {
            received.push_back(data.ReadFileDescriptor());
            EXPECT_EQ(TextOf(received.back()), std::to_string(i));
        }
        for (auto fd = received.rbegin(); fd != received.rend(); ++fd) {
            EXPECT_TRUE(reply.WriteFileDescriptor(*fd));
            (void)::close(*fd);
        }
        return 0;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    Exchange call;
    for (int i = 0; i < files; ++i) {
        const int fd = FileWith(std::to_string(i));
        ASSERT_TRUE(call.data.WriteFileDescriptor(fd));
        (void)::close(fd);
    }
    ASSERT_EQ(call.Send(root, 1), 0);
    for (int i = files - 1; i >= 0; --i) {
        const int fd = call.reply.ReadFileDescriptor();
        EXPECT_EQ(TextOf(fd), std::to_string(i));
        (void)::close(fd);
    }
}

TEST_F(TransportTest, MessagesOfAllSizesArriveWhole)
{
    service->On(1, [](MessageParcel& data, MessageParcel& reply) {
        std::string text = data.ReadString();
        std::reverse(text.begin(), text.end());
        return reply.SetMaxCapacity(5'000'000) && reply.WriteString(text) ? 0 : -11;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    for (const size_t size : {0U, 1U, 4000U, 4060U, 4064U, 4065U, 5000U, 300'000U, 4'000'000U}) {
        std::string text(size, 'a');
        text += "end";
        Exchange call;
        ASSERT_TRUE(call.data.SetMaxCapacity(5'000'000) && call.data.WriteString(text));
        EXPECT_EQ(call.Send(root, 1), 0) << size;
        EXPECT_EQ(call.reply.ReadString(), std::string(text.rbegin(), text.rend())) << size;
    }
}

TEST_F(TransportTest, ATimeOutLeavesNothingBehind)
{
    Gate goOn;
    const sptr<ScriptedStub> given = new ScriptedStub;
    service->On(1, [&](MessageParcel&, MessageParcel& reply) {
        EXPECT_TRUE(goOn.Wait());
        return reply.WriteRemoteObject(given) && reply.WriteFileDescriptor(STDERR_FILENO) ? 0 : -11;
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
    const auto record = [&](MessageParcel& data, MessageParcel&) {
        const int32_t thread = data.ReadInt32();
        std::lock_guard lock(mutex);
        handled[thread].push_back(data.ReadInt32());
        return 0;
    };
    service->On(1, record);
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
        ASSERT_EQ(handled[thread].size(), static_cast<size_t>(count));
        EXPECT_TRUE(std::is_sorted(handled[thread].begin(), handled[thread].end()));
    }
}

TEST_F(TransportTest, SixteenRequestsRunAndTheOthersWaitTheirTurn)
{
    constexpr size_t callers = 40;
    Gate goOn;
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
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().parked == callers - Host::IPC_CONCURRENT_REQUESTS; }));
    EXPECT_EQ(running, Host::IPC_CONCURRENT_REQUESTS);
    goOn.Open();
    crowd.Join();
    EXPECT_EQ(answered, callers);
    EXPECT_EQ(most, Host::IPC_CONCURRENT_REQUESTS);
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().threads == 2; })) << Host::CountIpc().threads;
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().lanes == 2; })) << "one lane stays, at both its ends";
}

// A client that is being called back must get in, however full the house is.
TEST_F(TransportTest, ARequestOfAProcessThatIsBeingCalledNeedsNoPlace)
{
    Gate full;
    Gate goOn;
    std::atomic<size_t> blocked{0};
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        if (++blocked == Host::IPC_CONCURRENT_REQUESTS - 1) {
            full.Open();
        }
        EXPECT_TRUE(goOn.Wait());
        return 0;
    });
    service->On(2, [&](MessageParcel& data, MessageParcel&) {
        EXPECT_TRUE(full.Wait());
        return CallPlain(data.ReadRemoteObject(), 1);
    });
    service->On(3, [](MessageParcel&, MessageParcel&) { return 33; });
    Serve();
    const sptr<IRemoteObject> busy = Connect();
    const sptr<IRemoteObject> root = Connect("app");
    const sptr<ScriptedStub> own = new ScriptedStub;
    own->On(1, [&root](MessageParcel&, MessageParcel&) { return CallPlain(root, 3); });
    const Crowd others(Host::IPC_CONCURRENT_REQUESTS - 1, [&busy](size_t) { EXPECT_EQ(CallPlain(busy, 1), 0); });
    Exchange call;
    EXPECT_TRUE(call.data.WriteRemoteObject(own));
    EXPECT_EQ(call.Send(root, 2), 33);
    goOn.Open();
}

TEST_F(TransportTest, AnIdleProcessDoesNotWakeUp)
{
    service->On(1, [](MessageParcel&, MessageParcel&) { return 0; });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    EXPECT_EQ(CallPlain(root, 1), 0);
    EXPECT_TRUE(Eventually([] { return Host::CountIpc().threads == 2; }));
    const uint64_t before = CountWaits();
    std::this_thread::sleep_for(1500ms); // an event that must not come cannot be awaited
    EXPECT_EQ(CountWaits(), before);
}

TEST_F(TransportTest, AServerStopsWithRequestsUnderWay)
{
    Gate begun;
    Gate goOn;
    service->On(1, [&](MessageParcel&, MessageParcel&) {
        begun.Open();
        EXPECT_TRUE(goOn.Wait());
        return 0;
    });
    Serve();
    const sptr<IRemoteObject> root = Connect();
    const sptr<DeathWatch> watch = new DeathWatch;
    ASSERT_TRUE(root->AddDeathRecipient(watch));
    std::thread caller([&root] { EXPECT_EQ(CallPlain(root, 1), IPC_DEAD_OBJECT); });
    EXPECT_TRUE(begun.Wait());
    std::thread stopper([this] { Stop(); });
    EXPECT_TRUE(watch->told.Wait());
    EXPECT_EQ(CallPlain(root, 1), IPC_DEAD_OBJECT);
    caller.join();
    goOn.Open();
    stopper.join();
    std::string error;
    EXPECT_EQ(Host::ConnectToDaemon(Path("owner"), error), nullptr);
    EXPECT_NE(error.find("No such file"), std::string::npos) << error;
}

TEST_F(TransportTest, AFolderIsServedOnceAndALeftOverSocketIsReplaced)
{
    service->On(1, [](MessageParcel&, MessageParcel&) { return 0; });
    Serve();
    std::string error;
    const std::string path = Path("owner");
    const std::string folder = path.substr(0, path.rfind('/'));
    Host::IpcServer second;
    EXPECT_FALSE(second.Start(folder, {{"fresh", 7, 0600}, {"owner", 1, 0600}}, service, {}, error));
    EXPECT_EQ(error, path + " is served already");
    EXPECT_NE(::access((folder + "/fresh.sock").c_str(), F_OK), 0) << "what was begun is taken back";
    struct stat file = {};
    ASSERT_EQ(::stat(Path("app").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777U, 0666U) << "whatever the umask says";
    for (const char* name : {"", "a/b", "..", "a.b"}) {
        EXPECT_FALSE(second.Start(folder, {{name, 7, 0600}}, service, {}, error)) << name;
    }
    const std::string left = folder + "/left.sock";
    ASSERT_EQ(::link(path.c_str(), left.c_str()), 0); // of a socket that will be dead
    Stop();
    ASSERT_TRUE(second.Start(folder, {{"left", 7, 0600}}, service, {}, error)) << error;
    EXPECT_EQ(CallPlain(Connect("left"), 1), 0);

    const std::string deep = folder + "/" + std::string(200, 'd');
    ASSERT_EQ(::mkdir(deep.c_str(), 0700), 0);
    Host::IpcServer third;
    ASSERT_TRUE(third.Start(deep, {{"owner", 1, 0600}}, service, {}, error)) << error;
    EXPECT_EQ(CallPlain(Connect(std::string(200, 'd') + "/owner"), 1), 0) << "a path longer than an address";
    EXPECT_TRUE(third.Stop());
    EXPECT_TRUE(second.Stop());
    EXPECT_EQ(::rmdir(deep.c_str()), 0);
}

} // namespace
} // namespace OHOS
