#ifndef PLATFORM_IPC_PEER_HOLDER_H
#define PLATFORM_IPC_PEER_HOLDER_H

#include "iremote_object.h"

namespace OHOS {

// Holds the remote object of a proxy class, from its making to its end. Any thread may ask.
class PeerHolder {
public:
    PeerHolder(const PeerHolder&) = delete;
    PeerHolder& operator=(const PeerHolder&) = delete;

protected:
    explicit PeerHolder(const sptr<IRemoteObject>& object) : object_(object)
    {}
    virtual ~PeerHolder() = default;

    // Null when the proxy was made of null.
    sptr<IRemoteObject> Remote() const
    {
        return object_;
    }

private:
    const sptr<IRemoteObject> object_;
};

} // namespace OHOS

#endif // PLATFORM_IPC_PEER_HOLDER_H
