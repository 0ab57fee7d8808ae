#include <sys/stat.h>

#include "engine_errors.h"
#include "engine_world.h"

using namespace OHOS;
using namespace OHOS::Pelago;

namespace {

std::string Error(int32_t code)
{
    return "end: error " + std::to_string(code);
}

class TransferTest : public EngineTest {
protected:
    void SetUp() override
    {
        Start();
        b->Publish();
    }
};

TEST_F(TransferTest, FilesArriveAsTheyAreUnderTheirNames)
{
    auto big = MakeFile("big.bin", BIG);
    auto small = MakeFile("small", 5);
    const size_t before = OpenDescriptors().size();
    Offer({big, MakeFile("empty", 0), small});
    b->offers.Await("offer from A's name: 3 files, 6000005 bytes, [\"big.bin\",\"empty\",\"small\"]");
    EXPECT_EQ(sending.percents->Count(""), 0U); // nobody has taken anything
    Act("accept");
    sending.heard->Await("end: success");
    b->progress.Await("result 0 big.bin empty small");
    EXPECT_EQ(b->Received(), (std::vector<std::string>{"big.bin", "empty", "small"}));
    EXPECT_TRUE(ReadAll(b->inbox / "big.bin") == ReadAll(big));
    EXPECT_EQ(ReadAll(b->inbox / "small"), ReadAll(small));
    EXPECT_GE(sending.percents->Count(""), 1U);
    EXPECT_EQ(sending.heard->Text().find("status 1004\nstatus 1012\ncode 6\n"), 0U) << sending.heard->Text();
    EXPECT_EQ(std::pair(b->Accept(), b->Offer()->Cancel()), std::pair(RECEIVER_ENDED, RECEIVER_ENDED));
    EXPECT_EQ(a->engine.Counters().sent + b->engine.Counters().received, 2U);
    EXPECT_EQ(
        std::pair(a->engine.Counters().bytesSent, b->engine.Counters().bytesReceived), std::pair(BIG + 5, BIG + 5));
    // Handles that somebody keeps hold nothing open.
    EXPECT_TRUE(WaitUntil([before] { return OpenDescriptors().size() <= before; }))
        << testing::PrintToString(OpenDescriptors());
}

TEST_F(TransferTest, WhatStandsThereIsNeverOverwrittenOrFollowed)
{
    WriteFile(b->inbox / "a.txt", "mine");
    fs::create_symlink(root / "elsewhere", b->inbox / "a (2).txt");
    auto file = MakeFile("a.txt", 100);
    Offer({file, file});
    Act("accept");
    b->progress.Await("result 0 a (3).txt a (4).txt");
    Host::Faults::Inject("engine.tmpfile", Host::Faults::ALWAYS); // a file system without nameless files
    sending = Sending();
    Offer({file});
    Act("accept");
    b->progress.Await("result 0 a (5).txt");
    EXPECT_EQ(ReadAll(b->inbox / "a.txt"), "mine");
    EXPECT_FALSE(fs::exists(root / "elsewhere"));
    EXPECT_EQ(ReadAll(b->inbox / "a (4).txt"), ReadAll(file));
    EXPECT_EQ(ReadAll(b->inbox / "a (5).txt"), ReadAll(file));
    EXPECT_EQ(b->Received().size(), 5U);
}

TEST_F(TransferTest, BytesAndTextsStandInThePreviewAndAreTakenWhenTheyAreAccepted)
{
    BytesInfo bytes;
    bytes.bytesType = 3;
    bytes.text = "hello";
    sending.handle = a->engine.SendBytes(a->ParamFor(sending, "B"), bytes);
    b->offers.Await("offer from A's name: 0 files, 0 bytes, hello");
    Act("accept");
    b->progress.Await("result 0");
    sending.heard->Await("end: success");
    EXPECT_EQ(sending.percents->Count("100"), 1U); // tells a winner
    EXPECT_TRUE(b->Received().empty());
}

TEST_F(TransferTest, AUriIsOpenedAndAPreviewThatDoesNotFitIsNot)
{
    (void)MakeFile("with space", 10);
    const std::string uri = "file://" + root.string() + "/with%20space";
    a->SendUri(sending, "B", uri, 0);
    b->offers.Await("offer from A's name: 1 files, 10 bytes, [\"with space\"]");
    Act("refuse");
    sending.heard->Await("end: status 1009");
    EXPECT_TRUE(a->engine.ApplyUriPermission(uri));
    for (const char* bad : {"file://etc/passwd", "http://x", "file:///no/such", "file:///a%0", "file:///%00", ""}) {
        EXPECT_FALSE(a->engine.ApplyUriPermission(bad)) << bad;
    }
    for (size_t size : {size_t{204'800}, size_t{1'900'000}}) { // beyond a request's parcel, beyond the channel's frame
        Sending large;
        a->SendUri(large, "B", uri, size);
        large.heard->Await(Error(EngineError::TOO_LARGE));
    }
}

TEST_F(TransferTest, WhatCannotBeSentIsToldAndNotThrownAway)
{
    fs::create_directory(root / "folder");
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0600), 0);
    Host::UniqueFd keepsOpen(::open((root / "fifo").c_str(), O_RDWR | O_CLOEXEC));
    for (const fs::path& path : {root / "folder", root / "fifo", root / "missing"}) {
        Sending bad;
        a->Send(bad, "B", {path});
        bad.heard->Await(Error(EngineError::BAD_SOURCE));
    }
    const auto file = MakeFile("x", 1);
    a->Send(sending, "nobody", {file});
    sending.heard->Await(Error(EngineError::UNREACHABLE));
    Sending hostile;
    a->Send(hostile, "B", {file}, "../../x");
    hostile.heard->Await(Error(EngineError::BAD_NAME) + " a file's name begins with a dot");
    EXPECT_EQ(a->engine.SendBytes(TransmitParam(), BytesInfo()), nullptr);
    LocalDevice noBytes = DeviceOf("B");
    noBytes.capability = 0;
    EXPECT_TRUE(b->engine.UpdateDevice(noBytes));
    Sending bytes;
    bytes.handle = a->engine.SendBytes(a->ParamFor(bytes, "B"), BytesInfo());
    bytes.heard->Await(Error(EngineError::NOT_SUPPORTED));
    EXPECT_EQ(b->offers.Text(), "");
    ExpectNothingLeft();
}

TEST_F(TransferTest, ASecondOfferIsBusyUntilTheFirstIsAnsweredAsItCanBe)
{
    auto file = MakeFile("x", 1000);
    Offer({file});
    Sending second;
    a->Send(second, "B", {file});
    second.heard->Await("end: status 1014");
    Host::UniqueFd noFolder(::open("/dev/null", O_RDWR | O_CLOEXEC));
    EXPECT_EQ(b->Offer()->Accept(noFolder.Get(), nullptr), RECEIVER_BAD_ARGUMENT);
    EXPECT_EQ(b->Offer()->Cancel(), RECEIVER_ENDED);
    Act("accept");
    sending.heard->Await("end: success");
    EXPECT_EQ(b->Offer()->Refuse(0), RECEIVER_ENDED);
    Sending third;
    third.timeoutMs = 200;
    a->Send(third, "B", {file});
    third.heard->Await("status 1012");
    third.heard->Await("end: status 1013");
    b->offers.Await("error 1013");
    EXPECT_EQ(b->Accept(), RECEIVER_ENDED);
}

// Who ends it, and when: what each side hears, once, and nothing on the disk.
TEST_F(TransferTest, BothSidesHearTheEndOnceAndNothingIsLeft)
{
    const struct {
        const char* steps;
        const char* ends; // as the sender hears it, and as the receiver does
    } ROWS[] = {
        {"cancel-here", "| cancelled\n"},
        {"go-here", "| error 3001\n"},
        {"refuse", "end: status 1009\n| "},
        {"go-there", "end: error 3001 the peer has gone\n| "},
        {"accept cancel-here", "| result 1\n"},
        {"accept cancel-there", "end: status 1007\n| result 2\n"},
        {"accept moving cancel-here", "| result 1\n"},
        {"accept moving cancel-there", "end: status 1007\n| result 2\n"},
        {"accept moving go-here", "| result 3\n"},
        {"accept moving go-there", "end: error 3001 the peer has gone\n| "},
        // All bytes are there, and the sender has not said that they may be kept.
        {"accept all-there cancel-here", "| result 1\n"},
        {"accept all-there cancel-there", "end: status 1007\n| result 2\n"},
        {"accept all-there go-here", "| result 3\n"},
        {"accept all-there go-there", "end: error 3001 the peer has gone\n| "},
    };
    const std::vector<fs::path> files{MakeFile("one", BIG), MakeFile("two", 10)};
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.steps);
        Start();
        b->Publish();
        held = true; // the reports of progress, and what follows them, wait until it is false
        sending.onProgress = [this] { EXPECT_TRUE(WaitUntil([this] { return !held; })); };
        Offer(files);
        Act(row.steps);
        held = false;
        EXPECT_TRUE(WaitUntil([&] { return Ends() == row.ends; }));
        ExpectNothingLeft();
        EXPECT_EQ(Ends(), row.ends);
        EXPECT_EQ(a->engine.Counters().sent + b->engine.Counters().received, 0U);
    }
}

// Calls of the file system that fail, and sources that do not keep still.
TEST_F(TransferTest, AFailureAtOneSideIsHeardAtBothAndLeavesNothing)
{
    const char* UNNAMED = "end: error 3003 a file cannot be given its name: Input/output error\n| result 5\n";
    auto grow = [this] { std::ofstream(root / "one", std::ios::app) << "x"; };
    auto shrink = [this] { fs::resize_file(root / "one", BIG / 2); };
    const struct {
        const char* fault;
        int skip;
        bool hidden;
        const char* ends;
        std::function<void()> disturb;
    } ROWS[] = {
        {"engine.reserve", 0, false, "end: status 1017\n| result 4\n", nullptr},
        {"engine.reserve", 1, true, "end: status 1017\n| result 4\n", nullptr},
        {"engine.write", 2, false, "end: status 1017\n| result 4\n", nullptr},
        {"engine.write", 2, true, "end: status 1017\n| result 4\n", nullptr},
        {"engine.link", 1, false, UNNAMED, nullptr},
        {"engine.link", 1, true, UNNAMED, nullptr},
        {"grown", 0, false, "end: error 3009 a source changed its size while it was sent\n| result 5\n", grow},
        {"shrunk", 0, true, "end: error 3009 a source shrank while it was sent\n| result 5\n", shrink},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(std::string(row.fault) + (row.hidden ? ", hidden" : ""));
        (void)MakeFile("one", BIG);
        sending = Sending();
        b->progress.Clear();
        Offer({root / "one", MakeFile("two", 10)});
        Host::Faults::Clear();
        Host::Faults::Inject("engine.tmpfile", row.hidden ? Host::Faults::ALWAYS : 0);
        Host::Faults::Inject(row.fault, 1, row.skip);
        if (row.disturb) {
            row.disturb();
        }
        Act("accept");
        EXPECT_TRUE(WaitUntil([&] { return Ends() == row.ends; })) << Ends();
        ExpectNothingLeft();
    }
}

} // namespace
