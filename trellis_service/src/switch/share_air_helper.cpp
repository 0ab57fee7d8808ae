#include "switch/share_air_helper.h"

#include "gesture/swing_adapter.h"
#include "i_trellis_service.h"
#include "share_log.h"
#include "singleton.h"
#include "switch/share_setting_keys.h"
#include "switch/share_setting_provider.h"
#include "switch/share_switch_manager.h"
#include "switch/share_switch_types.h"

namespace OHOS::Pelago {
namespace {

ShareSettingProvider& Settings()
{
    return ShareSettingProvider::GetInstance(TRELLIS_SERVICE_ID);
}

bool Is(const std::string& value, SwingState state)
{
    return value == std::to_string(state);
}

} // namespace

Mutex ShareAirHelper::registerMutex_{"ShareAirHelper::registerMutex_", LockRank::OOBE_HELPERS};
bool ShareAirHelper::hasRegisterObserver_ = false;

ShareAirHelper::ShareAirObserver::ShareAirObserver(const std::weak_ptr<ShareAirHelper>& helper, const std::string& key)
    : shareAirHelper_(helper), key_(key)
{}

void ShareAirHelper::ShareAirObserver::OnChange()
{
    SHARE_LOGI(Log::SERVICE, "OnChange");
    if (shareAirHelper_.lock() == nullptr) {
        SHARE_LOGE(Log::SERVICE, "shareAirHelper_ is nullptr");
        return;
    }
    const auto shareSwitch = DelayedSingleton<ShareSwitchManager>::GetInstance();
    RecursiveLock lock(shareSwitch->SharedItemsMutex());
    std::string airState;
    (void)Settings().GetStringValue(key_, airState); // logged; reads as no state at all
    SHARE_LOGI(Log::SERVICE, "airState is %{public}s.", airState.c_str());
    if (Is(airState, SWING_STATE_ON)) {
        shareSwitch->HandleOnSwingOn();
    } else if (Is(airState, SWING_STATE_OFF)) {
        shareSwitch->HandleOnSwingOff();
    } else if (!Is(airState, SWING_STATE_SUSPENDED)) { // which only the switch itself writes
        SHARE_LOGE(Log::SERVICE, "airState error");
        return;
    }
    (void)DelayedSingleton<SwingAdapter>::GetInstance(); // made here at the latest, for the off too
}

void ShareAirHelper::RegisterDataChangeListener()
{
    SHARE_LOGI(Log::SERVICE, "invoked.");
    MutexLock lock(registerMutex_);
    if (hasRegisterObserver_) {
        SHARE_LOGI(Log::SERVICE, "no need to repeat RegisterDataChangeListener.");
        return;
    }
    if (observer_ == nullptr) {
        observer_ = MakeSptr<ShareAirObserver>(weak_from_this(), SettingKey::AIR_SWITCH);
    }
    Settings().RegisterAirObserver(observer_);
    hasRegisterObserver_ = true;
}

void ShareAirHelper::UnRegisterDataChangeListener()
{
    SHARE_LOGI(Log::SERVICE, "invoked.");
    MutexLock lock(registerMutex_);
    if (!hasRegisterObserver_) {
        SHARE_LOGI(Log::SERVICE, "hasRegisterObserver_ is false, no need to UnRegisterAirObserver.");
        return;
    }
    Settings().UnRegisterAirObserver(observer_);
    hasRegisterObserver_ = false;
}

} // namespace OHOS::Pelago
