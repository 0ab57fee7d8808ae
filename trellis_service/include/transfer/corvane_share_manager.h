#ifndef PELAGO_TRANSFER_CORVANE_SHARE_MANAGER_H
#define PELAGO_TRANSFER_CORVANE_SHARE_MANAGER_H

#include <cstdint>

#include "ability_connect_callback.h"
#include "share_mutex.h"
#include "want.h"

namespace OHOS::Pelago {

// The feature's own front end, its extension abilities, and the keys under which they find what they are started for.
inline constexpr const char* FRONT_END_BUNDLE = "com.corvane.velos.pelago";
inline constexpr const char* ABILITY_SHARE_SERVICE_EXTENSION = "ShareServiceExtension";
inline constexpr const char* ABILITY_SHARE_API_EXTENSION = "CorvaneShareApiServiceExtension";
inline constexpr const char* ABILITY_PERMISSION_EXTENSION = "PermissionServiceExtension";
inline constexpr const char* ABILITY_SWING_SEND_CONFIRM = "SwingSendConfirmDialogService";
inline constexpr const char* ABILITY_SWING_RECEIVE_CONFIRM = "SwingReceiveConfirmDialogService";
inline constexpr const char* INTENT_KEY_SHARE = "ShareIntent";
inline constexpr const char* INTENT_KEY_SHARE_API = "CorvaneShareIntent";
inline constexpr const char* INTENT_KEY_PERMISSION = "permissionIntent";
inline constexpr const char* INTENT_KEY_SWING = "swingIntent";
inline constexpr const char* INTENT_SWITCH_NOTIFY_COMPONENT = "switchNotifyComponent";
inline constexpr const char* PARAM_NOTIFY_COMPONENT = "notifyComponent";

// Starts whatever must be shown to the user, since the service has no screen: extensions by a want, two lasting
// connections, and the event that folds the drop-down window away. Static; any thread. Nothing of an extension runs
// before an operation has returned. Results of the platform are logged, not returned, and nothing is tried again.
class CorvaneShareManager {
public:
    // The share connection. False when it stands already, or when there is none to end. A connection counts as standing
    // from the request on, also when the platform refuses it.
    static bool StartConnect(const AAFwk::Want& want);
    static bool StopConnect();

    // The connection to the share API's extension.
    static void ConnectCorvaneShareApiServiceEx();
    static void DisconnectCorvaneShareApiServiceEx();

    static void StartService(const AAFwk::Want& want);
    static void PreStartHap(const AAFwk::Want& want);
    static void HideDropDownWindow();

    // Dialogs and notices. `enableState` is for the caller's sake and goes nowhere.
    static void StartFirstUseDialog(int32_t enableState, int32_t detectableType);
    static void StartEnableConfirmDialog(int32_t enableState, int32_t detectableType);
    static void StartShowTip();
    static void StartSwitchNotificationForNudge();
    static void StartFailedNotificationForNudge(int32_t errorCode);

private:
    enum class ConnectType : int32_t {
        SHARE = 1,
        SHARE_API = 2,
    };

    // Tidies up on this side when the extension goes away, by what a client would call. That may meet a newer
    // connection, which then ends too.
    class AbilityConnection : public AAFwk::AbilityConnectionStub {
    public:
        explicit AbilityConnection(ConnectType type);
        void OnAbilityConnectDone(
            const AppExecFwk::ElementName& element, const sptr<IRemoteObject>& remoteObject, int resultCode) override;
        void OnAbilityDisconnectDone(const AppExecFwk::ElementName& element, int resultCode) override;

    private:
        const ConnectType connectType;
    };

    // The share connection and whether it counts as standing; also keeps starts in one order.
    static Mutex connectMutex;
    static bool isConnected SHARE_GUARDED_BY(connectMutex);
    static sptr<AAFwk::IAbilityConnection> connection_ SHARE_GUARDED_BY(connectMutex);

    // The connection to the share API's extension; null: none.
    static Mutex corvaneShareApiMutex;
    static sptr<AAFwk::IAbilityConnection> connectionCorvaneShareApi_ SHARE_GUARDED_BY(corvaneShareApiMutex);
};

} // namespace OHOS::Pelago

#endif // PELAGO_TRANSFER_CORVANE_SHARE_MANAGER_H
