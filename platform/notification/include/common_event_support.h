#ifndef OHOS_EVENTFWK_COMMON_EVENT_SUPPORT_H
#define OHOS_EVENTFWK_COMMON_EVENT_SUPPORT_H

namespace OHOS::EventFwk {

/// Actions of the events that the system publishes. Constants, usable before main and from any thread.
class CommonEventSupport {
public:
    static const char* const COMMON_EVENT_USER_SWITCHED;
    static const char* const COMMON_EVENT_USER_UNLOCKED;
    static const char* const COMMON_EVENT_PACKAGE_DATA_CLEARED;
    static const char* const COMMON_EVENT_BLUETOOTH_HOST_STATE_UPDATE;
    static const char* const COMMON_EVENT_WIFI_POWER_STATE;
    static const char* const COMMON_EVENT_DATA_SHARE_READY;
};

} // namespace OHOS::EventFwk

#endif // OHOS_EVENTFWK_COMMON_EVENT_SUPPORT_H
