#ifndef PELAGO_ENGINE_LOCAL_FILE_NAMES_H
#define PELAGO_ENGINE_LOCAL_FILE_NAMES_H

#include <cstddef>
#include <string>
#include <string_view>

#include "local_engine_limits.h"

// Names that peers chose. Pure functions, any thread.
namespace OHOS::Pelago::Local {

[[nodiscard]] bool IsUtf8(std::string_view text);
// At most `most` bytes of the text; what is not UTF-8 becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::string_view text, size_t most);

// Null for a name that may stand in a directory as it is; else why it may not. A name is refused, never changed: it is
// empty, longer than MAX_FILE_NAME, begins with a dot, holds a slash, a backslash or a control character (NUL
// included), or is not UTF-8.
[[nodiscard]] const char* FaultOfName(std::string_view name);

// The `n`th name to try for a file whose own is taken: "photo (2).jpg". The stem is cut, between characters, when
// that would be too long.
[[nodiscard]] std::string NumberedName(const std::string& name, unsigned n);

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_FILE_NAMES_H
