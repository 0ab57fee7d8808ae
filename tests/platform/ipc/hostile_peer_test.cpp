
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
        service->On(1,
            [](MessageParcel& data, MessageParcel& reply) { return reply.WriteInt32(data.ReadInt32() + 1) ? 3 : -11; });
        service->On(2, [](MessageParcel& data, MessageParcel&) { return CallPlain(data.ReadRemoteObject(), 0x77); });
        // The texts of three files, as far as they came.
        service->On(4, [](MessageParcel& data, MessageParcel& reply) {
            std::string text = data.ReadString();
            for (int i = 0; i < 3; ++i) {
                text += ' ' + TakeText(data);
            }
            return reply.WriteString(text) ? 0 : -11;
        });
        limits.unfinishedMessage = 200ms;
    }
    ~RawPeerTest() override
    {
        for (const int fd : files) {
            (void)::close(fd);
        }
    }
    // Request 4 with a string and two or three files, and what comes back.
    static Bytes FilesRequest(uint16_t files)
    {
        const RawHead head{static_cast<uint32_t>(40 + files * 8), 1, 0, 0, files, 1, 4, 1};
        Bytes request = Message(head) + 2U + "ab" + Bytes(2);
        for (uint32_t i = 0; i < files; ++i) {
            request = request + "$FD*" + i;
        }
        return request;
    }
    static std::string TextOfReply(const RawSocket& lane, size_t length)
    {
        const Bytes reply = lane.Read(32 + 4 + (length / 4 + 1) * 4);
        return reply.size() < 36 + length ? "none" : std::string(reply.begin() + 36, reply.end()).substr(0, length);
    }

    Host::IpcLimits limits; // with a time that a test can wait
    const std::vector<int> files{FileWith("one"), FileWith("two"), FileWith("three")};
};

// The call of docs/ipc.md, byte by byte, and one in the other direction.
TEST_F(RawPeerTest, AHandshakeACallAndACallbackAreFrozen)
{
    Serve();
    const RawClient peer(Path("app"));
    EXPECT_EQ(
        peer.welcome, Hex("504c4743 02000000 0100000000000000 0100000000000000 00004000 00040000 00100000 40000000"));
    EXPECT_EQ(peer.Ask(Hex("504c474d 24000000 0100 0000 0000 0000 0100000000000000 01000000 01000000 29000000"), 36),
        Hex("504c474d 24000000 0200 0000 0000 0000 0000000000000000 03000000 01000000 2a000000"));

    // A request that hands over our object 5, which is called back through a lane that comes over the control socket.
    ASSERT_TRUE(peer.lane.Send(Hex("504c474d 38000000 0100 0000 0100 0000 0100000000000000 02000000 02000000"
                                   "0500000000000000 01000000 00000000 2a4f424a 00000000")));
    int fd = -1;
    EXPECT_EQ(peer.control.Read(40, &fd), Control(3, 0, 0));
    const RawSocket served(fd);
    EXPECT_EQ(served.Read(32), Hex("504c474d 20000000 0100 0000 0000 0000 0500000000000000 77000000 01000000"));
    ASSERT_TRUE(served.Send(Hex("504c474d 20000000 0200 0000 0000 0000 0000000000000000 f6ffffff 01000000")));
    EXPECT_EQ(peer.lane.Read(32), Hex("504c474d 20000000 0200 0000 0000 0000 0000000000000000 f6ffffff 02000000"));
    EXPECT_EQ(peer.control.Read(40), Control(4, 5, 1)) << "a release: object 5 had arrived once";
}

struct Offence {
    const char* name;
    int64_t reason;
    const char* line;
    std::function<void(const RawClient&)> play;
};

std::function<void(const RawClient&)> OnLane(const Bytes& bytes, const std::vector<int>& descriptors = {})
{
    return [=](const RawClient& peer) { peer.lane.Send(bytes, descriptors); };
}

std::function<void(const RawClient&)> OnControl(const Bytes& bytes, const std::vector<int>& descriptors = {})
{
    return [=](const RawClient& peer) { peer.control.Send(bytes, descriptors); };
}

TEST_F(RawPeerTest, APeerThatBreaksTheRulesIsEndedAndNobodyElseNotices)
{
    RawHead magic;
    ++magic.magic;
    const std::vector<int> oneFile{STDERR_FILENO};
    const Offence offences[] = {
        {"wrong magic", 2, "does not begin as one", OnLane(Message(magic))},
        {"shorter than a head", 4, "sizes cannot be true", OnLane(Message({31}))},
        {"more objects than bytes", 4, "sizes cannot be true", OnLane(Message({47, 1, 0, 1}))},
        {"unknown kind", 5, "of a kind", OnLane(Message({32, 3}))},
        {"a reply to nothing", 5, "of a kind", OnLane(Message({32, 2}))},
        {"object of nobody", 6, "names an object", OnLane(Message({48, 1, 0, 1}) + ObjectRecord(5, 3))},
        {"object without a number", 6, "names an object", OnLane(Message({48, 1, 0, 1}) + ObjectRecord(0, 1))},
        {"descriptors not announced", 9, "no message announced", OnLane(Message({}), oneFile)},
        {"descriptors before a head", 10, "too many descriptors",
            [](const RawClient& peer) {
                for (int i = 0; i < 5; ++i) {
                    peer.lane.Send({'P'}, std::vector<int>(253, STDERR_FILENO));
                }
            }},
        {"control without magic", 2, "does not begin as one", OnControl(Bytes(40, 'x'))},
        {"unknown control message", 5, "of a kind", OnControl(Control(9, 0, 0))},
        {"a second hello", 5, "of a kind", OnControl(Hello())},
        {"release of nothing", 7, "a release", OnControl(Control(4, 99, 1))},
        {"release of more than was given", 7, "a release", OnControl(Control(4, 1, 2))},
        {"release of none", 7, "a release", OnControl(Control(4, 1, 0))},
        {"a lane that is a file", 8, "no stream socket", OnControl(Control(3, 0, 0), oneFile)},
        {"a lane without its socket", 18, "no more descriptors", OnControl(Control(3, 0, 0))},
        {"two lanes in one", 9, "no message announced", OnControl(Control(3, 0, 0), {2, 2})},
    };
    Serve();
    const sptr<IRemoteObject> neighbour = Connect();
    for (const Offence& offence : offences) {
        SCOPED_TRACE(offence.name);
        ExpectErrors(offence.line);
        const size_t lines = CountErrors("");
        const size_t descriptors = CountDescriptors();
        {
            const RawClient peer(Path("app"));
            offence.play(peer);
            EXPECT_EQ(peer.Goodbye(), offence.reason);
            EXPECT_TRUE(peer.lane.AtEnd());
        }
        EXPECT_EQ(CountErrors(""), lines + 1);
        EXPECT_EQ(CallPlain(neighbour, 1), 3);
        EXPECT_TRUE(Eventually([&] { return CountDescriptors() <= descriptors + 2; }));
    }
}

TEST_F(RawPeerTest, AMessageMustBeFinishedInTime)
{
    Serve(limits);
    const Offence offences[] = {
        {"half a body", 15, "not finished in time", OnLane(Message({100}))},
        {"half a control message", 15, "not finished in time", OnControl({'P'})},
    };
    for (const Offence& offence : offences) {
        ExpectErrors(offence.line);
        const RawClient peer(Path("app"));
        offence.play(peer);
        EXPECT_EQ(peer.Goodbye(), offence.reason) << offence.name;
    }
    const std::tuple<Bytes, uint64_t, const char*> greetings[] = {{{}, 15, "not finished in time"},
        {Control(1, 0, 2), 3, "another version"}, {Control(4, 1, 1), 5, "of a kind"},
        {Control(1, 0, 1), 4, "sizes cannot be true"}};
    for (const auto& [greeting, reason, line] : greetings) {
        ExpectErrors(line);
        const RawSocket stranger = RawSocket::Connect(Path("app"));
        EXPECT_TRUE(greeting.empty() || stranger.Send(greeting));
        EXPECT_EQ(stranger.Read(40), Control(5, 0, reason));
        EXPECT_TRUE(stranger.AtEnd());
    }
}

// Each message is finished soon enough, only there is always another one half-way.
TEST_F(RawPeerTest, WhoNeverPausesIsNotLate)
{
    Serve(limits);
    const RawClient peer(Path("app"));
    const Bytes word = Control(5, 0, 1);
    const Bytes front(word.begin(), word.begin() + 20);
    const Bytes back(word.begin() + 20, word.end());
    ASSERT_TRUE(peer.control.Send(front));
    for (int i = 0; i < 12; ++i) {
        (void)::poll(nullptr, 0, 40); // six tenths of what a message may take
        ASSERT_TRUE(peer.control.Send(back + front));
    }
    ASSERT_TRUE(peer.control.Send(back));
    EXPECT_EQ(peer.Ask(Message({}), 36).size(), 36U);
}

// Bytes and descriptors may be cut anywhere.
TEST_F(RawPeerTest, AMessageInSplintersIsStillAMessageAndNoFileComesInThePlaceOfALostOne)
{
    Serve();
    const RawClient peer(Path("app"));
    const Bytes bytes = FilesRequest(2);
    for (size_t i = 0; i < bytes.size(); ++i) {
        ASSERT_TRUE(peer.lane.Send({bytes[i]}, i == 1                  ? std::vector<int>{files[0]}
                                               : i + 1 == bytes.size() ? std::vector<int>{files[1]}
                                                                       : std::vector<int>{}));
    }
    EXPECT_EQ(TextOfReply(peer.lane, 12), "ab one two -");

    // Behind a descriptor that was lost nobody knows any more which is which.
    const Bytes three = FilesRequest(3);
    const rlimit old = LimitDescriptors(1);
    ASSERT_TRUE(peer.lane.Send({three[0]}, {files[0], files[1]})); // room for one
    EXPECT_TRUE(Eventually([&peer] { return peer.lane.IsTaken(); }));
    EXPECT_FALSE(MessageParcel().WriteFileDescriptor(STDERR_FILENO));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
    ASSERT_TRUE(peer.lane.Send(Bytes(three.begin() + 1, three.end()), {files[2]}));
    EXPECT_EQ(TextOfReply(peer.lane, 10), "ab one - -");

    // What stands behind files that were all lost has come already, and is read all the same.
    std::array<int, 2> pair = {-1, -1};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()), 0);
    const RawSocket lane(pair[0]);
    ASSERT_TRUE(lane.Send({three[0]}, files) && lane.Send(Bytes(three.begin() + 1, three.end())));
    (void)LimitDescriptors(1); // the lane
    ASSERT_TRUE(peer.control.Send(Control(3, 0, 0), {pair[1]}));
    EXPECT_EQ(TextOfReply(lane, 8), "ab - - -");
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
    (void)::close(pair[1]);
}

// An option of the end that a peer gives away makes the kernel add descriptors of its process to whatever is read.
TEST_F(RawPeerTest, DescriptorsThatNobodySentAreClosedAndRequestsOnOneLaneAreHandledOneAfterTheOther)
{
    constexpr int passProcess = 76;
    std::string handled;
    service->On(3, [&handled](MessageParcel& data, MessageParcel&) {
        handled += data.ContainFileDescriptors() ? "file " : "none ";
        return 0;
    });
    Serve();
    const RawClient peer(Path("app"));
    const RawSocket lane = peer.control.Offer(passProcess);
    const auto ask = [&lane] { return lane.Send(Message({})) && lane.Read(36).size() == 36; };
    EXPECT_TRUE(ask());
    const size_t before = CountDescriptors();
    EXPECT_TRUE(ask() && ask() && ask());
    EXPECT_EQ(CountDescriptors(), before);

    // Several one-way requests and a call may arrive at once; the descriptors go to the message that carries them.
    ASSERT_TRUE(peer.lane.Send(Message({32, 1, 1, 0, 0, 1, 3, 1})) &&
                peer.lane.Send(Message({32, 1, 1, 0, 1, 1, 3, 2}), {STDERR_FILENO}) &&
                peer.lane.Send(Message({32, 1, 0, 0, 0, 1, 3, 3})));
    for (uint32_t sequence = 1; sequence <= 3; ++sequence) {
        EXPECT_EQ(peer.lane.Read(32), Message({32, 2, 0, 0, 0, 0, 0, sequence}));
    }
    Synchronize();
    EXPECT_EQ(handled, "none file none ");

    ASSERT_TRUE(peer.control.Send(Control(4, 1, 1))); // the root is given back
    const Bytes gone = Message({32, 2, 0, 0, 0, 0, 2005, 4});
    EXPECT_TRUE(Eventually([&] { return peer.Ask(Message({32, 1, 0, 0, 0, 1, 99, 4})) == gone; }));
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
    const std::pair<Bytes, const char*> answers[] = {
        {Control(5, 0, 13), "too many connections of this user"},
        {Control(2, 1, 2), "it speaks another version of the protocol"},
        {Control(2, 0, 1), "it does not answer as a daemon does"},
        {Bytes(40, 'x'), "it closed the connection"},
        {{}, "it closed the connection"},
    };
    for (const auto& [answer, error] : answers) {
        std::thread daemon([&, sent = answer] {
            const RawSocket client(::accept(listener, nullptr, nullptr));
            EXPECT_EQ(client.Read(40), Hello());
            EXPECT_TRUE(sent.empty() || client.Send(sent));
        });
        EXPECT_EQ(Refusal("false"), "cannot connect to " + path + ": " + error);
        daemon.join();
    }
    (void)::close(listener);
    (void)::unlink(path.c_str());
}

} // namespace
} // namespace OHOS
