#ifndef PLATFORM_IPC_WIRE_H
#define PLATFORM_IPC_WIRE_H

#include <cstddef>
#include <cstdint>

#include "host/ipc_transport.h"

// The bytes between two processes: docs/ipc.md in the form of structures. Byte order and alignment are the machine's,
// which both ends share.
namespace OHOS::Ipc {

inline constexpr uint32_t WIRE_VERSION = 1;

// On a lane: a head, `objects` records, then the parcel's bytes up to `size`.
enum class MessageKind : uint16_t {
    REQUEST = 1,
    REPLY = 2,
};

struct MessageHead {
    static constexpr uint32_t MAGIC = 0x4d474c50; // "PLGM"
    static constexpr uint16_t ONE_WAY = 1;        // nobody waits for the reply
    static constexpr size_t MOST = UINT16_MAX;    // objects, and descriptors, that can be said

    uint32_t magic = MAGIC;
    uint32_t size = 0; // of the whole message
    uint16_t kind = 0;
    uint16_t flags = 0;
    uint16_t objects = 0;
    uint16_t descriptors = 0;
    uint64_t target = 0;   // request: number of the object; reply: 0
    uint32_t code = 0;     // request: what is asked for; reply: the result, an int32
    uint32_t sequence = 0; // of the request on its lane; the reply repeats it
};
static_assert(sizeof(MessageHead) == 32 && offsetof(MessageHead, target) == 16);

enum class ObjectOwner : uint32_t {
    SENDER = 1,   // a stub of the sender: the receiver gets a proxy
    RECEIVER = 2, // a stub of the receiver, who gets it back
};

struct ObjectRecord {
    uint64_t id = 0;
    uint32_t owner = 0;
    uint32_t reserved = 0;
};
static_assert(sizeof(ObjectRecord) == 16);

// On the control socket: messages of one size.
enum class ControlKind : uint32_t {
    HELLO = 1,   // client, first: `number` is the version, and the client's limits
    WELCOME = 2, // server, in answer: `id` is the root object, `number` the version, and the server's limits
    LANE = 3,    // with one descriptor: the sender will call through the other end of it
    RELEASE = 4, // `id` had arrived `number` times in a proxy that has gone
    GOODBYE = 5, // `number` is the reason why the sender ends the connection
};

struct ControlMessage {
    static constexpr uint32_t MAGIC = 0x43474c50; // "PLGC"
    static constexpr uint32_t LEAST_MESSAGE_BYTES = 4096;

    uint32_t magic = MAGIC;
    uint32_t kind = 0;
    uint64_t id = 0;
    uint64_t number = 0;
    uint32_t messageBytes = 0; // these four in HELLO and WELCOME alone
    uint32_t descriptors = 0;
    uint32_t objects = 0;
    uint32_t lanes = 0;

    // HELLO or WELCOME with what this side can take.
    [[nodiscard]] static ControlMessage Greeting(ControlKind kind, const Host::IpcLimits& limits);
    // Whether a greeting leaves room to talk at all.
    [[nodiscard]] bool LeavesRoom() const
    {
        return messageBytes >= LEAST_MESSAGE_BYTES && objects > 0 && lanes > 0;
    }
};
static_assert(sizeof(ControlMessage) == 40);

// Why a connection is ended by the side that says so.
enum class EndReason : uint32_t {
    NONE = 0,   // the other side has gone
    CLOSED = 1, // nothing is shared any more, or the process stops
    BAD_MAGIC = 2,
    BAD_VERSION = 3,
    BAD_SIZE = 4,
    BAD_KIND = 5,
    BAD_OBJECT = 6,
    BAD_RELEASE = 7,
    BAD_LANE = 8,
    SURPLUS_DESCRIPTORS = 9,
    TOO_MANY_DESCRIPTORS = 10,
    TOO_MANY_OBJECTS = 11,
    TOO_MANY_LANES = 12,
    TOO_MANY_CONNECTIONS = 13,
    TOO_MANY_QUEUED_BYTES = 14,
    UNFINISHED_MESSAGE = 15,
    PEER_DOES_NOT_READ = 16,
    NO_CREDENTIALS = 17,
    OUT_OF_DESCRIPTORS = 18,
    TOO_MUCH_UNFINISHED = 19,
    TOO_MANY_CONNECTIONS_OF_PROCESS = 20,
    COUNT,
};
// For the log and for errors.
[[nodiscard]] const char* EndReasonText(EndReason reason);
// CLOSED for a number that is none of ours.
[[nodiscard]] EndReason EndReasonOf(uint64_t number);

// More than one socket message takes is sent in several.
inline constexpr size_t DESCRIPTORS_PER_SOCKET_MESSAGE = 253;

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_WIRE_H
