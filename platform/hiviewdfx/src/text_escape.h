#ifndef PLATFORM_HIVIEWDFX_TEXT_ESCAPE_H
#define PLATFORM_HIVIEWDFX_TEXT_ESCAPE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hilog/host_text.h"

namespace OHOS::Host {

// Walks through a text in pieces that are safe for the style: runs that stay as they are, and single characters in
// their escaped form. Owns nothing but the last escape; one thread.
class EscapeWalker {
public:
    EscapeWalker(std::string_view text, EscapeStyle style) : rest_(text), style_(style)
    {}

    // The next piece, valid until the next call; empty at the end.
    std::string_view Next();

private:
    // One character in UTF-8, or one byte that is none.
    struct Character {
        uint32_t code = 0;
        size_t length = 1;
        bool valid = false;
    };
    static Character First(std::string_view text);
    bool StaysAsItIs(const Character& character) const;
    std::string_view Escape(const Character& character);

    std::string_view rest_;
    EscapeStyle style_;
    char escape_[16] = {};
};

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_TEXT_ESCAPE_H
