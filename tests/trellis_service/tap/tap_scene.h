#ifndef PELAGO_TESTS_TAP_SCENE_H
#define PELAGO_TESTS_TAP_SCENE_H

#include "sharing_scene.h"

namespace OHOS::Pelago {

// What the framework publishes when the peer has answered: members by level, the innermost first.
struct PeerAnswer {
    std::string cust = R"("OH":1,"devHash":"ab0z","nick":"Nick","corvaneID":"account")";
    std::string custom = R"("serviceId":"pelago.receiver","subId":"4","shareState":1,"discType":"Action","actionId":7)";
    std::string extra = R"("CONN_ADDR_TYPE":2,"BLE_MAC":"AA:BB")";
    std::string top = R"("deviceId":"phone","deviceName":"Phone","concurrentId":"tap1")";

    // Puts `by` in the place of `what`, on the level where that is; at the end of level 1 for an empty one.
    PeerAnswer With(const std::string& what, const std::string& by) const;
    std::string Text() const;
};

// `text` with `by` in the place of `what`; at the end for an empty one.
std::string Replaced(std::string text, const std::string& what, const std::string& by);

// What a peer's framework delivers.
std::string Delivery(const std::string& members = R"("actionId":7,"concurrentId":"tap1")");

// The client is an application that has the focus and wants taps.
class TapScene : public SharingScene {
protected:
    static constexpr int64_t ANIMATION_MS = 1500;
    static constexpr int64_t TIMEOUT_MS = 6000;
    static constexpr int64_t EVERY_TIMER_MS = 10'000;

    // The application's callback.
    class App : public ShareApiCallbackStub {
    public:
        void OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device) override;

        Lines heard; // "told 2 1 phone tap1"
        ShareDeviceInfo lastDevice;
    };

    void SetUp() override;

    // The devices touch: the framework asks who wants it, and the peer answers. Gives what happened, as below.
    std::string Touch(const PeerAnswer& answer = {});
    // A peer's framework delivers.
    std::string Deliver(const std::string& text);
    // Only asks: what follows happens when the scene settles.
    static void Subscribe();
    static void Unsubscribe();
    void SwitchSharing(bool on);

    // What has happened since the last look, as one text: what the framework shows ("Send 2"), what the front end is
    // asked for ("fail 1207", "enable", "connect"), the telemetry, what the client and the application heard, what the
    // engine was asked, and the error lines, which are announced by that.
    std::string Happened();
    // The same a tick before, and at, a delay from now; "" before it.
    std::string HappensAt(int64_t delayMs);
    // Lets `ms` go by and looks away; an error that nobody announced fails the case.
    void Skip(int64_t ms = 0);

    const sptr<App> app = new App(); // in the client's process

private:
    Lines Reports();

    uint64_t logSeq_ = 0;
    uint64_t eventSeq_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_TAP_SCENE_H
