#ifndef PELAGO_TESTS_GESTURE_SCENE_H
#define PELAGO_TESTS_GESTURE_SCENE_H

#include <algorithm>

#include "gesture/corvane_share_callback_manager.h"
#include "host/ability_host.h"
#include "recording_extension.h"
#include "service_fixture.h"

namespace OHOS::Pelago {

// An application: a process with the app token that knows the share API.
class TestApp {
public:
    TestApp(pid_t pid, const sptr<IRemoteObject>& service)
        : pid_(pid), api_(new RecordingApi()), client_(pid, Host::TokenId::APP, service)
    {
        EXPECT_TRUE(client_->RegisterShareApiCallback(api_));
        api_->process = &client_.Process();
    }

    TestClient& Client()
    {
        return client_;
    }
    ITrellisService* operator->() const
    {
        return client_.operator->();
    }
    pid_t Pid() const
    {
        return pid_;
    }
    sptr<PelagoApiCallback> Api() const
    {
        return api_;
    }
    // Runs as work of the application for each event, after the callback has returned.
    void Answer(std::function<void(const ShareDeviceInfo& device)> answer)
    {
        api_->answer = std::move(answer);
    }
    // "<event> <callback id> <device> <concurrent id>", one line each.
    Lines TakeHeard()
    {
        return std::exchange(api_->heard, {});
    }
    void Want(int32_t eventId, int32_t cbId)
    {
        EXPECT_TRUE(client_->RegisterShareEventCallback(eventId, cbId));
    }
    void Focus(bool focused = true) const
    {
        Host::Device::Instance().SetFocused(pid_, focused);
    }

private:
    class RecordingApi : public ShareApiCallbackStub {
    public:
        void OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device) override
        {
            heard.push_back(std::to_string(eventId) + " " + std::to_string(cbId) + " " + device.deviceId + " " +
                            device.concurrentId);
            if (answer) {
                process->Post([answer = answer, device] { answer(device); });
            }
        }
        Lines heard;
        std::function<void(const ShareDeviceInfo& device)> answer;
        Host::LoopbackProcess* process = nullptr;
    };

    const pid_t pid_;
    const sptr<RecordingApi> api_;
    TestClient client_;
};

// Sharing is on, a tile looks for devices, the front end is there.
class GestureScene : public ServiceFixture {
protected:
    void SetUp() override
    {
        ServiceFixture::SetUp();
        extension = std::make_unique<TestExtension>();
        BootOn();
        tile = NewClient();
        tile->Register();
        EXPECT_TRUE((*tile)->StartDiscovery());
        Settle();
        (void)extension->TakeHeard();
        (void)Engine().TakeJournal();
        for (const char* words : {"already connectionCorvaneShareApi_", "FocusedPid size err", "pid not found.",
                 "device is not found in SendingDeviceMap", "HandleOnPopSwing invoked."}) {
            AllowError(words);
        }
    }
    void TearDown() override
    {
        EXPECT_TRUE((*tile)->UnRegisterTrellisCallback(tile->callback));
        ServiceFixture::TearDown();
    }

    std::unique_ptr<TestApp> NewApp()
    {
        return std::make_unique<TestApp>(nextApp_++, Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID));
    }
    static void Die(TestApp& app)
    {
        app.Client().Kill();
        Settle();
    }
    static void Foreground(const std::vector<pid_t>& pids)
    {
        std::vector<Host::Application> applications;
        for (pid_t pid : pids) {
            applications.push_back({pid, 1000, "app." + std::to_string(pid)});
        }
        Host::Device::Instance().SetForegroundApplications(applications);
    }
    static void Gesture(const std::string& concurrentId = "c")
    {
        Settle(); // the focus, and what was registered
        TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, concurrentId, -1);
    }
    // Applications, those that want knocks and gestures, and callbacks that are watched.
    static std::vector<size_t> Sizes()
    {
        auto sizes = DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->GetSizes();
        return {sizes.apps, sizes.knock, sizes.swing, sizes.deaths};
    }
    Lines Notices()
    {
        Settle();
        Lines lines = extension->TakeHeard();
        lines.erase(std::remove(lines.begin(), lines.end(),
                        "connect CorvaneShareApiServiceExtension CorvaneShareIntent=switchNotifyComponent"),
            lines.end());
        return lines;
    }

    std::unique_ptr<TestExtension> extension;
    std::unique_ptr<TestClient> tile;

private:
    pid_t nextApp_ = 7000;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_GESTURE_SCENE_H
