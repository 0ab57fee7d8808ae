#include "daemon.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <future>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <unistd.h>

#include "common_utils.h"
#include "hilog/host_log.h"
#include "host/ability_host.h"
#include "host/ability_registry.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "host_sys_event.h"
#include "runtime_env.h"
#include "service_sections.h"
#include "share_client.h"

namespace OHOS::Pelago::Tools {
namespace {

namespace fs = std::filesystem;

constexpr int PRIMARY_USER = 100;
constexpr size_t UDID_BYTES = 32;

// A send of 500 files to a contact with several devices, told to several clients, holds thousands.
constexpr rlim_t WANTED_DESCRIPTORS = 65536;

Host::DeviceControl* g_control = nullptr;

std::string Reason(const std::string& what)
{
    return what + ": " + std::strerror(errno);
}

std::string NewUdid()
{
    unsigned char bytes[UDID_BYTES];
    if (::getrandom(bytes, sizeof(bytes), 0) != static_cast<ssize_t>(sizeof(bytes))) {
        return {};
    }
    std::string text;
    for (unsigned char byte : bytes) {
        constexpr const char* DIGITS = "0123456789ABCDEF";
        text += DIGITS[byte >> 4U];
        text += DIGITS[byte & 0xFU];
    }
    return text;
}

void RaiseDescriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return;
    }
    limit.rlim_cur =
        limit.rlim_max == RLIM_INFINITY ? WANTED_DESCRIPTORS : std::min(limit.rlim_max, WANTED_DESCRIPTORS);
    (void)::setrlimit(RLIMIT_NOFILE, &limit); // with fewer, large sends are refused one by one
}

// What the installation of the service makes on a device: the service itself makes no folders.
std::string MakeServiceFolders(const fs::path& root)
{
    std::error_code error;
    fs::create_directories(root / "data/service/el2" / std::to_string(PRIMARY_USER) / "pelago", error);
    if (!error) {
        fs::create_directories(root / "data/service/el1/public/pelago", error);
    }
    return error ? (root / "data").string() + ": " + error.message() : std::string();
}

} // namespace

Daemon::Daemon(DaemonOptions options) : options_(std::move(options)), paths_(options_.card.id)
{}

Daemon::~Daemon()
{
    if (lock_ >= 0) {
        (void)::close(lock_); // gives up the lock
    }
}

std::string Daemon::Start()
{
    RaiseDescriptorLimit();
    for (auto step : {&Daemon::TakeFolder, &Daemon::TakeCard, &Daemon::ConfigureDevice, &Daemon::StartEngine,
             &Daemon::StartNearField, &Daemon::StartService, &Daemon::ListenForClients}) {
        if (std::string reason = (this->*step)(); !reason.empty()) {
            return reason;
        }
    }
    return {};
}

std::string Daemon::TakeFolder()
{
    if (std::string reason = paths_.Create(); !reason.empty()) {
        return reason;
    }
    lock_ = ::open(paths_.Lock().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0) {
        return Reason(paths_.Lock());
    }
    if (!DevicePaths::TakeLock(lock_)) {
        return "the device '" + paths_.Id() + "' is running already";
    }
    return MakeServiceFolders(paths_.State());
}

// What the command line says wins over what the folder remembers.
std::string Daemon::TakeCard()
{
    DeviceCard& card = options_.card;
    DeviceCard known = paths_.ReadCard().value_or(DeviceCard{paths_.Id(), paths_.Id(), "phone", NewUdid(), ""});
    auto take = [](std::string& wanted, const std::string& otherwise) { wanted = wanted.empty() ? otherwise : wanted; };
    take(card.name, known.name);
    take(card.type, known.type);
    take(card.udid, known.udid);
    take(card.account, known.account);
    if (card.udid.empty()) {
        return "no random number for the device's UDID";
    }
    return paths_.WriteCard(card);
}

std::string Daemon::ConfigureDevice()
{
    if (!options_.logLevel.empty()) {
        Host::SetLogLevel(Host::LogLevelFromText(options_.logLevel).value_or(LOG_INFO));
    }
    Host::SetLogToStderr(options_.logToStderr);
    if (!options_.logFile.empty() && !Host::SetLogFile(options_.logFile)) {
        return Reason(options_.logFile);
    }
    if (!Host::SetSysEventFile(paths_.State() + "/events.jsonl")) {
        return Reason(paths_.State() + "/events.jsonl");
    }
    const DeviceCard& card = options_.card;
    auto& device = Host::Device::Instance();
    if (!device.Configure({card.name, card.udid, card.type, paths_.State()})) {
        return "the UDID '" + card.udid + "' is too long";
    }
    if (!device.SetAccount(PRIMARY_USER, {card.account, card.account, 0, -1, card.name, ""})) {
        return "the device has no primary user";
    }
    if (!Host::HostSettings::SeedFreshDevice({PRIMARY_USER})) {
        return "the settings database in " + paths_.State() + " cannot be used";
    }
    RuntimeEnv::Install(
        {paths_.State(), [] { return Host::Scheduler::Instance().WallTimeMs(); }, Host::Scheduler::StartDetached});
    return {};
}

std::string Daemon::StartEngine()
{
    const DeviceCard& card = options_.card;
    LocalEngineConfig config;
    config.nearbyFolder = DevicePaths::Nearby();
    config.contactsFile = DevicePaths::Contacts();
    config.device.id = card.udid;
    config.device.name = card.name;
    config.device.type = CommonUtils::GetLocalDeviceType();
    config.device.accountHash = card.account;
    config.device.capability = options_.takesBytes ? CAPABILITY_BYTES : 0;
    engine_ = std::make_shared<LocalEngine>(std::move(config));
    std::string error;
    if (!engine_->Start(error)) {
        return error;
    }
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine_);
    return {};
}

std::string Daemon::StartNearField()
{
    nearField_ = std::make_unique<NearField>(options_.card, CommonUtils::GetLocalDeviceType(), engine_);
    return nearField_->Start() ? std::string() : "the engine has ended";
}

std::string Daemon::StartService()
{
    if (!Host::AbilityRegistry::Instance().Publish()) {
        return "the ability registry is taken";
    }
    control_ = new Host::DeviceControl();
    nearField_->AddTo(*control_);
    AddServiceSections(*control_, engine_, *nearField_, server_);
    if (!control_->Publish()) {
        return "the device control is taken";
    }
    g_control = control_.GetRefPtr();
    Host::SetLogListener([] { g_control->Touch(); }); // every change of state is logged
    std::promise<void> started;
    Host::AbilityHost::Instance().Start([&started] { started.set_value(); });
    started.get_future().wait();
    serviceStarted_ = true;
    return {};
}

std::string Daemon::ListenForClients()
{
    std::vector<Host::TokenSocket> sockets;
    for (const Host::Token& token : Host::Device::Instance().Tokens()) {
        sockets.push_back({token.name, token.id, token.socketMode});
    }
    Host::SetOwnTokenId(Host::TokenId::OWNER);
    std::string error;
    if (!server_.Start(paths_.Runtime(), sockets, Host::AbilityHost::Instance().RootObject(), {}, error)) {
        return error;
    }
    return {};
}

bool Daemon::Stop()
{
    bool ended = server_.Stop();
    if (serviceStarted_) {
        std::promise<void> stopped;
        Host::AbilityHost::Instance().Stop([&stopped] { stopped.set_value(); });
        stopped.get_future().wait();
        serviceStarted_ = false;
    }
    Host::SetLogListener(nullptr);
    if (control_ != nullptr) {
        control_->Unpublish();
    }
    Host::AbilityRegistry::Instance().Shutdown();
    if (nearField_ != nullptr) {
        nearField_->Stop();
    }
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(nullptr);
    if (engine_ != nullptr) {
        engine_->Stop();
    }
    return Host::Scheduler::Instance().Shutdown(SHUTDOWN_LIMIT_MS) && ended;
}

} // namespace OHOS::Pelago::Tools
