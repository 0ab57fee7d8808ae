#include "request_road.h"

#include <exception>

#include "attachments.h"
#include "ipc_log.h"

namespace OHOS::Ipc {

namespace {

int RunOnTarget(Link& link, const MessageHead& head, MessageParcel& data, MessageParcel& reply)
{
    const sptr<IPCObjectStub> target = link.Objects().FindGiven(head.target);
    if (target == nullptr) {
        return IPC_NO_SUCH_OBJECT;
    }
    const bool oneWay = (head.flags & MessageHead::ONE_WAY) != 0;
    MessageOption option(oneWay ? MessageOption::TF_ASYNC : MessageOption::TF_SYNC);
    return RunRequest(*target, link.Peer(), head.code, data, reply, option);
}

// Packs an empty reply, which cannot fail.
void PackEmpty(Link& link, const Host::IpcLimits& limits, Answer& answer)
{
    answer.reply.emplace();
    answer.message = OutgoingMessage();
    (void)answer.message.Pack(link, *answer.reply, limits);
}

} // namespace

int RunRequest(IPCObjectStub& stub, const std::optional<Caller>& caller, uint32_t code, MessageParcel& data,
    MessageParcel& reply, MessageOption& option)
{
    const CallerScope scope(caller);
    if (code == DESCRIPTOR_CODE) {
        return reply.WriteString16(stub.GetObjectDescriptor()) ? ERR_NONE : IPC_UNKNOWN_ERROR;
    }
    try {
        return stub.OnRemoteRequest(code, data, reply, option);
    } catch (const std::exception& failure) {
        IPC_LOGE("the handler of request %{public}u threw: %{public}s", code, failure.what());
    } catch (...) {
        IPC_LOGE("the handler of request %{public}u threw", code);
    }
    return IPC_UNKNOWN_ERROR;
}

EndReason AnswerRequest(Link& link, IncomingMessage& request, const Host::IpcLimits& limits, Answer& answer)
{
    if (request.head.kind != static_cast<uint16_t>(MessageKind::REQUEST)) {
        return EndReason::BAD_KIND;
    }
    MessageParcel data;
    if (const EndReason wrong = request.Unpack(link, data); wrong != EndReason::NONE) {
        return wrong;
    }
    answer.reply.emplace();
    ParcelAccess::SetDestination(*answer.reply, link);
    int result = RunOnTarget(link, request.head, data, *answer.reply);
    if ((request.head.flags & MessageHead::ONE_WAY) != 0) {
        PackEmpty(link, limits, answer);
    } else if (const int error = answer.message.Pack(link, *answer.reply, limits); error != ERR_NONE) {
        PackEmpty(link, limits, answer);
        result = error;
    }
    answer.message.head.kind = static_cast<uint16_t>(MessageKind::REPLY);
    answer.message.head.code = static_cast<uint32_t>(result);
    answer.message.head.sequence = request.head.sequence;
    return EndReason::NONE;
}

} // namespace OHOS::Ipc
