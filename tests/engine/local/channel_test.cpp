#include "channel.h"
#include "ending.h"
#include "engine_world.h"
#include "offer.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using namespace OHOS::Pelago::Local;

namespace {

std::string OfferFrame(const std::vector<OfferedFile>& files, const std::string& behind = {}, const char* from = "X")
{
    Offer offer;
    offer.senderId = from;
    offer.timeoutMs = 1000;
    offer.files = files;
    return MakeFrame(FrameType::OFFER, offer.Encode() + behind);
}

std::string NoteFrame(const BodyWriter& body)
{
    return MakeFrame(FrameType::NOTE, body.Bytes());
}

std::string TakenFrame(uint64_t bytes)
{
    return MakeFrame(FrameType::TAKEN, BodyWriter().U64(bytes).Bytes());
}

std::string EndFrame(Ending ending, FrameType type = FrameType::END)
{
    return MakeFrame(type, EncodeOutcome({ending, {}}));
}

class ChannelTest : public EngineTest {
protected:
    // A socket for bytes, as a receiver gives one away; nobody reads from its other end.
    Host::UniqueFd ForBytes()
    {
        std::array<int, 2> pair{};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()), 0);
        ours_ = Host::UniqueFd(pair[0]);
        return Host::UniqueFd(pair[1]);
    }
    RawSocket NextAtM() const
    {
        int next = -1;
        EXPECT_TRUE(WaitUntil([&] { return (next = ::accept4(served_.Get(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0; }));
        return RawSocket(next);
    }

private:
    const Host::UniqueFd served_ = Serve("M"); // a device that is no engine: what it says is the case's
    Host::UniqueFd ours_;
};

// Every one of these ends its own connection, and the next device notices nothing.
TEST_F(ChannelTest, BytesThatAreNoConversationEndTheConnection)
{
    Start();
    b->acceptAll = true;
    b->Publish();
    Journal notes;
    EXPECT_TRUE(b->engine.ServeNotes([&notes](const std::string&, const std::string& note) { notes.Add(note); }));
    EXPECT_TRUE(WaitUntil([this] { return fs::exists(nearby / "B.note"); }));
    const struct {
        const char* what;
        std::string bytes;
        std::string_view suffix = SOCKET_SUFFIX;
    } ROWS[] = {
        {"another protocol", "GET / HTTP/1.1\r\n\r\n"},
        {"another version", std::string("Pl\x02\x01\0\0\0\0", 8)},
        {"type 0", std::string("Pl\x01\x00\0\0\0\0", 8)},
        {"type 10", std::string("Pl\x01\x0A\0\0\0\0", 8)},
        {"a note where offers come", NoteFrame(BodyWriter().Text("X").Text("hello"))},
        {"a watch with a body", MakeFrame(FrameType::WATCH, "x")},
        {"an offer of 4 GiB", std::string("Pl\x01\x02\xFF\xFF\xFF\xFF", 8)},
        {"an empty offer", MakeFrame(FrameType::OFFER)},
        {"an answer first", MakeFrame(FrameType::ACCEPT)},
        {"an end first", EndFrame(Ending::DONE)},
        {"a frame after the watch", MakeFrame(FrameType::WATCH) + MakeFrame(FrameType::WATCH)},
        {"an offer that is rubbish", MakeFrame(FrameType::OFFER, std::string(300, '\xFF'))},
        {"an offer with bytes behind it", OfferFrame({}, "x")},
        {"501 files", OfferFrame(std::vector<OfferedFile>(501, {"a", 1}))},
        {"more bytes than there are", OfferFrame({{"a", INT64_MAX}, {"b", 1}})},
        {"a name that leads away", OfferFrame({{"../a", 1}})},
        {"an id that is none", OfferFrame({{"a", 1}}, {}, "../X")},
        {"bytes taken by the sender", OfferFrame({{"a", 1}}) + TakenFrame(0)},
        {"an abort that says done", OfferFrame({{"a", 1}}) + EndFrame(Ending::DONE, FrameType::ABORT)},
        {"a watch among notes", MakeFrame(FrameType::WATCH), NOTE_SUFFIX},
        {"a note of nobody", NoteFrame(BodyWriter().Text("").Text("x")), NOTE_SUFFIX},
        {"a note from elsewhere", NoteFrame(BodyWriter().Text("../A").Text("x")), NOTE_SUFFIX},
        {"a note from a long name", NoteFrame(BodyWriter().Text(std::string(65, 'A')).Text("x")), NOTE_SUFFIX},
        {"a note with more behind it", NoteFrame(BodyWriter().Text("A").Text("x").U32(0)), NOTE_SUFFIX},
        {"too long a note", NoteFrame(BodyWriter().Text("A").Text(std::string(MAX_NOTE_BYTES + 1, 'x'))), NOTE_SUFFIX},
        {"a note of 4 GiB", NoteFrame(BodyWriter().Text("A").U32(0xFFFFFFFF)), NOTE_SUFFIX},
    };
    for (const auto& row : ROWS) {
        const RawSocket guest = Connect("B", row.suffix);
        guest.Send(Bytes() + row.bytes);
        EXPECT_TRUE(guest.AtEnd()) << row.what;
        auto idle = [this] { return b->engine.Counters().offers + b->engine.Counters().accepted == 0; };
        EXPECT_TRUE(WaitUntil(idle)) << row.what;
    }
    EXPECT_EQ(notes.Text(), "");
    const RawSocket half = Connect("B");
    half.Send(Bytes() + OfferFrame({}).substr(0, 20)); // and stays
    const RawSocket carrier = Connect("B");
    carrier.Send(Bytes() + MakeFrame(FrameType::WATCH), {STDERR_FILENO}); // a descriptor that nobody asked for
    EXPECT_TRUE(carrier.AtEnd());

    a->Send(sending, "B", {MakeFile("good", 1000)});
    sending.heard->Await("end: success");
    EXPECT_EQ(b->Received(), std::vector<std::string>{"good"});
    EXPECT_EQ(b->offers.Count("offer from "), 3U); // two rows were offers before they went wrong
}

// The listener hears of an ending that only a receiver can mean, and a last word that comes twice is out of turn.
TEST_F(ChannelTest, ASenderThatSpeaksAsItCannotEndsItsOfferAsAnError)
{
    Start();
    b->Publish();
    const RawSocket refuses = Connect("B");
    refuses.Send(Bytes() + OfferFrame({{"a", 1}}) + EndFrame(Ending::REFUSED, FrameType::ABORT));
    b->offers.Await("error 3005");
    const RawSocket twice = Connect("B");
    twice.Send(Bytes() + OfferFrame({{"a", 1}}));
    b->offers.Await("offer from ", 2);
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    twice.Send(Bytes() + MakeFrame(FrameType::FINISH) + MakeFrame(FrameType::FINISH));
    b->progress.Await("result 7");
}

// A receiver that is none: what it answers to an offer, and what the sender makes of it.
TEST_F(ChannelTest, AReceiverThatLiesEndsTheTransferAsAnError)
{
    Start();
    const auto path = MakeFile("file", 1000);
    const Host::UniqueFd bytes = ForBytes();
    const std::string SHOWN = MakeFrame(FrameType::SHOWN);
    const std::string ACCEPT = MakeFrame(FrameType::ACCEPT);
    const struct {
        const char* what;
        std::string bytes;
        std::vector<int> descriptors = {};
        const char* ending = "end: error 3005";
    } ROWS[] = {
        {"refuses", EndFrame(Ending::REFUSED), {}, "end: status 1009"},
        {"hangs up", "", {}, "end: error 3001"},
        {"is done at once", EndFrame(Ending::DONE)},
        {"ends without saying how", MakeFrame(FrameType::END, std::string(8, '\x7F'))},
        {"ends in a way that cannot travel", EndFrame(Ending::LOST)},
        {"cancels in our name", EndFrame(Ending::CANCELLED_BY_SENDER)},
        {"shows it twice", SHOWN + SHOWN},
        {"gives a descriptor with a word", SHOWN, {STDERR_FILENO}},
        {"accepts without a socket", ACCEPT},
        {"accepts with something else", ACCEPT, {STDERR_FILENO}},
        {"took before it accepted", TakenFrame(0)},
        {"took more than there is", ACCEPT + TakenFrame(1001), {bytes.Get()}},
        {"offers", MakeFrame(FrameType::OFFER, "x")},
    };
    for (const auto& row : ROWS) {
        sending = Sending();
        a->Send(sending, "M", {path});
        std::optional<RawSocket> peer(NextAtM());
        peer->Send(Bytes() + row.bytes, row.descriptors);
        if (row.bytes.empty()) {
            peer.reset();
        }
        sending.heard->Await("end: ");
        EXPECT_EQ(sending.heard->Count(row.ending), 1U) << row.what << "\n" << sending.heard->Text();
    }
}

// A peer that stops in the middle, and stays: each side ends the transfer by itself.
TEST_F(ChannelTest, APeerThatStandsStillEndsTheTransferAtTheOtherSide)
{
    Start(300);
    const struct {
        size_t size;
        std::string once;
        std::string always;
    } ROWS[] = {
        {10, "", ""},               // the bytes go and no word comes
        {BIG, "", ""},              // they do not go
        {BIG, TakenFrame(BIG), ""}, // nor did they, whatever it says
        {BIG, "", TakenFrame(1)},   // to say the same again is no progress
    };
    for (const auto& row : ROWS) {
        sending = Sending();
        a->Send(sending, "M", {MakeFile("file", row.size)});
        const RawSocket peer = NextAtM();
        peer.Send(Bytes() + MakeFrame(FrameType::ACCEPT) + row.once, {ForBytes().Get()});
        EXPECT_TRUE(WaitUntil([&] {
            peer.Send(Bytes() + row.always);
            return sending.heard->Count("end: ") > 0;
        }));
        sending.heard->Await("end: error 3001 the receiver stands still");
    }
    sending = Sending(); // our cancel is not answered, but with a word that was on its way
    a->Send(sending, "M", {MakeFile("file", 10)});
    const RawSocket cancelled = NextAtM();
    cancelled.Send(Bytes() + MakeFrame(FrameType::ACCEPT), {ForBytes().Get()});
    sending.heard->Await("code 6");
    sending.handle->Cancel();
    cancelled.Send(Bytes() + TakenFrame(5));

    b = std::make_unique<TestDevice>(root, "C", 300);
    b->acceptAll = true;
    b->Publish();
    const RawSocket silent = Connect("C");
    silent.Send(Bytes() + OfferFrame({{"a", 1}}));
    b->progress.Await("result 3");
    const RawSocket unfinished = Connect("C"); // a text needs no bytes, but it needs the last word
    unfinished.Send(Bytes() + OfferFrame({}));
    b->progress.Await("result 3", 2);
    EXPECT_TRUE(b->Received().empty());
    EXPECT_TRUE(cancelled.AtEnd());
}

TEST_F(ChannelTest, APeerThatReadsNothingIsGivenUpAndHoldsNoStopUp)
{
    Start(300);
    const std::string uri = "file://" + MakeFile("file", 10).string();
    a->SendUri(sending, "M", uri, 900'000);
    const RawSocket deaf = NextAtM();
    sending.heard->Await("end: error 3005 reads nothing");
    Sending unanswered; // its last word lingers when the engine stops
    unanswered.timeoutMs = 1;
    a->SendUri(unanswered, "M", uri, 900'000);
    const RawSocket also = NextAtM();
    unanswered.heard->Await("end: status 1013");
}

} // namespace
