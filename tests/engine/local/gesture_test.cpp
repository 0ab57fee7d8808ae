#include <unistd.h>

#include <sstream>

#include "engine_errors.h"
#include "engine_world.h"
#include "frame.h"

using namespace OHOS;
using namespace OHOS::Pelago;
namespace fs = std::filesystem;

namespace {

constexpr int64_t SHORT_MS = 300;

sptr<ShareDevice> Tapped(const std::string& id)
{
    sptr<ShareDevice> device = new ShareDevice();
    device->SetDeviceId(id);
    device->SetDeviceName("what the tap said");
    device->discoveredBy_ = Discoverer::TAP;
    return device;
}

class GestureTest : public EngineTest {
protected:
    void SetUp() override
    {
        EngineTest::SetUp();
        a = std::make_unique<TestDevice>(root, DeviceOf("A"), SHORT_MS);
        b = std::make_unique<TestDevice>(root, DeviceOf("B"));
    }
    void TearDown() override
    {
        sending.handle = nullptr;
        a.reset();
        b.reset();
        EngineTest::TearDown();
    }
    void SendNote(const std::string& to, const std::string& note)
    {
        EXPECT_TRUE(a->engine.SendNote(to, note, [this](bool taken) { notes.Add(taken ? "taken" : "not taken"); }));
    }
    void ServeNotes()
    {
        EXPECT_TRUE(b->engine.ServeNotes([this](const std::string& from, const std::string& note) {
            notes.Add("from " + from + ": " + note.substr(0, 20));
            reading.Pass();
        }));
        EXPECT_TRUE(Eventually([this] { return fs::exists(Nearby() / "B.note"); }));
    }
    void Send(TransmitEventType event)
    {
        sending.event = event;
        a->Send(sending, "B", {MakeFile("x", 10)});
    }

    std::unique_ptr<TestDevice> a;
    std::unique_ptr<TestDevice> b;
    Sending sending;
    Journal notes;
    Door reading;
};

TEST_F(GestureTest, NotesReachADeviceThatNobodySees)
{
    SendNote("B", "too early");
    notes.Await("not taken");
    ServeNotes();
    SendNote("B", std::string(MAX_NOTE_BYTES, 'x'));
    notes.Await("from A: xxx");
    notes.Await("taken");
    EXPECT_FALSE(a->engine.SendNote("B", std::string(MAX_NOTE_BYTES + 1, 'x'), nullptr));
    SendNote("../B", "");
    notes.Await("not taken", 2);
    b->engine.Stop();
    EXPECT_FALSE(fs::exists(Nearby() / "B.note"));
    (void)ServeRaw(Nearby() / "B.note"); // as a killed device leaves it
    SendNote("B", "too late");
    notes.Await("not taken", 3);
    EXPECT_FALSE(fs::exists(Nearby() / "B.note"));
}

TEST_F(GestureTest, HostileNotesAndTooManyAreRefusedAndTheNextIsTaken)
{
    ServeNotes();
    using Local::BodyWriter;
    using Local::FrameType;
    auto note = [](const BodyWriter& body) { return Local::MakeFrame(FrameType::NOTE, body.Bytes()); };
    const std::string ROWS[] = {
        Local::MakeFrame(FrameType::WATCH),
        Local::MakeFrame(FrameType::OFFER, "x"),
        note(BodyWriter().Text("").Text("x")),
        note(BodyWriter().Text("../A").Text("x")),
        note(BodyWriter().Text(std::string(65, 'A')).Text("x")),
        note(BodyWriter().Text("A").Text("x").U32(0)),
        note(BodyWriter().Text("A").Text(std::string(MAX_NOTE_BYTES + 1, 'x'))),
        note(BodyWriter().Text("A").U32(0xFFFFFFFF)),
    };
    for (const std::string& bytes : ROWS) {
        Local::UniqueFd guest = ConnectRaw(Nearby() / "B.note");
        EXPECT_EQ(::write(guest.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        EXPECT_EQ(ReadUntilClosed(guest.Get()), "");
    }
    EXPECT_EQ(notes.Text(), "");
    reading.Shut();
    for (int i = 0; i < 70; ++i) {
        SendNote("B", "many");
    }
    EXPECT_TRUE(Eventually([this] { return notes.Count("taken") + notes.Count("not taken") == 70; }));
    EXPECT_GE(notes.Count("not taken"), 1U);
    reading.Open();
    notes.Await("from A: many", notes.Count("taken"));
    SendNote("B", "one more");
    notes.Await("from A: one more");
}

TEST_F(GestureTest, ATapConnectsToADeviceWithoutDiscoveryAndKeepsItUntilItIsLost)
{
    b->Publish();
    EXPECT_FALSE(a->engine.OnCollabDeviceFound(Tapped("C"), a->Subscriber(), 0));
    EXPECT_FALSE(a->engine.OnCollabDeviceFound(Tapped("B"), a->Subscriber(), 1)) << "no tap has found it";
    EXPECT_TRUE(a->engine.OnCollabDeviceFound(Tapped("B"), a->Subscriber(), 0));
    a->nearby.Await("found B 'B's name' contact 0 flags 2");
    EXPECT_TRUE(a->engine.OnCollabDeviceFound(Tapped("B"), a->Subscriber(), 1)); // its address, and nobody hears of it
    EXPECT_EQ(a->engine.Counters().peers, 1U);
    b->engine.Stop();
    a->nearby.Await("lost B");
    EXPECT_EQ(a->nearby.Count("found"), 1U);
    EXPECT_EQ(a->engine.Counters().peers, 0U);
    std::string info;
    EXPECT_TRUE(a->engine.GetNudgePublishInfo(info));
    EXPECT_EQ(info.find(R"({"OH":1,"devHash":"559AEAD0)"), 0U) << info;
    EXPECT_NE(
        info.find(R"("nick":"A's name","nbVer":1,"corvaneID":"hash-A","abl":2,"newActionID":false,"capability":4})"),
        std::string::npos)
        << info;
}

TEST_F(GestureTest, TheDeviceThatTheHandPointsAtIsReportedOnceTheContentIsShown)
{
    EXPECT_TRUE(a->engine.SwingSubscribe(a->Subscriber()));
    b->Publish();
    TestDevice c(root, DeviceOf("C"));
    c.Publish();
    a->engine.ShowSwing(); // at nobody
    a->engine.AimSwing("B");
    EXPECT_EQ(a->engine.Counters().peers, 0U);
    a->engine.ShowSwing();
    a->nearby.Await("found B 'B's name' contact 0 flags 4");
    EXPECT_EQ(a->nearby.Count("found"), 1U);

    a->engine.AimSwing("D"); // comes late
    a->engine.ShowSwing();
    TestDevice d(root, DeviceOf("D"));
    d.Publish();
    a->nearby.Await("found D");

    a->engine.AimSwing("E"); // does not come: the user hears of it, and the swing ends
    a->engine.ShowSwing();
    a->nearby.Await("swing of 1 ends: 0");
    a->nearby.Await("swing of 1 ends: 100");
    a->engine.AimSwing("C");
    a->engine.ReportSwingEvent(LocalEngine::SWING_OVER, 0, 0, "");
    a->engine.ShowSwing();
    EXPECT_TRUE(a->engine.SwingUnSubscribe(a->Subscriber()));
    EXPECT_FALSE(a->engine.SwingUnSubscribe(a->Subscriber()));
    EXPECT_EQ(a->nearby.Count("found"), 2U);
}

void Nothing(TestDevice&, TestDevice&, Sending&)
{}
void Accepts(TestDevice&, TestDevice& b, Sending& sending)
{
    sending.heard->Await("status 1012");
    EXPECT_EQ(b.Accept(), RECEIVER_OK);
}
void Refuses(TestDevice&, TestDevice& b, Sending& sending)
{
    sending.heard->Await("status 1012");
    EXPECT_EQ(b.Offer()->Refuse(1), RECEIVER_OK);
}
void SenderCancels(TestDevice&, TestDevice& b, Sending& sending)
{
    sending.heard->Await("status 1012");
    sending.handle->Cancel();
    b.offers.Await("cancelled");
}
void SenderGoes(TestDevice& a, TestDevice& b, Sending& sending)
{
    sending.heard->Await("status 1012");
    a.engine.Stop();
    b.offers.Await("error 3001");
}
void PeerGoesDuringTheDialog(TestDevice&, TestDevice& b, Sending& sending)
{
    sending.heard->Await("dialog for B");
    b.engine.Stop();
    sending.handle->SwingConfirm(1);
}
template <int32_t CHOICE, void (*THEN)(TestDevice&, TestDevice&, Sending&)>
void Confirms(TestDevice& a, TestDevice& b, Sending& sending)
{
    sending.heard->Await("dialog for B");
    EXPECT_EQ(b.offers.Text(), "") << "nothing leaves the device before";
    sending.handle->SwingConfirm(CHOICE);
    sending.handle->SwingConfirm(1); // once is enough
    THEN(a, b, sending);
}
constexpr auto TAP = TransmitEventType::TAP;
constexpr auto SWING = TransmitEventType::SWING;
const std::string OFFER = "offer from A's name: 1 files, 10 bytes, [\"x\"]\n";

// What both sides hear of a transfer that a gesture has begun, word for word, but for progress.
struct GestureCase {
    const char* name;
    TransmitEventType event;
    std::function<void(TestDevice& a, TestDevice& b, Sending& sending)> act;
    std::string senderHears;
    std::string receiverHears;
};
const GestureCase GESTURES[] = {
    {"TapAccepted", TAP, Accepts, "status 1004\nmotion 1 1 0\nmotion 1 4 0\nstatus 1012\ncode 6\nend: success\n",
        "motion 1 1 0\n" + OFFER + "motion 1 3 0\n"},
    {"TapRefused", TAP, Refuses, "status 1004\nmotion 1 1 0\nmotion 1 4 0\nstatus 1012\nend: status 1009\n",
        "motion 1 1 0\n" + OFFER + "motion 1 3 0\n"},
    {"TapCancelled", TAP, SenderCancels, "status 1004\nmotion 1 1 0\nmotion 1 4 0\nstatus 1012\n",
        "motion 1 1 0\n" + OFFER + "cancelled\nmotion 1 2 0\n"},
    {"TapAndTheSenderGoes", TAP, SenderGoes, "status 1004\nmotion 1 1 0\nmotion 1 4 0\nstatus 1012\n",
        "motion 1 1 0\n" + OFFER + "error 3001\nmotion 1 0 3001\n"},
    {"TapOfNobody", TAP, Nothing, "status 1004\nmotion 1 0 3002\nend: error 3002 no device answers to this id\n", ""},
    {"SwingAccepted", SWING, Confirms<1, Accepts>,
        "status 1004\ndialog for B\nno dialog for B\nstatus 1012\ncode 6\nend: success\n",
        "dialog\n" + OFFER + "no dialog\n"},
    {"SwingRefusedHere", SWING, Confirms<0, Nothing>, "status 1004\ndialog for B\nno dialog for B\nend: status 1009\n",
        ""},
    {"SwingRefusedThere", SWING, Confirms<1, Refuses>,
        "status 1004\ndialog for B\nno dialog for B\nstatus 1012\nmotion 2 0 1009\nend: status 1009\n",
        "dialog\n" + OFFER + "no dialog\n"},
    {"SwingAndTheSenderGoes", SWING, Confirms<1, SenderGoes>,
        "status 1004\ndialog for B\nno dialog for B\nstatus 1012\n",
        "dialog\n" + OFFER + "error 3001\nno dialog\nmotion 2 0 3001\n"},
    {"SwingAndThePeerGoes", SWING, PeerGoesDuringTheDialog,
        "status 1004\ndialog for B\nno dialog for B\nmotion 2 0 3002\nend: error 3002 no device answers to this id\n",
        ""},
};

class GestureTransferTest : public GestureTest, public testing::WithParamInterface<GestureCase> {};

TEST_P(GestureTransferTest, BothSidesHearHowTheGestureGoesOn)
{
    const GestureCase& row = GetParam();
    if (!row.receiverHears.empty() || row.event == SWING) {
        b->Publish();
    }
    EXPECT_TRUE(a->engine.SwingSubscribe(a->Subscriber()));
    Send(row.event);
    row.act(*a, *b, sending);
    auto heard = [](const Journal& journal) {
        std::string text;
        std::istringstream lines(journal.Text());
        for (std::string line; std::getline(lines, line);) {
            bool isPace = line.find("progress") == 0 || line == "code 7";
            text += isPace ? "" : line + "\n";
        }
        return text;
    };
    EXPECT_TRUE(Eventually([&] { return heard(*sending.heard) == row.senderHears; })) << heard(*sending.heard);
    EXPECT_TRUE(Eventually([&] { return heard(b->offers) == row.receiverHears; })) << heard(b->offers);
    if (row.event == SWING && row.senderHears.find("end") != std::string::npos) {
        a->nearby.Await("swing of 1 ends: 100");
    }
}

INSTANTIATE_TEST_SUITE_P(All, GestureTransferTest, testing::ValuesIn(GESTURES),
    [](const testing::TestParamInfo<GestureCase>& row) { return row.param.name; });

TEST_F(GestureTest, ADialogThatNobodyAnswersEndsAndBytesAreNotSentWhereTheyAreNotTaken)
{
    LocalDevice noBytes = DeviceOf("B");
    noBytes.capability = 0;
    EXPECT_TRUE(b->engine.UpdateDevice(noBytes));
    b->Publish();
    sending.event = SWING;
    a->Send(sending, "B", {MakeFile("x", 1)}, {}, 200);
    sending.heard->Await("no dialog for B");
    sending.heard->Await("end: status 1013");
    Sending bytes;
    bytes.handle = a->engine.SendBytes(a->ParamFor(bytes, "B"), BytesInfo());
    bytes.heard->Await("end: error " + std::to_string(EngineError::NOT_SUPPORTED));
    EXPECT_EQ(b->offers.Text(), "");
}

} // namespace
