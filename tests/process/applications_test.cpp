#include <algorithm>
#include <csignal>
#include <future>
#include <map>
#include <random>
#include <set>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "process_scene.h"

// Applications of the share API, as processes: ones that call back, hang, die, and come in crowds.
namespace OHOS::Pelago {
namespace {

constexpr int32_t KNOCK = 2;
constexpr int32_t GESTURE = 3;
constexpr uint32_t FOUND_BY_TAP = 2;

class ApiCallback : public ShareApiCallbackStub {
public:
    void OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device) override
    {
        if (during) {
            during(eventId, cbId, device);
        }
        ++calls;
    }

    std::function<void(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device)> during;
    std::atomic<int> calls{0};
};

class Applications : public ProcessScene {
protected:
    void SetUp() override
    {
        ProcessScene::SetUp();
        phone = NewDevice("phone");
    }
    void TearDown() override
    {
        phone.reset();
        ProcessScene::TearDown();
    }

    std::unique_ptr<Child> App(const std::string& bundle, std::vector<std::string> words)
    {
        words.insert(words.begin(), {"-d", "phone", "app", "--bundle", bundle});
        auto child = Pelago(words);
        EXPECT_TRUE(WaitUntil([&] { return child->Output().find("ready") != std::string::npos; })) << child->Output();
        return child;
    }
    void Swing() const
    {
        Host::ControlAnswer answer = phone->Control({"swing"});
        EXPECT_EQ(answer.result, Host::ControlResult::DONE) << answer.error;
    }
    bool HasRegistered(int64_t count) const
    {
        return WaitUntil(
            [&] { return phone->Dumped("gesture", "apps") == count && phone->Dumped("gesture", "swing") == count; });
    }

    std::unique_ptr<RunningDevice> phone;
};

// What needs the locks that the service holds while it calls waits until the call has expired; all of it comes back.
TEST_F(Applications, OneMayCallEverythingFromInsideItsCallback)
{
    sptr<ITrellisService> service = phone->As("app");
    sptr<ApiCallback> callback = new ApiCallback();
    sptr<ApiCallback> other = new ApiCallback();
    sptr<CountingCallback> client = new CountingCallback();
    sptr<QuietSenderAction> action = new QuietSenderAction();
    SendBean files;
    std::atomic<size_t> answered{0};
    std::atomic<bool> called{false}; // what is registered inside is told of the gesture too
    std::vector<std::function<void(const ShareDeviceInfo&)>> calls{
        [&](const ShareDeviceInfo&) { (void)service->IsEnabled(); },
        [&](const ShareDeviceInfo&) { (void)service->GetEnableState(); },
        [&](const ShareDeviceInfo&) { (void)service->SetShareEnable(2, 0, false); },
        [&](const ShareDeviceInfo&) { (void)service->SetShareEnableWithConfirm(2, 0, false, false); },
        [&](const ShareDeviceInfo&) { (void)service->StartDiscovery(); },
        [&](const ShareDeviceInfo&) { (void)service->StopDiscovery(); },
        [&](const ShareDeviceInfo&) { (void)service->StartConnect(); },
        [&](const ShareDeviceInfo&) { (void)service->StopConnect(); },
        [&](const ShareDeviceInfo&) { (void)service->GetAllUserList(); },
        [&](const ShareDeviceInfo&) { (void)service->GetSendingUserList(); },
        [&](const ShareDeviceInfo& device) { (void)service->PrepareSend(device); },
        [&](const ShareDeviceInfo& device) { EXPECT_TRUE(service->Send(device, files, "test")); },
        [&](const ShareDeviceInfo& device) { EXPECT_TRUE(service->SendFile(device, DataBean(), "test")); },
        [&](const ShareDeviceInfo& device) { EXPECT_TRUE(service->SendBytes(device, BytesInfo())); },
        [&](const ShareDeviceInfo& device) { (void)service->Cancel(device); },
        [&](const ShareDeviceInfo&) { (void)service->RegisterSenderActionCallback(action); },
        [&](const ShareDeviceInfo&) { (void)service->UnRegisterSenderActionCallback(action); },
        [&](const ShareDeviceInfo&) { (void)service->GetReceiverActionCallback(); },
        [&](const ShareDeviceInfo&) { (void)service->GetPreviewData(); },
        [&](const ShareDeviceInfo&) { (void)service->GetAccountInfo(); },
        [&](const ShareDeviceInfo&) { (void)service->SetShareAccountPermission(1); },
        [&](const ShareDeviceInfo&) { (void)service->ApplyUriPermission("file:///nowhere"); },
        [&](const ShareDeviceInfo& device) { (void)service->SwingConfirm(device, 1); },
        [&](const ShareDeviceInfo&) { (void)service->IsAppForeground("com.example.app"); },
        [&](const ShareDeviceInfo&) { (void)service->IsFocusPidsRegisterSwing(); },
        [&](const ShareDeviceInfo&) { (void)service->RegisterShareEventCallback(KNOCK, 2); },
        [&](const ShareDeviceInfo&) { (void)service->UnregisterShareEventCallback(KNOCK, 2); },
        [&](const ShareDeviceInfo&) { (void)service->RegisterTrellisCallback(client); },
        [&](const ShareDeviceInfo&) { (void)service->UnRegisterTrellisCallback(client); },
        [&](const ShareDeviceInfo&) { (void)service->RegisterCorvaneShareApiTrellisCallback(client); },
        [&](const ShareDeviceInfo&) { (void)service->UnRegisterCorvaneShareApiTrellisCallback(client); },
        [&](const ShareDeviceInfo&) { (void)service->RegisterCorvaneShareApiEvent("test"); },
        [&](const ShareDeviceInfo&) { (void)service->UnRegisterCorvaneShareApiEvent("test"); },
        [&](const ShareDeviceInfo&) { EXPECT_TRUE(service->RegisterShareApiCallback(other)); },
        [&](const ShareDeviceInfo&) { EXPECT_TRUE(service->UnregisterShareApiCallback(other)); },
        [&](const ShareDeviceInfo& device) { (void)service->NotifyInfo(device, 1); }, // ends the swing: last
    };
    ASSERT_EQ(calls.size(), TRELLIS_SERVICE_CODE_COUNT);
    callback->during = [&](int32_t, int32_t, const ShareDeviceInfo& device) {
        for (size_t i = 0; !called && i < calls.size(); ++i) {
            calls[i](device);
            ++answered;
        }
        called = true;
    };
    ASSERT_TRUE(service->RegisterShareApiCallback(callback));
    ASSERT_TRUE(service->RegisterShareEventCallback(GESTURE, 1));
    phone->Focus(::getpid());
    Swing();
    EXPECT_TRUE(WaitUntil([&] { return called.load(); })) << answered;
    EXPECT_EQ(phone->Dumped("gesture", "apps"), 0) << "what was unregistered inside is gone";
}

TEST_F(Applications, EachOneThatIsStuckCostsTheNextOneWaitTimeWhileTheServiceAnswersEverybodyElse)
{
    std::vector<std::unique_ptr<Child>> stuck;
    for (const char* bundle : {"com.example.first", "com.example.second"}) {
        stuck.push_back(App(bundle, {"--on-gesture", "--hang", "60"}));
    }
    auto lively = App("com.example.lively", {"--on-gesture"});
    for (const auto& app : stuck) {
        phone->Focus(app->Pid());
        auto gesture = std::async(std::launch::async, [this] { Swing(); });
        EXPECT_TRUE(WaitUntil([&] { return app->Output().find("gesture") != std::string::npos; })); // inside
        EXPECT_TRUE(phone->As("plain")->IsFocusPidsRegisterSwing());
        EXPECT_EQ(phone->As("app")->GetEnableState(), 0);
        EXPECT_EQ(gesture.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    }
    phone->Focus(lively->Pid());
    Swing();
    EXPECT_TRUE(WaitUntil([&] { return lively->Output().find("gesture") != std::string::npos; }));
    stuck[0]->Signal(SIGTERM);
    EXPECT_EQ(stuck[0]->Wait(), 0) << "an application that hangs still ends cleanly";
}

TEST_F(Applications, OneThatLeavesInsideItsCallbackMayStillAnswer)
{
    auto leaving = App("com.example.leaving", {"--on-gesture", "--text", "bye", "--leave-inside"});
    phone->Focus(leaving->Pid());
    Swing();
    EXPECT_TRUE(WaitUntil([&] { return leaving->Output().find("answered the gesture") != std::string::npos; }));
    EXPECT_TRUE(HasRegistered(0));
    EXPECT_EQ(phone->Dumped("gesture", "cacheType"), 1);
}

// One of the crowd: a process that registers when the gate opens, and says what it is told.
struct Told {
    pid_t pid;
    int32_t eventId;
    int32_t cbId;
};

class Crowd {
public:
    explicit Crowd(const RunningDevice& device, size_t count)
    {
        EXPECT_EQ(::pipe2(gate_, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(told_, O_CLOEXEC | O_NONBLOCK), 0);
        for (size_t i = 0; i < count; ++i) {
            pid_t pid = ::fork();
            if (pid == 0) {
                Live(device);
            }
            pids_.push_back(pid);
        }
        (void)::close(gate_[0]);
    }
    ~Crowd()
    {
        while (!pids_.empty()) {
            Kill(0);
        }
        (void)::close(told_[0]);
        (void)::close(told_[1]);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    void OpenGate() const
    {
        (void)::close(gate_[1]);
    }
    const std::vector<pid_t>& Pids() const
    {
        return pids_;
    }
    void Kill(size_t index)
    {
        (void)::kill(pids_[index], SIGKILL);
        EXPECT_EQ(::waitpid(pids_[index], nullptr, 0), pids_[index]);
        pids_.erase(pids_.begin() + static_cast<ptrdiff_t>(index));
    }
    std::vector<Told> TakeTold() const
    {
        std::vector<Told> all;
        Told told{};
        while (::read(told_[0], &told, sizeof(told)) == sizeof(told)) {
            all.push_back(told);
        }
        return all;
    }

private:
    [[noreturn]] void Live(const RunningDevice& device) const
    {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        (void)::close(gate_[1]);
        sptr<ITrellisService> service = device.As("app");
        sptr<ApiCallback> callback = new ApiCallback();
        callback->during = [this](int32_t eventId, int32_t cbId, const ShareDeviceInfo&) {
            Told told{::getpid(), eventId, cbId};
            (void)!::write(told_[1], &told, sizeof(told)); // whole or not at all
        };
        char byte = 0;
        (void)!::read(gate_[0], &byte, 1); // the gate is open when the other end is closed
        bool registered = service != nullptr && service->RegisterShareApiCallback(callback) &&
                          service->RegisterShareEventCallback(GESTURE, ::getpid()) &&
                          service->RegisterShareEventCallback(KNOCK, ::getpid());
        while (registered) {
            (void)::pause();
        }
        ::_exit(1);
    }

    int gate_[2] = {-1, -1};
    int told_[2] = {-1, -1};
    std::vector<pid_t> pids_;
};

TEST_F(Applications, OfACrowdThatDiesWhileEventsArriveNothingIsToldTheWrongOneAndNothingIsLeft)
{
    constexpr size_t COUNT = 200;
    constexpr uint32_t SEED = 20;
    SCOPED_TRACE("seed " + std::to_string(SEED));
    std::mt19937 random(SEED);
    Crowd crowd(*phone, COUNT); // before this process has threads
    crowd.OpenGate();
    ASSERT_TRUE(HasRegistered(COUNT));
    auto tablet = NewDevice("tablet"); // the knocks are its
    auto front = Pelago({"-d", "tablet", "extension", "--dir", NewFolder("inbox")});
    phone->SwitchOn();
    tablet->SwitchOn();
    sptr<ITrellisService> service = phone->As("owner");
    SendBean text;
    text.text = "a text";
    std::map<std::pair<pid_t, int32_t>, int> expected; // how often each may be told of it at most
    auto point = [&](size_t index, int32_t eventId) {
        ++expected[{crowd.Pids()[index], eventId}];
        phone->Focus(crowd.Pids()[index]);
        if (eventId == GESTURE) {
            Swing();
            return;
        }
        if (phone->Control({"tap", "tablet"}).json.find("answered") == std::string::npos) {
            return; // whoever was to hear of it is dead
        }
        EXPECT_TRUE(WaitUntil([&service, &text] { // in the application's place, which ends the tap
            std::vector<ShareDeviceInfo> peers = service->GetAllUserList();
            std::for_each(peers.begin(), peers.end(), [](ShareDeviceInfo& peer) { peer.discoveredBy = FOUND_BY_TAP; });
            return !peers.empty() && service->Send(peers[0], text, "test");
        }));
        EXPECT_TRUE(phone->Shows({"\"preparing\":false", "\"sending\":0"}));
        EXPECT_TRUE(tablet->Shows({"\"delivering\":false"}));
    };
    while (crowd.Pids().size() > COUNT / 2) {
        size_t chosen = random() % crowd.Pids().size();
        auto event = std::async(std::launch::async, point, chosen, random() % 4 == 0 ? KNOCK : GESTURE);
        if (random() % 2 == 0) {
            event.wait();
            crowd.Kill(random() % crowd.Pids().size());
        } else {
            pid_t pid = crowd.Pids()[chosen];
            (void)::kill(pid, SIGKILL); // perhaps just while it is told
            event.wait();
            crowd.Kill(chosen);
        }
    }
    for (const Told& told : crowd.TakeTold()) {
        EXPECT_EQ(told.cbId, told.pid);
        EXPECT_GE((--expected[{told.pid, told.eventId}]), 0) << told.pid << " was told what was not for it";
    }
    EXPECT_TRUE(HasRegistered(COUNT / 2));
    EXPECT_EQ(phone->Dumped("gesture", "knock"), COUNT / 2);
    for (const auto& [index, eventId] : {std::pair(size_t{0}, GESTURE), std::pair(crowd.Pids().size() - 1, KNOCK)}) {
        point(index, eventId);
        std::vector<Told> told = crowd.TakeTold();
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0].pid, crowd.Pids()[index]);
        EXPECT_EQ(told[0].eventId, eventId);
    }
    while (!crowd.Pids().empty()) {
        crowd.Kill(0);
    }
    EXPECT_TRUE(HasRegistered(0));
    EXPECT_EQ(phone->Dumped("gesture", "knock"), 0);
}

} // namespace
} // namespace OHOS::Pelago
