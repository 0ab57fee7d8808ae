#ifndef PLATFORM_IPC_IREMOTE_OBJECT_H
#define PLATFORM_IPC_IREMOTE_OBJECT_H

#include <cstdint>
#include <string>

#include "ipc_types.h"
#include "message_option.h"
#include "refbase.h"

namespace OHOS {

class MessageParcel;

// An object that requests can be sent to: a stub of this process, or a proxy of a stub in another one.
// Owned by its references; the references of other processes count. The same stub is the same proxy in each other
// process for as long as that process holds it, so two may be compared by address. Any thread may call anything, also
// from inside a request or a death recipient. Does not start its process and does not come back to life: a dead proxy
// stays dead.
class IRemoteObject : public virtual RefBase {
public:
    // Hears once that the process of a proxy has gone.
    // Held by the proxy until then, or until RemoveDeathRecipient. Called on an IPC thread with no lock held, after
    // what the process had sent one-way before it went.
    class DeathRecipient : public virtual RefBase {
    public:
        // `object` is the proxy that the recipient was added to. Removing does not wait for a call that has begun.
        virtual void OnRemoteDied(const wptr<IRemoteObject>& object) = 0;
    };

    // Sends the request and waits for the reply (or does not, by `option`). Gives what the handler returned, or an
    // IpcError. `reply` holds what the handler wrote, whatever it returned; it is left alone when no reply came. `data`
    // can be sent once: descriptors in it may have moved out. On a stub the handler runs inside the call.
    [[nodiscard]] virtual int SendRequest(
        uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) = 0;

    // Whether the object lives in another process.
    [[nodiscard]] virtual bool IsProxyObject() const = 0;

    // Whether the process of a proxy is known to be gone. False for a stub.
    [[nodiscard]] virtual bool IsObjectDead() const = 0;

    // The interface that the object serves. A proxy asks its stub once; empty when that fails.
    [[nodiscard]] virtual std::u16string GetObjectDescriptor() = 0;

    // False, and the recipient is never called: for null, for a stub, and for a proxy that is dead already. A recipient
    // that is added twice is called twice.
    [[nodiscard]] virtual bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) = 0;

    // Takes the recipient back. False when it is not there (any more): its call may be under way. Never waits.
    virtual bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) = 0;
};

} // namespace OHOS

#endif // PLATFORM_IPC_IREMOTE_OBJECT_H
