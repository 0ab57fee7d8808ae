#ifndef PELAGO_SWITCH_BROADCAST_RECEIVER_H
#define PELAGO_SWITCH_BROADCAST_RECEIVER_H

#include <map>
#include <string>

#include "common_event_data.h"
#include "common_event_subscribe_info.h"
#include "common_event_subscriber.h"

namespace OHOS::Pelago {

// Brings the system's common events to the share switch: decodes the radios' state codes and posts.
//
// ShareSwitchManager owns three, which differ only in what they are subscribed to; the common event service holds each
// as long as it is subscribed. Events come on the thread that the common event service uses for the subscriber, those
// of different subscribers at the same time; their order is fixed only in the switch's message queue.
//
// Keeps no state and decides nothing about sharing.
class BroadcastReceiver : public EventFwk::CommonEventSubscriber {
public:
    static constexpr const char* EVENT_BT_RESTRICT = "usual.event.bluetooth.BT_SWITCH_RESTRICT_BLUETOOTH";
    static constexpr const char* EVENT_WIFI_SEMI_STATE = "usual.event.wifi.SEMI_STATE";

    explicit BroadcastReceiver(const EventFwk::CommonEventSubscribeInfo& subscribeInfo);
    ~BroadcastReceiver() override = default;

    // An event without an action, or with one that is not in the table, is logged and dropped.
    void OnReceiveEvent(const EventFwk::CommonEventData& data) override;

private:
    using EventFunc = void (BroadcastReceiver::*)(const EventFwk::CommonEventData& data);

    void InitFuncMap();
    void HandleOnUserSwitched(const EventFwk::CommonEventData& data);
    void HandleOnPackageDataCleared(const EventFwk::CommonEventData& data);
    void HandleOnBTStateChanged(const EventFwk::CommonEventData& data);
    void HandleOnWIFIStateChanged(const EventFwk::CommonEventData& data);
    void HandleOnDataShareReady(const EventFwk::CommonEventData& data);
    void HandleOnUserUnlocked(const EventFwk::CommonEventData& data);
    void HandleOnBTSwitchRestrictBluetooth(const EventFwk::CommonEventData& data);
    void HandleOnWifiSemiState(const EventFwk::CommonEventData& data);

    std::map<std::string, EventFunc> handlerMap_; // filled by the constructor, constant behind it
};

} // namespace OHOS::Pelago

#endif // PELAGO_SWITCH_BROADCAST_RECEIVER_H
