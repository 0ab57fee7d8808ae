#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <thread>

#include "engine_errors.h"
#include "engine_world.h"
#include "host/faults.h"

using namespace OHOS;
using namespace OHOS::Pelago;
namespace fs = std::filesystem;

namespace {

constexpr size_t BIG = 6'000'000; // more than sockets and pipes hold

class TransferTest : public EngineTest {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        a = std::make_unique<TestDevice>(root, DeviceOf("A"));
        b = std::make_unique<TestDevice>(root, DeviceOf("B"));
        b->Publish();
    }
    void TearDown() override
    {
        sending.handle = nullptr;
        a.reset();
        b.reset();
        Host::Faults::Clear();
        EngineTest::TearDown();
    }
    // Sends, with the reports' door shut if `hold`: bytes flow then, but the end waits.
    void Offer(const std::vector<fs::path>& files, bool hold = false)
    {
        if (hold) {
            sending.progressDoor->Shut();
        }
        a->Send(sending, "B", files);
        sending.heard->Await("status 1012");
    }
    void ExpectNothingLeft()
    {
        EXPECT_TRUE(Eventually([this] {
            return a->engine.Counters().sending + b->engine.Counters().accepted + b->engine.Counters().offers == 0;
        }));
        EXPECT_EQ(b->Received(), std::vector<std::string>{});
    }

    std::unique_ptr<TestDevice> a;
    std::unique_ptr<TestDevice> b;
    Sending sending;
};

TEST_F(TransferTest, FilesArriveAsTheyAreUnderTheirNames)
{
    auto big = MakeFile("big.bin", BIG);
    auto small = MakeFile("small", 5);
    Offer({big, MakeFile("empty", 0), small});
    b->offers.Await("offer from A's name: 3 files, 6000005 bytes, [\"big.bin\",\"empty\",\"small\"]");
    EXPECT_EQ(sending.heard->Count("progress"), 0U); // nobody has taken anything
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    sending.heard->Await("end: success");
    b->progress.Await("result 0 big.bin empty small");
    EXPECT_EQ(b->Received(), (std::vector<std::string>{"big.bin", "empty", "small"}));
    EXPECT_TRUE(ReadAll(b->inbox / "big.bin") == ReadAll(big));
    EXPECT_EQ(ReadAll(b->inbox / "small"), ReadAll(small));
    EXPECT_GE(sending.heard->Count("progress"), 1U);
    EXPECT_EQ(sending.heard->Text().find("status 1004\nstatus 1012\ncode 6\n"), 0U) << sending.heard->Text();
    EXPECT_EQ(b->Accept(), RECEIVER_ENDED);
    EXPECT_EQ(b->Offer()->Cancel(), RECEIVER_ENDED);
    EXPECT_EQ(a->engine.Counters().sent, 1U);
    EXPECT_EQ(b->engine.Counters().received, 1U);
    EXPECT_EQ(b->engine.Counters().bytesReceived, BIG + 5);
    EXPECT_EQ(a->engine.Counters().bytesSent, BIG + 5);
}

TEST_F(TransferTest, WhatStandsThereIsNeverOverwrittenOrFollowed)
{
    WriteFile(b->inbox / "a.txt", "mine");
    fs::create_symlink(root / "elsewhere", b->inbox / "a (2).txt");
    auto file = MakeFile("a.txt", 100);
    Offer({file, file});
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    b->progress.Await("result 0 a (3).txt a (4).txt");
    Host::Faults::Inject("engine.tmpfile", Host::Faults::ALWAYS); // a file system without nameless files
    sending = Sending();
    Offer({file});
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    b->progress.Await("result 0 a (5).txt");
    EXPECT_EQ(ReadAll(b->inbox / "a.txt"), "mine");
    EXPECT_FALSE(fs::exists(root / "elsewhere"));
    EXPECT_EQ(ReadAll(b->inbox / "a (4).txt"), ReadAll(file));
    EXPECT_EQ(ReadAll(b->inbox / "a (5).txt"), ReadAll(file));
    EXPECT_EQ(b->Received().size(), 5U);
}

TEST_F(TransferTest, AHostileNameIsRefusedWithItsReasonBeforeAnybodyIsAsked)
{
    a->Send(sending, "B", {MakeFile("x", 1)}, "../../x");
    sending.heard->Await("end: error " + std::to_string(EngineError::BAD_NAME) + " a file's name begins with a dot");
    EXPECT_EQ(b->offers.Text(), "");
    ExpectNothingLeft();
}

TEST_F(TransferTest, BytesAndTextsStandInThePreviewAndAreTakenWhenTheyAreAccepted)
{
    BytesInfo bytes;
    bytes.bytesType = 3;
    bytes.text = "hello";
    sending.handle = a->engine.SendBytes(a->ParamFor(sending, "B"), bytes);
    b->offers.Await("offer from A's name: 0 files, 0 bytes, hello");
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    b->progress.Await("result 0");
    sending.heard->Await("end: success");
    EXPECT_EQ(sending.heard->Count("progress 100"), 1U); // tells a winner
    EXPECT_TRUE(b->Received().empty());
}

TEST_F(TransferTest, AUriIsOpenedAndAPreviewThatDoesNotFitIsNot)
{
    auto file = MakeFile("with space", 10);
    DataBean bean;
    bean.fileItems.resize(1);
    bean.fileItems[0].fileUri_ = "file://" + root.string() + "/with%20space";
    sending.handle = a->engine.SendFile(a->ParamFor(sending, "B"), bean, "");
    b->offers.Await("offer from A's name: 1 files, 10 bytes, [\"with space\"]");
    EXPECT_EQ(b->Offer()->Refuse(4), RECEIVER_OK);
    sending.heard->Await("end: status 1009");
    EXPECT_TRUE(a->engine.ApplyUriPermission(bean.fileItems[0].fileUri_));
    for (const char* uri : {"file://etc/passwd", "http://x", "file:///no/such", "file:///a%0", "file:///%00", ""}) {
        EXPECT_FALSE(a->engine.ApplyUriPermission(uri)) << uri;
    }
    for (size_t size : {size_t{204'800}, size_t{1'900'000}}) { // beyond a request's parcel, beyond the channel's frame
        Sending large;
        bean.thumbnail.assign(size, 'x');
        large.handle = a->engine.SendFile(a->ParamFor(large, "B"), bean, "");
        large.heard->Await("end: error " + std::to_string(EngineError::TOO_LARGE));
    }
}

TEST_F(TransferTest, WhatCannotBeSentIsToldAndNotThrownAway)
{
    fs::create_directory(root / "folder");
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0600), 0);
    Local::UniqueFd keepsOpen(::open((root / "fifo").c_str(), O_RDWR | O_CLOEXEC));
    for (const fs::path& path : {root / "folder", root / "fifo", root / "missing"}) {
        Sending bad;
        a->Send(bad, "B", {path});
        bad.heard->Await("end: error " + std::to_string(EngineError::BAD_SOURCE));
    }
    a->Send(sending, "nobody", {MakeFile("x", 1)});
    sending.heard->Await("end: error " + std::to_string(EngineError::UNREACHABLE));
    EXPECT_EQ(a->engine.SendBytes(TransmitParam(), BytesInfo()), nullptr);
    ExpectNothingLeft();
}

TEST_F(TransferTest, ASecondOfferIsBusyUntilTheFirstIsAnswered)
{
    auto file = MakeFile("x", 1000);
    Offer({file});
    Sending second;
    a->Send(second, "B", {file});
    second.heard->Await("end: status 1014");
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    sending.heard->Await("end: success");
    Sending third;
    a->Send(third, "B", {file});
    third.heard->Await("status 1012");
    third.handle->Cancel();
    b->offers.Await("cancelled");
}

TEST_F(TransferTest, AnAnswerThatCannotBeUsedLeavesTheOfferOpen)
{
    Offer({MakeFile("x", 1)});
    Local::UniqueFd noFolder(::open("/dev/null", O_RDWR | O_CLOEXEC));
    EXPECT_EQ(b->Offer()->Accept(noFolder.Get(), nullptr), RECEIVER_BAD_ARGUMENT);
    EXPECT_EQ(b->Offer()->Cancel(), RECEIVER_ENDED);
    EXPECT_EQ(b->Accept(), RECEIVER_OK);
    sending.heard->Await("end: success");
    EXPECT_EQ(b->Offer()->Refuse(0), RECEIVER_ENDED);
}

// Who ends it, and when: what each side hears, once, and nothing on the disk.
enum class When {
    OFFERED,
    ACCEPTED,
    MOVING,
    LAST_BYTE, // all bytes are there, the sender has not said that they may be kept
};
struct EndingCase {
    const char* name;
    When when;
    std::function<void(TestDevice& a, TestDevice& b, Sending& sending)> act;
    const char* senderHears;   // empty: nothing
    const char* receiverHears; // by the listener before the answer, by the progress object after it
};

void SenderCancels(TestDevice&, TestDevice&, Sending& sending)
{
    sending.handle->Cancel();
}
void ReceiverCancels(TestDevice&, TestDevice& b, Sending&)
{
    EXPECT_EQ(b.Offer()->Cancel(), RECEIVER_OK);
}
void ReceiverRefuses(TestDevice&, TestDevice& b, Sending&)
{
    EXPECT_EQ(b.Offer()->Refuse(1), RECEIVER_OK);
}
void ReceiverStops(TestDevice&, TestDevice& b, Sending&)
{
    b.engine.Stop();
}
// A report is held at the door, and a stop waits for it: the peer hears of the loss before.
void SenderStops(TestDevice& a, TestDevice& b, Sending& sending)
{
    std::thread stopping([&a] { a.engine.Stop(); });
    EXPECT_TRUE(Eventually([&b] { return b.progress.Count("result") + b.offers.Count("error") > 0; }));
    sending.progressDoor->Open();
    stopping.join();
}

const EndingCase ENDINGS[] = {
    {"SenderCancelsOffer", When::OFFERED, SenderCancels, "", "cancelled"},
    {"SenderGoesDuringOffer", When::OFFERED, SenderStops, "", "error 3001"},
    {"ReceiverRefuses", When::OFFERED, ReceiverRefuses, "end: status 1009", ""},
    {"ReceiverGoesDuringOffer", When::OFFERED, ReceiverStops, "end: error 3001", ""},
    {"SenderCancelsAccepted", When::ACCEPTED, SenderCancels, "", "result 1"},
    {"ReceiverCancelsAccepted", When::ACCEPTED, ReceiverCancels, "end: status 1007", "result 2"},
    {"SenderCancelsMoving", When::MOVING, SenderCancels, "", "result 1"},
    {"ReceiverCancelsMoving", When::MOVING, ReceiverCancels, "end: status 1007", "result 2"},
    {"SenderGoesMoving", When::MOVING, SenderStops, "", "result 3"},
    {"ReceiverGoesMoving", When::MOVING, ReceiverStops, "end: error 3001", ""},
    {"SenderCancelsLastByte", When::LAST_BYTE, SenderCancels, "", "result 1"},
    {"ReceiverCancelsLastByte", When::LAST_BYTE, ReceiverCancels, "end: status 1007", "result 2"},
    {"SenderGoesLastByte", When::LAST_BYTE, SenderStops, "", "result 3"},
    {"ReceiverGoesLastByte", When::LAST_BYTE, ReceiverStops, "end: error 3001", ""},
};

class EndingTest : public TransferTest, public testing::WithParamInterface<EndingCase> {};

TEST_P(EndingTest, BothSidesHearItOnceAndNothingIsLeft)
{
    const EndingCase& row = GetParam();
    Offer({MakeFile("one", BIG), MakeFile("two", 10)}, true);
    if (row.when != When::OFFERED) {
        EXPECT_EQ(b->Accept(), RECEIVER_OK);
    }
    if (row.when == When::MOVING) {
        b->progress.Await("bytes");
    } else if (row.when == When::LAST_BYTE) {
        EXPECT_TRUE(Eventually([this] { return b->engine.Counters().bytesReceived == BIG + 10; }));
    }
    row.act(*a, *b, sending);
    sending.progressDoor->Open();
    if (*row.senderHears != '\0') {
        sending.heard->Await(row.senderHears);
    }
    Journal& receiver = row.when == When::OFFERED ? b->offers : b->progress;
    if (*row.receiverHears != '\0') {
        receiver.Await(row.receiverHears);
    }
    ExpectNothingLeft();
    EXPECT_EQ(sending.heard->Count("end: "), *row.senderHears == '\0' ? 0U : 1U) << sending.heard->Text();
    EXPECT_EQ(receiver.Count("result") + receiver.Count("cancelled") + receiver.Count("error"),
        *row.receiverHears == '\0' ? 0U : 1U)
        << receiver.Text();
    EXPECT_EQ(a->engine.Counters().sent + b->engine.Counters().received, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, EndingTest, testing::ValuesIn(ENDINGS),
    [](const testing::TestParamInfo<EndingCase>& row) { return row.param.name; });

TEST_F(TransferTest, NoAnswerInTimeEndsTheOfferAtBothSides)
{
    a->Send(sending, "B", {MakeFile("x", 1)}, {}, 200);
    sending.heard->Await("end: status 1013");
    b->offers.Await("error 1013");
    EXPECT_EQ(b->Accept(), RECEIVER_ENDED);
    ExpectNothingLeft();
}

// Calls of the file system that fail, and sources that do not keep still.
TEST_F(TransferTest, AFailureAtOneSideIsHeardAtBothAndLeavesNothing)
{
    auto grow = [this] { std::ofstream(root / "one", std::ios::app) << "x"; };
    auto shrink = [this] { fs::resize_file(root / "one", BIG / 2); };
    const struct {
        const char* fault;
        int skip;
        bool hidden;
        std::function<void()> disturb;
        const char* senderHears;
        const char* receiverHears;
    } ROWS[] = {
        {"engine.reserve", 0, false, nullptr, "end: status 1017", "result 4"},
        {"engine.reserve", 1, true, nullptr, "end: status 1017", "result 4"},
        {"engine.write", 2, false, nullptr, "end: status 1017", "result 4"},
        {"engine.write", 2, true, nullptr, "end: status 1017", "result 4"},
        {"engine.link", 1, false, nullptr, "end: error 3003", "result 5"},
        {"engine.link", 1, true, nullptr, "end: error 3003", "result 5"},
        {nullptr, 0, false, grow, "end: error 3009", "result 5"},
        {nullptr, 0, true, shrink, "end: error 3009", "result 5"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(std::string(row.fault == nullptr ? "source" : row.fault) + (row.hidden ? ", hidden" : ""));
        MakeFile("one", BIG);
        sending = Sending();
        b->progress.Clear();
        Offer({root / "one", MakeFile("two", 10)});
        Host::Faults::Clear();
        if (row.hidden) {
            Host::Faults::Inject("engine.tmpfile", Host::Faults::ALWAYS);
        }
        if (row.fault != nullptr) {
            Host::Faults::Inject(row.fault, 1, row.skip);
        } else {
            row.disturb();
        }
        EXPECT_EQ(b->Accept(), RECEIVER_OK);
        sending.heard->Await(row.senderHears);
        b->progress.Await(row.receiverHears);
        ExpectNothingLeft();
        EXPECT_EQ(sending.heard->Count("end: "), 1U);
    }
}

// Two devices of one contact accept at the same moment; whoever makes the first progress has the other one cancelled.
TEST_F(TransferTest, OfTwoThatRaceOneWins)
{
    TestDevice c(root, DeviceOf("C"));
    c.AcceptAll();
    b->AcceptAll();
    c.Publish();
    auto file = MakeFile("x", 3);
    for (int round = 0; round < 20; ++round) {
        Sending toB;
        Sending toC;
        std::mutex mutex;
        bool decided = false;
        std::mutex handles;
        auto cancelOther = [&](Sending& other) {
            std::lock_guard<std::mutex> guard(mutex);
            if (!std::exchange(decided, true)) {
                std::lock_guard<std::mutex> wait(handles);
                other.handle->Cancel();
            }
        };
        toB.onProgress = [&] { cancelOther(toC); };
        toC.onProgress = [&] { cancelOther(toB); };
        {
            std::lock_guard<std::mutex> both(handles);
            a->Send(toB, "B", {file});
            a->Send(toC, "C", {file});
        }
        EXPECT_TRUE(Eventually([&] {
            return a->engine.Counters().sending + b->engine.Counters().accepted + c.engine.Counters().accepted == 0;
        }));
        auto successes = [&] { return toB.heard->Count("end: success") + toC.heard->Count("end: success"); };
        EXPECT_TRUE(Eventually([&] { return successes() > 0; }));
        EXPECT_EQ(successes(), 1U);
        EXPECT_EQ(b->Received().size() + c.Received().size(), static_cast<size_t>(round) + 1);
    }
}

} // namespace
