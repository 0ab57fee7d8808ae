#include "tap_scene.h"

#include <regex>

#include "hilog/host_log.h"
#include "host_sys_event.h"

namespace OHOS::Pelago {
namespace {

constexpr pid_t APP_PID = 4000; // the fixture's first client
constexpr int32_t KNOCK = 2;
constexpr int32_t CALLBACK = 1;

// The error lines that a tap, or the end of a case, writes by the way.
const char* const ANNOUNCED[] = {"connectionCorvaneShareApi_", "is not found in", "alternativeCbs",
    "GetShareDeviceInfoList size==0", "DelCallback pid 4000 failed, pid not found."};

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

std::string Replaced(std::string text, const std::string& what, const std::string& by)
{
    const size_t at = what.empty() ? text.size() : text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

PeerAnswer PeerAnswer::With(const std::string& what, const std::string& by) const
{
    PeerAnswer answer = *this;
    for (std::string* level : {&answer.cust, &answer.custom, &answer.extra}) {
        if (!what.empty() && level->find(what) != std::string::npos) {
            *level = Replaced(*level, what, by);
            return answer;
        }
    }
    answer.top = Replaced(top, what, by);
    return answer;
}

std::string PeerAnswer::Text() const
{
    const std::string customData = "{" + custom + ",\"custData\":" + Quoted("{" + cust + "}") + "}";
    return "{" + top + ",\"extraData\":" + Quoted("{" + extra + ",\"CUSTOM_DATA\":" + Quoted(customData) + "}") + "}";
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
    SharingScene::SetUp();
    for (const char* error : ANNOUNCED) {
        AllowError(error);
    }
    EXPECT_TRUE((*client)->RegisterShareApiCallback(app));
    EXPECT_TRUE((*client)->RegisterShareEventCallback(KNOCK, CALLBACK));
    Host::Device::Instance().SetFocused(APP_PID, true);
    Unsubscribe(); // each case says when taps are wanted
    Skip();
}

std::string TapScene::Touch(const PeerAnswer& answer)
{
    Collab().Knock();
    Settle();
    Collab().PublishEvent(answer.Text());
    return Happened();
}

std::string TapScene::Deliver(const std::string& text)
{
    Collab().Deliver(text);
    return Happened();
}

void TapScene::Subscribe()
{
    EXPECT_TRUE(Service()->RegisterMotionSenderListener());
}

void TapScene::Unsubscribe()
{
    EXPECT_TRUE(TrellisService::UnRegisterMotionSenderListener());
}

void TapScene::SwitchSharing(bool on)
{
    EXPECT_TRUE((*client)->SetShareEnableWithConfirm(
        on ? STATE_SHARE_ENABLE : STATE_SHARE_DISABLE, DETECTABLE_LASTING, false, false));
    Skip();
}

std::string TapScene::Happened()
{
    Settle();
    std::string text;
    const auto add = [&text](const std::string& line) { text += (text.empty() ? "" : "; ") + line; };
    for (const PublishedState& state : Collab().TakeStates()) {
        const bool isTap = state.serviceName2 == "UI_CorvaneShare";
        const char* const role = state.serviceName == "UI_CorvaneShare_Send" ? "1" : "2";
        EXPECT_TRUE(!isTap || state.extraInfo == std::string("{\n\t\"isUiEnable\":\ttrue,\n\t\"role\":\t") + role +
                                                     ",\n\t\"type\":\t2,\n\t\"deviceType\":\t14\n}");
        add((isTap ? state.serviceName.substr(16) : state.serviceName2) + " " + std::to_string(state.state));
    }
    for (const std::string& line : extension->TakeHeard()) {
        add(Short(line));
    }
    for (const Lines& lines : {Reports(), client->TakeHeard(), std::exchange(app->heard, {}), Engine().TakeJournal()}) {
        std::for_each(lines.begin(), lines.end(), add);
    }
    for (const Host::LogLine& line : Host::ReadLog(logSeq_)) {
        logSeq_ = line.seq;
        const std::string error = line.text.substr(line.text.find("# ") + 2);
        if (line.level >= LOG_ERROR && std::none_of(std::begin(ANNOUNCED), std::end(ANNOUNCED),
                                           [&error](const char* known) { return error.find(known) != error.npos; })) {
            add("! " + error);
            AllowError(error);
        }
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

void TapScene::Skip(int64_t ms)
{
    Advance(ms);
    Settle();
    logSeq_ = Host::LastLogSeq();
    (void)Happened();
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

} // namespace OHOS::Pelago
