#ifndef PELAGO_TRANSFER_SENDER_ACTION_CALLBACK_PROXY_H
#define PELAGO_TRANSFER_SENDER_ACTION_CALLBACK_PROXY_H

#include "i_sender_action_callback.h"
#include "iremote_proxy.h"

namespace OHOS::Pelago {

// What the service holds of the callback of a client that follows a receive; made by the broker. Every call is
// synchronous, from any thread; its failure is logged and forgotten.
class SenderActionCallbackProxy : public IRemoteProxy<ISenderActionCallback> {
public:
    explicit SenderActionCallbackProxy(const sptr<IRemoteObject>& object);

    void OnStatusChanged(int8_t state) override;
    void OnPreviewReceive(const sptr<PelagoReceiver>& receiver) override;
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver) override;
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode) override;
    void OnRecvBytesInfo(const sptr<PelagoReceiver>& receiver, const std::string& senderName, int32_t bytesType,
        const std::string& bytesData, const std::string& previewData) override;

private:
    // One call about a receiver, which must be there.
    template <typename... Fields>
    void CallWithReceiver(SenderActionCallbackCode code, const sptr<PelagoReceiver>& receiver, const char* failure,
        const Fields&... fields);
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_SENDER_ACTION_CALLBACK_PROXY_H
