#include "message.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "attachments.h"
#include "ipc_log.h"
#include "remote_proxy.h"

namespace OHOS::Ipc {

GivenObjects::GivenObjects(GivenObjects&& other) noexcept : link_(other.link_), ids_(std::exchange(other.ids_, {}))
{}

GivenObjects& GivenObjects::operator=(GivenObjects&& other) noexcept
{
    TakeBack();
    link_ = other.link_;
    ids_ = std::exchange(other.ids_, {});
    return *this;
}

GivenObjects::~GivenObjects()
{
    TakeBack();
}

uint64_t GivenObjects::Add(Link& link, const sptr<IPCObjectStub>& stub, size_t limit)
{
    const uint64_t id = link.Objects().Give(stub, limit);
    if (id != 0) {
        link_ = &link;
        ids_.push_back(id);
    }
    return id;
}

void GivenObjects::TakeBack()
{
    for (const uint64_t id : std::exchange(ids_, {})) {
        if (link_->Objects().TakeBack(id, 1) == ObjectTable::Release::UNUSED) {
            link_->DropWhenRead(id);
        }
    }
}

int OutgoingMessage::Pack(Link& link, MessageParcel& parcel, const Host::IpcLimits& limits)
{
    parcel_ = &parcel;
    attached_ = ParcelAccess::Attached(parcel);
    const size_t objects = attached_ == nullptr ? 0 : attached_->objects.size();
    const size_t descriptors = Descriptors().size();
    const size_t size = sizeof(MessageHead) + objects * sizeof(ObjectRecord) + parcel.GetDataSize();
    if (size > limits.messageBytes || descriptors > std::min(limits.descriptorsPerMessage, MessageHead::MOST)) {
        return IPC_MESSAGE_TOO_BIG;
    }
    if (objects > std::min(limits.objectsPerConnection, MessageHead::MOST)) {
        return IPC_TOO_MANY_OBJECTS;
    }
    head.size = static_cast<uint32_t>(size);
    head.objects = static_cast<uint16_t>(objects);
    head.descriptors = static_cast<uint16_t>(descriptors);
    for (size_t i = 0; i < objects; ++i) {
        if (const int error = PackObject(link, attached_->objects[i], limits.objectsPerConnection); error != ERR_NONE) {
            return error;
        }
    }
    return ERR_NONE;
}

int OutgoingMessage::PackObject(Link& link, const sptr<IRemoteObject>& object, size_t limit)
{
    ObjectRecord record;
    if (RemoteProxy::LinkOf(object) == &link) {
        record.owner = static_cast<uint32_t>(ObjectOwner::RECEIVER);
        record.id = static_cast<RemoteProxy*>(object.GetRefPtr())->Id();
    } else if (auto* stub = dynamic_cast<IPCObjectStub*>(object.GetRefPtr()); stub != nullptr) {
        record.owner = static_cast<uint32_t>(ObjectOwner::SENDER);
        record.id = given.Add(link, stub, limit);
        if (record.id == 0) {
            return IPC_TOO_MANY_OBJECTS;
        }
    } else {
        IPC_LOGE("an object of a third process cannot be sent");
        return IPC_FOREIGN_OBJECT;
    }
    records_.push_back(record);
    return ERR_NONE;
}

std::array<iovec, 3> OutgoingMessage::Bytes() const
{
    // iovec serves reading too, and so has no const.
    return {iovec{const_cast<MessageHead*>(&head), sizeof(head)},
        iovec{const_cast<ObjectRecord*>(records_.data()), records_.size() * sizeof(ObjectRecord)},
        iovec{const_cast<uint8_t*>(parcel_->GetData()), parcel_->GetDataSize()}};
}

const std::vector<Host::UniqueFd>& OutgoingMessage::Descriptors() const
{
    static const std::vector<Host::UniqueFd> none;
    return attached_ == nullptr ? none : attached_->descriptors;
}

EndReason CheckHead(const MessageHead& head, const Host::IpcLimits& limits)
{
    if (head.magic != MessageHead::MAGIC) {
        return EndReason::BAD_MAGIC;
    }
    if (head.size < sizeof(MessageHead) + head.objects * sizeof(ObjectRecord) || head.size > limits.messageBytes) {
        return EndReason::BAD_SIZE;
    }
    if (head.descriptors > limits.descriptorsPerMessage) {
        return EndReason::TOO_MANY_DESCRIPTORS;
    }
    if (head.objects > limits.objectsPerConnection) {
        return EndReason::TOO_MANY_OBJECTS;
    }
    const bool known = head.kind == static_cast<uint16_t>(MessageKind::REQUEST) ||
                       head.kind == static_cast<uint16_t>(MessageKind::REPLY);
    return known ? EndReason::NONE : EndReason::BAD_KIND;
}

bool IncomingMessage::Begin(const MessageHead& checkedHead)
{
    head = checkedHead;
    records.resize(head.objects);
    const size_t size = ParcelSize();
    bytes.reset(size == 0 ? nullptr : static_cast<uint8_t*>(std::malloc(size)));
    return size == 0 || bytes != nullptr;
}

size_t IncomingMessage::BodySize() const
{
    return head.size - sizeof(MessageHead);
}

size_t IncomingMessage::ParcelSize() const
{
    return BodySize() - records.size() * sizeof(ObjectRecord);
}

std::array<iovec, 2> IncomingMessage::BodyFrom(size_t done)
{
    const size_t recordBytes = records.size() * sizeof(ObjectRecord);
    const size_t ofRecords = std::min(done, recordBytes);
    const size_t ofParcel = done - ofRecords;
    return {iovec{reinterpret_cast<uint8_t*>(records.data()) + ofRecords, recordBytes - ofRecords},
        iovec{bytes.get() + ofParcel, ParcelSize() - ofParcel}};
}

EndReason IncomingMessage::Unpack(Link& link, MessageParcel& parcel)
{
    const size_t size = ParcelSize();
    if (!parcel.ParseFrom(std::move(bytes), size)) {
        return EndReason::BAD_SIZE;
    }
    if (records.empty() && descriptors.empty()) {
        return EndReason::NONE;
    }
    Attachments& attached = ParcelAccess::Attach(parcel);
    attached.descriptors = std::move(descriptors);
    for (const ObjectRecord& record : records) {
        if (record.owner == static_cast<uint32_t>(ObjectOwner::RECEIVER)) {
            attached.objects.emplace_back(link.Objects().FindGiven(record.id));
            continue;
        }
        if (record.owner != static_cast<uint32_t>(ObjectOwner::SENDER) || record.id == 0) {
            return EndReason::BAD_OBJECT;
        }
        if (attached.objects.emplace_back(link.Objects().Hold(record.id, link)) == nullptr) {
            return EndReason::TOO_MANY_OBJECTS;
        }
    }
    return EndReason::NONE;
}

} // namespace OHOS::Ipc
