#ifndef PLATFORM_IPC_IPC_OBJECT_STUB_H
#define PLATFORM_IPC_IPC_OBJECT_STUB_H

#include <cstdint>
#include <string>

#include "iremote_object.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS {

// An object of this process that requests can be sent to, from here and from other processes.
// Owned by its references, those of other processes among them. May be made before main; starts nothing.
// OnRemoteRequest runs on the IPC threads, several at a time, and inside a local SendRequest on the caller's thread.
// Checks nobody's token and nobody's permission: that is OnRemoteRequest's.
class IPCObjectStub : public IRemoteObject {
public:
    // `descriptor`: the interface that it serves, for GetObjectDescriptor.
    explicit IPCObjectStub(std::u16string descriptor = {});
    IPCObjectStub(const IPCObjectStub&) = delete;
    IPCObjectStub& operator=(const IPCObjectStub&) = delete;

    // Handles a request. `data` is read from its start, `reply` is empty and travels back whatever the result is. The
    // result is what the caller's SendRequest gives; the caller's identity is IPCSkeleton's. What it throws is caught
    // by the road that led here, logged, and answered with IPC_UNKNOWN_ERROR. Here: IPC_UNKNOWN_CODE.
    virtual int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option);

    // A local request: the handler runs now, on this thread, and its caller is this process.
    [[nodiscard]] int SendRequest(
        uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    // False.
    [[nodiscard]] bool IsProxyObject() const override;
    [[nodiscard]] bool IsObjectDead() const override;
    [[nodiscard]] std::u16string GetObjectDescriptor() override;
    // False: this process does not outlive itself.
    [[nodiscard]] bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override;

private:
    const std::u16string descriptor_;
};

} // namespace OHOS

#endif // PLATFORM_IPC_IPC_OBJECT_STUB_H
