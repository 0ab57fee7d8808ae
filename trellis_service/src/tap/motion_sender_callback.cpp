#include "tap/motion_sender_callback.h"

#include <utility>

#include "core/trellis_service.h"
#include "gesture/corvane_share_callback_manager.h"
#include "omnibind_utils.h"
#include "tap/motion_messages.h"

// The sending side of a tap as its callers see it: the framework's questions, the way to the service, and the end of
// the callback itself. What the peer's text says is read in motion_sender_reader.cpp, what happens then in
// motion_sender_events.cpp.
namespace OHOS::Pelago {
namespace {

constexpr int32_t RESULT_OK = 0;
constexpr int32_t RESULT_FAILED = -1;
constexpr const char* RADAR_PACKAGE = "pelago";

} // namespace

MotionSenderCallback::MotionSenderCallback(const wptr<TrellisService>& service) : trellisServicePtr_(service)
{}

// On whichever thread drops the last reference, the machine's own included: nothing here waits.
MotionSenderCallback::~MotionSenderCallback()
{
    if (motionEventHandler_ != nullptr) {
        motionEventHandler_->Stop();
    }
}

void MotionSenderCallback::Init()
{
    motionEventHandler_ = std::make_shared<MotionEventHandler>(this);
    MutexLock lock(tapMutex_);
    sendRadarDfx_ = std::make_shared<ShareRadarDfx>();
}

int32_t MotionSenderCallback::OnKnockEvent(sptr<Synfold::RequestResultInfo>)
{
    UpdateFocusedPids();
    size_t matchedPids = 0;
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        matchedPids =
            service->GetMatchedFocusedPidsFromCorvaneShareCallback(ShareEvent::KNOCK, GetFocusedPids()).size();
    }
    SHARE_LOGI(Log::SERVICE, "OnKnockEvent exit, matchedPids size %{public}lu.", matchedPids);
    return static_cast<int32_t>(matchedPids);
}

int32_t MotionSenderCallback::OnPublishEvent(sptr<Synfold::RequestResultInfo> info)
{
    if (info == nullptr || info->GetExtraInfo().empty()) {
        SHARE_LOGE(Log::SERVICE, "RequestResultInfo nullptr or extraInfo empty.");
        return RESULT_FAILED;
    }
    const char* errorAt = nullptr;
    const Json::Ptr json = Json::Parse(info->GetExtraInfo(), &errorAt);
    if (json == nullptr) {
        SHARE_LOGE(Log::SERVICE, "cJSON_Parse error:%{public}s\n", errorAt);
        return RESULT_FAILED;
    }
    if (!CheckNudgeServiceCode(json.get())) {
        SHARE_LOGE(Log::SERVICE, "CheckNudgeServiceCode failed.");
        return RESULT_OK; // somebody else's business
    }
    if (motionEventHandler_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionEventHandler_ nullptr.");
        return RESULT_FAILED;
    }
    const auto message = std::make_shared<MotionMessage>(MotionMessage{info->GetExtraInfo()});
    if (!motionEventHandler_->Post(MotionEventHandler::MSG_ON_NUDGE_START_EVENT, message)) {
        SHARE_LOGE(Log::SERVICE, "send MSG_ON_NUDGE_START_EVENT failed.");
        return RESULT_FAILED;
    }
    SHARE_LOGI(Log::SERVICE, "OnPublishEvent success.");
    return RESULT_OK;
}

std::shared_ptr<ShareRadarDfx> MotionSenderCallback::GetRadar() const
{
    MutexLock lock(tapMutex_);
    return sendRadarDfx_;
}

void MotionSenderCallback::InitRadarDfx()
{
    std::shared_ptr<ShareRadarDfx> radar = GetRadar();
    if (radar == nullptr) {
        SHARE_LOGE(Log::SERVICE, "sendRadarDfx_ nullptr");
        radar = std::make_shared<ShareRadarDfx>();
        MutexLock lock(tapMutex_);
        sendRadarDfx_ = radar;
    }
    radar->InitBizStageInfo(RADAR_PACKAGE, RadarTrigger::TAP, RADAR_COMM_SERV, RadarScene::SEND);
    radar->ReportShareRadarInfo("OnNudgeStartEvent", RadarStage::TAP, RadarResult::STARTED, RadarState::BEGIN, 0);
}

std::vector<int32_t> MotionSenderCallback::GetFocusedPids() const
{
    MutexLock lock(tapMutex_);
    return focusedPids_;
}

void MotionSenderCallback::UpdateFocusedPids()
{
    std::vector<int32_t> pids;
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        service->GetFocusedPids(pids);
    }
    MutexLock lock(tapMutex_);
    focusedPids_ = std::move(pids);
}

void MotionSenderCallback::SetDeviceId(const std::string& deviceId)
{
    SHARE_LOGI(Log::SERVICE, "SetDeviceId %{public}s", deviceId.c_str());
    MutexLock lock(tapMutex_);
    deviceId_ = deviceId;
}

void MotionSenderCallback::NudgePublishServiceState(
    const std::string& serviceName, const std::string& serviceName2, std::string& extraInfo, int32_t status)
{
    PublishNudgeState(NudgeRole::SENDER, serviceName, serviceName2, extraInfo, status);
}

void MotionSenderCallback::Show(int32_t status)
{
    std::string extraInfo;
    NudgePublishServiceState(NudgeServiceName::SEND, NudgeServiceName::SHARE, extraInfo, status);
}

uint8_t MotionSenderCallback::GetShareEnableState() const
{
    return NudgeShareStateOf(trellisServicePtr_);
}

bool MotionSenderCallback::OnSynfoldDeviceFound(
    const sptr<ShareDevice>& device, int32_t& error, uint32_t updateFlag) const
{
    const sptr<TrellisService> service = ServiceOf(trellisServicePtr_);
    return service != nullptr && service->OnSynfoldDeviceFound(device, error, updateFlag);
}

// With sharing off on this side too, the user has to switch it on before the peer's switch matters.
void MotionSenderCallback::NudgeNotifyPeerShareDisable() const
{
    if (GetShareEnableState() == NudgeShareState::ENABLE) {
        NudgeNotifyConnectFailed(NudgeError::PEER_DISABLED);
    } else {
        NudgeNotifyEnableShare();
    }
}

void MotionSenderCallback::NudgeNotifyEnableShare() const
{
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        (void)service->NudgeNotifyEnableShare(); // always true, as the two below
    }
}

void MotionSenderCallback::NudgeNotifyConnectFailed(int32_t errorCode) const
{
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        (void)service->NudgeNotifyConnectFailed(errorCode);
    }
}

void MotionSenderCallback::CancelForNudgeConnectTimeOut(const std::string& deviceId) const
{
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        (void)service->CancelForNudgeConnectTimeOut(deviceId);
    }
}

void MotionSenderCallback::ClearDeviceDiscoveredBy() const
{
    std::string deviceId;
    {
        MutexLock lock(tapMutex_);
        deviceId = deviceId_;
    }
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        service->ClearDeviceDiscovererFlag(deviceId, Discoverer::TAP);
    }
}

bool MotionSenderCallback::SetDeletingState(bool deleting)
{
    deleting_ = deleting;
    SHARE_LOGI(Log::SERVICE, "SetDeletingState, isDeleting:%{public}d", static_cast<int>(deleting));
    if (motionEventHandler_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionEventHandler_ nullptr.");
        return false;
    }
    if (!motionEventHandler_->Post(MotionEventHandler::MSG_CHECK_DELETE_MOTION_SENDER)) {
        SHARE_LOGE(Log::SERVICE, "send MSG_CHECK_DELETE_MOTION_SENDER failed.");
        return false;
    }
    return true;
}

// The machine's lock is free again when the service lets go: the destructor, which may run here, takes it. A busy queue
// is left to the event that still waits there. That may be one that deletes nothing; the callback then stays until the
// next end, or until it is wanted again.
void MotionSenderCallback::NudgeCheckAndDeleteMotionSender() const
{
    if (!deleting_) {
        return;
    }
    if (motionEventHandler_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionEventHandler_ nullptr.");
        return;
    }
    if (!motionEventHandler_->IsIdle()) {
        return;
    }
    ClearDeviceDiscoveredBy();
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        service->ReleaseMotionSenderCb(this);
    }
}

} // namespace OHOS::Pelago
