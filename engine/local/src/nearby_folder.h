#ifndef PELAGO_ENGINE_LOCAL_NEARBY_FOLDER_H
#define PELAGO_ENGINE_LOCAL_NEARBY_FOLDER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/unique_fd.h"
#include "local_engine.h"

namespace OHOS::Pelago::Local {

inline constexpr std::string_view DESCRIPTION_SUFFIX = ".json";
inline constexpr std::string_view SOCKET_SUFFIX = ".sock"; // for transfers, while the device is visible
inline constexpr std::string_view NOTE_SUFFIX = ".note";   // for notes, always

enum class ConnectResult : uint8_t {
    CONNECTED,
    REFUSED, // nobody listens any more, or nothing is there
    FULL,    // somebody listens and has too many waiting
    FAILED,  // another user's, or no descriptors
};

// The folder in which the devices of one user find each other: for each published device "<id>.sock" and "<id>.json",
// for each one that takes notes "<id>.note", and "lock" for whoever adds or removes files. Everything is named relative
// to the folder's descriptor. Belongs to the context, on the loop's thread after Open. Nothing here blocks for longer
// than the file system does.
class NearbyFolder {
public:
    // Makes the folder if need be. False, with the reason, when it is not a folder of our own user that we may write.
    [[nodiscard]] bool Open(const std::string& path, std::string& error);
    [[nodiscard]] int Descriptor() const
    {
        return folder_.Get();
    }

    [[nodiscard]] static bool IsDeviceId(std::string_view id);
    // The id in a description's file name; empty for any other name.
    [[nodiscard]] static std::string IdOf(std::string_view fileName);

    // Held for as long as the descriptor lives. Empty while somebody else holds it.
    [[nodiscard]] Host::UniqueFd TryLock() const;

    // With the lock held: serves a socket of the device in place of one that nobody serves.
    [[nodiscard]] bool Serve(
        const std::string& id, std::string_view suffix, Host::UniqueFd& listening, std::string& error) const;
    void RemoveSocket(const std::string& id, std::string_view suffix) const;
    // The same for transfers, then shows the device's description.
    [[nodiscard]] bool Publish(const LocalDevice& device, Host::UniqueFd& listening, std::string& error) const;
    // Puts a new description in the place of the old one.
    [[nodiscard]] bool WriteDescription(const LocalDevice& device, std::string& error) const;
    // Of a device that is ours.
    void Remove(const std::string& id) const;
    // Removes what a dead device left, unless the lock is taken or somebody serves its sockets: then another one does
    // it.
    void RemoveStale(const std::string& id) const;

    // `socket` does not block.
    [[nodiscard]] ConnectResult Connect(
        const std::string& id, Host::UniqueFd& socket, std::string_view suffix = SOCKET_SUFFIX) const;
    [[nodiscard]] std::vector<std::string> PublishedIds() const;
    // Nothing for a description that is missing, malformed or hostile, with the reason in `why`.
    [[nodiscard]] std::optional<LocalDevice> ReadDescription(const std::string& id, std::string& why) const;

private:
    Host::UniqueFd folder_;
};

// The process at the other end of a connected Unix socket; -1 when it is not of our own user.
[[nodiscard]] pid_t OwnProcessOf(int socket);

// At most `most` bytes of a regular file that is no link; nothing when it is something else, or longer.
[[nodiscard]] std::optional<std::string> ReadSmallFile(int folder, const char* name, size_t most);

[[nodiscard]] std::string DescriptionText(const LocalDevice& device);
// What a device tells of itself to one that taps it.
[[nodiscard]] std::string NudgeText(const LocalDevice& device);

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_NEARBY_FOLDER_H
