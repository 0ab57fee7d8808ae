#include <functional>

#include "discovery/cache_map_manager.h"
#include "gesture/corvane_share_callback_manager.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "service_fixture.h"
#include "switch/share_setting_keys.h"
#include "transfer/corvane_share_manager.h"
#include "world.h"

// What can happen to a device. Results are not looked at: the invariants are.
namespace OHOS::Pelago {
namespace {

constexpr size_t MOST_CLIENTS = 4;
constexpr size_t MOST_APPLICATIONS = 3;

Host::Device& Model()
{
    return Host::Device::Instance();
}

} // namespace

struct World::StepRow {
    const char* name;
    size_t weight;
    void (World::*run)();
};

const World::StepRow World::STEPS[] = {
    {"switch", 10, &World::AskForSwitch},
    {"client registers", 3, &World::RegisterClient},
    {"client unregisters", 1, &World::UnregisterClient},
    {"client dies", 1, &World::LoseClient},
    {"client hangs", 1, &World::HangClient},
    {"discover", 5, &World::Discover},
    {"stop discovering", 1, &World::StopDiscovering},
    {"found", 25, &World::FindPeer},
    {"lost", 8, &World::LosePeer},
    {"send", 12, &World::SendToEntry},
    {"report", 25, &World::ReportTransfer},
    {"end", 6, &World::EndTransfer},
    {"cancel", 3, &World::CancelEntry},
    {"race", 4, &World::Race},
    {"notify info", 1, &World::NotifyClientInfo},
    {"ask", 3, &World::Ask},
    {"offer", 5, &World::Offer},
    {"follow receive", 2, &World::FollowReceive},
    {"radio", 6, &World::SwitchRadio},
    {"user", 2, &World::SwitchUser},
    {"set-up", 2, &World::ChangeSetup},
    {"ability", 1, &World::ChangeAbility},
    {"package", 1, &World::ClearPackage},
    {"permission", 1, &World::GrantPermission},
    {"application registers", 4, &World::RegisterApplication},
    {"application dies", 1, &World::LoseApplication},
    {"focus", 3, &World::MoveFocus},
    {"gesture", 4, &World::Gesture},
    {"swing status", 2, &World::SwingStatus},
    {"tap", 6, &World::Tap},
    {"motion state", 4, &World::MotionState},
    {"engine refuses", 1, &World::RefuseEngine},
    {"host fails", 1, &World::FailHostCall},
    {"wait", 15, &World::Wait},
};

std::string World::Step()
{
    size_t total = 0;
    for (const StepRow& row : STEPS) {
        total += row.weight;
    }
    size_t drawn = dice_.Below(total);
    const StepRow* row = STEPS;
    while (drawn >= row->weight) {
        drawn -= row->weight;
        ++row;
    }
    (this->*row->run)();
    Settle();
    return row->name;
}

std::string World::PeerId()
{
    return "peer" + std::to_string(dice_.Below(PEERS));
}

// Most reports of a peer say what the one before said; now and then its contact is another.
ShareDevice World::DrawPeer()
{
    std::string id = PeerId();
    auto [contact, isNew] = contacts_.try_emplace(id, 0);
    if (isNew || dice_.OneIn(8)) {
        contact->second = static_cast<int32_t>(dice_.Below(3));
        if (!isNew) {
            moved_.insert(id);
        }
    }
    ShareDevice peer = Peer(id, contact->second, contact->second == 0 ? "" : "contact");
    heard_ += "  " + id + " of contact " + std::to_string(contact->second) + "\n";
    peer.SetCapability(static_cast<int32_t>(dice_.Below(8)));
    return peer;
}

ShareDeviceInfo World::DrawEntry()
{
    std::vector<ShareDeviceInfo> entries = CacheMapManager::GetAllDeviceList();
    if (entries.empty() || dice_.OneIn(10)) {
        return Entry(dice_.OneIn(2) ? PeerId() : "nobody", static_cast<uint32_t>(1 + dice_.Below(7)));
    }
    return entries[dice_.Below(entries.size())];
}

TestClient& World::DrawClient()
{
    return clients_.empty() ? *auditor_ : *clients_[dice_.Below(clients_.size())];
}

// Half of them want sharing on and ask nobody; the others try every combination.
void World::AskForSwitch()
{
    auto type = static_cast<int32_t>(dice_.Below(4));
    if (dice_.OneIn(2)) {
        (void)DrawClient()->SetShareEnableWithConfirm(STATE_SHARE_ENABLE, type, false, false);
    } else {
        (void)DrawClient()->SetShareEnableWithConfirm(
            static_cast<int32_t>(dice_.Below(3)), type, dice_.OneIn(2), dice_.OneIn(2));
    }
}

void World::RegisterClient()
{
    if (clients_.size() == MOST_CLIENTS) {
        return;
    }
    clients_.push_back(std::make_unique<TestClient>(nextPid_++, Host::TokenId::OWNER, serviceObject_));
    TestClient& client = *clients_.back();
    (void)(dice_.OneIn(3) ? client->RegisterCorvaneShareApiTrellisCallback(client.callback)
                          : client->RegisterTrellisCallback(client.callback));
    told_ = false; // everybody is, at each registration
}

void World::UnregisterClient()
{
    if (!clients_.empty()) {
        TestClient& client = DrawClient();
        (void)(dice_.OneIn(3) ? client->UnRegisterCorvaneShareApiTrellisCallback(client.callback)
                              : client->UnRegisterTrellisCallback(client.callback));
    }
}

void World::LoseClient()
{
    if (!clients_.empty()) {
        size_t index = dice_.Below(clients_.size());
        clients_[index]->Kill();
        Settle();
        clients_.erase(clients_.begin() + static_cast<ptrdiff_t>(index));
    }
}

void World::HangClient()
{
    if (!clients_.empty()) {
        DrawClient().Process().SetHanging(dice_.OneIn(3));
    }
}

void World::Discover()
{
    (void)DrawClient()->StartDiscovery();
}

void World::StopDiscovering()
{
    (void)DrawClient()->StopDiscovery();
}

void World::FindPeer()
{
    engine_->Found(DrawPeer());
}

// An engine reports a loss with the contact that the device was found with: with another one the service would take it
// out of an entry that it is not in, and clients would keep the old one.
void World::LosePeer()
{
    std::string id = PeerId();
    ended_.erase(id);
    engine_->Lost(Peer(id, contacts_[id], "contact"));
}

// An entry whose devices may have records again.
ShareDeviceInfo World::DrawTarget()
{
    ShareDeviceInfo entry = DrawEntry();
    for (const ShareDeviceInfo& member : CacheMapManager::GetShareDeviceInfoList(entry)) {
        ended_.erase(member.deviceId);
    }
    ended_.erase(entry.deviceId);
    return entry;
}

void World::SendToEntry()
{
    ShareDeviceInfo entry = DrawTarget();
    TestClient& client = DrawClient();
    if (dice_.OneIn(2)) {
        (void)client->PrepareSend(entry);
        Settle();
    }
    SendBean files;
    DataBean data;
    BytesInfo bytes;
    switch (dice_.Below(3)) {
        case 0:
            files.uriList.resize(1 + dice_.Below(3));
            for (FileHolder& file : files.uriList) {
                file.SetFileFd(file_);
            }
            (void)client->Send(entry, files, "simulation");
            break;
        case 1:
            (void)client->SendFile(entry, data, "simulation");
            break;
        default:
            (void)client->SendBytes(entry, bytes);
            break;
    }
}

void World::ReportTransfer()
{
    std::string id = PeerId();
    auto number = static_cast<int32_t>(dice_.Below(100));
    const std::array<std::function<void(ITransmitCallback&)>, 10> reports{
        [number](ITransmitCallback& callback) { callback.OnProgess(static_cast<int8_t>(number)); },
        [number](ITransmitCallback& callback) { callback.OnProgess(static_cast<int8_t>(number)); },
        [number](ITransmitCallback& callback) { callback.OnSpeed(number); },
        [number](ITransmitCallback& callback) { callback.OnTotalFileLength(number); },
        [](ITransmitCallback& callback) { callback.OnStatus("", EngineStatus::CONNECTING); },
        [](ITransmitCallback& callback) { callback.OnStatus("", EngineStatus::SHOWN_TO_USER); },
        [number](ITransmitCallback& callback) { callback.OnStatus("", 1000 + number % 24); },
        [number](ITransmitCallback& callback) { callback.OnThermalLevelChanged(1, number % 5, 0, 1); },
        [](ITransmitCallback& callback) { callback.OnSwitchNotifyComponent(1); },
        [id](ITransmitCallback& callback) { callback.OnRelease(id, true); },
    };
    engine_->Report(id, dice_.Of(reports));
}

// The last word of a transfer, after which nothing of it may be left.
void World::EndTransfer()
{
    std::string id = PeerId();
    auto transfer = engine_->TransferTo(id);
    if (transfer == nullptr || transfer->cancelled) {
        return;
    }
    bool good = dice_.OneIn(2);
    engine_->Report(id, [good, id](ITransmitCallback& callback) {
        if (good) {
            callback.OnSuccess(id, {"a.jpg"});
        } else {
            callback.OnError(id, 1);
        }
    });
    ended_.insert(id);
}

void World::CancelEntry()
{
    (void)DrawClient()->Cancel(DrawEntry());
}

// A contact's devices begin to receive one after the other: whoever is heard first wins, the others are let go before
// they are heard.
void World::Race()
{
    ShareDeviceInfo entry = DrawTarget();
    TestClient& client = DrawClient();
    if (!client->PrepareSend(entry)) {
        return; // meant: a send without it inherits the winner of the one before
    }
    started_.clear();
    DataBean data;
    (void)client->SendFile(entry, data, "simulation");
    Settle();
    size_t offset = started_.empty() ? 0 : dice_.Below(started_.size());
    size_t winners = 0;
    for (size_t i = 0; i < started_.size(); ++i) {
        const ScriptedTransfer& transfer = *started_[(i + offset) % started_.size()];
        if (!transfer.cancelled) {
            engine_->Report(transfer.deviceId, [](ITransmitCallback& callback) { callback.OnProgess(1); });
            Settle();
            ++winners;
        }
    }
    if (!started_.empty() && winners != 1) {
        fault_ = std::to_string(winners) + " of " + std::to_string(started_.size()) + " have won";
    }
}

void World::NotifyClientInfo()
{
    (void)DrawClient()->NotifyInfo(DrawEntry(), static_cast<int32_t>(1200 + dice_.Below(30)));
}

// What changes little or nothing.
void World::Ask()
{
    TestClient& client = DrawClient();
    ShareDeviceInfo entry = DrawEntry();
    auto number = static_cast<int32_t>(dice_.Below(4));
    const std::array<std::function<void(ITrellisService&)>, 16> questions{
        [=](ITrellisService& service) { (void)service.SetShareEnable(number, number, true); },
        [](ITrellisService& service) { (void)service.IsEnabled(); },
        [](ITrellisService& service) { (void)service.GetEnableState(); },
        [](ITrellisService& service) { (void)service.GetAccountInfo(); },
        [](ITrellisService& service) { (void)service.GetAllUserList(); },
        [](ITrellisService& service) { (void)service.GetSendingUserList(); },
        [](ITrellisService& service) { (void)service.GetReceiverActionCallback(); },
        [](ITrellisService& service) { (void)service.GetPreviewData(); },
        [](ITrellisService& service) { (void)service.StartConnect(); },
        [](ITrellisService& service) { (void)service.StopConnect(); },
        [](ITrellisService& service) { (void)service.IsFocusPidsRegisterSwing(); },
        [](ITrellisService& service) { (void)service.IsAppForeground("application"); },
        [](ITrellisService& service) { (void)service.ApplyUriPermission("file://a"); },
        [=](ITrellisService& service) { (void)service.SwingConfirm(entry, number); },
        [](ITrellisService& service) { (void)service.RegisterCorvaneShareApiEvent("event"); },
        [](ITrellisService& service) { (void)service.UnRegisterCorvaneShareApiEvent("event"); },
    };
    dice_.Of(questions)(*client.operator->());
}

void World::Offer()
{
    sptr<PelagoReceiver> receiver = new ScriptedReceiver();
    auto strategy = static_cast<int32_t>(dice_.Below(3));
    RecvPreview preview;
    preview.popUpStrategy_ = strategy;
    bool show = dice_.OneIn(2);
    const std::array<std::function<void(PelagoReceiveListener&)>, 8> events{
        [=](PelagoReceiveListener& listener) { listener.OnPreviewReceive(receiver, "files", preview); },
        [=](PelagoReceiveListener& listener) { listener.OnPreviewReceive(receiver, preview); },
        [=](PelagoReceiveListener& listener) { listener.OnRecvBytesInfo(receiver, "bytes", preview); },
        [=](PelagoReceiveListener& listener) { listener.OnSendCancelBeforeConfirm(receiver); },
        [=](PelagoReceiveListener& listener) { listener.OnErrorBeforeConfirm(receiver, 3); },
        [=](PelagoReceiveListener& listener) { listener.OnPopSwing(receiver, preview, show); },
        [](PelagoReceiveListener& listener) { listener.TriggerBindService(); },
        [](PelagoReceiveListener& listener) { listener.OnNotSupportReceive(); },
    };
    engine_->Tell(dice_.Of(events));
}

void World::FollowReceive()
{
    TestClient& client = DrawClient();
    (void)(dice_.OneIn(2) ? client->RegisterSenderActionCallback(client.senderAction)
                          : client->UnRegisterSenderActionCallback(client.senderAction));
}

void World::SwitchRadio()
{
    if (dice_.OneIn(2)) {
        Model().SwitchWifi(dice_.Of(std::array{Host::WifiMode::OFF, Host::WifiMode::SEMI, Host::WifiMode::ON}));
    } else {
        Model().SwitchBluetooth(
            dice_.Of(std::array{Host::BluetoothMode::OFF, Host::BluetoothMode::BLE_ONLY, Host::BluetoothMode::ON}));
    }
}

void World::SwitchUser()
{
    int32_t user = dice_.Of(USERS);
    bool verified = dice_.OneIn(2);
    if (dice_.OneIn(3)) {
        heard_ += "  user " + std::to_string(user) + (verified ? " unlocked\n" : " locked\n");
        (void)Model().SetVerified(user, verified); // both users exist
    } else {
        heard_ += "  to user " + std::to_string(user) + "\n";
        (void)Model().SwitchUser(user);
    }
}

void World::ChangeSetup()
{
    reloaded_ = true;
    int32_t user = dice_.Of(USERS);
    const char* value = dice_.OneIn(2) ? SettingKey::YES : SettingKey::NO;
    switch (dice_.Below(5)) {
        case 0:
            (void)Host::HostSettings::Put(SettingKey::DEVICE_PROVISIONED, value);
            break;
        case 1:
            (void)Host::HostSettings::Put(SettingKey::USER_SETUP_COMPLETE, value, user);
            break;
        case 2:
            (void)Host::HostSettings::Put(SettingKey::PELAGO_OOBE_STATE, value, user);
            break;
        case 3:
            (void)Host::HostSettings::Put(SettingKey::AIR_SWITCH, value);
            break;
        default:
            (void)Host::HostSettings::Put(SettingKey::COLLABORATION_OOBE_ENHANCE, value);
            break;
    }
}

void World::ChangeAbility()
{
    Model().SetAbilityPresent(
        dice_.Of(std::array{Host::AbilityId::BLUETOOTH, Host::AbilityId::WIFI, Host::AbilityId::COMMON_EVENT,
            Host::AbilityId::WINDOW_MANAGER, Host::AbilityId::COLLABORATION_DETECT}),
        dice_.Below(3) != 0);
}

void World::ClearPackage()
{
    Model().ClearPackageData(dice_.OneIn(2) ? FRONT_END_BUNDLE : "another");
}

void World::GrantPermission()
{
    (void)DrawClient()->SetShareAccountPermission(static_cast<int32_t>(dice_.Below(3)));
}

void World::RegisterApplication()
{
    if (applications_.size() < MOST_APPLICATIONS) {
        Application application;
        application.pid = nextPid_++;
        application.client = std::make_unique<TestClient>(application.pid, Host::TokenId::APP, serviceObject_);
        application.callback = new AnsweringCallback(*application.client, heard_);
        (void)(*application.client)->RegisterShareApiCallback(application.callback);
        applications_.push_back(std::move(application));
    }
    Application& application = applications_[dice_.Below(applications_.size())];
    if (dice_.OneIn(10)) {
        (void)(*application.client)->UnregisterShareApiCallback(application.callback);
        return;
    }
    auto eventId = static_cast<int32_t>(2 + dice_.Below(2));
    auto cbId = static_cast<int32_t>(dice_.Below(3)) - 1;
    (void)(dice_.OneIn(4) ? (*application.client)->UnregisterShareEventCallback(eventId, cbId)
                          : (*application.client)->RegisterShareEventCallback(eventId, cbId));
}

void World::LoseApplication()
{
    if (!applications_.empty()) {
        size_t index = dice_.Below(applications_.size());
        applications_[index].client->Kill();
        Settle();
        applications_.erase(applications_.begin() + static_cast<ptrdiff_t>(index));
    }
}

void World::MoveFocus()
{
    if (applications_.empty()) {
        return;
    }
    const Application& application = applications_[dice_.Below(applications_.size())];
    if (dice_.OneIn(3)) {
        Model().SetForegroundApplications({{application.pid, 1000, "application"}});
    } else {
        Model().SetFocused(application.pid, dice_.OneIn(2));
    }
}

void World::Gesture()
{
    if (dice_.OneIn(2)) {
        TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, "swing", -1);
        return;
    }
    ShareDevice target = DrawPeer();
    target.SetDiscoveredBy(Discoverer::SWING);
    ended_.erase(target.GetDeviceId()); // content that waits is prepared for it
    engine_->Found(target);
}

void World::SwingStatus()
{
    engine_->SwingStatus(static_cast<int>(1 + dice_.Below(2)), dice_.OneIn(2) ? PeerId() : "",
        dice_.OneIn(2) ? 100 : static_cast<int>(1200 + dice_.Below(30)));
}

// Both sides of a tap, in any order: a peer's answer, a peer's question, the framework's own question.
void World::Tap()
{
    std::string id = PeerId();
    switch (dice_.Below(3)) {
        case 0:
            collab_->Knock();
            break;
        case 1:
            moved_.insert(id); // a tap knows nothing of contacts
            ended_.erase(id);  // an application may answer with a send
            collab_->PublishEvent(TapAnswer(id, dice_.OneIn(4) ? 2 : 1, dice_.OneIn(8)));
            break;
        default:
            collab_->Deliver(dice_.OneIn(3) ? R"({"notifyInfo":1})" : TapRequest());
            break;
    }
}

void World::MotionState()
{
    std::string id = PeerId();
    auto trans = static_cast<int32_t>(1 + dice_.Below(2));
    auto state = static_cast<int32_t>(dice_.Below(8));
    senderTapSince_ = INT64_MAX; // a tap whose data move lasts as long as the engine says
    receiverTapSince_ = INT64_MAX;
    if (dice_.OneIn(2)) {
        engine_->Report(id, [=](ITransmitCallback& callback) { callback.OnMotionState(trans, state, 1); });
    } else {
        engine_->Tell([=](PelagoReceiveListener& listener) { listener.OnMotionState(trans, state, 1); });
    }
}

void World::RefuseEngine()
{
    faulted_ = true;
    engine_->Refuse(dice_.Of(std::array{"Publish", "UnPublish", "RegisterReceiveListener", "UnRegisterReceiveListener",
        "Subscribe", "UnSubscribe", "SendFile", "SendBytes", "OnCollabDeviceFound", "ConnectWithRetry"}));
}

void World::FailHostCall()
{
    faulted_ = true;
    Host::Faults::FailNth(1 + dice_.Below(20));
}

void World::Wait()
{
    Settle(dice_.Of(std::array<int64_t, 7>{1, 100, 500, 1500, 3000, 10000, 600000}));
}

} // namespace OHOS::Pelago
