#ifndef PELAGO_ENGINE_TRANSMIT_PARAM_H
#define PELAGO_ENGINE_TRANSMIT_PARAM_H

#include <string>

#include "i_transmit_callback.h"

namespace OHOS::Pelago {

// What started a transfer.
enum class TransmitEventType : int32_t {
    ORDINARY = 0,
    TAP = 1,
    SWING = 2,
};

inline constexpr int32_t TRANSMIT_TIMEOUT_MS = 30000;

// One transfer to one physical device. Plain values; the engine keeps its own reference to the callback.
struct TransmitParam {
    std::string deviceId;
    int32_t timeoutMs = TRANSMIT_TIMEOUT_MS;
    sptr<ITransmitCallback> callback;
    TransmitEventType eventType = TransmitEventType::ORDINARY;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_TRANSMIT_PARAM_H
