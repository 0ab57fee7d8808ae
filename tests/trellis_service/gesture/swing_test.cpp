// A swing, from the gesture to the transfer: what is cached, shown and sent, and how it ends.

#include <set>

#include <fcntl.h>
#include <unistd.h>

#include "discovery/cache_map_manager.h"
#include "gesture_scene.h"
#include "hilog/host_log.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {
namespace {

using ShareEvent::GESTURES;

ShareDevice Target(const std::string& id, int32_t capability = 4)
{
    ShareDevice device = Peer(id);
    device.discoveredBy_ = Discoverer::SWING;
    device.SetCapability(capability);
    return device;
}

ShareDeviceInfo Placeholder()
{
    return Entry("-1", Discoverer::SWING);
}

class Swing : public GestureScene {
protected:
    void SetUp() override
    {
        GestureScene::SetUp();
        AllowError("cJSON_Parse error:"); // of bare thumbnails
        app = NewApp();
        before_ = CountDescriptors();
    }
    void TearDown() override
    {
        app->Focus(false);
        Die(*app);
        GestureScene::TearDown();
    }

    // What the application answers a gesture with.
    bool SendFiles(const ShareDeviceInfo& device = Placeholder(), int count = 3)
    {
        SendBean bean;
        bean.thumbnail = "files";
        bean.conCurrentId = "c";
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        bean.uriList.resize(static_cast<size_t>(count));
        for (FileHolder& file : bean.uriList) {
            file.fileFd = fd;
        }
        const bool taken = (*app)->Send(device, bean, "app");
        (void)::close(fd);
        return taken;
    }
    bool SendUris(const ShareDeviceInfo& device = Placeholder())
    {
        DataBean bean;
        bean.thumbnail = "uris";
        bean.conCurrentId = "c";
        return (*app)->SendFile(device, bean, "app");
    }
    bool SendText(const ShareDeviceInfo& device = Placeholder())
    {
        BytesInfo bytes;
        bytes.previewData = "text";
        bytes.conCurrentId = "c";
        return (*app)->SendBytes(device, bytes);
    }
    // The hand points at a device.
    void PointAt(const ShareDevice& device)
    {
        Engine().Found(device);
        Settle();
    }
    // Open by requests, the engine's copies apart.
    int64_t Extra()
    {
        Settle();
        return static_cast<int64_t>(DescriptorLedger::OpenCount());
    }
    static int32_t Cached()
    {
        return TrellisService::GetSwingView().cacheType;
    }
    // What was asked of the framework's display, shortened: state and preview of each.
    std::string Shown()
    {
        std::string text;
        for (const PublishedState& state : Collab().TakeStates()) {
            const std::string key = "\"previewData\":\t\"";
            const size_t begin = state.extraInfo.find(key) + key.size();
            text += (text.empty() ? "" : ", ") + std::to_string(state.state) + " " +
                    state.extraInfo.substr(begin, state.extraInfo.find('"', begin) - begin);
        }
        return text;
    }

    std::unique_ptr<TestApp> app;
    size_t before_ = 0;
};

TEST_F(Swing, GoesFromTheGestureByWayOfTheApplicationToTheDevice)
{
    app->Answer([this](const ShareDeviceInfo& device) {
        EXPECT_EQ(device.discoveredBy, Discoverer::SWING);
        EXPECT_TRUE(device.isOHDevice);
        BytesInfo bytes;
        bytes.previewData = R"({"thumbnail":"small","iconBase64":"aWNvbg=="})";
        bytes.text = R"({"text":"{\"title\":\"T\",\"showMode\":4}"})";
        EXPECT_TRUE((*app)->SendBytes(device, bytes));
    });
    app->Want(GESTURES, 5);
    EXPECT_EQ(Engine().TakeAsked(), "SwingSubscribe");
    app->Focus();
    Gesture("story");
    EXPECT_EQ(
        Collab().TakeAsked(), "SubscribeNotifyDisconnect Swing_CorvaneShare, PublishServiceState Swing_CorvaneShare 2");
    EXPECT_EQ(Collab().TakeStates()[0].extraInfo, "{\n\t\"isUiEnable\":\ttrue,\n\t\"role\":\t1,\n\t\"type\":\t3,"
                                                  "\n\t\"deviceType\":\t14,\n\t\"previewData\":\t\"\"\n}");
    Settle();
    EXPECT_EQ(app->TakeHeard(), Lines{"3 5 -1 story"});
    const auto states = Collab().TakeStates();
    ASSERT_EQ(states.size(), 1U);
    EXPECT_EQ(states[0].serviceName + states[0].serviceName2, "Swing_CorvaneShareSwing_CorvaneShare");
    EXPECT_NE(states[0].extraInfo.find("\"deviceType\":\t14,\n\t\"showMode\":\t1,\n\t\"previewData\":\t\"small\",\n\t"
                                       "\"resourceCount\":\t1,\n\t\"showData\":\t\"{\\n\\t\\\"title\\\":\\t\\\"T\\\""),
        std::string::npos)
        << states[0].extraInfo;
    EXPECT_EQ(tile->TakeHeard(), Lines()); // a send to the placeholder is nobody's to show
    EXPECT_EQ(Telemetry().size(), 2U);

    PointAt(Target("phone"));
    EXPECT_EQ(Engine().TakeAsked(), "ClearDiscovererFlag phone 4, SendBytes phone");
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::SWING);
    EXPECT_TRUE(TrellisService::GetSwingView().sending);
    EXPECT_EQ(Cached(), 0);
    PointAt(Target("phone")); // found again: the content is used up
    EXPECT_EQ(Engine().TakeAsked(), "ClearDiscovererFlag phone 4");
    Engine().Report("phone", [](ITransmitCallback& transfer) { transfer.OnSuccess("", {}); });
    Engine().SwingStatus(1, "", 100);
    EXPECT_EQ(Notices(), Lines());
    EXPECT_TRUE(TrellisService::GetSwingView().sending); // until the next content
}

TEST_F(Swing, CachesTheThreeKindsOnceWhateverBecomesOfThem)
{
    AllowError("SendBytes fail");
    AllowError("can not find device");
    AllowError("Discoverer not contain swing");
    AllowError("CheckAndClearDeviceDiscoveredByFlag");
    const std::tuple<std::function<bool()>, int32_t, const char*, const char*> kinds[] = {
        {[this] { return SendFiles(); }, 1, "2 files", "SendFile phone"},
        {[this] { return SendUris(); }, 2, "2 uris", "SendFile phone"},
        {[this] { return SendText(); }, 3, "2 text", "SendBytes phone"},
    };
    AllowError("cancelDtcpSender is not found");
    for (const auto& [send, type, shown, asked] : kinds) {
        EXPECT_TRUE(send());
        EXPECT_EQ(Cached(), type);
        EXPECT_EQ(Shown(), shown);
        EXPECT_EQ(Extra(), type == 1 ? 3 : 0);
        PointAt(Target("phone"));
        EXPECT_EQ(Engine().TakeAsked(), std::string("ClearDiscovererFlag phone 4, ") + asked);
        EXPECT_EQ(Cached(), 0);
        EXPECT_EQ(Extra(), type == 1 ? 3 : 0); // the running send's now
        EXPECT_TRUE((*tile)->Cancel(Entry("phone")));
        EXPECT_EQ(Extra(), 0);
        (void)Engine().TakeJournal();

        EXPECT_TRUE(send()); // a device that has gone meanwhile
        ShareDeviceInfo gone = Entry("gone", Discoverer::SWING);
        gone.capability = 4;
        const size_t telemetry = Telemetry().size();
        TrellisService::SwingSend(gone);
        EXPECT_EQ(Cached(), 0);
        EXPECT_FALSE(TrellisService::GetSwingView().sending);
        EXPECT_EQ(Extra(), 0);
        EXPECT_EQ(Telemetry().size(), telemetry + 1);
        EXPECT_NE(Telemetry().back().find("444661761"), std::string::npos);
        (void)Shown();
    }
}

TEST_F(Swing, KeepsOneContentAndItsDescriptorsUntilItIsReplacedOrUsed)
{
    EXPECT_TRUE(SendFiles(Placeholder(), 5));
    EXPECT_TRUE(SendFiles(Placeholder(), 2));
    EXPECT_EQ(Extra(), 2);
    EXPECT_TRUE(SendText()); // another kind counts, and the old one goes with it
    EXPECT_EQ(Cached(), 3);
    EXPECT_EQ(Extra(), 2);
    PointAt(Target("phone"));
    EXPECT_EQ(Engine().TransferTo("phone")->kind, "bytes");
    EXPECT_EQ(Extra(), 0);
    EXPECT_EQ(CountDescriptors(), before_);
    EXPECT_TRUE((*tile)->Cancel(Entry("phone")));

    AllowError("Discoverer not contain swing");
    AllowError("CheckAndClearDeviceDiscoveredByFlag");
    AllowError("GetShareDeviceInfoList, size==0");
    EXPECT_TRUE(SendText(Entry("-1", Discoverer::ORDINARY))); // an ordinary send to nobody
    EXPECT_FALSE(SendText(Entry("tablet", Discoverer::SWING)));
    EXPECT_EQ(Cached(), 0);
}

// Each way to end a swing, with content in the cache and a gesture remembered.
TEST_F(Swing, EndsAsItIsToldAndForgetsWhatItMust)
{
    AllowError("SendBytesForDevice() failed sender is exited");
    AllowError("InsertToBytesInfoMap failed");
    AllowError("GetShareDeviceInfoList, size==0");
    struct Row {
        const char* name;
        std::function<void()> end;
        int32_t notice;    // that the user sees; 0: none
        bool forgets;      // gesture and content
        const char* shown; // by the framework
        const char* asked; // of the engine
    };
    const char* busy = "ClearDiscovererFlag phone 4, ReportSwingEvent 10000";
    const Row rows[] = {
        {"no bytes", [this] { PointAt(Target("phone", 3)); }, 1222, true, "8 ", busy},
        {"busy",
            [this] {
                Engine().Found(Peer("phone"));
                Settle();
                EXPECT_TRUE((*tile)->SendBytes(Entry("phone"), BytesInfo()));
                (void)Engine().TakeJournal();
                PointAt(Target("phone"));
                (void)(*tile)->Cancel(Entry("phone"));
            },
            1206, true, "8 ", "ClearDiscovererFlag phone 4, ReportSwingEvent 10000, Cancel phone"},
        {"the application gives up", [this] { EXPECT_TRUE((*app)->NotifyInfo(Placeholder(), 77)); }, 77, true, "8 ",
            "ReportSwingEvent 10000"},
        {"over", [this] { Engine().SwingStatus(1, "phone", 100); }, 0, true, "", ""},
        {"failed", [this] { Engine().SwingStatus(1, "phone", 101); }, 101, false, "", ""},
        {"over for a receiver", [this] { Engine().SwingStatus(2, "phone", 100); }, 100, false, "", ""},
    };
    app->Want(GESTURES, 1);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Gesture();
        EXPECT_TRUE(SendText());
        (void)Shown();
        (void)Notices();
        (void)Engine().TakeJournal();
        row.end();
        EXPECT_EQ(Notices(), row.notice == 0 ? Lines()
                                             : Lines{"start CorvaneShareApiServiceExtension CorvaneShareIntent="
                                                     "nudgeConnectFail connectErrCode=" +
                                                     std::to_string(row.notice)});
        EXPECT_EQ(Shown(), row.shown);
        EXPECT_EQ(Engine().TakeAsked(), row.asked);
        EXPECT_EQ(Cached(), row.forgets ? 0 : 3);
        EXPECT_EQ(TrellisService::GetSwingView().gesture, row.forgets ? -1 : 0);
    }
}

TEST_F(Swing, CancelsWhatItSentByAnyStatusThatNamesTheDevice)
{
    AllowError("cancelDtcpSender is not found, cancel fail");
    app->Want(GESTURES, 1);
    EXPECT_TRUE(SendText());
    PointAt(Target("phone"));
    (void)Engine().TakeJournal();
    const std::tuple<int, const char*, const char*> rows[] = {
        {2, "phone", ""}, {1, "", ""}, {1, "phone", "Cancel phone"}, {1, "phone", ""}};
    for (const auto& [role, device, asked] : rows) {
        Engine().SwingStatus(role, device, 100);
        Settle();
        EXPECT_EQ(Engine().TakeAsked(), asked);
    }
}

TEST_F(Swing, WaitsForAnApplicationAndIsReplayedOnce)
{
    Gesture("first");
    Gesture("second");
    auto view = TrellisService::GetSwingView();
    EXPECT_EQ(std::to_string(view.gesture) + view.concurrentId + std::to_string(view.showMode), "0second6");
    EXPECT_EQ(Collab().TakeAsked(), "");
    app->Want(GESTURES, 4); // in front or not
    auto other = NewApp();
    other->Want(GESTURES, 1);
    Settle();
    EXPECT_EQ(app->TakeHeard(), Lines{"3 4 -1 second"});
    EXPECT_EQ(other->TakeHeard(), Lines());
    view = TrellisService::GetSwingView();
    EXPECT_EQ(std::to_string(view.gesture) + view.concurrentId + std::to_string(view.showMode), "-16");
    Collab().TakeStates();
    EXPECT_TRUE(SendText());
    EXPECT_NE(Collab().TakeStates()[0].extraInfo.find("\"showMode\":\t6"), std::string::npos);
    TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(1, 0, 0, "c", -1); // no gesture that means anything
    EXPECT_EQ(TrellisService::GetSwingView().gesture, -1);
    TrellisService::SetSwingShowMode(1);
    Die(*other);
}

TEST_F(Swing, AsksTheUserAndPassesTheAnswerOn)
{
    EXPECT_TRUE(SendText());
    ShareDevice phone = Target("phone");
    phone.SetDeviceName("Ann's phone");
    PointAt(phone);
    AllowError("cancelDtcpSender is not found, cancel fail");
    Engine().Report("phone", [](ITransmitCallback& transfer) { transfer.OnPopSwing("phone", true); });
    Engine().Report("phone", [](ITransmitCallback& transfer) { transfer.OnPopSwing("phone", false); });
    const std::string rest = " isTrust=false nickName= senderName=Ann's phone swingIntent=";
    EXPECT_EQ(Notices(), (Lines{"start SwingSendConfirmDialogService deviceId=phone" + rest + "swingSendConfirm",
                             "start SwingSendConfirmDialogService deviceId=phone" + rest + "closeSwingSendConfirm"}));
    (void)Engine().TakeJournal();
    EXPECT_TRUE((*app)->SwingConfirm(Entry("phone"), 1));
    EXPECT_EQ(Engine().TakeAsked(), "SwingConfirm 1");
    EXPECT_TRUE((*tile)->Cancel(Entry("phone")));
    EXPECT_FALSE((*app)->SwingConfirm(Entry("phone"), 1));
}

// The orders between a replay, registrations, the answer, the target and the end.
TEST_F(Swing, IsToldAtMostOnceAndLeavesNothingInAnyOrder)
{
    for (const char* words : {"cJSON_Parse error:", "ForDevice() failed", "InsertToSendBeanMap failed",
             "CheckAndClearDeviceDiscoveredByFlag", "Discoverer not contain swing", "cancelDtcpSender is not found",
             "GetShareDeviceInfoList, size==0", "alternativeCbs empty!."}) {
        AllowError(words);
    }
    std::set<std::string> outcomes;
    for (uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime(seed));
        Gesture("c");
        auto other = NewApp();
        for (TestApp* each : {app.get(), other.get()}) {
            each->Answer([this](const ShareDeviceInfo&) { EXPECT_TRUE(SendFiles()); });
            each->Client().Process().Post([each] { each->Want(GESTURES, 1); });
        }
        const auto people = Host::Scheduler::Instance().CreateQueue("people");
        ASSERT_NE(people->Post([] { TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, "late", -1); }), 0U);
        Engine().Found(Target("phone"));
        Engine().SwingStatus(1, "phone", 100);
        Engine().Found(Target("phone"));
        Settle();
        Lines heard = app->TakeHeard();
        for (const std::string& line : other->TakeHeard()) {
            heard.push_back(line);
        }
        EXPECT_LE(heard.size(), 2U);
        EXPECT_LE(std::count(heard.begin(), heard.end(), "3 1 -1 c"), 1);
        outcomes.insert(std::to_string(heard.size()) + "/" + std::to_string(Cached()) + "/" +
                        std::to_string(TrellisService::GetSwingView().sending));
        (void)(*tile)->Cancel(Entry("phone"));
        Engine().SwingStatus(1, "", 100);
        EXPECT_EQ(Extra(), 0);
        EXPECT_EQ(TrellisService::GetSwingView().gesture, -1);
        Engine().Lost(Target("phone"));
        EXPECT_TRUE((*app)->UnregisterShareEventCallback(GESTURES, -1));
        Die(*other);
        (void)Notices();
    }
    EXPECT_GE(outcomes.size(), 3U); // the seeds do bring different orders
}

} // namespace
} // namespace OHOS::Pelago
