#include "frame.h"

#include <algorithm>

namespace OHOS::Pelago::Local {
namespace {

constexpr char MARK[2] = {'P', 'l'};

struct FrameRow {
    FrameType type;
    uint32_t least; // bytes of the body
    uint32_t most;
};
constexpr FrameRow ROWS[] = {
    {FrameType::WATCH, 0, 0},
    {FrameType::OFFER, 1, MAX_OFFER_BYTES},
    {FrameType::SHOWN, 0, 0},
    {FrameType::ACCEPT, 0, 0},
    {FrameType::TAKEN, 8, 8},
    {FrameType::FINISH, 0, 0},
    {FrameType::ABORT, 8, MAX_ENDING_BYTES},
    {FrameType::END, 8, MAX_ENDING_BYTES},
    {FrameType::NOTE, 8, MAX_NOTE_FRAME_BYTES},
};

template <typename T>
void Append(std::string& bytes, T value)
{
    for (size_t i = 0; i < sizeof(T); ++i) {
        bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
    }
}

template <typename T>
T Parse(std::string_view bytes)
{
    T value = 0;
    for (size_t i = 0; i < sizeof(T); ++i) {
        value |= static_cast<T>(static_cast<T>(static_cast<uint8_t>(bytes[i])) << (8 * i));
    }
    return value;
}

} // namespace

std::string MakeFrame(FrameType type, std::string_view body)
{
    std::string frame(MARK, sizeof(MARK));
    frame.push_back(static_cast<char>(CHANNEL_VERSION));
    frame.push_back(static_cast<char>(type));
    Append(frame, static_cast<uint32_t>(body.size()));
    return frame.append(body);
}

std::optional<FrameHeader> ReadFrameHeader(std::string_view header)
{
    if (header[0] != MARK[0] || header[1] != MARK[1] || static_cast<uint8_t>(header[2]) != CHANNEL_VERSION) {
        return std::nullopt;
    }
    auto type = static_cast<uint8_t>(header[3]);
    auto length = Parse<uint32_t>(header.substr(4));
    for (const FrameRow& row : ROWS) {
        if (static_cast<uint8_t>(row.type) == type && length >= row.least && length <= row.most) {
            return FrameHeader{row.type, length};
        }
    }
    return std::nullopt;
}

BodyWriter& BodyWriter::U32(uint32_t value)
{
    Append(bytes_, value);
    return *this;
}

BodyWriter& BodyWriter::I32(int32_t value)
{
    return U32(static_cast<uint32_t>(value));
}

BodyWriter& BodyWriter::U64(uint64_t value)
{
    Append(bytes_, value);
    return *this;
}

BodyWriter& BodyWriter::Text(std::string_view value)
{
    U32(static_cast<uint32_t>(value.size()));
    bytes_.append(value);
    return *this;
}

template <typename T>
bool BodyReader::Number(T& value)
{
    if (rest_.size() < sizeof(T)) {
        return false;
    }
    value = Parse<T>(rest_);
    rest_.remove_prefix(sizeof(T));
    return true;
}

bool BodyReader::U32(uint32_t& value)
{
    return Number(value);
}

bool BodyReader::I32(int32_t& value)
{
    uint32_t bits = 0;
    if (!Number(bits)) {
        return false;
    }
    value = static_cast<int32_t>(bits);
    return true;
}

bool BodyReader::U64(uint64_t& value)
{
    return Number(value);
}

bool BodyReader::Text(std::string& value, size_t most)
{
    BodyReader ahead = *this;
    uint32_t length = 0;
    if (!ahead.U32(length) || length > most || length > ahead.rest_.size()) {
        return false;
    }
    value = ahead.rest_.substr(0, length);
    rest_ = ahead.rest_.substr(length);
    return true;
}

} // namespace OHOS::Pelago::Local
