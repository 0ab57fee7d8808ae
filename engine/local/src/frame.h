#ifndef PELAGO_ENGINE_LOCAL_FRAME_H
#define PELAGO_ENGINE_LOCAL_FRAME_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "local_engine_limits.h"

namespace OHOS::Pelago::Local {

// The messages of the channel between two engines. docs/engine.md tells the conversation.
enum class FrameType : uint8_t {
    WATCH = 1,  // to a published device: its end is the loss
    OFFER = 2,  // sender: an Offer
    SHOWN = 3,  // receiver: the listener has been told
    ACCEPT = 4, // receiver: come the bytes; carries the socket for them
    TAKEN = 5,  // receiver: uint64 bytes so far
    FINISH = 6, // sender: all bytes are on their way and the sources were what was offered
    ABORT = 7,  // sender: an Ending and a text
    END = 8,    // receiver: an Ending and a text; the last frame
    NOTE = 9,   // to a device's socket for notes: who, and what
};

inline constexpr uint8_t CHANNEL_VERSION = 1;
inline constexpr size_t FRAME_HEADER_BYTES = 8;

struct FrameHeader {
    FrameType type;
    uint32_t length; // of the body
};

// A frame with its header, ready to be written.
[[nodiscard]] std::string MakeFrame(FrameType type, std::string_view body = {});
// Reads FRAME_HEADER_BYTES. Nothing for a wrong mark or version, an unknown type, or a length that the type cannot
// have.
[[nodiscard]] std::optional<FrameHeader> ReadFrameHeader(std::string_view header);

// Bodies: integers little-endian, a text as its uint32 length and its bytes.
class BodyWriter {
public:
    BodyWriter& U32(uint32_t value);
    BodyWriter& I32(int32_t value);
    BodyWriter& U64(uint64_t value);
    BodyWriter& Text(std::string_view value);
    [[nodiscard]] const std::string& Bytes() const
    {
        return bytes_;
    }

private:
    std::string bytes_;
};

// Each operation gives false, with its output untouched, when the body ends too early or a text is longer than `most`.
class BodyReader {
public:
    explicit BodyReader(std::string_view bytes) : rest_(bytes)
    {}
    [[nodiscard]] bool U32(uint32_t& value);
    [[nodiscard]] bool I32(int32_t& value);
    [[nodiscard]] bool U64(uint64_t& value);
    [[nodiscard]] bool Text(std::string& value, size_t most);
    [[nodiscard]] bool AtEnd() const
    {
        return rest_.empty();
    }

private:
    template <typename T>
    [[nodiscard]] bool Number(T& value);

    std::string_view rest_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_FRAME_H
