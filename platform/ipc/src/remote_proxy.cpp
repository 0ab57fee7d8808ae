#include "remote_proxy.h"

#include "message_parcel.h"
#include "request_road.h"

namespace OHOS::Ipc {

RemoteProxy::RemoteProxy(Link& link, uint64_t id) : link_(&link), id_(id)
{}

RemoteProxy::~RemoteProxy()
{
    if (!link_->IsStranded()) {
        link_->SendRelease(id_, link_->Objects().Forget(*this));
    }
}

const Link* RemoteProxy::LinkOf(const sptr<IRemoteObject>& object)
{
    if (object == nullptr || !object->IsProxyObject()) {
        return nullptr;
    }
    const auto* proxy = dynamic_cast<const RemoteProxy*>(object.GetRefPtr());
    return proxy == nullptr ? nullptr : proxy->link_.GetRefPtr();
}

int RemoteProxy::SendRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option)
{
    return link_->Transact(*this, code, data, reply, option);
}

bool RemoteProxy::IsProxyObject() const
{
    return true;
}

bool RemoteProxy::IsObjectDead() const
{
    return link_->IsStranded() || link_->Objects().IsDead();
}

std::u16string RemoteProxy::GetObjectDescriptor()
{
    MessageParcel data;
    MessageParcel reply;
    const int result = link_->Transact(*this, DESCRIPTOR_CODE, data, reply, MessageOption());
    return result == ERR_NONE ? reply.ReadString16() : std::u16string();
}

bool RemoteProxy::AddDeathRecipient(const sptr<DeathRecipient>& recipient)
{
    return recipient != nullptr && !link_->IsStranded() && link_->Objects().AddRecipient(*this, recipient);
}

bool RemoteProxy::RemoveDeathRecipient(const sptr<DeathRecipient>& recipient)
{
    return !link_->IsStranded() && link_->Objects().RemoveRecipient(*this, recipient);
}

} // namespace OHOS::Ipc
