#ifndef COLLAB_LOCAL_COLLAB_NOTES_H
#define COLLAB_LOCAL_COLLAB_NOTES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "local_collab.h"

// The texts of a tap, both those that stand-ins send to each other and those that the service reads and writes. Reading
// takes nothing on trust: what is missing, of a wrong type or too long makes the whole text nothing. Functions; any
// thread. docs/engine.md tells the notes.
namespace OHOS::Synfold {

inline constexpr int32_t NOTIFY_NO_APPLICATION = 1; // the service shows its error 1203
inline constexpr int32_t NOTIFY_BUSY = 3;           // its error 1221

// What the service replies to a request.
struct ServiceReply {
    uint32_t actionId = 0;
    std::string concurrentId;
    int32_t shareState = 2; // off, unless it says otherwise
    std::string custData;   // JSON of the peer's engine, or of a busy service
    bool busy = false;
};
[[nodiscard]] std::optional<ServiceReply> ReadServiceReply(const std::string& text);

enum class NoteKind : uint8_t {
    REQUEST, // of the side that taps
    NOTICE,  // of the same, when there is nothing to request
    REPLY,   // to a request
};

// Fields beside the kind stand only in the kinds that are named.
struct Note {
    NoteKind kind = NoteKind::REQUEST;
    uint32_t tap = 0;         // REQUEST, REPLY: the number of it at the side that taps
    std::string concurrentId; // REQUEST
    int32_t notifyInfo = 0;   // NOTICE
    CollabDevice from;        // REPLY, but for the id
    ServiceReply reply;       // REPLY
};
[[nodiscard]] std::string RequestNote(uint32_t tap, const std::string& concurrentId);
[[nodiscard]] std::string NoticeNote(int32_t notifyInfo);
// `serviceReply` is the service's own text.
[[nodiscard]] std::string ReplyNote(uint32_t tap, const CollabDevice& self, const std::string& serviceReply);
[[nodiscard]] std::optional<Note> ReadNote(const std::string& text);

// For OnKnockEvent, OnDeliver and OnPublishEvent.
[[nodiscard]] std::string KnockText(const std::string& peer);
[[nodiscard]] std::string RequestText(const std::string& concurrentId, uint32_t actionId);
[[nodiscard]] std::string NotifyText(int32_t notifyInfo);
[[nodiscard]] std::string PublishText(const std::string& peer, const Note& reply);

} // namespace OHOS::Synfold

#endif // COLLAB_LOCAL_COLLAB_NOTES_H
