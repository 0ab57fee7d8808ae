#include "device.h"

#include <array>
#include <cstdlib>
#include <mutex>
#include <utility>

#include <unistd.h>

#include "compose.h"
#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"
#include "hilog/host_log.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "recording_extension.h"
#include "runtime_env.h"
#include "service_fixture.h"
#include "switch/share_switch_manager.h"
#include "targets.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {

// What a fresh process knows of peers: nothing.
struct StaticState {
    static void ForgetPeers()
    {
        std::lock_guard<RecursiveMutex> merge(CacheMapManager::mergeDeviceMutex_);
        CacheMapManager::mergeDeviceMap_.Clear();
        {
            MutexLock all(CacheMapManager::allDeviceMutex_);
            CacheMapManager::allDeviceMap_.Clear();
        }
        {
            MutexLock sending(CacheMapManager::sendingDeviceMutex_);
            CacheMapManager::sendingDeviceMap_.clear();
        }
        CacheMapManager::sendBeanMap_.Clear();
        CacheMapManager::dataBeanMap_.Clear();
        CacheMapManager::bytesInfoMap_.Clear();
        CacheMapManager::senderMap_.Clear();
    }
};

} // namespace OHOS::Pelago

namespace OHOS::Pelago::Fuzz {
namespace {

namespace fs = std::filesystem;

constexpr std::array<uint32_t, FuzzDevice::CLIENTS> TOKENS{
    Host::TokenId::OWNER, Host::TokenId::OWNER, Host::TokenId::EXTENSION, Host::TokenId::APP, Host::TokenId::PLAIN};
constexpr size_t CHECK_EVERY = 16; // inputs
constexpr int64_t RADIOS_ARRIVE_MS = 5'000;

// What stands open, but for pipes: the sanitizer's symbolizer has some, and the service none.
std::vector<std::string> OpenDescriptors()
{
    std::vector<std::string> open;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error; // that of the walk itself has gone
        std::string what = fs::read_symlink(entry, error).string();
        if (what.rfind("pipe:", 0) != 0) {
            open.push_back(what);
        }
    }
    return open;
}

void DemandNoMore(size_t descriptors)
{
    std::vector<std::string> open = OpenDescriptors();
    if (open.size() <= descriptors) {
        return;
    }
    std::string all = "descriptors are left:";
    for (const std::string& what : open) {
        all += " " + what;
    }
    Fail(all);
}

} // namespace

bool FuzzEngine::Publish(const sptr<IPublishListener>& listener)
{
    publisher = listener->AsObject();
    return ScriptedEngine::Publish(listener);
}

bool FuzzEngine::RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    receiver = listener->AsObject();
    return ScriptedEngine::RegisterReceiveListener(listener);
}

bool FuzzEngine::Subscribe(const sptr<ISubscribeListener>& listener)
{
    subscriber = listener->AsObject();
    return ScriptedEngine::Subscribe(listener);
}

bool FuzzEngine::SwingSubscribe(const sptr<ISubscribeListener>& listener)
{
    swingSubscriber = listener->AsObject();
    return ScriptedEngine::SwingSubscribe(listener);
}

sptr<PelagoSender> FuzzEngine::SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName)
{
    transmits.push_back(param.callback->AsObject());
    return ScriptedEngine::SendFile(param, bean, packageName);
}

sptr<PelagoSender> FuzzEngine::SendFile(
    const TransmitParam& param, const DataBean& bean, const std::string& packageName)
{
    transmits.push_back(param.callback->AsObject());
    return ScriptedEngine::SendFile(param, bean, packageName);
}

sptr<PelagoSender> FuzzEngine::SendBytes(const TransmitParam& param, const BytesInfo& bytes)
{
    transmits.push_back(param.callback->AsObject());
    return ScriptedEngine::SendBytes(param, bytes);
}

int32_t FuzzCollab::RequestService(uint32_t code, const sptr<Synfold::ServicePublishCallbackStub>& callback)
{
    knocked = callback->AsObject();
    return ScriptedCollab::RequestService(code, callback);
}

int32_t FuzzCollab::RegisterServiceDeliverCallback(
    int32_t systemAbilityId, const sptr<Synfold::ServiceDeliverCallbackStub>& callback)
{
    delivered = callback->AsObject();
    return ScriptedCollab::RegisterServiceDeliverCallback(systemAbilityId, callback);
}

namespace {

// An application that takes what it is told.
class QuietApplication : public ShareApiCallbackStub {
public:
    void OnShareEventOccurred(int32_t, int32_t, const ShareDeviceInfo&) override
    {}
};

} // namespace

FuzzClient::FuzzClient(std::unique_ptr<TestClient> process) : client(std::move(process))
{
    sptr<QuietApplication> application = new QuietApplication();
    objects = {client->callback->AsObject(), client->senderAction->AsObject(), application->AsObject()};
}

FuzzClient::~FuzzClient()
{
    client->Process().SetHanging(false); // takes what has waited for it, and the descriptors in that
    client->Kill();
    for (int descriptor : descriptors) {
        (void)::close(descriptor); // ours alone
    }
}

FuzzDevice& FuzzDevice::Instance()
{
    static FuzzDevice device;
    return device;
}

FuzzDevice::FuzzDevice()
{
    Demand(Host::Scheduler::Instance().UseManualTime(), "no manual time");
    bool showLog = std::getenv("PELAGO_FUZZ_LOG") != nullptr;
    Host::SetLogLevel(showLog ? LOG_DEBUG : LOG_FATAL);
    Host::SetLogToStderr(showLog);
    root_ = (fs::temp_directory_path() / "pelago-fuzz.XXXXXX").string();
    Demand(::mkdtemp(root_.data()) != nullptr, "no folder");
    Configure();
    StartService();
    (void)NullDescriptor();
    EndInput(); // whatever stays open for good is open now
    descriptors_ = OpenDescriptors().size();
}

// The process ends: nothing is asked of a service that goes with it.
FuzzDevice::~FuzzDevice()
{
    std::error_code error;
    fs::remove_all(root_, error); // a folder that stays is no fault of the service
}

void FuzzDevice::Configure()
{
    auto& device = Host::Device::Instance();
    Demand(device.Configure({"Blue phone", std::string(64, 'A'), "phone", root_}), "no device");
    RuntimeEnv::Install(
        {root_, [] { return Host::Scheduler::Instance().WallTimeMs(); }, Host::Scheduler::StartDetached});
    Demand(device.PutUser({OTHER_USER, Host::UserType::ORDINARY, true, {}}), "no second user");
    for (int32_t user : {USER, OTHER_USER}) {
        fs::create_directories(root_ + "/data/service/el2/" + std::to_string(user) + "/pelago");
    }
    fs::create_directories(root_ + "/data/service/el1/public/pelago");
    Demand(Host::HostSettings::SeedFreshDevice({USER, OTHER_USER}), "no settings");
    collab_ = std::make_shared<FuzzCollab>();
    Synfold::InstallCollabBackend(collab_);
    engine_ = std::make_shared<FuzzEngine>();
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine_);
}

void FuzzDevice::StartService()
{
    Host::AbilityHost::Instance().Start();
    Advance(RADIOS_ARRIVE_MS);
    service_ = Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID);
    Demand(service_ != nullptr, "the service has not started");
}

FuzzClient& FuzzDevice::Client(size_t index)
{
    auto& client = clients_[index % CLIENTS];
    if (client == nullptr) {
        client =
            std::make_unique<FuzzClient>(std::make_unique<TestClient>(nextPid_++, TOKENS[index % CLIENTS], service_));
    }
    return *client;
}

void FuzzDevice::Kill(size_t index)
{
    clients_[index % CLIENTS].reset();
}

void FuzzDevice::Advance(int64_t ms)
{
    Demand(Host::Scheduler::Instance().Advance(ms), "time does not come to rest");
}

void FuzzDevice::CheckInvariants() const
{
    for (const std::string& fault : CacheMapManager::CheckInvariants()) {
        Fail(fault);
    }
    auto snapshot = DelayedSingleton<ShareSwitchManager>::GetInstance()->GetSnapshot();
    if (const char* broken = ShareSwitchManager::BrokenInvariant(snapshot); broken != nullptr) {
        Fail(broken);
    }
}

void FuzzDevice::EndInput()
{
    Advance(0);
    CheckInvariants();
    Clear();
    if (++inputs_ % CHECK_EVERY == 0) {
        Demand(DescriptorLedger::OpenCount() == 0, "descriptors of no send are open");
        retired_.reset(); // holds the files of its transfers
        DemandNoMore(descriptors_);
    }
}

// Everybody who took part leaves, and every peer is forgotten.
void FuzzDevice::Clear()
{
    auto& model = Host::Device::Instance();
    for (auto& client : clients_) {
        client.reset();
    }
    for (const sptr<IRemoteObject>& transmit : engine_->transmits) {
        TransmitCallbackProxy(transmit).OnError("", 1);
    }
    model.SwitchWifi(Host::WifiMode::ON);
    model.SwitchBluetooth(Host::BluetoothMode::ON);
    (void)model.SetVerified(USER, true); // both users exist
    (void)model.SwitchUser(USER);
    Advance(RADIOS_ARRIVE_MS);
    auto service = sptr<TrellisService>(dynamic_cast<TrellisService*>(service_.GetRefPtr()));
    if (!service->IsEnabled()) {
        (void)service->SetShareEnable(STATE_SHARE_ENABLE, DETECTABLE_LASTING, false); // without it inputs do less
    }
    StaticState::ForgetPeers();
    (void)engine_->TakeJournal();
    (void)collab_->TakeAsked();
    (void)collab_->TakeStates();
    (void)collab_->TakeReplies();
    (void)collab_->TakeResults();
    auto next = std::make_shared<FuzzEngine>();
    next->publisher = engine_->publisher;
    next->receiver = engine_->receiver;
    next->subscriber = engine_->subscriber;
    next->swingSubscriber = engine_->swingSubscriber;
    retired_ = std::exchange(engine_, next);
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine_);
    Advance(RADIOS_ARRIVE_MS);
}

} // namespace OHOS::Pelago::Fuzz
