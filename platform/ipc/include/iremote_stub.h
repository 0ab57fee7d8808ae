#ifndef PLATFORM_IPC_IREMOTE_STUB_H
#define PLATFORM_IPC_IREMOTE_STUB_H

#include "ipc_object_stub.h"
#include "iremote_broker.h"

namespace OHOS {

// Base of the server side of INTERFACE: implements OnRemoteRequest by calling the operations of INTERFACE.
// Ownership and threads as IPCObjectStub.
template <typename INTERFACE>
class IRemoteStub : public IPCObjectStub, public INTERFACE {
public:
    IRemoteStub() : IPCObjectStub(INTERFACE::GetDescriptor())
    {}

    sptr<IRemoteObject> AsObject() override
    {
        return this;
    }
};

} // namespace OHOS

#endif // PLATFORM_IPC_IREMOTE_STUB_H
