#include "wifi_device.h"

#include "host/device.h"
#include "host/faults.h"

namespace OHOS::Wifi {

namespace {

class WifiRadio final : public WifiDevice {
public:
    int GetWifiDetailState(WifiDetailState& state) override
    {
        const Host::Device& device = Host::Device::Instance();
        if (Host::Faults::Take("wifi.GetWifiDetailState") || !device.IsAbilityPresent(Host::AbilityId::WIFI)) {
            return WIFI_OPT_FAILED;
        }
        state = static_cast<WifiDetailState>(device.Radios().wifi); // the numbers are the same
        return WIFI_OPT_SUCCESS;
    }
};

int Raise(const char* call, Host::WifiMode mode)
{
    Host::Device& device = Host::Device::Instance();
    if (Host::Faults::Take(call) || !device.IsAbilityPresent(Host::AbilityId::WIFI) || device.IsAirplane()) {
        return WIFI_OPT_FAILED;
    }
    device.RaiseWifi(mode);
    return WIFI_OPT_SUCCESS;
}

} // namespace

std::shared_ptr<WifiDevice> WifiDevice::GetInstance(int systemAbilityId, int instId)
{
    if (Host::Faults::Take("wifi.GetInstance") || instId != 0 || systemAbilityId != Host::AbilityId::WIFI ||
        !Host::Device::Instance().IsAbilityPresent(systemAbilityId)) {
        return nullptr;
    }
    return std::make_shared<WifiRadio>();
}

} // namespace OHOS::Wifi

int EnableWifi()
{
    return OHOS::Wifi::Raise("wifi.EnableWifi", OHOS::Host::WifiMode::ON);
}

int EnableSemiWifi()
{
    return OHOS::Wifi::Raise("wifi.EnableSemiWifi", OHOS::Host::WifiMode::SEMI);
}
