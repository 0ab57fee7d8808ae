#include "visibility.h"

#include <utility>

#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr int PUBLISHED = 0;
constexpr int NOT_PUBLISHED = -1;

} // namespace

Visibility::Visibility(std::shared_ptr<Context> context, std::shared_ptr<NearbyReports> reports, OfferTaker onOffer)
    : context_(std::move(context)), reports_(std::move(reports)), onOffer_(std::move(onOffer)),
      reception_(context_, [this](const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body) {
          if (type == FrameType::OFFER) {
              onOffer_(guest, body);
              return Reception::Verdict::TAKEN;
          }
          return type == FrameType::WATCH ? Reception::Verdict::STAYS : Reception::Verdict::REFUSED;
      })
{}

void Visibility::Publish(const sptr<IRemoteObject>& listener)
{
    listener_ = listener;
    if (IsVisible()) {
        TellResult(PUBLISHED);
    }
    Update();
}

void Visibility::UnPublish()
{
    listener_ = nullptr;
    Update();
}

void Visibility::SetPolicy(int32_t policy)
{
    context_->counters.discoveryPolicy = policy;
    Update();
}

void Visibility::Update()
{
    bool wanted = listener_ != nullptr && context_->counters.discoveryPolicy != 0;
    if (!wanted) {
        reception_.Close();
    } else if (!IsVisible()) {
        reception_.Open({[this](Host::UniqueFd& listening, std::string& error) {
                             return context_->folder.Publish(context_->device, listening, error);
                         },
            [this] { context_->folder.Remove(context_->device.id); },
            [this](bool served) { TellResult(served ? PUBLISHED : NOT_PUBLISHED); }});
    }
}

void Visibility::Drop()
{
    listener_ = nullptr;
    reception_.Close();
}

void Visibility::UpdateDescription()
{
    std::string error;
    if (IsVisible() && !context_->folder.WriteDescription(context_->device, error)) {
        SHARE_LOGD(Log::SERVICE, "%{public}s", error.c_str());
    }
}

void Visibility::TellResult(int reason)
{
    if (listener_ != nullptr) {
        reports_->PublishResult(listener_, reason);
    }
}

} // namespace OHOS::Pelago::Local
