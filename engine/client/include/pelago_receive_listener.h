#ifndef PELAGO_ENGINE_PELAGO_RECEIVE_LISTENER_H
#define PELAGO_ENGINE_PELAGO_RECEIVE_LISTENER_H

#include <string>

#include "iremote_broker.h"
#include "pelago_receiver.h"
#include "recv_preview.h"

namespace OHOS::Pelago {

enum class ReceiveListenerCode : uint32_t {
    ON_STATUS_CHANGED = 1,
    ON_PREVIEW_RECEIVE = 2,
    ON_RECV_PREVIEW_RECEIVE = 3,
    ON_SEND_CANCEL_BEFORE_CONFIRM = 4,
    ON_ERROR_BEFORE_CONFIRM = 5,
    ON_RECV_BYTES_INFO = 6,
    ON_NOT_SUPPORT_RECEIVE = 7,
    TRIGGER_BIND_SERVICE = 8,
    ON_SWITCH_NOTIFY_COMPONENT = 9,
    ON_MOTION_STATE = 10,
    ON_POP_SWING = 11,
};

// What the engine tells the receiving side. Implemented by the service, called on IPC threads.
class PelagoReceiveListener : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.PelagoReceiveListener");

    virtual void OnStatusChanged(int8_t state) = 0;
    virtual void OnPreviewReceive(
        const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview) = 0;
    virtual void OnPreviewReceive(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview) = 0;
    virtual void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver) = 0;
    virtual void OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode) = 0;
    virtual void OnRecvBytesInfo(
        const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview) = 0;
    virtual void OnNotSupportReceive() = 0;
    virtual void TriggerBindService() = 0;
    virtual void OnSwitchNotifyComponent(int32_t component) = 0;
    virtual void OnMotionState(int32_t trans, int32_t state, int32_t code) = 0;
    virtual void OnPopSwing(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, bool show) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_PELAGO_RECEIVE_LISTENER_H
