#include "service_callbacks.h"

#include "remote_call.h"

namespace OHOS::Synfold {
namespace {

namespace Wire = Pelago::Wire;

// Calls one operation with one text, and gives its result.
template <typename Code>
int32_t Ask(const sptr<IRemoteObject>& object, const std::u16string& token, Code code, const std::string& text)
{
    MessageParcel reply;
    int32_t result = RESULT_NOT_CALLED;
    if (Wire::Call(object, token, code, reply, MessageOption(), text) != ERR_NONE || !Wire::Get(reply, result)) {
        return RESULT_NOT_CALLED;
    }
    return result;
}

// A missing info travels as an empty text.
std::string TextOf(const sptr<RequestResultInfo>& info)
{
    return info == nullptr ? std::string() : info->GetExtraInfo();
}

int Answer(MessageParcel& reply, int32_t result)
{
    return reply.WriteInt32(result) ? ERR_NONE : RESULT_NOT_CALLED;
}

} // namespace

int ServicePublishCallbackStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return RESULT_WRONG_TOKEN;
    }
    switch (static_cast<ServicePublishCode>(code)) {
        case ServicePublishCode::ON_PUBLISH_EVENT:
            return Answer(reply, OnPublishEvent(new RequestResultInfo(data.ReadString())));
        case ServicePublishCode::ON_KNOCK_EVENT:
            return Answer(reply, OnKnockEvent(new RequestResultInfo(data.ReadString())));
    }
    return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
}

int32_t ServicePublishCallbackStub::OnPublishEvent(sptr<RequestResultInfo>)
{
    return 0;
}

int32_t ServicePublishCallbackStub::OnKnockEvent(sptr<RequestResultInfo>)
{
    return 0;
}

ServicePublishCallbackProxy::ServicePublishCallbackProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<IServicePublishCallback>(object)
{}

int32_t ServicePublishCallbackProxy::OnPublishEvent(sptr<RequestResultInfo> info)
{
    return Ask(Remote(), GetDescriptor(), ServicePublishCode::ON_PUBLISH_EVENT, TextOf(info));
}

int32_t ServicePublishCallbackProxy::OnKnockEvent(sptr<RequestResultInfo> info)
{
    return Ask(Remote(), GetDescriptor(), ServicePublishCode::ON_KNOCK_EVENT, TextOf(info));
}

int ServiceDeliverCallbackStub::OnRemoteRequest(
    uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    if (data.ReadInterfaceToken() != GetDescriptor()) {
        return RESULT_WRONG_TOKEN;
    }
    if (code != static_cast<uint32_t>(ServiceDeliverCode::ON_DELIVER)) {
        return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
    }
    return Answer(reply, OnDeliver(data.ReadString()));
}

ServiceDeliverCallbackProxy::ServiceDeliverCallbackProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<IServiceDeliverCallback>(object)
{}

int32_t ServiceDeliverCallbackProxy::OnDeliver(const std::string& basicInfo)
{
    return Ask(Remote(), GetDescriptor(), ServiceDeliverCode::ON_DELIVER, basicInfo);
}

} // namespace OHOS::Synfold
