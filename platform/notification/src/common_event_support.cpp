#include "common_event_support.h"

#include "host/device_events.h"

namespace OHOS::EventFwk {

const char* const CommonEventSupport::COMMON_EVENT_USER_SWITCHED = Host::EventName::USER_SWITCHED;
const char* const CommonEventSupport::COMMON_EVENT_USER_UNLOCKED = Host::EventName::USER_UNLOCKED;
const char* const CommonEventSupport::COMMON_EVENT_PACKAGE_DATA_CLEARED = Host::EventName::PACKAGE_DATA_CLEARED;
const char* const CommonEventSupport::COMMON_EVENT_BLUETOOTH_HOST_STATE_UPDATE =
    Host::EventName::BLUETOOTH_HOST_STATE_UPDATE;
const char* const CommonEventSupport::COMMON_EVENT_WIFI_POWER_STATE = Host::EventName::WIFI_POWER_STATE;
const char* const CommonEventSupport::COMMON_EVENT_DATA_SHARE_READY = Host::EventName::DATA_SHARE_READY;

} // namespace OHOS::EventFwk
