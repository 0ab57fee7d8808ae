#include "device_paths.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cJSON.h>

#include "host/json_text.h"
#include "host/whole_file.h"

namespace OHOS::Pelago::Tools {
namespace {

namespace fs = std::filesystem;

std::string Environment(const char* name)
{
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return value == nullptr ? std::string() : std::string(value);
}

// The folder of one kind: below $PELAGO_HOME, or the XDG variable, or what stands in for that.
std::string Home(const char* kind, const char* xdgVariable, const std::string& otherwise)
{
    if (std::string home = Environment("PELAGO_HOME"); !home.empty()) {
        return home + "/" + kind;
    }
    std::string xdg = Environment(xdgVariable);
    return (xdg.empty() ? otherwise : xdg) + "/pelago";
}

// A lock on all of a file, for its one writer.
struct flock WholeFile()
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

std::string Text(const cJSON* object, const char* key)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    return cJSON_IsString(item) ? std::string(item->valuestring) : std::string();
}

std::vector<std::string> FoldersIn(const std::string& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        std::string name = entry.path().filename().string();
        if (entry.is_directory(error) && DevicePaths::IsValidId(name)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

// A folder of this user that nobody else may enter.
std::string MakePrivate(const std::string& folder)
{
    std::error_code error;
    fs::create_directories(fs::path(folder).parent_path(), error);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return folder + ": " + std::strerror(errno);
    }
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        return folder + " is not a folder";
    }
    if (status.st_uid != ::geteuid()) {
        return folder + " belongs to somebody else";
    }
    if (::chmod(folder.c_str(), 0700) != 0) {
        return folder + ": " + std::strerror(errno);
    }
    return {};
}

} // namespace

DevicePaths::DevicePaths(std::string id) : id_(std::move(id))
{}

std::string DevicePaths::StateHome()
{
    return Home("state", "XDG_STATE_HOME", Environment("HOME") + "/.local/state");
}

std::string DevicePaths::RuntimeHome()
{
    return Home("run", "XDG_RUNTIME_DIR", "/tmp/pelago-" + std::to_string(::geteuid()));
}

std::string DevicePaths::State() const
{
    return StateHome() + "/devices/" + id_;
}

std::string DevicePaths::Runtime() const
{
    return RuntimeHome() + "/devices/" + id_;
}

std::string DevicePaths::Card() const
{
    return State() + "/device.json";
}

std::string DevicePaths::Lock() const
{
    return Runtime() + "/lock";
}

std::string DevicePaths::Socket(const std::string& token) const
{
    return Runtime() + "/" + token + ".sock";
}

std::string DevicePaths::Nearby()
{
    return RuntimeHome() + "/nearby";
}

std::string DevicePaths::Contacts()
{
    return StateHome() + "/contacts.json";
}

std::string DevicePaths::Create() const
{
    for (const std::string& folder : {RuntimeHome(), RuntimeHome() + "/devices", Nearby(), Runtime(), StateHome(),
             StateHome() + "/devices", State()}) {
        if (std::string reason = MakePrivate(folder); !reason.empty()) {
            return reason;
        }
    }
    return {};
}

bool DevicePaths::TakeLock(int fd)
{
    struct flock lock = WholeFile();
    return ::fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

bool DevicePaths::IsRunning() const
{
    int fd = ::open(Lock().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    struct flock lock = WholeFile();
    bool held = ::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    (void)::close(fd); // read only: nothing to lose
    return held;
}

int DevicePaths::LockContacts(std::string& reason)
{
    reason = MakePrivate(StateHome());
    if (!reason.empty()) {
        return -1;
    }
    int fd = ::open(StateHome().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0 && ::flock(fd, LOCK_EX) == 0) {
        return fd;
    }
    reason = StateHome() + ": " + std::strerror(errno);
    if (fd >= 0) {
        (void)::close(fd); // a folder: nothing to lose
    }
    return -1;
}

std::optional<DeviceCard> DevicePaths::ReadCard() const
{
    std::string text = Host::ReadWhole(Card()).value_or("");
    std::unique_ptr<cJSON, void (*)(cJSON*)> json(cJSON_Parse(text.c_str()), cJSON_Delete);
    if (!cJSON_IsObject(json.get())) {
        return std::nullopt;
    }
    return DeviceCard{
        id_, Text(json.get(), "name"), Text(json.get(), "type"), Text(json.get(), "udid"), Text(json.get(), "account")};
}

std::string DevicePaths::WriteCard(const DeviceCard& card) const
{
    std::string text = Host::Json::Object()
                           .Put("name", card.name)
                           .Put("type", card.type)
                           .Put("udid", card.udid)
                           .Put("account", card.account)
                           .Text();
    return Host::WriteWhole(Card(), text + "\n", Host::Outlives::MACHINE);
}

std::vector<std::string> DevicePaths::All()
{
    return FoldersIn(StateHome() + "/devices");
}

std::vector<std::string> DevicePaths::Running()
{
    std::vector<std::string> running;
    for (const std::string& id : FoldersIn(RuntimeHome() + "/devices")) {
        if (DevicePaths(id).IsRunning()) {
            running.push_back(id);
        }
    }
    return running;
}

std::string DevicePaths::IdFor(const std::string& name)
{
    std::string id;
    for (char c : name) {
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            id += c;
        } else if (c >= 'A' && c <= 'Z') {
            id += static_cast<char>(c - 'A' + 'a');
        } else if (!id.empty() && id.back() != '-') {
            id += '-';
        }
    }
    id.resize(std::min(id.size(), MAX_DEVICE_ID));
    while (!id.empty() && id.back() == '-') {
        id.pop_back();
    }
    return id;
}

std::string DevicePaths::IdFrom(const std::string& word)
{
    return IsValidId(word) ? word : IdFor(word);
}

bool DevicePaths::IsValidId(const std::string& id)
{
    return !id.empty() && id.size() <= MAX_DEVICE_ID &&
           id.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos;
}

} // namespace OHOS::Pelago::Tools
