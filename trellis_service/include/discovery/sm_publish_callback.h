#ifndef PELAGO_DISCOVERY_SM_PUBLISH_CALLBACK_H
#define PELAGO_DISCOVERY_SM_PUBLISH_CALLBACK_H

#include <atomic>

#include "discovery/sm_publish_listener_stub.h"

namespace OHOS::Pelago {

// The publish listener: notes under which id the engine has published this device. TrellisService owns one from load
// on. Called on IPC threads. Unpublishing goes by a constant and does not ask for the id.
class SMPublishCallback : public SMPublishListenerStub {
public:
    void OnPublishResult(int publishId, int reason) override;
    // The id of the last result, 0 before there was one.
    static int GetPublishId();

private:
    static std::atomic<int> publishId_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_DISCOVERY_SM_PUBLISH_CALLBACK_H
