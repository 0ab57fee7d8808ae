#include "scripted_collab.h"

#include <utility>

namespace OHOS::Pelago {

using Synfold::RequestResultInfo;

ScriptedCollab::ScriptedCollab() : queue_(Host::Scheduler::Instance().CreateQueue("collab"))
{}

std::string ScriptedCollab::TakeAsked()
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::string text;
    for (const std::string& line : std::exchange(journal_, {})) {
        text += (text.empty() ? "" : ", ") + line;
    }
    return text;
}

std::vector<PublishedState> ScriptedCollab::TakeStates()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(states_, {});
}

std::vector<std::string> ScriptedCollab::TakeReplies()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(replies_, {});
}

std::vector<int32_t> ScriptedCollab::TakeResults()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(results_, {});
}

void ScriptedCollab::Refuse(const std::string& operation, int32_t result, int times)
{
    std::lock_guard<std::mutex> lock(mutex_);
    refusals_[operation] = {result, times};
}

int32_t ScriptedCollab::Take(const std::string& operation, const std::string& details)
{
    std::lock_guard<std::mutex> lock(mutex_);
    journal_.push_back(operation + (details.empty() ? "" : " " + details));
    Refusal& refusal = refusals_[operation];
    if (refusal.times == 0) {
        return 0;
    }
    if (refusal.times > 0) {
        --refusal.times;
    }
    return refusal.result;
}

// The queue lives as long as this, so that posting to it does not fail.
template <typename Callback>
void ScriptedCollab::Play(const sptr<Callback>& callback, std::function<int32_t(Callback&)> event)
{
    std::lock_guard<std::mutex> lock(mutex_);
    (void)queue_->Post([this, callback = callback, event = std::move(event)] {
        if (callback != nullptr) {
            const int32_t result = event(*callback);
            std::lock_guard<std::mutex> written(mutex_);
            results_.push_back(result);
        }
    });
}

void ScriptedCollab::Knock()
{
    Play<Publish>(publish_, [](Publish& callback) { return callback.OnKnockEvent(new RequestResultInfo("{}")); });
}

void ScriptedCollab::PublishEvent(const std::string& extraInfo)
{
    Play<Publish>(
        publish_, [extraInfo](Publish& callback) { return callback.OnPublishEvent(new RequestResultInfo(extraInfo)); });
}

void ScriptedCollab::Deliver(const std::string& basicInfo)
{
    Play<Synfold::IServiceDeliverCallback>(
        deliver_, [basicInfo](Synfold::IServiceDeliverCallback& callback) { return callback.OnDeliver(basicInfo); });
}

sptr<IRemoteObject> ScriptedCollab::KnockObject() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return publish_ == nullptr ? nullptr : publish_->AsObject();
}

int32_t ScriptedCollab::RequestService(uint32_t code, const sptr<Synfold::ServicePublishCallbackStub>& callback)
{
    int32_t result = Take("RequestService", std::to_string(code));
    if (result == 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        publish_ = new Synfold::ServicePublishCallbackProxy(callback->AsObject());
    }
    return result;
}

int32_t ScriptedCollab::UnRequestService(uint32_t code)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        publish_ = nullptr;
    }
    return Take("UnRequestService", std::to_string(code));
}

int32_t ScriptedCollab::RequestServiceByParam(
    const std::string& param, const sptr<Synfold::ServicePublishCallbackStub>&)
{
    int32_t result = Take("RequestServiceByParam");
    if (result == 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        replies_.push_back(param);
    }
    return result;
}

int32_t ScriptedCollab::RegisterServiceDeliverCallback(
    int32_t systemAbilityId, const sptr<Synfold::ServiceDeliverCallbackStub>& callback)
{
    int32_t result = Take("RegisterServiceDeliverCallback", std::to_string(systemAbilityId));
    if (result == 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        deliver_ = new Synfold::ServiceDeliverCallbackProxy(callback->AsObject());
    }
    return result;
}

int32_t ScriptedCollab::PublishServiceState(
    const std::string& serviceName, const std::string& serviceName2, const std::string& extraInfo, int32_t state)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        states_.push_back({serviceName, serviceName2, extraInfo, state});
    }
    return Take("PublishServiceState", serviceName + " " + std::to_string(state));
}

int32_t ScriptedCollab::SubscribeNotifyDisconnect(
    const std::string& serviceName, const std::string&, const std::string&, const sptr<Synfold::CallbackSkeleton>&)
{
    return Take("SubscribeNotifyDisconnect", serviceName);
}

} // namespace OHOS::Pelago
