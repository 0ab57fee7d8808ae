#ifndef PLATFORM_IPC_ATTACHMENTS_H
#define PLATFORM_IPC_ATTACHMENTS_H

#include <cstddef>
#include <vector>

#include "host/unique_fd.h"
#include "message_parcel.h"

namespace OHOS::Ipc {

// Raw data that a reader has asked for: memory of our own, or a mapping of a sealed file. Frees it.
class RawBlock {
public:
    // Empty when `fd` is no memory file, is shorter than `size`, or cannot be read.
    static RawBlock Load(int fd, size_t size);

    RawBlock(RawBlock&& other) noexcept;
    RawBlock& operator=(RawBlock&&) = delete;
    ~RawBlock();

    [[nodiscard]] const void* Data() const
    {
        return data_;
    }

private:
    RawBlock(void* data, size_t mapped) : data_(data), mapped_(mapped)
    {}

    static RawBlock Map(int fd, size_t size);
    static RawBlock Copy(int fd, size_t size);

    void* data_;
    size_t mapped_; // bytes of the mapping; 0: from malloc
};

// A memory file with these bytes, sealed; closed when it cannot be made.
[[nodiscard]] Host::UniqueFd MakeSealedFile(const void* data, size_t size);

// What a MessageParcel carries beside its bytes.
struct Attachments {
    std::vector<sptr<IRemoteObject>> objects; // null: one that its process has let go
    std::vector<Host::UniqueFd> descriptors;  // closed: taken out, or lost on the way
    std::vector<RawBlock> rawBlocks;
};

// The transport's way into a parcel.
class ParcelAccess {
public:
    static Attachments* Attached(MessageParcel& parcel)
    {
        return parcel.attached_.get();
    }
    static Attachments& Attach(MessageParcel& parcel)
    {
        return parcel.Attached();
    }
    static void SetDestination(MessageParcel& parcel, const Link& link)
    {
        parcel.destination_ = &link;
    }
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_ATTACHMENTS_H
