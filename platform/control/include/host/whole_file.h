#ifndef PLATFORM_CONTROL_HOST_WHOLE_FILE_H
#define PLATFORM_CONTROL_HOST_WHOLE_FILE_H

#include <optional>
#include <string>

// Small files that are read and written as one. Any thread; two writers of one file keep each other out themselves.
namespace OHOS::Host {

// What a written file is to survive. To outlive the machine it waits for the disk.
enum class Outlives {
    PROCESS,
    MACHINE
};

// All bytes of the file; nothing when it cannot be opened.
[[nodiscard]] std::optional<std::string> ReadWhole(const std::string& path);

// Puts the text in place of the file, which holds the old text until the new one is complete. The reason when that
// fails, empty when it is done; after a failure the old text stands.
[[nodiscard]] std::string WriteWhole(const std::string& path, const std::string& text, Outlives what);

} // namespace OHOS::Host

#endif // PLATFORM_CONTROL_HOST_WHOLE_FILE_H
