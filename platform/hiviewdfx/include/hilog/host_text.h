#ifndef PLATFORM_HIVIEWDFX_HILOG_HOST_TEXT_H
#define PLATFORM_HIVIEWDFX_HILOG_HOST_TEXT_H

#include <string>
#include <string_view>

// Texts that others chose (names of peers and files) on their way to people and parsers. Pure functions, any thread.
namespace OHOS::Host {

enum class EscapeStyle {
    TERMINAL, // what would steer a terminal or is no UTF-8 becomes \n, \x1b, \u202e; everything else stays
    JSON,     // the inside of a JSON string; what is no UTF-8 becomes U+FFFD
};

// In both styles: control characters, the marks that turn the direction of writing, line and paragraph separators, and
// characters that cannot be seen, with which one name passes for another, but for the joiners and variants that words
// and emoji are made of. JSON loses nothing by it.
void AppendEscaped(std::string& out, std::string_view text, EscapeStyle style);

[[nodiscard]] std::string EscapeForTerminal(std::string_view text);

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_HILOG_HOST_TEXT_H
