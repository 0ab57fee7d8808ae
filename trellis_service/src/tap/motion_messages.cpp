#include "tap/motion_messages.h"

#include "common_utils.h"
#include "core/trellis_service.h"
#include "omnibind_manager.h"
#include "omnibind_utils.h"
#include "share_log.h"

namespace OHOS::Pelago {
namespace {

constexpr int32_t TYPE_TAP = 2; // "type" of what the framework shows

std::string ExtraInfoOf(NudgeRole role)
{
    const Json::Ptr json = Json::NewObject();
    Json::PutBool(json.get(), "isUiEnable", true);
    Json::Put(json.get(), "role", static_cast<int32_t>(role));
    Json::Put(json.get(), "type", TYPE_TAP);
    Json::Put(json.get(), "deviceType", CommonUtils::GetLocalDeviceType());
    return Json::Print(json);
}

} // namespace

std::optional<int32_t> NudgeErrorOfNotice(int32_t notifyInfo)
{
    switch (notifyInfo) {
        case 1:
            return NudgeError::NO_APPLICATION;
        case 3:
            return NudgeError::PEER_REFUSED;
        default: // an open set: peers may be newer
            return std::nullopt;
    }
}

void PublishNudgeState(NudgeRole role, const std::string& serviceName, const std::string& serviceName2,
    std::string& extraInfo, int32_t status)
{
    if (extraInfo.empty()) {
        extraInfo = ExtraInfoOf(role);
    }
    SHARE_LOGI(Log::SERVICE, "NudgePublishServiceState status %{public}d", status);
    SHARE_LOGI(Log::SERVICE, "extraInfo %{public}s", extraInfo.c_str());
    const int32_t result =
        Synfold::OmnibindManager::GetInstance().PublishServiceState(serviceName, serviceName2, extraInfo, status);
    SHARE_LOGI(Log::SERVICE, "NudgePublishServiceState result %{public}d", result);
}

sptr<TrellisService> ServiceOf(const wptr<TrellisService>& service)
{
    sptr<TrellisService> found = service.promote();
    if (found == nullptr) {
        SHARE_LOGE(Log::SERVICE, "trellisServicePtr_ nullptr.");
    }
    return found;
}

uint8_t NudgeShareStateOf(const wptr<TrellisService>& service)
{
    const sptr<TrellisService> found = ServiceOf(service);
    return found != nullptr && found->IsEnabled() ? NudgeShareState::ENABLE : NudgeShareState::DISABLE;
}

} // namespace OHOS::Pelago
