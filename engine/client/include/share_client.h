#ifndef PELAGO_ENGINE_SHARE_CLIENT_H
#define PELAGO_ENGINE_SHARE_CLIENT_H

#include <memory>
#include <string>

#include "bytes_info.h"
#include "data_bean.h"
#include "i_publish_listener.h"
#include "i_subscribe_listener.h"
#include "pelago_receive_listener.h"
#include "pelago_sender.h"
#include "send_bean.h"
#include "singleton.h"
#include "transmit_param.h"

namespace OHOS::Pelago {

// What stands behind ShareClient: the local engine in a daemon, a scripted one in tests. All operations may be called
// from any thread, never call back into the caller before they have returned, and call listeners only through their
// remote objects. A bool is true when the request was taken.
class ShareClientBackend {
public:
    virtual ~ShareClientBackend() = default;

    [[nodiscard]] virtual bool ConnectWithRetry() = 0;
    [[nodiscard]] virtual bool Publish(const sptr<IPublishListener>& listener) = 0;
    [[nodiscard]] virtual bool UnPublish(int publishId, const sptr<IPublishListener>& listener) = 0;
    [[nodiscard]] virtual bool RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) = 0;
    [[nodiscard]] virtual bool UnRegisterReceiveListener(const sptr<PelagoReceiveListener>& listener) = 0;

    [[nodiscard]] virtual bool Subscribe(const sptr<ISubscribeListener>& listener) = 0;
    [[nodiscard]] virtual bool UnSubscribe(int subscribeId, const sptr<ISubscribeListener>& listener) = 0;
    [[nodiscard]] virtual bool SwingSubscribe(const sptr<ISubscribeListener>& listener) = 0;
    [[nodiscard]] virtual bool SwingUnSubscribe(const sptr<ISubscribeListener>& listener) = 0;
    [[nodiscard]] virtual bool OnCollabDeviceFound(
        const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag) = 0;
    [[nodiscard]] virtual bool ClearDiscovererFlag(const std::string& deviceId, uint32_t flag) = 0;
    virtual void EnableDiscoveryPolicy(int detectableType) = 0;
    [[nodiscard]] virtual bool SetAccountPermission(int accountPermission) = 0;

    // Start a transfer. The handle, or null when it was refused. Descriptors are duplicated before the call returns and
    // stay the caller's.
    [[nodiscard]] virtual sptr<PelagoSender> SendFile(
        const TransmitParam& param, SendBean& bean, const std::string& packageName) = 0;
    [[nodiscard]] virtual sptr<PelagoSender> SendFile(
        const TransmitParam& param, const DataBean& bean, const std::string& packageName) = 0;
    [[nodiscard]] virtual sptr<PelagoSender> SendBytes(const TransmitParam& param, const BytesInfo& bytes) = 0;
    [[nodiscard]] virtual bool ApplyUriPermission(const std::string& uri) = 0;

    virtual void ReportSwingEvent(int32_t event, int32_t x, int32_t y, const std::string& text) = 0;
    // Fills `info` with the text that a tap hands to the peer. False leaves it as it is.
    [[nodiscard]] virtual bool GetNudgePublishInfo(std::string& info) = 0;
};

// The service's way to the share engine, one per process (DelayedRefSingleton<ShareClient>::GetInstance()). Forwards
// every operation of its backend, see there; without a backend each one fails: false or null. Any thread.
class ShareClient {
public:
    // The process says once, at start, what stands behind; a null backend takes it away. Calls that are under way keep
    // the backend alive until they return.
    void InstallBackend(std::shared_ptr<ShareClientBackend> backend);

    [[nodiscard]] bool ConnectWithRetry();
    [[nodiscard]] bool Publish(const sptr<IPublishListener>& listener);
    [[nodiscard]] bool UnPublish(int publishId, const sptr<IPublishListener>& listener);
    [[nodiscard]] bool RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener);
    [[nodiscard]] bool UnRegisterReceiveListener(const sptr<PelagoReceiveListener>& listener);
    [[nodiscard]] bool Subscribe(const sptr<ISubscribeListener>& listener);
    [[nodiscard]] bool UnSubscribe(int subscribeId, const sptr<ISubscribeListener>& listener);
    [[nodiscard]] bool SwingSubscribe(const sptr<ISubscribeListener>& listener);
    [[nodiscard]] bool SwingUnSubscribe(const sptr<ISubscribeListener>& listener);
    [[nodiscard]] bool OnCollabDeviceFound(
        const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag);
    [[nodiscard]] bool ClearDiscovererFlag(const std::string& deviceId, uint32_t flag);
    void EnableDiscoveryPolicy(int detectableType);
    [[nodiscard]] bool SetAccountPermission(int accountPermission);
    [[nodiscard]] sptr<PelagoSender> SendFile(
        const TransmitParam& param, SendBean& bean, const std::string& packageName);
    [[nodiscard]] sptr<PelagoSender> SendFile(
        const TransmitParam& param, const DataBean& bean, const std::string& packageName);
    [[nodiscard]] sptr<PelagoSender> SendBytes(const TransmitParam& param, const BytesInfo& bytes);
    [[nodiscard]] bool ApplyUriPermission(const std::string& uri);
    void ReportSwingEvent(int32_t event, int32_t x, int32_t y, const std::string& text);
    [[nodiscard]] bool GetNudgePublishInfo(std::string& info);

private:
    std::shared_ptr<ShareClientBackend> Backend() const;

    std::shared_ptr<ShareClientBackend> backend_; // read and replaced by atomic_load and atomic_store
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_SHARE_CLIENT_H
