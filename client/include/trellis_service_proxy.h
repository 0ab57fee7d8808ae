#ifndef PELAGO_CLIENT_TRELLIS_SERVICE_PROXY_H
#define PELAGO_CLIENT_TRELLIS_SERVICE_PROXY_H

#include "i_trellis_service.h"
#include "iremote_proxy.h"

namespace OHOS::Pelago {

// The service as a client sees it. Made by the broker: iface_cast<ITrellisService>(object), where the object is that of
// the system ability TRELLIS_SERVICE_ID. Any thread may call; every call is synchronous and waits for the service at
// most CALL_WAIT_SECONDS. A call that fails on the way gives false, 0, empty or null, and LastError says why.
//
// What a client should know of the service:
// - A registration with RegisterTrellisCallback, and every one after it, calls the registered callbacks before it
//   returns: be ready for OnEnableStatusChanged and OnConnectHub.
// - A callback may call the service, but one that waits for the lock that the service holds while it calls you gets its
//   answer only when your callback has returned. Such are registering, unregistering, sending and cancelling.
// - Inside ISenderActionCallback::OnSendCancelBeforeConfirm do not ask for the preview or the receiver, for the same
//   reason.
// - An off that is asked for while a radio is missing leaves the service willing to come back when the radio does.
class TrellisServiceProxy : public IRemoteProxy<ITrellisService> {
public:
    explicit TrellisServiceProxy(const sptr<IRemoteObject>& object);

    static constexpr int CALL_WAIT_SECONDS = 30;

    // How the last call of this thread ended, through whichever proxy: 0 when the service answered, a
    // TrellisServiceError, or an error of the transport. The operation's own false is not an error here.
    static int32_t LastError();

    bool SetShareEnable(int32_t enableState, int32_t detectableType, bool needCheckFirstUse) override;
    bool SetShareEnableWithConfirm(
        int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm) override;
    bool IsEnabled() override;
    int32_t GetEnableState() override;
    bool IsFocusPidsRegisterSwing() override;
    bool RegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool UnRegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool StartDiscovery() override;
    bool StopDiscovery() override;
    bool StartConnect() override;
    bool StopConnect() override;
    std::vector<ShareDeviceInfo> GetAllUserList() override;
    std::vector<ShareDeviceInfo> GetSendingUserList() override;
    bool PrepareSend(const ShareDeviceInfo& device) override;
    bool Send(const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName) override;
    bool SendFile(const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName) override;
    bool SendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) override;
    bool Cancel(const ShareDeviceInfo& device) override;
    bool RegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback) override;
    bool UnRegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback) override;
    sptr<PelagoReceiver> GetReceiverActionCallback() override;
    std::string GetPreviewData() override;
    ShareAccountInfo GetAccountInfo() override;
    bool SetShareAccountPermission(int32_t accountPermission) override;
    bool RegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool UnRegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) override;
    bool RegisterCorvaneShareApiEvent(const std::string& eventName) override;
    bool UnRegisterCorvaneShareApiEvent(const std::string& eventName) override;
    bool NotifyInfo(const ShareDeviceInfo& device, int32_t infoReason) override;
    bool ApplyUriPermission(const std::string& uriString) override;
    bool SwingConfirm(const ShareDeviceInfo& device, int32_t choice) override;
    bool IsAppForeground(const std::string& bundleName) override;
    bool RegisterShareApiCallback(const sptr<PelagoApiCallback>& callback) override;
    bool UnregisterShareApiCallback(const sptr<PelagoApiCallback>& callback) override;
    bool RegisterShareEventCallback(int32_t eventId, int32_t cbId) override;
    bool UnregisterShareEventCallback(int32_t eventId, int32_t cbId) override;

private:
    template <typename... Fields>
    [[nodiscard]] bool Transact(TrellisServiceCode code, MessageParcel& reply, const Fields&... fields);
    template <typename... Fields>
    [[nodiscard]] bool CallForBool(TrellisServiceCode code, const Fields&... fields);
    std::vector<ShareDeviceInfo> CallForDevices(TrellisServiceCode code);
};

} // namespace OHOS::Pelago

#endif // PELAGO_CLIENT_TRELLIS_SERVICE_PROXY_H
