#ifndef OHOS_AAFWK_ABILITY_CONNECT_CALLBACK_H
#define OHOS_AAFWK_ABILITY_CONNECT_CALLBACK_H

#include <cstdint>

#include "element_name.h"
#include "iremote_object.h"
#include "refbase.h"

namespace OHOS::AAFwk {

/// Hears what becomes of one connection to an extension.
///
/// Held by whoever made it, and by the ability manager while the connection lasts. Each accepted connection ends with
/// exactly one OnAbilityDisconnectDone; before it comes at most one OnAbilityConnectDone. Both come on a queue of their
/// own, one at a time, never inside a call of the ability manager and with no lock held; both may call it.
///
/// It stays within the device's process.
class IAbilityConnection : public virtual RefBase {
public:
    /// The extension answered with this object. `resultCode` is 0.
    virtual void OnAbilityConnectDone(
        const AppExecFwk::ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) = 0;

    /// The connection is over: 0 when it was disconnected, otherwise the AbilityManagerError that says why.
    virtual void OnAbilityDisconnectDone(const AppExecFwk::ElementName& element, int resultCode) = 0;
};

/// Base of the connections that a service makes. As IAbilityConnection.
class AbilityConnectionStub : public IAbilityConnection {};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_ABILITY_CONNECT_CALLBACK_H
