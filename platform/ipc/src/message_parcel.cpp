#include "message_parcel.h"

#include <fcntl.h>

#include "attachments.h"
#include "ipc_log.h"
#include "remote_proxy.h"

namespace OHOS {

namespace {

constexpr uint32_t OBJECT_MARK = 0x4a424f2a;     // "*OBJ"
constexpr uint32_t DESCRIPTOR_MARK = 0x2a444624; // "$FD*"

// Both words of a reference in one write, so that it stands whole or not at all.
uint64_t Marked(uint32_t mark, size_t index)
{
    return static_cast<uint64_t>(index) << 32 | mark;
}

} // namespace

MessageParcel::MessageParcel() = default;
MessageParcel::~MessageParcel() = default;

Ipc::Attachments& MessageParcel::Attached()
{
    if (attached_ == nullptr) {
        attached_ = std::make_unique<Ipc::Attachments>();
    }
    return *attached_;
}

bool MessageParcel::ReadMarked(uint32_t mark, size_t count, uint32_t& index)
{
    const size_t start = GetReadPosition();
    const uint64_t word = ReadUint64();
    if (count == 0 || static_cast<uint32_t>(word) != mark || word >> 32 >= count) {
        (void)RewindRead(start); // a position that was one before
        return false;
    }
    index = static_cast<uint32_t>(word >> 32);
    return true;
}

bool MessageParcel::WriteInterfaceToken(std::u16string_view descriptor)
{
    return WriteString16(descriptor);
}

std::u16string MessageParcel::ReadInterfaceToken()
{
    return ReadString16();
}

bool MessageParcel::IsForeign(const sptr<IRemoteObject>& object) const
{
    const Ipc::Link* home = Ipc::RemoteProxy::LinkOf(object);
    if (home == nullptr) {
        return false;
    }
    if (destination_ != nullptr || attached_ == nullptr) {
        return destination_ != nullptr && home != destination_;
    }
    for (const auto& other : attached_->objects) {
        if (const Ipc::Link* link = Ipc::RemoteProxy::LinkOf(other); link != nullptr && link != home) {
            return true; // wherever this parcel goes, one of the two is a stranger there
        }
    }
    return false;
}

bool MessageParcel::WriteRemoteObject(const sptr<IRemoteObject>& object)
{
    if (object == nullptr) {
        return false;
    }
    if (IsForeign(object)) {
        IPC_LOGE("an object of a third process cannot be written");
        return false;
    }
    auto& objects = Attached().objects;
    if (!WriteUint64(Marked(OBJECT_MARK, objects.size()))) {
        return false;
    }
    objects.push_back(object);
    return true;
}

sptr<IRemoteObject> MessageParcel::ReadRemoteObject()
{
    uint32_t index = 0;
    if (!ReadMarked(OBJECT_MARK, attached_ == nullptr ? 0 : attached_->objects.size(), index)) {
        return nullptr;
    }
    return attached_->objects[index];
}

bool MessageParcel::WriteFileDescriptor(int fd)
{
    Host::UniqueFd duplicate(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!duplicate.IsOpen()) {
        return false;
    }
    auto& descriptors = Attached().descriptors;
    if (!WriteUint64(Marked(DESCRIPTOR_MARK, descriptors.size()))) {
        return false;
    }
    descriptors.push_back(std::move(duplicate));
    return true;
}

int MessageParcel::ReadFileDescriptor()
{
    uint32_t index = 0;
    if (!ReadMarked(DESCRIPTOR_MARK, attached_ == nullptr ? 0 : attached_->descriptors.size(), index)) {
        return -1;
    }
    return attached_->descriptors[index].Detach();
}

bool MessageParcel::ContainFileDescriptors() const
{
    return attached_ != nullptr && !attached_->descriptors.empty();
}

bool MessageParcel::WriteRawData(const void* data, size_t size)
{
    if (data == nullptr || size == 0 || size > MAX_RAW_DATA) {
        return false;
    }
    const size_t start = GetDataSize();
    const bool written = WriteInt32(static_cast<int32_t>(size)) &&
                         (size <= MAX_INLINE_RAW_DATA ? WriteBuffer(data, size) : WriteRawDataFile(data, size));
    if (!written) {
        (void)RewindWrite(start); // a position that was one before
    }
    return written;
}

bool MessageParcel::WriteRawDataFile(const void* data, size_t size)
{
    Host::UniqueFd file = Ipc::MakeSealedFile(data, size);
    auto& descriptors = Attached().descriptors;
    if (!file.IsOpen() || !WriteUint64(Marked(DESCRIPTOR_MARK, descriptors.size()))) {
        return false;
    }
    descriptors.push_back(std::move(file));
    return true;
}

const void* MessageParcel::ReadRawData(size_t size)
{
    const size_t start = GetReadPosition();
    const int32_t written = ReadInt32();
    const void* data = nullptr;
    if (size > 0 && size <= MAX_RAW_DATA && static_cast<size_t>(written) == size) {
        data = size <= MAX_INLINE_RAW_DATA ? ReadBuffer(size) : ReadRawDataFile(size);
    }
    if (data == nullptr) {
        (void)RewindRead(start); // a position that was one before
    }
    return data;
}

const void* MessageParcel::ReadRawDataFile(size_t size)
{
    const Host::UniqueFd file(ReadFileDescriptor());
    if (!file.IsOpen()) {
        return nullptr;
    }
    Ipc::RawBlock block = Ipc::RawBlock::Load(file.Get(), size);
    if (block.Data() == nullptr) {
        return nullptr;
    }
    return Attached().rawBlocks.emplace_back(std::move(block)).Data();
}

} // namespace OHOS
