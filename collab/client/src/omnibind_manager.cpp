#include "omnibind_manager.h"

#include "collab_backend.h"

namespace OHOS::Synfold {

OmnibindManager& OmnibindManager::GetInstance()
{
    static auto* instance = new OmnibindManager();
    return *instance;
}

int32_t OmnibindManager::PublishServiceState(
    const std::string& serviceName, const std::string& serviceName2, const std::string& extraInfo, int32_t state)
{
    auto backend = InstalledCollabBackend();
    return backend == nullptr ? RESULT_NOT_CALLED
                              : backend->PublishServiceState(serviceName, serviceName2, extraInfo, state);
}

int32_t OmnibindManager::SubscribeNotifyDisconnect(const std::string& serviceName, const std::string& serviceName2,
    const std::string& event, const sptr<CallbackSkeleton>& callback)
{
    auto backend = InstalledCollabBackend();
    return backend == nullptr ? RESULT_NOT_CALLED
                              : backend->SubscribeNotifyDisconnect(serviceName, serviceName2, event, callback);
}

} // namespace OHOS::Synfold
