#ifndef PELAGO_TRANSFER_SM_RECEIVE_CALLBACK_H
#define PELAGO_TRANSFER_SM_RECEIVE_CALLBACK_H

#include <atomic>
#include <string>

#include "i_sender_action_callback.h"
#include "share_mutex.h"
#include "transfer/sm_receive_listener_stub.h"
#include "want.h"

namespace OHOS::Pelago {

// Turns what the engine offers into a start of the front end's extension, which then calls the service for the preview,
// the engine's receiver, and to follow the sender. Made when the program is loaded, owned by TrellisService until it
// stops; engine events come on IPC threads, the operations below from the service. One offer at a time is remembered: a
// new one takes the place of the last, and none is forgotten at its end.
class SMReceiveCallback : public SMReceiveListenerStub {
public:
    void OnStatusChanged(int8_t state) override;
    void OnPreviewReceive(
        const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview) override;
    void OnPreviewReceive(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview) override;
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver) override;
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode) override;
    void OnRecvBytesInfo(
        const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview) override;
    void OnNotSupportReceive() override;
    void TriggerBindService() override;
    void OnSwitchNotifyComponent(int32_t component) override;
    void OnMotionState(int32_t trans, int32_t state, int32_t code) override;
    void OnPopSwing(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, bool show) override;

    // From now on `callback` hears of the sender. A cancel that came while nobody was there is delivered inside this
    // call.
    void SetSenderActionCallback(const sptr<ISenderActionCallback>& callback);
    // Lets go of `callback`; another one stays.
    void RemoveSenderActionCallback(const sptr<ISenderActionCallback>& callback);
    // The engine's receiver of the latest offer; null before the first.
    sptr<PelagoReceiver> GetReceiverActionCallback() const;
    // The preview of the latest offer; empty before the first.
    std::string GetPreviewData() const;

private:
    sptr<ISenderActionCallback> SenderActionCallback() const;
    sptr<ISenderActionCallback> SenderActionCallbackOrKeepCancel();
    void StorePreview(const RecvPreview& preview);
    void StoreReceiver(const sptr<PelagoReceiver>& receiver);
    void OfferToExtension(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, const AAFwk::Want& want);

    mutable Mutex mutex_{"SMReceiveCallback::mutex_", LockRank::LEAF}; // never held while a client is called
    sptr<ISenderActionCallback> senderActionCallback_ SHARE_GUARDED_BY(mutex_);
    sptr<PelagoReceiver> receiverActionCallback_ SHARE_GUARDED_BY(mutex_);
    std::string previewData_ SHARE_GUARDED_BY(mutex_);
    std::atomic<bool> cancelBeforeConfirm_{false}; // the sender cancelled while nobody was there to hear it
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_SM_RECEIVE_CALLBACK_H
