// Which application hears of a knock or a gesture, and what is left of one that dies.

#include "gesture/share_api_callback_proxy.h"
#include "gesture/share_focus_listener.h"
#include "gesture_scene.h"
#include "hilog/host_log.h"

namespace OHOS::Pelago {
namespace {

class ShareApi : public GestureScene {
protected:
    // "<verb> <application> <callback id>"
    static void Take(const std::string& step, int32_t event, TestApp& app)
    {
        const int32_t cbId = std::atoi(step.c_str() + step.rfind(' '));
        const std::string verb = step.substr(0, step.find(' '));
        if (verb == "focus") {
            app.Focus();
        } else if (verb == "front") {
            Host::Device::Instance().SetForegroundApplications({{app.pid, 1000, "app"}});
        } else if (verb == "die") {
            Die(app);
        } else if (verb == "leave") {
            EXPECT_TRUE(app->UnregisterShareApiCallback(new TestApp::Api(app)));
        } else if (verb == "drop") {
            EXPECT_TRUE(app->UnregisterShareEventCallback(event, cbId));
        } else {
            app.Want(verb == "other" ? KNOCK + GESTURES - event : event, cbId);
        }
        Advance(verb == "and" ? 0 : 1);
    }
};

TEST_F(ShareApi, TellsTheNewestCallbackOfThoseInFrontAndOfNobodyElse)
{
    // Of applications a and b, a millisecond each, and no time for "and"; who hears; why, in the log: knock and
    // gesture.
    using Row = std::tuple<std::string, std::string, std::string, std::string>;
    const std::string got = "AddCallback success.", asked = "Focus pid has registered, no need cache.",
                      behind = "UpdateAlternativePidsByForeground pid has registered", kept = "SwingEventNeedCache.",
                      empty = "alternativeCbs empty!", none = "alternativeCbs still empty!",
                      two = "FocusedPid size err 2.", lost = "cannot find PelagoApiCallback!.",
                      again = "Duplicate cbId 5";
    const Row rows[] = {
        {"focus a, want a 1", "a 1", got, asked},
        {"focus a", "", none, kept},
        {"want a 1", "", none, kept},
        {"focus a, other a 1", "", none, kept},
        {"front b, want b 2", "b 2", empty, behind},
        {"focus a, front b, want b 2", "b 2", empty, behind},
        {"focus a, front b, want a 1, want b 2", "a 1", got, asked},
        {"focus a, focus b, want b 2, want a 1", "a 1", two, two},
        {"focus a, focus b, want a 1, want b 2", "b 2", two, two},
        {"focus a, want a 5, want a 6, want a 5", "a 5", again, again},
        {"focus a, and a 9, and a 3", "a 3", got, asked}, // of equal times the lowest
        {"focus a, want a 1, want a 2, drop a 2", "a 1", "DelCallback 2 for pid", asked},
        {"focus a, want a 1, drop a 1", "", none, kept},
        {"focus a, want a 1, want a 2, drop a -1", "", "DelAllCallback for pid", kept},
        {"focus a, want a 1, leave a", "", lost, lost},
        {"focus a, want a 1, die a", "", none, kept},
        {"focus a, focus b, want b 2, want a 1, die a", "b 2", "DelShareEventCallback -1 for pid", got},
    };
    for (const auto& [story, hears, whyKnock, whyGesture] : rows) {
        for (const int32_t event : {KNOCK, GESTURES}) {
            SCOPED_TRACE(story + (event == KNOCK ? ", knock" : ", gesture"));
            const uint64_t from = Host::LastLogSeq();
            std::map<char, std::unique_ptr<TestApp>> apps;
            apps['a'] = NewApp();
            apps['b'] = NewApp();
            std::istringstream steps(story);
            for (std::string step; std::getline(steps >> std::ws, step, ',');) {
                Take(step, event, *apps.at(step[step.find(' ') + 1]));
            }
            Settle();
            std::vector<int32_t> pids;
            TrellisService::GetFocusedPids(pids);
            ShareDeviceInfo device = Entry("-1", Discoverer::TAP | Discoverer::SWING); // a knock's, then
            device.concurrentId = "c";
            event == GESTURES ? Gesture() : Manager().NotifyUserDeviceFound(device, pids, nullptr);
            std::string log;
            for (const Host::LogLine& line : Host::ReadLog(from)) {
                log += line.text + "\n";
            }
            EXPECT_NE(log.find(event == KNOCK ? whyKnock : whyGesture), std::string::npos);
            for (const auto& [name, app] : apps) {
                const bool mine = hears[0] == name;
                EXPECT_EQ(app->TakeHeard(), mine ? Lines{std::to_string(event) + hears.substr(1) + " -1 c"} : Lines());
                Die(*app);
            }
            Host::Device::Instance().SetForegroundApplications({});
            TrellisService::TryToConsumeSwingCache(1); // what was remembered is for nobody
            EXPECT_EQ(Sizes(), "0 0 0 0");
        }
    }
}

TEST_F(ShareApi, RefusesForOneReasonAtATime)
{
    AllowError("ShareApiCallback not found.", "Invalid eventId", "cbId 2 not found.", "callback is null.",
        "Duplicate cbId", "callback is null!");
    auto app = NewApp();
    auto stranger = NewClient(Host::TokenId::APP);
    const std::pair<std::function<bool()>, const char*> rows[] = {
        {[&] { return (*stranger)->RegisterShareEventCallback(7, 1); }, "ShareApiCallback not found."},
        {[&] { return (*app)->RegisterShareEventCallback(7, 1); }, "Invalid eventId 7"},
        {[&] { return (*app)->UnregisterShareEventCallback(8, 1); }, "Invalid eventId 8"},
        {[&] { return (*app)->UnregisterShareEventCallback(KNOCK, 1); }, "pid not found."},
        {[&] { return app->Want(KNOCK, 1), (*app)->UnregisterShareEventCallback(KNOCK, 2); }, "cbId 2 not found."},
        {[&] { return Manager().AddShareApiCallback(9, nullptr); }, "pid 9 failed, callback is null."},
        {[&] { return Manager().IsPidRegistered(9, {1}); }, "Invalid eventId 9"},
        {[&] { return (*app)->RegisterShareApiCallback(new ShareApiCallbackProxy((*app)->AsObject())); },
            "callback is null!"}, // one of the service's own
    };
    for (const auto& [request, why] : rows) {
        EXPECT_FALSE(request());
        EXPECT_TRUE(Logged(why)) << why;
    }
    EXPECT_FALSE(Manager().IsPidRegistered(10, {}));
    EXPECT_FALSE(Logged("Invalid eventId 10"));
    for (const auto& [api, said] : {std::pair(app->api, "The same Api Callback, exit"),
             std::pair(sptr<PelagoApiCallback>(new TestApp::Api(*app)), "Replace old Api Callback, exit")}) {
        EXPECT_TRUE((*app)->RegisterShareApiCallback(api));
        EXPECT_TRUE(Logged(said));
        EXPECT_EQ(Sizes(), "1 1 0 1");
    }
    Die(*app);
    EXPECT_EQ(Sizes(), "0 0 0 0");
}

TEST_F(ShareApi, SubscribesWithTheFirstAndGivesBackKnocksAlone)
{
    AllowError("SwingSubscribe failed.");
    auto a = NewApp();
    auto b = NewApp();
    Engine().Refuse("SwingSubscribe");
    a->Want(GESTURES, 1);
    a->Want(GESTURES, 2); // asks again after a refusal
    b->Want(GESTURES, 1);
    EXPECT_EQ(Engine().TakeAsked(), "SwingSubscribe, SwingSubscribe");
    EXPECT_EQ(Collab().TakeAsked(), "");
    EXPECT_TRUE(TrellisService::UnRegisterSwingSubscribeListener()); // goes by the knocks
    a->Want(KNOCK, 1);
    b->Want(KNOCK, 1);
    EXPECT_TRUE((*a)->UnregisterShareEventCallback(KNOCK, 1));
    EXPECT_EQ(Collab().TakeAsked(), "RequestService 8");
    Die(*b);
    EXPECT_EQ(Collab().TakeAsked(), "UnRequestService 8");
    Die(*a);
    EXPECT_EQ(Engine().TakeAsked().find("Swing"), std::string::npos);
    EXPECT_TRUE(TrellisService::GetSwingView().subscribed);
}

// A request that its process did not live to see answered.
TEST_F(ShareApi, ForgetsAProcessThatDiesInTheMiddleOfARegistration)
{
    AllowError("AddDeathRecipient failed!");
    auto app = NewApp();
    const auto proxy = iface_cast<PelagoApiCallback>(app->Process().ProxyFor(app->api->AsObject()));
    app->Kill();
    EXPECT_TRUE(Manager().AddShareEventCallback(app->pid, 1, KNOCK));
    EXPECT_EQ(Sizes(), "0 0 0 0");
    EXPECT_TRUE(Manager().AddShareApiCallback(app->pid, proxy));
    EXPECT_EQ(Sizes(), "0 0 0 0");
}

TEST_F(ShareApi, KnowsWhoIsInFront)
{
    AllowError("focusChangeInfo nullptr", "focusChangeInfo pid invalid", "pid is not in focusPids_");
    Host::Device::Instance().SetForegroundApplications({{11, 1000, "app.11"}, {-1, 1000, "app"}, {12, 1000, "app.12"}});
    EXPECT_TRUE((*client)->IsAppForeground("app.12"));
    EXPECT_FALSE((*client)->IsAppForeground("app.1"));
    std::vector<int32_t> pids;
    TrellisService::UpdateAlternativePidsByForeground(pids);
    EXPECT_EQ(pids, (std::vector<int32_t>{11, 12}));
    Host::Faults::Inject("app.foreground", 1);
    TrellisService::UpdateAlternativePidsByForeground(pids); // they are a fall-back: nothing is asked
    EXPECT_EQ(pids.size(), 2U);
    pids.clear();
    TrellisService::UpdateAlternativePidsByForeground(pids);
    EXPECT_TRUE(pids.empty());

    const sptr<ShareFocusListener> listener = ShareFocusListener::GetInstance();
    const auto ten = MakeSptr<Rosen::FocusChangeInfo>(10, 1000);
    const auto nobody = MakeSptr<Rosen::FocusChangeInfo>(-1, 1000);
    const std::vector<sptr<Rosen::FocusChangeInfo>> changes{ten, ten, nobody, nullptr};
    for (const auto& change : changes) {
        listener->OnFocused(change);
    }
    TrellisService::GetFocusedPids(pids);
    EXPECT_EQ(pids, std::vector<int32_t>{10});
    for (const auto& change : changes) {
        listener->OnUnfocused(change); // a set: one of its two windows is enough
    }
    TrellisService::GetFocusedPids(pids);
    EXPECT_TRUE(pids.empty());
}

} // namespace
} // namespace OHOS::Pelago
