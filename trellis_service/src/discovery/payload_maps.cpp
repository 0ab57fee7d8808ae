// CacheMapManager: requests and handles of running sends.

#include "discovery/cache_map_manager.h"
#include "share_log.h"

namespace OHOS::Pelago {

LockedMap<CacheMapManager::HeldSendBean> CacheMapManager::sendBeanMap_("sendBeanMutex_");
LockedMap<DataBean> CacheMapManager::dataBeanMap_("dataBeanMutex_");
LockedMap<BytesInfo> CacheMapManager::bytesInfoMap_("bytesInfoMutex_");
LockedMap<sptr<PelagoSender>> CacheMapManager::senderMap_("senderMutex_");

bool CacheMapManager::InsertToSendBeanMap(const std::string& deviceId, const SendBean& bean)
{
    SHARE_LOGI(Log::SERVICE, "InsertToSendBeanMap() enter");
    if (!sendBeanMap_.Insert(deviceId, HeldSendBean{bean, DescriptorLedger::ShareOf(bean)})) {
        SHARE_LOGE(Log::SERVICE, "InsertToSendBeanMap failed");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "InsertToSendBeanMap() exit");
    return true;
}

bool CacheMapManager::RemoveFromSendBeanMap(const std::string& deviceId)
{
    if (!sendBeanMap_.Remove(deviceId)) {
        SHARE_LOGE(Log::SERVICE, "device is not found in SendBeanMap");
        return false;
    }
    SHARE_LOGI(Log::NAPI, "Remove SendBean of deviceId: %{public}s", deviceId.c_str());
    return true;
}

bool CacheMapManager::GetSendBean(const std::string& deviceId, SendBean& out)
{
    DescriptorShare share;
    return GetSendBean(deviceId, out, share);
}

bool CacheMapManager::GetSendBean(const std::string& deviceId, SendBean& out, DescriptorShare& share)
{
    auto held = sendBeanMap_.Get(deviceId);
    if (!held) {
        return false;
    }
    out = std::move(held->bean);
    share = std::move(held->share);
    return true;
}

bool CacheMapManager::InsertToDataBeanMap(const std::string& deviceId, const DataBean& bean)
{
    SHARE_LOGI(Log::SERVICE, "InsertToDataBeanMap() enter");
    if (!dataBeanMap_.Insert(deviceId, bean)) {
        SHARE_LOGE(Log::SERVICE, "InsertToDataBeanMap failed");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "InsertToDataBeanMap() exit");
    return true;
}

bool CacheMapManager::RemoveFromDataBeanMap(const std::string& deviceId)
{
    if (!dataBeanMap_.Remove(deviceId)) {
        SHARE_LOGE(Log::SERVICE, "device is not found in DataBeanMap");
        return false;
    }
    SHARE_LOGI(Log::NAPI, "Remove DataBean of deviceId: %{public}s", deviceId.c_str());
    return true;
}

bool CacheMapManager::GetDataBean(const std::string& deviceId, DataBean& out)
{
    auto held = dataBeanMap_.Get(deviceId);
    if (!held) {
        return false;
    }
    out = *std::move(held);
    return true;
}

bool CacheMapManager::InsertToBytesInfoMap(const std::string& deviceId, const BytesInfo& bytes)
{
    SHARE_LOGI(Log::SERVICE, "InsertToBytesInfoMap() enter");
    if (deviceId.empty()) {
        SHARE_LOGE(Log::SERVICE, "deviceId is null"); // and it goes on: the empty id is a key like any other
    }
    if (!bytesInfoMap_.Insert(deviceId, bytes)) {
        SHARE_LOGE(Log::SERVICE, "InsertToBytesInfoMap failed");
        return false;
    }
    SHARE_LOGI(Log::SERVICE, "InsertToBytesInfoMap() exit");
    return true;
}

bool CacheMapManager::RemoveFromBytesInfoMap(const std::string& deviceId)
{
    if (!bytesInfoMap_.Remove(deviceId)) {
        SHARE_LOGE(Log::SERVICE, "device is not found in bytesInfoMap");
        return false;
    }
    SHARE_LOGI(Log::NAPI, "Remove BytesInfo of deviceId: %{public}s", deviceId.c_str());
    return true;
}

bool CacheMapManager::GetByteBean(const std::string& deviceId, BytesInfo& out)
{
    auto held = bytesInfoMap_.Get(deviceId);
    if (!held) {
        return false;
    }
    out = *std::move(held);
    return true;
}

bool CacheMapManager::InsertToSenderMap(const std::string& deviceId, const sptr<PelagoSender>& sender)
{
    SHARE_LOGI(Log::SERVICE, "InsertToSenderMap() enter");
    if (!senderMap_.Insert(deviceId, sender)) {
        SHARE_LOGE(Log::SERVICE, "InsertToSenderMap failed");
        return false;
    }
    return true;
}

sptr<PelagoSender> CacheMapManager::GetShareSenderById(const std::string& deviceId)
{
    auto sender = senderMap_.Get(deviceId);
    if (!sender) {
        SHARE_LOGE(
            Log::SERVICE, "device is not found in SenderMap"); // for most callers the good news: the device is free
        return nullptr;
    }
    return *sender;
}

bool CacheMapManager::RemoveFromSenderMap(const std::string& deviceId)
{
    if (!senderMap_.Remove(deviceId)) {
        SHARE_LOGE(Log::SERVICE, "device is not found in SenderMap");
        return false;
    }
    SHARE_LOGI(Log::NAPI, "Remove Sender of deviceId: %{public}s", deviceId.c_str());
    return true;
}

} // namespace OHOS::Pelago
