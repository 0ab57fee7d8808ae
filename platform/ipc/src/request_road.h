#ifndef PLATFORM_IPC_REQUEST_ROAD_H
#define PLATFORM_IPC_REQUEST_ROAD_H

#include <cstdint>
#include <optional>

#include "caller.h"
#include "ipc_object_stub.h"
#include "message.h"

namespace OHOS::Ipc {

// The code by which a proxy asks its stub for the name of its interface; answered before any handler sees it.
inline constexpr uint32_t DESCRIPTOR_CODE = 0x5f444553;

// The one way to a handler: sets the caller's identity for its length, answers DESCRIPTOR_CODE, and catches what the
// handler throws. An empty caller is this process. Gives the handler's result or an IpcError.
[[nodiscard]] int RunRequest(IPCObjectStub& stub, const std::optional<Caller>& caller, uint32_t code,
    MessageParcel& data, MessageParcel& reply, MessageOption& option);

// What goes back for one request.
struct Answer {
    std::optional<MessageParcel> reply; // outlives the message, which points into it
    OutgoingMessage message;
};

// Runs a request that came over `link` and packs what is to go back: the handler's reply and result, or an empty reply
// with an IpcError; for a one-way request an empty one. NONE, or what the peer did wrong: then nothing ran.
[[nodiscard]] EndReason AnswerRequest(
    Link& link, IncomingMessage& request, const Host::IpcLimits& limits, Answer& answer);

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_REQUEST_ROAD_H
