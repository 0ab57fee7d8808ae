#ifndef PELAGO_ENGINE_LOCAL_NEARBY_REPORTS_H
#define PELAGO_ENGINE_LOCAL_NEARBY_REPORTS_H

#include <memory>
#include <vector>

#include "iremote_object.h"
#include "listener_queue.h"
#include "share_device.h"

namespace OHOS::Pelago::Local {

// Calls the discovery, swing and publish listeners, in order, on a queue of its own. Any thread.
class NearbyReports {
public:
    explicit NearbyReports(std::shared_ptr<Activity> activity) : queue_(std::move(activity), "share-nearby")
    {}
    void Found(const sptr<IRemoteObject>& listener, const sptr<ShareDevice>& device);
    void Lost(const sptr<IRemoteObject>& listener, const sptr<ShareDevice>& device);
    void DiscoverResult(const sptr<IRemoteObject>& listener, int reason);
    void PublishResult(const sptr<IRemoteObject>& listener, int reason);
    void SwingStatus(const sptr<IRemoteObject>& listener, int code);
    // What is posted now is all that there is for a listener that may know some of it. False while it has not come to
    // what was begun so before: that, and what followed, tells it everything, and nothing needs to be posted. On the
    // loop's thread.
    [[nodiscard]] bool BeginAll(const sptr<IRemoteObject>& listener);
    // Drops what discovery has posted for a listener and what it has not heard yet.
    void Forget(const sptr<IRemoteObject>& listener);

private:
    ListenerQueue queue_;
    // Who have not come to it. What is posted owns them, so that none stays here when that was dropped unheard.
    std::vector<std::weak_ptr<const sptr<IRemoteObject>>> begun_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_NEARBY_REPORTS_H
