#ifndef PELAGO_CORE_SHARE_MANAGER_SRV_STUB_H
#define PELAGO_CORE_SHARE_MANAGER_SRV_STUB_H

#include <array>
#include <string>

#include "i_trellis_service.h"
#include "iremote_stub.h"
#include "message_option.h"
#include "message_parcel.h"

namespace OHOS::Pelago {

// The road of a client's request to the service: token, right, arguments, operation, reply. Base of TrellisService,
// which implements the operations. Has no state; requests run on IPC threads, several at a time, and all order among
// them is the business of the operations. Knows callers only by their rights: not by uid, bundle or name.
class ShareManagerSrvStub : public IRemoteStub<ITrellisService> {
public:
    ShareManagerSrvStub();

    // Answers one request. 0 when the operation ran, its own outcome being in the reply, otherwise a
    // TrellisServiceError or the platform's answer to an unknown code.
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

    // What a caller must hold for a code. The two permissions do not include each other.
    enum class Right {
        SWITCH,
        CAPABILITY,
        NONE,
    };

    // One row per code, in the order of the codes.
    struct Row {
        TrellisServiceCode code;
        int32_t (ShareManagerSrvStub::*handler)(MessageParcel& data, MessageParcel& reply);
        Right right;
        const char* name;
    };
    static const std::array<Row, TRELLIS_SERVICE_CODE_COUNT> funcMap_;

    // Writes `text` as its length with the terminating NUL, then the raw bytes: the way of a string of any length. An
    // empty text is the length alone. False when the reply takes no more.
    [[nodiscard]] static bool WriteBigString(MessageParcel& reply, const std::string& text);

private:
    static const Row* FindRow(uint32_t code);
    static bool IsOuterInterface(uint32_t code);
    static int32_t CheckRight(uint32_t code);

    int32_t HandleSetShareEnable(MessageParcel& data, MessageParcel& reply);
    int32_t HandleSetShareEnableWithConfirm(MessageParcel& data, MessageParcel& reply);
    int32_t HandleIsEnabled(MessageParcel& data, MessageParcel& reply);
    int32_t HandleGetEnableState(MessageParcel& data, MessageParcel& reply);
    int32_t HandleRegisterTrellisCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleUnRegisterTrellisCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleStartDiscovery(MessageParcel& data, MessageParcel& reply);
    int32_t HandleStopDiscovery(MessageParcel& data, MessageParcel& reply);
    int32_t HandleStartConnect(MessageParcel& data, MessageParcel& reply);
    int32_t HandleStopConnect(MessageParcel& data, MessageParcel& reply);
    int32_t HandleGetSendingUserList(MessageParcel& data, MessageParcel& reply);
    int32_t HandlePrepareSend(MessageParcel& data, MessageParcel& reply);
    int32_t HandleSend(MessageParcel& data, MessageParcel& reply);
    int32_t HandleSendBytes(MessageParcel& data, MessageParcel& reply);
    int32_t HandleSendFile(MessageParcel& data, MessageParcel& reply);
    int32_t HandleCancel(MessageParcel& data, MessageParcel& reply);
    int32_t HandleRegisterSenderActionCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleUnRegisterSenderActionCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleGetReceiverActionCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleGetPreviewData(MessageParcel& data, MessageParcel& reply);
    int32_t HandleGetAllUserList(MessageParcel& data, MessageParcel& reply);
    int32_t HandleGetAccountInfo(MessageParcel& data, MessageParcel& reply);
    int32_t HandleSetShareAccountPermission(MessageParcel& data, MessageParcel& reply);
    int32_t HandleRegisterCorvaneShareApiTrellisCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleUnRegisterCorvaneShareApiTrellisCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleRegisterCorvaneShareApiEvent(MessageParcel& data, MessageParcel& reply);
    int32_t HandleUnRegisterCorvaneShareApiEvent(MessageParcel& data, MessageParcel& reply);
    int32_t HandleNotifyInfo(MessageParcel& data, MessageParcel& reply);
    int32_t HandleApplyUriPermission(MessageParcel& data, MessageParcel& reply);
    int32_t HandleSwingConfirm(MessageParcel& data, MessageParcel& reply);
    int32_t HandleIsAppForeground(MessageParcel& data, MessageParcel& reply);
    int32_t HandleRegisterShareApiCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleUnregisterShareApiCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleRegisterShareEventCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleUnregisterShareEventCallback(MessageParcel& data, MessageParcel& reply);
    int32_t HandleIsFocusPidsRegisterSwing(MessageParcel& data, MessageParcel& reply);
};

} // namespace OHOS::Pelago

#endif // PELAGO_CORE_SHARE_MANAGER_SRV_STUB_H
