#include "switch/share_switch_manager.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include "common_event_manager.h"
#include "common_event_support.h"
#include "common_utils.h"
#include "core/trellis_service.h"
#include "share_log.h"
#include "switch/broadcast_receiver.h"
#include "switch/share_air_helper.h"
#include "switch/share_oobe_helper.h"
#include "switch/time_service_helper.h"

namespace OHOS::Pelago {
namespace {

constexpr const char* RUNNER_NAME = "ShareSwitchManagerEventHandler";
constexpr int64_t AT_ONCE_MS = 0;

// Who may tell that Wi-Fi is restarting itself, and what one must hold to tell it of Bluetooth.
constexpr int32_t WIFI_PUBLISHER_UID = 1010;
constexpr const char* PERMISSION_ACCESS_BLUETOOTH = "ohos.permission.ACCESS_BLUETOOTH";

EventFwk::CommonEventSubscribeInfo SubscribeInfo(std::initializer_list<const char*> events)
{
    EventFwk::MatchingSkills skills;
    for (const char* event : events) {
        skills.AddEvent(event);
    }
    return EventFwk::CommonEventSubscribeInfo(skills);
}

} // namespace

// One row per message, in the order of the ids. All are sent at one priority.
struct ShareSwitchManager::MessageTable {
    using Self = ShareSwitchManager;

    static constexpr std::array ROWS{
        // clang-format off
        MessageRow{MSG_ENABLE_SHARE_SWITCH_EVENT, &Self::EnableShareSwitchEvent,
            AT_ONCE_MS, "MSG_ENABLE_SHARE_SWITCH_EVENT"},
        MessageRow{MSG_ENABLE_SHARE_ACCOUNT_PERMISSION_EVENT, &Self::EnableShareAccountPermissionEvent,
            AT_ONCE_MS, "MSG_ENABLE_SHARE_ACCOUNT_PERMISSION_EVENT"},
        MessageRow{MSG_ENABLE_WIFI_OR_BLUETOOTH_EVENT, &Self::EnableWifiOrBluetoothEvent,
            AT_ONCE_MS, "MSG_ENABLE_WIFI_OR_BLUETOOTH_EVENT"},
        MessageRow{MSG_ON_WIFI_OR_BLUETOOTH_STATE_CHANGED_EVENT, &Self::WifiOrBluetoothStateChangedEvent,
            AT_ONCE_MS, "MSG_ON_WIFI_OR_BLUETOOTH_STATE_CHANGED_EVENT"},
        MessageRow{MSG_ENABLE_SHARE_SWITCH_TIMEOUT_EVENT, &Self::EnableShareSwitchTimeoutEvent,
            ENABLE_TIMEOUT_MS, "MSG_ENABLE_SHARE_SWITCH_TIMEOUT_EVENT"},
        MessageRow{MSG_WAIT_BLUETOOTH_SA_REMOVE_TIMEOUT_EVENT, &Self::WaitBluetoothSaRemoveTimeoutEvent,
            WAIT_BLUETOOTH_SA_REMOVE_MS, "MSG_WAIT_BLUETOOTH_SA_REMOVE_TIMEOUT_EVENT"},
        MessageRow{MSG_WIFI_SELF_HEAL_BEGIN, &Self::WifiSelfHealBeginEvent,
            AT_ONCE_MS, "MSG_WIFI_SELF_HEAL_BEGIN"},
        MessageRow{MSG_WIFI_SELF_HEAL_END, &Self::WifiSelfHealEndEvent,
            AT_ONCE_MS, "HandleOnWifiSelfHealingEnd"}, // known in the log by the name of its sender
        MessageRow{MSG_BLUETOOTH_SELF_HEAL_BEGIN, &Self::BluetoothSelfHealBeginEvent,
            AT_ONCE_MS, "MSG_BLUETOOTH_SELF_HEAL_BEGIN"},
        MessageRow{MSG_BLUETOOTH_SELF_HEAL_END, &Self::BluetoothSelfHealEndEvent,
            AT_ONCE_MS, "MSG_BLUETOOTH_SELF_HEAL_END"},
        MessageRow{MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT, &Self::BluetoothSelfHealTimeoutEvent,
            SELF_HEAL_TIMEOUT_MS, "MSG_BLUETOOTH_SELF_HEAL_TIMEOUT_EVENT"},
        MessageRow{MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT, &Self::WifiSelfHealTimeoutEvent,
            SELF_HEAL_TIMEOUT_MS, "MSG_WIFI_SELF_HEAL_TIMEOUT_EVENT"},
        MessageRow{MSG_AGREE_ENHANCE_OOBE_EVENT, &Self::AgreeEnhanceOobeEvent,
            AT_ONCE_MS, "MSG_AGREE_ENHANCE_OOBE_EVENT"},
        MessageRow{MSG_REJECT_ENHANCE_OOBE_EVENT, &Self::RejectEnhanceOobeEvent,
            AT_ONCE_MS, "MSG_REJECT_ENHANCE_OOBE_EVENT"},
        MessageRow{MSG_DATA_SHARE_READY_EVENT, &Self::DataShareReadyEvent,
            AT_ONCE_MS, "MSG_DATA_SHARE_READY_EVENT"},
        MessageRow{MSG_LOCAL_USER_SWITCHED_EVENT, &Self::LocalUserSwitchedEvent,
            AT_ONCE_MS, "MSG_LOCAL_USER_SWITCHED_EVENT"},
        MessageRow{MSG_USER_UNLOCKED_EVENT, &Self::UserUnlockedEvent,
            AT_ONCE_MS, "MSG_USER_UNLOCKED_EVENT"},
        // clang-format on
    };

    static constexpr bool IsComplete()
    {
        for (size_t id = 0; id < ROWS.size(); ++id) {
            if (ROWS[id].id != id) {
                return false;
            }
        }
        return ROWS.size() == MSG_USER_UNLOCKED_EVENT + 1;
    }
};

ShareSwitchManager::ShareSwitchManager() = default;
ShareSwitchManager::~ShareSwitchManager() = default;

void ShareSwitchManager::InitFuncMap()
{
    static_assert(MessageTable::IsComplete(), "every message has its row, in the order of the ids");
    for (const MessageRow& row : MessageTable::ROWS) {
        eventFuncMap_[row.id] = row.handler;
    }
}

void ShareSwitchManager::Init(const wptr<TrellisService>& service)
{
    SHARE_LOGI(Log::SERVICE, "Init() enter");
    {
        MutexLock lock(partsMutex_);
        trellisService_ = service;
    }
    {
        MutexLock lock(initMutex_);
        if (isInit_) {
            SHARE_LOGI(Log::SERVICE, "no need to repeat Init.");
            return;
        }
        isInit_ = true;
    }
    InitFuncMap();
    auto runner = AppExecFwk::EventRunner::Create(RUNNER_NAME);
    if (runner == nullptr) {
        SHARE_LOGE(Log::SERVICE, "failed to create EventRunner.");
        return;
    }
    SetEventRunner(runner);
    {
        MutexLock lock(partsMutex_);
        eventRunner_ = std::move(runner);
    }
    InitBroadcastReceiver();
    CreateHelpers();
}

void ShareSwitchManager::InitBroadcastReceiver()
{
    using Support = EventFwk::CommonEventSupport;
    auto common = std::make_shared<BroadcastReceiver>(
        SubscribeInfo({Support::COMMON_EVENT_USER_SWITCHED, Support::COMMON_EVENT_PACKAGE_DATA_CLEARED,
            Support::COMMON_EVENT_BLUETOOTH_HOST_STATE_UPDATE, Support::COMMON_EVENT_WIFI_POWER_STATE,
            Support::COMMON_EVENT_DATA_SHARE_READY, Support::COMMON_EVENT_USER_UNLOCKED}));

    auto wifiSemiInfo = SubscribeInfo({BroadcastReceiver::EVENT_WIFI_SEMI_STATE});
    wifiSemiInfo.SetPublisherUid(WIFI_PUBLISHER_UID);
    auto wifiSemi = std::make_shared<BroadcastReceiver>(wifiSemiInfo);

    auto btRestrictInfo = SubscribeInfo({BroadcastReceiver::EVENT_BT_RESTRICT});
    btRestrictInfo.SetPermission(PERMISSION_ACCESS_BLUETOOTH);
    auto btRestrict = std::make_shared<BroadcastReceiver>(btRestrictInfo);

    MutexLock lock(partsMutex_);
    commonEventSubscriber_ = std::move(common);
    wifiSemiSubscriber_ = std::move(wifiSemi);
    btRestrictSubscriber_ = std::move(btRestrict);
}

void ShareSwitchManager::CreateHelpers()
{
    MutexLock lock(partsMutex_);
    if (timeServiceHelper_ == nullptr) {
        timeServiceHelper_ = std::make_shared<TimeServiceHelper>();
    }
    if (shareAirHelper_ == nullptr) {
        shareAirHelper_ = std::make_shared<ShareAirHelper>();
    }
}

ShareSwitchManager::Receivers ShareSwitchManager::GetReceivers() const
{
    MutexLock lock(partsMutex_);
    return {commonEventSubscriber_, wifiSemiSubscriber_, btRestrictSubscriber_};
}

bool ShareSwitchManager::SubscribeCommonEvent()
{
    SHARE_LOGI(Log::SERVICE, "SubscribeCommonEvent enter.");
    if (hasSubscribeCommonEvent_) {
        SHARE_LOGI(Log::SERVICE, "no need to repeat SubscribeCommonEvent.");
        return true;
    }
    bool subscribed = true;
    for (const auto& receiver : GetReceivers()) {
        subscribed = subscribed && EventFwk::CommonEventManager::SubscribeCommonEvent(receiver);
    }
    hasSubscribeCommonEvent_ = subscribed;
    SHARE_LOGI(Log::SERVICE, "hasSubscribeCommonEvent_: %{public}d.", subscribed);
    return subscribed;
}

void ShareSwitchManager::Release()
{
    SHARE_LOGI(Log::SERVICE, "Release() invoked.");
    std::shared_ptr<AppExecFwk::EventRunner> runner;
    std::shared_ptr<TimeServiceHelper> timer;
    std::shared_ptr<ShareAirHelper> air;
    {
        MutexLock lock(partsMutex_);
        runner.swap(eventRunner_);
        timer.swap(timeServiceHelper_);
        air.swap(shareAirHelper_);
    }
    runner.reset();
    for (const auto& receiver : GetReceivers()) {
        if (receiver != nullptr) {
            // One that was never subscribed has nothing to give back.
            (void)EventFwk::CommonEventManager::UnSubscribeCommonEvent(receiver);
        }
    }
    if (timer != nullptr) {
        timer->Release();
    }
    ReleaseOobeHelpers();
    if (air != nullptr) {
        air->UnRegisterDataChangeListener();
    }
}

void ShareSwitchManager::ReleaseOobeHelpers()
{
    MutexLock lock(oobeHelperMutex_);
    for (const auto& [userId, helper] : oobeHelperMap_) {
        helper->UnRegisterDataChangeListener();
    }
    oobeHelperMap_.clear();
}

void ShareSwitchManager::ProcessEvent(const AppExecFwk::InnerEvent::Pointer& event)
{
    if (event == nullptr) {
        SHARE_LOGE(Log::SERVICE, "ShareSwitchManagerEventHandler: event is null.");
        return;
    }
    const uint32_t id = event->GetInnerEventId();
    SHARE_LOGI(Log::SERVICE, "ShareSwitchManagerEventHandler handle event id: %{public}u.", id);
    const auto found = eventFuncMap_.find(id);
    if (found == eventFuncMap_.end()) {
        SHARE_LOGE(Log::SERVICE, "can not find event func.");
        return;
    }
    if (found->second == nullptr) {
        SHARE_LOGE(Log::SERVICE, "event func is null.");
        return;
    }
    (this->*found->second)(event);
}

bool ShareSwitchManager::TryPost(Message id, AppExecFwk::InnerEvent::Pointer event)
{
    const MessageRow& row = MessageTable::ROWS[id];
    if (!SendEvent(std::move(event), row.delayMs, Priority::LOW)) {
        SHARE_LOGE(Log::SERVICE, "fail to SendEvent %{public}s", row.name);
        return false;
    }
    return true;
}

bool ShareSwitchManager::TryPost(Message id, int64_t param)
{
    return TryPost(id, AppExecFwk::InnerEvent::Get(id, param));
}

void ShareSwitchManager::Post(Message id, int64_t param)
{
    (void)TryPost(id, param); // logged; the next system event is another chance
}

void ShareSwitchManager::CheckOnRunner([[maybe_unused]] const char* body) const
{
#ifdef PELAGO_CHECKS
    // No runner: the event was under way when the switch was released.
    const auto runner = GetEventRunner();
    if (runner != nullptr && !runner->IsCurrentRunnerThread()) {
        (void)std::fprintf(stderr, "%s: not on the runner %s\n", body, RUNNER_NAME); // nothing is left to report to
        std::abort();
    }
#endif
}

bool ShareSwitchManager::IsReleased() const
{
    MutexLock lock(partsMutex_);
    return eventRunner_ == nullptr;
}

sptr<TrellisService> ShareSwitchManager::Service() const
{
    MutexLock lock(partsMutex_);
    return trellisService_.promote();
}

std::shared_ptr<ShareAirHelper> ShareSwitchManager::AirHelper() const
{
    MutexLock lock(partsMutex_);
    return shareAirHelper_;
}

std::shared_ptr<TimeServiceHelper> ShareSwitchManager::TimerHelper() const
{
    MutexLock lock(partsMutex_);
    return timeServiceHelper_;
}

ShareSwitchManager::Snapshot ShareSwitchManager::GetSnapshot() const
{
    Snapshot snapshot;
    snapshot.enableState = enableState_;
    snapshot.detectableType = detectableType_;
    snapshot.accountPermission = accountPermission_;
    snapshot.swingState = swingState_;
    snapshot.localUserId = localUserId_;
    snapshot.isPrivateUser = isPrivateUser_;
    snapshot.isEnabling = isEnabling_;
    snapshot.btSelfHealing = btSelfHealing_;
    snapshot.wifiSelfHealing = wifiSelfHealing_;
    snapshot.needSyncSettings = needSyncSettings_;
    snapshot.waitBluetoothSaRemove = waitBluetoothSaRemove_;
    snapshot.hasSubscribeCommonEvent = hasSubscribeCommonEvent_;
    snapshot.enablingData = PendingRequest();
    snapshot.lastShareSwitchState = LastShareSwitchState();
    return snapshot;
}

const char* ShareSwitchManager::BrokenInvariant(const Snapshot& snapshot)
{
    const bool isOn = snapshot.enableState == STATE_SHARE_ENABLE;
    const EnablingData& pending = snapshot.enablingData;
    if (!isOn && snapshot.detectableType != UNDETECTABLE) {
        return "a device that does not share is undetectable";
    }
    if (snapshot.isEnabling && pending.enableState != STATE_SHARE_ENABLE) {
        return "only a request for on waits for the radios";
    }
    if (!snapshot.isEnabling && (pending.enableState != 0 || pending.detectableType != 0)) {
        return "no request is kept when none waits";
    }
    if (snapshot.needSyncSettings && isOn) {
        return "an on state owes no write";
    }
    if (snapshot.accountPermission != ACCOUNT_PERMISSION_OFF && snapshot.accountPermission != ACCOUNT_PERMISSION_ON) {
        return "the account permission is 0 or 1";
    }
    if (snapshot.localUserId < 0 && snapshot.localUserId != USER_ID_INVALID) {
        return "a user id is -1 or not negative";
    }
    return nullptr;
}

} // namespace OHOS::Pelago
