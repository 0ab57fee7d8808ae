#ifndef COLLAB_CLIENT_COLLAB_BACKEND_H
#define COLLAB_CLIENT_COLLAB_BACKEND_H

#include <memory>
#include <string>

#include "callback_skeleton.h"
#include "service_callbacks.h"

namespace OHOS::Synfold {

// What stands behind DevicePickerClient and OmnibindManager: the local stand-in in a daemon, a scripted one in tests.
// The operations are theirs, see there. Any thread calls; none of them calls back before it has returned, and callbacks
// are called through their remote objects only, from a thread that holds no lock of the backend.
class CollabBackend {
public:
    virtual ~CollabBackend() = default;

    [[nodiscard]] virtual int32_t RequestService(uint32_t code, const sptr<ServicePublishCallbackStub>& callback) = 0;
    virtual int32_t UnRequestService(uint32_t code) = 0;
    [[nodiscard]] virtual int32_t RequestServiceByParam(
        const std::string& param, const sptr<ServicePublishCallbackStub>& callback) = 0;
    [[nodiscard]] virtual int32_t RegisterServiceDeliverCallback(
        int32_t systemAbilityId, const sptr<ServiceDeliverCallbackStub>& callback) = 0;
    virtual int32_t PublishServiceState(const std::string& serviceName, const std::string& serviceName2,
        const std::string& extraInfo, int32_t state) = 0;
    virtual int32_t SubscribeNotifyDisconnect(const std::string& serviceName, const std::string& serviceName2,
        const std::string& event, const sptr<CallbackSkeleton>& callback) = 0;
};

// The process says once, at start, what stands behind; null takes it away. Calls that are under way keep the backend
// alive until they return. Any thread.
void InstallCollabBackend(std::shared_ptr<CollabBackend> backend);
// Null when there is none.
[[nodiscard]] std::shared_ptr<CollabBackend> InstalledCollabBackend();

} // namespace OHOS::Synfold

#endif // COLLAB_CLIENT_COLLAB_BACKEND_H
