#ifndef PELAGO_ENGINE_ENGINE_LISTENER_PROXIES_H
#define PELAGO_ENGINE_ENGINE_LISTENER_PROXIES_H

#include "i_publish_listener.h"
#include "i_subscribe_listener.h"
#include "i_transmit_callback.h"
#include "iremote_proxy.h"
#include "pelago_receive_listener.h"

namespace OHOS::Pelago {

// How an engine calls the listeners of the service: by their remote objects, with a parcel, a code and a token, also
// when they live in its own process. Made by the engine from a listener's AsObject(); any thread that holds no lock of
// the engine. A call that fails is logged at debug level and forgotten: the engine has no one to tell.

class SubscribeListenerProxy : public IRemoteProxy<ISubscribeListener> {
public:
    explicit SubscribeListenerProxy(const sptr<IRemoteObject>& object);

    void OnDeviceFound(const sptr<ShareDevice>& device) override;
    void OnDeviceLost(const sptr<ShareDevice>& device) override;
    void OnDiscoverResult(int subscribeId, int reason) override;
    void OnSwingStatus(int role, std::string& deviceId, int code) override;
};

class PublishListenerProxy : public IRemoteProxy<IPublishListener> {
public:
    explicit PublishListenerProxy(const sptr<IRemoteObject>& object);

    void OnPublishResult(int publishId, int reason) override;
};

// The five operations that have no code do nothing here.
class TransmitCallbackProxy : public IRemoteProxy<ITransmitCallback> {
public:
    explicit TransmitCallbackProxy(const sptr<IRemoteObject>& object);

    void OnProgess(int8_t percent) override;
    void OnSuccess(const std::string& info, const std::vector<std::string>& names) override;
    void OnStatus(const std::string& info, int status) override;
    void OnError(const std::string& info, int errorCode) override;
    void OnCorvaneIdHeadImageReceive(const std::string& deviceId, const std::string& headImage) override;
    void OnTotalFileLength(int length) override;
    void OnSpeed(int speed) override;
    void OnRecvSuccess() override;
    void OnMessageReceive(std::string message) override;
    void OnImportProgress(int8_t percent) override;
    void OnImportStarted() override;
    void OnDetailError(int errorCode) override;
    void OnOpenFileFd(const std::string& uri) override;
    void OnCloseFileFd(const std::string& uri) override;
    void OnTransByte(uint64_t transferred, uint64_t total) override;
    void OnFileFinish(const std::vector<std::string>& names, int result) override;
    void OnThermalLevelChanged(int lastLevel, int newLevel, int8_t connectionSide, int8_t action) override;
    void OnRelease(const std::string& deviceId, bool lost) override;
    void OnSwitchNotifyComponent(int component) override;
    void OnNudgeCancel(const std::string& deviceId) override;
    void OnMotionState(int trans, int state, int errorCode) override;
    void OnPopSwing(const std::string& deviceId, bool show) override;
};

class ReceiveListenerProxy : public IRemoteProxy<PelagoReceiveListener> {
public:
    explicit ReceiveListenerProxy(const sptr<IRemoteObject>& object);

    void OnStatusChanged(int8_t state) override;
    void OnPreviewReceive(
        const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview) override;
    void OnPreviewReceive(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview) override;
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>& receiver) override;
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>& receiver, int32_t errorCode) override;
    void OnRecvBytesInfo(
        const sptr<PelagoReceiver>& receiver, const std::string& sendType, const RecvPreview& preview) override;
    void OnNotSupportReceive() override;
    void TriggerBindService() override;
    void OnSwitchNotifyComponent(int32_t component) override;
    void OnMotionState(int32_t trans, int32_t state, int32_t code) override;
    void OnPopSwing(const sptr<PelagoReceiver>& receiver, const RecvPreview& preview, bool show) override;
};

} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_ENGINE_LISTENER_PROXIES_H
