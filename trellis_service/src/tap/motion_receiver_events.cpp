#include <optional>

#include "core/trellis_service.h"
#include "omnibind_utils.h"
#include "tap/motion_messages.h"
#include "tap/motion_receiver_callback.h"

// The event machine of the receiving side: how a tap is answered, and how it ends.
namespace OHOS::Pelago {

using Handler = MotionReceiverCallback::MotionEventHandler;

constexpr std::array<Handler::Row, Handler::MSG_NUDGE_MOTION_ERR_CODE + 1> Handler::ROWS{{
    {MSG_ON_NUDGE_START_EVENT, &Handler::OnNudgeStartEvent, AT_ONCE_MS},
    {MSG_NUDGE_SHARE_DISABLE, &Handler::NudgeShareDisableEvent, ANIMATION_MS},
    {MSG_NUDGE_MOTION_CANCEL, &Handler::NudgeMotionCancelEvent, AT_ONCE_MS},
    {MSG_NUDGE_MOTION_TIMEOUT, &Handler::NudgeMotionTimeoutEvent, TIMEOUT_MS},
    {MSG_NUDGE_MOTION_CONTINUE, &Handler::NudgeMotionContinueEvent, AT_ONCE_MS},
    {MSG_NUDGE_MOTION_FINISH, &Handler::NudgeMotionFinishEvent, AT_ONCE_MS},
    {MSG_NUDGE_MOTION_ERR_CODE, &Handler::NudgeMotionErrCodeEvent, NOTICE_MS},
}};

namespace {

constexpr int32_t NOTICE_SHARE_DISABLED = 2; // no peer's notice: those of NudgeErrorOfNotice alone become events

} // namespace

Handler::MotionEventHandler(const wptr<MotionReceiverCallback>& callback) : motionRecvCb_(callback)
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
    const char* errorAt = nullptr;
    const Json::Ptr json = Json::Parse(message->extraInfo, &errorAt);
    if (json == nullptr) {
        SHARE_LOGE(Log::SERVICE, "cJSON_Parse error:%{public}s\n", errorAt);
        return;
    }
    const char* concurrentId = Json::StringMember(json.get(), "concurrentId");
    const std::optional<int32_t> actionId = Json::NumberMember(json.get(), "actionId");
    if (!actionId) {
        SHARE_LOGE(Log::SERVICE, "collab OnDeliver not carried actionId.");
        return;
    }
    SHARE_LOGI(Log::SERVICE, "OnDeliver actionId %{public}d.", *actionId);
    const sptr<MotionReceiverCallback> callback = motionRecvCb_.promote();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionRecvCb_ nullptr.");
        return;
    }
    Answer(*callback, static_cast<uint32_t>(*actionId), concurrentId == nullptr ? "" : concurrentId);
}

void Handler::Answer(const MotionReceiverCallback& callback, uint32_t actionId, const std::string& concurrentId)
{
    if (delivering_) {
        SHARE_LOGE(Log::SERVICE, "Is delivering, do not process new OnDeliver.");
        callback.ReplyShareBusy(actionId);
        return;
    }
    const uint8_t state = callback.GetShareEnableState();
    if (!callback.ReplyAction(actionId, state, concurrentId)) {
        return;
    }
    delivering_ = true;
    callback.Show(NudgeServiceState::STARTED);
    const bool isOn = state == NudgeShareState::ENABLE;
    if (!Post(isOn ? MSG_NUDGE_MOTION_TIMEOUT : MSG_NUDGE_SHARE_DISABLE)) {
        SHARE_LOGE(
            Log::SERVICE, "send %{public}s failed.", isOn ? "MSG_NUDGE_MOTION_TIMEOUT" : "MSG_NUDGE_SHARE_DISABLE");
        ClearDeliveringFlag();
    }
}

void Handler::End(const Event& event, void (*notify)(const MotionReceiverCallback& callback, int32_t param))
{
    const sptr<MotionReceiverCallback> callback = motionRecvCb_.promote();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionRecvCb_ nullptr.");
        return;
    }
    ClearDeliveringFlag();
    callback->Show(NudgeServiceState::ENDED);
    notify(*callback, static_cast<int32_t>(event->GetParam()));
}

void Handler::NudgeShareDisableEvent(const Event& event)
{
    End(event, [](const MotionReceiverCallback& callback, int32_t) { callback.NudgeNotifyEnableShare(); });
}

// The time-out runs on and will close the picture, and tell the user, once more: meant.
void Handler::NudgeMotionCancelEvent(const Event& event)
{
    End(event, [](const MotionReceiverCallback& callback, int32_t errorCode) {
        callback.NudgeNotifyConnectFailed(errorCode);
    });
}

void Handler::NudgeMotionTimeoutEvent(const Event& event)
{
    End(event, [](const MotionReceiverCallback& callback, int32_t) {
        callback.NudgeNotifyConnectFailed(NudgeError::TIMEOUT);
    });
}

void Handler::NudgeMotionContinueEvent(const Event&)
{
    RemoveEvent(MSG_NUDGE_MOTION_TIMEOUT);
}

void Handler::NudgeMotionFinishEvent(const Event&)
{
    ClearDeliveringFlag();
}

void Handler::NudgeMotionErrCodeEvent(const Event& event)
{
    const sptr<MotionReceiverCallback> callback = motionRecvCb_.promote();
    if (callback == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionRecvCb_ nullptr.");
        return;
    }
    const auto notifyInfo = static_cast<int32_t>(event->GetParam());
    if (notifyInfo == NOTICE_SHARE_DISABLED && callback->GetShareEnableState() == NudgeShareState::DISABLE) {
        SHARE_LOGI(Log::SERVICE, "NotifyEnableShare.");
        callback->NudgeNotifyEnableShare();
    } else if (const std::optional<int32_t> errorCode = NudgeErrorOfNotice(notifyInfo)) {
        callback->NudgeNotifyConnectFailed(*errorCode);
    }
}

} // namespace OHOS::Pelago
