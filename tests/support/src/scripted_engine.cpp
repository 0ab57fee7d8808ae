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

void ScriptedEngine::Post(std::function<void()> report)
{
    (void)queue_->Post(std::move(report)); // the queue lives as long as the engine
}

void ScriptedEngine::Found(const ShareDevice& device)
{
    Post([listener = subscribe_, copy = sptr<ShareDevice>(new ShareDevice(device))] {
        if (listener != nullptr) {
            listener->OnDeviceFound(copy);
        }
    });
}

void ScriptedEngine::Lost(const ShareDevice& device)
{
    Post([listener = subscribe_, copy = sptr<ShareDevice>(new ShareDevice(device))] {
        if (listener != nullptr) {
            listener->OnDeviceLost(copy);
        }
    });
}

void ScriptedEngine::SwingStatus(int role, const std::string& deviceId, int code)
{
    Post([listener = swing_, role, id = deviceId, code]() mutable {
        if (listener != nullptr) {
            listener->OnSwingStatus(role, id, code);
        }
    });
}

std::shared_ptr<ScriptedTransfer> ScriptedEngine::TransferTo(const std::string& deviceId) const
{
    auto found = std::find_if(transfers_.rbegin(), transfers_.rend(),
        [&deviceId](const auto& transfer) { return transfer->deviceId == deviceId; });
    return found == transfers_.rend() ? nullptr : *found;
}

size_t ScriptedEngine::TransferCount() const
{
    return transfers_.size();
}

void ScriptedEngine::Report(const std::string& deviceId, const std::function<void(ITransmitCallback&)>& report)
{
    Post([transfer = TransferTo(deviceId), report] {
        if (transfer != nullptr) {
            report(*transfer->callback);
        }
    });
}

void ScriptedEngine::Tell(const std::function<void(PelagoReceiveListener&)>& event)
{
    Post([listener = receive_, event] {
        if (listener != nullptr) {
            event(*listener);
        }
    });
}

bool ScriptedEngine::IsPublished() const
{
    return publish_ != nullptr;
}

bool ScriptedEngine::IsReceiving() const
{
    return receive_ != nullptr;
}

bool ScriptedEngine::IsSubscribed() const
{
    return subscribe_ != nullptr;
}

bool ScriptedEngine::ConnectWithRetry()
{
    // Not written down unless refused: the service connects before everything else.
    auto refusal = refusals_.find("ConnectWithRetry");
    return refusal == refusals_.end() || refusal->second == 0;
}

bool ScriptedEngine::Publish(const sptr<IPublishListener>& listener)
{
    if (!Take("Publish")) {
        return false;
    }
    publish_ = new PublishListenerProxy(listener->AsObject());
    return true;
}

bool ScriptedEngine::UnPublish(int, const sptr<IPublishListener>&)
{
    if (!Take("UnPublish")) {
        return false;
    }
    publish_ = nullptr;
    return true;
}

bool ScriptedEngine::RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    if (!Take("RegisterReceiveListener")) {
        return false;
    }
    receive_ = new ReceiveListenerProxy(listener->AsObject());
    return true;
}

bool ScriptedEngine::UnRegisterReceiveListener(const sptr<PelagoReceiveListener>&)
{
    if (!Take("UnRegisterReceiveListener")) {
        return false;
    }
    receive_ = nullptr;
    return true;
}

bool ScriptedEngine::Subscribe(const sptr<ISubscribeListener>& listener)
{
    if (!Take("Subscribe")) {
        return false;
    }
    subscribe_ = new SubscribeListenerProxy(listener->AsObject());
    return true;
}

bool ScriptedEngine::UnSubscribe(int subscribeId, const sptr<ISubscribeListener>&)
{
    if (!Take("UnSubscribe", std::to_string(subscribeId))) {
        return false;
    }
    subscribe_ = nullptr;
    return true;
}

bool ScriptedEngine::SwingSubscribe(const sptr<ISubscribeListener>& listener)
{
    if (!Take("SwingSubscribe")) {
        return false;
    }
    swing_ = new SubscribeListenerProxy(listener->AsObject());
    return true;
}

bool ScriptedEngine::SwingUnSubscribe(const sptr<ISubscribeListener>&)
{
    if (!Take("SwingUnSubscribe")) {
        return false;
    }
    swing_ = nullptr;
    return true;
}

bool ScriptedEngine::OnCollabDeviceFound(
    const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag)
{
    if (!Take("OnCollabDeviceFound", device->GetDeviceId() + " " + std::to_string(updateFlag))) {
        return false;
    }
    lastCollabDevice = device;
    sptr<ISubscribeListener> proxy = new SubscribeListenerProxy(listener->AsObject());
    Post([proxy, device] { proxy->OnDeviceFound(device); });
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

std::shared_ptr<ScriptedTransfer> ScriptedEngine::NewTransfer(const TransmitParam& param, const std::string& kind)
{
    auto transfer = std::make_shared<ScriptedTransfer>();
    transfer->deviceId = param.deviceId;
    transfer->kind = kind;
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
    auto transfer = NewTransfer(param, "files");
    transfer->bean = bean;
    for (FileHolder& file : transfer->bean.uriList) {
        file.fileFd = ::fcntl(file.fileFd, F_DUPFD_CLOEXEC, 0);
    }
    transfer->packageName = packageName;
    return HandleOf(transfer);
}

sptr<PelagoSender> ScriptedEngine::SendFile(
    const TransmitParam& param, const DataBean& bean, const std::string& packageName)
{
    if (!Take("SendFile", param.deviceId)) {
        return nullptr;
    }
    auto transfer = NewTransfer(param, "uris");
    transfer->data = bean;
    transfer->packageName = packageName;
    return HandleOf(transfer);
}

sptr<PelagoSender> ScriptedEngine::SendBytes(const TransmitParam& param, const BytesInfo& bytes)
{
    if (!Take("SendBytes", param.deviceId)) {
        return nullptr;
    }
    auto transfer = NewTransfer(param, "bytes");
    transfer->bytes = bytes;
    return HandleOf(transfer);
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
    if (!Take("GetNudgePublishInfo")) {
        return false;
    }
    info = "nudge";
    return true;
}

} // namespace OHOS::Pelago
