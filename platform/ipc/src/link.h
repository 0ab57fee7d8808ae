#ifndef PLATFORM_IPC_LINK_H
#define PLATFORM_IPC_LINK_H

#include <cstdint>

#include "caller.h"
#include "iremote_object.h"
#include "object_table.h"

namespace OHOS::Ipc {

// One other process, as this one sees it: the objects that the two share, and a way to send. Sockets and the loopback
// of tests are its two forms. Owned by the proxies of the process and by its transport. Any thread may call. Does not
// know what travels: encoding is message.h's.
class Link : public RefBase {
public:
    // `peer`: what requests from there run as; empty when the peer is this process to itself.
    Link(const Caller& peer, size_t objectLimit) : peer_(peer), objects_(objectLimit)
    {}

    // Sends a request to the peer's object and waits as `option` says. As IRemoteObject::SendRequest.
    [[nodiscard]] virtual int Transact(
        RemoteProxy& object, uint32_t code, MessageParcel& data, MessageParcel& reply, const MessageOption& option) = 0;
    // Tells the peer that a proxy has gone in which its object had arrived `count` times. Never blocks.
    virtual void SendRelease(uint64_t object, uint64_t count) = 0;
    // No message carries this stub of ours any more and no proxy stands for it: lets go of it once everything has been
    // read that the peer sent before, since that may still name it.
    virtual void DropWhenRead(uint64_t object) = 0;

    [[nodiscard]] ObjectTable& Objects()
    {
        return objects_;
    }
    [[nodiscard]] const ObjectTable& Objects() const
    {
        return objects_;
    }
    [[nodiscard]] const Caller& Peer() const
    {
        return peer_;
    }
    // Whether this is the child of a fork that the link did not survive: nothing of it may be touched, its locks least.
    [[nodiscard]] virtual bool IsStranded() const
    {
        return false;
    }

private:
    const Caller peer_;
    ObjectTable objects_;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LINK_H
