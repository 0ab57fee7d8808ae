#include "share_client.h"

#include <utility>

namespace OHOS::Pelago {

void ShareClient::InstallBackend(std::shared_ptr<ShareClientBackend> backend)
{
    std::atomic_store(&backend_, std::move(backend));
}

std::shared_ptr<ShareClientBackend> ShareClient::Backend() const
{
    return std::atomic_load(&backend_);
}

bool ShareClient::ConnectWithRetry()
{
    auto backend = Backend();
    return backend != nullptr && backend->ConnectWithRetry();
}

bool ShareClient::Publish(const sptr<IPublishListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->Publish(listener);
}

bool ShareClient::UnPublish(int publishId, const sptr<IPublishListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->UnPublish(publishId, listener);
}

bool ShareClient::RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->RegisterReceiveListener(listener);
}

bool ShareClient::UnRegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->UnRegisterReceiveListener(listener);
}

bool ShareClient::Subscribe(const sptr<ISubscribeListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->Subscribe(listener);
}

bool ShareClient::UnSubscribe(int subscribeId, const sptr<ISubscribeListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->UnSubscribe(subscribeId, listener);
}

bool ShareClient::SwingSubscribe(const sptr<ISubscribeListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->SwingSubscribe(listener);
}

bool ShareClient::SwingUnSubscribe(const sptr<ISubscribeListener>& listener)
{
    auto backend = Backend();
    return backend != nullptr && backend->SwingUnSubscribe(listener);
}

bool ShareClient::OnCollabDeviceFound(
    const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag)
{
    auto backend = Backend();
    return backend != nullptr && backend->OnCollabDeviceFound(device, listener, updateFlag);
}

bool ShareClient::ClearDiscovererFlag(const std::string& deviceId, uint32_t flag)
{
    auto backend = Backend();
    return backend != nullptr && backend->ClearDiscovererFlag(deviceId, flag);
}

void ShareClient::EnableDiscoveryPolicy(int detectableType)
{
    if (auto backend = Backend(); backend != nullptr) {
        backend->EnableDiscoveryPolicy(detectableType);
    }
}

bool ShareClient::SetAccountPermission(int accountPermission)
{
    auto backend = Backend();
    return backend != nullptr && backend->SetAccountPermission(accountPermission);
}

sptr<PelagoSender> ShareClient::SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName)
{
    auto backend = Backend();
    return backend == nullptr ? nullptr : backend->SendFile(param, bean, packageName);
}

sptr<PelagoSender> ShareClient::SendFile(
    const TransmitParam& param, const DataBean& bean, const std::string& packageName)
{
    auto backend = Backend();
    return backend == nullptr ? nullptr : backend->SendFile(param, bean, packageName);
}

sptr<PelagoSender> ShareClient::SendBytes(const TransmitParam& param, const BytesInfo& bytes)
{
    auto backend = Backend();
    return backend == nullptr ? nullptr : backend->SendBytes(param, bytes);
}

bool ShareClient::ApplyUriPermission(const std::string& uri)
{
    auto backend = Backend();
    return backend != nullptr && backend->ApplyUriPermission(uri);
}

void ShareClient::ReportSwingEvent(int32_t event, int32_t x, int32_t y, const std::string& text)
{
    if (auto backend = Backend(); backend != nullptr) {
        backend->ReportSwingEvent(event, x, y, text);
    }
}

bool ShareClient::GetNudgePublishInfo(std::string& info)
{
    auto backend = Backend();
    return backend != nullptr && backend->GetNudgePublishInfo(info);
}

} // namespace OHOS::Pelago
