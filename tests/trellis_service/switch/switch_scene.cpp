#include "switch_scene.h"

#include <cctype>
#include <regex>
#include <sstream>

#include "common_utils.h"
#include "switch/time_service_helper.h"

namespace OHOS::Pelago {
namespace {

using Host::BluetoothMode;
using Host::Device;
using Host::Faults;
using Host::HostSettings;
using Host::WifiMode;
using Words = SwitchScene::Words;

// Longer than a radio takes, shorter than any deadline of the switch.
constexpr int64_t RADIO_DOWN_MS = 500;
constexpr int64_t RADIO_UP_MS = 1500;

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream all(text);
    for (std::string part; std::getline(all, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

// "1,2,0"; "," and "" are none.
std::vector<int32_t> Fields(const std::string& text)
{
    std::vector<int32_t> fields;
    std::istringstream all(text);
    for (int32_t field = 0; all >> field; all.ignore()) {
        fields.push_back(field);
    }
    return fields;
}

// "1500", or a deadline of the switch, a tick before it "heal-1".
int64_t Duration(const std::string& text)
{
    const std::map<std::string, int64_t> deadlines{
        {"heal", ShareSwitchManager::SELF_HEAL_TIMEOUT_MS},
        {"removal", ShareSwitchManager::WAIT_BLUETOOTH_SA_REMOVE_MS},
        {"enable", ShareSwitchManager::ENABLE_TIMEOUT_MS},
        {"timed", static_cast<int64_t>(TimeServiceHelper::DETECTABLE_TIME_MS)},
    };
    const auto parts = Split(text, '-');
    const auto deadline = deadlines.find(parts[0]);
    const int64_t whole = deadline == deadlines.end() ? std::stoll(parts[0]) : deadline->second;
    return parts.size() == 1 ? whole : whole - std::stoll(parts[1]);
}

// Short words for settings and events.
const char* LongName(const std::string& word)
{
    using namespace SettingKey;
    using namespace Host::EventName;
    // clang-format off
    const std::map<std::string, const char*> names{
        {"air", AIR_SWITCH}, {"provisioned", DEVICE_PROVISIONED}, {"setup", USER_SETUP_COMPLETE},
        {"ota", IS_OTA_FINISHED}, {"agreed", PELAGO_OOBE_STATE}, {"enhance", COLLABORATION_OOBE_ENHANCE},
        {"service", COLLABORATION_SERVICE_SWITCH}, {"airplane", AIRPLANE_MODE},
        {"old-state", MAIN_STATE_RECOVER}, {"old-type", DETECT_STATE_RECOVER},
        {"wifi", WIFI_POWER_STATE}, {"semi", WIFI_SEMI_STATE}, {"bluetooth", BLUETOOTH_HOST_STATE_UPDATE},
        {"restrict", BLUETOOTH_RESTRICT}, {"cleared", PACKAGE_DATA_CLEARED}, {"ready", DATA_SHARE_READY},
        {"switched", USER_SWITCHED}, {"unlocked", USER_UNLOCKED},
    };
    // clang-format on
    return names.at(word);
}

// The fields of a file, "none" without one.
std::string FileText(const std::vector<int32_t>& fields, bool exists)
{
    std::string text = exists ? "" : "none";
    for (const int32_t field : fields) {
        text += (text.empty() ? "" : ",") + std::to_string(field);
    }
    return text;
}

std::string WithSecure(const std::string& global, const std::string& secure)
{
    return global == secure ? global : global + " / " + secure;
}

} // namespace

std::string StoryName::operator()(const testing::TestParamInfo<Story>& info) const
{
    std::string name = info.param.name;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

// What a step may say. Words of a verb that are left out are empty.
struct SwitchScene::Verbs {
    using Scene = SwitchScene;

    static void Put(const Words& w)
    {
        const auto user = w[3].empty() ? std::nullopt : std::optional<int32_t>(std::stoi(w[3]));
        EXPECT_TRUE(HostSettings::Put(LongName(w[1]), w[2] == "-" ? "" : w[2], user));
    }
    static void Wifi(const Words& w)
    {
        const auto mode = w[1] == "off" ? WifiMode::OFF : w[1] == "semi" ? WifiMode::SEMI : WifiMode::ON;
        Device::Instance().SwitchWifi(mode);
        Advance(mode == WifiMode::OFF ? RADIO_DOWN_MS : RADIO_UP_MS);
    }
    static void Bluetooth(const Words& w)
    {
        const auto mode = w[1] == "off" ? BluetoothMode::OFF : BluetoothMode::BLE_ONLY;
        Device::Instance().SwitchBluetooth(mode);
        Advance(mode == BluetoothMode::OFF ? RADIO_DOWN_MS : RADIO_UP_MS);
    }
    // "event NAME CODE [BUNDLE] [PUBLISHER]"
    static void Event(const Words& w)
    {
        const int32_t publisher = w[4].empty() ? Host::PublisherUid::WIFI : std::stoi(w[4]);
        const int32_t code = w[2].empty() ? 0 : std::stoi(w[2]);
        Device::Instance().Publish({LongName(w[1]), code, w[3], publisher, Host::PERMISSION_ACCESS_BLUETOOTH});
    }
    // A request of the client: "ask STATE TYPE [first | confirm]"
    static void Ask(Scene& s, int state, int type, const std::string& flag = "")
    {
        EXPECT_TRUE((*s.client_)->SetShareEnableWithConfirm(state, type, flag == "first", flag == "confirm"));
    }
    static void Permit(const Words& w)
    {
        const bool isValid = w[1] == "0" || w[1] == "1";
        EXPECT_EQ(Service()->SetShareAccountPermission(std::stoi(w[1])), isValid);
    }
    static int Id(const Words& w)
    {
        return std::stoi(w[1]);
    }

    static const std::map<std::string, std::function<void(Scene&, const Words&)>>& All()
    {
        // clang-format off
        static const std::map<std::string, std::function<void(Scene&, const Words&)>> verbs{
            // What is there before the service is.
            {"write", [](Scene&, const Words& w) { WriteFields(StateFile(Id(w)), Fields(w[2])); }},
            {"recover", [](Scene&, const Words& w) {
                WriteFields(StateFile(Id(w), "switch_recover.cfg"), Fields(w[2])); }},
            {"legacy", [](Scene&, const Words& w) {
                WriteFields(Root() / "data/service/el1/public/pelago/switch_100.cfg", Fields(w[1])); }},
            {"no-folder", [](Scene&, const Words& w) { std::filesystem::remove_all(StateFile(Id(w)).parent_path()); }},
            {"boot", [](Scene& s, const Words& w) { s.StartWithClient(Fields(w[1])); }},
            // The client
            {"ask", [](Scene& s, const Words& w) { Ask(s, std::stoi(w[1]), std::stoi(w[2]), w[3]); }},
            {"on", [](Scene& s, const Words& w) { Ask(s, STATE_SHARE_ENABLE, std::stoi(w[1])); }},
            {"off", [](Scene& s, const Words&) { Ask(s, STATE_SHARE_DISABLE, UNDETECTABLE); }},
            {"permit", [](Scene&, const Words& w) { Permit(w); }},
            // Radios. The first two wait until the radio is there.
            {"wifi", [](Scene&, const Words& w) { Wifi(w); }},
            {"bluetooth", [](Scene&, const Words& w) { Bluetooth(w); }},
            {"news", [](Scene&, const Words& w) { Switch()->HandleOnWifiOrBluetoothStateChanged(w[1] == "good"); }},
            {"retry", [](Scene&, const Words&) { Switch()->EnableBluetoothToRestrictModeInDelay(); }},
            // Users
            {"user", [](Scene&, const Words& w) { EXPECT_TRUE(Device::Instance().SwitchUser(Id(w))); }},
            {"lock", [](Scene&, const Words& w) { EXPECT_TRUE(Device::Instance().SetVerified(Id(w), false)); }},
            {"unlock", [](Scene&, const Words& w) { EXPECT_TRUE(Device::Instance().SetVerified(Id(w), true)); }},
            {"private", [](Scene&, const Words& w) {
                EXPECT_TRUE(Device::Instance().PutUser({Id(w), Host::UserType::PRIVATE, true, {}})); }},
            {"unlocked", [](Scene&, const Words& w) { Switch()->HandleOnUserUnlocked(Id(w)); }},
            {"agree", [](Scene&, const Words& w) { Switch()->HandleOnAgreeEnhanceOobe(Id(w)); }},
            {"decline", [](Scene&, const Words& w) { Switch()->HandleOnRejectEnhanceOobe(Id(w)); }},
            // The system
            {"set", [](Scene&, const Words& w) { Put(w); }}, // KEY VALUE [USER]; '-' stands for an empty value
            {"event", [](Scene&, const Words& w) { Event(w); }},
            {"gone", [](Scene&, const Words& w) { Device::Instance().SetAbilityPresent(Id(w), false); }},
            {"back", [](Scene&, const Words& w) { Device::Instance().SetAbilityPresent(Id(w), true); }},
            {"wait", [](Scene&, const Words& w) { Advance(Duration(w[1])); }},
            {"sleep", [](Scene&, const Words& w) { EXPECT_TRUE(Host::Scheduler::Instance().Jump(Duration(w[1]))); }},
            // What goes wrong
            {"fail", [](Scene&, const Words& w) { Faults::Inject(w[1], Faults::ALWAYS); }},
            {"mend", [](Scene&, const Words&) { Faults::Clear(); }},
            {"refuse", [](Scene& s, const Words& w) { s.Engine().Refuse(w[1]); }},
        };
        // clang-format on
        return verbs;
    }
};

void SwitchScene::Do(const Words& words)
{
    const auto verb = Verbs::All().find(words[0]);
    ASSERT_NE(verb, Verbs::All().end()) << "no verb '" << words[0] << "'";
    verb->second(*this, words);
}

void SwitchScene::Play(const std::string& steps)
{
    constexpr size_t MOST_WORDS = 5;
    for (const std::string& moment : Split(steps, ';')) {
        for (const std::string& step : Split(moment, '&')) {
            std::istringstream text(step);
            Words words(MOST_WORDS);
            for (auto word = words.begin(); word != words.end() && text >> *word; ++word) {
            }
            Do(words);
        }
        Advance(0);
        ASSERT_STREQ(ShareSwitchManager::BrokenInvariant(State()), nullptr) << moment;
    }
}

void SwitchScene::Tell(const Story& story)
{
    for (const Step& step : story.steps) {
        SCOPED_TRACE(step.play);
        const auto said = Split(step.said, '|');
        for (const std::string& text : said) {
            AllowError(text.substr(text[0] == '~' ? 1 : 0));
        }
        Forget();
        Play(step.play);
        EXPECT_EQ(step.seen == nullptr ? "" : Seen(), step.seen == nullptr ? "" : step.seen);
        for (const std::string& text : said) {
            const bool isUnsaid = text[0] == '!';
            EXPECT_TRUE(text[0] == '~' || Said(text.substr(isUnsaid ? 1 : 0)) != isUnsaid) << text;
        }
    }
}

void SwitchScene::StartWithClient(const std::vector<int32_t>& stateFile)
{
    Boot(stateFile);
    client_ = NewClient();
    client_->Register();
}

void SwitchScene::TearDown()
{
    Faults::Clear();
    ServiceFixture::TearDown();
}

std::string SwitchScene::Seen()
{
    const auto state = State();
    const int user = state.localUserId == USER_ID_INVALID ? USER : state.localUserId;
    const auto file = [user](const char* name) {
        return FileText(ReadFields(StateFile(user, name)), std::filesystem::exists(StateFile(user, name)));
    };
    const auto switches = [](std::optional<int32_t> table) {
        return Setting(SettingKey::MAIN_STATE, table) + "," + Setting(SettingKey::DETECT_STATE, table) + "," +
               Setting(SettingKey::PERMISSION_STATE, table);
    };
    std::string air = WithSecure(Setting(SettingKey::AIR_SWITCH), Setting(SettingKey::AIR_SWITCH, user));
    const std::string held = std::to_string(state.enableState) + "," + std::to_string(state.detectableType) + "," +
                             std::to_string(state.accountPermission);
    const auto unlessHeld = [&held](const std::string& text) { return text == held ? "=" : text; };
    std::ostringstream seen;
    seen << held << (user == state.localUserId ? "" : " nobody")
         << (user == USER ? "" : " user " + std::to_string(user)) << (state.isPrivateUser ? " private" : "")
         << (state.isEnabling ? " enabling " + std::to_string(state.enablingData.detectableType) : "")
         << (state.swingState == 0 ? "" : " swing " + std::to_string(state.swingState))
         << (state.wifiSelfHealing ? " wifi heals" : "") << (state.btSelfHealing ? " bluetooth heals" : "")
         << (state.needSyncSettings ? " unsaved" : "") << (state.waitBluetoothSaRemove ? " retry" : "");
    const std::string events = EngineCalls() + " | " +
                               std::to_string(client_ == nullptr ? 0 : client_->TakeHeard().size()) + " | " +
                               std::to_string(Host::Scheduler::Instance().PendingCount());
    seen << " | " << unlessHeld(file("switch.cfg")) << " | "
         << WithSecure(unlessHeld(switches(std::nullopt)), unlessHeld(switches(user)))
         << (air == "-" ? "" : " air " + air) << " | " << file("switch_recover.cfg") << " | "
         << (events == "- | 0 | 0" ? "quiet" : events);
    return seen.str();
}

// The journal of the engine with short words for what belongs together: "show 2, permit 0", "hide"; "-" without any.
std::string SwitchScene::EngineCalls()
{
    std::string calls = Engine().TakeAsked();
    const std::pair<const char*, const char*> words[] = {
        {"UnPublish, UnRegisterReceiveListener, EnableDiscoveryPolicy 0", "hide"},
        {"Publish, RegisterReceiveListener, EnableDiscoveryPolicy ([123])", "show $1"},
        {"SetAccountPermission", "permit"},
    };
    for (const auto& [told, word] : words) {
        calls = std::regex_replace(calls, std::regex(told), word);
    }
    return calls.empty() ? "-" : calls;
}

void SwitchScene::Forget()
{
    (void)Engine().TakeJournal();
    if (client_ != nullptr) {
        (void)client_->TakeHeard();
    }
    logSeen_ = Host::LastLogSeq();
}

ShareSwitchManager::Snapshot SwitchScene::State()
{
    return Switch()->GetSnapshot();
}

std::string SwitchScene::Setting(const char* key, std::optional<int32_t> user)
{
    return HostSettings::Get(key, user).value_or("-");
}

bool SwitchScene::Said(const std::string& text)
{
    AllowError(text);
    const auto lines = Host::ReadLog(logSeen_);
    return std::any_of(
        lines.begin(), lines.end(), [&text](const auto& line) { return line.text.find(text) != std::string::npos; });
}

std::string SwitchScene::Messages() const
{
    std::string ids;
    const std::regex message("handle event id: (\\d+)\\.");
    for (const auto& line : Host::ReadLog(logSeen_)) {
        std::smatch match;
        if (std::regex_search(line.text, match, message)) {
            ids += (ids.empty() ? "" : " ") + match[1].str();
        }
    }
    return ids;
}

} // namespace OHOS::Pelago
