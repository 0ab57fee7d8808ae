#include "tap_scene.h"

#include <regex>

#include "hilog/host_log.h"
#include "host/ability_host.h"
#include "host_sys_event.h"

namespace OHOS::Pelago {
namespace {

constexpr pid_t APP_PID = 3000;
constexpr int32_t KNOCK = 2;
constexpr int32_t CALLBACK = 1;
constexpr int32_t ALL_CALLBACKS = -1;

std::string Quoted(const std::string& text)
{
    return '"' + std::regex_replace(text, std::regex(R"([\\"])"), R"(\$&)") + '"';
}

// "start CorvaneShareApiServiceExtension CorvaneShareIntent=nudgeConnectFail connectErrCode=5" is "fail 5".
std::string Short(std::string line)
{
    for (const auto& [form, by] : {std::pair(" ?CorvaneShareApiServiceExtension CorvaneShareIntent=", ""),
             std::pair("startnudgeConnectFail connectErrCode=", "fail "), std::pair("startnudgeEnableShare", "enable"),
             std::pair("switchNotifyComponent", "")}) {
        line = std::regex_replace(line, std::regex(form), by);
    }
    return line;
}

std::string ValueOf(const std::string& json, const std::string& key)
{
    std::smatch found;
    return std::regex_search(json, found, std::regex("\"" + key + "\":\"?([^\",}]*)")) ? found[1].str() : "-";
}

} // namespace

PeerAnswer PeerAnswer::With(const std::string& what, const std::string& by) const
{
    PeerAnswer answer = *this;
    for (std::string* level : {&answer.cust, &answer.custom, &answer.extra, &answer.top}) {
        if (const size_t at = level->find(what); !what.empty() && at != std::string::npos) {
            level->replace(at, what.size(), by);
            return answer;
        }
    }
    answer.top += by;
    return answer;
}

std::string PeerAnswer::Text() const
{
    const std::string custData = cust.empty() ? "" : ",\"custData\":" + Quoted("{" + cust + "}");
    const std::string extraData = "{" + extra + ",\"CUSTOM_DATA\":" + Quoted("{" + custom + custData + "}") + "}";
    return "{" + top + ",\"extraData\":" + Quoted(extraData) + "}";
}

std::string Delivery(const std::string& members)
{
    return R"({"serviceId":"pelago.sender",)" + members + "}";
}

void TapScene::App::OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device)
{
    heard.push_back("told " + std::to_string(eventId) + " " + std::to_string(cbId) + " " + device.deviceId + " " +
                    device.concurrentId);
    lastDevice = device;
}

void TapScene::SetUp()
{
    ServiceFixture::SetUp();
    extension = std::make_unique<TestExtension>();
    BootOn();
    client = std::make_unique<TestClient>(
        APP_PID, Host::TokenId::OWNER, Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID));
    client->Register();
    AllowError(""); // what is an error is part of what happened
    EXPECT_TRUE((*client)->RegisterShareApiCallback(app));
    EXPECT_TRUE((*client)->RegisterShareEventCallback(KNOCK, CALLBACK));
    Host::Device::Instance().SetFocused(APP_PID, true);
    Unsubscribe(); // each case says when taps are wanted
    (void)Happened();
}

void TapScene::TearDown()
{
    (void)(*client)->UnregisterShareEventCallback(KNOCK, ALL_CALLBACKS); // some cases have done it
    Unsubscribe();
    LetPass();
    EXPECT_TRUE((*client)->UnregisterShareApiCallback(app));
    EXPECT_TRUE((*client)->UnRegisterTrellisCallback(client->callback));
    ServiceFixture::TearDown();
}

void TapScene::Touch(const PeerAnswer& answer)
{
    Collab().Knock();
    Settle();
    Collab().PublishEvent(answer.Text());
    Settle();
}

void TapScene::Subscribe()
{
    EXPECT_TRUE(Service()->RegisterMotionSenderListener());
    Settle();
}

void TapScene::Unsubscribe()
{
    EXPECT_TRUE(TrellisService::UnRegisterMotionSenderListener());
    Settle();
}

void TapScene::LetPass()
{
    Advance(10'000);
}

void TapScene::SwitchSharing(bool on)
{
    EXPECT_TRUE((*client)->SetShareEnableWithConfirm(
        on ? STATE_SHARE_ENABLE : STATE_SHARE_DISABLE, DETECTABLE_LASTING, false, false));
    (void)Happened();
}

std::string TapScene::Happened()
{
    Settle();
    Lines lines;
    for (const PublishedState& state : Collab().TakeStates()) {
        const bool isTap = state.serviceName2 == "UI_CorvaneShare";
        const std::string name = isTap ? state.serviceName.substr(state.serviceName2.size() + 1) : state.serviceName2;
        lines.push_back(name + " " + std::to_string(state.state));
    }
    for (const std::string& line : extension->TakeHeard()) {
        lines.push_back(Short(line));
    }
    for (const Lines& more :
        {Reports(), client->TakeHeard(), std::exchange(app->heard, {}), Engine().TakeJournal(), Errors()}) {
        lines.insert(lines.end(), more.begin(), more.end());
    }
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

std::string TapScene::HappensAt(int64_t delayMs)
{
    Advance(delayMs - 1);
    EXPECT_EQ(Happened(), "");
    Advance(1);
    return Happened();
}

Lines TapScene::Reports()
{
    Lines lines;
    for (const Host::SysEvent& event : Host::ReadSysEvents(eventSeq_)) {
        eventSeq_ = event.seq;
        const auto value = [&event](const char* key) { return ValueOf(event.json, key) + " "; };
        EXPECT_EQ(value("ORG_PKG") + value("TRIGGER_MODE") + value("COMM_SERV") + value("BIZ_SCENE"), "pelago 2 2 3 ");
        lines.push_back("radar " + value("FUNC") + value("BIZ_STAGE") + value("STAGE_RES") + value("BIZ_STATE") +
                        value("ERROR_CODE") + ValueOf(event.json, "CONCURRENT_ID"));
    }
    return lines;
}

// Without those of the maps' misses, which are told elsewhere.
Lines TapScene::Errors()
{
    Lines lines;
    for (const Host::LogLine& line : Host::ReadLog(logSeq_)) {
        logSeq_ = line.seq;
        if (line.level >= LOG_ERROR && line.text.find("is not found in") == std::string::npos) {
            lines.push_back("! " + line.text.substr(line.text.find("# ") + 2));
        }
    }
    return lines;
}

} // namespace OHOS::Pelago
