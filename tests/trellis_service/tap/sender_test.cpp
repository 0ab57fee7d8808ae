// The sending side of a tap, from the first touch to the end: what each event does, a tick before its time and at it.

#include "tap_scene.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {
namespace {

constexpr int64_t AT_ONCE_MS = 0;

const PeerAnswer PEER_ON;
const PeerAnswer PEER_OFF = PeerAnswer().With("State\":1", "State\":2");

#define WAITS "Send 2; connect; radar OnNudgeStartEvent 502 0 1 0 tap1"
#define BEGINS WAITS "; OnDeviceFound phone 101; told 2 1 phone tap1; OnCollabDeviceFound phone 0"
#define GOES_ON "radar Sender::OnNudgeContinue 502 1 - 0 tap1"
#define CANCELS "; radar Sender::NudgeMotionCancel 502 3 2 0 tap1"
#define TIMES_OUT                                                                                                      \
    "Send 11; fail 0; radar Sender::NudgeMotionTimeout 502 2 2 445317121 tap1; OnCancel phone; "                       \
    "ClearDiscovererFlag phone 2"

class TapSender : public TapScene {
protected:
    static void State(int32_t state, int32_t error = 0, int32_t trans = 1)
    {
        TrellisService::HandleOnMotionState(trans, state, error);
    }
    static void PutError(int32_t error)
    {
        (void)Service()->NotifyInfo(Entry("another"), error); // an ordinary device: its flags are not looked at
    }
    static bool Preparing()
    {
        return TrellisService::GetTapView().preparing;
    }
    bool Send()
    {
        BytesInfo bytes;
        bytes.bytesTitle = "note";
        return (*client)->SendBytes(app->lastDevice, bytes);
    }
};

TEST_F(TapSender, EachEndOfATapComesAtItsTimeAndDoesWhatItsRowSays)
{
    struct Row {
        const char* name;
        PeerAnswer peer;
        bool localOn;
        std::function<void()> then; // once the tap has begun
        int64_t delayMs;
        const char* ends;
        bool preparing = false; // behind that
        const char* later = "";
    };
    const auto nothing = [] {};
    const Row rows[] = {
        {"peer off", PEER_OFF, true, nothing, ANIMATION_MS,
            "Send 11; fail 1207; radar Sender::OnNudgePeerShareDisable 502 3 2 0 tap1"},
        {"both off", PEER_OFF, false, nothing, ANIMATION_MS,
            "Send 11; enable; radar Sender::OnNudgePeerShareDisable 502 3 2 0 tap1"},
        {"local off", PEER_ON, false, nothing, ANIMATION_MS,
            "Send 11; enable; radar Sender::NudgeShareDisable 502 3 2 0 tap1"},
        {"no progress", PEER_ON, true, nothing, TIMEOUT_MS, TIMES_OUT},
        {"cancelled by the client", PEER_ON, true, [] { PutError(77); }, ANIMATION_MS, "Send 11; fail 77" CANCELS},
        {"failed", PEER_ON, true, [] { State(0, 1203); }, ANIMATION_MS, "Send 11; fail 1203"},
        {"confirmed, and watched on", PEER_ON, true, [] { State(4); }, AT_ONCE_MS, "", false, TIMES_OUT},
        {"goes on, confirmed, and cancelled too late", PEER_ON, true, [] { State(1), State(5), PutError(5); },
            AT_ONCE_MS, GOES_ON},
        {"the user's", PEER_ON, true, [] { State(6, 5); }, AT_ONCE_MS, "", true},
        {"meaningless states", PEER_ON, true, [] { State(1), State(2), State(3); }, AT_ONCE_MS,
            GOES_ON "; ! Invalid nudge state.; ! Invalid nudge state.", true},
        {"a swing's states", PEER_ON, true, [] { State(1, 5, 2), State(0, 5, 2), State(1); }, AT_ONCE_MS,
            "Swing_CorvaneShare 8; fail 5; " GOES_ON, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SwitchSharing(row.localOn);
        Subscribe();
        EXPECT_EQ(Touch(row.peer), row.localOn && row.peer.custom == PEER_ON.custom ? BEGINS : WAITS);
        EXPECT_TRUE(Preparing());
        row.then();
        EXPECT_EQ(row.delayMs == AT_ONCE_MS ? Happened() : HappensAt(row.delayMs), row.ends);
        EXPECT_EQ(Preparing(), row.preparing);
        Advance(EVERY_TIMER_MS);
        EXPECT_EQ(Happened(), row.later);
        Unsubscribe();
        CorvaneShareManager::DisconnectCorvaneShareApiServiceEx();
        TrellisService::HandleOnDeviceLost(Entry("phone"));
    }
}

TEST_F(TapSender, LeadsToTheApplicationAndItsTransferWhichEndsWithoutProgress)
{
    Subscribe();
    (void)Touch();
    EXPECT_EQ(Collab().TakeResults(), (std::vector<int32_t>{1, 0})); // one application wants it; the answer was taken
    EXPECT_TRUE(Send());
    ASSERT_NE(Engine().TransferTo("phone"), nullptr);
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::TAP);
    EXPECT_FALSE(Send()); // a found report counts once
    EXPECT_NE(Happened().find("! Discoverer not contain nudge"), std::string::npos);
    Engine().Report("phone", [](ITransmitCallback& transfer) { transfer.OnMotionState(1, 3, 0); });
    EXPECT_EQ(Happened(), "! Invalid nudge state.");
    EXPECT_EQ(HappensAt(TIMEOUT_MS), TIMES_OUT "; Cancel phone");
    EXPECT_EQ(client->callback->lastDevice.deviceState, DeviceState::CANCELLED);
    EXPECT_TRUE((*client)->GetSendingUserList().empty());
}

TEST_F(TapSender, ASecondTapIsRefusedAndARefreshedActionGoesToTheEngineAlone)
{
    Subscribe();
    EXPECT_EQ(Touch(), BEGINS);
    // Of two members the first counts.
    EXPECT_EQ(Touch(PEER_ON.With("phone", "tablet").With("", ",\"concurrentId\":\"tap2\"")),
        "radar OnNudgeStartEvent 502 0 1 0 tap1; radar OnNudgeStartEvent 502 4 2 445317122 tap1; "
        "! Is delivering, do not process new OnPublishEvent.");
    EXPECT_EQ(Touch(PEER_ON.With("\"OH\":1", "\"OH\":1,\"newActionID\":true")),
        "OnDeviceFound phone 101; OnCollabDeviceFound phone 1");
    EXPECT_EQ(HappensAt(TIMEOUT_MS), "Send 11; fail 0; OnCancel phone; ClearDiscovererFlag phone 2");
}

TEST_F(TapSender, ADeviceThatTheEngineOrTheServiceRefusesEndsTheTapAfterTheAnimation)
{
    Subscribe();
    Engine().Refuse("OnCollabDeviceFound");
    EXPECT_EQ(Touch(), WAITS "; OnCollabDeviceFound phone 0; ! OnCollabDeviceFound failed.; "
                             "! OnSynfoldDeviceFound failed.");
    EXPECT_EQ(HappensAt(ANIMATION_MS), "Send 11; fail 0" CANCELS);
    (void)Touch();
    State(1), State(4);
    EXPECT_TRUE((*client)->PrepareSend(Entry("phone")));
    Skip();
    EXPECT_EQ(Touch(), "Send 2; radar OnNudgeStartEvent 502 0 1 0 tap1; "
                       "! Device is already sending.; ! OnSynfoldDeviceFound failed.");
    EXPECT_EQ(HappensAt(ANIMATION_MS), "Send 11; fail 1206" CANCELS);
}

TEST_F(TapSender, APassiveOffTakesNewTapsOnBothSidesAndLeavesTheTimers)
{
    Subscribe();
    (void)Touch();
    (void)Deliver(Delivery());
    EXPECT_TRUE(TrellisService::GetTapView().delivering);
    Host::Device::Instance().SwitchWifi(Host::WifiMode::OFF);
    Skip(1000);
    EXPECT_FALSE(Preparing() || TrellisService::GetTapView().delivering);
    Advance(EVERY_TIMER_MS);
    EXPECT_EQ(Happened(), Replaced(TIMES_OUT, "fail 0", "Recv 11; fail 0; fail 0"));
}

TEST_F(TapSender, AStepThatCannotFollowIsSaidAndEndsTheTap)
{
    struct Row {
        int skip; // events that are sent before the one that is not
        PeerAnswer peer;
        bool localOn;
        std::string error;
    };
    const Row rows[] = {{0, PEER_ON, true, "ON_NUDGE_START_EVENT"}, {1, PEER_OFF, true, "ON_NUDGE_PEER_SHARE_DISABLE"},
        {1, PEER_ON, true, "ON_NUDGE_PEER_SHARE_DISABLE"}, // one text for both
        {2, PEER_ON, false, "NUDGE_SHARE_DISABLE"}, {2, PEER_ON, true, "NUDGE_MOTION_TIMEOUT"}};
    for (const Row& row : rows) {
        SwitchSharing(row.localOn);
        Subscribe();
        Settle();
        Host::Faults::Inject("event_handler.send", 1, row.skip);
        EXPECT_NE(Touch(row.peer).find("! send MSG_" + row.error + " failed."), std::string::npos) << row.error;
        EXPECT_FALSE(Preparing());
        EXPECT_EQ(Collab().TakeResults().back(), row.skip == 0 ? -1 : 0);
        Unsubscribe();
    }
}

} // namespace
} // namespace OHOS::Pelago
