// A swing, from the gesture to the transfer: what is cached, shown and sent, and how it ends.

#include "filled.h"
#include "gesture_scene.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {
namespace {

// The values of SwingView::cacheType.
constexpr int32_t FILES = 1;
constexpr int32_t URIS = 2;
constexpr int32_t TEXT = 3;

ShareDevice Target(int32_t capability = 4)
{
    ShareDevice device = Peer("phone");
    device.discoveredBy_ = Discoverer::SWING;
    device.SetCapability(capability);
    return device;
}

class Swing : public GestureScene {
protected:
    void SetUp() override
    {
        GestureScene::SetUp();
        app = NewApp();
    }

    // What the application answers a gesture with; its preview is the kind's name.
    bool Send(int32_t kind, const ShareDeviceInfo& device = Entry("-1", Discoverer::SWING), size_t count = 3)
    {
        if (kind == TEXT) {
            return (*app)->SendBytes(
                device, Filled<BytesInfo>(&BytesInfo::previewData, "text", &BytesInfo::conCurrentId, "c"));
        }
        if (kind == URIS) {
            return (*app)->SendFile(
                device, Filled<DataBean>(&DataBean::thumbnail, "uris", &DataBean::conCurrentId, "c"), "app");
        }
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        auto files = Filled<SendBean>(&SendBean::thumbnail, "files", &SendBean::conCurrentId, "c", &SendBean::uriList,
            std::vector<FileHolder>(count, Filled<FileHolder>(&FileHolder::fileFd, fd)));
        const bool taken = (*app)->Send(device, files, "app");
        (void)::close(fd);
        return taken;
    }
    // Descriptors that requests brought and that are open, the engine's copies apart.
    static size_t Open()
    {
        Settle();
        return DescriptorLedger::OpenCount();
    }
    static int32_t Cached()
    {
        return TrellisService::GetSwingView().cacheType;
    }
    // The remembered gesture, its id and the show mode.
    static std::string Remembered()
    {
        const auto view = TrellisService::GetSwingView();
        return std::to_string(view.gesture) + view.concurrentId + " " + std::to_string(view.showMode);
    }

    std::unique_ptr<TestApp> app;
};

TEST_F(Swing, GoesFromTheGestureByWayOfTheApplicationToTheDevice)
{
    app->answer = [this](const ShareDeviceInfo& device) {
        EXPECT_TRUE(device.isOHDevice);
        BytesInfo bytes;
        bytes.previewData = R"({"thumbnail":"small","iconBase64":"aWNvbg=="})";
        bytes.text = R"({"text":"{\"title\":\"T\",\"showMode\":4}"})";
        EXPECT_TRUE((*app)->SendBytes(device, bytes));
    };
    app->Want(GESTURES, 5);
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
    EXPECT_NE(states[0].extraInfo.find("\"showMode\":\t1,\n\t\"previewData\":\t\"small\","), std::string::npos);
    EXPECT_EQ(Heard(), Lines()); // a send to the placeholder is nobody's to show
    EXPECT_EQ(Telemetry().size(), 2U);
    LookAway();

    (void)Found(Target());
    EXPECT_EQ(Engine().TakeAsked(), "ClearDiscovererFlag phone 4, SendBytes phone");
    EXPECT_EQ(Engine().TransferTo("phone")->eventType, TransmitEventType::SWING);
    EXPECT_EQ(Cached(), 0);
    (void)Found(Target()); // found again: the content is used up
    EXPECT_EQ(Engine().TakeAsked(), "ClearDiscovererFlag phone 4");
    (void)Success("phone");
    Engine().SwingStatus(1, "", 100);
    Settle();
    EXPECT_TRUE(TrellisService::GetSwingView().sending); // until the next content
}

TEST_F(Swing, CachesTheThreeKindsAndTheirDescriptorsOnceWhateverBecomesOfThem)
{
    const std::tuple<int32_t, const char*, const char*> kinds[] = {
        {FILES, "files", "File"}, {URIS, "uris", "File"}, {TEXT, "text", "Bytes"}};
    for (const auto& [kind, preview, asked] : kinds) {
        const size_t files = kind == FILES ? 3 : 0;
        EXPECT_TRUE(Send(FILES, Entry("-1", Discoverer::SWING), 5)); // replaced, or left beside what counts
        EXPECT_TRUE(Send(kind));
        EXPECT_EQ(Cached(), kind);
        EXPECT_NE(Collab().TakeStates().back().extraInfo.find(std::string("previewData\":\t\"") + preview),
            std::string::npos);
        EXPECT_EQ(Open(), kind == FILES ? 3U : 5U);
        (void)Found(Target());
        EXPECT_EQ(Engine().TakeAsked(), std::string("ClearDiscovererFlag phone 4, Send") + asked + " phone");
        EXPECT_EQ(Cached(), 0);
        EXPECT_EQ(Open(), files); // the running send's now
        EXPECT_TRUE((*client)->Cancel(Entry("phone")));
        EXPECT_EQ(Open(), 0U);
        LookAway();

        EXPECT_TRUE(Send(kind)); // a device that has gone meanwhile
        ShareDeviceInfo gone = Entry("gone", Discoverer::SWING);
        gone.capability = 4;
        const size_t telemetry = Telemetry().size();
        TrellisService::SwingSend(gone);
        EXPECT_EQ(Telemetry().size(), telemetry + 1);
        EXPECT_EQ(Cached() + TrellisService::GetSwingView().sending, 0);
        EXPECT_EQ(Open(), 0U);
        EXPECT_NE(Telemetry().back().find("444661761"), std::string::npos);
    }
    EXPECT_TRUE(Send(TEXT, Entry("-1", Discoverer::ORDINARY))); // an ordinary send to nobody
    EXPECT_FALSE(Send(TEXT, Entry("tablet", Discoverer::SWING)));
    EXPECT_EQ(Cached(), 0);
}

// Each way to end a swing, with content in the cache and a gesture remembered.
TEST_F(Swing, EndsAsItIsToldAndForgetsWhatItMust)
{
    AllowError("InsertToBytesInfoMap failed");
    // Its name; the end; the notice that the user sees, 0 for none; whether gesture and content are forgotten; what the
    // engine is asked.
    using Row = std::tuple<const char*, std::function<void()>, int32_t, bool, std::string>;
    const std::string cleared = "ClearDiscovererFlag phone 4, ReportSwingEvent 10000";
    const auto pointAtABusyOne = [this] {
        (void)Found(Peer("phone"));
        EXPECT_TRUE(SendNote(*client, Entry("phone")));
        LookAway();
        (void)Found(Target());
        (void)(*client)->Cancel(Entry("phone"));
    };
    const auto giveUp = [this] { EXPECT_TRUE((*app)->NotifyInfo(Entry("-1", Discoverer::SWING), 77)); };
    const Row rows[] = {
        {"no bytes", [this] { (void)Found(Target(3)); }, 1222, true, cleared},
        {"busy", pointAtABusyOne, 1206, true, cleared + ", Cancel phone"},
        {"the application gives up", giveUp, 77, true, "ReportSwingEvent 10000"},
        {"over", [this] { Engine().SwingStatus(1, "phone", 100); }, 0, true, ""},
        {"failed", [this] { Engine().SwingStatus(1, "phone", 101); }, 101, false, ""},
        {"over for a receiver", [this] { Engine().SwingStatus(2, "phone", 100); }, 100, false, ""},
    };
    app->Want(GESTURES, 1);
    for (const auto& [name, end, notice, forgets, asked] : rows) {
        SCOPED_TRACE(name);
        Gesture();
        EXPECT_TRUE(Send(TEXT));
        LookAway();
        end();
        Settle();
        const std::string line =
            "start CorvaneShareApiServiceExtension CorvaneShareIntent=nudgeConnectFail connectErrCode=";
        EXPECT_EQ(extension->TakeHeard(), notice == 0 ? Lines() : Lines{line + std::to_string(notice)});
        EXPECT_EQ(Collab().TakeAsked(), forgets && notice != 0 ? "PublishServiceState Swing_CorvaneShare 8" : "");
        EXPECT_EQ(Engine().TakeAsked(), asked);
        EXPECT_EQ(Cached(), forgets ? 0 : TEXT);
        EXPECT_EQ(Remembered(), forgets ? "-1c 6" : "0c 6");
    }
}

TEST_F(Swing, CancelsWhatItSentByAnyStatusThatNamesTheDevice)
{
    app->Want(GESTURES, 1);
    EXPECT_TRUE(Send(TEXT));
    (void)Found(Target());
    LookAway();
    for (const auto& [role, device, asked] :
        {std::tuple(2, "phone", ""), {1, "", ""}, {1, "phone", "Cancel phone"}, {1, "phone", ""}}) {
        Engine().SwingStatus(role, device, 100);
        Settle();
        EXPECT_EQ(Engine().TakeAsked(), asked);
    }
}

TEST_F(Swing, WaitsForAnApplicationAndIsReplayedOnce)
{
    Gesture("first");
    Gesture("second");
    EXPECT_EQ(Remembered(), "0second 6");
    EXPECT_EQ(Collab().TakeAsked(), "");
    app->Want(GESTURES, 4); // in front or not
    app->Want(GESTURES, 5);
    Settle();
    EXPECT_EQ(app->TakeHeard(), Lines{"3 4 -1 second"});
    EXPECT_EQ(Remembered(), "-1 6");
    EXPECT_TRUE(Send(TEXT));
    EXPECT_NE(Collab().TakeStates().back().extraInfo.find("\"showMode\":\t6"), std::string::npos);
    TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(1, 0, 0, "c", -1); // no gesture that means anything
    EXPECT_EQ(Remembered(), "-1 6");
}

TEST_F(Swing, AsksTheUserAndPassesTheAnswerOn)
{
    EXPECT_TRUE(Send(TEXT));
    ShareDevice phone = Target();
    phone.SetDeviceName("Ann's phone");
    (void)Found(phone);
    for (bool show : {true, false}) {
        Engine().Report("phone", [show](ITransmitCallback& transfer) { transfer.OnPopSwing("phone", show); });
    }
    const std::string line = "start SwingSendConfirmDialogService deviceId=phone isTrust=false nickName= "
                             "senderName=Ann's phone swingIntent=";
    Settle();
    EXPECT_EQ(extension->TakeHeard(), (Lines{line + "swingSendConfirm", line + "closeSwingSendConfirm"}));
    LookAway();
    EXPECT_TRUE((*app)->SwingConfirm(Entry("phone"), 1));
    EXPECT_EQ(Engine().TakeAsked(), "SwingConfirm 1");
    EXPECT_TRUE((*client)->Cancel(Entry("phone")));
    EXPECT_FALSE((*app)->SwingConfirm(Entry("phone"), 1));
}

} // namespace
} // namespace OHOS::Pelago
