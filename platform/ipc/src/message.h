#ifndef PLATFORM_IPC_MESSAGE_H
#define PLATFORM_IPC_MESSAGE_H

#include <sys/uio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/ipc_transport.h"
#include "host/unique_fd.h"
#include "link.h"
#include "message_parcel.h"
#include "wire.h"

namespace OHOS::Ipc {

// Stubs that one message gives to the peer. Takes them back at its end unless the message has arrived. One thread at a
// time; goes no later than the link.
class GivenObjects {
public:
    GivenObjects() = default;
    GivenObjects(GivenObjects&& other) noexcept;
    GivenObjects& operator=(GivenObjects&& other) noexcept;
    ~GivenObjects();

    // The number of the stub on this link, 0 when `limit` stubs are given on it. One message has one link.
    [[nodiscard]] uint64_t Add(Link& link, const sptr<IPCObjectStub>& stub, size_t limit);
    // The peer has the message, and gives the objects back by releases.
    void Arrived()
    {
        ids_.clear();
    }

private:
    void TakeBack();

    Link* link_ = nullptr;
    std::vector<uint64_t> ids_;
};

// A parcel on its way out: its objects are counted as given, its bytes stay where they are. Belongs to the sender for
// the length of one send, as the parcel does.
class OutgoingMessage {
public:
    // 0, or the IpcError that keeps it from being sent. The head's kind, flags, target, code and sequence are the
    // caller's to fill.
    [[nodiscard]] int Pack(Link& link, MessageParcel& parcel, const Host::IpcLimits& limits);

    MessageHead head;
    GivenObjects given;

    // What to write: head, records, parcel. Valid until the message or the parcel changes.
    [[nodiscard]] std::array<iovec, 3> Bytes() const;
    // Of the parcel; empty without any.
    [[nodiscard]] const std::vector<Host::UniqueFd>& Descriptors() const;

private:
    [[nodiscard]] int PackObject(Link& link, const sptr<IRemoteObject>& object, size_t limit);

    std::vector<ObjectRecord> records_;
    const MessageParcel* parcel_ = nullptr;
    const Attachments* attached_ = nullptr;
};

// Whether a head can be true: size, counts, kind. NONE if it can.
[[nodiscard]] EndReason CheckHead(const MessageHead& head, const Host::IpcLimits& limits);

// A message from the peer, as it is read. One thread at a time.
struct IncomingMessage {
    MessageHead head; // checked
    std::vector<ObjectRecord> records;
    std::vector<Host::UniqueFd> descriptors; // closed ones were lost on the way
    ParcelBuffer bytes;                      // of the parcel; none if it is empty

    // Makes room for the body of this head. False without memory.
    [[nodiscard]] bool Begin(const MessageHead& checkedHead);
    [[nodiscard]] size_t BodySize() const;
    [[nodiscard]] size_t ParcelSize() const;
    // The memory of the body from `done` on, in two parts, either of which may be empty.
    [[nodiscard]] std::array<iovec, 2> BodyFrom(size_t done);

    // Makes a parcel of it: the peer's objects become proxies and ours stubs again. NONE, or what the peer did wrong;
    // an object of ours that we have let go of is a missing one.
    [[nodiscard]] EndReason Unpack(Link& link, MessageParcel& parcel);
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_MESSAGE_H
