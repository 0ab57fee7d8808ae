#include "ipc_object_stub.h"

#include <utility>

#include "request_road.h"

namespace OHOS {

IPCObjectStub::IPCObjectStub(std::u16string descriptor) : descriptor_(std::move(descriptor))
{}

int IPCObjectStub::OnRemoteRequest(uint32_t, MessageParcel&, MessageParcel&, MessageOption&)
{
    return IPC_UNKNOWN_CODE;
}

int IPCObjectStub::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    return Ipc::RunRequest(*this, std::nullopt, code, data, reply, option);
}

bool IPCObjectStub::IsProxyObject() const
{
    return false;
}

bool IPCObjectStub::IsObjectDead() const
{
    return false;
}

std::u16string IPCObjectStub::GetObjectDescriptor()
{
    return descriptor_;
}

bool IPCObjectStub::AddDeathRecipient(const sptr<DeathRecipient>&)
{
    return false;
}

bool IPCObjectStub::RemoveDeathRecipient(const sptr<DeathRecipient>&)
{
    return false;
}

} // namespace OHOS
