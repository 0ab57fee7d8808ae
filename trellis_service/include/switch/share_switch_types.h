#ifndef PELAGO_SWITCH_SHARE_SWITCH_TYPES_H
#define PELAGO_SWITCH_SHARE_SWITCH_TYPES_H

#include <cstdint>

namespace OHOS::Pelago {

// The numbers of the switch. They are the same in memory, in the files, in the settings and at the IPC boundary, where
// requests are not checked: anything but STATE_SHARE_ENABLE counts as off, and a stray number is kept as it came.
enum EnableState : int32_t {
    STATE_SHARE_FIRST_USE = 0, // this user never made a choice; as a request: forget the choice
    STATE_SHARE_ENABLE = 1,
    STATE_SHARE_DISABLE = 2, // off by choice, or for want of a radio
};

// How a device that shares can be found. The share engine knows what each means to peers.
enum DetectableType : int32_t {
    UNDETECTABLE = 0,       // not published, cannot receive; always so while sharing is off
    DETECTABLE_TIMED = 1,   // turns into DETECTABLE_LASTING after ten minutes
    DETECTABLE_LASTING = 2, // until changed
    DETECTABLE_SWING = 3,   // asked for by the air gesture when no earlier type is remembered
};

// The air-gesture switch.
enum SwingState : int32_t {
    SWING_STATE_OFF = 0, // the user's own off; the share switch never touches it
    SWING_STATE_ON = 1,
    SWING_STATE_SUSPENDED = 2, // the user's on, held back while sharing is off
};

// Whether account information may be handed out.
enum AccountPermission : int32_t {
    ACCOUNT_PERMISSION_OFF = 0,
    ACCOUNT_PERMISSION_ON = 1,
};

// What is persisted: each item has a settings key, the first three a place in the state file.
enum SwitchType : int32_t {
    SWITCH_TYPE_MAIN = 0,
    SWITCH_TYPE_DETECT = 1,
    SWITCH_TYPE_PERMISSION = 2,
    SWITCH_TYPE_AIR = 3,
    SWITCH_TYPE_MAIN_RECOVER = 4,
    SWITCH_TYPE_DETECT_RECOVER = 5,
};

// A request for a state, on its way through the runner.
struct ShareSwitchParam {
    int32_t enableState = STATE_SHARE_FIRST_USE;
    int32_t detectableType = UNDETECTABLE;
    bool needCheckFirstUse = false; // from first use: ask by dialog instead of acting
    bool needUserConfirm = false;   // a radio is missing: ask by dialog instead of starting it
    bool reservedFlag = false;      // travels with the request and is never read
};

// A state and a type that belong together: what waits for the radios, or what to return to when they are back.
struct SwitchPair {
    int32_t enableState = STATE_SHARE_FIRST_USE;
    int32_t detectableType = UNDETECTABLE;
};
using EnablingData = SwitchPair;

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_SHARE_SWITCH_TYPES_H
