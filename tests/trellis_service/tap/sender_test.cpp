// The sending side of a tap: what each event does, a tick before its time and at it.

#include "tap_scene.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {
namespace {

constexpr int64_t ANIMATION_MS = 1500;
constexpr int64_t TIMEOUT_MS = 6000;
constexpr int64_t AT_ONCE_MS = 0;

const PeerAnswer PEER_ON;
const PeerAnswer PEER_OFF = PeerAnswer().With("State\":1", "State\":2");

#define WAITS "Send 2; connect; radar OnNudgeStartEvent 502 0 1 0 tap1"
#define BEGINS WAITS "; OnDeviceFound phone 101; told 2 1 phone tap1; OnCollabDeviceFound phone 0"
#define GOES_ON "radar Sender::OnNudgeContinue 502 1 - 0 tap1"
#define TIMES_OUT                                                                                                      \
    "Send 11; fail 0; radar Sender::NudgeMotionTimeout 502 2 2 445317121 tap1; OnCancel phone; "                       \
    "ClearDiscovererFlag phone 2"

class TapSender : public TapScene {
protected:
    static void State(int32_t state, int32_t error = 0)
    {
        TrellisService::HandleOnMotionState(1, state, error);
    }
    static void PutError(int32_t error)
    {
        (void)Service()->NotifyInfo(Entry("another"), error); // an ordinary device: its flags are not looked at
    }
    static bool Preparing()
    {
        return TrellisService::GetTapView().preparing;
    }
};

TEST_F(TapSender, EachEndOfATapComesAtItsTimeAndDoesWhatItsRowSays)
{
    struct Row {
        const char* name;
        PeerAnswer peer;
        bool localOn;
        std::function<void()> then; // once the tap has begun
        const char* begins;
        int64_t delayMs;
        const char* ends;
        bool preparing; // behind that
        const char* later;
    };
    const auto swing = [](int32_t state) { TrellisService::HandleOnMotionState(2, state, 5); };
    const Row rows[] = {
        {"peer off", PEER_OFF, true, [] {}, WAITS, ANIMATION_MS,
            "Send 11; fail 1207; radar Sender::OnNudgePeerShareDisable 502 3 2 0 tap1", false, ""},
        {"both off", PEER_OFF, false, [] {}, WAITS, ANIMATION_MS,
            "Send 11; enable; radar Sender::OnNudgePeerShareDisable 502 3 2 0 tap1", false, ""},
        {"local off", PEER_ON, false, [] {}, WAITS, ANIMATION_MS,
            "Send 11; enable; radar Sender::NudgeShareDisable 502 3 2 0 tap1", false, ""},
        {"no progress", PEER_ON, true, [] {}, BEGINS, TIMEOUT_MS, TIMES_OUT, false, ""},
        {"cancelled by the client", PEER_ON, true, [] { PutError(77); }, BEGINS, ANIMATION_MS,
            "Send 11; fail 77; radar Sender::NudgeMotionCancel 502 3 2 0 tap1", false, ""},
        {"failed", PEER_ON, true, [] { State(0, 1203); }, BEGINS, ANIMATION_MS, "Send 11; fail 1203", false, ""},
        {"goes on", PEER_ON, true, [] { State(1); }, BEGINS, AT_ONCE_MS, GOES_ON, true, ""},
        {"confirmed, and watched on", PEER_ON, true, [] { State(4); }, BEGINS, AT_ONCE_MS, "", false, TIMES_OUT},
        {"goes on, confirmed, and cancelled too late", PEER_ON, true, [] { State(1), State(5), PutError(5); }, BEGINS,
            AT_ONCE_MS, GOES_ON, false, ""},
        {"the user's", PEER_ON, true, [] { State(6, 5); }, BEGINS, AT_ONCE_MS, "", true, ""},
        {"meaningless states", PEER_ON, true, [] { State(1), State(2), State(3), State(-1); }, BEGINS, AT_ONCE_MS,
            GOES_ON "; ! Invalid nudge state.; ! Invalid nudge state.; ! Invalid nudge state.", true, ""},
        {"a swing's states", PEER_ON, true, [swing] { swing(1), swing(0), State(1); }, BEGINS, AT_ONCE_MS,
            "Swing_CorvaneShare 8; fail 5; " GOES_ON, true, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SwitchSharing(row.localOn);
        Subscribe();
        Touch(row.peer);
        EXPECT_EQ(Happened(), row.begins);
        EXPECT_TRUE(Preparing());
        row.then();
        EXPECT_EQ(row.delayMs == AT_ONCE_MS ? Happened() : HappensAt(row.delayMs), row.ends);
        EXPECT_EQ(Preparing(), row.preparing);
        LetPass();
        EXPECT_EQ(Happened(), row.later);
        Unsubscribe();
        CorvaneShareManager::DisconnectCorvaneShareApiServiceEx();
        TrellisService::HandleOnDeviceLost(Entry("phone"));
    }
}

TEST_F(TapSender, ASecondTapIsRefusedAndARefreshedActionGoesToTheEngineAlone)
{
    Subscribe();
    Touch();
    EXPECT_EQ(Happened(), BEGINS);
    Touch(PEER_ON.With("phone", "tablet").With("", ",\"concurrentId\":\"tap2\"")); // of two members the first counts
    EXPECT_EQ(Happened(), "radar OnNudgeStartEvent 502 0 1 0 tap1; radar OnNudgeStartEvent 502 4 2 445317122 tap1; "
                          "! Is delivering, do not process new OnPublishEvent.");
    Touch(PEER_ON.With("\"OH\":1", "\"OH\":1,\"newActionID\":true"));
    EXPECT_EQ(Happened(), "OnDeviceFound phone 101; OnCollabDeviceFound phone 1");
    EXPECT_EQ(HappensAt(TIMEOUT_MS), "Send 11; fail 0; OnCancel phone; ClearDiscovererFlag phone 2");
}

TEST_F(TapSender, ADeviceThatTheEngineOrTheServiceRefusesEndsTheTapAfterTheAnimation)
{
    Subscribe();
    Engine().Refuse("OnCollabDeviceFound");
    Touch();
    EXPECT_EQ(Happened(), WAITS "; OnCollabDeviceFound phone 0; ! OnCollabDeviceFound failed.; "
                                "! OnSynfoldDeviceFound failed.");
    EXPECT_EQ(HappensAt(ANIMATION_MS), "Send 11; fail 0; radar Sender::NudgeMotionCancel 502 3 2 0 tap1");

    Touch();
    State(1), State(4);
    EXPECT_TRUE((*client)->PrepareSend(Entry("phone")));
    (void)Happened();
    Touch();
    EXPECT_EQ(Happened(), "Send 2; radar OnNudgeStartEvent 502 0 1 0 tap1; ! already connectionCorvaneShareApi_; "
                          "! Device is already sending.; ! OnSynfoldDeviceFound failed.");
    EXPECT_EQ(HappensAt(ANIMATION_MS), "Send 11; fail 1206; radar Sender::NudgeMotionCancel 502 3 2 0 tap1");
}

TEST_F(TapSender, APassiveOffTakesNewTapsAndLeavesTheTimer)
{
    Subscribe();
    Touch();
    Host::Device::Instance().SwitchWifi(Host::WifiMode::OFF);
    Advance(1000);
    EXPECT_FALSE(Service()->IsEnabled());
    EXPECT_FALSE(Preparing());
    (void)Happened();
    LetPass();
    EXPECT_EQ(Happened(), TIMES_OUT);
}

TEST_F(TapSender, AStepThatCannotFollowIsSaidAndEndsTheTap)
{
    struct Row {
        int skip; // events that are sent before the one that is not
        PeerAnswer peer;
        bool localOn;
        const char* error;
    };
    const Row rows[] = {
        {0, PEER_ON, true, "! send MSG_ON_NUDGE_START_EVENT failed."},
        {1, PEER_OFF, true, "! send MSG_ON_NUDGE_PEER_SHARE_DISABLE failed."},
        {1, PEER_ON, true, "! send MSG_ON_NUDGE_PEER_SHARE_DISABLE failed."}, // one text for both
        {2, PEER_ON, false, "! send MSG_NUDGE_SHARE_DISABLE failed."},
        {2, PEER_ON, true, "! send MSG_NUDGE_MOTION_TIMEOUT failed."},
    };
    for (const Row& row : rows) {
        SwitchSharing(row.localOn);
        Subscribe();
        Host::Faults::Inject("event_handler.send", 1, row.skip);
        Touch(row.peer);
        EXPECT_NE(Happened().find(row.error), std::string::npos) << row.error;
        EXPECT_FALSE(Preparing());
        EXPECT_EQ(Collab().TakeResults().back(), row.skip == 0 ? -1 : 0);
        Unsubscribe();
    }
}

TEST_F(TapSender, TheFrameworkIsAskedOnceAndShownOneText)
{
    Collab().Refuse("RequestService", 5);
    EXPECT_FALSE(Service()->RegisterMotionSenderListener());
    EXPECT_EQ(Happened(), "! RegisterPublishServiceCallback failed, errCode 5.");
    (void)Collab().TakeAsked();
    Subscribe();
    Subscribe();
    EXPECT_EQ(Collab().TakeAsked(), "RequestService 8");
    Touch();
    EXPECT_EQ(Collab().TakeStates().at(0).extraInfo,
        "{\n\t\"isUiEnable\":\ttrue,\n\t\"role\":\t1,\n\t\"type\":\t2,\n\t\"deviceType\":\t14\n}");
}

} // namespace
} // namespace OHOS::Pelago
