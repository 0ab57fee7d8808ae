#ifndef PELAGO_INTERFACES_I_SENDER_ACTION_CALLBACK_H
#define PELAGO_INTERFACES_I_SENDER_ACTION_CALLBACK_H

#include <string>

#include "iremote_broker.h"
#include "pelago_receiver.h"

namespace OHOS::Pelago {

enum class SenderActionCallbackCode : uint32_t {
    ON_STATUS_CHANGED = 1,
    ON_PREVIEW_RECEIVE = 2,
    ON_SEND_CANCEL_BEFORE_CONFIRM = 3,
    ON_ERROR_BEFORE_CONFIRM = 4,
    ON_RECV_BYTES_INFO = 5,
};

// What the service tells the extension that shows an offer about the sender's side. Implemented by the extension,
// called synchronously. The service sends 1, 3 and 4; the other two stand in the protocol.
class ISenderActionCallback : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.ISenderActionCallback");

    virtual void OnStatusChanged(int8_t state) = 0;
    virtual void OnPreviewReceive(const sptr<PelagoReceiver>& receiver) = 0;
    virtual void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver) = 0;
    virtual void OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode) = 0;
    virtual void OnRecvBytesInfo(const sptr<PelagoReceiver>& receiver, const std::string& senderName, int32_t bytesType,
        const std::string& bytesData, const std::string& previewData) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_INTERFACES_I_SENDER_ACTION_CALLBACK_H
