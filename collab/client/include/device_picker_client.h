#ifndef COLLAB_CLIENT_DEVICE_PICKER_CLIENT_H
#define COLLAB_CLIENT_DEVICE_PICKER_CLIENT_H

#include <cstdint>
#include <string>

#include "service_callbacks.h"

namespace OHOS::Synfold {

// The service's way to the framework for taps, one per process. Forwards to what the process installed, see
// CollabBackend; without it every request fails with RESULT_NOT_CALLED. Any thread; no callback runs inside a request.
class DevicePickerClient {
public:
    // Who may talk to whom: the side that offers and the side that asks, as the peers' texts name them.
    static const std::string SOFTBUS_RECEIVER_SERVICE_ID;
    static const std::string SOFTBUS_SENDER_SERVICE_ID;

    static DevicePickerClient& GetInstance();

    // From now on taps are for `callback`, which the framework keeps until UnRequestService. 0 when it was taken.
    [[nodiscard]] int32_t RequestService(uint32_t code, const sptr<ServicePublishCallbackStub>& callback);
    // Gives back what RequestService took. 0, also when there is none.
    int32_t UnRequestService(uint32_t code);
    // Sends `param`, a JSON text, to the peer whose delivery it answers; `callback` hears of what may come back. 0 when
    // it is on its way.
    [[nodiscard]] int32_t RequestServiceByParam(
        const std::string& param, const sptr<ServicePublishCallbackStub>& callback);
    // From now on deliveries to system ability `systemAbilityId` are for `callback`, which replaces the one of before.
    // There is no way back: the framework keeps it. 0 when it was taken.
    [[nodiscard]] int32_t RegisterServiceDeliverCallback(
        int32_t systemAbilityId, const sptr<ServiceDeliverCallbackStub>& callback);

private:
    DevicePickerClient() = default;
};

} // namespace OHOS::Synfold

#endif // COLLAB_CLIENT_DEVICE_PICKER_CLIENT_H
