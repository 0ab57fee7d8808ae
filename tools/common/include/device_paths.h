#ifndef PELAGO_TOOLS_DEVICE_PATHS_H
#define PELAGO_TOOLS_DEVICE_PATHS_H

#include <optional>
#include <string>
#include <vector>

namespace OHOS::Pelago::Tools {

// Who a device is, as its folder remembers it from the first start on.
struct DeviceCard {
    std::string id;      // names its folders: [a-z0-9-], at most MAX_DEVICE_ID
    std::string name;    // as its owner typed it
    std::string type;    // "phone", "tablet", ...
    std::string udid;    // 64 hexadecimal digits
    std::string account; // hash of the account it is signed in with; empty: none
};

// Short, since the sockets' paths have little room.
inline constexpr size_t MAX_DEVICE_ID = 32;

// The folders of one device and those that all devices of a user share. They follow the XDG base directories;
// $PELAGO_HOME, if set, holds everything. Plain values and calls of the file system; any thread.
class DevicePaths {
public:
    explicit DevicePaths(std::string id);

    const std::string& Id() const
    {
        return id_;
    }
    std::string State() const;   // what outlives the daemon: settings, switch files, telemetry
    std::string Runtime() const; // its sockets
    std::string Card() const;    // who it is
    std::string Lock() const;    // held by its daemon
    std::string Socket(const std::string& token) const;
    static std::string Nearby();   // where devices find each other
    static std::string Contacts(); // whom accounts belong to
    static std::string StateHome();
    static std::string RuntimeHome();

    // Makes the folders, for this user alone. The reason when that fails, empty when it is done.
    std::string Create() const;

    // The daemon's lock, of the descriptor that it has opened and until that is closed. False when another holds it.
    [[nodiscard]] static bool TakeLock(int fd);
    // Whether a daemon holds the lock. To ask takes no lock: it could keep one from starting.
    bool IsRunning() const;

    // Makes the folder of the contacts and waits for the right to change them, which others have not until the
    // descriptor that it gives is closed. -1, with the reason, when that fails.
    [[nodiscard]] static int LockContacts(std::string& reason);

    std::optional<DeviceCard> ReadCard() const;
    // The card is whole, or the one before. The reason when that fails, empty when it is done.
    [[nodiscard]] std::string WriteCard(const DeviceCard& card) const;

    // All devices that have a folder, by id.
    static std::vector<std::string> All();
    static std::vector<std::string> Running();

    // An id for a name: lower case, what is not a letter or a digit becomes a dash. Empty when nothing is left.
    static std::string IdFor(const std::string& name);
    // The id that a person means who types an id or a name.
    static std::string IdFrom(const std::string& word);
    static bool IsValidId(const std::string& id);

private:
    const std::string id_;
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_DEVICE_PATHS_H
