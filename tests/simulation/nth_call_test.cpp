#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "service_fixture.h"
#include "simulated_device.h"
#include "switch/share_switch_manager.h"

// The Nth call of the host fails, for N = 1, 2, 3 and so on until the story passes without a fault: nothing hangs,
// nothing leaks, and the story and the one after it work as soon as the host does.
namespace OHOS::Pelago {
namespace {

constexpr int64_t LONGEST_WAIT_MS = 20000; // every deadline of the service is over by then
constexpr const char* PEER = "peer";

// What one process tells the test.
struct Outcome {
    bool faultTaken = false; // the story makes N calls or more
    char failed[100] = {};   // the call that failed
    char fault[200] = {};    // what is wrong; empty when nothing is
};

// A phone from its start to its stop, told in ten stories, each on what those before it have left.
class Phone {
public:
    explicit Phone(const std::string& folder, bool isFirstLife) : device_(1, folder, isFirstLife)
    {
        descriptors_ = CountDescriptors();
    }
    void Start()
    {
        Host::AbilityHost::Instance().Start();
    }
    bool HasStarted()
    {
        sptr<IRemoteObject> service = Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID);
        if (service != nullptr && client_ == nullptr) {
            client_ = std::make_unique<TestClient>(4001, Host::TokenId::OWNER, service);
            app_ = std::make_unique<TestClient>(4002, Host::TokenId::APP, service);
        }
        return service != nullptr;
    }
    void SwitchOn()
    {
        (void)(*client_)->SetShareEnableWithConfirm(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false, false);
    }
    bool IsOn()
    {
        return (*client_)->IsEnabled() && device_.engine->IsPublished();
    }
    void Register()
    {
        (void)(*client_)->RegisterTrellisCallback(client_->callback);
        (void)(*app_)->RegisterShareApiCallback(callback_ = new AnsweringCallback(*app_, events_));
        (void)(*app_)->RegisterShareEventCallback(2, 1);
        (void)(*app_)->RegisterShareEventCallback(3, 1);
        Host::Device::Instance().SetFocused(4002, true);
    }
    bool IsRegistered()
    {
        (void)(*app_)->RegisterCorvaneShareApiTrellisCallback(app_->callback);
        return Heard("OnConnectHub");
    }
    void Discover()
    {
        (void)(*client_)->StartDiscovery();
        device_.engine->Found(Peer(PEER));
    }
    bool IsFound()
    {
        return Heard("OnDeviceFound peer");
    }
    void Send()
    {
        SendBean files;
        files.uriList.resize(2);
        for (FileHolder& file : files.uriList) {
            file.SetFileFd(STDERR_FILENO);
        }
        (void)(*client_)->Send(Entry(PEER), files, "phone");
        device_.engine->Report(PEER, [](ITransmitCallback& callback) { callback.OnProgess(50); });
        device_.engine->Report(PEER, [](ITransmitCallback& callback) { callback.OnSuccess(PEER, {"a"}); });
    }
    bool IsSent()
    {
        return Heard("OnTransStateChange peer event=3");
    }
    void Receive()
    {
        sptr<PelagoReceiver> receiver = new ScriptedReceiver();
        device_.engine->Tell([=](PelagoReceiveListener& listener) { listener.OnPreviewReceive(receiver, {}); });
    }
    bool IsReceived()
    {
        return (*client_)->GetReceiverActionCallback() != nullptr;
    }
    void SendAndCancel()
    {
        BytesInfo bytes;
        (void)(*client_)->SendBytes(Entry(PEER), bytes);
        (void)(*client_)->Cancel(Entry(PEER));
    }
    bool IsCancelled()
    {
        return Heard("OnCancel peer") && device_.engine->TransferTo(PEER)->cancelled;
    }
    void Swing()
    {
        TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, "swing", -1);
        (void)SimulatedDevice::Settle(); // told by the next one
        ShareDevice target = Peer("target");
        target.SetCapability(4); // takes bytes
        target.SetDiscoveredBy(Discoverer::SWING);
        device_.engine->Found(target);
    }
    bool IsSwung()
    {
        return device_.engine->TransferTo("target") != nullptr;
    }
    void Tap()
    {
        device_.collab->Knock();
        device_.collab->PublishEvent(TapAnswer("tapped", 1, false));
        (void)SimulatedDevice::Settle(1000); // told by the next one
        device_.engine->Report("tapped", [](ITransmitCallback& callback) { callback.OnMotionState(1, 1, 0); });
        device_.engine->Report("tapped", [](ITransmitCallback& callback) { callback.OnMotionState(1, 4, 0); });
    }
    bool IsTapped()
    {
        return events_.find("tapped") != std::string::npos && device_.engine->TransferTo("tapped") != nullptr;
    }
    void Stop()
    {
        Host::AbilityHost::Instance().Stop();
    }
    bool HasStopped()
    {
        return Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID) == nullptr;
    }
    // After Stop: what the process still holds that it should not.
    bool HoldsDescriptors()
    {
        client_.reset();
        app_.reset();
        (void)SimulatedDevice::Settle();
        device_.engine->CloseTransfers();
        return CountDescriptors() > descriptors_;
    }

private:
    // Whether the client was told since the last look.
    bool Heard(const std::string& start)
    {
        for (const std::string& line : client_->TakeHeard()) {
            if (line.rfind(start, 0) == 0) {
                return true;
            }
        }
        return false;
    }

    SimulatedDevice device_;
    std::unique_ptr<TestClient> client_;
    std::unique_ptr<TestClient> app_;
    sptr<AnsweringCallback> callback_;
    std::string events_;
    size_t descriptors_ = 0;
};

struct Story {
    const char* name;
    void (Phone::*tell)();
    bool (Phone::*hasWorked)();
};

constexpr Story STORIES[] = {
    {"start", &Phone::Start, &Phone::HasStarted},
    {"switch on", &Phone::SwitchOn, &Phone::IsOn},
    {"register", &Phone::Register, &Phone::IsRegistered},
    {"discover", &Phone::Discover, &Phone::IsFound},
    {"send", &Phone::Send, &Phone::IsSent},
    {"receive", &Phone::Receive, &Phone::IsReceived},
    {"cancel", &Phone::SendAndCancel, &Phone::IsCancelled},
    {"swing", &Phone::Swing, &Phone::IsSwung},
    {"tap", &Phone::Tap, &Phone::IsTapped},
    {"stop", &Phone::Stop, &Phone::HasStopped},
};
constexpr size_t START = 0;
constexpr size_t STOP = std::size(STORIES) - 1;

// Tells stories `from` to `to` with a host that works. The name of the first that does not, or null.
const char* TellAll(Phone& phone, size_t from, size_t to)
{
    for (size_t i = from; i <= to; ++i) {
        const Story& story = STORIES[i];
        (phone.*story.tell)();
        if (!SimulatedDevice::Settle(LONGEST_WAIT_MS) || !(phone.*story.hasWorked)()) {
            return story.name;
        }
    }
    return nullptr;
}

void SetFault(Outcome& outcome, const char* what, const char* story)
{
    std::snprintf(outcome.fault, sizeof(outcome.fault), "%s: %s", what, story);
}

// One process: story `index` with its call number `n` failing. A start and a stop are not told twice in a process.
void TellWithFault(size_t index, uint64_t n, const std::string& folder, Outcome& outcome)
{
    Phone phone(folder, n == 1);
    if (const char* broken = index == START ? nullptr : TellAll(phone, START, index - 1); broken != nullptr) {
        SetFault(outcome, "before the fault", broken);
        return;
    }
    const Story& story = STORIES[index];
    Host::Faults::FailNth(n);
    (phone.*story.tell)();
    bool rests = SimulatedDevice::Settle(LONGEST_WAIT_MS);
    outcome.faultTaken = Host::Faults::Calls() >= n;
    std::snprintf(outcome.failed, sizeof(outcome.failed), "%s", Host::Faults::LastFailed().c_str());
    Host::Faults::Clear();
    if (!rests) {
        SetFault(outcome, "does not come to rest", story.name);
        return;
    }
    if (index == START || index == STOP) {
        return;
    }
    if (const char* broken = TellAll(phone, index, index + 1); broken != nullptr) {
        SetFault(outcome, "does not work after the fault", broken);
        return;
    }
    if (index + 1 < STOP) {
        phone.Stop();
        (void)SimulatedDevice::Settle(LONGEST_WAIT_MS); // was told to rest before
    }
    if (phone.HoldsDescriptors()) {
        SetFault(outcome, "descriptors are left", story.name);
    }
}

// In a process of its own, since the service's state is static; `body` fills the outcome, which both share.
Outcome InChild(const std::function<void(Outcome&)>& body)
{
    auto* shared = static_cast<Outcome*>(
        ::mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    new (shared) Outcome();
    if (pid_t child = ::fork(); child == 0) {
        body(*shared);
        ::_exit(0);
    } else {
        int status = -1;
        (void)::waitpid(child, &status, 0);
        if (status != 0) {
            SetFault(*shared, "the process died", std::to_string(status).c_str());
        }
    }
    Outcome outcome = *shared;
    (void)::munmap(shared, sizeof(Outcome));
    return outcome;
}

class NthCall : public testing::TestWithParam<size_t> {};

TEST_P(NthCall, OfTheHostFailsAndNothingIsLost)
{
    std::string folder = testing::TempDir() + "pelago.XXXXXX";
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    uint64_t n = 0;
    for (bool faultTaken = true; faultTaken && !HasFailure();) {
        ++n;
        Outcome outcome = InChild([&](Outcome& filled) { TellWithFault(GetParam(), n, folder, filled); });
        EXPECT_STREQ(outcome.fault, "") << "call " << n << ", " << outcome.failed;
        faultTaken = outcome.faultTaken;
        if (GetParam() == START || GetParam() == STOP) { // the next process finds a device that works
            Outcome next = InChild([&](Outcome& filled) {
                Phone phone(folder, false);
                if (const char* broken = TellAll(phone, START, START + 1); broken != nullptr) {
                    SetFault(filled, "in the next process", broken);
                }
            });
            EXPECT_STREQ(next.fault, "") << "call " << n << ", " << outcome.failed;
        }
    }
    RecordProperty("calls", static_cast<int>(n) - 1);
    std::filesystem::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(Story, NthCall, testing::Range<size_t>(0, std::size(STORIES)), [](const auto& story) {
    std::string name = STORIES[story.param].name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

} // namespace
} // namespace OHOS::Pelago
