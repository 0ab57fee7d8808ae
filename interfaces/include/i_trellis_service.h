#ifndef PELAGO_INTERFACES_I_TRELLIS_SERVICE_H
#define PELAGO_INTERFACES_I_TRELLIS_SERVICE_H

#include <string>
#include <vector>

#include "bytes_info.h"
#include "data_bean.h"
#include "i_sender_action_callback.h"
#include "iremote_broker.h"
#include "pelago_api_callback.h"
#include "pelago_receiver.h"
#include "pelago_trellis_service_callback.h"
#include "send_bean.h"
#include "share_account_info.h"
#include "share_device_info.h"

namespace OHOS::Pelago {

// The system ability under which the service is found.
inline constexpr int32_t TRELLIS_SERVICE_ID = 65570;

// The transaction codes. They are not in the order of the operations below, and that is the protocol.
enum class TrellisServiceCode : uint32_t {
    SET_SHARE_ENABLE = 1,
    SET_SHARE_ENABLE_WITH_CONFIRM = 2,
    IS_ENABLED = 3,
    GET_ENABLE_STATE = 4,
    REGISTER_TRELLIS_CALLBACK = 5,
    UNREGISTER_TRELLIS_CALLBACK = 6,
    START_DISCOVERY = 7,
    STOP_DISCOVERY = 8,
    START_CONNECT = 9,
    STOP_CONNECT = 10,
    GET_SENDING_USER_LIST = 11,
    PREPARE_SEND = 12,
    SEND = 13,
    SEND_BYTES = 14,
    SEND_FILE = 15,
    CANCEL = 16,
    REGISTER_SENDER_ACTION_CALLBACK = 17,
    UNREGISTER_SENDER_ACTION_CALLBACK = 18,
    GET_RECEIVER_ACTION_CALLBACK = 19,
    GET_PREVIEW_DATA = 20,
    GET_ALL_USER_LIST = 21,
    GET_ACCOUNT_INFO = 22,
    SET_SHARE_ACCOUNT_PERMISSION = 23,
    REGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK = 24,
    UNREGISTER_CORVANE_SHARE_API_TRELLIS_CALLBACK = 25,
    REGISTER_CORVANE_SHARE_API_EVENT = 26,
    UNREGISTER_CORVANE_SHARE_API_EVENT = 27,
    NOTIFY_INFO = 28,
    APPLY_URI_PERMISSION = 29,
    SWING_CONFIRM = 30,
    IS_APP_FOREGROUND = 31,
    REGISTER_SHARE_API_CALLBACK = 32,
    UNREGISTER_SHARE_API_CALLBACK = 33,
    REGISTER_SHARE_EVENT_CALLBACK = 34,
    UNREGISTER_SHARE_EVENT_CALLBACK = 35,
    IS_FOCUS_PIDS_REGISTER_SWING = 36,
};
inline constexpr size_t TRELLIS_SERVICE_CODE_COUNT = 36;

// What OnRemoteRequest answers instead of 0. The operation's own outcome is in the reply; these are of the transport.
enum TrellisServiceError : int32_t {
    ERROR_TOKEN = -10,              // wrong interface token
    ERROR_REPLY = -11,              // the reply could not be written, or there is nothing to write
    ERROR_READ_DEVICE = -16,        // no ShareDevice in the request (listeners)
    ERROR_READ_STRING_VECTOR = -17, // no string vector in the request (listeners)
    ERROR_READ_DEVICE_INFO = -18,   // no leading ShareDeviceInfo
    ERROR_READ_PAYLOAD = -27,       // no SendBean, DataBean or BytesInfo
    ERROR_READ_STRING = -28,        // no string
    ERROR_NO_SWITCH_PERMISSION = -31,
    ERROR_NO_CAPABILITY_PERMISSION = -32,
    ERROR_READ_PREVIEW = -33, // no RecvPreview (listeners)
    ERROR_NULL_OBJECT = -34,  // no callback, or no receiver
};

// The operations of the service. Clients reach them by TrellisServiceProxy (client/), the service implements them.
// Every call may come on any thread. A false says that the service did not do it and has logged why; see client/ for
// what a client needs to know of each.
class ITrellisService : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.Pelago.ITrellisService");

    virtual bool SetShareEnable(int32_t enableState, int32_t detectableType, bool needCheckFirstUse) = 0;
    virtual bool SetShareEnableWithConfirm(
        int32_t enableState, int32_t detectableType, bool needCheckFirstUse, bool needUserConfirm) = 0;
    virtual bool IsEnabled() = 0;
    virtual int32_t GetEnableState() = 0;
    virtual bool IsFocusPidsRegisterSwing() = 0;
    virtual bool RegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) = 0;
    virtual bool UnRegisterTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) = 0;
    virtual bool StartDiscovery() = 0;
    virtual bool StopDiscovery() = 0;
    virtual bool StartConnect() = 0;
    virtual bool StopConnect() = 0;
    virtual std::vector<ShareDeviceInfo> GetAllUserList() = 0;
    virtual std::vector<ShareDeviceInfo> GetSendingUserList() = 0;
    virtual bool PrepareSend(const ShareDeviceInfo& device) = 0;
    // The service may change `bean`.
    virtual bool Send(const ShareDeviceInfo& device, SendBean& bean, const std::string& packageName) = 0;
    virtual bool SendFile(const ShareDeviceInfo& device, const DataBean& bean, const std::string& packageName) = 0;
    virtual bool SendBytes(const ShareDeviceInfo& device, const BytesInfo& bytes) = 0;
    virtual bool Cancel(const ShareDeviceInfo& device) = 0;
    virtual bool RegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback) = 0;
    virtual bool UnRegisterSenderActionCallback(const sptr<ISenderActionCallback>& callback) = 0;
    // Null when there is no offer.
    virtual sptr<PelagoReceiver> GetReceiverActionCallback() = 0;
    virtual std::string GetPreviewData() = 0;
    virtual ShareAccountInfo GetAccountInfo() = 0;
    virtual bool SetShareAccountPermission(int32_t accountPermission) = 0;
    virtual bool RegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) = 0;
    virtual bool UnRegisterCorvaneShareApiTrellisCallback(const sptr<PelagoTrellisServiceCallback>& callback) = 0;
    virtual bool RegisterCorvaneShareApiEvent(const std::string& eventName) = 0;
    virtual bool UnRegisterCorvaneShareApiEvent(const std::string& eventName) = 0;
    virtual bool NotifyInfo(const ShareDeviceInfo& device, int32_t infoReason) = 0;
    virtual bool ApplyUriPermission(const std::string& uriString) = 0;
    virtual bool SwingConfirm(const ShareDeviceInfo& device, int32_t choice) = 0;
    virtual bool IsAppForeground(const std::string& bundleName) = 0;
    virtual bool RegisterShareApiCallback(const sptr<PelagoApiCallback>& callback) = 0;
    virtual bool UnregisterShareApiCallback(const sptr<PelagoApiCallback>& callback) = 0;
    virtual bool RegisterShareEventCallback(int32_t eventId, int32_t cbId) = 0;
    virtual bool UnregisterShareEventCallback(int32_t eventId, int32_t cbId) = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_INTERFACES_I_TRELLIS_SERVICE_H
