#include "wire.h"

#include <array>

namespace OHOS::Ipc {

namespace {

constexpr std::array<const char*, static_cast<size_t>(EndReason::COUNT)> TEXTS = {
    "the process has gone",
    "closed",
    "a message does not begin as one",
    "another version of the protocol",
    "a message whose sizes cannot be true",
    "a message of a kind that does not belong there",
    "a message names an object in a way that does not exist",
    "a release of more than was given",
    "a lane that is no stream socket",
    "descriptors that no message announced",
    "too many descriptors in one message",
    "too many objects",
    "too many lanes",
    "too many connections of this user",
    "too many bytes wait to be taken",
    "a message was begun and not finished in time",
    "a message was not taken in time",
    "the peer has no identity here",
    "no more descriptors may be opened",
    "too much was begun and not finished",
    "too many connections of this process",
};

} // namespace

ControlMessage ControlMessage::Greeting(ControlKind kind, const Host::IpcLimits& limits)
{
    ControlMessage greeting;
    greeting.kind = static_cast<uint32_t>(kind);
    greeting.number = WIRE_VERSION;
    greeting.messageBytes = static_cast<uint32_t>(limits.messageBytes);
    greeting.descriptors = static_cast<uint32_t>(limits.descriptorsPerMessage);
    greeting.objects = static_cast<uint32_t>(limits.objectsPerConnection);
    greeting.lanes = static_cast<uint32_t>(limits.lanesPerConnection);
    return greeting;
}

const char* EndReasonText(EndReason reason)
{
    static_assert(TEXTS.back() != nullptr);
    return TEXTS[static_cast<size_t>(reason)];
}

EndReason EndReasonOf(uint64_t number)
{
    return number < TEXTS.size() ? static_cast<EndReason>(number) : EndReason::CLOSED;
}

} // namespace OHOS::Ipc
