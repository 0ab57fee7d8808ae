#ifndef PLATFORM_IPC_IREMOTE_PROXY_H
#define PLATFORM_IPC_IREMOTE_PROXY_H

#include "iremote_broker.h"
#include "peer_holder.h"

namespace OHOS {

// Base of the client side of INTERFACE: implements its operations by requests to Remote().
// Owned by whoever cast an object to INTERFACE; cheap, and several may stand for one object. Any thread may call.
template <typename INTERFACE>
class IRemoteProxy : public PeerHolder, public INTERFACE {
public:
    explicit IRemoteProxy(const sptr<IRemoteObject>& object) : PeerHolder(object)
    {}

    sptr<IRemoteObject> AsObject() override
    {
        return Remote();
    }
};

} // namespace OHOS

#endif // PLATFORM_IPC_IREMOTE_PROXY_H
