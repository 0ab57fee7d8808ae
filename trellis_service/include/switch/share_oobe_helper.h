#ifndef PELAGO_SWITCH_SHARE_OOBE_HELPER_H
#define PELAGO_SWITCH_SHARE_OOBE_HELPER_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "data_ability_observer_stub.h"
#include "refbase.h"
#include "share_mutex.h"

namespace OHOS::Pelago {

// Watches, for one user, the settings that tell when the first-run experience (OOBE) has ended, and reports once to the
// share switch whether the user agreed to the collaboration features.
//
// Owned by ShareSwitchManager through a shared pointer, one per user ever taken up, until the switch is released; its
// observers hold it weakly. Registering and unregistering come under the owner's lock, changes on any observer's
// thread.
//
// Does not load or change the switch: it posts to it.
class ShareOobeHelper : public std::enable_shared_from_this<ShareOobeHelper> {
public:
    // What the settings database calls when one key changes. Kept alive by the registration; does nothing once the
    // helper is gone. Any thread.
    class ShareOobeObserver : public AAFwk::DataAbilityObserverStub {
    public:
        ShareOobeObserver(const std::weak_ptr<ShareOobeHelper>& helper, const std::string& key, int32_t userId);
        ~ShareOobeObserver() override = default;

        void OnChange() override;

        const std::string& GetKey() const
        {
            return key_;
        }

    private:
        const std::weak_ptr<ShareOobeHelper> shareOobeHelper_;
        const std::string key_;
        const int32_t userId_;
    };

    explicit ShareOobeHelper(int32_t userId);

    // Starts watching the three keys; nothing when it is watching already. Needs to be owned by a shared pointer. Two
    // calls of this pair never overlap: the owner sees to it.
    void RegisterDataChangeListener();
    // Stops watching; nothing when it is not.
    void UnRegisterDataChangeListener();

    // A watched key of the user has changed. Decides once in the life of the helper, at the first change that finds the
    // set-up complete. Any thread.
    void HandleOnOobeStateChanged(const std::string& key, int32_t userId);
    // Reports the user's answer to the switch, and starts the radios when the device-level settings want it. Any
    // thread.
    void HandleOnOobeReady();

    // Brings up what sharing needs at least, semi-active Wi-Fi and restricted Bluetooth, unless in airplane mode. A
    // refused Bluetooth gets a second try when its ability goes away. Any thread.
    static void EnableSemiWifiAndBluetooth();

private:
    // True for the one caller that is to decide.
    [[nodiscard]] bool TakeDecision();
    void RememberAgreement();
    void RegisterObserver(sptr<ShareOobeObserver>& observer, const char* key);

    // Three observers, touched only while registering and unregistering.
    sptr<ShareOobeObserver> deviceProvisionedObserver_;
    sptr<ShareOobeObserver> userSetupCompleteObserver_;
    sptr<ShareOobeObserver> isOtaFinishedObserver_;

    // Never held across an access to the settings.
    Mutex mutex_{"ShareOobeHelper::mutex_", LockRank::LEAF};
    bool isOobeReady_ SHARE_GUARDED_BY(mutex_) = false;
    bool hasRegisterObserver_ SHARE_GUARDED_BY(mutex_) = false;

    // Kept for the log only: no decision looks at them. Atomic, since observers' threads write and read them.
    std::atomic<bool> isOtaActivated_{false};
    std::atomic<bool> preEnableCollaborationOobeEnhance_{false};

    const int32_t userId_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_SHARE_OOBE_HELPER_H
