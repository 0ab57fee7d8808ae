// Users and their set-up, settings, the air gesture.
#include <filesystem>

#include "hilog/host_text.h"
#include "host/host_settings.h"
#include "sim_commands.h"
#include "sim_words.h"

namespace OHOS::Host::Sim {
namespace {

namespace fs = std::filesystem;

constexpr int32_t PRIMARY_USER = 100;
constexpr const char* YES = "1";
constexpr const char* NO = "0";

// What the end of a set-up writes; the two of the user last, since their watchers look at all three.
constexpr const char* DEVICE_PROVISIONED = "device_provisioned";
constexpr const char* USER_SETUP_COMPLETE = "user_setup_complete";
constexpr const char* IS_OTA_FINISHED = "is_ota_finished";
constexpr const char* USER_AGREEMENT = "corvane_velos_pelago_oobe_state";
constexpr const char* DEVICE_AGREEMENT = "collaboration_oobe_enhance_state";
constexpr const char* DEVICE_SERVICE = "settings.collaboration.multi_device_collaboration_service_switch";
constexpr const char* GESTURE_SWITCH = "item_air_share_switch";

// The folder that the share service has in the storage of each user, as its package lists it.
constexpr const char* SERVICE_FOLDER = "pelago";

struct UserKind {
    const char* word;
    int32_t type;
};

constexpr UserKind USER_KINDS[] = {
    {"ordinary", UserType::ORDINARY},
    {"primary", UserType::ORDINARY}, // by its id
    {"private-space", UserType::PRIVATE},
};

// Empty on a device without a disk.
std::string StorageOf(int32_t user)
{
    const std::string root = Model().Root();
    return root.empty() ? root : root + "/data/service/el2/" + std::to_string(user);
}

std::string MakeStorage(int32_t user)
{
    const std::string storage = StorageOf(user);
    std::error_code error;
    if (!storage.empty()) {
        fs::create_directories(fs::path(storage) / SERVICE_FOLDER, error);
    }
    return error ? storage + ": " + error.message() : std::string();
}

// A new user of this id starts as one who was never here.
std::string EraseStorage(int32_t user)
{
    const std::string storage = StorageOf(user);
    std::error_code error;
    if (!storage.empty()) {
        fs::remove_all(storage, error);
    }
    if (error) {
        return storage + ": " + error.message();
    }
    for (const Setting& setting : HostSettings::List(user).value_or(std::vector<Setting>())) {
        if (!HostSettings::Put(setting.key, "", user)) { // which reads as none
            return "the settings of the user stay; see `pelago log`";
        }
    }
    return {};
}

ControlAnswer DoneUnless(const std::string& reason)
{
    return reason.empty() ? Done() : Refuse(ControlResult::FAILED, reason);
}

ControlAnswer NoSuchUser(const std::string& id)
{
    return Refuse(ControlResult::NO_SUCH_ENTRY,
        "there is no user '" + EscapeForTerminal(id) + "'; pelago sim show lists them, pelago sim user add makes one");
}

// The commands that name one user by its id.
ControlAnswer OnUser(const Words& words, const std::function<bool(int32_t)>& change)
{
    auto id = Id(words[0]);
    if (!id.has_value()) {
        return NotANumber(words[0]);
    }
    return *id >= 0 && change(*id) ? Done() : NoSuchUser(words[0]);
}

// The words "--user N" behind a setting name the table of that user.
bool TakeUser(const Words& words, size_t from, std::optional<int32_t>& user)
{
    if (words.size() == from) {
        return true;
    }
    auto id = words.size() == from + 2 && words[from] == "--user" ? Id(words[from + 1]) : std::nullopt;
    if (id.has_value() && *id >= 0) {
        user = *id;
    }
    return user.has_value();
}

// Whose set-up is meant: the user of "--user N", or the one in front.
ControlAnswer OnSetUp(const Words& words, size_t from, const std::function<bool(int32_t user)>& change)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, from, user)) {
        return Refuse(ControlResult::USAGE, "behind it may stand --user N");
    }
    const int32_t id = user.value_or(Model().ForegroundUser());
    if (!Model().FindUser(id).has_value()) {
        return NoSuchUser(std::to_string(id));
    }
    return change(id) ? Done() : SettingsFailed();
}

bool PutSetUp(int32_t user)
{
    return HostSettings::Put(DEVICE_PROVISIONED, YES) && HostSettings::Put(USER_SETUP_COMPLETE, YES, user) &&
           HostSettings::Put(IS_OTA_FINISHED, YES, user);
}

} // namespace

// A new user is locked, and the set-up has not begun.
ControlAnswer UserAdd(const Words& words)
{
    auto id = Id(words[0]);
    if (!id.has_value() || *id < 0) {
        return Refuse(ControlResult::USAGE, "a user's id is a number and not negative");
    }
    const std::string word = words.size() > 1 ? words[1] : *id == PRIMARY_USER ? "primary" : "ordinary";
    const auto* kind = std::find_if(
        std::begin(USER_KINDS), std::end(USER_KINDS), [&word](const UserKind& other) { return word == other.word; });
    if (kind == std::end(USER_KINDS)) {
        return Refuse(ControlResult::USAGE, "a user is ordinary, primary or private-space");
    }
    if ((word == "primary") != (*id == PRIMARY_USER)) {
        return Refuse(ControlResult::USAGE, "the primary user is " + std::to_string(PRIMARY_USER) + ", and no other");
    }
    if (Model().FindUser(*id).has_value()) {
        return Refuse(ControlResult::FAILED, "there is a user " + words[0] + " already; pelago sim user remove ID");
    }
    if (const std::string reason = MakeStorage(*id); !reason.empty()) {
        return DoneUnless(reason);
    }
    return Model().PutUser({*id, kind->type, false, {}}) ? Done() : NoSuchUser(words[0]);
}

ControlAnswer UserSwitch(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().SwitchUser(id); });
}

ControlAnswer UserUnlock(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().SetVerified(id, true); });
}

ControlAnswer UserLock(const Words& words)
{
    return OnUser(words, [](int32_t id) { return Model().SetVerified(id, false); });
}

ControlAnswer UserRemove(const Words& words)
{
    auto id = Id(words[0]);
    if (!id.has_value()) {
        return NotANumber(words[0]);
    }
    if (!Model().FindUser(*id).has_value()) {
        return NoSuchUser(words[0]);
    }
    if (!Model().RemoveUser(*id)) {
        return Refuse(ControlResult::FAILED, "user " + words[0] + " is in front; pelago sim user switch ID first");
    }
    return DoneUnless(EraseStorage(*id));
}

ControlAnswer SettingGet(const Words& words)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, 1, user)) {
        return Refuse(ControlResult::USAGE, "behind the key may stand --user N");
    }
    auto value = HostSettings::Get(words[0], user);
    return value.has_value() ? Done(Json::Object().Put("key", words[0]).Put("value", *value).Text())
                             : NoSuch("setting", words[0]);
}

ControlAnswer SettingPut(const Words& words)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, 2, user)) {
        return Refuse(ControlResult::USAGE, "behind the value may stand --user N");
    }
    return HostSettings::Put(words[0], words[1], user) ? Done() : SettingsFailed();
}

ControlAnswer SettingList(const Words& words)
{
    std::optional<int32_t> user;
    if (!TakeUser(words, 0, user)) {
        return Refuse(ControlResult::USAGE, "behind list may stand --user N");
    }
    auto settings = HostSettings::List(user);
    if (!settings.has_value()) {
        return Refuse(ControlResult::FAILED, "the settings database cannot be read; see `pelago log`");
    }
    Json list = Json::Array();
    for (const Setting& setting : *settings) {
        list.Add(Json::Object().Put("key", setting.key).Put("value", setting.value));
    }
    return Done(list.Text());
}

// The answer first: the end of the set-up is what makes others look at it.
ControlAnswer OobeFinish(const Words& words)
{
    const bool agrees = words.empty() || words[0] != "decline";
    const size_t from = !words.empty() && (words[0] == "agree" || words[0] == "decline") ? 1 : 0;
    return OnSetUp(words, from, [agrees, from](int32_t user) {
        return (from == 0 || HostSettings::Put(USER_AGREEMENT, agrees ? YES : NO, user)) && PutSetUp(user);
    });
}

ControlAnswer OobeOta(const Words& words)
{
    if (words[0] != "start" && words[0] != "finish") {
        return Refuse(ControlResult::USAGE, "an update of the set-up can start or finish");
    }
    return OnSetUp(words, 1,
        [&words](int32_t user) { return HostSettings::Put(IS_OTA_FINISHED, words[0] == "finish" ? YES : NO, user); });
}

ControlAnswer OobeReset(const Words& words)
{
    return OnSetUp(words, 0, [](int32_t user) {
        return HostSettings::Put(USER_SETUP_COMPLETE, NO, user) && HostSettings::Put(IS_OTA_FINISHED, "", user) &&
               HostSettings::Put(USER_AGREEMENT, "", user);
    });
}

// What was agreed for the device as a whole.
ControlAnswer OobeCollaboration(const Words& words)
{
    auto on = Choose(ON_OFF, words[0]);
    if (!on.has_value()) {
        return Refuse(ControlResult::USAGE, "the device's collaboration can be on or off");
    }
    const std::string value = *on ? YES : NO;
    return HostSettings::Put(DEVICE_AGREEMENT, value) && HostSettings::Put(DEVICE_SERVICE, value) ? Done()
                                                                                                  : SettingsFailed();
}

ControlAnswer GestureSwitch(const Words& words)
{
    auto on = Choose(ON_OFF, words[0]);
    if (!on.has_value()) {
        return Refuse(ControlResult::USAGE, "the gesture switch can be on or off");
    }
    return HostSettings::Put(GESTURE_SWITCH, *on ? YES : NO) ? Done() : SettingsFailed();
}

} // namespace OHOS::Host::Sim
