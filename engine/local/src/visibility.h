#ifndef PELAGO_ENGINE_LOCAL_VISIBILITY_H
#define PELAGO_ENGINE_LOCAL_VISIBILITY_H

#include <functional>
#include <memory>
#include <set>
#include <string>

#include "channel.h"
#include "context.h"
#include "discovery.h"

namespace OHOS::Pelago::Local {

// Shows this device in the folder while it is published and the policy is not 0, and takes the connections of others:
// watchers are kept until one side goes, an offer is handed on. On the loop's thread.
class Visibility {
public:
    using OfferTaker = std::function<void(std::shared_ptr<Channel> channel, std::string_view body)>;

    Visibility(std::shared_ptr<Context> context, std::shared_ptr<NearbyReports> reports, OfferTaker onOffer)
        : context_(std::move(context)), reports_(std::move(reports)), onOffer_(std::move(onOffer))
    {}
    void Publish(const sptr<IRemoteObject>& listener);
    void UnPublish();
    void SetPolicy(int32_t policy);
    void UpdateDescription();
    void Drop();
    [[nodiscard]] bool IsVisible() const
    {
        return static_cast<bool>(listening_);
    }

private:
    void Update();
    void TryPublish(int attemptsLeft);
    void Withdraw();
    void TellResult(int reason);
    void OnConnection();
    void Greet(UniqueFd socket);
    void OnFirstFrame(const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body);
    void Dismiss(const std::shared_ptr<Channel>& guest, const char* why);

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<NearbyReports> reports_;
    const OfferTaker onOffer_;
    sptr<IRemoteObject> listener_; // null while nobody has published
    UniqueFd listening_;
    ControlLoop::Id watch_ = 0;
    ControlLoop::Id timer_ = 0;                                  // for the lock, or for descriptors to accept with
    std::map<std::shared_ptr<Channel>, ControlLoop::Id> guests_; // watchers, and those who have not said what they want
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_VISIBILITY_H
