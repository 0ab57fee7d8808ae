#include "service.h"

#include <memory>

#include <cJSON.h>

#include "device_paths.h"
#include "host/ability_host.h"
#include "host/control_interface.h"
#include "host/ipc_transport.h"
#include "share_constants.h"

namespace OHOS::Pelago::Load {

namespace {

sptr<IRemoteObject> Ability(const std::string& device, int32_t ability)
{
    std::string error;
    const sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(device).Socket("owner"), error);
    Require(root != nullptr, error);
    return Host::SamgrOf(root)->GetSystemAbility(ability);
}

} // namespace

sptr<ITrellisService> ServiceOf(const std::string& device)
{
    return iface_cast<ITrellisService>(Ability(device, TRELLIS_SERVICE_ID));
}

void SwitchOn(const std::string& device)
{
    const auto service = ServiceOf(device);
    Require(service->SetShareEnableWithConfirm(1, 2, false, false), "not switched on");
    for (int waited = 0; !service->IsEnabled(); ++waited) {
        Require(waited < PATIENCE_MS, "the switch stands still");
        Pause(1);
    }
}

void Discover(ITrellisService& service, const sptr<Listener>& listener)
{
    Require(service.RegisterTrellisCallback(listener) && service.StartDiscovery(), "no discovery");
}

void ExpectAtRest(const std::string& device)
{
    const auto control = Ability(device, Host::AbilityId::DEVICE_CONTROL);
    const std::string dump = Host::DeviceControlProxy(control).Execute({"dump"}).json;
    const std::unique_ptr<cJSON, void (*)(cJSON*)> json(cJSON_Parse(dump.c_str()), cJSON_Delete);
    const cJSON* faults = cJSON_GetObjectItemCaseSensitive(json.get(), "brokenInvariants");
    Expect(cJSON_IsArray(faults) && cJSON_GetArraySize(faults) == 0, device + ": broken invariants");
    const cJSON* sizes = cJSON_GetObjectItemCaseSensitive(json.get(), "sizes");
    for (const char* name : {"clients", "callbackFlags", "senders", "adoptedDescriptors"}) {
        const cJSON* size = cJSON_GetObjectItemCaseSensitive(sizes, name);
        Expect(cJSON_IsNumber(size) && size->valueint == 0, device + " keeps " + name);
    }
}

} // namespace OHOS::Pelago::Load
