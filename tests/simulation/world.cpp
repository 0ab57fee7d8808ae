#include "world.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

#include "common_utils.h"
#include "discovery/cache_map_manager.h"
#include "hilog/host_log.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "host/timers.h"
#include "runtime_env.h"
#include "service_fixture.h"
#include "switch/share_setting_keys.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago {
namespace {

namespace fs = std::filesystem;

constexpr int64_t TEN_MINUTES_MS = 600'000;
constexpr int64_t LONGEST_TAP_MS = 10'000; // a time-out and what is shown behind it

std::string ContentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int32_t FieldOf(const std::string& content, size_t index)
{
    int32_t field = 0;
    if (content.size() >= (index + 1) * sizeof(field)) {
        content.copy(reinterpret_cast<char*>(&field), sizeof(field), index * sizeof(field));
    }
    return field;
}

std::string SettingOf(const char* key)
{
    return Host::HostSettings::Get(key).value_or("none");
}

} // namespace

uint64_t Dice::Next()
{
    state_ += 0x9E3779B97F4A7C15ULL;
    uint64_t value = state_;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31U);
}

size_t Dice::Below(size_t limit)
{
    return static_cast<size_t>(Next() % limit);
}

World::World(uint64_t seed, const std::string& folder, bool isFirstLife)
    : dice_(seed), device_(dice_.Next(), folder, isFirstLife), fault_(device_.fault)
{
    engine_->whenStarted = [this](ScriptedTransfer& transfer) {
        ended_.erase(transfer.deviceId);
        started_.push_back(engine_->TransferTo(transfer.deviceId));
    };
    file_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    DrawHardware();
    descriptors_ = CountDescriptors();
    Host::AbilityHost::Instance().Start();
    Settle();
    serviceObject_ = Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID);
    for (auto* client : {&auditor_, &neighbour_}) {
        *client = std::make_unique<TestClient>(nextPid_++, Host::TokenId::OWNER, serviceObject_);
    }
    ListenAsAuditor();
}

World::~World()
{
    (void)::close(file_);
}

// The hardware may be in any state when a process begins.
void World::DrawHardware()
{
    if (dice_.OneIn(4)) {
        Host::Device::Instance().SwitchWifi(Host::WifiMode::OFF);
    }
    if (dice_.OneIn(4)) {
        Host::Device::Instance().SwitchBluetooth(Host::BluetoothMode::OFF);
    }
    Settle(2000); // the radios have arrived
}

void World::Settle(int64_t ms)
{
    if (!SimulatedDevice::Settle(ms) && fault_.empty()) {
        fault_ = "time does not come to rest";
    }
}

sptr<TrellisService> World::Service()
{
    return dynamic_cast<TrellisService*>(serviceObject_.GetRefPtr());
}

void World::ListenAsAuditor()
{
    auditor_->callback->during = [this](const std::string& line) {
        heard_ += "  heard " + line + "\n";
        NoteFound(line);
        if (line == "OnEnableStatusChanged" && fault_.empty()) {
            bool isOn = DelayedSingleton<ShareSwitchManager>::GetInstance()->IsEnabled();
            if (isOn && !wasOn_ && !(CommonUtils::IsWifiAvailable() && CommonUtils::IsBleAvailable())) {
                fault_ = "sharing went on without both radios";
            }
            wasOn_ = isOn;
            told_ = true;
        }
    };
    for (auto* client : {&auditor_, &neighbour_}) {
        if (!(**client)->RegisterTrellisCallback((*client)->callback)) {
            fault_ = "an auditor cannot register";
        }
    }
}

void World::NoteFound(const std::string& line)
{
    size_t space = line.find(' ');
    std::string what = line.substr(0, space);
    if (what == "OnDeviceFound") {
        shown_.insert(line.substr(space + 1, line.rfind(' ') - space - 1));
    } else if (what == "OnDeviceLost") {
        shown_.erase(line.substr(space + 1));
    }
}

std::string World::TakeTrace()
{
    return std::exchange(heard_, {}) + "  asked " + engine_->TakeAsked() + "\n";
}

std::string World::FindFault()
{
    for (auto find : {&World::FindListFault, &World::FindSendFault, &World::FindSwitchFault, &World::FindTimerFault,
             &World::FindFileFault, &World::FindTapFault}) {
        if (fault_.empty()) {
            fault_ = (this->*find)();
        }
    }
    return fault_;
}

std::string World::FindListFault()
{
    for (const std::string& fault : CacheMapManager::CheckInvariants()) {
        return fault;
    }
    std::set<std::string> listed;
    for (const ShareDeviceInfo& entry : CacheMapManager::GetAllDeviceList()) {
        listed.insert(entry.deviceId);
    }
    for (const std::string& id : shown_) {
        if (listed.count(id) == 0) {
            return "clients still see " + id + ", which is not listed";
        }
    }
    // Meant: a send that ends with a loss goes by the contact that its device had when it began. Where that is another
    // now, clients are told of the loss of an entry that stays.
    std::set<std::string> mayBeHidden;
    for (const std::string& id : moved_) {
        mayBeHidden.insert(CacheMapManager::FindMergeDeviceId(Entry(id)));
    }
    for (const std::string& id : listed) {
        if (shown_.count(id) == 0 && mayBeHidden.count(id) == 0) {
            return id + " is listed, and no client was told";
        }
    }
    return {};
}

std::string World::FindSendFault()
{
    if (CacheMapManager::Sizes().sendBeans == 0 && DescriptorLedger::OpenCount() != 0) {
        return "descriptors of no send are open";
    }
    for (const std::string& id : ended_) {
        SendBean files;
        DataBean data;
        BytesInfo bytes;
        if (CacheMapManager::InSendingList(id) || CacheMapManager::GetSendBean(id, files) ||
            CacheMapManager::GetDataBean(id, data) || CacheMapManager::GetByteBean(id, bytes) ||
            CacheMapManager::GetShareSenderById(id) != nullptr) {
            return "the ended send to " + id + " has left a record";
        }
    }
    return {};
}

std::string World::FindSwitchFault()
{
    auto snapshot = DelayedSingleton<ShareSwitchManager>::GetInstance()->GetSnapshot();
    if (const char* broken = ShareSwitchManager::BrokenInvariant(snapshot); broken != nullptr) {
        return broken;
    }
    bool isOn = snapshot.enableState == STATE_SHARE_ENABLE;
    if (!faulted_ && isOn && snapshot.detectableType != UNDETECTABLE && !engine_->IsPublished()) {
        return "sharing is on and the device is not published";
    }
    // Meant: a load of the state of a user who is served already, which a change of the set-up causes, forgets an on
    // that has not reached the disk, and one whose radios are away just then, without a word to the engine.
    if (!faulted_ && !reloaded_ && !isOn && engine_->IsPublished()) {
        return "sharing is off and the device is published";
    }
    return {};
}

// A reload stops nothing either; the timer that then fires finds another state, and does nothing.
std::string World::FindTimerFault()
{
    auto snapshot = DelayedSingleton<ShareSwitchManager>::GetInstance()->GetSnapshot();
    bool isTimed = snapshot.enableState == STATE_SHARE_ENABLE && snapshot.detectableType == DETECTABLE_TIMED;
    std::vector<Host::ArmedTimer> timers = Host::ArmedTimers();
    int64_t now = Host::Scheduler::Instance().BootTimeMs();
    if (timers.size() > 1 || (!timers.empty() && (timers[0].dueMs <= now || timers[0].dueMs > now + TEN_MINUTES_MS))) {
        return "the timer is none of ten minutes";
    }
    if (faulted_ || reloaded_ || isTimed != timers.empty()) {
        return {};
    }
    return isTimed ? "no timer ends the ten minutes" : "the timer runs, and the device is not visible for ten minutes";
}

// When clients are told of a change the disk has it, but for a radio that heals itself, for what a failure has kept
// from the disk, and for what a user's own set-up makes of the state that was loaded.
std::string World::FindFileFault()
{
    auto snapshot = DelayedSingleton<ShareSwitchManager>::GetInstance()->GetSnapshot();
    int32_t inFront = Host::Device::Instance().ForegroundUser();
    for (int32_t user : USERS) {
        std::string content = ContentOf(StateFileOf(user));
        bool isAway = user != servedUser_ && user != snapshot.localUserId && files_.count(user) != 0;
        bool agreed = FieldOf(content, 0) == STATE_SHARE_ENABLE && FieldOf(content, 1) == DETECTABLE_LASTING &&
                      FieldOf(content, 2) == ACCOUNT_PERMISSION_ON; // an agreement is written for whoever gave it
        if (isAway && !agreed && content != files_[user]) {
            return "the file of user " + std::to_string(user) + " was touched while another is served";
        }
        files_[user] = content;
    }
    bool sameUser = std::exchange(servedUser_, snapshot.localUserId) == snapshot.localUserId;
    bool told = std::exchange(told_, false);
    bool healing = snapshot.btSelfHealing || snapshot.wifiSelfHealing || snapshot.needSyncSettings;
    bool isLocked =
        !Host::Device::Instance().FindUser(inFront)->verified; // the files of a locked user cannot be written
    reloaded_ = reloaded_ && !told;
    if (faulted_ || healing || isLocked || !told || !sameUser || snapshot.localUserId != inFront) {
        return {};
    }
    const std::string& file = files_[inFront];
    std::string memory = std::to_string(snapshot.enableState) + "," + std::to_string(snapshot.detectableType);
    std::string disk = std::to_string(FieldOf(file, 0)) + "," + std::to_string(FieldOf(file, 1));
    // Meant: the settings name the type of a request that has left first use while it still waits for the radios.
    std::string type =
        snapshot.isEnabling ? std::to_string(snapshot.detectableType) : SettingOf(SettingKey::DETECT_STATE);
    std::string settings = SettingOf(SettingKey::MAIN_STATE) + "," + type;
    if (disk != memory || settings != memory) {
        return "the switch is " + memory + ", the file of user " + std::to_string(inFront) + " says " + disk +
               ", the settings say " + settings;
    }
    return {};
}

// Without a word of the engine a tap is over when its longest wait is.
std::string World::FindTapFault()
{
    TrellisService::TapView tap = TrellisService::GetTapView();
    int64_t now = Host::Scheduler::Instance().BootTimeMs();
    auto isEndless = [now](bool runs, int64_t& since) {
        if (!runs) {
            since = 0;
        } else if (since == 0) {
            since = now;
        }
        return runs && now - since > LONGEST_TAP_MS;
    };
    if (isEndless(tap.preparing, senderTapSince_)) {
        return "a tap of the sending side does not end";
    }
    return isEndless(tap.delivering, receiverTapSince_) ? "a tap of the receiving side does not end" : "";
}

std::string World::Stop()
{
    Host::Faults::Clear();
    for (const auto& client : clients_) {
        client->Process().SetHanging(false); // takes what has waited for it
    }
    Host::AbilityHost::Instance().Stop();
    Settle(20000);
    applications_.clear();
    clients_.clear();
    extension_.reset();
    auditor_.reset();
    neighbour_.reset();
    Settle();
    engine_->CloseTransfers();
    // The requests of sends that were still running keep theirs: the process ends with the service.
    size_t now = CountDescriptors() - DescriptorLedger::OpenCount();
    if (now > descriptors_ && !faulted_) {
        return std::to_string(now - descriptors_) + " descriptors are left";
    }
    return {};
}

} // namespace OHOS::Pelago
