#ifndef PELAGO_TAP_MOTION_RECEIVER_CALLBACK_H
#define PELAGO_TAP_MOTION_RECEIVER_CALLBACK_H

#include <array>
#include <atomic>
#include <memory>
#include <string>

#include "refbase.h"
#include "service_callbacks.h"
#include "share_mutex.h"
#include "tap/motion_event_machine.h"

struct cJSON;

namespace OHOS::Pelago {

class TrellisService;

// Stands for this service in the requests of the receiving side: the framework wants to know that somebody is there.
// Has nothing to hear. Owned by MotionReceiverCallback and the framework; any thread.
class NudgeRelayActionCallback : public Synfold::ServicePublishCallbackStub {
public:
    ~NudgeRelayActionCallback() override;
};

// The receiving side of a tap: answers a peer that taps with what this device tells of itself, shows the tap, and
// watches it until the peer's data arrive.
//
// Owned by TrellisService, by the framework, which keeps it for good, and by its own events while one runs. The
// framework calls on IPC threads, the bodies of the events run on the runner "MotionRecevierEventHandler" (spelled so),
// the rest comes from any thread.
//
// Does not receive anything and does not know the peer: who taps during a tap hears that this device is busy.
class MotionReceiverCallback : public Synfold::ServiceDeliverCallbackStub {
public:
    // The event machine. The delivering flag is set from the reply to the end of the tap.
    class MotionEventHandler : public MotionEventMachine<MotionEventHandler> {
    public:
        enum Message : uint32_t {
            MSG_ON_NUDGE_START_EVENT = 0,  // a MotionMessage
            MSG_NUDGE_SHARE_DISABLE = 1,   //
            MSG_NUDGE_MOTION_CANCEL = 2,   // the error code that the user is told
            MSG_NUDGE_MOTION_TIMEOUT = 3,  //
            MSG_NUDGE_MOTION_CONTINUE = 4, //
            MSG_NUDGE_MOTION_FINISH = 5,   // error code
            MSG_NUDGE_MOTION_ERR_CODE = 6, // the peer's notice
        };

        // An error is shown when the framework's animation has played.
        static constexpr int64_t ANIMATION_MS = 1500;
        // How long the peer has until its data begin to arrive.
        static constexpr int64_t TIMEOUT_MS = 6000;
        // A notice comes ahead of the animation that it ends.
        static constexpr int64_t NOTICE_MS = 2000;

        static constexpr const char* NAME = "MotionReceiverCallbackEventHandler";
        static constexpr const char* RUNNER_NAME = "MotionRecevierEventHandler";
        static const std::array<Row, MSG_NUDGE_MOTION_ERR_CODE + 1> ROWS;

        explicit MotionEventHandler(const wptr<MotionReceiverCallback>& callback);

        void ClearDeliveringFlag()
        {
            delivering_ = false;
        }
        bool IsDelivering() const
        {
            return delivering_;
        }

    private:
        void OnNudgeStartEvent(const Event& event);
        void NudgeShareDisableEvent(const Event& event);
        void NudgeMotionCancelEvent(const Event& event);
        void NudgeMotionTimeoutEvent(const Event& event);
        void NudgeMotionContinueEvent(const Event& event);
        void NudgeMotionFinishEvent(const Event& event);
        void NudgeMotionErrCodeEvent(const Event& event);

        void Answer(const MotionReceiverCallback& callback, uint32_t actionId, const std::string& concurrentId);
        void End(const Event& event, void (*notify)(const MotionReceiverCallback& callback, int32_t param));

        const wptr<MotionReceiverCallback> motionRecvCb_;
        std::atomic<bool> delivering_{false};
    };

    explicit MotionReceiverCallback(const wptr<TrellisService>& service);
    ~MotionReceiverCallback() override;

    // Makes the event machine. Once, before anybody else has a reference.
    void Init();

    // What a peer has sent, a JSON text from outside. 0 when it was taken, or is none of this business; -1 otherwise.
    int32_t OnDeliver(const std::string& basicInfo) override;

    // Null before Init.
    const std::shared_ptr<MotionEventHandler>& GetEventHandler() const
    {
        return motionEventHandler_;
    }

private:
    struct Relay;

    // True when the text is a bare notice of the peer, which then has been taken.
    [[nodiscard]] bool IsOnlyNotification(const cJSON* json) const;
    [[nodiscard]] static bool CheckNudgeServiceCode(const cJSON* json);

    // The answers to a peer. False when this device has nothing to tell of itself, or the framework does not take it.
    [[nodiscard]] bool ReplyAction(uint32_t actionId, uint8_t state, const std::string& concurrentId) const;
    void ReplyShareBusy(uint32_t actionId) const;
    [[nodiscard]] static int32_t Reply(const std::string& text);

    // What the framework shows of a tap; the second is the plain picture, with the text that an empty one becomes.
    static void NudgePublishServiceState(
        const std::string& serviceName, const std::string& serviceName2, std::string& extraInfo, int32_t status);
    static void Show(int32_t status);

    // What goes to the service, on the runner. Nothing but a line in the log when that is gone.
    [[nodiscard]] uint8_t GetShareEnableState() const;
    void NudgeNotifyEnableShare() const;
    void NudgeNotifyConnectFailed(int32_t errorCode) const;

    const wptr<TrellisService> trellisServicePtr_;
    std::shared_ptr<MotionEventHandler> motionEventHandler_; // set by Init, then only read
};

} // namespace OHOS::Pelago

#endif // PELAGO_TAP_MOTION_RECEIVER_CALLBACK_H
