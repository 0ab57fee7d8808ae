#ifndef PELAGO_CORE_CALLBACK_TRANSACTION_H
#define PELAGO_CORE_CALLBACK_TRANSACTION_H

#include "pelago_trellis_service_callback.h"
#include "remote_call.h"
#include "share_log.h"

namespace OHOS::Pelago {

// A field of a call to a client, with what the log says when the parcel does not take it.
template <typename Value>
struct CallbackField {
    const Value& value;
    const char* failure;
};
template <typename Value>
CallbackField(const Value&, const char*) -> CallbackField<Value>;

template <typename Value>
[[nodiscard]] bool PutCallbackField(MessageParcel& data, const CallbackField<Value>& field)
{
    if (!Wire::Put(data, field.value)) {
        SHARE_LOGE(Log::PROXY, "%{public}s", field.failure);
        return false;
    }
    return true;
}

// The road of every call to a client: remote, token, fields in order, one synchronous transaction whose reply nobody
// reads. `subject` begins the line about a transaction that failed. The first failure is logged and ends the call. True
// when there was a transaction, whatever came of it. Any thread; waits for the client at most CALLBACK_WAIT_SECONDS.
template <typename Code, typename... Values>
bool SendCallback(const sptr<IRemoteObject>& remote, const std::u16string& token, Code code, const char* subject,
    const CallbackField<Values>&... fields)
{
    if (remote == nullptr) {
        SHARE_LOGE(Log::PROXY, "Remote() return nullptr.");
        return false;
    }
    MessageParcel data;
    if (!data.WriteInterfaceToken(token)) {
        SHARE_LOGE(Log::PROXY, "Write descriptor failed");
        return false;
    }
    if (!(PutCallbackField(data, fields) && ... && true)) {
        return false;
    }
    MessageParcel reply;
    MessageOption option(MessageOption::TF_SYNC, CALLBACK_WAIT_SECONDS);
    int32_t result = remote->SendRequest(static_cast<uint32_t>(code), data, reply, option);
    if (result != 0) {
        SHARE_LOGE(Log::PROXY, "%{public}s is failed, error code: %{public}d", subject, result);
    }
    return true;
}

} // namespace OHOS::Pelago

#endif // PELAGO_CORE_CALLBACK_TRANSACTION_H
