#include "engine_world.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using std::string_literals::operator""s;

namespace {

constexpr auto TAP = TransmitEventType::TAP;
constexpr auto SWING = TransmitEventType::SWING;

class GestureTest : public EngineTest {
protected:
    void SetUp() override
    {
        Start(300); // limits that a test can wait for
    }
    void SendNote(const std::string& to, const std::string& note)
    {
        EXPECT_TRUE(a->engine.SendNote(to, note, [this](bool taken) { notes.Add(taken ? "taken" : "not taken"); }));
    }

    Journal notes;
    std::atomic<bool> reading{true};
};

TEST_F(GestureTest, NotesReachADeviceThatNobodySeesAndTooManyAreRefused)
{
    SendNote("B", "too early");
    notes.Await("not taken");
    EXPECT_TRUE(b->engine.ServeNotes([this](const std::string& from, const std::string& note) {
        notes.Add("from " + from + ": " + note.substr(0, 20));
        EXPECT_TRUE(WaitUntil([this] { return reading.load(); }));
    }));
    EXPECT_TRUE(WaitUntil([this] { return fs::exists(nearby / "B.note"); }));
    SendNote("B", std::string(MAX_NOTE_BYTES, 'x'));
    notes.Await("from A: xxx");
    notes.Await("taken");
    EXPECT_FALSE(a->engine.SendNote("B", std::string(MAX_NOTE_BYTES + 1, 'x'), nullptr));
    SendNote("../B", "");
    notes.Await("not taken", 2);

    notes.Clear();
    reading = false;
    for (int i = 0; i < 70; ++i) {
        SendNote("B", "many");
    }
    EXPECT_TRUE(WaitUntil([this] { return notes.Count("taken") + notes.Count("not taken") == 70; }));
    EXPECT_GE(notes.Count("not taken"), 1U);
    reading = true;
    notes.Await("from A: many", notes.Count("taken"));
    notes.Clear();
    b->engine.Stop();
    EXPECT_FALSE(fs::exists(nearby / "B.note"));
    (void)Serve("B", Local::NOTE_SUFFIX); // as a killed device leaves it
    SendNote("B", "too late");
    notes.Await("not taken");
    EXPECT_FALSE(fs::exists(nearby / "B.note"));
}

TEST_F(GestureTest, ATapConnectsToADeviceWithoutDiscoveryAndKeepsItUntilItIsLost)
{
    b->Publish();
    EXPECT_FALSE(a->engine.OnCollabDeviceFound(Tapped("C"), a->subscriber, 0));
    EXPECT_FALSE(a->engine.OnCollabDeviceFound(Tapped("B"), a->subscriber, 1)) << "no tap has found it";
    EXPECT_TRUE(a->engine.OnCollabDeviceFound(Tapped("B"), a->subscriber, 0));
    a->nearby.Await("found B 'B's name' contact 0 flags 2");
    EXPECT_TRUE(a->engine.OnCollabDeviceFound(Tapped("B"), a->subscriber, 1)); // its address, and nobody hears of it
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
    EXPECT_TRUE(a->engine.SwingSubscribe(a->subscriber));
    b->Publish();
    TestDevice c(root, "C");
    c.Publish();
    a->engine.ShowSwing(); // at nobody
    a->engine.AimSwing("B");
    EXPECT_EQ(a->engine.Counters().peers, 0U);
    a->engine.ShowSwing();
    a->nearby.Await("found B 'B's name' contact 0 flags 4");
    EXPECT_EQ(a->nearby.Count("found"), 1U);

    a->engine.AimSwing("D"); // comes late
    a->engine.ShowSwing();
    TestDevice d(root, "D");
    d.Publish();
    a->nearby.Await("found D");

    a->engine.AimSwing("E"); // does not come: the user hears of it, and the swing ends
    a->engine.ShowSwing();
    a->nearby.Await("swing of 1 ends: 0");
    a->nearby.Await("swing of 1 ends: 100");
    a->engine.AimSwing("C");
    a->engine.ReportSwingEvent(LocalEngine::SWING_OVER, 0, 0, "");
    a->engine.ShowSwing();
    EXPECT_TRUE(a->engine.SwingUnSubscribe(a->subscriber));
    EXPECT_FALSE(a->engine.SwingUnSubscribe(a->subscriber));
    EXPECT_EQ(a->nearby.Count("found"), 2U);
}

// What both sides hear of a transfer that a gesture has begun, word for word.
TEST_F(GestureTest, BothSidesHearHowTheGestureGoesOn)
{
    const std::string OFFER = "offer from A's name: 1 files, 10 bytes, [\"x\"]\n";
    const std::string TAPPED = "status 1004\nmotion 1 1 0\nmotion 1 4 0\nstatus 1012\n";
    const std::string ASKED = "status 1004\ndialog for B\nno dialog for B\n";
    const struct {
        TransmitEventType event;
        const char* steps;
        std::string senderHears;
        std::string receiverHears;
    } ROWS[] = {
        {TAP, "shown accept", TAPPED + "code 6\nend: success\n", "motion 1 1 0\n" + OFFER + "motion 1 3 0\n"},
        {TAP, "shown refuse", TAPPED + "end: status 1009\n", "motion 1 1 0\n" + OFFER + "motion 1 3 0\n"},
        {TAP, "shown cancel-here", TAPPED, "motion 1 1 0\n" + OFFER + "cancelled\nmotion 1 2 0\n"},
        {TAP, "shown go-here", TAPPED, "motion 1 1 0\n" + OFFER + "error 3001\nmotion 1 0 3001\n"},
        {TAP, "", "status 1004\nmotion 1 0 3002\nend: error 3002 no device answers to this id\n", ""}, // B is hidden
        {SWING, "dialog yes yes shown accept", ASKED + "status 1012\ncode 6\nend: success\n",
            "dialog\n" + OFFER + "no dialog\n"},
        {SWING, "dialog", ASKED + "motion 2 0 1013\nend: status 1013\n", ""}, // nobody answers it
        {SWING, "dialog no yes", ASKED + "end: status 1009\n", ""},
        {SWING, "dialog yes shown refuse", ASKED + "status 1012\nmotion 2 0 1009\nend: status 1009\n",
            "dialog\n" + OFFER + "no dialog\n"},
        {SWING, "dialog yes shown go-here", ASKED + "status 1012\n",
            "dialog\n" + OFFER + "error 3001\nno dialog\nmotion 2 0 3001\n"},
        {SWING, "dialog go-there yes", ASKED + "motion 2 0 3002\nend: error 3002 no device answers to this id\n", ""},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.steps);
        Start();
        if (*row.steps != '\0') {
            b->Publish();
        }
        EXPECT_TRUE(a->engine.SwingSubscribe(a->subscriber));
        sending.event = row.event;
        sending.timeoutMs = row.steps == "dialog"s ? 200 : TRANSMIT_TIMEOUT_MS;
        a->Send(sending, "B", {MakeFile("x", 10)});
        Act(row.steps);
        Journal& heard = *sending.heard;
        EXPECT_TRUE(WaitUntil([&] { return heard.Text() == row.senderHears; })) << heard.Text();
        EXPECT_TRUE(WaitUntil([&] { return b->offers.Text() == row.receiverHears; })) << b->offers.Text();
        if (row.event == SWING && row.senderHears.find("end") != std::string::npos) {
            a->nearby.Await("swing of 1 ends: 100");
        }
    }
}

} // namespace
