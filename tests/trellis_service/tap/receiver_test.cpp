// The receiving side of a tap.

#include "tap/motion_receiver_callback.h"
#include "tap_scene.h"

namespace OHOS::Pelago {
namespace {

class TapReceiver : public TapScene {
protected:
    static void State(int32_t state, int32_t error)
    {
        TrellisService::HandleOnMotionReceiverState(1, state, error);
    }
    static bool Delivering()
    {
        return TrellisService::GetTapView().delivering;
    }
};

const char* const REPLIES = "Recv 2; GetNudgePublishInfo";

TEST_F(TapReceiver, EachEndOfATapComesAtItsTimeAndDoesWhatItsRowSays)
{
    struct Row {
        const char* name;
        bool localOn;
        std::function<void()> then;
        const char* atOnce;
        bool delivering;
        int64_t delayMs;
        const char* later;
    };
    const Row rows[] = {
        {"nothing comes", true, [] {}, "", true, 6000, "Recv 11; fail 0"},
        {"off", false, [] {}, "", true, 1500, "Recv 11; enable"},
        {"cancelled, and told twice", true, [] { State(0, 5); }, "Recv 11; fail 5", false, 6000, "Recv 11; fail 0"},
        {"cancelled by 2", true, [] { State(2, 6); }, "Recv 11; fail 6", false, 6000, "Recv 11; fail 0"},
        {"data arrive", true, [] { State(1, 0); }, "", true, 6000, ""},
        {"finished, and watched on", true, [] { State(3, 0); }, "", false, 6000, "Recv 11; fail 0"},
        {"meaningless states", true, [] { State(1, 0), State(4, 0), State(-1, 0); },
            "! Invalid nudge state.; ! Invalid nudge state.", true, 6000, ""},
        {"a swing's failure", true, [] { TrellisService::HandleOnMotionReceiverState(2, 0, 5); },
            "Swing_CorvaneShare 8; fail 5", true, 6000, "Recv 11; fail 0"},
        {"a passive off", true, [] { Service()->ClearNudgePendingFlag(); }, "", false, 6000, "Recv 11; fail 0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        SwitchSharing(row.localOn);
        Collab().Deliver(Delivery());
        EXPECT_EQ(Happened(), REPLIES);
        row.then();
        EXPECT_EQ(Happened(), row.atOnce);
        EXPECT_EQ(Delivering(), row.delivering);
        EXPECT_EQ(HappensAt(row.delayMs), row.later);
        State(3, 0);
        SwitchSharing(true);
    }
}

TEST_F(TapReceiver, RepliesWithWhatTheEngineTellsAndIsBusyDuringATap)
{
    Collab().Deliver(Delivery(R"("actionId":-3,"concurrentId":"tap1")"));
    Collab().Deliver(Delivery(R"("actionId":8)"));
    Settle();
    EXPECT_EQ(Collab().TakeReplies(),
        (Lines{"{\n\t\"serviceCode\":\t9,\n\t\"concurrentId\":\t\"tap1\",\n\t\"actionId\":\t-3,\n\t\"shareState\":\t1,"
               "\n\t\"custData\":\t\"nudge\"\n}",
            "{\n\t\"serviceCode\":\t9,\n\t\"actionId\":\t8,\n\t\"custData\":\t\"{\\\"shareBusy\\\":1}\"\n}"}));
    EXPECT_EQ(Collab().TakeStates().at(0).extraInfo,
        "{\n\t\"isUiEnable\":\ttrue,\n\t\"role\":\t2,\n\t\"type\":\t2,\n\t\"deviceType\":\t14\n}");
    EXPECT_EQ(Happened(), "GetNudgePublishInfo; ! Is delivering, do not process new OnDeliver.");
    Collab().Refuse("RequestServiceByParam", 4);
    Collab().Deliver(Delivery());
    EXPECT_EQ(Happened(), "! Is delivering, do not process new OnDeliver.; ! ReplyShareBusy failed, result 4.");
}

TEST_F(TapReceiver, AReplyThatFailsIsNoTap)
{
    Engine().Refuse("GetNudgePublishInfo");
    Collab().Deliver(Delivery());
    EXPECT_EQ(Happened(), "GetNudgePublishInfo; ! GetNudgePublishInfo failed.; ! Get nudge publishInfo failed.");
    Collab().Refuse("RequestServiceByParam", 4);
    Collab().Deliver(Delivery());
    EXPECT_EQ(Happened(), "GetNudgePublishInfo; ! ReplyAction failed, result 4.");
    EXPECT_FALSE(Delivering());
    Host::Faults::Inject("event_handler.send", 1, 1);
    Collab().Deliver(Delivery());
    EXPECT_EQ(Happened(), "Recv 2; GetNudgePublishInfo; ! send MSG_NUDGE_MOTION_TIMEOUT failed.");
    EXPECT_FALSE(Delivering());
    Host::Faults::Clear();
}

TEST_F(TapReceiver, TextsFromOutsideHaveTheToldResultsAndNoOther)
{
    struct Row {
        std::string text;
        int32_t result;
        const char* atOnce;
        const char* after2000;
    };
    const char* const NOT_OURS = "! ServiceId  invalid, no need handle.; ! CheckNudgeServiceCode failed.";
    const char* const NO_ACTION = "! collab OnDeliver not carried actionId.";
    const Row rows[] = {
        {"", -1, "! basicInfo empty.", ""},
        {"{oops", -1, "! cJSON_Parse error:ops\n", ""},
        {R"([{"notifyInfo":1}])", 0, NOT_OURS, ""},
        {R"({"notifyInfo":1})", 0, "", "fail 1203"},
        {R"({"notifyInfo":3,"notifyInfo":1})", 0, "", "fail 1221"}, // of two members the first counts
        {R"({"notifyInfo":"1"})", 0, NOT_OURS, ""},
        {Delivery(R"("notifyInfo":2)"), 0, "! Invalid notifyInfo 2; ! collab OnDeliver not carried actionId.", ""},
        {Delivery(R"("notifyInfo":1e99)"), 0,
            "! Invalid notifyInfo 2147483647; ! collab OnDeliver not carried actionId.", ""},
        {R"({"serviceId":1,"actionId":7})", 0, NOT_OURS, ""},
        {R"({"serviceId":"pelago.receiver","actionId":7})", 0,
            "! ServiceId pelago.receiver invalid, no need handle.; ! CheckNudgeServiceCode failed.", ""},
        {Delivery(R"("actionId":"7")"), 0, NO_ACTION, ""},
    };
    for (const Row& row : rows) {
        Collab().Deliver(row.text);
        EXPECT_EQ(Happened(), row.atOnce) << row.text;
        EXPECT_EQ(Collab().TakeResults(), std::vector<int32_t>{row.result}) << row.text;
        EXPECT_EQ(HappensAt(2000), row.after2000) << row.text;
    }
    EXPECT_EQ(Collab().TakeReplies(), Lines());

    const sptr<MotionReceiverCallback> receiver = new MotionReceiverCallback(Service());
    EXPECT_EQ(receiver->OnDeliver(Delivery()), -1);
    receiver->Init();
    EXPECT_EQ(receiver->OnDeliver(Delivery("\"x\":\"" + std::string(1 << 20, 'x') + "\"")), 0); // no parcel's length
    EXPECT_EQ(Happened(), "! motionEventHandler_ nullptr.; ! collab OnDeliver not carried actionId.");
    EXPECT_EQ(receiver->OnDeliver(std::string(1 << 20, '[')), -1);
}

} // namespace
} // namespace OHOS::Pelago
