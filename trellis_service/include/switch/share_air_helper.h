#ifndef PELAGO_SWITCH_SHARE_AIR_HELPER_H
#define PELAGO_SWITCH_SHARE_AIR_HELPER_H

#include <memory>
#include <string>

#include "data_ability_observer_stub.h"
#include "refbase.h"
#include "share_mutex.h"

namespace OHOS::Pelago {

// Watches the air-gesture switch in the settings and tells the share switch when the user turns it.
//
// Owned by ShareSwitchManager through a shared pointer, one instance; its observer holds it weakly. Registering and
// unregistering may come from any thread, changes arrive on the observer's thread.
//
// Keeps no state of the gesture: the share switch does.
class ShareAirHelper : public std::enable_shared_from_this<ShareAirHelper> {
public:
    // What the settings database calls when the key changes. Kept alive by the registration; does nothing once the
    // helper is gone. Any thread.
    class ShareAirObserver : public AAFwk::DataAbilityObserverStub {
    public:
        ShareAirObserver(const std::weak_ptr<ShareAirHelper>& helper, const std::string& key);
        ~ShareAirObserver() override = default;

        // Reads the value and acts on it. The service's own writes come back here too and find nothing left to do.
        void OnChange() override;

        const std::string& GetKey() const
        {
            return key_;
        }

    private:
        const std::weak_ptr<ShareAirHelper> shareAirHelper_;
        const std::string key_;
    };

    // Starts watching; nothing when it is watching already. Needs to be owned by a shared pointer.
    void RegisterDataChangeListener();
    // Stops watching; nothing when it is not.
    void UnRegisterDataChangeListener();

private:
    // Held across the registration, since the flag may only be set behind it. Not a leaf: the settings provider takes
    // its own lock inside. No observer's road takes it.
    static Mutex registerMutex_;
    static bool hasRegisterObserver_ SHARE_GUARDED_BY(registerMutex_);

    sptr<ShareAirObserver> observer_ SHARE_GUARDED_BY(registerMutex_);
};

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_SHARE_AIR_HELPER_H
