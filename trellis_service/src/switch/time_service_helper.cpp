#include "switch/time_service_helper.h"

#include <utility>

#include "share_log.h"
#include "singleton.h"
#include "switch/share_switch_manager.h"
#include "time_service_client.h"

namespace OHOS::Pelago {

using MiscServices::TimeServiceClient;

std::atomic<uint64_t> TimeServiceHelper::currSwitchTimerId{0};

namespace {

// Ids and times go to the log as the signed numbers of old.
long ForLog(uint64_t value)
{
    return static_cast<long>(value);
}

// A one-shot timer on the boot clock that wakes the device: ten minutes are ten minutes, also for a device that sleeps.
std::shared_ptr<TimeServiceHelper::SwitchTimerInfo> MakeTimerInfo()
{
    using Info = TimeServiceHelper::SwitchTimerInfo;
    auto info = std::make_shared<Info>();
    info->SetType(Info::TIMER_TYPE_REALTIME | Info::TIMER_TYPE_WAKEUP | Info::TIMER_TYPE_EXACT);
    info->SetRepeat(false);
    info->SetInterval(0);
    return info;
}

} // namespace

void TimeServiceHelper::SwitchTimerInfo::SetType(const int& typeInfo)
{
    type = typeInfo;
}

void TimeServiceHelper::SwitchTimerInfo::SetRepeat(bool isRepeat)
{
    repeat = isRepeat;
}

void TimeServiceHelper::SwitchTimerInfo::SetInterval(const uint64_t& intervalTime)
{
    interval = intervalTime;
}

void TimeServiceHelper::SwitchTimerInfo::SetWantAgent(std::shared_ptr<AbilityRuntime::WantAgent::WantAgent> agent)
{
    wantAgent = std::move(agent);
}

void TimeServiceHelper::SwitchTimerInfo::OnTrigger()
{
    SHARE_LOGI(Log::SERVICE, "SwitchTimerInfo::OnTrigger.");
    SHARE_LOGI(Log::SERVICE, "ExcuteSwitchDetectableTypeScheduledTask invoked.");
    DelayedSingleton<ShareSwitchManager>::GetInstance()->ExcuteSwitchDetectableStateScheduledTask();
}

bool TimeServiceHelper::StartSwitchDetectableTypeScheduledTask()
{
    const auto client = TimeServiceClient::GetInstance();
    if (client == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Timer is nullptr, StartSwitchDetectableTypeScheduledTask failed.");
        return false;
    }
    if (currSwitchTimerId == 0) {
        currSwitchTimerId = client->CreateTimer(MakeTimerInfo());
        if (currSwitchTimerId == 0) {
            SHARE_LOGE(Log::SERVICE, "CreateTimer failed, StartSwitchDetectableTypeScheduledTask failed.");
            return false;
        }
    }
    const uint64_t timerId = currSwitchTimerId;
    const uint64_t triggerMs = static_cast<uint64_t>(client->GetBootTimeMs()) + DETECTABLE_TIME_MS;
    const bool res = client->StartTimer(timerId, triggerMs);
    SHARE_LOGI(Log::SERVICE,
        "StartSwitchDetectableTypeScheduledTask, currSwitchTimerId: %{public}ld, excuteTimeStamp: %{public}ld, "
        "res: %{public}d.",
        ForLog(timerId), ForLog(triggerMs), res);
    return res;
}

void TimeServiceHelper::StopSwitchDetectableTypeScheduledTask()
{
    const uint64_t timerId = currSwitchTimerId;
    if (timerId == 0) {
        SHARE_LOGI(Log::SERVICE, "No need to stop timer.");
        return;
    }
    const auto client = TimeServiceClient::GetInstance();
    if (client == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Timer is nullptr, release timer %{public}ld failed.", ForLog(timerId));
        return;
    }
    const bool res = client->StopTimer(timerId);
    SHARE_LOGI(Log::SERVICE, "Stop timer %{public}ld, res: %{public}d.", ForLog(timerId), res);
}

void TimeServiceHelper::Release()
{
    const uint64_t timerId = currSwitchTimerId;
    if (timerId == 0) {
        SHARE_LOGI(Log::SERVICE, "No need to destroy timer.");
        return;
    }
    const auto client = TimeServiceClient::GetInstance();
    if (client == nullptr) {
        SHARE_LOGE(Log::SERVICE, "Timer is nullptr, release timer %{public}ld failed.", ForLog(timerId));
        return;
    }
    const bool res = client->DestroyTimer(timerId);
    if (res) {
        currSwitchTimerId = 0;
    }
    SHARE_LOGI(Log::SERVICE, "Release timer %{public}ld, res: %{public}d.", ForLog(timerId), res);
}

} // namespace OHOS::Pelago
