#ifndef PLATFORM_HIVIEWDFX_LOG_FORMAT_H
#define PLATFORM_HIVIEWDFX_LOG_FORMAT_H

#include <cstdarg>
#include <cstddef>
#include <string_view>

#include "hilog/host_log.h"

namespace OHOS::Host {

// The text of one line while it is made: on the stack, cut at a limit that lets a whole printed line go into a pipe at
// once. One thread.
class LogText {
public:
    static constexpr size_t LIMIT = LOG_LINE_BYTES;

    // What does not fit is cut at a character's end and marked by "...".
    void Append(std::string_view piece);
    // The same for a text from an argument: it cannot steer the terminal or break the line.
    void AppendEscaped(std::string_view text);

    std::string_view View() const
    {
        return {text_, size_};
    }

private:
    static constexpr std::string_view CUT = "...";

    size_t size_ = 0;
    bool cut_ = false;
    char text_[LIMIT]; // only the first size_ bytes are anything
};

// Appends the text of a format whose arguments have been checked against it.
void FormatLogText(LogText& out, const char* format, va_list arguments);

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_LOG_FORMAT_H
