#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "channel.h"
#include "ending.h"
#include "engine_world.h"
#include "offer.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using namespace OHOS::Pelago::Local;

namespace {

std::string OfferBody(const std::vector<OfferedFile>& files)
{
    Offer offer;
    offer.senderId = "X";
    offer.timeoutMs = 1000;
    offer.files = files;
    return offer.Encode();
}

void SendRaw(int socket, const std::string& bytes, int fd = -1)
{
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    if (fd >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(head), &fd, sizeof(fd));
    }
    (void)::sendmsg(socket, &message, MSG_NOSIGNAL); // an engine that has hung up already is what is asked for
}

using ChannelTest = EngineTest;

// Every one of these ends its own connection, and the next device notices nothing.
TEST_F(ChannelTest, BytesThatAreNoConversationEndTheConnection)
{
    TestDevice b(root, DeviceOf("B"));
    b.AcceptAll();
    b.Publish();
    const struct {
        const char* what;
        std::string bytes;
    } ROWS[] = {
        {"another protocol", "GET / HTTP/1.1\r\n\r\n"},
        {"another version", std::string("Pl\x02\x01\0\0\0\0", 8)},
        {"type 0", std::string("Pl\x01\x00\0\0\0\0", 8)},
        {"type 10", std::string("Pl\x01\x0A\0\0\0\0", 8)},
        {"a note where offers come", MakeFrame(FrameType::NOTE, BodyWriter().Text("X").Text("hello").Bytes())},
        {"a watch with a body", MakeFrame(FrameType::WATCH, "x")},
        {"an offer of 4 GiB", std::string("Pl\x01\x02\xFF\xFF\xFF\xFF", 8)},
        {"an empty offer", MakeFrame(FrameType::OFFER)},
        {"an answer first", MakeFrame(FrameType::ACCEPT)},
        {"bytes taken first", MakeFrame(FrameType::TAKEN, BodyWriter().U64(1).Bytes())},
        {"an end first", MakeFrame(FrameType::END, EncodeOutcome({}))},
        {"a frame after the watch", MakeFrame(FrameType::WATCH) + MakeFrame(FrameType::WATCH)},
        {"an offer that is rubbish", MakeFrame(FrameType::OFFER, std::string(300, '\xFF'))},
        {"an offer with bytes behind it", MakeFrame(FrameType::OFFER, OfferBody({}) + "x")},
        {"501 files", MakeFrame(FrameType::OFFER, OfferBody(std::vector<OfferedFile>(501, {"a", 1})))},
        {"more bytes than there are", MakeFrame(FrameType::OFFER, OfferBody({{"a", INT64_MAX}, {"b", 1}}))},
        {"a name that leads away", MakeFrame(FrameType::OFFER, OfferBody({{"../a", 1}}))},
        {"accepted, then bytes taken by the sender",
            MakeFrame(FrameType::OFFER, OfferBody({{"a", 1}})) + MakeFrame(FrameType::TAKEN, std::string(8, '\0'))},
        {"an abort that says done",
            MakeFrame(FrameType::OFFER, OfferBody({{"a", 1}})) + MakeFrame(FrameType::ABORT, EncodeOutcome({}))},
    };
    for (const auto& row : ROWS) {
        UniqueFd guest = ConnectRaw(Nearby() / "B.sock");
        SendRaw(guest.Get(), row.bytes);
        (void)ReadUntilClosed(guest.Get());
        EXPECT_TRUE(Eventually([&b] { return b.engine.Counters().offers + b.engine.Counters().accepted == 0; }))
            << row.what;
    }
    UniqueFd half = ConnectRaw(Nearby() / "B.sock");
    SendRaw(half.Get(), MakeFrame(FrameType::OFFER, OfferBody({})).substr(0, 20)); // and stays

    TestDevice a(root, DeviceOf("A"));
    Sending sending;
    a.Send(sending, "B", {MakeFile("good", 1000)});
    sending.heard->Await("end: success");
    EXPECT_EQ(b.Received(), std::vector<std::string>{"good"});
}

TEST_F(ChannelTest, DescriptorsThatNobodyAskedForAreClosed)
{
    TestDevice b(root, DeviceOf("B"));
    b.Publish();
    UniqueFd guest = ConnectRaw(Nearby() / "B.sock");
    for (int i = 0; i < 3; ++i) {
        SendRaw(guest.Get(), MakeFrame(FrameType::WATCH).substr(0, 2), guest.Get());
    }
    (void)ReadUntilClosed(guest.Get());
    // TearDown counts.
}

// A receiver that is none: what it answers to an offer, and what the sender makes of it.
TEST_F(ChannelTest, AReceiverThatLiesEndsTheTransferAsAnError)
{
    auto served = ServeRaw(Nearby().parent_path() / "raw");
    TestDevice a(root, DeviceOf("A"));
    std::filesystem::rename(root / "raw", Nearby() / "M.sock");
    const auto path = MakeFile("file", 1000);
    std::array<int, 2> pair{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()), 0);
    UniqueFd ours(pair[0]);
    UniqueFd theirs(pair[1]);
    UniqueFd regular(::dup(STDERR_FILENO));
    const struct {
        const char* what;
        std::string bytes;
        int fd;
        std::string ending;
    } ROWS[] = {
        {"refuses", MakeFrame(FrameType::END, EncodeOutcome({Ending::REFUSED, {}})), -1, "end: status 1009"},
        {"is done at once", MakeFrame(FrameType::END, EncodeOutcome({})), -1, "end: error 3005"},
        {"ends without saying how", MakeFrame(FrameType::END, std::string(8, '\x7F')), -1, "end: error 3005"},
        {"ends in a way that cannot travel", MakeFrame(FrameType::END, EncodeOutcome({Ending::LOST, {}})), -1,
            "end: error 3005"},
        {"accepts without a socket", MakeFrame(FrameType::ACCEPT), -1, "end: error 3005"},
        {"accepts with something else", MakeFrame(FrameType::ACCEPT), regular.Get(), "end: error 3005"},
        {"took before it accepted", MakeFrame(FrameType::TAKEN, std::string(8, '\0')), -1, "end: error 3005"},
        {"took more than there is",
            MakeFrame(FrameType::ACCEPT) + MakeFrame(FrameType::TAKEN, BodyWriter().U64(1001).Bytes()), theirs.Get(),
            "end: error 3005"},
        {"offers", MakeFrame(FrameType::OFFER, "x"), -1, "end: error 3005"},
        {"hangs up", "", -1, "end: error 3001"},
    };
    for (const auto& row : ROWS) {
        Sending sending;
        a.Send(sending, "M", {path});
        UniqueFd peer(::accept4(served.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (row.bytes.empty()) {
            (void)::shutdown(peer.Get(), SHUT_RDWR);
        } else {
            SendRaw(peer.Get(), row.bytes, row.fd);
        }
        EXPECT_TRUE(sending.heard->Await("end: ")) << row.what;
        EXPECT_EQ(sending.heard->Count(row.ending), 1U) << row.what << "\n" << sending.heard->Text();
    }
    std::filesystem::remove(Nearby() / "M.sock");
}

// A peer that stops in the middle, and stays: each side ends the transfer by itself.
TEST_F(ChannelTest, APeerThatStandsStillEndsTheTransferAtTheOtherSide)
{
    constexpr int64_t LIMIT_MS = 300;
    auto served = ServeRaw(root / "raw");
    TestDevice a(root, DeviceOf("A"), LIMIT_MS);
    TestDevice b(root, DeviceOf("B"), LIMIT_MS);
    std::filesystem::rename(root / "raw", Nearby() / "M.sock");
    for (size_t size : {size_t{10}, size_t{6'000'000}}) { // the bytes go and no word comes; the bytes do not go
        std::array<int, 2> pair{};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()), 0);
        UniqueFd ours(pair[0]); // from which nobody reads
        UniqueFd theirs(pair[1]);
        Sending sending;
        a.Send(sending, "M", {MakeFile("file", size)});
        UniqueFd peer(::accept4(served.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        SendRaw(peer.Get(), MakeFrame(FrameType::ACCEPT), theirs.Get());
        sending.heard->Await("end: error 3001 the receiver stands still");
    }
    std::filesystem::remove(Nearby() / "M.sock");

    b.AcceptAll();
    b.Publish();
    UniqueFd silent = ConnectRaw(Nearby() / "B.sock");
    SendRaw(silent.Get(), MakeFrame(FrameType::OFFER, OfferBody({{"a", 1}})));
    b.progress.Await("result 3");
    UniqueFd unfinished = ConnectRaw(Nearby() / "B.sock"); // a text needs no bytes, but it needs the last word
    SendRaw(unfinished.Get(), MakeFrame(FrameType::OFFER, OfferBody({})));
    b.progress.Await("result 3", 2);
    EXPECT_TRUE(b.Received().empty());
}

} // namespace
