#include "gesture/corvane_share_callback_manager.h"
#include "host/ability_host.h"
#include "host/device.h"
#include "host/faults.h"
#include "host/host_settings.h"
#include "service_fixture.h"
#include "switch/share_setting_keys.h"
#include "world.h"

// What the device and the people at it do: radios, users, set-up, applications, gestures, taps, failures, time.
namespace OHOS::Pelago {
namespace {

constexpr size_t MOST_APPLICATIONS = 3;

Host::Device& Model()
{
    return Host::Device::Instance();
}

} // namespace

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
