#ifndef PELAGO_SWITCH_SHARE_SETTING_KEYS_H
#define PELAGO_SWITCH_SHARE_SETTING_KEYS_H

namespace OHOS::Pelago {

// The keys of the settings database that the service reads or writes. All values are decimal texts.
namespace SettingKey {
// Written for the rest of the system, to the global table and the present user's secure table; never read back.
inline constexpr const char* MAIN_STATE = "corvane_velos_pelago_main_state";
inline constexpr const char* DETECT_STATE = "corvane_velos_pelago_detect_state";
inline constexpr const char* PERMISSION_STATE = "corvane_velos_pelago_permission_state";

// The air-gesture switch, a SwingState: written like the above, and read from the global table.
inline constexpr const char* AIR_SWITCH = "item_air_share_switch";

// What an older install left in the global table for the primary user. Read only.
inline constexpr const char* MAIN_STATE_RECOVER = "corvane_velos_pelago_main_state_recover";
inline constexpr const char* DETECT_STATE_RECOVER = "corvane_velos_pelago_detect_state_recover";

// The first-run experience, read only. Global: is the device set up, did it agree to collaborate, is collaboration on.
inline constexpr const char* DEVICE_PROVISIONED = "device_provisioned";
inline constexpr const char* COLLABORATION_OOBE_ENHANCE = "collaboration_oobe_enhance_state";
inline constexpr const char* COLLABORATION_SERVICE_SWITCH =
    "settings.collaboration.multi_device_collaboration_service_switch";
// Secure table of the user: is the user set up, are updates done ("0": one waits), did the user agree.
inline constexpr const char* USER_SETUP_COMPLETE = "user_setup_complete";
inline constexpr const char* IS_OTA_FINISHED = "is_ota_finished";
inline constexpr const char* PELAGO_OOBE_STATE = "corvane_velos_pelago_oobe_state";

// Airplane mode: the key of the row, and the shorter one that its address names.
inline constexpr const char* AIRPLANE_MODE = "settings.telephony.airplanemode";
inline constexpr const char* AIRPLANE_MODE_ADDRESS = "airplane_mode";

// The value that means yes.
inline constexpr const char* YES = "1";
inline constexpr const char* NO = "0";
} // namespace SettingKey

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_SHARE_SETTING_KEYS_H
