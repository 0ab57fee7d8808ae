// A peer offers something: what the front end is started with, and how its client follows the sender.

#include <algorithm>

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
    // The client follows, and hears this inside its registration.
    Lines Follow()
    {
        EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
        return client->senderAction->TakeHeard();
    }
    void StopFollowing()
    {
        EXPECT_TRUE((*client)->UnRegisterSenderActionCallback(client->senderAction));
    }
    static bool Folded(uint64_t after)
    {
        auto lines = Host::ReadLog(after);
        return std::any_of(lines.begin(), lines.end(), [](const Host::LogLine& line) {
            return line.text.find("HIDE_DROPDOWN_WINDOW, isSuccess: 1") != std::string::npos;
        });
    }

    sptr<ScriptedReceiver> receiver = new ScriptedReceiver();
};

TEST_F(Receiving, EachEventStartsTheExtensionWithItsOwnKeys)
{
    struct Row {
        std::function<void(PelagoReceiveListener&)> event;
        std::string start;
        bool folds; // the drop-down window
    };
    const RecvPreview preview = Preview();
    const RecvPreview inDropDown = Preview(2);
    const std::string share = "ShareServiceExtension DeviceStatus=true ShareIntent=receive ";
    const std::string info = "previewInfo=info previewInfoSummary=summary ";
    const std::string offer = "notifyType=5 packageInfo=package popUpStrategy=1 previewExtraInfo=extra " + info;
    const std::string sender = " senderName=Ann totalSize=18446744073709551615";
    const std::string swing =
        "SwingReceiveConfirmDialogService count=2 nickName= " + info + "senderName=Ann swingIntent=";
    const Row rows[] = {
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
    for (const Row& row : rows) {
        uint64_t before = Host::LastLogSeq();
        EXPECT_EQ(Tell(row.event), Lines{"start " + row.start});
        EXPECT_EQ(Folded(before), row.folds) << row.start;
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
    EXPECT_TRUE((*client)->GetPreviewData() == preview.previewData_);
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
    EXPECT_FALSE((*client)->RegisterSenderActionCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterSenderActionCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterSenderActionCallback(client->senderAction));
    Offer();
    EXPECT_EQ(Follow(), Lines());
    EXPECT_FALSE((*other)->RegisterSenderActionCallback(other->senderAction));
    (void)Tell([this](auto& listener) {
        listener.OnStatusChanged(-3);
        listener.OnErrorBeforeConfirm(receiver, 9);
        listener.OnSendCancelBeforeConfirm(receiver);
    });
    EXPECT_EQ(client->senderAction->TakeHeard(),
        (Lines{"OnStatusChanged -3", "OnErrorBeforeConfirm 9", "OnSendCancelBeforeConfirm"}));
    EXPECT_EQ(other->senderAction->TakeHeard(), Lines());
    EXPECT_TRUE((*other)->UnRegisterSenderActionCallback(other->senderAction)); // whoever asks
    (void)Tell([this](auto& listener) {
        listener.OnStatusChanged(1);
        listener.OnErrorBeforeConfirm(receiver, 9);
    });
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
    for (bool refusedDies : {false, true}) {
        auto first = NewClient();
        auto second = NewClient();
        EXPECT_TRUE((*first)->RegisterSenderActionCallback(first->senderAction));
        EXPECT_FALSE((*second)->RegisterSenderActionCallback(second->senderAction));
        EXPECT_EQ(TrellisService::GetListSizes().receiveDeathRecipients, refusedDies ? 3U : 2U);
        (refusedDies ? second : first)->Kill();
        Settle();
        EXPECT_FALSE(TrellisService::GetListSizes().senderActionCallback);
        // The entry of the one that was registered goes with it; that of one that was refused stays.
        EXPECT_EQ(TrellisService::GetListSizes().receiveDeathRecipients, refusedDies ? 2U : 1U);
    }
}

TEST_F(Receiving, TheEnginesListenersRefuseAMissingReceiverBeforeThePreviewAndThenThePreview)
{
    struct Row {
        sptr<IRemoteObject> listener;
        std::vector<uint32_t> codes;
        bool withReceiver;
        std::u16string token;
        int result;
    };
    const std::u16string token = PelagoReceiveListener::GetDescriptor();
    const std::u16string transmitToken = ITransmitCallback::GetDescriptor();
    const sptr<IRemoteObject> offers = new SMReceiveCallback();
    const sptr<IRemoteObject> transmit = new SMSendTransmitCallback(Entry("phone"));
    (void)Heard();
    AllowError("failed.", "descriptor is not matched", "ReadStringVector error.");
    for (const Row& row :
        {Row{offers, {2, 3, 4, 5, 6, 7, 11}, false, token, -34}, Row{offers, {2, 3, 6, 11}, true, token, -33},
            Row{offers, {2, 3, 4, 5, 6, 7, 11}, true, transmitToken, -10},
            Row{offers, {0, 12}, true, token, IPC_UNKNOWN_CODE}, Row{transmit, {8}, false, transmitToken, 0},
            Row{transmit, {2}, false, transmitToken, -17}, Row{transmit, {8}, false, token, -10},
            Row{transmit, {0, 13}, false, transmitToken, IPC_UNKNOWN_CODE}}) {
        for (uint32_t code : row.codes) {
            EXPECT_EQ(
                Ask(row.listener, code, row.token,
                    [&](auto& data) { return !row.withReceiver || data.WriteRemoteObject(receiver->AsObject()); }),
                row.result)
                << code;
        }
    }
    EXPECT_EQ(Heard(), Lines());
    EXPECT_EQ(extension->TakeHeard(), Lines());
}

TEST_F(Receiving, TheShareConnectionStandsFromTheRequestAndEndsFromEitherSide)
{
    AllowError("already connection_");
    const Lines connect{"connect ShareServiceExtension ShareIntent=connect"};
    auto heard = [this] {
        Settle();
        return extension->TakeHeard();
    };
    EXPECT_TRUE((*client)->StopConnect()); // nothing to end, and true
    EXPECT_TRUE(Logged("already disConnection_"));
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), connect);
    EXPECT_TRUE((*client)->StopConnect());
    EXPECT_EQ(heard(), Lines{"disconnect ShareServiceExtension ShareIntent=connect"});
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), connect);

    extension->Process().Kill();
    Settle();
    EXPECT_TRUE((*client)->StartConnect()); // nobody there: it counts as standing all the same
    extension = std::make_unique<TestExtension>();
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), Lines());
    EXPECT_TRUE((*client)->StopConnect());
    EXPECT_TRUE((*client)->StartConnect());
    EXPECT_EQ(heard(), connect);
    EXPECT_TRUE((*client)->StopConnect());
    Settle();
}

} // namespace
} // namespace OHOS::Pelago
