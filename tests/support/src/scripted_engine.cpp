#include "scripted_engine.h"

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

namespace OHOS::Pelago {
namespace {

// The service's handle of a scripted transfer: marks it and writes it down.
class ScriptedSender : public PelagoSenderStub {
public:
    ScriptedSender(std::shared_ptr<ScriptedTransfer> transfer, std::vector<std::string>& journal)
        : transfer_(std::move(transfer)), journal_(journal)
    {}
    void Cancel() override
    {
        transfer_->cancelled = true;
        journal_.push_back("Cancel " + transfer_->deviceId);
    }
    void SwingConfirm(int32_t choice) override
    {
        journal_.push_back("SwingConfirm " + std::to_string(choice));
    }

private:
    const std::shared_ptr<ScriptedTransfer> transfer_;
    std::vector<std::string>& journal_;
};

void CloseFiles(SendBean& bean)
{
    for (FileHolder& file : bean.uriList) {
        if (file.fileFd >= 0) {
            (void)::close(file.fileFd);
            file.fileFd = -1;
        }
    }
}

// Keeps what came with a request that was taken.
template <typename Slot, typename Value>
bool Set(Slot& slot, Value&& value)
{
    slot = std::forward<Value>(value);
    return true;
}

} // namespace

int32_t ScriptedReceiver::Accept(int, const sptr<IReceiveProgress>&)
{
    answer = "accept";
    return RECEIVER_OK;
}

int32_t ScriptedReceiver::Refuse(int32_t reason)
{
    answer = "refuse " + std::to_string(reason);
    return RECEIVER_OK;
}

int32_t ScriptedReceiver::Cancel()
{
    answer = "cancel";
    return RECEIVER_OK;
}

ScriptedEngine::ScriptedEngine() : queue_(Host::Scheduler::Instance().CreateQueue("engine"))
{}

ScriptedEngine::~ScriptedEngine()
{
    CloseTransfers();
}

void ScriptedEngine::CloseTransfers()
{
    for (const auto& transfer : transfers_) {
        CloseFiles(transfer->bean);
    }
}

std::vector<std::string> ScriptedEngine::TakeJournal()
{
    std::lock_guard<std::mutex> lock(journalMutex_);
    return std::exchange(journal_, {});
}

std::string ScriptedEngine::TakeAsked()
{
    std::string text;
    for (const std::string& line : TakeJournal()) {
        text += (text.empty() ? "" : ", ") + line;
    }
    return text;
}

void ScriptedEngine::Refuse(const std::string& operation, int times)
{
    std::lock_guard<std::mutex> lock(journalMutex_);
    refusals_[operation] = times;
}

bool ScriptedEngine::Take(const std::string& operation, const std::string& details)
{
    std::lock_guard<std::mutex> lock(journalMutex_);
    journal_.push_back(operation + (details.empty() ? "" : " " + details));
    auto refusal = refusals_.find(operation);
    if (refusal == refusals_.end() || refusal->second == 0) {
        return true;
    }
    if (refusal->second > 0) {
        --refusal->second;
    }
    return false;
}

template <typename Listener, typename Event>
void ScriptedEngine::Play(const sptr<Listener>& listener, Event event)
{
    auto play = [listener, event = std::move(event)]() mutable {
        if (listener != nullptr) {
            event(*listener);
        }
    };
    (void)queue_->Post(std::move(play)); // the queue lives as long as the engine
}

void ScriptedEngine::Found(const ShareDevice& device)
{
    Play(subscribe_, [copy = sptr<ShareDevice>(new ShareDevice(device))](auto& to) { to.OnDeviceFound(copy); });
}

void ScriptedEngine::Lost(const ShareDevice& device)
{
    Play(subscribe_, [copy = sptr<ShareDevice>(new ShareDevice(device))](auto& to) { to.OnDeviceLost(copy); });
}

void ScriptedEngine::SwingStatus(int role, const std::string& deviceId, int code)
{
    Play(swing_, [role, id = deviceId, code](auto& to) mutable { to.OnSwingStatus(role, id, code); });
}

std::shared_ptr<ScriptedTransfer> ScriptedEngine::TransferTo(const std::string& deviceId) const
{
    auto found = std::find_if(transfers_.rbegin(), transfers_.rend(),
        [&deviceId](const auto& transfer) { return transfer->deviceId == deviceId; });
    return found == transfers_.rend() ? nullptr : *found;
}

void ScriptedEngine::Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report)
{
    auto transfer = TransferTo(deviceId);
    Play(transfer == nullptr ? nullptr : transfer->callback, report);
}

void ScriptedEngine::Tell(const std::function<void(PelagoReceiveListener&)>& event)
{
    Play(receive_, event);
}

bool ScriptedEngine::ConnectWithRetry()
{
    // Not written down unless refused: the service connects before everything else.
    auto refusal = refusals_.find("ConnectWithRetry");
    return refusal == refusals_.end() || refusal->second == 0;
}

bool ScriptedEngine::Publish(const sptr<IPublishListener>& listener)
{
    return Take("Publish") && Set(publish_, new PublishListenerProxy(listener->AsObject()));
}

bool ScriptedEngine::UnPublish(int, const sptr<IPublishListener>&)
{
    return Take("UnPublish") && Set(publish_, nullptr);
}

bool ScriptedEngine::RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    return Take("RegisterReceiveListener") && Set(receive_, new ReceiveListenerProxy(listener->AsObject()));
}

bool ScriptedEngine::UnRegisterReceiveListener(const sptr<PelagoReceiveListener>&)
{
    return Take("UnRegisterReceiveListener") && Set(receive_, nullptr);
}

bool ScriptedEngine::Subscribe(const sptr<ISubscribeListener>& listener)
{
    return Take("Subscribe") && Set(subscribe_, new SubscribeListenerProxy(listener->AsObject()));
}

bool ScriptedEngine::UnSubscribe(int subscribeId, const sptr<ISubscribeListener>&)
{
    return Take("UnSubscribe", std::to_string(subscribeId)) && Set(subscribe_, nullptr);
}

bool ScriptedEngine::SwingSubscribe(const sptr<ISubscribeListener>& listener)
{
    return Take("SwingSubscribe") && Set(swing_, new SubscribeListenerProxy(listener->AsObject()));
}

bool ScriptedEngine::SwingUnSubscribe(const sptr<ISubscribeListener>&)
{
    return Take("SwingUnSubscribe") && Set(swing_, nullptr);
}

bool ScriptedEngine::OnCollabDeviceFound(
    const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag)
{
    if (!Take("OnCollabDeviceFound", device->GetDeviceId() + " " + std::to_string(updateFlag))) {
        return false;
    }
    lastCollabDevice = device;
    sptr<ISubscribeListener> proxy = new SubscribeListenerProxy(listener->AsObject());
    Play(proxy, [device](auto& to) { to.OnDeviceFound(device); });
    return true;
}

bool ScriptedEngine::ClearDiscovererFlag(const std::string& deviceId, uint32_t flag)
{
    return Take("ClearDiscovererFlag", deviceId + " " + std::to_string(flag));
}

void ScriptedEngine::EnableDiscoveryPolicy(int detectableType)
{
    (void)Take("EnableDiscoveryPolicy", std::to_string(detectableType)); // cannot be refused
}

bool ScriptedEngine::SetAccountPermission(int accountPermission)
{
    return Take("SetAccountPermission", std::to_string(accountPermission));
}

std::shared_ptr<ScriptedTransfer> ScriptedEngine::NewTransfer(const TransmitParam& param)
{
    auto transfer = std::make_shared<ScriptedTransfer>();
    transfer->deviceId = param.deviceId;
    transfer->eventType = param.eventType;
    transfer->callback = new TransmitCallbackProxy(param.callback->AsObject());
    return transfer;
}

sptr<PelagoSender> ScriptedEngine::HandleOf(const std::shared_ptr<ScriptedTransfer>& transfer)
{
    transfers_.push_back(transfer);
    if (whenStarted) {
        whenStarted(*transfer);
    }
    return new ScriptedSender(transfer, journal_);
}

sptr<PelagoSender> ScriptedEngine::SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName)
{
    if (!Take("SendFile", param.deviceId)) {
        return nullptr;
    }
    auto transfer = NewTransfer(param);
    transfer->bean = bean;
    for (FileHolder& file : transfer->bean.uriList) {
        file.fileFd = ::fcntl(file.fileFd, F_DUPFD_CLOEXEC, 0);
    }
    transfer->packageName = packageName;
    return HandleOf(transfer);
}

sptr<PelagoSender> ScriptedEngine::SendFile(const TransmitParam& param, const DataBean&, const std::string& packageName)
{
    if (!Take("SendFile", param.deviceId)) {
        return nullptr;
    }
    auto transfer = NewTransfer(param);
    transfer->packageName = packageName;
    return HandleOf(transfer);
}

sptr<PelagoSender> ScriptedEngine::SendBytes(const TransmitParam& param, const BytesInfo&)
{
    return Take("SendBytes", param.deviceId) ? HandleOf(NewTransfer(param)) : nullptr;
}

bool ScriptedEngine::ApplyUriPermission(const std::string& uri)
{
    return Take("ApplyUriPermission", uri);
}

void ScriptedEngine::ReportSwingEvent(int32_t event, int32_t, int32_t, const std::string&)
{
    (void)Take("ReportSwingEvent", std::to_string(event)); // cannot be refused
}

bool ScriptedEngine::GetNudgePublishInfo(std::string& info)
{
    return Take("GetNudgePublishInfo") && Set(info, "nudge");
}

} // namespace OHOS::Pelago
