#include "text_escape.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace OHOS::Host {

namespace {
constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD

struct CodeRange {
    uint32_t first;
    uint32_t last;
};

// Beyond ASCII. The two joiners that words and emoji are made of, and the variants of emoji, stay as they are.
constexpr CodeRange STEERING[] = {
    {0x80, 0x9F},       // controls
    {0xAD, 0xAD},       // what nobody sees, so that two names look like one: soft hyphen,
    {0x034F, 0x034F},   // grapheme joiner,
    {0x061C, 0x061C},   // (a mark of direction)
    {0x115F, 0x1160},   // fillers,
    {0x17B4, 0x17B5},   // vowels that are not written,
    {0x180E, 0x180E},   // vowel separator,
    {0x200B, 0x200B},   // zero width space
    {0x200E, 0x200F},   // marks of direction
    {0x2028, 0x202E},   // separators of lines and paragraphs, marks of direction
    {0x2060, 0x206F},   // invisible operators, marks of direction
    {0x3164, 0x3164},   // filler
    {0xFEFF, 0xFEFF},   // byte order mark
    {0xFFA0, 0xFFA0},   // filler
    {0xFFF0, 0xFFFB},   // annotations, and what is kept free for more that is not seen
    {0x1BCA0, 0x1BCA3}, // shorthand controls
    {0x1D173, 0x1D17A}, // musical controls
    {0xE0000, 0xE0FFF}, // tags
};

bool SteersText(uint32_t code)
{
    const auto holds = [code](const CodeRange& range) { return code >= range.first && code <= range.last; };
    return code < 0x20 || code == 0x7F || (code > 0x7F && std::any_of(std::begin(STEERING), std::end(STEERING), holds));
}

// Whether one of eight characters is not plain: a control, a quote, a backslash, or beyond ASCII. Each term marks the
// bytes that it is about by their highest bit; a mark too many, above a right one, does no harm.
bool HasOtherThanPlain(const char* eight)
{
    constexpr uint64_t EACH = 0x0101010101010101U;
    uint64_t word = 0;
    std::memcpy(&word, eight, sizeof(word));
    const auto isZero = [](uint64_t bytes) { return (bytes - EACH) & ~bytes; };
    const uint64_t others = word | ((word - EACH * ' ') & ~word) | isZero(word ^ (EACH * 0x7F)) |
                            isZero(word ^ (EACH * '"')) | isZero(word ^ (EACH * '\\'));
    return (others & (EACH * 0x80)) != 0;
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
    const bool terminal = style_ == EscapeStyle::TERMINAL;
    const uint32_t code = character.code;
    int size = 0;
    if (code > 0xFFFF && !terminal) { // JSON writes these in two halves
        const uint32_t high = 0xD800U + ((code - 0x10000U) >> 10);
        size = std::snprintf(escape_, sizeof(escape_), "\\u%04x\\u%04x", high, 0xDC00U + (code & 0x3FFU));
    } else {
        const bool byte = terminal && (!character.valid || code < 0x80);
        size = std::snprintf(escape_, sizeof(escape_), byte ? "\\x%02x" : code > 0xFFFF ? "\\U%08x" : "\\u%04x", code);
    }
    return {escape_, static_cast<size_t>(size)};
}

std::string_view EscapeWalker::Next()
{
    size_t run = 0;
    while (run < rest_.size()) {
        if (rest_.size() - run >= 8 && !HasOtherThanPlain(rest_.data() + run)) {
            run += 8; // names and texts of the log as a rule: every line passes here
            continue;
        }
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
