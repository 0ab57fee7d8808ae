#include "file_names.h"

#include <cstdint>
#include <utility>

namespace OHOS::Pelago::Local {
namespace {

constexpr uint32_t LAST_CODE_POINT = 0x10FFFF;

bool IsContinuation(char c)
{
    return (static_cast<uint8_t>(c) & 0xC0) == 0x80;
}

// Length of the character that `text` begins with, 0 when it is none: overlong forms, surrogates and what is beyond
// Unicode included.
size_t Utf8Length(std::string_view text)
{
    auto first = static_cast<uint8_t>(text[0]);
    if (first < 0x80) {
        return 1;
    }
    size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    uint32_t point = first & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text[i])) {
            return 0;
        }
        point = point << 6 | (static_cast<uint8_t>(text[i]) & 0x3FU);
    }
    constexpr uint32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
    bool isSurrogate = point >= 0xD800 && point <= 0xDFFF;
    return point < LEAST[length] || point > LAST_CODE_POINT || isSurrogate ? 0 : length;
}

// The second of the two bytes of U+0080 to U+009F counts as well: some terminals obey those.
bool IsControl(char before, char c)
{
    bool isHigh = before == '\xC2' && static_cast<uint8_t>(c) >= 0x80 && static_cast<uint8_t>(c) < 0xA0;
    return static_cast<uint8_t>(c) < 0x20 || c == 0x7F || isHigh;
}

} // namespace

bool IsUtf8(std::string_view text)
{
    while (!text.empty()) {
        size_t length = Utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string ToUtf8(std::string_view text, size_t most)
{
    constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";
    std::string out;
    while (!text.empty()) {
        size_t length = Utf8Length(text);
        std::string_view next = length == 0 ? REPLACEMENT : text.substr(0, length);
        if (out.size() + next.size() > most) {
            break;
        }
        out += next;
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

const char* FaultOfName(std::string_view name)
{
    if (name.empty()) {
        return "a file has no name";
    }
    if (name.size() > MAX_FILE_NAME) {
        return "a file's name is longer than 255 bytes";
    }
    if (name[0] == '.') {
        return "a file's name begins with a dot";
    }
    char before = '\0';
    for (char c : name) {
        if (c == '/' || c == '\\') {
            return "a file's name holds a separator";
        }
        if (IsControl(std::exchange(before, c), c)) {
            return "a file's name holds a control character";
        }
    }
    return IsUtf8(name) ? nullptr : "a file's name is not UTF-8";
}

std::string NumberedName(const std::string& name, unsigned n)
{
    size_t dot = name.rfind('.');
    bool hasExtension = dot != std::string::npos && dot > 0 && name.size() - dot <= MAX_FILE_NAME / 2;
    std::string stem = hasExtension ? name.substr(0, dot) : name;
    std::string end = " (" + std::to_string(n) + ")" + name.substr(stem.size());
    if (stem.size() + end.size() > MAX_FILE_NAME) {
        size_t cut = MAX_FILE_NAME - end.size();
        while (cut > 0 && IsContinuation(stem[cut])) {
            --cut;
        }
        stem.resize(cut);
    }
    return stem + end;
}

} // namespace OHOS::Pelago::Local
