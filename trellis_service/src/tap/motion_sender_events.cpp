#include "core/trellis_service.h"
#include "tap/motion_messages.h"
#include "tap/motion_sender_callback.h"
#include "transfer/corvane_share_manager.h"

// The event machine of the sending side: how a tap begins, and everything that can end it.
namespace OHOS::Pelago {

using Handler = MotionSenderCallback::MotionEventHandler;

constexpr std::array<Handler::Row, Handler::MSG_NUDGE_MOTION_USER_CANCEL + 1> Handler::ROWS{{
    {MSG_ON_NUDGE_START_EVENT, &Handler::OnNudgeStartEvent, AT_ONCE_MS},
    {MSG_ON_NUDGE_PEER_SHARE_DISABLE, &Handler::OnNudgePeerShareDisableEvent, ANIMATION_MS},
    {MSG_ON_NUDGE_PEER_SHARE_ENABLE, &Handler::OnNudgePeerShareEnableEvent, AT_ONCE_MS},
    {MSG_NUDGE_SHARE_DISABLE, &Handler::NudgeShareDisableEvent, ANIMATION_MS},
    {MSG_NUDGE_MOTION_CANCEL, &Handler::NudgeMotionCancelEvent, ANIMATION_MS},
    {MSG_NUDGE_MOTION_FAILED, &Handler::NudgeMotionFailedEvent, ANIMATION_MS},
    {MSG_NUDGE_MOTION_TIMEOUT, &Handler::NudgeMotionTimeoutEvent, TIMEOUT_MS},
    {MSG_NUDGE_MOTION_CONTINUE, &Handler::NudgeMotionContinueEvent, AT_ONCE_MS},
    {MSG_NUDGE_MOTION_SENDER_CONFIRM, &Handler::NudgeMotionSenderConfirmEvent, AT_ONCE_MS},
    {MSG_CHECK_DELETE_MOTION_SENDER, &Handler::NudgeCheckDeleteMotionSender, AT_ONCE_MS},
    {MSG_NUDGE_MOTION_USER_CANCEL, &Handler::NudgeMotionUserCancelEvent, AT_ONCE_MS},
}};

// What an event that ends something does, in the order of the columns.
struct Handler::Ending {
    bool clearsFlag;
    bool endsTimeout;
    struct {
        const char* name; // null: not reported
        int32_t result;
        int32_t state;
        int32_t code;
    } radar;
    bool endsPicture;
    void (*notify)(const MotionSenderCallback& callback, const Event& event); // may be null
    bool checksDelete;
};

namespace {

constexpr int32_t RADAR_TIMEOUT = 0x1A8B0001;
constexpr int32_t RADAR_TAP_DURING_TAP = 0x1A8B0002;

int32_t ErrorCodeOf(const Handler::Event& event)
{
    return static_cast<int32_t>(event->GetParam());
}

} // namespace

// Meant: the peer's switch never deletes the callback; whoever goes on and whom the user stops keep the flag.
struct Handler::Endings {
    using Callback = MotionSenderCallback;

    static void PeerDisabled(const Callback& callback, const Event&)
    {
        callback.NudgeNotifyPeerShareDisable();
    }
    static void Disabled(const Callback& callback, const Event&)
    {
        callback.NudgeNotifyEnableShare();
    }
    static void Failed(const Callback& callback, const Event& event)
    {
        callback.NudgeNotifyConnectFailed(ErrorCodeOf(event));
    }
    static void TimedOut(const Callback& callback, const Event& event)
    {
        callback.NudgeNotifyConnectFailed(NudgeError::TIMEOUT);
        if (const auto peer = event->GetSharedObject<NudgeDevice>(); peer != nullptr && peer->device != nullptr) {
            callback.CancelForNudgeConnectTimeOut(peer->device->GetDeviceId());
        }
    }

    // clang-format off
    static constexpr Ending PEER_DISABLED{true, false,
        {"Sender::OnNudgePeerShareDisable", RadarResult::CANCELLED, RadarState::END, 0}, true, PeerDisabled, false};
    static constexpr Ending LOCAL_DISABLED{true, false,
        {"Sender::NudgeShareDisable", RadarResult::CANCELLED, RadarState::END, 0}, true, Disabled, true};
    static constexpr Ending CANCEL{true, true,
        {"Sender::NudgeMotionCancel", RadarResult::CANCELLED, RadarState::END, 0}, true, Failed, true};
    static constexpr Ending FAILED{true, true, {}, true, Failed, true};
    static constexpr Ending TIMEOUT{true, false,
        {"Sender::NudgeMotionTimeout", RadarResult::FAILED, RadarState::END, RADAR_TIMEOUT}, true, TimedOut, true};
    static constexpr Ending CONTINUE{false, true,
        {"Sender::OnNudgeContinue", RadarResult::SUCCESS, RadarState::IN_PROGRESS, 0}, false, nullptr, true};
    static constexpr Ending SENDER_CONFIRM{true, false, {}, false, nullptr, true};
    static constexpr Ending USER_CANCEL{false, true, {}, false, nullptr, true};
    static constexpr Ending CHECK_DELETE{false, false, {}, false, nullptr, true};
    // clang-format on
};

Handler::MotionEventHandler(const wptr<MotionSenderCallback>& callback) : motionSendCb_(callback)
{
    static_assert(AreInOrder(ROWS), "every message has its row, in the order of the ids");
}

void Handler::OnNudgeStartEvent(const Event& event)
{
    const auto message = event->GetSharedObject<MotionMessage>();
    if (message == nullptr || message->extraInfo.empty()) {
        SHARE_LOGE(Log::SERVICE, "MotionMessage is nullptr.");
        return;
    }
    const sptr<MotionSenderCallback> callback = motionSendCb_.promote();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionSendCb_ nullptr.");
        return;
    }
    uint8_t shareState = NudgeShareState::DISABLE;
    uint32_t updateFlag = 0;
    const sptr<ShareDevice> device = callback->ConvertToShareDevice(message->extraInfo, shareState, updateFlag);
    if (device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "ConvertToShareDevice nullptr.");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "updateFlag %{public}d actId %{public}d", static_cast<int32_t>(updateFlag),
        device->GetActionAddrHandle());
    if (updateFlag == 0) {
        StartNudge(*callback, device, shareState);
        return;
    }
    // A refreshed action for the tap that runs: for the engine alone.
    int32_t result = 0;
    (void)callback->OnSynfoldDeviceFound(device, result, updateFlag); // logged there
    SHARE_LOGI(Log::SERVICE, "updateFlag %{public}d result %{public}d.", static_cast<int32_t>(updateFlag), result);
}

// The record has begun anew before a second tap is refused: its refusal is the last that is reported of either.
void Handler::StartNudge(MotionSenderCallback& callback, const sptr<ShareDevice>& device, uint8_t shareState)
{
    callback.InitRadarDfx();
    if (preparing_) {
        SHARE_LOGE(Log::SERVICE, "Is delivering, do not process new OnPublishEvent.");
        callback.GetRadar()->ReportShareRadarInfo(
            "OnNudgeStartEvent", RadarStage::TAP, RadarResult::REFUSED, RadarState::END, RADAR_TAP_DURING_TAP);
        return;
    }
    CorvaneShareManager::ConnectCorvaneShareApiServiceEx();
    preparing_ = true;
    callback.Show(NudgeServiceState::STARTED);
    if (shareState == NudgeShareState::DISABLE) {
        PostOrClear(Post(MSG_ON_NUDGE_PEER_SHARE_DISABLE), "MSG_ON_NUDGE_PEER_SHARE_DISABLE");
        return;
    }
    const auto peer = std::make_shared<NudgeDevice>(NudgeDevice{device});
    if (Post(MSG_ON_NUDGE_PEER_SHARE_ENABLE, peer)) {
        callback.SetDeviceId(device->GetDeviceId());
    } else {
        PostOrClear(false, "MSG_ON_NUDGE_PEER_SHARE_DISABLE"); // one text for both
    }
}

// A step that cannot follow ends the tap, without a word to the user.
void Handler::PostOrClear(bool isSent, const char* message)
{
    if (!isSent) {
        SHARE_LOGE(Log::SERVICE, "send %{public}s failed.", message);
        ClearPreparingFlag();
    }
}

void Handler::OnNudgePeerShareEnableEvent(const Event& event)
{
    const sptr<MotionSenderCallback> callback = motionSendCb_.promote();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionSendCb_ nullptr.");
        return;
    }
    if (callback->GetShareEnableState() == NudgeShareState::DISABLE) {
        PostOrClear(Post(MSG_NUDGE_SHARE_DISABLE), "MSG_NUDGE_SHARE_DISABLE");
        return;
    }
    const auto peer = event->GetSharedObject<NudgeDevice>();
    if (peer == nullptr || peer->device == nullptr) {
        SHARE_LOGE(Log::SERVICE, "NudgeDevice is nullptr.");
        ClearPreparingFlag();
        return;
    }
    HandOver(*callback, peer);
}

void Handler::HandOver(MotionSenderCallback& callback, const std::shared_ptr<NudgeDevice>& peer)
{
    peer->device->SetDiscoveredBy(Discoverer::TAP);
    int32_t errorCode = 0;
    if (callback.OnSynfoldDeviceFound(peer->device, errorCode, 0)) {
        PostOrClear(Post(MSG_NUDGE_MOTION_TIMEOUT, peer), "MSG_NUDGE_MOTION_TIMEOUT");
        return;
    }
    SHARE_LOGE(Log::SERVICE, "OnSynfoldDeviceFound failed.");
    PostOrClear(Post(MSG_NUDGE_MOTION_CANCEL, errorCode), "MSG_NUDGE_MOTION_CANCEL");
}

void Handler::End(const Ending& ending, const Event& event)
{
    const sptr<MotionSenderCallback> callback = motionSendCb_.promote();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionSendCb_ nullptr.");
        return;
    }
    if (ending.clearsFlag) {
        ClearPreparingFlag();
    }
    if (ending.endsTimeout) {
        RemoveEvent(MSG_NUDGE_MOTION_TIMEOUT);
    }
    if (const auto& radar = ending.radar; radar.name != nullptr) {
        callback->GetRadar()->ReportShareRadarInfo(radar.name, RadarStage::TAP, radar.result, radar.state, radar.code);
    }
    if (ending.endsPicture) {
        callback->Show(NudgeServiceState::ENDED);
    }
    if (ending.notify != nullptr) {
        ending.notify(*callback, event);
    }
    if (ending.checksDelete) {
        callback->NudgeCheckAndDeleteMotionSender();
    }
}

void Handler::OnNudgePeerShareDisableEvent(const Event& event)
{
    End(Endings::PEER_DISABLED, event);
}

void Handler::NudgeShareDisableEvent(const Event& event)
{
    End(Endings::LOCAL_DISABLED, event);
}

// A cancel that comes after the tap has ended is nobody's.
void Handler::NudgeMotionCancelEvent(const Event& event)
{
    if (!preparing_) {
        SHARE_LOGI(Log::SERVICE, "MotionSenderCallback is not preparing, no need Notify.");
        return;
    }
    End(Endings::CANCEL, event);
}

void Handler::NudgeMotionFailedEvent(const Event& event)
{
    End(Endings::FAILED, event);
}

void Handler::NudgeMotionTimeoutEvent(const Event& event)
{
    End(Endings::TIMEOUT, event);
}

void Handler::NudgeMotionContinueEvent(const Event& event)
{
    End(Endings::CONTINUE, event);
}

void Handler::NudgeMotionSenderConfirmEvent(const Event& event)
{
    End(Endings::SENDER_CONFIRM, event);
}

void Handler::NudgeCheckDeleteMotionSender(const Event& event)
{
    End(Endings::CHECK_DELETE, event);
}

void Handler::NudgeMotionUserCancelEvent(const Event& event)
{
    End(Endings::USER_CANCEL, event);
}

} // namespace OHOS::Pelago
