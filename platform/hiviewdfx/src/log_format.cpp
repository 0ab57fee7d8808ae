#include "log_format.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "hilog/log.h"
#include "text_escape.h"

namespace OHOS::Host {

using HiviewDFX::HiLogKind;
using HiviewDFX::HiLogSpecifier;

namespace {

constexpr std::string_view HIDDEN = "<private>";

// va_list may be an array, which does not go by reference.
struct Arguments {
    va_list list;
};

// The specifier as printf writes it, for values with flags, width or precision and for the rarer conversions.
class PrintfFormat {
public:
    PrintfFormat(const HiLogSpecifier& spec, std::string_view length)
    {
        std::string_view options(spec.options, static_cast<size_t>(spec.optionsEnd - spec.options));
        options = options.substr(0, MAX_OPTIONS);
        char* end = std::copy(options.begin(), options.end(), text_ + 1);
        end = std::copy(length.begin(), length.end(), end);
        *end++ = spec.conversion;
        *end = '\0';
    }
    template <typename Value>
    void Print(LogText& out, Value value) const
    {
        char printed[128];
        const int size = std::snprintf(printed, sizeof(printed), text_, value);
        if (size > 0) {
            out.Append({printed, std::min(static_cast<size_t>(size), sizeof(printed) - 1)});
        }
    }

private:
    static constexpr size_t MAX_OPTIONS = 16;
    char text_[MAX_OPTIONS + 8] = "%";
};

bool IsSigned(const HiLogSpecifier& spec)
{
    return spec.conversion == 'd' || spec.conversion == 'i';
}

// `bits` is the value, widened with its sign if the specifier shows one.
void AppendInteger(LogText& out, const HiLogSpecifier& spec, uint64_t bits)
{
    if (spec.options != spec.optionsEnd || (!IsSigned(spec) && spec.conversion != 'u')) {
        PrintfFormat(spec, "ll").Print(out, bits);
        return;
    }
    char digits[24];
    const auto end = IsSigned(spec) ? std::to_chars(digits, std::end(digits), static_cast<int64_t>(bits))
                                    : std::to_chars(digits, std::end(digits), bits);
    out.Append({digits, static_cast<size_t>(end.ptr - digits)});
}

void AppendInt32(LogText& out, const HiLogSpecifier& spec, int value)
{
    if (spec.conversion == 'c') {
        const char character = static_cast<char>(value);
        out.AppendEscaped({&character, 1});
        return;
    }
    AppendInteger(out, spec, IsSigned(spec) ? static_cast<uint64_t>(value) : static_cast<unsigned int>(value));
}

// Takes the value from the list in any case, since the next one stands behind it.
void AppendArgument(LogText& out, const HiLogSpecifier& spec, Arguments& arguments)
{
    switch (spec.kind) {
        case HiLogKind::NONE:
            out.Append("%");
            break;
        case HiLogKind::INT32:
            AppendInt32(out, spec, va_arg(arguments.list, int));
            break;
        case HiLogKind::INT64:
            AppendInteger(out, spec, va_arg(arguments.list, uint64_t));
            break;
        case HiLogKind::DOUBLE:
            PrintfFormat(spec, "").Print(out, va_arg(arguments.list, double));
            break;
        case HiLogKind::STRING: {
            const char* text = va_arg(arguments.list, const char*);
            out.AppendEscaped(text == nullptr ? "(null)" : text);
            break;
        }
        case HiLogKind::POINTER:
            PrintfFormat(spec, "").Print(out, va_arg(arguments.list, void*));
            break;
    }
}

void SkipArgument(HiLogKind kind, Arguments& arguments)
{
    switch (kind) {
        case HiLogKind::NONE:
            break;
        case HiLogKind::INT32: // NOLINT(bugprone-branch-clone): each takes another type
            (void)va_arg(arguments.list, int);
            break;
        case HiLogKind::INT64:
            (void)va_arg(arguments.list, uint64_t);
            break;
        case HiLogKind::DOUBLE:
            (void)va_arg(arguments.list, double);
            break;
        case HiLogKind::STRING:
        case HiLogKind::POINTER:
            (void)va_arg(arguments.list, void*);
            break;
    }
}
} // namespace

void LogText::Append(std::string_view piece)
{
    if (cut_) {
        return;
    }
    const size_t room = LIMIT - CUT.size() - size_;
    if (piece.size() > room) {
        size_t end = room;
        while (end > 0 && (static_cast<unsigned char>(piece[end]) & 0xC0) == 0x80) {
            --end;
        }
        piece = piece.substr(0, end);
        cut_ = true;
    }
    size_ += piece.copy(text_ + size_, piece.size());
    if (cut_) {
        size_ += CUT.copy(text_ + size_, CUT.size());
    }
}

void LogText::AppendEscaped(std::string_view text)
{
    EscapeWalker walker(text, EscapeStyle::TERMINAL);
    for (std::string_view piece = walker.Next(); !piece.empty() && !cut_; piece = walker.Next()) {
        Append(piece);
    }
}

void FormatLogText(LogText& out, const char* format, va_list list)
{
    Arguments arguments;
    va_copy(arguments.list, list);
    while (const char* percent = std::strchr(format, '%')) {
        out.Append({format, static_cast<size_t>(percent - format)});
        const HiLogSpecifier spec = HiviewDFX::HiLogParse(percent + 1);
        format = percent;
        if (!spec.known) {
            break; // what the arguments are from here on cannot be known
        }
        if (spec.shown || spec.kind == HiLogKind::NONE) {
            AppendArgument(out, spec, arguments);
        } else {
            SkipArgument(spec.kind, arguments);
            out.Append(HIDDEN);
        }
        format = spec.end;
    }
    va_end(arguments.list);
    out.Append(format);
}

} // namespace OHOS::Host
