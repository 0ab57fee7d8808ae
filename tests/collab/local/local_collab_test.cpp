#include <map>
#include <optional>

#include <gtest/gtest.h>

#include "device_picker_client.h"
#include "host/scheduler.h"
#include "local_collab.h"

using namespace OHOS;
using namespace OHOS::Synfold;

namespace {

constexpr int32_t SHARE_ABILITY = 65570;
constexpr int32_t REFUSED = LocalCollab::RESULT_REFUSED;

class Service;
using Devices = std::map<std::string, Service*>;

// A device: one stand-in, the service above it, which does what its case says and writes down what it hears, and the
// wire below it, on which a note arrives as a task of its own.
class Service {
public:
    struct Publish : ServicePublishCallbackStub {
        explicit Publish(Service& given) : service(given)
        {}
        int32_t OnKnockEvent(sptr<RequestResultInfo>) override
        {
            service.heard += "knock ";
            return service.interested;
        }
        int32_t OnPublishEvent(sptr<RequestResultInfo> info) override
        {
            service.heard += "publish ";
            service.published = info->GetExtraInfo();
            return 0;
        }
        Service& service;
    };
    struct Deliver : ServiceDeliverCallbackStub {
        explicit Deliver(Service& given) : service(given)
        {}
        int32_t OnDeliver(const std::string& text) override
        {
            service.heard += "deliver ";
            service.delivered = text;
            if (text.find("actionId") != std::string::npos && !service.reply.empty()) {
                EXPECT_EQ(service.collab->RequestServiceByParam(service.reply, service.publish), 0);
                EXPECT_EQ(service.collab->RequestServiceByParam(service.reply, service.publish), REFUSED) << "answered";
            }
            return service.deliverResult;
        }
        Service& service;
    };
    struct Wire : NoteCarrier {
        Wire(std::string id, Devices& all) : from(std::move(id)), devices(all)
        {}
        void Send(const std::string& peer, const std::string& note, std::function<void(bool)> done) override
        {
            auto arrive = [this, peer, note, done] {
                auto found = devices.find(peer);
                done(found != devices.end());
                if (found != devices.end()) {
                    found->second->collab->OnNote(from, note);
                }
            };
            ASSERT_NE(queue->Post(arrive), 0U);
        }
        const std::string from;
        Devices& devices;
        const std::shared_ptr<Host::TaskQueue> queue = Host::Scheduler::Instance().CreateQueue("wire");
    };

    Service(const std::string& id, Devices& devices)
        : collab(std::make_shared<LocalCollab>(
              CollabDevice{id, id + "'s name", 14, "02:00:00:00:00:01"}, std::make_shared<Wire>(id, devices)))
    {
        devices[id] = this;
        EXPECT_EQ(collab->RequestService(LocalCollab::TAP_CODE, publish), 0);
        EXPECT_EQ(collab->RegisterServiceDeliverCallback(SHARE_ABILITY, deliver), 0);
    }

    const std::shared_ptr<LocalCollab> collab;
    sptr<Publish> publish = new Publish(*this);
    sptr<Deliver> deliver = new Deliver(*this);
    int32_t interested = 1;
    int32_t deliverResult = 0;
    std::string reply = R"({"serviceCode":9,"concurrentId":"c","actionId":1,"shareState":1,"custData":"{\"OH\":1}"})";
    std::string heard;
    std::string published; // last, as is `delivered`
    std::string delivered;
};

class LocalCollabTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime());
        Restart();
    }
    void TearDown() override
    {
        a->collab->Close();
        b->collab->Close();
    }
    void Restart()
    {
        a.emplace("A", devices);
        b.emplace("B", devices);
    }
    uint32_t Tap()
    {
        return a->collab->Tap("B", [this](TapStep end) { ended += NameOf(end); });
    }
    static void Advance(int64_t ms = 0)
    {
        ASSERT_TRUE(Host::Scheduler::Instance().Advance(ms));
    }

    Devices devices;
    std::optional<Service> a;
    std::optional<Service> b;
    std::string ended;
};

TEST_F(LocalCollabTest, ATapCarriesTheRequestThereAndTheAnswerBackInThreeLevels)
{
    EXPECT_EQ(Tap(), 1U);
    EXPECT_EQ(a->heard, ""); // never inside a request
    Advance();
    EXPECT_EQ(b->heard, "deliver ");
    EXPECT_EQ(b->delivered.find(R"({"serviceId":"pelago.sender","concurrentId":"A-)"), 0U) << b->delivered;
    EXPECT_EQ(a->published,
        R"({"deviceId":"B","deviceName":"B's name","deviceTypeId":14,"concurrentId":"c","extraData":)"
        R"("{\"CONN_ADDR_TYPE\":2,\"BLE_MAC\":\"02:00:00:00:00:01\",\"CUSTOM_DATA\":)"
        R"(\"{\\\"serviceId\\\":\\\"pelago.receiver\\\",\\\"subId\\\":\\\"4\\\",\\\"shareState\\\":1,)"
        R"(\\\"discType\\\":\\\"Action\\\",\\\"actionId\\\":1,\\\"custData\\\":\\\"{\\\\\\\"OH\\\\\\\":1}\\\"}\"}"})");
    EXPECT_EQ(ended, "answered");
    CollabView view = a->collab->View();
    ASSERT_EQ(view.texts.size(), 2U);
    EXPECT_EQ(view.texts[0].what + view.texts[1].what, "knockpublish");
}

TEST_F(LocalCollabTest, EachTapEndsInOneWayAndTheUserWhoMustKnowIsTold)
{
    const std::string BUSY = R"({"serviceCode":9,"actionId":1,"custData":"{\"shareBusy\":1}"})";
    const struct {
        const char* end;
        std::function<void()> given;
        const char* aHears;
        const char* bHears;
        const char* notified; // what the last delivery on either side says
    } ROWS[] = {
        {"answered", [] {}, "knock publish ", "deliver ", ""},
        {"no application", [this] { a->interested = 0; }, "knock ", "deliver ", R"("notifyInfo":1)"},
        {"no application", [this] { EXPECT_EQ(a->collab->UnRequestService(LocalCollab::TAP_CODE), 0); }, "", "deliver ",
            R"("notifyInfo":1)"},
        {"busy", [&] { b->reply = BUSY; }, "knock deliver ", "deliver ", R"("notifyInfo":3)"},
        {"unreachable", [this] { devices.erase("B"); }, "knock ", "", ""},
        {"no answer", [this] { b->reply.clear(); }, "knock ", "deliver ", ""},
        {"no answer", [this] { b->reply.clear(), b->deliverResult = -1; }, "knock ", "deliver ", ""},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.end);
        Restart();
        ended.clear();
        row.given();
        ASSERT_NE(Tap(), 0U);
        Advance(LocalCollab::ANSWER_LIMIT_MS - 1);
        EXPECT_EQ(ended, std::string(row.end) == "no answer" ? "" : row.end);
        Advance(1);
        EXPECT_EQ(ended, row.end);
        EXPECT_EQ(a->heard, row.aHears);
        EXPECT_EQ(b->heard, row.bHears);
        const std::string told = a->delivered + b->delivered;
        EXPECT_NE(told.find(row.notified), std::string::npos) << told;
    }
}

TEST_F(LocalCollabTest, NotesThatMakeNoSenseAreDropped)
{
    b->reply.clear(); // the tap stays open
    ASSERT_EQ(Tap(), 1U);
    Advance();
    a->heard.clear();
    const std::string GOOD =
        R"({"note":"reply","tap":1,"name":"B","type":1,"bleMac":"","reply":"{\"serviceCode\":9,\"actionId\":1,\"custData\":\"\"}"})";
    auto with = [&GOOD](const std::string& from, const std::string& to) {
        std::string text = GOOD;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::string ROWS[] = {"", "[]", std::string(100'000, '['), std::string(1'000'000, ' '),
        GOOD.substr(0, GOOD.size() - 1), with("reply", "replies"), with(R"("reply")", "7"),
        with(R"("tap":1)", R"("tap":"1")"), with(R"("tap":1)", R"("tap":2)"), with(R"("tap":1)", R"("tap":4294967297)"),
        with(R"("tap":1)", R"("tap":1.5)"), with(R"("name":"B")", R"("name":null)"),
        with(R"("name":"B")", "\"name\":\"" + std::string(2000, 'x') + "\""), with(R"("type":1)", R"("type":1e99)"),
        with("9,", "8,"), with("9,", "9 "), with(R"(\"actionId\":1)", R"(\"actionId\":-1)"),
        with(R"(\"custData\":\"\")", R"(\"custData\":{})"), R"({"note":"request","tap":1})",
        R"({"note":"notice","notifyInfo":"1"})"};
    for (const std::string& note : ROWS) {
        a->collab->OnNote("B", note);
        Advance();
        EXPECT_EQ(a->heard, "") << note.substr(0, 200);
    }
    a->collab->OnNote("C", GOOD); // not whom we touched
    Advance();
    EXPECT_EQ(a->heard, "");
    a->collab->OnNote("B", GOOD);
    a->collab->OnNote("B", GOOD); // once is enough
    Advance();
    EXPECT_EQ(a->heard, "publish ");
}

TEST_F(LocalCollabTest, ARequestThatNobodyCanUseIsRefused)
{
    const std::string REPLY = R"({"serviceCode":9,"actionId":1,"custData":""})";
    EXPECT_EQ(a->collab->RequestService(9, a->publish), REFUSED);
    EXPECT_EQ(a->collab->RequestService(LocalCollab::TAP_CODE, nullptr), REFUSED);
    EXPECT_EQ(a->collab->RegisterServiceDeliverCallback(SHARE_ABILITY, nullptr), REFUSED);
    EXPECT_EQ(b->collab->RequestServiceByParam(REPLY, b->publish), REFUSED) << "to nothing";
    b->reply.clear();
    ASSERT_NE(Tap(), 0U);
    Advance();
    EXPECT_EQ(b->collab->RequestServiceByParam("{", b->publish), REFUSED);
    EXPECT_EQ(b->collab->RequestServiceByParam(REPLY, nullptr), REFUSED);
    EXPECT_EQ(b->collab->RequestServiceByParam(REPLY + std::string(LocalCollab::MAX_TEXT, ' '), b->publish), REFUSED);
    Advance(LocalCollab::ANSWER_LIMIT_MS);
    EXPECT_EQ(b->collab->RequestServiceByParam(REPLY, b->publish), REFUSED) << "too late";
}

TEST_F(LocalCollabTest, WhatCanWaitIsLimitedOnBothSides)
{
    const std::string ONE = "deliver ";
    b->reply.clear();
    for (size_t i = 0; i < LocalCollab::MAX_UNDER_WAY; ++i) {
        EXPECT_NE(Tap(), 0U);
    }
    EXPECT_EQ(Tap(), 0U);
    Advance();
    a->collab->OnNote("B", "not counted");
    b->collab->OnNote("A", R"({"note":"request","tap":99,"concurrentId":""})");
    Advance();
    EXPECT_EQ(b->heard.size(), LocalCollab::MAX_UNDER_WAY * ONE.size());
    Advance(LocalCollab::ANSWER_LIMIT_MS);
    EXPECT_NE(Tap(), 0U);
    Advance();
    b->heard.clear();
    for (size_t i = 0; i <= LocalCollab::MAX_WAITING_NOTES; ++i) {
        b->collab->OnNote("A", R"({"note":"notice","notifyInfo":1})");
    }
    Advance();
    EXPECT_EQ(b->heard.size(), LocalCollab::MAX_WAITING_NOTES * ONE.size());
}

TEST_F(LocalCollabTest, TheLastStatesAreKeptInOrderAndObserversGetThemWhole)
{
    size_t bytes = 0;
    int changes = 0;
    a->collab->SetObservers(
        [&bytes](const ServiceState& state) { bytes += state.extraInfo.size(); }, [&changes] { ++changes; });
    const std::string LONG(LocalCollab::MAX_TEXT + 10, 'x');
    for (size_t i = 0; i <= LocalCollab::KEPT; ++i) {
        EXPECT_EQ(a->collab->PublishServiceState("UI", "UI", i == LocalCollab::KEPT ? LONG : "{}", 2), 0);
    }
    EXPECT_EQ(bytes, 0U); // never inside a request
    Advance();
    EXPECT_EQ(bytes, 2 * LocalCollab::KEPT + LONG.size());
    EXPECT_GT(changes, 0);
    CollabView view = a->collab->View();
    ASSERT_EQ(view.states.size(), LocalCollab::KEPT);
    EXPECT_EQ(view.states.front().sequence, 2U);
    EXPECT_EQ(view.states.back().extraInfo, LONG.substr(0, LocalCollab::MAX_TEXT) + "...");
}

TEST_F(LocalCollabTest, AnEventPlayedByHandGivesTheServicesAnswerUntilItIsClosed)
{
    a->interested = 3;
    std::vector<int32_t> results;
    auto play = [&](CollabEvent event) {
        a->collab->Play(event, "anything", [&results](int32_t result) { results.push_back(result); });
        Advance();
    };
    play(CollabEvent::KNOCK);
    play(CollabEvent::PUBLISH);
    EXPECT_EQ(a->published, "anything");
    EXPECT_EQ(a->collab->UnRequestService(LocalCollab::TAP_CODE), 0);
    play(CollabEvent::KNOCK);
    a->collab->Close();
    play(CollabEvent::DELIVER);
    EXPECT_EQ(results, (std::vector<int32_t>{3, 0, RESULT_NOT_CALLED, RESULT_NOT_CALLED}));
    EXPECT_TRUE(a->delivered.empty());
}

} // namespace
