
#include "ipc_scene.h"
#include "raw_peer.h"

// What a client can fill has a limit: up to it all goes well, one above has its own error, and the next call goes well
// again.
namespace OHOS {
namespace {

class LimitsTest : public IpcScene {
protected:
    LimitsTest()
    {
        service->On(1, [](MessageParcel&, MessageParcel&) { return 0; });
        service->On(2, [this](MessageParcel&, MessageParcel&) { return ++waiting, goOn.Wait() ? 0 : -1; });
        service->On(3, [this](MessageParcel& data, MessageParcel&) {
            for (sptr<IRemoteObject> object = data.ReadRemoteObject(); object != nullptr;) {
                kept.push_back(std::exchange(object, data.ReadRemoteObject()));
            }
            return 0;
        });
        service->On(4, [](MessageParcel& data, MessageParcel& reply) {
            const std::string bytes(static_cast<size_t>(data.ReadInt32()), 'x');
            return reply.SetMaxCapacity(8 << 20) && reply.WriteBuffer(bytes.data(), bytes.size()) ? 0 : -11;
        });
    }
    static int SendBytes(const sptr<IRemoteObject>& root, size_t size, int flags = MessageOption::TF_SYNC)
    {
        Exchange call;
        const std::string bytes(size, 'x');
        EXPECT_TRUE(call.data.SetMaxCapacity(size) && call.data.WriteBuffer(bytes.data(), size));
        return call.Send(root, 1, flags);
    }
    std::atomic<size_t> waiting{0};
    Gate goOn;
    std::vector<sptr<IRemoteObject>> kept;
};

TEST_F(LimitsTest, BytesAndDescriptorsOfAMessage)
{
    Serve();
    const sptr<IRemoteObject> root = Connect();
    constexpr size_t most = (4 << 20) - 32;
    for (const auto& [size, result] : {std::pair{most, 0}, std::pair{most + 4, int{IPC_MESSAGE_TOO_BIG}}}) {
        EXPECT_EQ(SendBytes(root, size), result);
        Exchange call;
        ASSERT_TRUE(call.data.WriteInt32(static_cast<int32_t>(size)));
        EXPECT_EQ(call.Send(root, 4), result) << "as a reply";
        EXPECT_EQ(call.reply.GetDataSize(), result == 0 ? size : 0);
    }
    for (const auto& [count, result] :
        {std::pair{1024, 0}, std::pair{1025, int{IPC_MESSAGE_TOO_BIG}}, std::pair{1, 0}}) {
        Exchange call;
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(call.data.WriteFileDescriptor(STDERR_FILENO));
        }
        EXPECT_EQ(call.Send(root, 1), result) << count;
    }
}

TEST_F(LimitsTest, ObjectsOfAConnection)
{
    Host::IpcLimits limits;
    limits.objectsPerConnection = 10;
    Serve(limits);
    const sptr<IRemoteObject> root = Connect();
    const auto hand = [&](size_t count) {
        std::vector<sptr<IRemoteObject>> objects(count);
        std::generate(objects.begin(), objects.end(), [] { return new ScriptedStub; });
        return CallWith(root, 3, objects);
    };
    EXPECT_EQ(hand(11), IPC_TOO_MANY_OBJECTS);
    EXPECT_EQ(hand(6), 0);
    EXPECT_EQ(hand(5), IPC_TOO_MANY_OBJECTS);
    EXPECT_EQ(hand(4), 0) << "what was not sent does not count";
    EXPECT_EQ(hand(1), IPC_TOO_MANY_OBJECTS);
    kept.clear();
    EXPECT_TRUE(Eventually([&] { return hand(10) == 0; }));
    kept.clear();
}

TEST_F(LimitsTest, LanesOfAConnection)
{
    Host::IpcLimits limits;
    limits.lanesPerConnection = 4;
    Serve(limits);
    const sptr<IRemoteObject> root = Connect();
    Crowd callers(4, [&root](size_t) { EXPECT_EQ(CallPlain(root, 2), 0); });
    EXPECT_TRUE(Eventually([this] { return waiting == 4; }));
    EXPECT_EQ(CallPlain(root, 1), IPC_TOO_MANY_LANES);
    EXPECT_EQ(CallPlain(Connect(), 1), 0) << "others have their own";
    goOn.Open();
    callers.Join();
    EXPECT_EQ(CallPlain(root, 1), 0);
}

using Lanes = std::vector<RawSocket>;
struct Row {
    const char* name;
    int64_t reason;
    const char* line;
    size_t most;
    std::function<void(const RawClient& peer, Lanes& lanes, size_t count)> fill;
};

// Spreads `count` over lanes, at most `part` on each: a message that is begun there.
void Begin(const RawClient& peer, Lanes& lanes, size_t count, size_t part, bool files)
{
    for (size_t left = count; left > 0; left -= std::min(left, part)) {
        const size_t here = std::min(left, part);
        RawHead head{static_cast<uint32_t>(32 + (files ? 8 : here))};
        head.descriptors = static_cast<uint16_t>(files ? here : 0);
        lanes.push_back(peer.control.Offer());
        EXPECT_TRUE(lanes.back().Send(Message(head), std::vector<int>(head.descriptors, STDERR_FILENO)));
    }
}

// Lanes of the peer, until all that are there are `count`, with the one that it has.
void OpenLanes(const RawClient& peer, Lanes& lanes, size_t count)
{
    while (lanes.size() + 1 < count) {
        lanes.push_back(peer.control.Offer());
    }
}

// Up to the limit a peer is served, one above it is ended, and nobody else notices either.
TEST_F(LimitsTest, WhatAPeerFills)
{
    Host::IpcLimits limits;
    limits.messageBytes = 1 << 20;
    limits.descriptorsPerMessage = 4;
    limits.objectsPerConnection = 10;
    limits.lanesPerConnection = 3;
    limits.queuedBytesPerConnection = 1 << 20;
    limits.lanesPerProcess = 20;
    limits.unfinishedMessage = std::chrono::minutes(10);
    limits.unfinishedBytesPerProcess = (2 << 20) + 16;
    limits.unfinishedDescriptorsPerProcess = 18;
    Serve(limits);
    const sptr<IRemoteObject> neighbour = Connect();
    const RawClient other(Path("app")); // of the same process: has 8 descriptors and 16 bytes begun, and 3 lanes
    Lanes begun;
    Begin(other, begun, 8, 4, true);
    const Row rows[] = {
        {"bytes of a message", 4, "sizes cannot be true", limits.messageBytes,
            [](const RawClient& peer, Lanes&, size_t count) {
                (void)peer.lane.Send(Message({static_cast<uint32_t>(count)}) + Bytes(count - 32));
                (void)peer.lane.Read(32);
            }},
        {"descriptors of a message", 10, "too many descriptors", 4,
            [](const RawClient& peer, Lanes&, size_t count) {
                (void)peer.Ask(Message({32, 1, 0, 0, static_cast<uint16_t>(count)}), 32, std::vector<int>(count, 2));
            }},
        {"objects", 11, "too many objects", 10,
            [](const RawClient& peer, Lanes&, size_t count) {
                for (uint64_t id = 1; id <= count; ++id) {
                    (void)peer.Ask(Message({56, 1, 0, 1, 0, 1, 3}) + ObjectRecord(id, 1) + "*OBJ" + 0U);
                }
            }},
        {"lanes", 12, "too many lanes", Host::IPC_LANE_TOLERANCE * 3, OpenLanes},
        {"lanes of its process: 20, and one is the neighbour's", 12, "too many lanes", 16,
            [&other](const RawClient& peer, Lanes& lanes, size_t count) {
                OpenLanes(other, lanes, 9);
                EXPECT_TRUE(lanes.back().Send(Message({})) && lanes.back().Read(32).size() == 32);
                OpenLanes(peer, lanes, count);
            }},
        {"replies of a mebibyte that nobody reads", 14, "too many bytes wait", 1,
            [](const RawClient& peer, Lanes& lanes, size_t count) {
                while (lanes.size() < count) {
                    lanes.push_back(peer.control.Offer());
                    (void)lanes.back().Send(Message({36, 1, 0, 0, 0, 1, 4}) + ((1U << 20) - 32));
                }
            }},
        {"bytes that are begun", 19, "too much was begun", 2 << 20,
            [](auto& peer, Lanes& lanes, size_t count) { Begin(peer, lanes, count, (1 << 20) - 32, false); }},
        {"descriptors that are begun", 19, "too much was begun", 10,
            [](auto& peer, Lanes& lanes, size_t count) { Begin(peer, lanes, count, 4, true); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const size_t count : {row.most, row.most + 1}) {
            EXPECT_TRUE(Eventually([this] {
                const auto all = server.Connections();
                return all.size() == 2 && all[1].lanesIn == 3;
            }));
            const RawClient peer(Path("app"));
            Lanes lanes;
            if (count > row.most) {
                ExpectErrors(row.line);
            }
            row.fill(peer, lanes, count);
            EXPECT_TRUE(count > row.most || Eventually([&] {
                return std::all_of(lanes.begin(), lanes.end(), [](auto& lane) { return lane.IsTaken(); });
            }));
            EXPECT_EQ(count > row.most ? peer.Goodbye() : static_cast<int64_t>(peer.Ask(Message({})).size()),
                count > row.most ? row.reason : 32);
            EXPECT_EQ(CallPlain(neighbour, 1), 0);
            kept.clear();
        }
    }
}

class ConnectionLimits : public LimitsTest, public testing::WithParamInterface<std::string> {};

TEST_P(ConnectionLimits, OfWhoever)
{
    Host::IpcLimits limits;
    (GetParam() == "user" ? limits.connectionsPerUser : limits.connectionsPerProcess) = 2;
    Serve(limits);
    std::vector<sptr<IRemoteObject>> roots{Connect(), Connect()};
    ExpectErrors("too many connections of this " + GetParam());
    EXPECT_EQ(Refusal(), "cannot connect to " + Path("owner") + ": too many connections of this " + GetParam());
    EXPECT_EQ(CallPlain(roots[0], 1), 0);
    roots.pop_back();
    EXPECT_TRUE(Eventually([this] { return server.Connections().size() == 1; }));
    EXPECT_EQ(CallPlain(Connect(), 1), 0);
}

INSTANTIATE_TEST_SUITE_P(IsTheirOwn, ConnectionLimits, testing::Values("user", "process"));

TEST_F(LimitsTest, OneWayBytesTowardsAPeerThatDoesNotRead)
{
    Host::IpcLimits limits;
    limits.queuedBytesPerConnection = 1 << 20;
    Serve(limits);
    std::string error;
    const sptr<IRemoteObject> root = Host::ConnectToDaemon(Path("owner"), limits, error);
    EXPECT_EQ(PostPlain(root, 2), 0);
    EXPECT_TRUE(Eventually([this] { return waiting == 1; })) << "it hangs here, and reads no more of this thread";
    size_t sent = 0;
    int result = 0;
    while (sent < 100 && result == 0) {
        result = SendBytes(root, 64 << 10, MessageOption::TF_ASYNC);
        sent += result == 0 ? 1 : 0;
    }
    EXPECT_EQ(result, IPC_PEER_DOES_NOT_READ);
    EXPECT_GT(sent, 15U) << "a mebibyte waits here, and what the socket takes";
    const uint64_t before = Host::CountIpc().requests;
    goOn.Open();
    EXPECT_EQ(CallPlain(root, 1), 0) << "behind all of them";
    EXPECT_EQ(Host::CountIpc().requests, before + sent + 1);
}

// What the IPC itself needs for good, and what a lane needs: without it the attempt fails, and the next one succeeds.
TEST_F(LimitsTest, DescriptorsOfAClientAtItsBeginning)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "its run-time library looks at a pointer through a pipe, which needs descriptors";
#endif
    ClientProcess client([this](const Baton&) {
        const rlimit old = LimitDescriptors(0);
        rlimit some = {};
        ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &some), 0);
        for (const char* missing : {"socket", "epoll set", "timer"}) {
            EXPECT_NE(Refusal(), "") << missing;
            do { // a number that is free
                ++some.rlim_cur;
            } while (::fcntl(static_cast<int>(some.rlim_cur) - 1, F_GETFD) >= 0);
            ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &some), 0);
        }
        const sptr<IRemoteObject> root = Connect();
        EXPECT_EQ(CallPlain(root, 1), IPC_OUT_OF_DESCRIPTORS);
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
        EXPECT_EQ(CallPlain(root, 1), 0);
    });
    Serve();
    client.Go();
    EXPECT_TRUE(client.Join());
}

// The system counts descriptors that are on their way.
TEST_F(LimitsTest, DescriptorsOnTheirWay)
{
    ClientProcess client([this](const Baton&) {
        const sptr<IRemoteObject> root = Connect();
        EXPECT_TRUE(::getuid() != 0 || ::setuid(65534) == 0); // root has no limit
        const rlimit few = {40, 40};
        std::array<int, 2> pair = {-1, -1};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()), 0);
        EXPECT_TRUE(RawSocket(pair[0]).Send({'x'}, std::vector<int>(100, STDERR_FILENO)));
        EXPECT_EQ(CallPlain(root, 1), IPC_OUT_OF_DESCRIPTORS);
        (void)::close(pair[1]); // and with it what was on its way
        EXPECT_EQ(CallPlain(root, 1), 0) << "the connection stands";
    });
    Serve();
    client.Go();
    EXPECT_TRUE(client.Join());
}

} // namespace
} // namespace OHOS
