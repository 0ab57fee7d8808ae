// Threads of applications, gestures, targets and ends meet. For the thread sanitizer and the order of locks.

#include <fcntl.h>

#include <atomic>
#include <future>

#include <gtest/gtest.h>

#include "callback_stubs.h"
#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/share_focus_listener.h"
#include "hilog/host_log.h"
#include "host/scheduler.h"
#include "runtime_env.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {
namespace {

using ShareEvent::GESTURES;

constexpr auto MOMENT = std::chrono::milliseconds(100); // for what should have to wait

class LocalApi : public ShareApiCallbackStub {
public:
    void OnShareEventOccurred(int32_t, int32_t, const ShareDeviceInfo&) override
    {
        during();
    }
    sptr<IRemoteObject> AsObject() override
    {
        whenLookedAt();
        return ShareApiCallbackStub::AsObject();
    }
    std::function<void()> during = [] {}, whenLookedAt = [] {};
};

const auto Device = [](const char* id) {
    ShareDeviceInfo device;
    device.deviceId = id;
    device.discoveredBy = Discoverer::SWING;
    return device;
};
const auto Gesture = [] { TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, "c", -1); };
const auto Send = [] {
    CacheMapManager::InsertToAllDeviceMap(Device("phone"), 0, 0, 0, 0);
    TrellisService::SwingSend(Device("phone"));
};
const auto CacheText = [] { EXPECT_TRUE(TrellisService::SwingCacheByteBean(Device("-1"), BytesInfo())); };
// With a descriptor that only the service holds.
const auto CacheFiles = [] {
    SendBean bean;
    bean.uriList.resize(1);
    bean.uriList[0].fileFd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const DescriptorShare share = DescriptorLedger::Adopt(bean);
    EXPECT_TRUE(TrellisService::SwingCacheSendBean(Device("-1"), bean, "app"));
};
const auto Manager = []() -> auto&
{
    return *DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
};
const auto Register = [](int32_t pid, int32_t event, const sptr<LocalApi>& api = new LocalApi()) {
    EXPECT_TRUE(Manager().AddShareApiCallback(pid, api));
    (void)Manager().AddShareEventCallback(pid, 1, event); // it may have died meanwhile
};

// Without an engine and a framework behind it: every request of the service fails, and its own state is what is left.
class GestureThreads : public testing::Test {
protected:
    void SetUp() override
    {
        RuntimeEnv::Install({"", nullptr, Host::Scheduler::StartDetached});
        Manager().Init(service_);
    }
    void TearDown() override
    {
        EXPECT_TRUE(Host::Scheduler::Instance().WaitForDetached(10'000));
        for (int32_t pid = 1; pid <= PIDS; ++pid) {
            Manager().ApiCallbackDeath(pid);
        }
        TrellisService::ClearSwingCache();
        (void)CacheMapManager::RemoveFromSendBeanMap("phone");
        EXPECT_EQ(DescriptorLedger::OpenCount(), 0U);
        const auto sizes = Manager().GetSizes();
        EXPECT_EQ(sizes.apps + sizes.knock + sizes.swing + sizes.deaths, 0U);
    }
    static constexpr int32_t PIDS = 4;
    const sptr<TrellisService> service_ = new TrellisService(TRELLIS_SERVICE_ID, false);
};

TEST_F(GestureThreads, OfEveryRoadMeetAndLeaveNothing)
{
    constexpr int32_t ROUNDS = 300;
    const sptr<ShareFocusListener> focus = ShareFocusListener::GetInstance();
    const std::function<void(int32_t)> roads[] = {
        [](int32_t) { Gesture(); },
        [](int32_t i) { Register(1 + i % PIDS, 2 + i % 2); },
        [](int32_t i) { Manager().ApiCallbackDeath(1 + i % PIDS); },
        [](int32_t i) {
            (void)Manager().DelShareApiCallback(1 + i % 3);
            (void)Manager().DelShareEventCallback(1 + i % PIDS, -1, 2);
        },
        [](int32_t i) { i % 2 == 0 ? CacheFiles() : CacheText(); },
        [](int32_t i) { i % 4 == 0 ? (void)TrellisService::SwingSendFail(Device("phone"), i) : Send(); },
        [&](int32_t i) {
            std::string id = "phone";
            TrellisService::HandleOnSwingStatus(1, id, 100);
            const auto info = MakeSptr<Rosen::FocusChangeInfo>(1 + i % PIDS, 0);
            i % 2 == 0 ? focus->OnFocused(info) : focus->OnUnfocused(info);
            (void)TrellisService::GetSwingView();
            (void)Manager().GetSizes();
        },
    };
    std::vector<std::future<void>> threads;
    for (const auto& road : roads) {
        threads.push_back(std::async(std::launch::async, [&road] {
            for (int32_t i = 0; i < ROUNDS; ++i) {
                road(i);
            }
        }));
    }
}

// The gesture waits for the application, which asks for the cache; a send holds the cache and waits for the list that
// the gesture holds. As soon as the application's wait time is over, all three go on. The dump waits for none of them.
TEST_F(GestureThreads, OfAGestureAnAnswerAndASendWaitForEachOtherNoLongerThanTheCall)
{
    ShareFocusListener::GetInstance()->OnFocused(MakeSptr<Rosen::FocusChangeInfo>(1, 0));
    const sptr<LocalApi> api = new LocalApi();
    std::future<void> send, answer, dump;
    api->during = [&] {
        send = std::async(std::launch::async, Send);
        (void)send.wait_for(MOMENT);
        answer = std::async(std::launch::async, CacheText);
        EXPECT_EQ(answer.wait_for(MOMENT), std::future_status::timeout);
        dump = std::async(std::launch::async, [] {
            EXPECT_EQ(Manager().GetSizes().apps, 1U);
            EXPECT_EQ(TrellisService::GetListSizes().shareApiCallbacks, 0U);
        });
        EXPECT_EQ(dump.wait_for(50 * MOMENT), std::future_status::ready);
    };
    Register(1, GESTURES, api);
    CacheFiles();
    Gesture();
    answer.get();
    send.get();
    EXPECT_EQ(TrellisService::GetSwingView().cacheType, 3); // the answer's, behind the send
}

TEST_F(GestureThreads, OfAGestureAndARegistrationThatJustMissEachOtherMeetAtTheReplay)
{
    static std::atomic<bool> armed;
    armed = true;
    Host::SetLogListener([] {
        const auto lines = Host::ReadLog(Host::LastLogSeq() - 1);
        if (lines.front().text.find("SwingEventNeedCache.") != std::string::npos && armed.exchange(false)) {
            std::async(std::launch::async, [] { Register(1, GESTURES); }).get();
            (void)Host::Scheduler::Instance().WaitForDetached(MOMENT.count());
        }
    });
    Gesture();
    Host::SetLogListener(nullptr);
    EXPECT_FALSE(armed);
    EXPECT_TRUE(Host::Scheduler::Instance().WaitForDetached(10'000));
    EXPECT_EQ(TrellisService::GetSwingView().gesture, -1);
}

// TearDown finds a watch over nothing when a callback goes between its entry and its watch.
TEST_F(GestureThreads, OfARegistrationAndItsEndLeaveNoWatch)
{
    const sptr<LocalApi> api = new LocalApi();
    std::future<void> end;
    std::atomic<int> looks{0};
    api->whenLookedAt = [&] {
        if (++looks == 2) { // the watch is about to be made
            end = std::async(std::launch::async, [] { EXPECT_TRUE(Manager().DelShareApiCallback(1)); });
            (void)end.wait_for(MOMENT);
        }
    };
    EXPECT_TRUE(Manager().AddShareApiCallback(1, api));
    end.get();
}

} // namespace
} // namespace OHOS::Pelago
