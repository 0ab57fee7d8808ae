#include "tap/motion_receiver_callback.h"

#include <optional>
#include <utility>

#include "core/trellis_service.h"
#include "device_picker_client.h"
#include "omnibind_utils.h"
#include "tap/motion_messages.h"

// The receiving side of a tap as its callers see it: what a peer delivers, and what it is answered. What happens then
// is in motion_receiver_events.cpp.
namespace OHOS::Pelago {
namespace {

constexpr int32_t RESULT_OK = 0;
constexpr int32_t RESULT_FAILED = -1;
constexpr int32_t SERVICE_CODE = 9; // who answers, for the framework of the peer

} // namespace

// The one relay of the process, null until the first reply, and the lock that also puts the replies in one order. Never
// destroyed: the framework may let go of a receiver when main has returned.
struct MotionReceiverCallback::Relay {
    Mutex mutex{"relayMutex_", LockRank::LEAF};
    sptr<NudgeRelayActionCallback> callback SHARE_GUARDED_BY(mutex);

    static Relay& Instance()
    {
        static auto* relay = new Relay();
        return *relay;
    }
};

NudgeRelayActionCallback::~NudgeRelayActionCallback() = default;

MotionReceiverCallback::MotionReceiverCallback(const wptr<TrellisService>& service) : trellisServicePtr_(service)
{}

// On whichever thread drops the last reference, the machine's own included.
MotionReceiverCallback::~MotionReceiverCallback()
{
    if (motionEventHandler_ != nullptr) {
        motionEventHandler_->Stop();
    }
    sptr<NudgeRelayActionCallback> relay; // goes behind the lock
    Relay& shared = Relay::Instance();
    MutexLock lock(shared.mutex);
    relay = std::exchange(shared.callback, nullptr);
}

void MotionReceiverCallback::Init()
{
    motionEventHandler_ = std::make_shared<MotionEventHandler>(this);
}

int32_t MotionReceiverCallback::OnDeliver(const std::string& basicInfo)
{
    if (basicInfo.empty()) {
        SHARE_LOGE(Log::SERVICE, "basicInfo empty.");
        return RESULT_FAILED;
    }
    if (motionEventHandler_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionEventHandler_ nullptr.");
        return RESULT_FAILED;
    }
    const char* errorAt = nullptr;
    const Json::Ptr json = Json::Parse(basicInfo, &errorAt);
    if (json == nullptr) {
        SHARE_LOGE(Log::SERVICE, "cJSON_Parse error:%{public}s\n", errorAt);
        return RESULT_FAILED;
    }
    if (IsOnlyNotification(json.get())) {
        SHARE_LOGI(Log::SERVICE, "OnDeliver success for NotifyInfo.");
        return RESULT_OK;
    }
    if (!CheckNudgeServiceCode(json.get())) {
        SHARE_LOGE(Log::SERVICE, "CheckNudgeServiceCode failed.");
        return RESULT_OK; // somebody else's business
    }
    const auto message = std::make_shared<MotionMessage>(MotionMessage{basicInfo});
    if (!motionEventHandler_->Post(MotionEventHandler::MSG_ON_NUDGE_START_EVENT, message)) {
        SHARE_LOGE(Log::SERVICE, "send MSG_ON_NUDGE_START_EVENT failed.");
        return RESULT_FAILED;
    }
    SHARE_LOGI(Log::SERVICE, "OnDeliver success.");
    return RESULT_OK;
}

bool MotionReceiverCallback::IsOnlyNotification(const cJSON* json) const
{
    if (motionEventHandler_ == nullptr) {
        SHARE_LOGE(Log::SERVICE, "motionEventHandler_ nullptr.");
        return false;
    }
    const std::optional<int32_t> notifyInfo = Json::NumberMember(json, "notifyInfo");
    if (!notifyInfo) {
        SHARE_LOGI(Log::SERVICE, "not carry notifyInfo, no need handle.");
        return false;
    }
    if (!NudgeErrorOfNotice(*notifyInfo)) {
        SHARE_LOGE(Log::SERVICE, "Invalid notifyInfo %{public}d", *notifyInfo);
        return false; // and may still be a delivery
    }
    // A notice that cannot be sent was taken all the same: there is nobody to tell.
    (void)motionEventHandler_->Post(MotionEventHandler::MSG_NUDGE_MOTION_ERR_CODE, *notifyInfo);
    return true;
}

bool MotionReceiverCallback::CheckNudgeServiceCode(const cJSON* json)
{
    const char* member = Json::StringMember(json, "serviceId");
    const char* serviceId = member == nullptr ? "" : member;
    if (Synfold::DevicePickerClient::SOFTBUS_SENDER_SERVICE_ID != serviceId) {
        SHARE_LOGE(Log::SERVICE, "ServiceId %{public}s invalid, no need handle.", serviceId);
        return false;
    }
    return true;
}

// Without anything to tell the tap stays unanswered: the peer runs into its own time-out.
bool MotionReceiverCallback::ReplyAction(uint32_t actionId, uint8_t state, const std::string& concurrentId) const
{
    const sptr<TrellisService> service = ServiceOf(trellisServicePtr_);
    if (service == nullptr) {
        return false;
    }
    const std::string publishInfo = service->GetNudgePublishInfo();
    if (publishInfo.empty()) {
        SHARE_LOGE(Log::SERVICE, "Get nudge publishInfo failed.");
        return false;
    }
    const Json::Ptr json = Json::NewObject();
    Json::Put(json.get(), "serviceCode", SERVICE_CODE);
    Json::Put(json.get(), "concurrentId", concurrentId);
    Json::Put(json.get(), "actionId", static_cast<int32_t>(actionId));
    Json::Put(json.get(), "shareState", int32_t{state});
    Json::Put(json.get(), "custData", publishInfo);
    const int32_t result = Reply(Json::Print(json));
    if (result != RESULT_OK) {
        SHARE_LOGE(Log::SERVICE, "ReplyAction failed, result %{public}d.", result);
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "ReplyAction success.");
    return true;
}

void MotionReceiverCallback::ReplyShareBusy(uint32_t actionId) const
{
    const Json::Ptr custData = Json::NewObject();
    Json::Put(custData.get(), "shareBusy", 1);
    const Json::Ptr json = Json::NewObject();
    Json::Put(json.get(), "serviceCode", SERVICE_CODE);
    Json::Put(json.get(), "actionId", static_cast<int32_t>(actionId));
    Json::Put(json.get(), "custData", Json::PrintUnformatted(custData));
    const std::string text = Json::Print(json);
    if (const int32_t result = Reply(text); result != RESULT_OK) {
        SHARE_LOGE(Log::SERVICE, "ReplyShareBusy failed, result %{public}d.", result);
        return;
    }
    SHARE_LOGI(Log::SERVICE, "ReplyShareBusy success, %{public}s.", text.c_str());
}

int32_t MotionReceiverCallback::Reply(const std::string& text)
{
    Relay& relay = Relay::Instance();
    MutexLock lock(relay.mutex);
    if (relay.callback == nullptr) {
        relay.callback = new NudgeRelayActionCallback();
    }
    return Synfold::DevicePickerClient::GetInstance().RequestServiceByParam(text, relay.callback);
}

void MotionReceiverCallback::NudgePublishServiceState(
    const std::string& serviceName, const std::string& serviceName2, std::string& extraInfo, int32_t status)
{
    PublishNudgeState(NudgeRole::RECEIVER, serviceName, serviceName2, extraInfo, status);
}

void MotionReceiverCallback::Show(int32_t status)
{
    std::string extraInfo;
    NudgePublishServiceState(NudgeServiceName::RECEIVE, NudgeServiceName::SHARE, extraInfo, status);
}

uint8_t MotionReceiverCallback::GetShareEnableState() const
{
    return NudgeShareStateOf(trellisServicePtr_);
}

void MotionReceiverCallback::NudgeNotifyEnableShare() const
{
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        (void)service->NudgeNotifyEnableShare(); // always true, as below
    }
}

void MotionReceiverCallback::NudgeNotifyConnectFailed(int32_t errorCode) const
{
    if (const sptr<TrellisService> service = ServiceOf(trellisServicePtr_)) {
        (void)service->NudgeNotifyConnectFailed(errorCode);
    }
}

} // namespace OHOS::Pelago
