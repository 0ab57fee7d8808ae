#ifndef OHOS_AAFWK_ABILITY_MANAGER_ERRORS_H
#define OHOS_AAFWK_ABILITY_MANAGER_ERRORS_H

#include <cstdint>

namespace OHOS::AAFwk {

/// What the ability manager and the registry of extensions answer. Plain constants, free for any thread.
enum AbilityManagerError : int32_t {
    ERR_ABILITY_OK = 0,
    ERR_ABILITY_INVALID_VALUE = 1,       // a null object, an empty name, too many abilities
    ERR_ABILITY_NOT_REGISTERED = 2,      // nobody serves the ability, and the device has no command that could
    ERR_ABILITY_QUEUE_FULL = 3,          // as many wants wait as may
    ERR_ABILITY_WANT_TOO_LARGE = 4,      // the want does not fit into a message
    ERR_ABILITY_START_FAILED = 5,        // the command of the bundle could not be started
    ERR_ABILITY_PERMISSION_DENIED = 6,   // the caller has neither the extension's token nor the owner's
    ERR_ABILITY_ALREADY_REGISTERED = 7,  // a living process serves one of the abilities
    ERR_ABILITY_TOO_MANY = 8,            // as many registrations exist as may
    ERR_ABILITY_CONNECTION_EXISTS = 9,   // the connection is in use
    ERR_ABILITY_CONNECTION_UNKNOWN = 10, // the connection is not in use
    ERR_ABILITY_REFUSED = 11,            // the extension answered without an object
    ERR_ABILITY_TIMEOUT = 12,            // the process did not register in time
    ERR_ABILITY_DIED = 13,               // the process of the extension has ended
    ERR_ABILITY_IPC = 14,                // the message to or from the other process failed
};

} // namespace OHOS::AAFwk

#endif // OHOS_AAFWK_ABILITY_MANAGER_ERRORS_H
