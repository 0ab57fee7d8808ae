#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <functional>
#include <thread>

#include "ipc_scene.h"
#include "raw_peer.h"

// The bytes of the wire, right ones and wrong ones, from a client that is not ours.
namespace OHOS {
namespace {

using namespace std::chrono_literals;

class RawPeerTest : public IpcScene {
protected:
    RawPeerTest()
    {
        service->On(1, [this](MessageParcel& data, MessageParcel& reply) {
            ++requests;
            return reply.WriteInt32(data.ReadInt32() + 1) ? 3 : -11;
        });
    }
    std::atomic<int> requests{0};
};

// Each field stands where docs/ipc.md says.
TEST_F(RawPeerTest, AHandshakeACallAndACallbackAreFrozen)
{
    service->On(2, [](MessageParcel& data, MessageParcel&) { return CallPlain(data.ReadRemoteObject(), 0x77); });
    Serve();
    const RawSocket control = RawSocket::Connect(Path("app"));
    ASSERT_TRUE(control.Send(Wire::Hello()));
    EXPECT_EQ(
        control.Read(40), Bytes(Wire().Text("PLGC").U32(2).U64(1).U64(1).U32(4 << 20).U32(1024).U32(4096).U32(64)));

    std::array<int, 2> pair = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()), 0);
    const RawSocket lane(pair[0]);
    ASSERT_TRUE(control.Send(Wire::Control(3, 0, 0), {pair[1]}));
    (void)::close(pair[1]);
    // A request to object 1 with code 1 and the integer 41; the reply has result 3 and the integer 42.
    ASSERT_TRUE(lane.Send(Wire().Text("PLGM").U32(36).U16(1).U16(0).U16(0).U16(0).U64(1).U32(1).U32(9).U32(41)));
    EXPECT_EQ(
        lane.Read(36), Bytes(Wire().Text("PLGM").U32(36).U16(2).U16(0).U16(0).U16(0).U64(0).U32(3).U32(9).U32(42)));

    // A request that hands over our object 5, which is called back through a lane that comes over the control socket.
    ASSERT_TRUE(lane.Send(Wire()
                              .Text("PLGM")
                              .U32(56)
                              .U16(1)
                              .U16(0)
                              .U16(1)
                              .U16(0)
                              .U64(1)
                              .U32(2)
                              .U32(10)
                              .U64(5)
                              .U32(1)
                              .U32(0)
                              .Text("*OBJ")
                              .U32(0)));
    std::array<char, CMSG_SPACE(sizeof(int))> space = {};
    Bytes offered(40);
    iovec part = {offered.data(), offered.size()};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = space.data();
    message.msg_controllen = space.size();
    ASSERT_EQ(::recvmsg(control.Fd(), &message, 0), 40);
    EXPECT_EQ(offered, Bytes(Wire::Control(3, 0, 0)));
    int fd = -1;
    ASSERT_NE(CMSG_FIRSTHDR(&message), nullptr);
    std::memcpy(&fd, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof(fd));
    const RawSocket served(fd);
    EXPECT_EQ(served.Read(32), Bytes(Wire().Text("PLGM").U32(32).U16(1).U16(0).U16(0).U16(0).U64(5).U32(0x77).U32(1)));
    ASSERT_TRUE(served.Send(Wire().Text("PLGM").U32(32).U16(2).U16(0).U16(0).U16(0).U64(0).U32(0xfffffff6).U32(1)));
    EXPECT_EQ(
        lane.Read(32), Bytes(Wire().Text("PLGM").U32(32).U16(2).U16(0).U16(0).U16(0).U64(0).U32(0xfffffff6).U32(10)));
    EXPECT_EQ(control.Read(40), Bytes(Wire::Control(4, 5, 1))) << "a release: object 5 had arrived once";
}

TEST_F(RawPeerTest, APeerThatBreaksTheRulesIsEndedAndNobodyElseNotices)
{
    using Head = Wire::Head;
    struct Row {
        const char* name;
        int64_t reason;
        const char* line;
        std::function<void(const RawClient&)> play;
    };
    const auto onLane = [](const Bytes& bytes) { return [bytes](const RawClient& peer) { peer.lane.Send(bytes); }; };
    const auto onControl = [](const Bytes& bytes) {
        return [bytes](const RawClient& peer) { peer.control.Send(bytes); };
    };
    const auto head = [](Head claimed) { return Wire::Message(claimed); };
    const std::vector<Row> rows = {
        {"wrong magic", 2, "does not begin as one", onLane(head({0x4d474c51}))},
        {"shorter than a head", 4, "sizes cannot be true", onLane(head({0x4d474c50, 31}))},
        {"longer than allowed", 4, "sizes cannot be true", onLane(head({0x4d474c50, (4 << 20) + 1}))},
        {"more objects than bytes", 4, "sizes cannot be true", onLane(head({0x4d474c50, 47, 1, 0, 1}))},
        {"unknown kind", 5, "of a kind", onLane(head({0x4d474c50, 32, 3}))},
        {"a reply to nothing", 5, "of a kind", onLane(head({0x4d474c50, 32, 2}))},
        {"too many descriptors", 10, "too many descriptors", onLane(head({0x4d474c50, 32, 1, 0, 0, 1025}))},
        {"object of nobody", 6, "names an object", onLane(head({0x4d474c50, 48, 1, 0, 1}).U64(5).U32(3).U32(0))},
        {"object without a number", 6, "names an object", onLane(head({0x4d474c50, 48, 1, 0, 1}).U64(0).U32(1).U32(0))},
        {"descriptors not announced", 9, "no message announced",
            [&](const RawClient& peer) { peer.lane.Send(head({}), {STDERR_FILENO}); }},
        {"descriptors before a head", 10, "too many descriptors",
            [](const RawClient& peer) {
                for (int i = 0; i < 5; ++i) {
                    peer.lane.Send(Wire().Text("P"), std::vector<int>(253, STDERR_FILENO));
                }
            }},
        {"control without magic", 2, "does not begin as one", onControl(Bytes(40, 'x'))},
        {"unknown control message", 5, "of a kind", onControl(Wire::Control(9, 0, 0))},
        {"a second hello", 5, "of a kind", onControl(Wire::Hello())},
        {"release of nothing", 7, "a release", onControl(Wire::Control(4, 99, 1))},
        {"release of more than was given", 7, "a release", onControl(Wire::Control(4, 1, 2))},
        {"release of none", 7, "a release", onControl(Wire::Control(4, 1, 0))},
        {"a lane that is a file", 8, "no stream socket",
            [](const RawClient& peer) { peer.control.Send(Wire::Control(3, 0, 0), {STDERR_FILENO}); }},
        {"a lane without its socket", 18, "no more descriptors", onControl(Wire::Control(3, 0, 0))},
        {"two lanes in one", 9, "no message announced",
            [](const RawClient& peer) {
                peer.control.Send(Wire::Control(3, 0, 0), {STDERR_FILENO, STDERR_FILENO});
            }},
    };
    Serve();
    const sptr<IRemoteObject> neighbour = Connect();
    for (const Row& row : rows) {
        ExpectErrors(row.line);
        const size_t lines = CountErrors("");
        const size_t descriptors = CountDescriptors();
        {
            const RawClient peer(Path("app"));
            row.play(peer);
            EXPECT_EQ(peer.Goodbye(), row.reason) << row.name;
            EXPECT_TRUE(peer.lane.AtEnd()) << row.name;
        }
        EXPECT_EQ(CountErrors(""), lines + 1) << row.name;
        EXPECT_EQ(CallPlain(neighbour, 1), 3) << row.name;
        EXPECT_TRUE(Eventually([&] { return CountDescriptors() <= descriptors + 2; })) << row.name;
    }
}

TEST_F(RawPeerTest, WhoDoesNotGreetProperlyIsToldWhy)
{
    Serve();
    ExpectErrors("another version");
    const RawSocket newer = RawSocket::Connect(Path("app"));
    ASSERT_TRUE(newer.Send(Wire::Control(1, 0, 2)));
    EXPECT_EQ(newer.Read(40), Bytes(Wire::Control(5, 0, 3)));
    EXPECT_TRUE(newer.AtEnd());
    ExpectErrors("of a kind");
    const RawSocket rude = RawSocket::Connect(Path("app"));
    ASSERT_TRUE(rude.Send(Wire::Control(4, 1, 1)));
    EXPECT_EQ(rude.Read(40), Bytes(Wire::Control(5, 0, 5)));
}

// Bytes and descriptors may be cut anywhere.
TEST_F(RawPeerTest, AMessageInSplintersIsStillAMessage)
{
    service->On(2, [](MessageParcel& data, MessageParcel& reply) {
        std::string text = data.ReadString();
        for (int fd = data.ReadFileDescriptor(); fd >= 0; fd = data.ReadFileDescriptor()) {
            text += TextOf(fd);
            (void)::close(fd);
        }
        return reply.WriteString(text) ? 0 : -11;
    });
    Serve();
    const RawClient peer(Path("app"));
    Wire message = Wire::Message({0x4d474c50, 32 + 8 + 16, 1, 0, 0, 2, 1, 2, 7});
    const Bytes bytes = message.U32(2).Text("ab").U16(0).Text("$FD*").U32(0).Text("$FD*").U32(1);
    const std::vector<int> files = {FileWith("one"), FileWith("two")};
    for (size_t i = 0; i < bytes.size(); ++i) {
        const std::vector<int> carried = i == 1                  ? std::vector<int>{files[0]}
                                         : i + 1 == bytes.size() ? std::vector<int>{files[1]}
                                                                 : std::vector<int>{};
        ASSERT_TRUE(peer.lane.Send({bytes[i]}, carried));
    }
    const Bytes reply = peer.lane.Read(32 + 16);
    ASSERT_EQ(reply.size(), 48U);
    EXPECT_EQ(std::string(reply.begin() + 36, reply.begin() + 44), "abonetwo");
    for (const int fd : files) {
        (void)::close(fd);
    }
}

// Several one-way requests and a call may arrive at once; the descriptors go to the message that carries them.
TEST_F(RawPeerTest, RequestsOnOneLaneAreHandledOneAfterTheOther)
{
    std::string handled;
    service->On(2, [&handled](MessageParcel& data, MessageParcel&) {
        handled += data.ContainFileDescriptors() ? "file " : "none ";
        return 0;
    });
    Serve();
    const RawClient peer(Path("app"));
    Bytes both = Wire::Message({0x4d474c50, 32, 1, 1, 0, 0, 1, 2, 1});
    const Bytes second = Wire::Message({0x4d474c50, 32, 1, 1, 0, 1, 1, 2, 2});
    const Bytes third = Wire::Message({0x4d474c50, 32, 1, 0, 0, 0, 1, 2, 3});
    ASSERT_TRUE(peer.lane.Send(both) && peer.lane.Send(second, {STDERR_FILENO}) && peer.lane.Send(third));
    for (uint32_t sequence = 1; sequence <= 3; ++sequence) {
        EXPECT_EQ(peer.lane.Read(32), Bytes(Wire::Message({0x4d474c50, 32, 2, 0, 0, 0, 0, 0, sequence})));
    }
    Synchronize();
    EXPECT_EQ(handled, "none file none ");
}

TEST_F(RawPeerTest, ARequestForAnObjectThatWasReleasedIsAnsweredSo)
{
    Serve();
    const RawClient peer(Path("app"));
    ASSERT_TRUE(peer.control.Send(Wire::Control(4, 1, 1)));                      // the root
    const Bytes request = Wire::Message({0x4d474c50, 32, 1, 0, 0, 0, 1, 99, 1}); // a code that the root does not know
    const Bytes gone = Wire::Message({0x4d474c50, 32, 2, 0, 0, 0, 0, 2005, 1});
    EXPECT_TRUE(Eventually([&] { return peer.lane.Send(request) && peer.lane.Read(32) == gone; }));
}

TEST_F(RawPeerTest, AMessageMustBeFinishedInTime)
{
    Host::IpcLimits limits;
    limits.unfinishedMessage = 200ms;
    Serve(limits);
    struct Row {
        const char* name;
        const char* line;
        std::function<void(const RawClient&)> play;
    };
    const std::vector<Row> rows = {
        {"half a head", "not finished in time",
            [](const RawClient& peer) {
                peer.lane.Send({'P', 'L'});
            }},
        {"half a body", "not finished in time",
            [](const RawClient& peer) {
                peer.lane.Send(Wire::Message({0x4d474c50, 100}));
            }},
        {"half a control message", "not finished in time", [](const RawClient& peer) { peer.control.Send({'P'}); }},
        {"replies that are not read", "not taken in time",
            [](const RawClient& peer) {
                while (peer.lane.Send(Wire::Message({}))) { // until the daemon cannot answer, and then reads no more
                }
            }},
    };
    for (const Row& row : rows) {
        ExpectErrors(row.line);
        const RawClient peer(Path("app"));
        row.play(peer);
        EXPECT_GT(peer.Goodbye(), 0) << row.name;
    }
    ExpectErrors("not finished in time");
    const RawSocket silent = RawSocket::Connect(Path("app"));
    EXPECT_EQ(silent.Read(40), Bytes(Wire::Control(5, 0, 15))) << "it never said hello";
}

// The other direction: a daemon that is not ours.
TEST_F(RawPeerTest, AClientDoesNotTrustItsDaemonEither)
{
    const std::string path = Path("false");
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    (void)path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(::listen(listener, 8), 0);
    struct Row {
        Bytes answer;
        const char* error;
    };
    const std::vector<Row> rows = {
        {Wire::Control(5, 0, 13), "too many connections of this user"},
        {Wire::Control(2, 1, 2), "it speaks another version of the protocol"},
        {Wire::Control(2, 0, 1), "it does not answer as a daemon does"},
        {Bytes(40, 'x'), "it closed the connection"},
        {{}, "it closed the connection"},
    };
    for (const Row& row : rows) {
        std::thread daemon([&] {
            const RawSocket client(::accept(listener, nullptr, nullptr));
            EXPECT_EQ(client.Read(40), Bytes(Wire::Hello()));
            EXPECT_TRUE(row.answer.empty() || client.Send(row.answer));
        });
        std::string error;
        EXPECT_EQ(Host::ConnectToDaemon(path, error), nullptr);
        EXPECT_EQ(error, "cannot connect to " + path + ": " + row.error);
        daemon.join();
    }
    (void)::close(listener);
    (void)::unlink(path.c_str());
}

} // namespace
} // namespace OHOS
