#include "device_picker_client.h"

#include "collab_backend.h"

namespace OHOS::Synfold {

const std::string DevicePickerClient::SOFTBUS_RECEIVER_SERVICE_ID = "pelago.receiver";
const std::string DevicePickerClient::SOFTBUS_SENDER_SERVICE_ID = "pelago.sender";

DevicePickerClient& DevicePickerClient::GetInstance()
{
    static auto* instance = new DevicePickerClient();
    return *instance;
}

int32_t DevicePickerClient::RequestService(uint32_t code, const sptr<ServicePublishCallbackStub>& callback)
{
    auto backend = InstalledCollabBackend();
    return backend == nullptr ? RESULT_NOT_CALLED : backend->RequestService(code, callback);
}

int32_t DevicePickerClient::UnRequestService(uint32_t code)
{
    auto backend = InstalledCollabBackend();
    return backend == nullptr ? RESULT_NOT_CALLED : backend->UnRequestService(code);
}

int32_t DevicePickerClient::RequestServiceByParam(
    const std::string& param, const sptr<ServicePublishCallbackStub>& callback)
{
    auto backend = InstalledCollabBackend();
    return backend == nullptr ? RESULT_NOT_CALLED : backend->RequestServiceByParam(param, callback);
}

int32_t DevicePickerClient::RegisterServiceDeliverCallback(
    int32_t systemAbilityId, const sptr<ServiceDeliverCallbackStub>& callback)
{
    auto backend = InstalledCollabBackend();
    return backend == nullptr ? RESULT_NOT_CALLED : backend->RegisterServiceDeliverCallback(systemAbilityId, callback);
}

} // namespace OHOS::Synfold
