// The sending side of a tap, from the first touch to the end: what each event does, a tick before its time and at it.

#include "tap_scene.h"

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
};

TEST_F(TapSender, EachEndOfATapComesAtItsTimeAndDoesWhatItsRowSays)
{
    // The peer; whether sharing is on here; what happens once the tap has begun; when it ends, and how; whether a tap
    // is still being prepared then; and what comes later.
    using Row =
        std::tuple<const char*, PeerAnswer, bool, std::function<void()>, int64_t, const char*, bool, const char*>;
    const auto nothing = [] {};
    const Row rows[] = {
        {"peer off", PEER_OFF, true, nothing, ANIMATION_MS,
            "Send 11; fail 1207; radar Sender::OnNudgePeerShareDisable 502 3 2 0 tap1", false, ""},
        {"both off", PEER_OFF, false, nothing, ANIMATION_MS,
            "Send 11; enable; radar Sender::OnNudgePeerShareDisable 502 3 2 0 tap1", false, ""},
        {"local off", PEER_ON, false, nothing, ANIMATION_MS,
            "Send 11; enable; radar Sender::NudgeShareDisable 502 3 2 0 tap1", false, ""},
        {"no progress", PEER_ON, true, nothing, TIMEOUT_MS, TIMES_OUT, false, ""},
        {"cancelled by the client", PEER_ON, true, [] { PutError(77); }, ANIMATION_MS, "Send 11; fail 77" CANCELS,
            false, ""},
        {"failed", PEER_ON, true, [] { State(0, 1203); }, ANIMATION_MS, "Send 11; fail 1203", false, ""},
        {"confirmed, and watched on", PEER_ON, true, [] { State(4); }, AT_ONCE_MS, "", false, TIMES_OUT},
        {"goes on, confirmed, and cancelled too late", PEER_ON, true, [] { State(1), State(5), PutError(5); },
            AT_ONCE_MS, GOES_ON, false, ""},
        {"the user's", PEER_ON, true, [] { State(6, 5); }, AT_ONCE_MS, "", true, ""},
        {"meaningless states", PEER_ON, true, [] { State(1), State(2), State(3); }, AT_ONCE_MS,
            GOES_ON "; ! Invalid nudge state.; ! Invalid nudge state.", true, ""},
        {"a swing's states", PEER_ON, true, [] { State(1, 5, 2), State(0, 5, 2), State(1); }, AT_ONCE_MS,
            "Swing_CorvaneShare 8; fail 5; " GOES_ON, true, ""},
    };
    for (const auto& [name, peer, localOn, then, delayMs, ends, preparing, later] : rows) {
        SCOPED_TRACE(name);
        SwitchSharing(localOn);
        Subscribe();
        EXPECT_EQ(Touch(peer), localOn && peer.custom == PEER_ON.custom ? BEGINS : WAITS);
        EXPECT_TRUE(Preparing());
        then();
        EXPECT_EQ(delayMs == AT_ONCE_MS ? Happened() : HappensAt(delayMs), ends);
        EXPECT_EQ(Preparing(), preparing);
        Advance(EVERY_TIMER_MS);
        EXPECT_EQ(Happened(), later);
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
    EXPECT_TRUE(SendNote(*client, app->lastDevice));
    ASSERT_NE(Engine().TransferTo("phone"), nullptr);
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::TAP);
    EXPECT_FALSE(SendNote(*client, app->lastDevice)); // a found report counts once
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
    // Events that are sent before the one that is not; the peer; whether sharing is on here; what is said.
    const std::tuple<int, PeerAnswer, bool, std::string> rows[] = {{0, PEER_ON, true, "ON_NUDGE_START_EVENT"},
        {1, PEER_OFF, true, "ON_NUDGE_PEER_SHARE_DISABLE"},
        {1, PEER_ON, true, "ON_NUDGE_PEER_SHARE_DISABLE"}, // one text for both
        {2, PEER_ON, false, "NUDGE_SHARE_DISABLE"}, {2, PEER_ON, true, "NUDGE_MOTION_TIMEOUT"}};
    for (const auto& [skip, peer, localOn, error] : rows) {
        SwitchSharing(localOn);
        Subscribe();
        Settle();
        Host::Faults::Inject("event_handler.send", 1, skip);
        EXPECT_NE(Touch(peer).find("! send MSG_" + error + " failed."), std::string::npos) << error;
        EXPECT_FALSE(Preparing());
        EXPECT_EQ(Collab().TakeResults().back(), skip == 0 ? -1 : 0);
        Unsubscribe();
    }
}

// The sender's callback goes when nobody wants taps any more and no tap needs it: not earlier, and once.
class TapDeletion : public TapScene {
protected:
    // A tap, step by step; each only asks for what happens later.
    const std::vector<std::function<void()>> steps = {[this] { Collab().Knock(); },
        [this] { Collab().PublishEvent(PeerAnswer().Text()); }, [] { TrellisService::HandleOnMotionState(1, 1, 0); },
        [] { Advance(3000); }, [] { TrellisService::HandleOnMotionState(1, 4, 0); }, [] { Advance(3000); }};

    // Taps are not wanted any more, wanted again, not wanted again. Nothing runs in between: the callback that goes is
    // the one that is wanted again.
    void Change(int times)
    {
        const sptr<IRemoteObject> callback = Collab().KnockObject();
        for (int i = 0; i < times; ++i) {
            i % 2 == 0 ? Unsubscribe() : Subscribe();
            EXPECT_TRUE(i % 2 == 0 || Collab().KnockObject() == callback);
            EXPECT_EQ(TrellisService::GetTapView().senderDeleting, i % 2 == 0);
        }
    }

    void TapWith(size_t point, int changes, uint64_t seed)
    {
        ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime(seed));
        Subscribe();
        const wptr<IRemoteObject> callback = Collab().KnockObject();
        for (size_t step = 0; step < steps.size(); ++step) {
            steps[step]();
            Change(step == point ? changes : 0);
            if (seed % 2 == 0) {
                Settle();
            }
        }
        Skip(EVERY_TIMER_MS);
        EXPECT_EQ(callback.promote() != nullptr, changes == 2);
        Unsubscribe();
        Skip(EVERY_TIMER_MS);
        EXPECT_EQ(callback.promote(), nullptr);
    }
};

TEST_F(TapDeletion, AtEachPointOfATapInEachOrderOfTheQueues)
{
    // The engine's states come to nobody; and with its new time the service has forgotten the client's death.
    for (const char* error : {"motionSenderCb_ nullptr", "vector is empty", "Callback failed!"}) {
        AllowError(error);
    }
    for (size_t point = 0; point < steps.size(); ++point) {
        for (int run = 0; run < 12; ++run) {
            SCOPED_TRACE("point " + std::to_string(point) + " run " + std::to_string(run));
            TapWith(point, 1 + run % 3, static_cast<uint64_t>(run / 3));
        }
    }
}

TEST_F(TapDeletion, WaitsForTheEventThatEndsTheTapUnlessThatOneDeletesNothing)
{
    Subscribe();
    const sptr<IRemoteObject> kept = Collab().KnockObject(); // by the framework, which calls late
    Unsubscribe();
    Settle();
    Subscribe();
    wptr<IRemoteObject> callback = Collab().KnockObject();
    (void)Touch();
    Unsubscribe();
    Engine().Refuse("OnCollabDeviceFound");
    dynamic_cast<Synfold::IServicePublishCallback&>(*kept).OnPublishEvent(
        new Synfold::RequestResultInfo(PeerAnswer().Text()));
    Advance(TIMEOUT_MS - 1); // the tap of the one that is kept has ended, and nothing but it
    EXPECT_NE(callback.promote(), nullptr);
    EXPECT_TRUE(TrellisService::GetTapView().senderDeleting);
    Advance(1);
    EXPECT_EQ(callback.promote(), nullptr);

    Subscribe();
    callback = Collab().KnockObject();
    (void)Touch(PeerAnswer().With("State\":1", "State\":2")); // the peer's switch is off
    Unsubscribe();
    Advance(EVERY_TIMER_MS);
    EXPECT_NE(callback.promote(), nullptr);
    Subscribe();
    EXPECT_EQ(Collab().KnockObject(), callback.promote());

    Host::Faults::Inject("event_handler.send");
    Unsubscribe(); // cannot be told: it goes at once
    EXPECT_EQ(callback.promote(), nullptr);
    Host::Faults::Clear();
    (void)Collab().TakeAsked();
    Collab().Refuse("RequestService", 5);
    EXPECT_FALSE(Service()->RegisterMotionSenderListener());
    Subscribe();
    Subscribe(); // asks once
    EXPECT_EQ(Collab().TakeAsked(), "RequestService 8, RequestService 8");
    EXPECT_NE(Happened().find("! RegisterPublishServiceCallback failed, errCode 5."), std::string::npos);
}

} // namespace
} // namespace OHOS::Pelago
