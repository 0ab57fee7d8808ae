#ifndef PELAGO_TESTS_SWITCH_SCENE_H
#define PELAGO_TESTS_SWITCH_SCENE_H

#include <cctype>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "common_utils.h"
#include "hilog/host_log.h"
#include "service_fixture.h"
#include "switch/share_setting_keys.h"

namespace OHOS::Pelago {

using Host::BluetoothMode;
using Host::Device;
using Host::Faults;
using Host::HostSettings;
using Host::Scheduler;
using Host::WifiMode;

// Names a case of a table by the `name` of its row.
struct RowName {
    template <typename Row>
    std::string operator()(const testing::TestParamInfo<Row>& row) const
    {
        std::string name = row.param.name;
        for (char& c : name) {
            c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
        }
        return name;
    }
};

// A device with a client that listens: what the switch is given, and everything that it leaves behind.
class SwitchScene : public ServiceFixture {
protected:
    using ServiceFixture::StateFile;

    void Boot(const std::vector<int32_t>& stateFile = {0, 0, 0})
    {
        ServiceFixture::Boot(stateFile);
        client_ = NewClient();
        client_->Register();
        Forget();
    }
    static ShareSwitchManager::Snapshot State()
    {
        return Switch()->GetSnapshot();
    }

    // Time. What the switch promises to hold between two events is checked whenever it rests.

    static void Settle()
    {
        Advance(0);
    }
    static void Advance(int64_t ms)
    {
        ServiceFixture::Advance(ms);
        ASSERT_STREQ(ShareSwitchManager::BrokenInvariant(State()), nullptr);
    }

    // What happens to the device

    void Ask(int enableState, int detectableType, bool checkFirstUse = false, bool confirm = false)
    {
        ASSERT_TRUE((*client_)->SetShareEnableWithConfirm(enableState, detectableType, checkFirstUse, confirm));
        Settle();
    }
    void TurnOn(int detectableType = DETECTABLE_LASTING)
    {
        Ask(STATE_SHARE_ENABLE, detectableType);
    }
    void TurnOff()
    {
        Ask(STATE_SHARE_DISABLE, UNDETECTABLE);
    }
    // A radio goes, or comes, and has said so.
    static void Wifi(WifiMode mode)
    {
        Device::Instance().SwitchWifi(mode);
        Advance(RADIO_MS);
    }
    static void Bluetooth(BluetoothMode mode)
    {
        Device::Instance().SwitchBluetooth(mode);
        Advance(RADIO_MS);
    }
    static void SetAbility(int32_t id, bool present)
    {
        Device::Instance().SetAbilityPresent(id, present);
        Settle();
    }
    static void Publish(const char* event, int32_t code, const std::string& bundle = "",
        int32_t publisherUid = Host::PublisherUid::WIFI)
    {
        Device::Instance().Publish({event, code, bundle, publisherUid, Host::PERMISSION_ACCESS_BLUETOOTH});
        Settle();
    }
    static void Put(const char* key, const std::string& value, std::optional<int32_t> user = std::nullopt)
    {
        ASSERT_TRUE(HostSettings::Put(key, value, user));
        Settle();
    }

    // What it leaves behind

    // The fields of a file, "none" without one.
    static std::string File(const std::string& name, int user = USER)
    {
        if (!std::filesystem::exists(StateFile(user, name))) {
            return "none";
        }
        std::string text;
        for (const int32_t field : ReadFields(StateFile(user, name))) {
            text += (text.empty() ? "" : ",") + std::to_string(field);
        }
        return text;
    }
    static std::string Setting(const char* key, std::optional<int32_t> user = std::nullopt)
    {
        return HostSettings::Get(key, user).value_or("-");
    }
    // State | state file | settings, global and secure | recover pair: "1,2 | 1,2,0 | 1,2 1,2 | 0,0".
    static std::string Kept()
    {
        using namespace SettingKey;
        const auto state = State();
        return std::to_string(state.enableState) + "," + std::to_string(state.detectableType) + " | " + File(STATE) +
               " | " + Setting(MAIN_STATE) + "," + Setting(DETECT_STATE) + " " + Setting(MAIN_STATE, USER) + "," +
               Setting(DETECT_STATE, USER) + " | " + File(RECOVER);
    }
    // How often the client heard of a change since the last look.
    int Heard()
    {
        return static_cast<int>(client_->TakeHeard().size());
    }
    // The lines of the log since the last Forget that have this text, from there on.
    std::vector<std::string> LoggedLines(const std::string& text) const
    {
        std::vector<std::string> found;
        for (const auto& line : Host::ReadLog(logSeen_)) {
            if (const size_t at = line.text.find(text); at != std::string::npos) {
                found.push_back(line.text.substr(at));
            }
        }
        return found;
    }
    bool Logged(const std::string& text) const
    {
        return !LoggedLines(text).empty();
    }
    // The same for a line that is an error, which the case so announces.
    bool LoggedError(const std::string& text)
    {
        AllowError(text);
        return Logged(text);
    }
    void AllowErrors(std::initializer_list<const char*> texts)
    {
        for (const char* text : texts) {
            AllowError(text);
        }
    }
    // What the first load of a user without a file writes: each look at what is not there.
    void AllowFirstLoad()
    {
        AllowErrors({"file path is not real path!", "IsValidPath failed enter.", "GetShareStateInfoFromFile failed"});
    }
    // What the switch waits for: its timer and its time-outs, and the radios that are on their way.
    static size_t Deadlines()
    {
        return Scheduler::Instance().PendingCount();
    }
    void Forget()
    {
        (void)Engine().TakeJournal();
        (void)client_->TakeHeard();
        logSeen_ = Host::LastLogSeq();
    }

    static constexpr const char* STATE = "switch.cfg";
    static constexpr const char* RECOVER = "switch_recover.cfg";
    // Longer than any radio takes, shorter than any deadline of the switch.
    static constexpr int64_t RADIO_MS = 1500;

private:
    std::unique_ptr<TestClient> client_;
    uint64_t logSeen_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SWITCH_SCENE_H
