#include "service_fixture.h"

#include <fstream>

#include "discovery/cache_map_manager.h"
#include "hilog/host_log.h"
#include "host_sys_event.h"
#include "runtime_env.h"

namespace OHOS::Pelago {
namespace {

// Error lines that ordinary work writes: a miss that is the usual answer, a good event at error level.
const char* const ERRORS_BY_DESIGN[] = {
    "OnStart SYNFOLD_DETECT start",
    "device is not found in SenderMap",
    "device is not found in SendBeanMap",
    "device is not found in DataBeanMap",
    "device is not found in bytesInfoMap",
    "already disConnection_",
    "RemoveFromMergeDeviceMap, 2 or more devices",
};

bool ContainsAny(const std::string& text, const std::vector<std::string>& parts)
{
    return std::any_of(
        parts.begin(), parts.end(), [&text](const std::string& part) { return text.find(part) != std::string::npos; });
}

} // namespace

void ServiceFixture::SetUp()
{
    ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime());
    Host::SetLogLevel(LOG_DEBUG);
    Host::SetWallClock([] { return Host::Scheduler::Instance().WallTimeMs(); });
    firstLogSeq_ = Host::LastLogSeq();
    ASSERT_TRUE(Host::Device::Instance().Configure({"Blue phone", std::string(64, 'A'), "phone", root_.path}));
    RuntimeEnv::Install(
        {root_.path, [] { return Host::Scheduler::Instance().WallTimeMs(); }, Host::Scheduler::StartDetached});
    ASSERT_TRUE(Host::Device::Instance().PutUser({OTHER_USER, Host::UserType::ORDINARY, true, {}}));
    for (int user : {USER, OTHER_USER}) {
        fs::create_directories(StateFile(user).parent_path());
    }
    fs::create_directories(root_.path / "data/service/el1/public/pelago");
    ASSERT_TRUE(Host::HostSettings::SeedFreshDevice({USER, OTHER_USER}));
    engine_ = std::make_shared<ScriptedEngine>();
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine_);
    collab_ = std::make_shared<ScriptedCollab>();
    Synfold::InstallCollabBackend(collab_);
    descriptors_ = CountDescriptors();
}

void ServiceFixture::TearDown()
{
    if (started_) {
        for (const std::string& fault : CacheMapManager::CheckInvariants()) {
            ADD_FAILURE() << fault;
        }
        StopService();
    }
    CheckErrorLines();
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(nullptr);
    engine_.reset();
    Synfold::InstallCollabBackend(nullptr);
    collab_.reset();
    EXPECT_LE(CountDescriptors(), descriptors_);
}

void ServiceFixture::CheckErrorLines() const
{
    std::vector<std::string> meant(std::begin(ERRORS_BY_DESIGN), std::end(ERRORS_BY_DESIGN));
    meant.insert(meant.end(), allowedErrors_.begin(), allowedErrors_.end());
    for (const Host::LogLine& line : Host::ReadLog(firstLogSeq_)) {
        if (line.level >= LOG_ERROR && !ContainsAny(line.text, meant)) {
            ADD_FAILURE() << "unannounced error: " << Host::FormatLogLine(line);
        }
    }
}

bool ServiceFixture::Logged(const std::string& text)
{
    std::vector<Host::LogLine> lines = Host::ReadLog(0);
    return std::any_of(lines.begin(), lines.end(),
        [&text](const Host::LogLine& line) { return line.text.find(text) != std::string::npos; });
}

std::vector<std::string> ServiceFixture::Telemetry()
{
    std::vector<std::string> events;
    for (const Host::SysEvent& event : Host::ReadSysEvents(0)) {
        events.push_back(event.json);
    }
    return events;
}

std::vector<int32_t> ServiceFixture::ReadFields(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<int32_t> fields;
    for (int32_t field = 0; file.read(reinterpret_cast<char*>(&field), sizeof(field));) {
        fields.push_back(field);
    }
    return fields;
}

void ServiceFixture::WriteFields(const fs::path& path, const std::vector<int32_t>& fields)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(
        reinterpret_cast<const char*>(fields.data()), static_cast<std::streamsize>(fields.size() * sizeof(int32_t)));
}

ShareDevice Peer(const std::string& id, int32_t contactId, const std::string& contactName)
{
    ShareDevice device;
    device.SetDeviceId(id);
    device.SetDeviceName(id + "'s name");
    device.contactInfo.contactId = contactId;
    device.contactInfo.name = contactName;
    return device;
}

ShareDeviceInfo Entry(const std::string& id, uint32_t discoveredBy)
{
    ShareDeviceInfo device;
    device.deviceId = id;
    device.discoveredBy = discoveredBy;
    return device;
}

} // namespace OHOS::Pelago
