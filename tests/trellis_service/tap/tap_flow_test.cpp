// A tap from the first touch to the end of the transfer, with the application and the engine on both sides of the
// service.

#include "tap_scene.h"

namespace OHOS::Pelago {
namespace {

class Tap : public TapScene {
protected:
    bool Send()
    {
        BytesInfo bytes;
        bytes.bytesTitle = "note";
        return (*client)->SendBytes(app->lastDevice, bytes);
    }
    void State(int32_t state)
    {
        Engine().Report("phone", [state](ITransmitCallback& transfer) { transfer.OnMotionState(1, state, 0); });
        Settle();
    }
};

TEST_F(Tap, LeadsFromTheTouchToTheApplicationAndTheTransfer)
{
    Subscribe();
    Touch();
    EXPECT_EQ(Collab().TakeResults(), (std::vector<int32_t>{1, 0})); // one application wants it; the answer was taken
    EXPECT_EQ(app->lastDevice.discoveredBy, Discoverer::TAP);
    EXPECT_TRUE(Send());
    ASSERT_NE(Engine().TransferTo("phone"), nullptr);
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::TAP);
    (void)Happened();
    State(1);
    EXPECT_EQ(Happened(), "radar Sender::OnNudgeContinue 502 1 - 0 tap1");
    State(4);
    LetPass();
    EXPECT_EQ(Happened(), "");
    EXPECT_FALSE(TrellisService::GetTapView().preparing);
    EXPECT_FALSE(Send()); // a found report counts once
}

TEST_F(Tap, ThatNoApplicationWantsFailsWithItsError)
{
    EXPECT_TRUE((*client)->UnregisterShareEventCallback(2, -1));
    Subscribe(); // the framework was on its way already
    Touch();
    EXPECT_EQ(Collab().TakeResults(), (std::vector<int32_t>{0, 0}));
    (void)Happened();
    EXPECT_EQ(HappensAt(1500), "Send 11; fail 1203");
}

TEST_F(Tap, WithoutProgressIsCancelledWithItsTransfer)
{
    Subscribe();
    Touch();
    EXPECT_TRUE(Send());
    (void)Happened();
    EXPECT_EQ(HappensAt(6000), "Send 11; fail 0; radar Sender::NudgeMotionTimeout 502 2 2 445317121 tap1; "
                               "OnCancel phone; ClearDiscovererFlag phone 2; Cancel phone");
    EXPECT_EQ(client->callback->lastDevice.deviceState, DeviceState::CANCELLED);
    EXPECT_TRUE((*client)->GetSendingUserList().empty());
}

} // namespace
} // namespace OHOS::Pelago
