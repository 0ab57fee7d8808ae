#ifndef PELAGO_TESTS_GESTURE_SCENE_H
#define PELAGO_TESTS_GESTURE_SCENE_H

#include "gesture/corvane_share_callback_manager.h"
#include "sharing_scene.h"

namespace OHOS::Pelago {

using ShareEvent::GESTURES;
using ShareEvent::KNOCK;

// An application: a process with the app token that knows the share API.
class TestApp : public TestClient {
public:
    TestApp(int32_t processId, const sptr<IRemoteObject>& service)
        : TestClient(processId, Host::TokenId::APP, service), pid(processId), api(new Api(*this))
    {
        EXPECT_TRUE((*this)->RegisterShareApiCallback(api));
    }
    // "<event> <callback id> <device> <concurrent id>", one line each.
    Lines TakeHeard()
    {
        return std::exchange(heard_, {});
    }
    void Want(int32_t eventId, int32_t cbId) const
    {
        EXPECT_TRUE((*this)->RegisterShareEventCallback(eventId, cbId));
    }
    void Focus(bool focused = true) const
    {
        Host::Device::Instance().SetFocused(pid, focused);
    }

    const int32_t pid;
    const sptr<PelagoApiCallback> api;
    // Runs as work of the application for each event, after the callback has returned.
    std::function<void(const ShareDeviceInfo& device)> answer = [](const ShareDeviceInfo&) {};

    class Api : public ShareApiCallbackStub {
    public:
        explicit Api(TestApp& app) : app_(app)
        {}
        void OnShareEventOccurred(int32_t event, int32_t cbId, const ShareDeviceInfo& device) override
        {
            app_.heard_.push_back(
                std::to_string(event) + " " + std::to_string(cbId) + " " + device.deviceId + " " + device.concurrentId);
            app_.Process().Post([answer = app_.answer, device] { answer(device); });
        }

    private:
        TestApp& app_;
    };

private:
    Lines heard_;
};

// The client of the scene is the front end's tile.
class GestureScene : public SharingScene {
protected:
    void SetUp() override
    {
        SharingScene::SetUp();
        AllowError("already connectionCorvaneShareApi_", "FocusedPid size err", "pid not found.", "alternativeCbs",
            "HandleOnPopSwing invoked.", "SendRequest is failed", "cancelDtcpSender is not found",
            "GetShareDeviceInfoList, size==0", "CheckAndClearDeviceDiscoveredByFlag", "Discoverer not contain swing",
            "cannot find PelagoApiCallback!.", "motionSenderCb_ nullptr", "Duplicate cbId",
            "cJSON_Parse error:", "ForDevice() failed");
    }
    std::unique_ptr<TestApp> NewApp()
    {
        return std::make_unique<TestApp>(nextApp_++, Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID));
    }
    static void Die(TestApp& app)
    {
        app.Focus(false);
        app.Kill();
        Settle();
    }
    static void Gesture(const std::string& concurrentId = "c")
    {
        Settle(); // the focus, and what was registered
        TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, concurrentId, -1);
    }
    static CorvaneShareCallbackManager& Manager()
    {
        return *DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
    }
    // Applications, those that want knocks and gestures, and callbacks that are watched.
    static std::string Sizes()
    {
        const auto sizes = Manager().GetSizes();
        return std::to_string(sizes.apps) + " " + std::to_string(sizes.knock) + " " + std::to_string(sizes.swing) +
               " " + std::to_string(sizes.deaths);
    }

private:
    int32_t nextApp_ = 7000;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_GESTURE_SCENE_H
