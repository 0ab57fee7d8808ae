#include "engine_handles.h"

#include <unistd.h>

#include "remote_call.h"

namespace OHOS::Pelago {
namespace {

// What the handles answer to a request that they cannot read.
constexpr int ERROR_BAD_TOKEN = -10;
constexpr int ERROR_BAD_REQUEST = -16;

BrokerDelegator<PelagoSenderProxy> g_senderDelegator;
BrokerDelegator<PelagoReceiverProxy> g_receiverDelegator;
BrokerDelegator<ReceiveProgressProxy> g_progressDelegator;

int HandleAccept(PelagoReceiver& receiver, MessageParcel& data, MessageParcel& reply)
{
    int directory = data.ReadFileDescriptor();
    sptr<IReceiveProgress> progress = iface_cast<IReceiveProgress>(data.ReadRemoteObject());
    int32_t result = RECEIVER_BAD_ARGUMENT;
    if (directory >= 0 && progress != nullptr) {
        result = receiver.Accept(directory, progress);
    }
    if (directory >= 0) {
        (void)::close(directory); // the engine has its own by now
    }
    return reply.WriteInt32(result) ? 0 : ERROR_BAD_REQUEST;
}

// Makes one call that answers with an int32: that answer, or the error of the call.
template <typename... Fields>
int32_t CallForResult(const sptr<IRemoteObject>& remote, PelagoReceiverCode code, const Fields&... fields)
{
    MessageParcel reply;
    int32_t error = Wire::Call(remote, PelagoReceiver::GetDescriptor(), code, reply, MessageOption(), fields...);
    int32_t result = 0;
    if (error == 0 && !Wire::Get(reply, result)) {
        return ERROR_BAD_REQUEST;
    }
    return error == 0 ? result : error;
}

} // namespace

int PelagoSenderStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return ERROR_BAD_TOKEN;
    }
    switch (code) {
        case static_cast<uint32_t>(PelagoSenderCode::CANCEL):
            Cancel();
            return 0;
        case static_cast<uint32_t>(PelagoSenderCode::SWING_CONFIRM):
            SwingConfirm(data.ReadInt32());
            return 0;
        default:
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
}

PelagoSenderProxy::PelagoSenderProxy(const sptr<IRemoteObject>& object) : IRemoteProxy<PelagoSender>(object)
{}

void PelagoSenderProxy::Cancel()
{
    MessageParcel reply;
    // A transfer whose engine is gone has ended: there is nobody left to tell.
    (void)Wire::Call(Remote(), GetDescriptor(), PelagoSenderCode::CANCEL, reply, MessageOption());
}

void PelagoSenderProxy::SwingConfirm(int32_t choice)
{
    MessageParcel reply;
    // As above.
    (void)Wire::Call(Remote(), GetDescriptor(), PelagoSenderCode::SWING_CONFIRM, reply, MessageOption(), choice);
}

int PelagoReceiverStub::OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return ERROR_BAD_TOKEN;
    }
    switch (code) {
        case static_cast<uint32_t>(PelagoReceiverCode::ACCEPT):
            return HandleAccept(*this, data, reply);
        case static_cast<uint32_t>(PelagoReceiverCode::REFUSE):
            return reply.WriteInt32(Refuse(data.ReadInt32())) ? 0 : ERROR_BAD_REQUEST;
        case static_cast<uint32_t>(PelagoReceiverCode::CANCEL):
            return reply.WriteInt32(Cancel()) ? 0 : ERROR_BAD_REQUEST;
        default:
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
}

PelagoReceiverProxy::PelagoReceiverProxy(const sptr<IRemoteObject>& object) : IRemoteProxy<PelagoReceiver>(object)
{}

int32_t PelagoReceiverProxy::Accept(int directoryFd, const sptr<IReceiveProgress>& progress)
{
    if (progress == nullptr) {
        return RECEIVER_BAD_ARGUMENT;
    }
    return CallForResult(Remote(), PelagoReceiverCode::ACCEPT, Wire::Descriptor{directoryFd}, progress->AsObject());
}

int32_t PelagoReceiverProxy::Refuse(int32_t reason)
{
    return CallForResult(Remote(), PelagoReceiverCode::REFUSE, reason);
}

int32_t PelagoReceiverProxy::Cancel()
{
    return CallForResult(Remote(), PelagoReceiverCode::CANCEL);
}

int ReceiveProgressStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return ERROR_BAD_TOKEN;
    }
    switch (code) {
        case static_cast<uint32_t>(ReceiveProgressCode::ON_PROGRESS): {
            int64_t bytes = data.ReadInt64();
            int64_t total = data.ReadInt64();
            OnProgress(bytes, total, data.ReadInt64());
            return 0;
        }
        case static_cast<uint32_t>(ReceiveProgressCode::ON_RESULT): {
            int32_t result = data.ReadInt32();
            std::vector<std::string> names;
            if (!data.ReadStringVector(&names)) {
                return ERROR_BAD_REQUEST;
            }
            OnResult(result, names);
            return 0;
        }
        default:
            return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
}

ReceiveProgressProxy::ReceiveProgressProxy(const sptr<IRemoteObject>& object) : IRemoteProxy<IReceiveProgress>(object)
{}

void ReceiveProgressProxy::OnProgress(int64_t bytes, int64_t total, int64_t speed)
{
    MessageParcel reply;
    // One-way: whoever watches may be gone, and its death ends the receive on its own road.
    (void)Wire::Call(Remote(), GetDescriptor(), ReceiveProgressCode::ON_PROGRESS, reply,
        MessageOption(MessageOption::TF_ASYNC), bytes, total, speed);
}

void ReceiveProgressProxy::OnResult(int32_t result, const std::vector<std::string>& names)
{
    MessageParcel reply;
    // As above.
    (void)Wire::Call(Remote(), GetDescriptor(), ReceiveProgressCode::ON_RESULT, reply,
        MessageOption(MessageOption::TF_ASYNC), result, names);
}

} // namespace OHOS::Pelago
