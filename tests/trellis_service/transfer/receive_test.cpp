// A peer offers something: what the front end is started with, and how its client follows the sender.

#include "discovery/sm_publish_callback.h"
#include "discovery/sm_subscribe_callback.h"
#include "filled.h"
#include "hilog/host_log.h"
#include "ipc_types.h"
#include "transfer/sm_receive_callback.h"
#include "transfer/sm_send_transmit_callback.h"
#include "transfer_scene.h"

namespace OHOS::Pelago {
namespace {

RecvPreview Preview(int32_t popUpStrategy = 1)
{
    using R = RecvPreview;
    return Filled<R>(&R::senderName_, "Ann", &R::recvType_, 6, &R::fileCounter_, 2, &R::folderCounter_, 3,
        &R::itemTotalSize_, UINT64_MAX, &R::previewData_, "picture", &R::allFileNameData_, "names", &R::previewInfo_,
        "info", &R::previewExtraInfo_, "extra", &R::bytesType_, 4, &R::bytesData_, "bytes", &R::popUpStrategy_,
        popUpStrategy, &R::packageInfo_, "package", &R::transType_, 5, &R::previewInfoSummary_, "summary");
}

class Receiving : public TransferScene {
protected:
    // What the extension is asked for by an event of the engine.
    Lines Tell(const std::function<void(PelagoReceiveListener&)>& event)
    {
        Engine().Tell(event);
        Settle();
        return extension->TakeHeard();
    }
    void Offer(const RecvPreview& preview = Preview())
    {
        EXPECT_EQ(Tell([&](auto& listener) { listener.OnPreviewReceive(receiver, preview); }).size(), 1U);
    }
    void CancelOffer()
    {
        EXPECT_EQ(Tell([&](auto& listener) { listener.OnSendCancelBeforeConfirm(receiver); }), Lines());
    }
    // A client follows, and hears this inside its registration.
    Lines Follow()
    {
        EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
        return client->senderAction->TakeHeard();
    }
    void StopFollowing()
    {
        EXPECT_TRUE((*client)->UnRegisterSenderActionCallback(client->senderAction));
    }

    sptr<ScriptedReceiver> receiver = new ScriptedReceiver();
};

TEST_F(Receiving, EachEventStartsTheExtensionWithItsOwnKeys)
{
    const RecvPreview preview = Preview();
    const RecvPreview inDropDown = Preview(2);
    const std::string share = "ShareServiceExtension DeviceStatus=true ShareIntent=receive ";
    const std::string info = "previewInfo=info previewInfoSummary=summary ";
    const std::string offer = "notifyType=5 packageInfo=package popUpStrategy=1 previewExtraInfo=extra " + info;
    const std::string sender = " senderName=Ann totalSize=18446744073709551615";
    const std::string swing =
        "SwingReceiveConfirmDialogService count=2 nickName= " + info + "senderName=Ann swingIntent=";
    // The event; what is started; whether the drop-down window folds.
    const std::tuple<std::function<void(PelagoReceiveListener&)>, std::string, bool> rows[] = {
        {[&](auto& listener) { listener.OnPreviewReceive(receiver, "image", preview); },
            share + "count=2 " + offer + "sendType=image" + sender, true},
        {[&](auto& listener) { listener.OnPreviewReceive(receiver, preview); },
            share + "allFileNameData=names fileCount=2 folderCount=3 " + offer + "sendType=6" + sender, true},
        {[&](auto& listener) { listener.OnRecvBytesInfo(receiver, "text", inDropDown); },
            share + "bytesData=bytes bytesType=4 notifyType=5 popUpStrategy=2 sendType=text senderName=Ann", false},
        {[](auto& listener) { listener.OnNotSupportReceive(); },
            "PermissionServiceExtension permissionIntent=show_tip uiType=not_support_receive", false},
        {[](auto& listener) { listener.TriggerBindService(); }, "ShareServiceExtension ShareIntent=preStartHap", false},
        {[](auto& listener) { listener.OnSwitchNotifyComponent(4); },
            "ShareServiceExtension ShareIntent=switchNotifyComponent notifyComponent=4", false},
        {[&](auto& listener) { listener.OnPopSwing(receiver, preview, true); }, swing + "swingReceiveConfirm", false},
        {[&](auto& listener) { listener.OnPopSwing(receiver, preview, false); }, swing + "closeSwingReceiveConfirm",
            false},
    };
    for (const auto& [event, start, folds] : rows) {
        uint64_t before = Host::LastLogSeq();
        EXPECT_EQ(Tell(event), Lines{"start " + start});
        const auto lines = Host::ReadLog(before);
        EXPECT_EQ(std::any_of(lines.begin(), lines.end(),
                      [](const auto& line) {
                          return line.text.find("HIDE_DROPDOWN_WINDOW, isSuccess: 1") != std::string::npos;
                      }),
            folds)
            << start;
    }
    EXPECT_EQ(Tell([](auto& listener) { listener.OnMotionState(1, 1, 3); }), Lines());
    EXPECT_TRUE(Logged("trans 1, state 1, code 3"));
}

TEST_F(Receiving, TheExtensionFetchesPreviewAndReceiverOfTheLatestOffer)
{
    AllowError("PreviewData is empty.", "Get preview data failed.", "receiverActionCallback is null",
        "Get receiver action callback failed.");
    EXPECT_EQ((*client)->GetPreviewData(), "");
    EXPECT_EQ((*client)->GetReceiverActionCallback(), nullptr);
    RecvPreview preview = Preview();
    preview.previewData_ = std::string(100000, 'p'); // more than travels inline
    Offer(preview);
    EXPECT_EQ((*client)->GetReceiverActionCallback()->Refuse(7), RECEIVER_OK);
    EXPECT_EQ(receiver->answer, "refuse 7");
    sptr<ScriptedReceiver> next = new ScriptedReceiver();
    (void)Tell([&](auto& listener) { listener.OnPopSwing(next, Preview(), true); });
    EXPECT_EQ((*client)->GetReceiverActionCallback()->Cancel(), RECEIVER_OK);
    EXPECT_EQ(next->answer, "cancel");
    EXPECT_TRUE((*client)->GetPreviewData() == preview.previewData_); // a swing leaves it
}

TEST_F(Receiving, TheClientFollowsTheSenderAndOthersDoNot)
{
    AllowError("already registered.", "already unregistered.", "sender action callback is null.",
        "in RegisterSenderActionCallback!", "in UnRegisterSenderActionCallback!");
    auto other = NewClient();
    const auto happen = [this](PelagoReceiveListener& listener) {
        listener.OnStatusChanged(-3);
        listener.OnErrorBeforeConfirm(receiver, 9);
    };
    EXPECT_FALSE((*client)->RegisterSenderActionCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterSenderActionCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterSenderActionCallback(client->senderAction));
    Offer();
    EXPECT_EQ(Follow(), Lines());
    EXPECT_FALSE((*other)->RegisterSenderActionCallback(other->senderAction));
    (void)Tell(happen);
    CancelOffer();
    EXPECT_EQ(client->senderAction->TakeHeard(),
        (Lines{"OnStatusChanged -3", "OnErrorBeforeConfirm 9", "OnSendCancelBeforeConfirm"}));
    EXPECT_EQ(other->senderAction->TakeHeard(), Lines());
    EXPECT_TRUE((*other)->UnRegisterSenderActionCallback(other->senderAction)); // whoever asks
    (void)Tell(happen);
    EXPECT_EQ(Follow(), Lines()); // lost while nobody was there
}

TEST_F(Receiving, ACancelWaitsForTheClientThatComesLate)
{
    AllowError("sender action callback is null.");
    CancelOffer(); // before any offer: there is no receiver to name
    EXPECT_EQ(Follow(), Lines());
    StopFollowing();
    Offer();
    CancelOffer();
    (void)Tell([this](auto& listener) { listener.OnPopSwing(receiver, Preview(), true); }); // does not forget it
    EXPECT_EQ(Follow(), Lines{"OnSendCancelBeforeConfirm"});
    StopFollowing();
    EXPECT_EQ(Follow(), Lines()); // once
    StopFollowing();
    CancelOffer();
    Offer(); // a new offer
    EXPECT_EQ(Follow(), Lines());
}

TEST_F(Receiving, TheDeathOfEitherRegistrantFreesThePlace)
{
    AllowError("already registered.", "already unregistered.",
        "in UnRegisterSenderActionCallback!"); // a death that finds the place empty
    // The entry of the one that was registered goes with it; that of one that was refused stays.
    for (const auto& [refusedDies, before, after] : {std::tuple(false, 2U, 1U), {true, 3U, 2U}}) {
        auto first = NewClient();
        auto second = NewClient();
        EXPECT_TRUE((*first)->RegisterSenderActionCallback(first->senderAction));
        EXPECT_FALSE((*second)->RegisterSenderActionCallback(second->senderAction));
        EXPECT_EQ(TrellisService::GetListSizes().receiveDeathRecipients, before);
        (refusedDies ? second : first)->Kill();
        Settle();
        EXPECT_FALSE(TrellisService::GetListSizes().senderActionCallback);
        EXPECT_EQ(TrellisService::GetListSizes().receiveDeathRecipients, after);
    }
}

TEST_F(Receiving, TheEnginesListenersRefuseRequestsThatNoEngineOfOursWouldWrite)
{
    using Write = std::function<bool(MessageParcel&)>;
    const Write nothing = [](MessageParcel&) { return true; };
    const Write ours = [this](MessageParcel& data) { return data.WriteRemoteObject(receiver->AsObject()); };
    const Write device = [](MessageParcel& data) { return data.WriteInt32(1) && ShareDevice().WriteToParcel(data); };
    const Write noDevice = [](MessageParcel& data) { return data.WriteInt32(0) && ShareDevice().WriteToParcel(data); };
    const Write half = [](MessageParcel& data) { return data.WriteInt32(1) && data.WriteString("A"); };
    const Write nine = [](MessageParcel& data) { return data.WriteInt32(9); };
    const auto receive = PelagoReceiveListener::GetDescriptor(), transmit = ITransmitCallback::GetDescriptor(),
               subscribe = ISubscribeListener::GetDescriptor(), publish = IPublishListener::GetDescriptor();
    const sptr<IRemoteObject> offers = new SMReceiveCallback(), transfer = new SMSendTransmitCallback(Entry("phone")),
                              peers = new SMSubscribeCallback(), published = new SMPublishCallback();
    const std::tuple<sptr<IRemoteObject>, std::vector<uint32_t>, std::u16string, Write, int> rows[] = {
        {offers, {2, 3, 4, 5, 6, 7, 11}, receive, nothing, -34}, // before the preview is looked at
        {offers, {2, 3, 6, 11}, receive, ours, -33}, {offers, {2, 3, 4, 5, 6, 7, 11}, transmit, ours, -10},
        {offers, {0, 12}, receive, ours, IPC_UNKNOWN_CODE}, {transfer, {8}, transmit, nothing, 0},
        {transfer, {2}, transmit, nothing, -17}, {transfer, {8}, receive, nothing, -10},
        {transfer, {0, 13}, transmit, nothing, IPC_UNKNOWN_CODE}, {peers, {1, 2}, subscribe, noDevice, -16},
        {peers, {1}, subscribe, half, -16}, {peers, {3}, subscribe, nothing, 0}, // numbers are not tested
        {peers, {5, 257}, subscribe, device, IPC_UNKNOWN_CODE}, {peers, {1, 5}, publish, device, -10},
        {published, {1}, subscribe, nothing, -10}, {published, {2}, publish, nothing, IPC_UNKNOWN_CODE},
        {published, {257}, publish, nine, 0}, // the low byte of the code counts
    };
    AllowError("failed.", "descriptor is not matched", "ReadStringVector error.");
    LookAway();
    for (const auto& [listener, codes, token, write, result] : rows) {
        for (uint32_t code : codes) {
            EXPECT_EQ(Ask(listener, code, token, write), result) << code;
        }
    }
    EXPECT_EQ(SMPublishCallback::GetPublishId(), 9);
    EXPECT_EQ(Heard(), Lines());
    EXPECT_EQ(extension->TakeHeard(), Lines());
}

TEST_F(Receiving, TheShareConnectionStandsFromTheRequestAndEndsFromEitherSide)
{
    AllowError("already connection_");
    auto heard = [this] {
        Settle();
        const Lines lines = extension->TakeHeard();
        return lines.empty() ? "" : lines[0].substr(0, lines[0].find(' '));
    };
    EXPECT_TRUE((*client)->StopConnect()); // nothing to end, and true
    EXPECT_TRUE(Logged("already disConnection_"));
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_TRUE((*client)->StartConnect());
    Settle();
    EXPECT_EQ(extension->TakeHeard(), Lines{"connect ShareServiceExtension ShareIntent=connect"});
    EXPECT_TRUE((*client)->StopConnect());
    EXPECT_EQ(heard(), "disconnect");
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), "connect");

    extension->Process().Kill();
    Settle();
    EXPECT_TRUE((*client)->StartConnect()); // nobody there: it counts as standing all the same
    extension = std::make_unique<TestExtension>();
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), "");
    EXPECT_TRUE((*client)->StopConnect());
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), "connect");
}

} // namespace
} // namespace OHOS::Pelago
