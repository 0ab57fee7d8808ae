#ifndef PELAGO_TAP_MOTION_SENDER_CALLBACK_H
#define PELAGO_TAP_MOTION_SENDER_CALLBACK_H

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "refbase.h"
#include "service_callbacks.h"
#include "share_device.h"
#include "share_mutex.h"
#include "share_radar_dfx.h"
#include "tap/motion_event_machine.h"

struct cJSON;

namespace OHOS::Pelago {

class TrellisService;
struct NudgeDevice;

// The sending side of a tap: says whether an application wants it, reads what the peer tells of itself, leads the peer
// to the engine, and ends the tap when something fails or takes too long.
//
// Owned by TrellisService while taps are subscribed, by the framework as long as it pleases, and by its own events
// while one runs: the last reference may go on its runner, inside such an event. The framework calls on IPC threads,
// the bodies of the events run on the runner "MotionSenderEventHandler", the rest comes from any thread.
//
// Does not choose the application, does not send, and knows one tap at a time: a second one is refused.
class MotionSenderCallback : public Synfold::ServicePublishCallbackStub, public AppExecFwk::EventHandler {
public:
    // The event machine. The preparing flag is set from the start of a tap to its end.
    class MotionEventHandler : public MotionEventMachine<MotionEventHandler> {
    public:
        enum Message : uint32_t {
            MSG_ON_NUDGE_START_EVENT = 0,        // a MotionMessage
            MSG_ON_NUDGE_PEER_SHARE_DISABLE = 1, //
            MSG_ON_NUDGE_PEER_SHARE_ENABLE = 2,  // a NudgeDevice
            MSG_NUDGE_SHARE_DISABLE = 3,         //
            MSG_NUDGE_MOTION_CANCEL = 4,         // the error code that the user is told; so below
            MSG_NUDGE_MOTION_FAILED = 5,         // error code
            MSG_NUDGE_MOTION_TIMEOUT = 6,        // a NudgeDevice
            MSG_NUDGE_MOTION_CONTINUE = 7,       //
            MSG_NUDGE_MOTION_SENDER_CONFIRM = 8, // error code
            MSG_CHECK_DELETE_MOTION_SENDER = 9,  //
            MSG_NUDGE_MOTION_USER_CANCEL = 10,   // error code
        };

        // An error is shown when the framework's animation has played.
        static constexpr int64_t ANIMATION_MS = 1500;
        // How long the engine has for its first progress.
        static constexpr int64_t TIMEOUT_MS = 6000;

        static constexpr const char* NAME = "MotionSenderCallbackEventHandler";
        static constexpr const char* RUNNER_NAME = "MotionSenderEventHandler";
        static const std::array<Row, MSG_NUDGE_MOTION_USER_CANCEL + 1> ROWS;

        explicit MotionEventHandler(const wptr<MotionSenderCallback>& callback);

        void ClearPreparingFlag()
        {
            preparing_ = false;
        }
        bool IsPreparing() const
        {
            return preparing_;
        }

    private:
        struct Ending;
        struct Endings;

        void OnNudgeStartEvent(const Event& event);
        void OnNudgePeerShareDisableEvent(const Event& event);
        void OnNudgePeerShareEnableEvent(const Event& event);
        void NudgeShareDisableEvent(const Event& event);
        void NudgeMotionCancelEvent(const Event& event);
        void NudgeMotionFailedEvent(const Event& event);
        void NudgeMotionTimeoutEvent(const Event& event);
        void NudgeMotionContinueEvent(const Event& event);
        void NudgeMotionSenderConfirmEvent(const Event& event);
        void NudgeCheckDeleteMotionSender(const Event& event);
        void NudgeMotionUserCancelEvent(const Event& event);

        void StartNudge(MotionSenderCallback& callback, const sptr<ShareDevice>& device, uint8_t shareState);
        void HandOver(MotionSenderCallback& callback, const std::shared_ptr<NudgeDevice>& peer);
        void End(const Ending& ending, const Event& event);
        void PostOrClear(bool isSent, const char* message);

        const wptr<MotionSenderCallback> motionSendCb_;
        std::atomic<bool> preparing_{false};
    };

    explicit MotionSenderCallback(const wptr<TrellisService>& service);
    ~MotionSenderCallback() override;

    // Makes the event machine and an empty record. Once, before anybody else has a reference.
    void Init();

    // The framework's questions. What it knocks with is not read; the answer is the number of applications that want
    // the tap. OnPublishEvent: 0 when the tap was taken, or is none of this business; -1 otherwise.
    int32_t OnPublishEvent(sptr<Synfold::RequestResultInfo> info) override;
    int32_t OnKnockEvent(sptr<Synfold::RequestResultInfo> info) override;

    // Null before Init.
    const std::shared_ptr<MotionEventHandler>& GetEventHandler() const
    {
        return motionEventHandler_;
    }
    std::shared_ptr<ShareRadarDfx> GetRadar() const;
    std::vector<int32_t> GetFocusedPids() const;
    bool IsDeleting() const
    {
        return deleting_;
    }
    // While true, the callback has the service let go of it as soon as none of its events waits. False when the machine
    // cannot look after that.
    [[nodiscard]] bool SetDeletingState(bool deleting);

private:
    // Reading what the peer tells of itself: texts inside texts, from outside. Nothing is trusted; a member of the
    // wrong type counts as missing.
    [[nodiscard]] static bool CheckNudgeServiceCode(const cJSON* json);
    [[nodiscard]] sptr<ShareDevice> ConvertToShareDevice(
        const std::string& extraInfo, uint8_t& shareState, uint32_t& updateFlag);
    [[nodiscard]] static bool ParseExtraData(
        ShareDevice& device, const std::string& extraData, uint8_t& shareState, uint32_t& updateFlag);
    [[nodiscard]] static bool ParseCustomData(
        ShareDevice& device, const cJSON* json, uint8_t& shareState, uint32_t& updateFlag);
    static void ParseCustData(const cJSON* json, ShareDevice& device, uint32_t& updateFlag);
    void SaveConcurrentId(const std::string& deviceId, const cJSON* json);

    void InitRadarDfx();
    void UpdateFocusedPids();
    void SetDeviceId(const std::string& deviceId);

    // What the framework shows of a tap; the second is the plain picture, with the text that an empty one becomes.
    static void NudgePublishServiceState(
        const std::string& serviceName, const std::string& serviceName2, std::string& extraInfo, int32_t status);
    static void Show(int32_t status);

    // What goes to the service, on the runner. Nothing but a line in the log when that is gone.
    [[nodiscard]] uint8_t GetShareEnableState() const;
    [[nodiscard]] bool OnSynfoldDeviceFound(const sptr<ShareDevice>& device, int32_t& error, uint32_t updateFlag) const;
    void NudgeNotifyPeerShareDisable() const;
    void NudgeNotifyEnableShare() const;
    void NudgeNotifyConnectFailed(int32_t errorCode) const;
    void CancelForNudgeConnectTimeOut(const std::string& deviceId) const;
    void ClearDeviceDiscoveredBy() const;
    void NudgeCheckAndDeleteMotionSender() const;

    const wptr<TrellisService> trellisServicePtr_;
    std::shared_ptr<MotionEventHandler> motionEventHandler_; // set by Init, then only read
    std::atomic<bool> deleting_{false};

    mutable Mutex tapMutex_{"MotionSenderCallback::tapMutex_", LockRank::LEAF};
    // The record of the last tap, the device that it led to, and who had the focus when the framework asked last.
    std::shared_ptr<ShareRadarDfx> sendRadarDfx_ SHARE_GUARDED_BY(tapMutex_);
    std::string deviceId_ SHARE_GUARDED_BY(tapMutex_);
    std::vector<int32_t> focusedPids_ SHARE_GUARDED_BY(tapMutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_TAP_MOTION_SENDER_CALLBACK_H
