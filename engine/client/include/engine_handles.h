#ifndef PELAGO_ENGINE_ENGINE_HANDLES_H
#define PELAGO_ENGINE_ENGINE_HANDLES_H

#include "iremote_proxy.h"
#include "iremote_stub.h"
#include "pelago_receiver.h"
#include "pelago_sender.h"

namespace OHOS::Pelago {

// Both sides of the engine's handles. The stubs are what an engine derives from; they read a request, call the
// operation and write its result. The proxies are what the other process holds; registered with the broker when the
// program is loaded. Any thread.

class PelagoSenderStub : public IRemoteStub<PelagoSender> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

class PelagoSenderProxy : public IRemoteProxy<PelagoSender> {
public:
    explicit PelagoSenderProxy(const sptr<IRemoteObject>& object);

    void Cancel() override;
    void SwingConfirm(int32_t choice) override;
};

class PelagoReceiverStub : public IRemoteStub<PelagoReceiver> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

class PelagoReceiverProxy : public IRemoteProxy<PelagoReceiver> {
public:
    explicit PelagoReceiverProxy(const sptr<IRemoteObject>& object);

    int32_t Accept(int directoryFd, const sptr<IReceiveProgress>& progress) override;
    int32_t Refuse(int32_t reason) override;
    int32_t Cancel() override;
};

class ReceiveProgressStub : public IRemoteStub<IReceiveProgress> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
};

class ReceiveProgressProxy : public IRemoteProxy<IReceiveProgress> {
public:
    explicit ReceiveProgressProxy(const sptr<IRemoteObject>& object);

    void OnProgress(int64_t bytes, int64_t total, int64_t speed) override;
    void OnResult(int32_t result, const std::vector<std::string>& names) override;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_ENGINE_HANDLES_H
