#ifndef PELAGO_SWITCH_SHARE_SWITCH_MANAGER_H
#define PELAGO_SWITCH_SHARE_SWITCH_MANAGER_H

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "event_handler.h"
#include "refbase.h"
#include "share_mutex.h"
#include "singleton.h"
#include "switch/share_switch_types.h"

namespace OHOS::Pelago {

class BroadcastReceiver;
class ShareAirHelper;
class ShareOobeHelper;
class TimeServiceHelper;
class TrellisService;

// Keeps, for the verified user in front, whether the device takes part in sharing and how it can be found; brings the
// radios up for it, carries each decision to the share engine, the clients, the user's files and the settings, and
// finds its way back after radios fell away or the user changed.
//
// A singleton (DelayedSingleton<ShareSwitchManager>) that TrellisService initialises when it starts and releases when
// it stops; held by shared pointer. After a release, or before Init, it is harmless: it refuses to queue and reads as
// first use.
//
// The operations that post, and the getters, may be called from any thread. Every transition runs on the runner
// "ShareSwitchManagerEventHandler", one at a time, and only there: the "...Event" operations check that. No lock of the
// switch is held across a call into TrellisService.
//
// Does not decide who may ask, does not wait for dialogs, retries nothing by itself: the next request or system event
// does.
//
// Implemented by room: share_switch_manager.cpp (life, messages), share_switch_state.cpp (transitions),
// share_switch_storage.cpp (files, settings), share_switch_users.cpp (users, account permission),
// share_switch_radio.cpp (radios and their self-healing).
class ShareSwitchManager : public AppExecFwk::EventHandler {
public:
    // What the runner handles; see the table in share_switch_manager.cpp for handlers and delays.
    enum Message : uint32_t {
        MSG_ENABLE_SHARE_SWITCH_EVENT = 0,
        MSG_ENABLE_SHARE_ACCOUNT_PERMISSION_EVENT = 1,
        MSG_ENABLE_WIFI_OR_BLUETOOTH_EVENT = 2,
        MSG_ON_WIFI_OR_BLUETOOTH_STATE_CHANGED_EVENT = 3,
        MSG_ENABLE_SHARE_SWITCH_TIMEOUT_EVENT = 4,
        MSG_WAIT_BLUETOOTH_SA_REMOVE_TIMEOUT_EVENT = 5,
        MSG_WIFI_SELF_HEAL_BEGIN = 6,
        MSG_WIFI_SELF_HEAL_END = 7,
        MSG_BLUETOOTH_SELF_HEAL_BEGIN = 8,
        MSG_BLUETOOTH_SELF_HEAL_END = 9,
        MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT = 10,
        MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT = 11,
        MSG_AGREE_ENHANCE_OOBE_EVENT = 12,
        MSG_REJECT_ENHANCE_OOBE_EVENT = 13,
        MSG_DATA_SHARE_READY_EVENT = 14,
        MSG_LOCAL_USER_SWITCHED_EVENT = 15,
        MSG_USER_UNLOCKED_EVENT = 16,
    };

    // How long a request waits for the radios: both need a second or two, a cold Wi-Fi chip up to eight.
    static constexpr int64_t ENABLE_TIMEOUT_MS = 10000;
    // How long a refused restricted Bluetooth may take to let go of its ability: a restart of the stack.
    static constexpr int64_t WAIT_BLUETOOTH_SA_REMOVE_MS = 5000;
    // How long a radio may be away on a restart of its own before it counts as lost.
    static constexpr int64_t SELF_HEAL_TIMEOUT_MS = 3000;

    // What the switch holds at one moment, for the dump and for tests. Each field is true for itself: while the runner
    // is in the middle of a transition they need not agree.
    struct Snapshot {
        int32_t enableState;
        int32_t detectableType;
        int32_t accountPermission;
        int32_t swingState;
        int32_t localUserId;
        bool isPrivateUser;
        bool isEnabling;
        bool btSelfHealing;
        bool wifiSelfHealing;
        bool needSyncSettings;
        bool waitBluetoothSaRemove;
        bool hasSubscribeCommonEvent;
        EnablingData enablingData;
        SwitchPair lastShareSwitchState;
    };

    // What a change of the radios is answered with.
    enum class RadioAction {
        IGNORE_HALF, // one radio came up while the other is still missing
        DISABLE,     // a radio is lost: sharing goes off and remembers
        SYNC,        // a change during self-healing was real: persist it now
        ASK_AGAIN,   // a request waits for the radios: put it once more
        KEEP,        // nothing to do
        RECOVER,     // the radios are back: return to what was before
    };
    // What that depends on.
    struct RadioFacts {
        bool available;        // Wi-Fi and BLE, both
        bool isTurnOn;         // the news was a good one
        int32_t enableState;   //
        bool needSyncSettings; // a state other than on is not persisted yet
        bool isEnabling;       // a request waits for the radios
        int32_t lastEnableState;
    };

    ShareSwitchManager();
    ~ShareSwitchManager() override;

    // Life. Any thread.

    // Takes the service, at each call, and at the first one makes the runner, the receivers and the helpers. When the
    // runner cannot be made, logged, the switch stays without: there is no second attempt.
    void Init(const wptr<TrellisService>& service);
    // Subscribes the three receivers, once all have succeeded never again. A retry after a partial failure subscribes
    // the first ones a second time.
    [[nodiscard]] bool SubscribeCommonEvent();
    // Drops the runner, the subscriptions, the timer and the observers. Initialised and subscribed stay true: a new
    // start takes a new instance. Waits for a registration of observers that is under way, never for the runner.
    void Release();
    void ProcessEvent(const AppExecFwk::InnerEvent::Pointer& event) override;

    // Requests. Any thread; each only queues.

    // False when the request could not be queued. The outcome comes as OnEnableStatusChanged, or not at all when a
    // dialog takes over or the state stays as it is.
    [[nodiscard]] bool SetShareEnableWithConfirm(
        int enableState, int detectableType, bool needCheckFirstUse, bool needUserConfirm, bool reservedFlag);
    // Sets the permission, and writes it, on the calling thread; the engine is told from the runner, if sharing is on.
    // With `isUserSwitch` no file and no secure table is touched. False, and nothing done, for a value other than 0 and
    // 1; false as well when the engine's part could not be queued.
    [[nodiscard]] bool SetShareAccountPermission(int accountPermission, bool isUserSwitch);

    // State. Any thread.

    bool IsEnabled() const;
    int32_t GetEnableState() const;
    int32_t GetAccountPermission() const;
    Snapshot GetSnapshot() const;

    // System events. Any thread; each only queues, but for HandleOnBluetoothSaRemoved, HandleOnSwingOn and
    // HandleOnSwingOff, which act on the calling thread.

    void HandleOnWifiOrBluetoothStateChanged(bool isTurnOn);
    void HandleOnBtSelfHealingBegin();
    void HandleOnBtSelfHealingEnd();
    void HandleOnWifiSelfHealingBegin();
    void HandleOnWifiSelfHealingEnd(bool isWifiEnabling);
    // Gives a refused restricted Bluetooth its one second try, on a thread of its own, if one is still wanted.
    void HandleOnBluetoothSaRemoved();
    void EnableBluetoothToRestrictModeInDelay();
    void HandleOnDataShareReady();
    void HandleOnUserSwitched(int userId);
    void HandleOnUserUnlocked(int userId);
    void HandleOnAgreeEnhanceOobe(int userId);
    void HandleOnRejectEnhanceOobe(int userId);
    void HandleOnPackageDataCleared();
    void HandleOnSwingOn();
    void HandleOnSwingOff();
    // Held from the look at the air-gesture switch in the settings until the switch has heard of it: so what the switch
    // itself writes there meanwhile is never taken for the user's word.
    RecursiveMutex& SharedItemsMutex();
    // The ten minutes of the timed type are over; on the timer's thread. Looks again, since the state may have moved
    // on.
    void ExcuteSwitchDetectableStateScheduledTask();

    // Decisions and checks without effect.

    static RadioAction DecideOnRadioChange(const RadioFacts& facts);
    // The first thing that does not hold between two events, or null. Meant for a snapshot taken while the runner
    // rests.
    static const char* BrokenInvariant(const Snapshot& snapshot);

    // Files and settings. On the runner, and in the road of SetShareAccountPermission; sharedItemsMutex_ keeps the two
    // apart. All results are logged where they fail.

    // Reads the state file of a verified user. A primary user without one gets one, of the older file's content or of
    // zeros; the older file is removed. False: nothing read; the outputs are then untouched, or zeros when a file could
    // not be opened.
    [[nodiscard]] bool GetShareStateInfoFromFile(
        int userId, int& enableState, int& detectableType, int& accountPermission);
    // True once the file is open: what it lacks reads as 0.
    [[nodiscard]] bool GetShareStateInfoFromFileByFileName(
        const std::string& path, int& enableState, int& detectableType, int& accountPermission);
    [[nodiscard]] bool PutShareStateInfoToFileWithUserId(
        int enableState, int detectableType, int accountPermission, int userId);
    // Patches one field of the present user's file, which must exist.
    [[nodiscard]] bool PutSingleShareStateInfoToFile(SwitchType switchType, int value);
    // The recover pair of the present user. True with the outputs untouched for a user without one.
    [[nodiscard]] bool GetShareRecoverStateInfoFromFile(int& enableState, int& detectableType);
    [[nodiscard]] bool GetShareRecoverStateInfoFromSettings(int& enableState, int& detectableType);
    [[nodiscard]] bool PutShareRecoverStateInfoToFile(int enableState, int detectableType);
    // True when the write to the global table *failed*: it reads backwards and nobody looks at it.
    bool PutShareStateInfoToSettings(SwitchType switchType, int value, bool needPutSecurity);
    // False leaves `swingState` as it is; no row reads as 0.
    [[nodiscard]] bool GetSwingStateInfoFromSettings(int& swingState);

private:
    using EventFunc = void (ShareSwitchManager::*)(const AppExecFwk::InnerEvent::Pointer& event);

    // One row of the message table.
    struct MessageRow {
        Message id;
        EventFunc handler;
        int64_t delayMs;
        const char* name; // for the log, when it cannot be queued
    };
    struct MessageTable; // all rows, in share_switch_manager.cpp

    // Life and messages (share_switch_manager.cpp)

    void InitFuncMap();
    void InitBroadcastReceiver();
    void CreateHelpers();
    // Queue a message at the delay of its row. False, logged, when there is no runner to take it.
    [[nodiscard]] bool TryPost(Message id, int64_t param = 0);
    [[nodiscard]] bool TryPost(Message id, AppExecFwk::InnerEvent::Pointer event);
    // The same for whoever goes on either way.
    void Post(Message id, int64_t param = 0);
    void ReleaseOobeHelpers();
    // The runner is gone, though an event may be under way. After a no under oobeHelperMutex_ the release is still to
    // come to the helpers.
    [[nodiscard]] bool IsReleased() const;
    // Aborts in checked builds when `body` runs anywhere but on the runner.
    void CheckOnRunner(const char* body) const;
    using Receivers = std::array<std::shared_ptr<BroadcastReceiver>, 3>;
    Receivers GetReceivers() const; // in the order in which they are subscribed; all null before Init
    sptr<TrellisService> Service() const;
    std::shared_ptr<ShareAirHelper> AirHelper() const;
    std::shared_ptr<TimeServiceHelper> TimerHelper() const;

    // Transitions (share_switch_state.cpp)

    void EnableShareSwitchEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void EnableShareSwitchTimeoutEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void DisableByRequest(int32_t enableState);
    [[nodiscard]] bool EnableByRequest(int32_t detectableType);
    // The off path that no one asked for: a radio is lost, or the user changes.
    void DisableSharePassively(bool isUserSwitched);
    // True: go on and apply. False: a dialog or the start of the radios took over, the request will come back.
    [[nodiscard]] bool SetShareState(
        int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm);
    void LeaveFirstUse(int32_t detectableType);
    void StartFirstUseDialog(int32_t enableState, int32_t detectableType);
    void StartEnableConfirmDialog(int32_t enableState, int32_t detectableType);
    void StartEnabling(int32_t detectableType);
    void StopEnabling();
    void UpdateShareSwitchState(int32_t enableState, int32_t detectableType, bool putSecurity);
    // Makes the engine publish and receive, or stop both, by `detectableType`; does not store it.
    [[nodiscard]] bool SetDetectableState(int32_t detectableType);
    // Switches publishing off on a way that goes on whatever the engine says.
    void SetUndetectable();
    void InitShareState();
    void RepairSavedType(int32_t saveState, int32_t& saveType);
    void InitSwingState();
    void DisableSwingByShare();
    void EnableSwingByShare();
    // Moves the swing state and persists it, unless it is not `from` (any more).
    void MoveSwingState(SwingState from, SwingState to);
    // Arms the ten minutes when they are to run, and stops them otherwise. A timer that cannot be armed is logged: the
    // type then simply does not lapse.
    void SendSwitchDetectableStateScheduledTask();
    void NotifyCallbackOnEnableStatusChanged();
    // Queues a request of the switch to itself, which asks nobody.
    void Request(const SwitchPair& target);
    void SaveLastShareSwitchState(int32_t enableState, int32_t detectableType);
    SwitchPair LastShareSwitchState() const;
    EnablingData PendingRequest() const;
    void SetPendingRequest(const EnablingData& pending);

    // Storage (share_switch_storage.cpp)

    void SaveStateFile(int32_t enableState, int32_t detectableType);
    [[nodiscard]] bool MoveLegacyStateFile(int userId, int& enableState, int& detectableType, int& accountPermission);

    // Users (share_switch_users.cpp)

    void EnableShareAccountPermissionEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void AgreeEnhanceOobeEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void RejectEnhanceOobeEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void DataShareReadyEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void LocalUserSwitchedEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void UserUnlockedEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void SwitchUserToOther(int switchToUserId);
    void LeavePreviousUser();
    void InitLocalVerifiedForegroundUser();
    void AgreeForPrivateUser();
    void RegisterOobeDataChangeListener(int userId);
    void InitLastShareSwitchState(int32_t saveState, int32_t saveType);
    [[nodiscard]] bool CheckIfUserIsFirstUse(int userId);
    void WriteAgreedState(int userId);

    // Radios (share_switch_radio.cpp)

    // Queues the start of the radios and the time-out of the request that needs them.
    [[nodiscard]] bool EnableWifiOrBluetooth();
    void EnableWifiOrBluetoothEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void WifiOrBluetoothStateChangedEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void WaitBluetoothSaRemoveTimeoutEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void WifiSelfHealBeginEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void WifiSelfHealEndEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void WifiSelfHealTimeoutEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void BluetoothSelfHealBeginEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void BluetoothSelfHealEndEvent(const AppExecFwk::InnerEvent::Pointer& event);
    void BluetoothSelfHealTimeoutEvent(const AppExecFwk::InnerEvent::Pointer& event);
    static bool AreRadiosAvailable();
    static void EnableBluetoothToRestrictMode();

    // Written on the runner, but for swingState_ and accountPermission_, which observers and IPC threads write too.
    // Atomic because getters, timer and observers read them on other threads; nothing is decided by two of them
    // together there.
    std::atomic<int32_t> enableState_{STATE_SHARE_FIRST_USE};
    std::atomic<int32_t> detectableType_{UNDETECTABLE};
    std::atomic<int32_t> accountPermission_{ACCOUNT_PERMISSION_OFF};
    std::atomic<int32_t> swingState_{SWING_STATE_OFF};
    std::atomic<bool> hasSubscribeCommonEvent_{false};
    std::atomic<bool> waitBluetoothSaRemove_{false}; // a second try of restricted Bluetooth is armed
    std::atomic<bool> needSyncSettings_{
        false};                                // a state other than on was taken during self-healing, not yet persisted
    std::atomic<bool> btSelfHealing_{false};   // Bluetooth is restarting itself
    std::atomic<bool> wifiSelfHealing_{false}; // Wi-Fi is restarting itself
    std::atomic<int32_t> localUserId_{-1};     // whose state this is; -1: no verified user is in front
    std::atomic<bool> isPrivateUser_{false};
    std::atomic<bool> isEnabling_{false}; // a request waits for the radios

    // Guards what is copied or swapped as a whole: nothing is called with it held.
    mutable Mutex partsMutex_{"ShareSwitchManager::partsMutex_", LockRank::LEAF};
    EnablingData enablingData_ SHARE_GUARDED_BY(partsMutex_);       // the waiting request; zeros when there is none
    SwitchPair lastShareSwitchState_ SHARE_GUARDED_BY(partsMutex_); // what to return to; mirrored in the recover file
    wptr<TrellisService> trellisService_ SHARE_GUARDED_BY(partsMutex_);
    std::shared_ptr<ShareAirHelper> shareAirHelper_ SHARE_GUARDED_BY(partsMutex_);
    std::shared_ptr<TimeServiceHelper> timeServiceHelper_ SHARE_GUARDED_BY(partsMutex_);
    std::shared_ptr<BroadcastReceiver> commonEventSubscriber_ SHARE_GUARDED_BY(partsMutex_);
    std::shared_ptr<BroadcastReceiver> wifiSemiSubscriber_ SHARE_GUARDED_BY(partsMutex_);
    std::shared_ptr<BroadcastReceiver> btRestrictSubscriber_ SHARE_GUARDED_BY(partsMutex_);
    std::shared_ptr<AppExecFwk::EventRunner> eventRunner_ SHARE_GUARDED_BY(partsMutex_);

    // Held across the registration of a helper's observers: nothing on an observer's road takes it.
    Mutex oobeHelperMutex_{"ShareSwitchManager::oobeHelperMutex_", LockRank::OOBE_HELPERS};
    std::map<int32_t, std::shared_ptr<ShareOobeHelper>> oobeHelperMap_ SHARE_GUARDED_BY(oobeHelperMutex_);

    // Held while memory, settings and file are brought to agree about what other threads change too: the account
    // permission and the swing state. Nothing that is called with it held waits for another thread of ours. Taken with
    // no other lock held, and before those of the helpers.
    RecursiveMutex sharedItemsMutex_{"ShareSwitchManager::sharedItemsMutex_", LockRank::DEVICES};

    // Covers the test and set alone.
    Mutex initMutex_{"ShareSwitchManager::initMutex_", LockRank::LEAF};
    bool isInit_ SHARE_GUARDED_BY(initMutex_) = false;

    std::map<uint32_t, EventFunc> eventFuncMap_; // filled once, before the runner exists
};

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_SHARE_SWITCH_MANAGER_H
