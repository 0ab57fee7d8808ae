#include "gesture/share_api_callback_proxy.h"

#include "core/callback_transaction.h"

namespace OHOS::Pelago {
namespace {

BrokerDelegator<ShareApiCallbackProxy> g_delegator;

constexpr const char* SUBJECT = "SendRequest";

} // namespace

ShareApiCallbackProxy::ShareApiCallbackProxy(const sptr<IRemoteObject>& object)
    : IRemoteProxy<PelagoApiCallback>(object)
{}

// Both integers fail in the same words.
void ShareApiCallbackProxy::OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device)
{
    SendCallback(Remote(), GetDescriptor(), PelagoApiCallbackCode::ON_SHARE_EVENT_OCCURRED, SUBJECT,
        CallbackField{eventId, "WriteInt32 failed"}, CallbackField{cbId, "WriteInt32 failed"},
        CallbackField{device, "Write ShareDeviceInfo failed"});
}

} // namespace OHOS::Pelago
