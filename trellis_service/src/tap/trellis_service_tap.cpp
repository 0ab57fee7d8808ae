#include <optional>
#include <utility>

#include "core/trellis_service.h"
#include "device_picker_client.h"
#include "discovery/cache_map_manager.h"
#include "gesture/swing_adapter.h"
#include "share_client.h"
#include "switch/share_switch_manager.h"
#include "tap/motion_receiver_callback.h"
#include "tap/motion_sender_callback.h"
#include "transfer/corvane_share_manager.h"

// What holds the two sides of a tap to the rest of the service: who owns them, what the engine's reports of a tap mean
// to them, and how a tap ends. References go behind the locks: the last one runs a destructor.
namespace OHOS::Pelago {
namespace {

using Sender = MotionSenderCallback::MotionEventHandler;
using Receiver = MotionReceiverCallback::MotionEventHandler;
using Synfold::DevicePickerClient;

constexpr uint32_t MOTION_REQUEST_CODE = 8; // the sender's registration with the framework
constexpr int32_t REQUEST_OK = 0;
constexpr int32_t MOTION_FAILED = 0;

// What an engine's state of a tap is to the machine of a side; nothing for one that means nothing there. The same
// numbers say other things on the other side.
std::optional<Sender::Message> SenderMessageOf(int32_t state)
{
    switch (state) {
        case MOTION_FAILED:
            return Sender::MSG_NUDGE_MOTION_FAILED;
        case 1:
            return Sender::MSG_NUDGE_MOTION_CONTINUE;
        case 4:
        case 5:
            return Sender::MSG_NUDGE_MOTION_SENDER_CONFIRM;
        case 6:
            return Sender::MSG_NUDGE_MOTION_USER_CANCEL;
        default: // an open set
            return std::nullopt;
    }
}

std::optional<Receiver::Message> ReceiverMessageOf(int32_t state)
{
    switch (state) {
        case MOTION_FAILED:
        case 2:
            return Receiver::MSG_NUDGE_MOTION_CANCEL;
        case 1:
            return Receiver::MSG_NUDGE_MOTION_CONTINUE;
        case 3:
            return Receiver::MSG_NUDGE_MOTION_FINISH;
        default: // an open set
            return std::nullopt;
    }
}

bool IsSwing(int32_t trans)
{
    return trans == static_cast<int32_t>(TransmitEventType::SWING);
}

// Of a swing only its failure means anything here.
void TellOfSwing(int32_t role, int32_t state, int32_t errorCode)
{
    if (state == MOTION_FAILED) {
        CorvaneShareManager::StartFailedNotificationForNudge(errorCode);
        DelayedSingleton<SwingAdapter>::GetInstance()->SwingPublishService(role, SwingService::STATE_FAILED, "");
    }
}

// A machine that has lost its runner has ended by itself: what cannot be posted then is nobody's.
template <typename Machine, typename Message>
void PostState(Machine& machine, const std::optional<Message>& message, int32_t errorCode)
{
    if (!message) {
        SHARE_LOGE(Log::SERVICE, "Invalid nudge state.");
        return;
    }
    (void)machine.Post(*message, errorCode);
}

} // namespace

bool TrellisService::RegisterMotionSenderListener()
{
    MutexLock lock(motionSenderMutex_);
    if (isKnockShareRegistered_) {
        SHARE_LOGI(Log::SERVICE, "already registered.");
        return true;
    }
    if (motionSenderCb_ == nullptr) {
        motionSenderCb_ = new MotionSenderCallback(this);
        motionSenderCb_->Init();
    } else if (motionSenderCb_->IsDeleting()) {
        // It stays, whether or not its machine hears of it: nobody is let go of who is not deleting.
        (void)motionSenderCb_->SetDeletingState(false);
    }
    const int32_t result = DevicePickerClient::GetInstance().RequestService(MOTION_REQUEST_CODE, motionSenderCb_);
    if (result != REQUEST_OK) {
        SHARE_LOGE(Log::SERVICE, "RegisterPublishServiceCallback failed, errCode %{public}d.", result);
        return false;
    }
    isKnockShareRegistered_ = true;
    return true;
}

bool TrellisService::UnRegisterMotionSenderListener()
{
    sptr<MotionSenderCallback> dropped;
    MutexLock lock(motionSenderMutex_);
    if (!isKnockShareRegistered_) {
        SHARE_LOGI(Log::SERVICE, "not registered.");
        return true;
    }
    (void)DevicePickerClient::GetInstance().UnRequestService(MOTION_REQUEST_CODE); // what it says changes nothing
    if (motionSenderCb_ != nullptr && !motionSenderCb_->SetDeletingState(true)) {
        dropped = std::exchange(motionSenderCb_, nullptr);
    }
    isKnockShareRegistered_ = false;
    return true;
}

void TrellisService::ReleaseMotionSenderCb(const MotionSenderCallback* who)
{
    sptr<MotionSenderCallback> dropped;
    MutexLock lock(motionSenderMutex_);
    if (motionSenderCb_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionSenderCb_ nullptr");
        return;
    }
    if (!motionSenderCb_->IsDeleting()) {
        SHARE_LOGI(Log::SERVICE, "motionSenderCb_ is not deleting, no release"); // it is wanted again
        return;
    }
    if (who != nullptr && motionSenderCb_ != who) {
        SHARE_LOGD(Log::SERVICE, "another motion sender, no release"); // the framework kept one that had gone
        return;
    }
    dropped = std::exchange(motionSenderCb_, nullptr);
    SHARE_LOGI(Log::SERVICE, "ReleaseMotionSenderCb success.");
}

bool TrellisService::RegisterMotionReceiverListener()
{
    MutexLock lock(motionReceiverMutex_);
    if (motionReceiverCb_ == nullptr) {
        motionReceiverCb_ = new MotionReceiverCallback(this);
        motionReceiverCb_->Init();
    }
    const int32_t result =
        DevicePickerClient::GetInstance().RegisterServiceDeliverCallback(TRELLIS_SERVICE_ID, motionReceiverCb_);
    if (result != REQUEST_OK) {
        SHARE_LOGE(Log::SERVICE, "RegisterServiceDeliverCallback failed, errCode %{public}d.", result);
        return false;
    }
    return true;
}

bool TrellisService::UnRegisterMotionReceiverListener()
{
    sptr<MotionReceiverCallback> dropped;
    MutexLock lock(motionReceiverMutex_);
    if (motionReceiverCb_ != nullptr && motionReceiverCb_->GetEventHandler() != nullptr) {
        motionReceiverCb_->GetEventHandler()->RemoveAllEvents();
    }
    dropped = std::exchange(motionReceiverCb_, nullptr);
    return true;
}

void TrellisService::HandleOnMotionState(int32_t trans, int32_t state, int32_t errorCode)
{
    SHARE_LOGI(Log::SERVICE, "trans %{public}d state %{public}d error %{public}d", trans, state, errorCode);
    if (IsSwing(trans)) {
        TellOfSwing(SwingService::ROLE_SENDER, state, errorCode);
        return;
    }
    MutexLock lock(motionSenderMutex_);
    if (motionSenderCb_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionSenderCb_ nullptr");
    } else if (const auto& machine = motionSenderCb_->GetEventHandler(); machine == nullptr) {
        SHARE_LOGE(Log::SERVICE, "MotionEventHandler nullptr");
    } else {
        PostState(*machine, SenderMessageOf(state), errorCode);
    }
}

void TrellisService::HandleOnMotionReceiverState(int32_t trans, int32_t state, int32_t errorCode)
{
    if (IsSwing(trans)) {
        TellOfSwing(SwingService::ROLE_RECEIVER, state, errorCode);
        return;
    }
    MutexLock lock(motionReceiverMutex_);
    if (motionReceiverCb_ == nullptr) {
        SHARE_LOGD(Log::SERVICE, "motionReceiverCb_ nullptr"); // the tap of a service that has stopped
    } else if (const auto& machine = motionReceiverCb_->GetEventHandler()) {
        PostState(*machine, ReceiverMessageOf(state), errorCode);
    }
}

void TrellisService::ClearNudgePendingFlag()
{
    SHARE_LOGI(Log::SERVICE, "ClearNudgePendingFlag");
    {
        MutexLock lock(motionSenderMutex_);
        if (motionSenderCb_ != nullptr && motionSenderCb_->GetEventHandler() != nullptr) {
            motionSenderCb_->GetEventHandler()->ClearPreparingFlag();
        }
    }
    MutexLock lock(motionReceiverMutex_);
    if (motionReceiverCb_ != nullptr && motionReceiverCb_->GetEventHandler() != nullptr) {
        motionReceiverCb_->GetEventHandler()->ClearDeliveringFlag();
    }
}

bool TrellisService::CancelForNudgeConnectTimeOut(const std::string& deviceId)
{
    ClearDeviceDiscovererFlag(deviceId, Discoverer::TAP);
    if (const sptr<PelagoSender> sender = CacheMapManager::GetShareSenderById(deviceId)) {
        sender->Cancel();
    }
    HandleOnNudgeCancel(deviceId);
    return true;
}

// Clients hear of the physical device. That something of it is missing is usual here, and a line in the log there.
void TrellisService::HandleOnNudgeCancel(const std::string& deviceId)
{
    (void)CacheMapManager::SetStatus(deviceId, TransferEvent::CANCELLED, DeviceState::CANCELLED, 0, 0);
    (void)CacheMapManager::RemoveFromSendingDeviceMap(deviceId);
    (void)CacheMapManager::RemoveFromSendBeanMap(deviceId);
    (void)CacheMapManager::RemoveFromDataBeanMap(deviceId);
    (void)CacheMapManager::RemoveFromBytesInfoMap(deviceId);
    (void)CacheMapManager::RemoveFromSenderMap(deviceId);
    std::optional<ShareDeviceInfo> device = CacheMapManager::GetAllDevice(deviceId);
    if (!device) {
        SHARE_LOGE(Log::SERVICE, "HandleOnNudgeCancel failed: can not find device");
        return;
    }
    CacheMapManager::UpateToAllDeviceMap(*device, TransferEvent::CANCELLED, DeviceState::CANCELLED, 0, 0);
    CacheMapManager::UpateToMergeDeviceMap(*device, TransferEvent::CANCELLED, 0);
    OnDeviceNewStateRetrieve(*device);
    if (std::optional<ShareDeviceInfo> now = CacheMapManager::GetAllDevice(deviceId)) {
        device = std::move(now); // as it stands since the cancel
    }
    const auto tell = [&device](const sptr<PelagoTrellisServiceCallback>& client) { client->OnCancel(*device); };
    ForEachTrellisCallback(tell);
    ForEachShareApiCallback(tell);
}

bool TrellisService::NudgeNotifyEnableShare()
{
    if (DelayedSingleton<ShareSwitchManager>::GetInstance()->IsEnabled()) {
        SHARE_LOGI(Log::SERVICE, "ShareService already enable.");
    } else {
        CorvaneShareManager::StartSwitchNotificationForNudge();
    }
    return true;
}

bool TrellisService::NudgeNotifyConnectFailed(int32_t errorCode)
{
    SHARE_LOGI(Log::SERVICE, "invoked, errorCode %{public}d", errorCode);
    CorvaneShareManager::StartFailedNotificationForNudge(errorCode);
    return true;
}

std::string TrellisService::GetNudgePublishInfo()
{
    std::string info;
    if (!DelayedRefSingleton<ShareClient>::GetInstance().GetNudgePublishInfo(info)) {
        SHARE_LOGE(Log::SERVICE, "GetNudgePublishInfo failed.");
        return "";
    }
    return info;
}

TrellisService::TapView TrellisService::GetTapView()
{
    TapView view{};
    view.senderRequested = isKnockShareRegistered_;
    {
        MutexLock lock(motionSenderMutex_);
        if (motionSenderCb_ != nullptr) {
            const auto& machine = motionSenderCb_->GetEventHandler();
            view.senderDeleting = motionSenderCb_->IsDeleting();
            view.preparing = machine != nullptr && machine->IsPreparing();
        }
    }
    MutexLock lock(motionReceiverMutex_);
    view.receiver = motionReceiverCb_ != nullptr;
    view.delivering = view.receiver && motionReceiverCb_->GetEventHandler() != nullptr &&
                      motionReceiverCb_->GetEventHandler()->IsDelivering();
    return view;
}

} // namespace OHOS::Pelago
