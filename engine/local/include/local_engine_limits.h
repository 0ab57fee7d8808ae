#ifndef PELAGO_ENGINE_LOCAL_ENGINE_LIMITS_H
#define PELAGO_ENGINE_LOCAL_ENGINE_LIMITS_H

#include <cstddef>
#include <cstdint>

// How much a peer of the local engine may say and hold, and how long it may take.
namespace OHOS::Pelago {

inline constexpr size_t MAX_LOCAL_DEVICE_ID = 64;
// How long a peer that has accepted, or was accepted, may let a transfer stand still.
inline constexpr int64_t STALL_LIMIT_MS = 30'000;
// How long a peer may leave a frame unread.
inline constexpr int64_t UNREAD_LIMIT_MS = 30'000;
// How long the device that a hand points at is looked for.
inline constexpr int64_t SWING_FIND_MS = 5'000;
// Bytes of a note.
inline constexpr size_t MAX_NOTE_BYTES = size_t{64} * 1024;

namespace Local {

// Of one socket of a device: connections that watch, or have said nothing yet; of them, those of one process.
inline constexpr size_t MAX_GUESTS = 256;
inline constexpr size_t MAX_GUESTS_OF_PROCESS = 64;
inline constexpr int64_t FIRST_FRAME_MS = 10'000;
inline constexpr int64_t UNFINISHED_FRAME_MS = 10'000; // from the first byte of a frame to its last
inline constexpr int64_t CLOSE_LIMIT_MS = 5'000;       // for a peer to take, or to send, the last words
inline constexpr int64_t NOTE_LIMIT_MS = 3'000;        // for the peer to take one
inline constexpr size_t MAX_WAITING_NOTES = 64; // that came and were not read, and that went and were not answered

inline constexpr size_t MAX_OFFER_BYTES = size_t{1024} * 1024;
inline constexpr size_t MAX_ENDING_BYTES = 1024;
inline constexpr size_t MAX_NOTE_FRAME_BYTES = size_t{65} * 1024;
inline constexpr size_t MAX_SHORT_TEXT = 1024; // bytes of an id, a device name, a package name, a hash
inline constexpr size_t MAX_FILE_NAME = 255;   // bytes; what Linux file systems hold
inline constexpr size_t MAX_NAME_ON_WIRE =
    size_t{64} * 1024; // far above what is taken: a long name is refused with its reason
inline constexpr unsigned MAX_NUMBERED_NAMES = 10'000; // "photo (2).jpg" and so on

inline constexpr size_t MAX_DESCRIPTION_BYTES = size_t{16} * 1024;
inline constexpr size_t MAX_CONTACTS_BYTES = size_t{8} * 1024 * 1024;
inline constexpr size_t MAX_AVATAR_BYTES = size_t{128} * 1024; // leaves room in the parcel of a report

} // namespace Local
} // namespace OHOS::Pelago

#endif // PELAGO_ENGINE_LOCAL_ENGINE_LIMITS_H
