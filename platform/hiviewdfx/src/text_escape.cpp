#include "text_escape.h"

#include <cstdio>

namespace OHOS::Host {

namespace {
constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD

bool SteersText(uint32_t code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool separator = code == 0x2028 || code == 0x2029;
    const bool direction = code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                           (code >= 0x2066 && code <= 0x2069);
    return control || separator || direction;
}

// The letter behind the backslash, or NUL if the character has no short form.
char ShortForm(uint32_t code, EscapeStyle style)
{
    switch (code) {
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        case '\b':
            return style == EscapeStyle::JSON ? 'b' : '\0';
        case '\f':
            return style == EscapeStyle::JSON ? 'f' : '\0';
        case '"':
        case '\\':
            return static_cast<char>(code);
        default:
            return '\0';
    }
}
} // namespace

EscapeWalker::Character EscapeWalker::First(std::string_view text)
{
    const auto byte = [text](size_t at) { return static_cast<uint8_t>(text[at]); };
    const uint8_t lead = byte(0);
    Character character{lead, 1, lead < 0x80};
    if (lead < 0xC2 || lead > 0xF4) {
        return character;
    }
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > text.size()) {
        return character;
    }
    uint32_t code = lead & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return character;
        }
        code = (code << 6) | (byte(i) & 0x3FU);
    }
    static constexpr uint32_t LEAST[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < LEAST[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
        return character;
    }
    return {code, length, true};
}

bool EscapeWalker::StaysAsItIs(const Character& character) const
{
    const bool quoted = style_ == EscapeStyle::JSON && (character.code == '"' || character.code == '\\');
    return character.valid && !quoted && !SteersText(character.code);
}

std::string_view EscapeWalker::Escape(const Character& character)
{
    if (!character.valid && style_ == EscapeStyle::JSON) {
        return REPLACEMENT;
    }
    if (const char letter = ShortForm(character.code, style_); character.valid && letter != '\0') {
        escape_[0] = '\\';
        escape_[1] = letter;
        return {escape_, 2};
    }
    const bool byte = style_ == EscapeStyle::TERMINAL && (!character.valid || character.code < 0x80);
    const int size = std::snprintf(escape_, sizeof(escape_), byte ? "\\x%02x" : "\\u%04x", character.code & 0xFFFFU);
    return {escape_, static_cast<size_t>(size)};
}

std::string_view EscapeWalker::Next()
{
    size_t run = 0;
    while (run < rest_.size()) {
        if (const char c = rest_[run]; c >= ' ' && c <= '~' && c != '"' && c != '\\') {
            ++run; // nearly all there is
            continue;
        }
        const Character character = First(rest_.substr(run));
        if (!StaysAsItIs(character)) {
            if (run != 0) {
                break;
            }
            rest_.remove_prefix(character.length);
            return Escape(character);
        }
        run += character.length;
    }
    const std::string_view piece = rest_.substr(0, run);
    rest_.remove_prefix(run);
    return piece;
}

void AppendEscaped(std::string& out, std::string_view text, EscapeStyle style)
{
    EscapeWalker walker(text, style);
    for (std::string_view piece = walker.Next(); !piece.empty(); piece = walker.Next()) {
        out.append(piece);
    }
}

std::string EscapeForTerminal(std::string_view text)
{
    std::string out;
    AppendEscaped(out, text, EscapeStyle::TERMINAL);
    return out;
}

} // namespace OHOS::Host
