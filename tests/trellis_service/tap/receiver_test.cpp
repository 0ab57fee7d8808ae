// The receiving side of a tap.

#include "tap/motion_receiver_callback.h"
#include "tap_scene.h"

namespace OHOS::Pelago {
namespace {

class TapReceiver : public TapScene {
protected:
    static void State(int32_t state, int32_t error = 0, int32_t trans = 1)
    {
        TrellisService::HandleOnMotionReceiverState(trans, state, error);
    }
    static bool Delivering()
    {
        return TrellisService::GetTapView().delivering;
    }
};

TEST_F(TapReceiver, EachEndOfATapComesAtItsTimeAndDoesWhatItsRowSays)
{
    // Whether sharing is on; what happens then, at once; whether a tap is still being delivered; when it ends, and how.
    using Row = std::tuple<const char*, bool, std::function<void()>, const char*, bool, int64_t, const char*>;
    const Row rows[] = {
        {"nothing comes", true, [] {}, "", true, TIMEOUT_MS, "Recv 11; fail 0"},
        {"off", false, [] {}, "", true, ANIMATION_MS, "Recv 11; enable"},
        {"cancelled, and told twice", true, [] { State(0, 5); }, "Recv 11; fail 5", false, TIMEOUT_MS,
            "Recv 11; fail 0"},
        {"cancelled by 2", true, [] { State(2, 6); }, "Recv 11; fail 6", false, TIMEOUT_MS, "Recv 11; fail 0"},
        {"data arrive", true, [] { State(1); }, "", true, TIMEOUT_MS, ""},
        {"finished, and watched on", true, [] { State(3); }, "", false, TIMEOUT_MS, "Recv 11; fail 0"},
        {"meaningless", true, [] { State(1), State(4); }, "! Invalid nudge state.", true, TIMEOUT_MS, ""},
        {"a swing's failure", true, [] { State(0, 5, 2); }, "Swing_CorvaneShare 8; fail 5", true, TIMEOUT_MS,
            "Recv 11; fail 0"},
    };
    for (const auto& [name, localOn, then, atOnce, delivering, delayMs, later] : rows) {
        SCOPED_TRACE(name);
        SwitchSharing(localOn);
        EXPECT_EQ(Deliver(Delivery()), "Recv 2; GetNudgePublishInfo");
        then();
        EXPECT_EQ(Happened(), atOnce);
        EXPECT_EQ(Delivering(), delivering);
        EXPECT_EQ(HappensAt(delayMs), later);
        State(3);
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
    EXPECT_EQ(Happened(), "Recv 2; GetNudgePublishInfo; ! Is delivering, do not process new OnDeliver.");
    Collab().Refuse("RequestServiceByParam", 4);
    EXPECT_EQ(
        Deliver(Delivery()), "! Is delivering, do not process new OnDeliver.; ! ReplyShareBusy failed, result 4.");
}

TEST_F(TapReceiver, AReplyThatFailsIsNoTap)
{
    Engine().Refuse("GetNudgePublishInfo");
    EXPECT_EQ(
        Deliver(Delivery()), "GetNudgePublishInfo; ! GetNudgePublishInfo failed.; ! Get nudge publishInfo failed.");
    Collab().Refuse("RequestServiceByParam", 4);
    EXPECT_EQ(Deliver(Delivery()), "GetNudgePublishInfo; ! ReplyAction failed, result 4.");
    EXPECT_FALSE(Delivering());
    Host::Faults::Inject("event_handler.send", 1, 1);
    EXPECT_EQ(Deliver(Delivery()), "Recv 2; GetNudgePublishInfo; ! send MSG_NUDGE_MOTION_TIMEOUT failed.");
    EXPECT_FALSE(Delivering());
    Host::Faults::Clear();
}

TEST_F(TapReceiver, TextsFromOutsideHaveTheToldResultsAndNoOther)
{
    const char* const NOT_OURS = "! ServiceId  invalid, no need handle.; ! CheckNudgeServiceCode failed.";
    // The text; the result; what happens at once, and after two seconds.
    const std::tuple<std::string, int32_t, const char*, const char*> rows[] = {
        {"", -1, "! basicInfo empty.", ""},
        {"{oops", -1, "! cJSON_Parse error:ops\n", ""},
        {R"([{"notifyInfo":1}])", 0, NOT_OURS, ""},
        {R"({"notifyInfo":1})", 0, "", "fail 1203"},
        {R"({"notifyInfo":3,"notifyInfo":1})", 0, "", "fail 1221"}, // of two members the first counts
        {R"({"serviceId":"sender","notifyInfo":2})", 0,
            "! Invalid notifyInfo 2; ! ServiceId sender invalid, no need handle.; ! CheckNudgeServiceCode failed.", ""},
        {Delivery(R"("notifyInfo":1e99)"), 0,
            "! Invalid notifyInfo 2147483647; ! collab OnDeliver not carried actionId.", ""},
        {R"({"serviceId":1,"actionId":7})", 0, NOT_OURS, ""},
        {Delivery(R"("actionId":"7")"), 0, "! collab OnDeliver not carried actionId.", ""},
    };
    for (const auto& [text, result, atOnce, later] : rows) {
        EXPECT_EQ(Deliver(text), atOnce) << text;
        EXPECT_EQ(Collab().TakeResults(), std::vector<int32_t>{result}) << text;
        EXPECT_EQ(HappensAt(2000), later) << text;
    }
    EXPECT_EQ(Collab().TakeReplies(), Lines());

    const sptr<MotionReceiverCallback> receiver = new MotionReceiverCallback(Service());
    EXPECT_EQ(receiver->OnDeliver(Delivery()), -1);
    receiver->Init();
    EXPECT_EQ(receiver->OnDeliver(Delivery("\"x\":\"" + std::string(1 << 20, 'x') + "\"")), 0); // no parcel's length
    EXPECT_EQ(Happened(), "! motionEventHandler_ nullptr.; ! collab OnDeliver not carried actionId.");
}

} // namespace
} // namespace OHOS::Pelago
