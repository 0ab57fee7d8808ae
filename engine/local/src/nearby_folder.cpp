#include "nearby_folder.h"

#include <cJSON.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "common_utils.h"
#include "file_names.h"
#include "frame.h"
#include "hilog/host_text.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr const char* LOCK_FILE = "lock";
constexpr int WAITING_CONNECTIONS = 128;
constexpr int DESCRIPTION_VERSION = 1;
constexpr int ABILITY_CONTACT_SHARE = 2; // devices of one contact can be shown as one

using JsonPointer = std::unique_ptr<cJSON, void (*)(cJSON*)>;

std::string WithReason(const char* what)
{
    return std::string(what) + ": " + std::strerror(errno);
}

// The socket's address by way of the folder's descriptor: a path of any length fits.
sockaddr_un AddressOf(int folder, const std::string& id, std::string_view suffix)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // Always fits: an id has at most 64 bytes.
    std::string name = id + std::string(suffix);
    (void)std::snprintf(address.sun_path, sizeof(address.sun_path), "/proc/self/fd/%d/%s", folder, name.c_str());
    return address;
}

[[nodiscard]] bool GetText(const cJSON* object, const char* key, std::string& value)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    if (!cJSON_IsString(item) || std::strlen(item->valuestring) > MAX_SHORT_TEXT || !IsUtf8(item->valuestring)) {
        return false;
    }
    value = item->valuestring;
    return true;
}

[[nodiscard]] bool GetInt(const cJSON* object, const char* key, int32_t& value)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    if (!cJSON_IsNumber(item) || !(std::fabs(item->valuedouble) <= 2147483647.0) ||
        item->valuedouble != std::floor(item->valuedouble)) {
        return false;
    }
    value = static_cast<int32_t>(item->valuedouble);
    return true;
}

[[nodiscard]] bool WriteAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

std::string Quoted(const std::string& text)
{
    std::string out = "\"";
    Host::AppendEscaped(out, text.substr(0, MAX_SHORT_TEXT / 3), Host::EscapeStyle::JSON);
    return out + "\"";
}

} // namespace

bool NearbyFolder::Open(const std::string& path, std::string& error)
{
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        error = WithReason("the nearby folder cannot be made");
        return false;
    }
    Host::UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.Get(), &status) != 0) {
        error = WithReason("the nearby folder cannot be opened");
        return false;
    }
    if (status.st_uid != ::getuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        error = "the nearby folder belongs to somebody else, or others may write it";
        return false;
    }
    folder_ = std::move(folder);
    return true;
}

bool NearbyFolder::IsDeviceId(std::string_view id)
{
    auto isPlain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    };
    return !id.empty() && id.size() <= MAX_LOCAL_DEVICE_ID && std::all_of(id.begin(), id.end(), isPlain);
}

std::string NearbyFolder::IdOf(std::string_view fileName)
{
    if (fileName.size() <= DESCRIPTION_SUFFIX.size() ||
        fileName.substr(fileName.size() - DESCRIPTION_SUFFIX.size()) != DESCRIPTION_SUFFIX) {
        return {};
    }
    std::string_view id = fileName.substr(0, fileName.size() - DESCRIPTION_SUFFIX.size());
    return IsDeviceId(id) ? std::string(id) : std::string();
}

Host::UniqueFd NearbyFolder::TryLock() const
{
    Host::UniqueFd file(::openat(folder_.Get(), LOCK_FILE, O_CREAT | O_RDWR | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file && ::flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        file.Reset();
    }
    return file;
}

bool NearbyFolder::Serve(
    const std::string& id, std::string_view suffix, Host::UniqueFd& listening, std::string& error) const
{
    Host::UniqueFd probe;
    switch (Connect(id, probe, suffix)) {
        case ConnectResult::REFUSED:
            break;
        case ConnectResult::CONNECTED:
        case ConnectResult::FULL:
            error = "another device has this id";
            return false;
        case ConnectResult::FAILED:
            error = "nobody knows whether another device has this id";
            return false;
    }
    RemoveSocket(id, suffix);
    Host::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address = AddressOf(folder_.Get(), id, suffix);
    if (!socket || ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(socket.Get(), WAITING_CONNECTIONS) != 0) {
        error = WithReason("the device's socket cannot be served");
        return false;
    }
    listening = std::move(socket);
    return true;
}

void NearbyFolder::RemoveSocket(const std::string& id, std::string_view suffix) const
{
    (void)::unlinkat(folder_.Get(), (id + std::string(suffix)).c_str(), 0); // may never have been there
}

bool NearbyFolder::Publish(const LocalDevice& device, Host::UniqueFd& listening, std::string& error) const
{
    Host::UniqueFd socket;
    if (!Serve(device.id, SOCKET_SUFFIX, socket, error)) {
        return false;
    }
    if (!WriteDescription(device, error)) {
        Remove(device.id);
        return false;
    }
    listening = std::move(socket);
    return true;
}

// Under a temporary name first: whoever looks sees the old one or the new one.
bool NearbyFolder::WriteDescription(const LocalDevice& device, std::string& error) const
{
    std::string name = device.id + std::string(DESCRIPTION_SUFFIX);
    std::string temporary = "." + name;
    Host::UniqueFd file(
        ::openat(folder_.Get(), temporary.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0600));
    bool written = file && WriteAll(file.Get(), DescriptionText(device)) &&
                   ::renameat(folder_.Get(), temporary.c_str(), folder_.Get(), name.c_str()) == 0;
    if (!written) {
        error = WithReason("the device's description cannot be written");
        (void)::unlinkat(folder_.Get(), temporary.c_str(), 0); // may never have been there
    }
    return written;
}

void NearbyFolder::Remove(const std::string& id) const
{
    // The description first, so that nobody finds a device that is not served. Either may be missing.
    (void)::unlinkat(folder_.Get(), (id + std::string(DESCRIPTION_SUFFIX)).c_str(), 0);
    RemoveSocket(id, SOCKET_SUFFIX);
}

void NearbyFolder::RemoveStale(const std::string& id) const
{
    Host::UniqueFd lock = TryLock();
    Host::UniqueFd probe;
    if (lock && Connect(id, probe) == ConnectResult::REFUSED) {
        Remove(id);
    }
    if (lock && Connect(id, probe, NOTE_SUFFIX) == ConnectResult::REFUSED) {
        RemoveSocket(id, NOTE_SUFFIX);
    }
}

ConnectResult NearbyFolder::Connect(const std::string& id, Host::UniqueFd& socket, std::string_view suffix) const
{
    Host::UniqueFd fresh(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address = AddressOf(folder_.Get(), id, suffix);
    if (!fresh || ::connect(fresh.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        switch (errno) {
            case ECONNREFUSED:
            case ENOENT:
                return ConnectResult::REFUSED;
            case EAGAIN:
                return ConnectResult::FULL;
            default:
                return ConnectResult::FAILED;
        }
    }
    if (OwnProcessOf(fresh.Get()) < 0) {
        return ConnectResult::FAILED;
    }
    socket = std::move(fresh);
    return ConnectResult::CONNECTED;
}

std::vector<std::string> NearbyFolder::PublishedIds() const
{
    std::vector<std::string> ids;
    int copy = ::openat(folder_.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); // a reading position of its own
    DIR* folder = copy < 0 ? nullptr : ::fdopendir(copy);
    if (folder == nullptr) {
        Host::UniqueFd closing(copy);
        return ids;
    }
    while (const dirent* entry = ::readdir(folder)) {
        if (std::string id = IdOf(entry->d_name); !id.empty()) {
            ids.push_back(id);
        }
    }
    (void)::closedir(folder); // it was only read
    return ids;
}

std::optional<LocalDevice> NearbyFolder::ReadDescription(const std::string& id, std::string& why) const
{
    auto text = ReadSmallFile(folder_.Get(), (id + std::string(DESCRIPTION_SUFFIX)).c_str(), MAX_DESCRIPTION_BYTES);
    if (!text.has_value()) {
        why = "not a small regular file";
        return std::nullopt;
    }
    const std::string& bytes = *text;
    JsonPointer json(cJSON_ParseWithLength(bytes.c_str(), bytes.size()), cJSON_Delete);
    LocalDevice device;
    int32_t version = 0;
    bool whole = GetInt(json.get(), "version", version) && GetText(json.get(), "id", device.id) &&
                 GetText(json.get(), "name", device.name) && GetInt(json.get(), "type", device.type) &&
                 GetText(json.get(), "accountHash", device.accountHash) &&
                 GetInt(json.get(), "capability", device.capability);
    if (!whole || version != DESCRIPTION_VERSION || device.id != id) {
        why = "a field is missing or wrong";
        return std::nullopt;
    }
    return device;
}

pid_t OwnProcessOf(int socket)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    bool isOurs = ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
    return isOurs ? peer.pid : -1;
}

std::optional<std::string> ReadSmallFile(int folder, const char* name, size_t most)
{
    Host::UniqueFd file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string text(most + 1, '\0');
    size_t size = 0;
    while (size <= most) {
        ssize_t count = ::read(file.Get(), text.data() + size, text.size() - size);
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            text.resize(size);
            return text;
        }
        size += static_cast<size_t>(count);
    }
    return std::nullopt;
}

std::string DescriptionText(const LocalDevice& device)
{
    return "{\"version\":" + std::to_string(DESCRIPTION_VERSION) + ",\"id\":" + Quoted(device.id) +
           ",\"name\":" + Quoted(device.name) + ",\"type\":" + std::to_string(device.type) +
           ",\"accountHash\":" + Quoted(device.accountHash) + ",\"capability\":" + std::to_string(device.capability) +
           "}";
}

std::string NudgeText(const LocalDevice& device)
{
    return "{\"OH\":1,\"devHash\":" + Quoted(CommonUtils::GetUdidHashByUdid(device.id, false)) +
           ",\"nick\":" + Quoted(device.name) + ",\"nbVer\":" + std::to_string(CHANNEL_VERSION) +
           ",\"corvaneID\":" + Quoted(device.accountHash) + ",\"abl\":" + std::to_string(ABILITY_CONTACT_SHARE) +
           ",\"newActionID\":false,\"capability\":" + std::to_string(device.capability) + "}";
}

} // namespace OHOS::Pelago::Local
