#ifndef PELAGO_ENGINE_PELAGO_SENDER_H
#define PELAGO_ENGINE_PELAGO_SENDER_H

#include "iremote_broker.h"

namespace OHOS::Pelago {

enum class PelagoSenderCode : uint32_t {
    CANCEL = 1,
    SWING_CONFIRM = 2,
};

// The engine's handle of one transfer. Letting go of it is not a cancel.
class PelagoSender : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.PelagoSender");

    // Marks the transfer cancelled and returns; waits for nothing. No report of the transfer starts after it. Any
    // thread.
    virtual void Cancel() = 0;
    // Answers the confirmation that a swing offer waits for. Any thread.
    virtual void SwingConfirm(int32_t choice) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_PELAGO_SENDER_H
