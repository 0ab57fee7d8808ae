#include <functional>

#include "discovery/cache_map_manager.h"
#include "world.h"

// Sends, their reports and ends, questions, and what a peer offers.
namespace OHOS::Pelago {

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

} // namespace OHOS::Pelago
