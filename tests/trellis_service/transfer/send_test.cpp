// A client sends to the entry that it sees; what the engine is asked, and what everybody hears.

#include "transfer_scene.h"

namespace OHOS::Pelago {
namespace {

class Sending : public TransferScene {
protected:
    static Lines Change(const std::string& id, int event, int value, int stamp, int state, int percent)
    {
        return {"OnTransStateChange " + id + " event=" + std::to_string(event) + " value=" + std::to_string(value) +
                " stamp=" + std::to_string(stamp) + " state=" + std::to_string(state) +
                " percent=" + std::to_string(percent)};
    }
    Lines Speed(const std::string& deviceId, int speed)
    {
        return Report(deviceId, [speed](ITransmitCallback& transfer) { transfer.OnSpeed(speed); });
    }
};

TEST_F(Sending, ToOneDeviceTellsItsStoryFromTheAnnouncementToTheEnd)
{
    Find({"phone"});
    EXPECT_TRUE((*client)->PrepareSend(Entry("phone")));
    EXPECT_EQ(Heard(), Lines()); // the list tells
    EXPECT_EQ((*client)->GetAllUserList()[0].deviceState, DeviceState::PREPARED);
    EXPECT_TRUE(SendNote(*client, Entry("phone")));
    EXPECT_EQ(Heard(), (Lines{"OnSendBytes phone title=note", Change("phone", 1, 0, 0, 108, 0)[0]}));
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes phone");
    EXPECT_EQ(Records(), "1 1 1");
    EXPECT_EQ(Progress("phone", 40), Change("phone", 2, 40, 1, 103, 40));
    EXPECT_EQ(Speed("phone", 9), Change("phone", 11, 9, 2, 103, 40));
    EXPECT_EQ(CacheMapManager::ChangeToShareDeviceInfo(Entry("phone")).speed, 9);
    EXPECT_EQ(Report("phone", [](auto& transfer) { transfer.OnTotalFileLength(77); }),
        Change("phone", 11, 77, 3, 103, 40));    // under the entry's last event
    EXPECT_EQ(StateOf("phone"), "7/108 11/103"); // the state of the start comes back
    EXPECT_EQ(Progress("phone", -1), Change("phone", 2, -1, 4, 103, 40));
    EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->percent, -1);
    EXPECT_EQ(CacheMapManager::GetSendingDevice("phone")->percent, 40);
    EXPECT_EQ(Success("phone"), Change("phone", 3, 0, 5, 107, 40));
    EXPECT_EQ(StateOf("phone") + " " + Records(), "3/107 3/107 0 0 0");
    EXPECT_EQ(Status("phone", 1004), Change("phone", 4, 1004, 6, 102, 40)); // late, and harmless
    EXPECT_EQ(Engine().TakeAsked(), "");
}

TEST_F(Sending, EndsByAStatusOnlyInTheStatesThatEnd)
{
    Find({"phone"});
    AllowError("invalid status!");
    for (const auto& [status, ends] : {std::pair(1004, false), {1009, true}, {1007, true}, {1013, true}, {1008, true},
             {1012, false}, {1014, true}, {2008, true}, {1017, true}, {1019, true}, {1018, false}, {1001, false}}) {
        const int state = ShareDeviceInfo::ConvertOnStatus(status);
        EXPECT_EQ(SendText("phone"), "SendBytes phone");
        EXPECT_EQ(Status("phone", status), Change("phone", 4, status, 1, state, 0));
        EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->deviceState, state);
        EXPECT_EQ(Records(), ends ? "0 0 0" : "1 1 1") << status;
        (void)Error("phone", 5);
    }
}

TEST_F(Sending, ToAContactIsWonByTheFirstThatReceives)
{
    Find({"a", "b", "c"}, 42);
    EXPECT_EQ(SendText("42"), "SendBytes a, SendBytes b, SendBytes c");
    EXPECT_EQ(Progress("b", 10), Change("42", 2, 10, 1, 103, 10));
    EXPECT_EQ(Engine().TakeAsked(), "Cancel a, Cancel c");
    EXPECT_EQ(StateOf("a") + ", " + StateOf("b") + ", " + StateOf("c"), "6/105 2/103, 2/103 2/103, 6/105 2/103");
    EXPECT_EQ(Records(), "1 1 1");
    EXPECT_EQ(Status("a", 1007).size(), 1U); // the last word of a cancelled one
    (void)Success("b");
    EXPECT_EQ(Records(), "0 0 0");
    EXPECT_EQ(SendText("42"), "SendBytes a, SendBytes b, SendBytes c"); // a new send is decided anew
    (void)Speed("c", 1);
    EXPECT_EQ(Engine().TakeAsked(), "Cancel a, Cancel b");
    (void)Error("c", 5);
    (void)SendAgain("42"); // not prepared: it inherits the decision, and runs to all
    (void)Progress("a", 1);
    EXPECT_EQ(Engine().TakeAsked(), "");
}

TEST_F(Sending, ToAContactEndsForAllWhenOneRefusesAndFailsWhenAllFail)
{
    Find({"a", "b"}, 42);
    for (const auto& [status, shown] : {std::pair(1009, "6/105 4/104"), {1008, "6/105 4/110"}}) {
        (void)SendText("42");
        (void)Status("a", status);
        EXPECT_EQ(Engine().TakeAsked(), "Cancel b");
        EXPECT_EQ(StateOf("b") + " " + Records(), shown + std::string(" 0 0 0"));
    }
    (void)SendText("42");
    EXPECT_EQ(Error("a", 5), Change("42", 1, 5, 1, 108, 0)); // the other may still take it
    EXPECT_EQ(Error("b", 5), Change("42", 5, 5, 1, 106, 0));
    EXPECT_EQ(Records(), "0 0 0");
}

TEST_F(Sending, ACancelTellsFirstAndAnswersWhetherATransferWasThere)
{
    AllowError("GetShareDeviceInfoList, size==0", "cancelDtcpSender is not found, cancel fail");
    Find({"a", "b"}, 42);
    const auto cancel = [this](const char* entry) {
        const bool wasThere = (*client)->Cancel(Entry(entry));
        EXPECT_EQ(Heard(), Lines{std::string("OnCancel ") + entry});
        return wasThere;
    };
    EXPECT_TRUE((*client)->PrepareSend(Entry("42")));
    EXPECT_FALSE(cancel("42")); // prepared only
    EXPECT_EQ(StateOf("a") + ", " + StateOf("b"), "6/105 6/105, 6/105 6/105");
    (void)SendText("42");
    (void)Error("a", 5);
    EXPECT_TRUE(cancel("42")); // one of two is left
    EXPECT_EQ(Engine().TakeAsked(), "Cancel b");
    (void)SendText("42");
    EXPECT_TRUE(cancel("42"));
    EXPECT_EQ(Engine().TakeAsked(), "Cancel a, Cancel b");
    EXPECT_EQ(Records(), "0 0 0");
    EXPECT_FALSE(cancel("42")); // a second time
    EXPECT_FALSE(cancel("nobody"));
}

TEST_F(Sending, ABusyMemberStopsTheRequestAndNobodyElse)
{
    Find({"a", "b"}, 42);
    (void)SendText("42");
    (void)Error("a", 5);
    AllowError("SendBytes() failed sender is exited", "InsertToBytesInfoMap failed"); // the busy one's request stays
    EXPECT_FALSE(SendNote(*client, Entry("42"), "second"));
    EXPECT_EQ(Heard()[0], "OnSendBytes 42 title=second"); // told before anything is looked at
    EXPECT_EQ(Engine().TakeAsked(), "SendBytes a");
    BytesInfo bytes;
    EXPECT_TRUE(CacheMapManager::GetByteBean("b", bytes));
    EXPECT_EQ(bytes.bytesTitle, "note");
}

TEST_F(Sending, ALostDeviceLeavesWithTheEndOfItsSend)
{
    AllowError("UpateToAllDeviceMap() not found");             // a lost one's last report
    AllowError("RemoveFromMergeDeviceMap, 2 or more devices"); // one stays
    JoinHub();
    Find({"phone"});
    (void)SendText("phone");
    for (bool isLost : {false, true}) {
        EXPECT_EQ(Report("phone", [isLost](auto& transfer) { transfer.OnRelease("phone", isLost); }), Lines());
    }
    (void)hub->TakeHeard();
    const Lines end = Change("phone", 3, 0, 1, 107, 0);
    EXPECT_EQ(Success("phone"), (Lines{end[0], "OnDeviceLost phone"}));
    EXPECT_EQ(hub->TakeHeard(), end); // a hub does not hear the loss here
    EXPECT_TRUE((*client)->GetAllUserList().empty());

    Find({"a", "b"}, 42);
    (void)SendText("42");
    EXPECT_EQ(Lost(Peer("a", 42, "Ann")), Lines());
    EXPECT_EQ(Error("a", 5).size(), 1U); // one of two leaves without a word
    EXPECT_EQ((*client)->GetAllUserList().size(), 1U);
    EXPECT_EQ(Error("b", 5), Change("42", 5, 5, 1, 106, 0));
    EXPECT_EQ(Records(), "0 0 0");
}

TEST_F(Sending, AContactIsReportedOnceForFilesAndNeverForTheRest)
{
    Find({"phone"});
    Find({"a", "b"}, 42);
    Find({"c"}, -3); // merges, and is nobody's contact
    SendBean files;
    size_t before = Telemetry().size();
    EXPECT_TRUE((*client)->Send(Entry("phone"), files, "app") && (*client)->Send(Entry("-3"), files, "app"));
    EXPECT_TRUE((*client)->SendFile(Entry("42"), DataBean(), "app"));
    EXPECT_TRUE((*client)->Cancel(Entry("42")));
    EXPECT_EQ(Telemetry().size(), before);
    EXPECT_TRUE((*client)->Send(Entry("42"), files, "app"));
    auto events = Telemetry();
    ASSERT_EQ(events.size(), before + 2);
    EXPECT_NE(events[before].find("\"STAGE_RES\":0"), std::string::npos) << events[before];
    EXPECT_NE(events[before + 1].find("\"STAGE_RES\":1"), std::string::npos) << events[before + 1];
    EXPECT_NE(events[before + 1].find(":2"), std::string::npos);
}

TEST_F(Sending, AGestureSendTakesTheRoadOfOneDevice)
{
    ShareDevice device = Peer("phone", 42, "Ann");
    device.discoveredBy_ = Discoverer::SWING;
    (void)Found(device);
    Find({"tablet"}, 42);
    AllowError("Discoverer not contain swing", "CheckAndClearDeviceDiscoveredByFlag",
        "SendFileForDevice() failed sender is exited", "InsertToDataBeanMap failed");
    auto send = [this] { return (*client)->SendFile(Entry("phone", Discoverer::SWING), DataBean(), "app"); };
    EXPECT_TRUE(send());
    EXPECT_EQ(Engine().TakeAsked(), "ClearDiscovererFlag phone 4, SendFile phone"); // and not the tablet
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::SWING);
    EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->discoveredBy, 0U);
    EXPECT_FALSE(send()); // the flag is used up
    EXPECT_EQ(Engine().TakeAsked(), "");
    (void)Success("phone");

    JoinHub();
    (void)CacheMapManager::RestoreDiscoverer("phone", Discoverer::SWING);
    EXPECT_TRUE(send());
    Lines heard = hub->TakeHeard();
    EXPECT_EQ(heard[1], "OnSwitchNotifyComponent 1"); // behind the report of the new transfer
    EXPECT_EQ(heard[2], "OnSendFile phone files=0");
    EXPECT_EQ(CacheMapManager::GetAllDevice("phone")->discoveredBy, uint32_t{Discoverer::SWING}); // a hub was there
    EXPECT_FALSE(send());                                                                         // busy
    (void)Success("phone");
    EXPECT_EQ(Records(), "0 0 0");
}

// What a device's engine may do and ours does not: report before the request has returned.
TEST_F(Sending, AnEndInsideTheStartLeavesTheDeviceFree)
{
    Find({"phone"});
    Engine().whenStarted = [](ScriptedTransfer& transfer) { transfer.callback->OnStatus("", 1009); };
    EXPECT_EQ(SendText("phone"), "SendBytes phone");
    EXPECT_EQ(StateOf("phone") + " " + Records(), "4/104 4/104 0 0 0"); // its own end, not a cancel
    Engine().whenStarted = [](ScriptedTransfer& transfer) { transfer.callback->OnProgess(1); };
    EXPECT_EQ(SendText("phone"), "SendBytes phone"); // a transfer does not lose to itself
    EXPECT_EQ(Records(), "1 1 1");
}

TEST_F(Sending, AMemberThatStartsAfterTheDecisionIsCancelledAtOnce)
{
    Find({"a", "b", "c"}, 42);
    AllowError("cancelDtcpSender is not found, cancel fail"); // those that had not started
    for (const std::string andThen :
        {"nothing", "the winner ends", "the loser begins too", "the winner ends, and the loser begins too"}) {
        Engine().whenStarted = [this, andThen](ScriptedTransfer& transfer) {
            if (transfer.deviceId == "b") {
                Engine().TransferTo("a")->callback->OnProgess(1);
                if (andThen.find("the winner ends") == 0) {
                    Engine().TransferTo("a")->callback->OnSuccess("", {});
                }
                if (andThen.find("the loser begins too") != std::string::npos) {
                    transfer.callback->OnProgess(1);
                }
            }
        };
        EXPECT_EQ(SendText("42"), "SendBytes a, SendBytes b, Cancel b, SendBytes c, Cancel c") << andThen;
        (void)Success("a");
        EXPECT_EQ(StateOf("c") + " " + Records(), "6/105 3/107 0 0 0") << andThen;
    }
    Engine().whenStarted = nullptr;
    EXPECT_EQ(SendAgain("42"), "SendBytes a, SendBytes b, SendBytes c"); // success has cleared what was decided
    Find({"x", "y"}, 43);
    Engine().whenStarted = [this](ScriptedTransfer& transfer) {
        if (transfer.deviceId == "y") {
            (void)Found(Peer("y", 42, "Ada")); // where others have decided before
        }
    };
    EXPECT_EQ(SendText("43"), "SendBytes x, SendBytes y");
}

TEST_F(Sending, ThermalNoticesComeAtMostEveryThirtySecondsUnlessUrgent)
{
    Find({"phone"});
    (void)SendText("phone");
    for (const auto& [waitMs, action, passes] :
        {std::tuple(0, 1, true), {10000, 1, false}, {0, 2, true}, {29999, 1, false}, {1, 1, true}}) {
        Advance(waitMs);
        EXPECT_EQ(Report("phone", [action = static_cast<int8_t>(action)](
                                      auto& transfer) { transfer.OnThermalLevelChanged(3, 4, 1, action); }),
            passes ? Lines{"OnThermalLevelChanged 3 4 1 " + std::to_string(action)} : Lines());
    }
}

TEST_F(Sending, TheShareApiIsAskedToTakeOverByItsHubOrItsExtension)
{
    Find({"phone"});
    (void)SendText("phone");
    auto takeOver = [](ITransmitCallback& transfer) { transfer.OnSwitchNotifyComponent(5); };
    EXPECT_EQ(Report("phone", takeOver), Lines());
    EXPECT_EQ(extension->TakeHeard(),
        Lines{"start CorvaneShareApiServiceExtension CorvaneShareIntent=switchNotifyComponent notifyComponent=5 "
              "trellisCBCount=1"});
    JoinHub();
    AllowError("HandleOnCorvaneIdHeadImageReceive deviceId");
    (void)Report("phone", [takeOver](auto& transfer) {
        takeOver(transfer);
        transfer.OnCorvaneIdHeadImageReceive("x", "image");
        transfer.OnThermalLevelChanged(3, 4, 1, 1);
    });
    EXPECT_EQ(hub->TakeHeard(), (Lines{"OnSwitchNotifyComponent 5", "OnCorvaneIdHeadImageReceive phone image",
                                    "OnThermalLevelChanged 3 4 1 1"}));
    EXPECT_EQ(extension->TakeHeard(), Lines());
}

} // namespace
} // namespace OHOS::Pelago
