// A peer offers something: what the front end is started with, and how its client follows the sender.

#include <algorithm>

#include "hilog/host_log.h"
#include "ipc_types.h"
#include "transfer/sm_receive_callback.h"
#include "transfer_scene.h"

namespace OHOS::Pelago {
namespace {

RecvPreview Preview(int32_t popUpStrategy = 1)
{
    RecvPreview preview;
    preview.senderName_ = "Ann";
    preview.recvType_ = 6;
    preview.fileCounter_ = 2;
    preview.folderCounter_ = 3;
    preview.itemTotalSize_ = UINT64_MAX;
    preview.previewData_ = "picture";
    preview.allFileNameData_ = "names";
    preview.previewInfo_ = "info";
    preview.previewExtraInfo_ = "extra";
    preview.bytesType_ = 4;
    preview.bytesData_ = "bytes";
    preview.popUpStrategy_ = popUpStrategy;
    preview.packageInfo_ = "package";
    preview.transType_ = 5;
    preview.previewInfoSummary_ = "summary";
    return preview;
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
    static Lines CancelHeard()
    {
        return {"OnSendCancelBeforeConfirm"};
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
        const char* name;
        std::function<void(PelagoReceiveListener&)> event;
        const char* start;
        bool folds; // the drop-down window
    };
    const RecvPreview preview = Preview();
    const RecvPreview inDropDown = Preview(2);
    const Row rows[] = {
        {"2", [&](auto& listener) { listener.OnPreviewReceive(receiver, "image", preview); },
            "start ShareServiceExtension DeviceStatus=true ShareIntent=receive count=2 notifyType=5 "
            "packageInfo=package "
            "popUpStrategy=1 previewExtraInfo=extra previewInfo=info previewInfoSummary=summary sendType=image "
            "senderName=Ann totalSize=18446744073709551615",
            true},
        {"3", [&](auto& listener) { listener.OnPreviewReceive(receiver, preview); },
            "start ShareServiceExtension DeviceStatus=true ShareIntent=receive allFileNameData=names fileCount=2 "
            "folderCount=3 notifyType=5 packageInfo=package popUpStrategy=1 previewExtraInfo=extra previewInfo=info "
            "previewInfoSummary=summary sendType=6 senderName=Ann totalSize=18446744073709551615",
            true},
        {"6", [&](auto& listener) { listener.OnRecvBytesInfo(receiver, "text", inDropDown); },
            "start ShareServiceExtension DeviceStatus=true ShareIntent=receive bytesData=bytes bytesType=4 "
            "notifyType=5 "
            "popUpStrategy=2 sendType=text senderName=Ann",
            false},
        {"7", [](auto& listener) { listener.OnNotSupportReceive(); },
            "start PermissionServiceExtension permissionIntent=show_tip uiType=not_support_receive", false},
        {"8", [](auto& listener) { listener.TriggerBindService(); },
            "start ShareServiceExtension ShareIntent=preStartHap", false},
        {"9", [](auto& listener) { listener.OnSwitchNotifyComponent(4); },
            "start ShareServiceExtension ShareIntent=switchNotifyComponent notifyComponent=4", false},
        {"11", [&](auto& listener) { listener.OnPopSwing(receiver, preview, true); },
            "start SwingReceiveConfirmDialogService count=2 nickName= previewInfo=info previewInfoSummary=summary "
            "senderName=Ann swingIntent=swingReceiveConfirm",
            false},
        {"11, over", [&](auto& listener) { listener.OnPopSwing(receiver, preview, false); },
            "start SwingReceiveConfirmDialogService count=2 nickName= previewInfo=info previewInfoSummary=summary "
            "senderName=Ann swingIntent=closeSwingReceiveConfirm",
            false},
    };
    for (const Row& row : rows) {
        uint64_t before = Host::LastLogSeq();
        EXPECT_EQ(Tell(row.event), Lines{row.start}) << row.name;
        EXPECT_EQ(Folded(before), row.folds) << row.name;
    }
    EXPECT_EQ(Tell([](auto& listener) { listener.OnMotionState(1, 1, 3); }), Lines());
    EXPECT_TRUE(Logged("trans 1, state 1, code 3"));
}

TEST_F(Receiving, TheExtensionFetchesPreviewAndReceiverOfTheLatestOffer)
{
    AllowError("PreviewData is empty.");
    AllowError("Get preview data failed.");
    AllowError("receiverActionCallback is null");
    AllowError("Get receiver action callback failed.");
    EXPECT_EQ((*client)->GetPreviewData(), "");
    EXPECT_EQ((*client)->GetReceiverActionCallback(), nullptr);
    RecvPreview preview = Preview();
    preview.previewData_ = std::string(100000, 'p'); // more than travels inline
    Offer(preview);
    EXPECT_EQ((*client)->GetPreviewData(), preview.previewData_);
    EXPECT_EQ((*client)->GetPreviewData(), preview.previewData_); // it stays
    EXPECT_EQ((*client)->GetReceiverActionCallback()->Refuse(7), RECEIVER_OK);
    EXPECT_EQ(receiver->answer, "refuse 7");

    sptr<ScriptedReceiver> next = new ScriptedReceiver();
    (void)Tell([&](auto& listener) { listener.OnPopSwing(next, Preview(), true); });
    EXPECT_EQ((*client)->GetReceiverActionCallback()->Cancel(), RECEIVER_OK);
    EXPECT_EQ(next->answer, "cancel");
    EXPECT_EQ((*client)->GetPreviewData(), preview.previewData_); // a swing leaves it
}

TEST_F(Receiving, TheClientFollowsTheSenderAndOthersDoNot)
{
    AllowError("already registered.");
    AllowError("already unregistered.");
    AllowError("sender action callback is null.");
    AllowError("in RegisterSenderActionCallback!");
    AllowError("in UnRegisterSenderActionCallback!");
    auto other = NewClient();
    EXPECT_FALSE((*client)->RegisterSenderActionCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterSenderActionCallback(nullptr));
    EXPECT_FALSE((*client)->UnRegisterSenderActionCallback(client->senderAction));
    Offer();
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
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
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
    EXPECT_EQ(client->senderAction->TakeHeard(), Lines()); // lost while nobody was there
}

TEST_F(Receiving, ACancelWaitsForTheClientThatComesLate)
{
    AllowError("sender action callback is null.");
    CancelOffer(); // before any offer: there is no receiver to name
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
    EXPECT_EQ(client->senderAction->TakeHeard(), Lines());
    EXPECT_TRUE((*client)->UnRegisterSenderActionCallback(client->senderAction));

    Offer();
    CancelOffer();
    (void)Tell([this](auto& listener) { listener.OnPopSwing(receiver, Preview(), true); }); // does not forget it
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
    EXPECT_EQ(client->senderAction->TakeHeard(), CancelHeard()); // inside the registration
    EXPECT_TRUE((*client)->UnRegisterSenderActionCallback(client->senderAction));
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
    EXPECT_EQ(client->senderAction->TakeHeard(), Lines()); // once
    EXPECT_TRUE((*client)->UnRegisterSenderActionCallback(client->senderAction));

    CancelOffer();
    Offer(); // a new offer
    EXPECT_TRUE((*client)->RegisterSenderActionCallback(client->senderAction));
    EXPECT_EQ(client->senderAction->TakeHeard(), Lines());
}

TEST_F(Receiving, TheDeathOfEitherRegistrantFreesThePlace)
{
    AllowError("already registered.");
    AllowError("already unregistered.");
    AllowError("in UnRegisterSenderActionCallback!"); // a death that finds the place empty
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

TEST_F(Receiving, TheListenerRefusesAMissingReceiverBeforeThePreviewAndThenThePreview)
{
    sptr<SMReceiveCallback> listener = new SMReceiveCallback();
    AllowError("failed."); // the record's own words
    AllowError("SMReceiveListenerStub::OnRemoteRequest failed, descriptor is not matched");
    auto request = [&](uint32_t code, bool withReceiver, const std::u16string& token) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        EXPECT_TRUE(data.WriteInterfaceToken(token));
        EXPECT_TRUE(!withReceiver || data.WriteRemoteObject(receiver->AsObject()));
        return listener->SendRequest(code, data, reply, option);
    };
    const std::u16string token = PelagoReceiveListener::GetDescriptor();
    for (uint32_t code : {2U, 3U, 4U, 5U, 6U, 7U, 11U}) {
        EXPECT_EQ(request(code, false, token), -34) << code;
        EXPECT_EQ(request(code, true, u"ohos.pelago.PelagoReceive"), -10) << code;
    }
    for (uint32_t code : {2U, 3U, 6U, 11U}) {
        EXPECT_EQ(request(code, true, token), -33) << code;
    }
    for (uint32_t code : {0U, 12U}) {
        EXPECT_EQ(request(code, true, token), IPC_UNKNOWN_CODE) << code;
    }
    Settle();
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
