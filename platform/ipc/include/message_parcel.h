#ifndef PLATFORM_IPC_MESSAGE_PARCEL_H
#define PLATFORM_IPC_MESSAGE_PARCEL_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "iremote_object.h"
#include "parcel.h"

namespace OHOS {

namespace Ipc {
struct Attachments;
class Link;
class ParcelAccess;
} // namespace Ipc

// A parcel that also carries objects, file descriptors and raw data: what a request and its reply are made of.
// Owned by the sender of a request, or for its length by the road that delivers it. Holds a reference to each object
// and a duplicate of each descriptor that was written, and closes what it received and nobody took out. One thread at a
// time. Every Parcel& that the system hands to a record is a MessageParcel, so records that carry descriptors may
// static_cast; one that is written into a plain Parcel may not.
//
// Layout, beside that of Parcel: an object is the word 0x4a424f2a and its number among the parcel's objects, a
// descriptor the word 0x2a444624 and its number among the parcel's descriptors, both uint32; raw data is its size as
// int32, and then the bytes and padding, or above MAX_INLINE_RAW_DATA a descriptor of a memory file that holds them.
class MessageParcel : public Parcel {
public:
    static constexpr size_t MAX_INLINE_RAW_DATA = size_t{32} << 10; // bytes
    static constexpr size_t MAX_RAW_DATA = size_t{128} << 20;       // bytes

    MessageParcel();
    ~MessageParcel() override;

    // The interface that a request is meant for: the first field of a request, compared by its handler.
    [[nodiscard]] bool WriteInterfaceToken(std::u16string_view descriptor);
    // Empty when there is none.
    [[nodiscard]] std::u16string ReadInterfaceToken();

    // A stub arrives as a proxy, a proxy at its own process as the stub. False, with nothing written: for null, and,
    // with a line in the log, for an object of a third process. A request does not know its target before it is sent:
    // then SendRequest gives IPC_FOREIGN_OBJECT.
    [[nodiscard]] bool WriteRemoteObject(const sptr<IRemoteObject>& object);
    // Null when there is none, or when its process has let go of it.
    [[nodiscard]] sptr<IRemoteObject> ReadRemoteObject();

    // Sends a duplicate; `fd` stays the caller's. False, with nothing written, for -1 and for what is not an open
    // descriptor, and when no more may be opened.
    [[nodiscard]] bool WriteFileDescriptor(int fd);
    // Takes the descriptor out: the caller closes it. -1 when there is none, or when it was taken already.
    [[nodiscard]] int ReadFileDescriptor();
    [[nodiscard]] bool ContainFileDescriptors() const;

    // Bytes that need not fit in the parcel's capacity. False, with nothing written, for null, for no bytes and for
    // more than MAX_RAW_DATA.
    [[nodiscard]] bool WriteRawData(const void* data, size_t size);
    // The bytes, valid for as long as the parcel. Null unless exactly `size` were written. Their number comes from the
    // sender; they do not change any more, whatever the sender does.
    [[nodiscard]] const void* ReadRawData(size_t size);

private:
    friend class Ipc::ParcelAccess;

    // The number behind `mark`, if it is the next field and below `count`; otherwise nothing moves.
    [[nodiscard]] bool ReadMarked(uint32_t mark, size_t count, uint32_t& index);
    [[nodiscard]] bool IsForeign(const sptr<IRemoteObject>& object) const;
    [[nodiscard]] bool WriteRawDataFile(const void* data, size_t size);
    [[nodiscard]] const void* ReadRawDataFile(size_t size);
    Ipc::Attachments& Attached();

    std::unique_ptr<Ipc::Attachments> attached_; // most parcels have none
    const Ipc::Link* destination_ = nullptr;     // where it will go, if that is known: for replies
};

} // namespace OHOS

#endif // PLATFORM_IPC_MESSAGE_PARCEL_H
