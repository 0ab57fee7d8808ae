// A client sends to the entry that it sees; what the engine is asked, and what everybody hears.

#include "hilog/host_log.h"
#include "ipc_types.h"
#include "transfer/sm_send_transmit_callback.h"
#include "transfer_scene.h"

namespace OHOS::Pelago {
namespace {

class Sending : public TransferScene {
protected:
    static std::string Change(const std::string& id, int event, int value, int stamp, int state, int percent)
    {
        return "OnTransStateChange " + id + " event=" + std::to_string(event) + " value=" + std::to_string(value) +
               " stamp=" + std::to_string(stamp) + " state=" + std::to_string(state) +
               " percent=" + std::to_string(percent);
    }
};

TEST_F(Sending, ToOneDeviceTellsItsStoryFromTheAnnouncementToTheEnd)
{
    Find({"phone"});
    EXPECT_TRUE((*client)->PrepareSend(Entry("phone")));
    EXPECT_EQ(Heard(), Lines()); // the list tells
    EXPECT_EQ((*client)->GetAllUserList()[0].deviceState, DeviceState::PREPARED);
    BytesInfo bytes;
    bytes.bytesTitle = "note";
    EXPECT_TRUE((*client)->SendBytes(Entry("phone"), bytes));
    EXPECT_EQ(Heard(), (Lines{"OnSendBytes phone title=note", Change("phone", 1, 0, 0, 108, 0)}));
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes phone");
    EXPECT_EQ(Records(), (std::vector<size_t>{1, 1, 1}));

    EXPECT_EQ(Progress("phone", 40), Lines{Change("phone", 2, 40, 1, 103, 40)});
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnSpeed(9); }), Lines{Change("phone", 11, 9, 2, 103, 40)});
    EXPECT_EQ(CacheMapManager::ChangeToShareDeviceInfo(Entry("phone")).speed, 9);
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnTotalFileLength(77); }),
        Lines{Change("phone", 11, 77, 3, 103, 40)}); // under the entry's last event
    EXPECT_EQ(StateOf("phone"), "7/108");            // the state of the start comes back
    EXPECT_EQ(Progress("phone", -1), Lines{Change("phone", 2, -1, 4, 103, 40)});
    EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->percent, -1);
    EXPECT_EQ(CacheMapManager::GetSendingDevice("phone")->percent, 40);
    EXPECT_EQ(Success("phone"), Lines{Change("phone", 3, 0, 5, 107, 40)});
    EXPECT_EQ(StateOf("phone"), "3/107");
    EXPECT_EQ(Records(), NoRecords());
    EXPECT_EQ(Engine().TakeAsked(), "");
    EXPECT_EQ(Status("phone", 1004), Lines{Change("phone", 4, 1004, 6, 102, 40)}); // late, and harmless
}

TEST_F(Sending, EndsByAStatusOnlyInTheStatesThatEnd)
{
    struct Row {
        int status;
        int state;
        bool ends;
    };
    Find({"phone"});
    AllowError("invalid status!");
    for (const Row& row : {Row{1004, 102, false}, Row{1009, 104, true}, Row{1007, 105, true}, Row{1013, 109, true},
             Row{1008, 110, true}, Row{1012, 111, false}, Row{1014, 112, true}, Row{2008, 113, true},
             Row{1017, 114, true}, Row{1019, 115, true}, Row{1018, 116, false}, Row{1001, 117, false}}) {
        ASSERT_TRUE(SendText("phone")) << row.status;
        EXPECT_EQ(Status("phone", row.status), Lines{Change("phone", 4, row.status, 1, row.state, 0)});
        EXPECT_EQ(StateOf("phone"), "4/" + std::to_string(row.state));
        EXPECT_EQ(Records() == NoRecords(), row.ends) << row.status;
        if (!row.ends) {
            (void)Error("phone", 5);
        }
    }
    EXPECT_EQ(Engine().TakeAsked().find("Cancel"), std::string::npos); // there was nobody else
}

TEST_F(Sending, ToAContactIsWonByTheFirstThatReceives)
{
    Find({"a", "b", "c"}, 42);
    EXPECT_TRUE(SendText("42"));
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a, SendBytes b, SendBytes c");
    EXPECT_EQ(Progress("b", 10), Lines{Change("42", 2, 10, 1, 103, 10)});
    EXPECT_EQ(Engine().TakeAsked(), "Cancel a, Cancel c");
    EXPECT_EQ(StateOf("a") + StateOf("b") + StateOf("c"), "6/1052/1036/105");
    EXPECT_EQ(EntryState("a"), "2/103"); // the entry follows the winner
    EXPECT_EQ(Records(), (std::vector<size_t>{1, 1, 1}));
    (void)Progress("b", 20);
    EXPECT_EQ(Engine().TakeAsked(), "");
    EXPECT_EQ(Status("a", 1007).size(), 1U); // the last word of a cancelled one
    (void)Success("b");
    EXPECT_EQ(Records(), NoRecords());

    EXPECT_TRUE(SendText("42")); // a new send is decided anew
    (void)Report("c", [](auto& transfer) { transfer.OnSpeed(1); });
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a, SendBytes b, SendBytes c, Cancel a, Cancel b");
    (void)Error("c", 5);
    EXPECT_TRUE(SendAgain("42")); // not prepared: it inherits the decision, and runs to all
    (void)Progress("a", 1);
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a, SendBytes b, SendBytes c");
    EXPECT_TRUE((*client)->Cancel(Entry("42")));
}

TEST_F(Sending, ToAContactEndsForAllWhenOneRefusesAndFailsWhenAllFail)
{
    Find({"a", "b"}, 42);
    for (int status : {1009, 1008}) {
        EXPECT_TRUE(SendText("42"));
        (void)Status("a", status);
        EXPECT_EQ(Engine().TakeAsked(), "SendBytes a, SendBytes b, Cancel b");
        EXPECT_EQ(Records(), NoRecords());
        EXPECT_EQ(StateOf("b"), "6/105");
        EXPECT_EQ(EntryState("a"), "4/" + std::to_string(status == 1009 ? 104 : 110));
    }
    EXPECT_TRUE(SendText("42"));
    EXPECT_EQ(Error("a", 5), Lines{Change("42", 1, 5, 1, 108, 0)}); // the other may still take it
    EXPECT_EQ(Error("b", 5), Lines{Change("42", 5, 5, 1, 106, 0)});
    EXPECT_EQ(Records(), NoRecords());
}

TEST_F(Sending, ACancelTellsFirstAndAnswersWhetherATransferWasThere)
{
    AllowError("GetShareDeviceInfoList, size==0"); // nobody's
    AllowError("cancelDtcpSender is not found, cancel fail");
    Find({"a", "b"}, 42);
    EXPECT_TRUE((*client)->PrepareSend(Entry("42")));
    EXPECT_FALSE((*client)->Cancel(Entry("42"))); // prepared only
    EXPECT_EQ(Heard(), Lines{"OnCancel 42"});
    EXPECT_EQ(StateOf("a") + EntryState("b"), "6/1056/105");
    EXPECT_EQ(Records(), NoRecords());

    EXPECT_TRUE(SendText("42"));
    (void)Error("a", 5);
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*client)->Cancel(Entry("42"))); // one of two is left
    EXPECT_EQ(Engine().TakeAsked(), "Cancel b");
    EXPECT_TRUE(SendText("42"));
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*client)->Cancel(Entry("42")));
    EXPECT_EQ(Engine().TakeAsked(), "Cancel a, Cancel b");
    EXPECT_EQ(Records(), NoRecords());
    (void)Heard();
    EXPECT_FALSE((*client)->Cancel(Entry("42"))); // a second time
    EXPECT_FALSE((*client)->Cancel(Entry("nobody")));
    EXPECT_EQ(Heard(), (Lines{"OnCancel 42", "OnCancel nobody"}));
}

TEST_F(Sending, ABusyMemberStopsTheRequestAndNobodyElse)
{
    AllowError("GetShareDeviceInfoList, size==0"); // nobody's
    Find({"a", "b"}, 42);
    EXPECT_TRUE(SendText("42"));
    (void)Error("a", 5);
    (void)Engine().TakeJournal();
    AllowError("SendBytes() failed sender is exited");
    AllowError("InsertToBytesInfoMap failed"); // the older request of the busy one stays
    BytesInfo bytes;
    bytes.bytesTitle = "second";
    (void)Heard();
    EXPECT_FALSE((*client)->SendBytes(Entry("42"), bytes));
    EXPECT_EQ(Heard()[0], "OnSendBytes 42 title=second"); // told before anything is looked at
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a");
    EXPECT_TRUE(CacheMapManager::GetByteBean("b", bytes));
    EXPECT_EQ(bytes.bytesTitle, "note");
    EXPECT_TRUE((*client)->Cancel(Entry("42")));

    EXPECT_TRUE(SendAgain("nobody"));
    Engine().Refuse("SendBytes");
    AllowError("SendBytes fail");
    Find({"phone"});
    EXPECT_TRUE(SendText("phone")); // the engine tells of its refusal by a report that this one never makes
    EXPECT_EQ(Records(), (std::vector<size_t>{1, 1, 0}));
}

TEST_F(Sending, ALostDeviceLeavesWithTheEndOfItsSend)
{
    AllowError("UpateToAllDeviceMap() not found");             // a lost one's last report
    AllowError("RemoveFromMergeDeviceMap, 2 or more devices"); // one stays
    JoinHub();
    Find({"phone"});
    EXPECT_TRUE(SendText("phone"));
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnRelease("phone", false); }), Lines());
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnRelease("phone", true); }), Lines());
    (void)hub->TakeHeard();
    EXPECT_EQ(Success("phone"), (Lines{Change("phone", 3, 0, 1, 107, 0), "OnDeviceLost phone"}));
    EXPECT_EQ(hub->TakeHeard(), Lines{Change("phone", 3, 0, 1, 107, 0)}); // a hub does not hear the loss here
    EXPECT_TRUE((*client)->GetAllUserList().empty());
    EXPECT_EQ(Records(), NoRecords());

    Find({"phone"});
    EXPECT_TRUE(SendText("phone"));
    Engine().Lost(Peer("phone"));
    Find({"phone"}); // and is back
    EXPECT_EQ(Success("phone"), Lines{Change("phone", 3, 0, 1, 107, 0)});

    Find({"a", "b"}, 42);
    EXPECT_TRUE(SendText("42"));
    Engine().Lost(Peer("a", 42, "Ann"));
    EXPECT_EQ(Heard(), Lines());
    EXPECT_EQ(Error("a", 5).size(), 1U); // one of two leaves without a word
    EXPECT_EQ((*client)->GetAllUserList().size(), 2U);
    EXPECT_EQ(Error("b", 5), Lines{Change("42", 5, 5, 1, 106, 0)});
}

TEST_F(Sending, AContactIsReportedOnceForFilesAndNeverForTheRest)
{
    auto reports = [this](const std::string& entry, bool files) {
        size_t before = Telemetry().size();
        SendBean bean;
        DataBean uris;
        EXPECT_TRUE(
            files ? (*client)->Send(Entry(entry), bean, "app") : (*client)->SendFile(Entry(entry), uris, "app"));
        auto events = Telemetry();
        (void)(*client)->Cancel(Entry(entry));
        return std::vector<std::string>(events.begin() + static_cast<std::ptrdiff_t>(before), events.end());
    };
    Find({"phone"});
    Find({"a", "b"}, 42);
    Find({"c"}, -3); // merges, and is nobody's contact
    EXPECT_EQ(reports("phone", true).size() + reports("-3", true).size() + reports("42", false).size(), 0U);
    auto events = reports("42", true);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_NE(events[0].find("\"STAGE_RES\":0"), std::string::npos) << events[0];
    EXPECT_NE(events[1].find("\"STAGE_RES\":1"), std::string::npos) << events[1];
    EXPECT_NE(events[1].find(":2"), std::string::npos);
}

TEST_F(Sending, AGestureSendTakesTheRoadOfOneDevice)
{
    ShareDevice device = Peer("phone", 42, "Ann");
    device.discoveredBy_ = Discoverer::SWING;
    Engine().Found(device);
    Engine().Found(Peer("tablet", 42, "Ann"));
    Settle();
    AllowError("Discoverer not contain swing");
    AllowError("CheckAndClearDeviceDiscoveredByFlag");
    (void)Engine().TakeJournal();
    DataBean uris;
    EXPECT_TRUE((*client)->SendFile(Entry("phone", Discoverer::SWING), uris, "app"));
    EXPECT_EQ(Engine().TakeAsked(), "ClearDiscovererFlag phone 4, SendFile phone"); // and not the tablet
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::SWING);
    EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->discoveredBy, 0U);
    EXPECT_FALSE((*client)->SendFile(Entry("phone", Discoverer::SWING), uris, "app")); // the flag is used up
    EXPECT_EQ(Engine().TakeAsked(), "");
    (void)Success("phone");

    JoinHub();
    (void)CacheMapManager::RestoreDiscoverer("phone", Discoverer::SWING);
    EXPECT_TRUE((*client)->SendFile(Entry("phone", Discoverer::SWING), uris, "app"));
    Lines heard = hub->TakeHeard();
    EXPECT_EQ(heard[1], "OnSwitchNotifyComponent 1"); // behind the report of the new transfer
    EXPECT_EQ(heard[2], "OnSendFile phone files=0");
    EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->discoveredBy, uint32_t{Discoverer::SWING}); // a hub was there

    AllowError("SendFileForDevice() failed sender is exited");
    AllowError("InsertToDataBeanMap failed");
    EXPECT_FALSE((*client)->SendFile(Entry("phone", Discoverer::SWING), uris, "app"));
    (void)Success("phone");
    EXPECT_EQ(Records(), NoRecords());
}

// What a device's engine may do and ours does not: report before the request has returned.
TEST_F(Sending, AnEndInsideTheStartLeavesTheDeviceFree)
{
    Find({"phone"});
    Engine().whenStarted = [](ScriptedTransfer& transfer) { transfer.callback->OnStatus("", 1009); };
    EXPECT_TRUE(SendText("phone"));
    EXPECT_EQ(Records(), NoRecords());
    EXPECT_EQ(StateOf("phone"), "4/104"); // its own end, not a cancel
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes phone");
    Engine().whenStarted = [](ScriptedTransfer& transfer) { transfer.callback->OnProgess(1); };
    EXPECT_TRUE(SendText("phone"));
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes phone"); // a transfer does not lose to itself
    EXPECT_EQ(Records(), (std::vector<size_t>{1, 1, 1}));
    (void)Success("phone");
}

TEST_F(Sending, AMemberThatStartsAfterTheDecisionIsCancelledAtOnce)
{
    Find({"a", "b", "c"}, 42);
    Engine().whenStarted = [this](ScriptedTransfer& transfer) {
        if (transfer.deviceId == "b") {
            Engine().TransferTo("a")->callback->OnProgess(1);
        }
    };
    AllowError("cancelDtcpSender is not found, cancel fail"); // those that had not started
    EXPECT_TRUE(SendText("42"));
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a, SendBytes b, Cancel b, SendBytes c, Cancel c");
    EXPECT_EQ(EntryState("a"), "2/103");
    EXPECT_EQ(StateOf("c"), "6/105");
    EXPECT_EQ(Records(), (std::vector<size_t>{1, 1, 1}));
    (void)Success("a");

    Engine().whenStarted = nullptr;
    EXPECT_TRUE(SendAgain("42")); // success has cleared what was decided
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a, SendBytes b, SendBytes c");
    EXPECT_TRUE((*client)->Cancel(Entry("42")));
}

TEST_F(Sending, ThermalNoticesComeAtMostEveryThirtySecondsUnlessUrgent)
{
    JoinHub();
    Find({"phone"});
    EXPECT_TRUE(SendText("phone"));
    (void)hub->TakeHeard();
    struct Row {
        int64_t waitMs;
        int8_t action;
        bool passes;
    };
    for (const Row& row :
        {Row{0, 1, true}, Row{10000, 1, false}, Row{0, 2, true}, Row{29999, 1, false}, Row{1, 1, true}}) {
        Advance(row.waitMs);
        int8_t action = row.action;
        Lines expected;
        if (row.passes) {
            expected = {"OnThermalLevelChanged 3 4 1 " + std::to_string(action)};
        }
        EXPECT_EQ(
            Report("phone", [action](auto& transfer) { transfer.OnThermalLevelChanged(3, 4, 1, action); }), expected);
        EXPECT_EQ(hub->TakeHeard(), expected);
    }
    (void)Success("phone");
}

TEST_F(Sending, TheShareApiIsAskedToTakeOverByItsHubOrItsExtension)
{
    Find({"phone"});
    EXPECT_TRUE(SendText("phone"));
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnSwitchNotifyComponent(5); }), Lines());
    EXPECT_EQ(extension->TakeHeard(),
        Lines{"start CorvaneShareApiServiceExtension CorvaneShareIntent=switchNotifyComponent notifyComponent=5 "
              "trellisCBCount=1"});
    JoinHub();
    (void)Report("phone", [](auto& transfer) { transfer.OnSwitchNotifyComponent(5); });
    EXPECT_EQ(hub->TakeHeard(), Lines{"OnSwitchNotifyComponent 5"});
    EXPECT_EQ(extension->TakeHeard(), Lines());
    AllowError("HandleOnCorvaneIdHeadImageReceive deviceId");
    (void)hub->TakeHeard();
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnCorvaneIdHeadImageReceive("x", "image"); }),
        Lines{"OnCorvaneIdHeadImageReceive phone image"});
    EXPECT_EQ(hub->TakeHeard(), Lines{"OnCorvaneIdHeadImageReceive phone image"});
    (void)Success("phone");
}

// Requests that no engine of ours would write.
TEST_F(Sending, TheCallbackOfATransferRefusesWhatItCannotRead)
{
    struct Row {
        uint32_t code;
        const char16_t* token;
        int result;
        const char* words;
    };
    const char16_t* good = u"ohos.pelago.ITransmitCallback";
    sptr<SMSendTransmitCallback> callback = new SMSendTransmitCallback(Entry("phone"));
    (void)client->TakeHeard();
    for (const Row& row : {Row{8, good, 0, "OnRecvSuccess"}, Row{2, good, -17, "ReadStringVector error."},
             Row{13, good, IPC_UNKNOWN_CODE, "cmd = 13, flags = 0"},
             Row{0, good, IPC_UNKNOWN_CODE, "cmd = 0, flags = 0"},
             Row{8, u"ohos.pelago.ITransmitCallbacK", -10,
                 "SMSendTransmitCallbackStub::OnRemoteRequest failed, descriptor is not matched"}}) {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        ASSERT_TRUE(data.WriteInterfaceToken(row.token));
        if (row.result < 0) {
            AllowError(row.words);
        }
        EXPECT_EQ(callback->SendRequest(row.code, data, reply, option), row.result) << row.code;
        EXPECT_TRUE(Logged(row.words)) << row.words;
        EXPECT_EQ(Heard(), Lines());
    }
}

} // namespace
} // namespace OHOS::Pelago
