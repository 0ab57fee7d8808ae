#include "gesture/swing_adapter.h"

#include "common_utils.h"
#include "core/trellis_service.h"
#include "omnibind_manager.h"
#include "omnibind_utils.h"

namespace OHOS::Pelago {
namespace {

constexpr const char* SERVICE_NAME = "Swing_CorvaneShare";
constexpr const char* EVENT_DISCONNECT = "disconnect";
constexpr int32_t TYPE_SWING = 3;
constexpr int32_t ONE_RESOURCE = 1;

// Only says that somebody listens.
class SimpleOmnibindCallback : public Synfold::CallbackSkeleton {
public:
    ~SimpleOmnibindCallback() override = default;
};

const sptr<Synfold::CallbackSkeleton> g_disconnectCallback = new SimpleOmnibindCallback();

void Publish(int32_t role, int32_t state, const std::string& extraInfo)
{
    SHARE_LOGI(Log::SERVICE, "role %{public}d, state %{public}d, extraInfo %{public}s", role, state, extraInfo.c_str());
    int32_t result =
        Synfold::OmnibindManager::GetInstance().PublishServiceState(SERVICE_NAME, SERVICE_NAME, extraInfo, state);
    SHARE_LOGI(Log::SERVICE, "PublishService res %{public}d", result);
}

} // namespace

void SwingAdapter::Init(const wptr<TrellisService>& service)
{
    MutexLock lock(mutex_);
    trellisServicePtr_ = service;
}

int32_t SwingAdapter::SwingRegister()
{
    return 0;
}

int32_t SwingAdapter::UnSwingRegister()
{
    return 0;
}

void SwingAdapter::SwingPublishService(int32_t role, int32_t state, const std::string& previewData)
{
    const Json::Ptr json = Json::NewObject();
    Json::PutBool(json.get(), "isUiEnable", true);
    Json::Put(json.get(), "role", role);
    Json::Put(json.get(), "type", TYPE_SWING);
    Json::Put(json.get(), "deviceType", CommonUtils::GetLocalDeviceType());
    Json::Put(json.get(), "previewData", previewData);
    Publish(role, state, Json::Print(json));
}

void SwingAdapter::SwingPublishServiceWithPreviewExtra(
    int32_t role, int32_t state, const std::string& thumbnailSource, const std::string& previewExtra, int32_t showMode)
{
    std::string title;
    std::string description;
    int32_t parsedShowMode = 0; // the argument stands above it
    OmnibindUtils::ParsePreviewExtraInfo(previewExtra, title, description, parsedShowMode);
    const std::string icon = OmnibindUtils::GetIconFromPreviewData(thumbnailSource);
    SHARE_LOGI(
        Log::SERVICE, "Receive icon length %{public}d, showMode %{public}d", static_cast<int>(icon.size()), showMode);
    const std::string thumbnail = OmnibindUtils::GetThumbnailFromPreviewData(thumbnailSource);
    SHARE_LOGI(Log::SERVICE, "Receive thumbnail length %{public}d", static_cast<int>(thumbnail.size()));
    const OmnibindUtils::MotionExtraInfo info{showMode, ONE_RESOURCE, thumbnail, title, description, icon, "", "", ""};
    Publish(role, state, OmnibindUtils::GetMotionExtraInfoWithPreview(role, TYPE_SWING, info));
}

void SwingAdapter::SwingSubscribeNotifyDiscon()
{
    int32_t result = Synfold::OmnibindManager::GetInstance().SubscribeNotifyDisconnect(
        SERVICE_NAME, SERVICE_NAME, EVENT_DISCONNECT, g_disconnectCallback);
    SHARE_LOGI(Log::SERVICE, "res %{public}d", result);
}

} // namespace OHOS::Pelago
