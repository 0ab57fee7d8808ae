#ifndef PELAGO_ENGINE_LOCAL_VISIBILITY_H
#define PELAGO_ENGINE_LOCAL_VISIBILITY_H

#include <functional>
#include <memory>
#include <string_view>

#include "channel.h"
#include "context.h"
#include "nearby_reports.h"
#include "reception.h"

namespace OHOS::Pelago::Local {

// Shows this device in the folder while it is published and the policy is not 0, and takes the connections of others:
// watchers are kept until one side goes, an offer is handed on. On the loop's thread.
class Visibility {
public:
    using OfferTaker = std::function<void(std::shared_ptr<Channel> channel, std::string_view body)>;

    Visibility(std::shared_ptr<Context> context, std::shared_ptr<NearbyReports> reports, OfferTaker onOffer);
    void Publish(const sptr<IRemoteObject>& listener);
    void UnPublish();
    void SetPolicy(int32_t policy);
    void UpdateDescription();
    void Drop();
    [[nodiscard]] bool IsVisible() const
    {
        return reception_.IsOpen();
    }

private:
    void Update();
    void TellResult(int reason);

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<NearbyReports> reports_;
    const OfferTaker onOffer_;
    Reception reception_;
    sptr<IRemoteObject> listener_; // null while nobody has published
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_VISIBILITY_H
