#ifndef PELAGO_CLIENT_CALLBACK_STUBS_H
#define PELAGO_CLIENT_CALLBACK_STUBS_H

#include "i_sender_action_callback.h"
#include "iremote_stub.h"
#include "pelago_api_callback.h"
#include "pelago_trellis_service_callback.h"

namespace OHOS::Pelago {

// What a client derives from to be told. Each stub reads a request and calls the operation; it has no state. Calls come
// on IPC threads, one after the other from one service but for different objects side by side; come back soon, since
// the service waits. A request that cannot be read is answered with CALLBACK_ERROR_BAD_REQUEST and nothing is called.
inline constexpr int CALLBACK_ERROR_BAD_TOKEN = -10;
inline constexpr int CALLBACK_ERROR_BAD_REQUEST = -16;

// The descriptors of OnSend's bean are closed when the operation has returned: duplicate what is to be kept.
class TrellisCallbackStub : public IRemoteStub<PelagoTrellisServiceCallback> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    // Does nothing unless a client wants to know of it: its own to call, from the death recipient of the service.
    void OnShareManagerServiceDied() override;

private:
    int HandleOnSend(MessageParcel& data);
    int HandleOnConnectHub(MessageParcel& data);
};

class SenderActionCallbackStub : public IRemoteStub<ISenderActionCallback> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

private:
    int HandleWithReceiver(SenderActionCallbackCode code, MessageParcel& data);
    int HandleOnRecvBytesInfo(const sptr<PelagoReceiver>& receiver, MessageParcel& data);
};

class ShareApiCallbackStub : public IRemoteStub<PelagoApiCallback> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

} // namespace OHOS::Pelago

#endif // PELAGO_CLIENT_CALLBACK_STUBS_H
