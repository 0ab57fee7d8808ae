#ifndef OHOS_AAFWK_DATA_ABILITY_OBSERVER_INTERFACE_H
#define OHOS_AAFWK_DATA_ABILITY_OBSERVER_INTERFACE_H

#include "refbase.h"

namespace OHOS::AAFwk {

/// Hears that data at a URI has changed. Implemented by whoever registers it, held by the registration. Each observer
/// is called on a queue of its own, one change at a time, with no lock held, and never inside the write that caused it.
/// A change that was on its way when the observer was unregistered may still arrive, beside one of a new registration
/// too. What changed is not told.
class IDataAbilityObserver : virtual public RefBase {
public:
    virtual void OnChange() = 0;
};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_DATA_ABILITY_OBSERVER_INTERFACE_H
