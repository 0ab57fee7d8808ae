// Threads of applications, gestures, targets and ends meet. For the thread sanitizer and the order of locks.

#include <fcntl.h>

#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "callback_stubs.h"
#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/share_focus_listener.h"
#include "host/scheduler.h"
#include "runtime_env.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {
namespace {

// Without an engine and a framework behind it: every request of the service fails, and its own state is what is left.
class LocalApi : public ShareApiCallbackStub {
public:
    void OnShareEventOccurred(int32_t, int32_t, const ShareDeviceInfo&) override
    {
        if (during) {
            during();
        }
    }
    std::function<void()> during;
};

class GestureThreads : public testing::Test {
protected:
    void SetUp() override
    {
        RuntimeEnv::Install({"", nullptr, Host::Scheduler::StartDetached});
        Manager()->Init(service_);
    }
    static std::shared_ptr<CorvaneShareCallbackManager> Manager()
    {
        return DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
    }
    static ShareDeviceInfo Device(const char* id)
    {
        ShareDeviceInfo device;
        device.deviceId = id;
        device.discoveredBy = Discoverer::SWING;
        return device;
    }
    // Caches files, with descriptors that only the service holds.
    static void CacheFiles()
    {
        SendBean bean;
        bean.conCurrentId = "c";
        bean.uriList.resize(1);
        bean.uriList[0].fileFd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        const DescriptorShare share = DescriptorLedger::Adopt(bean);
        EXPECT_TRUE(TrellisService::SwingCacheSendBean(Device("-1"), bean, "app"));
    }

    const sptr<TrellisService> service_ = new TrellisService(TRELLIS_SERVICE_ID, false);
};

TEST_F(GestureThreads, OfEveryRoadMeetAndLeaveNothing)
{
    constexpr int32_t PIDS = 4;
    constexpr int ROUNDS = 300;
    const sptr<ShareFocusListener> focus = ShareFocusListener::GetInstance();
    const auto pidOf = [](int i) { return 1 + i % PIDS; };
    const std::function<void(int)> roads[] = {
        [](int i) { TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, std::to_string(i), -1); },
        [&](int i) {
            (void)Manager()->AddShareApiCallback(pidOf(i), new LocalApi());
            (void)Manager()->AddShareEventCallback(pidOf(i), i, 2 + i % 2);
        },
        [&](int i) {
            i % 3 == 0 ? Manager()->ApiCallbackDeath(pidOf(i))
                       : (void)Manager()->DelShareEventCallback(pidOf(i), -1, 2);
        },
        [](int i) {
            BytesInfo bytes;
            bytes.conCurrentId = std::to_string(i);
            i % 2 == 0 ? CacheFiles() : (void)TrellisService::SwingCacheByteBean(Device("-1"), bytes);
        },
        [](int i) {
            CacheMapManager::InsertToAllDeviceMap(Device("phone"), 0, 0, 0, 0);
            i % 4 == 0 ? (void)TrellisService::SwingSendFail(Device("phone"), i)
                       : TrellisService::SwingSend(Device("phone"));
        },
        [&](int i) {
            std::string id = "phone";
            TrellisService::HandleOnSwingStatus(1, id, 100);
            const auto info = MakeSptr<Rosen::FocusChangeInfo>(pidOf(i), 0);
            i % 2 == 0 ? focus->OnFocused(info) : focus->OnUnfocused(info);
            (void)TrellisService::GetSwingView();
            (void)Manager()->GetSizes();
        },
    };
    std::vector<std::thread> threads;
    for (const auto& road : roads) {
        threads.emplace_back([&road] {
            for (int i = 0; i < ROUNDS; ++i) {
                road(i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(Host::Scheduler::Instance().WaitForDetached(10'000));
    for (int32_t pid = 1; pid <= PIDS; ++pid) {
        Manager()->ApiCallbackDeath(pid);
    }
    TrellisService::ClearSwingCache();
    (void)TrellisService::CommonCancel(Device("phone"));
    (void)CacheMapManager::RemoveFromSendBeanMap("phone");
    EXPECT_EQ(DescriptorLedger::OpenCount(), 0U);
    const auto sizes = Manager()->GetSizes();
    EXPECT_EQ(sizes.apps + sizes.knock + sizes.swing + sizes.deaths, 0U);
}

// The gesture waits for the application, which asks for the cache; a send holds the cache and waits for the list that
// the gesture holds. As soon as the application's wait time is over, all three go on.
TEST_F(GestureThreads, OfAGestureAnAnswerAndASendWaitForEachOtherNoLongerThanTheCall)
{
    constexpr auto WAIT_TIME = std::chrono::milliseconds(300); // in place of the call's
    ShareFocusListener::GetInstance()->OnFocused(MakeSptr<Rosen::FocusChangeInfo>(1, 0));
    const sptr<LocalApi> api = new LocalApi();
    std::future<void> send;
    std::future<bool> answer;
    api->during = [&] {
        CacheMapManager::InsertToAllDeviceMap(Device("phone"), 0, 0, 0, 0);
        send = std::async(std::launch::async, [] { TrellisService::SwingSend(Device("phone")); });
        (void)send.wait_for(WAIT_TIME / 2);
        answer = std::async(
            std::launch::async, [] { return TrellisService::SwingCacheByteBean(Device("-1"), BytesInfo()); });
        EXPECT_EQ(answer.wait_for(WAIT_TIME / 2), std::future_status::timeout);
    };
    ASSERT_TRUE(Manager()->AddShareApiCallback(1, api));
    ASSERT_TRUE(Manager()->AddShareEventCallback(1, 1, ShareEvent::GESTURES));
    CacheFiles();
    TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, "c", -1);
    EXPECT_TRUE(answer.get());
    send.get();
    EXPECT_TRUE(Host::Scheduler::Instance().WaitForDetached(10'000));
    EXPECT_EQ(TrellisService::GetSwingView().cacheType, 3); // the answer's, behind the send
    TrellisService::ClearSwingCache();
}

} // namespace
} // namespace OHOS::Pelago
