#ifndef OHOS_AAFWK_DATA_ABILITY_OBSERVER_STUB_H
#define OHOS_AAFWK_DATA_ABILITY_OBSERVER_STUB_H

#include "data_ability_observer_interface.h"

namespace OHOS::AAFwk {

/// Base of observers that live in this process; all observers do. Threads and ownership as in the interface.
class DataAbilityObserverStub : public IDataAbilityObserver {
public:
    void OnChange() override
    {}
};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_DATA_ABILITY_OBSERVER_STUB_H
