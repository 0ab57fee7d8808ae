#include "simulated_device.h"

#include <cstdlib>
#include <filesystem>

#include <cJSON.h>

#include "device_picker_client.h"
#include "hilog/host_log.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "runtime_env.h"

namespace OHOS::Pelago {
namespace {

namespace fs = std::filesystem;

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

std::string TextOf(const Json& json)
{
    std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(json.get()), cJSON_free);
    return text.get();
}

} // namespace

std::string StateFileOf(int32_t user)
{
    return Host::Device::Instance().Root() + "/data/service/el2/" + std::to_string(user) + "/pelago/switch.cfg";
}

SimulatedDevice::SimulatedDevice(uint64_t seed, const std::string& folder, bool isFirstLife)
{
    if (!Host::Scheduler::Instance().UseManualTime(seed)) {
        fault = "no manual time";
        return;
    }
    bool showLog = std::getenv("PELAGO_SIM_LOG") != nullptr;
    Host::SetLogLevel(showLog ? LOG_DEBUG : LOG_FATAL);
    Host::SetLogToStderr(showLog);
    auto& device = Host::Device::Instance();
    if (!device.Configure({"Blue phone", std::string(64, 'A'), "phone", folder})) {
        fault = "no device";
    }
    RuntimeEnv::Install(
        {folder, [] { return Host::Scheduler::Instance().WallTimeMs(); }, Host::Scheduler::StartDetached});
    for (int32_t user : USERS) {
        (void)device.PutUser({user, Host::UserType::ORDINARY, true, {}}); // the ids are valid
        fs::create_directories(fs::path(StateFileOf(user)).parent_path());
    }
    fs::create_directories(folder + "/data/service/el1/public/pelago");
    if (isFirstLife && !Host::HostSettings::SeedFreshDevice({USERS.begin(), USERS.end()})) {
        fault = "no settings";
    }
    (void)Host::HostSettings::Get("any"); // opens the database, which stays open
    engine = std::make_shared<ScriptedEngine>();
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine);
    collab = std::make_shared<ScriptedCollab>();
    Synfold::InstallCollabBackend(collab);
}

SimulatedDevice::~SimulatedDevice()
{
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(nullptr);
    Synfold::InstallCollabBackend(nullptr);
}

bool SimulatedDevice::Settle(int64_t ms)
{
    return Host::Scheduler::Instance().Advance(ms);
}

void AnsweringCallback::OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device)
{
    heard_ += "  event " + std::to_string(eventId) + " " + std::to_string(cbId) + " " + device.deviceId + "\n";
    client_.Process().Post([this, device] {
        BytesInfo bytes;
        bytes.bytesTitle = "answer";
        (void)client_->SendBytes(device, bytes);
    });
}

// What a peer asks for when it is touched.
std::string TapRequest()
{
    Json json(cJSON_CreateObject(), cJSON_Delete);
    cJSON_AddStringToObject(json.get(), "serviceId", Synfold::DevicePickerClient::SOFTBUS_SENDER_SERVICE_ID.c_str());
    cJSON_AddStringToObject(json.get(), "concurrentId", "tap");
    cJSON_AddNumberToObject(json.get(), "actionId", 7);
    return TextOf(json);
}

// What comes back from a peer that was touched.
std::string TapAnswer(const std::string& peer, int shareState, bool refreshed)
{
    Json publishInfo(cJSON_CreateObject(), cJSON_Delete);
    cJSON_AddNumberToObject(publishInfo.get(), "OH", 1);
    cJSON_AddBoolToObject(publishInfo.get(), "newActionID", refreshed);
    Json custom(cJSON_CreateObject(), cJSON_Delete);
    cJSON_AddStringToObject(
        custom.get(), "serviceId", Synfold::DevicePickerClient::SOFTBUS_RECEIVER_SERVICE_ID.c_str());
    cJSON_AddStringToObject(custom.get(), "subId", "4");
    cJSON_AddNumberToObject(custom.get(), "shareState", shareState);
    cJSON_AddStringToObject(custom.get(), "discType", "Action");
    cJSON_AddNumberToObject(custom.get(), "actionId", 7);
    cJSON_AddStringToObject(custom.get(), "custData", TextOf(publishInfo).c_str());
    Json extra(cJSON_CreateObject(), cJSON_Delete);
    cJSON_AddStringToObject(extra.get(), "CUSTOM_DATA", TextOf(custom).c_str());
    Json json(cJSON_CreateObject(), cJSON_Delete);
    cJSON_AddStringToObject(json.get(), "deviceId", peer.c_str());
    cJSON_AddStringToObject(json.get(), "concurrentId", "tap");
    cJSON_AddStringToObject(json.get(), "extraData", TextOf(extra).c_str());
    return TextOf(json);
}

} // namespace OHOS::Pelago
