// Which application hears of a knock or a gesture, and what is left of one that dies.

#include <map>
#include <random>
#include <sstream>

#include "gesture/share_focus_listener.h"
#include "gesture_scene.h"
#include "hilog/host_log.h"
#include "runtime_env.h"

namespace OHOS::Pelago {
namespace {

using ShareEvent::GESTURES;
using ShareEvent::KNOCK;

class SilentApi : public ShareApiCallbackStub {
public:
    void OnShareEventOccurred(int32_t, int32_t, const ShareDeviceInfo&) override
    {}
};

class ShareApi : public GestureScene {
protected:
    void SetUp() override
    {
        GestureScene::SetUp();
        for (const char* words : {"alternativeCbs empty!", "alternativeCbs still empty!", "Duplicate cbId",
                 "cannot find PelagoApiCallback!.", "motionSenderCb_ nullptr"}) {
            AllowError(words);
        }
    }
    static void SetClock(RuntimeEnv::Clock clock)
    {
        RuntimeEnv::Install({Root(), clock, Host::Scheduler::StartDetached});
    }
    static bool LoggedSince(uint64_t from, const std::string& text)
    {
        const auto lines = Host::ReadLog(from);
        return std::any_of(lines.begin(), lines.end(),
            [&text](const Host::LogLine& line) { return line.text.find(text) != std::string::npos; });
    }
    static void Take(const std::string& step, int32_t event, TestApp& app)
    {
        const int32_t cbId = std::atoi(step.c_str() + step.rfind(' '));
        const std::map<std::string, std::function<void()>> verbs = {
            {"focus", [&] { app.Focus(); }},
            {"front",
                [&] {
                    Foreground({-1, app.Pid()});
                }},
            {"want", [&] { app.Want(event, cbId); }},
            {"and", [&] { app.Want(event, cbId); }},
            {"other", [&] { app.Want(KNOCK + GESTURES - event, cbId); }},
            {"drop", [&] { EXPECT_TRUE(app->UnregisterShareEventCallback(event, cbId)); }},
            {"leave", [&] { EXPECT_TRUE(app->UnregisterShareApiCallback(new SilentApi())); }},
            {"die", [&] { Die(app); }},
            {"clock", [] { SetClock([] { return int64_t{0}; }); }},
        };
        const std::string verb = step.substr(0, step.find(' '));
        verbs.at(verb)();
        Advance(verb == "and" ? 0 : 1);
    }
    // Lets the event happen, and says which of the two hears it: "a 1", "b 2" or "".
    std::string WhoHears(int32_t eventId, TestApp& a, TestApp& b)
    {
        Settle();
        if (eventId == GESTURES) {
            Gesture();
        } else {
            std::vector<int32_t> pids;
            TrellisService::GetFocusedPids(pids);
            ShareDeviceInfo device = Entry("phone", Discoverer::TAP | Discoverer::SWING);
            device.concurrentId = "c";
            DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->NotifyUserDeviceFound(device, pids, nullptr);
        }
        const std::string words = eventId == GESTURES ? " -1 c" : " phone c";
        std::string who;
        for (const auto& [app, name] : {std::pair(&a, "a "), std::pair(&b, "b ")}) {
            for (std::string line : app->TakeHeard()) {
                EXPECT_EQ(line.front() - '0', eventId);
                EXPECT_EQ(line.substr(line.size() - words.size()), words);
                who += name + line.substr(2, line.size() - words.size() - 2);
            }
        }
        return who;
    }
};

TEST_F(ShareApi, TellsTheNewestCallbackOfThoseInFrontAndOfNobodyElse)
{
    struct Row {
        const char* steps; // of applications a and b, a millisecond each; "and" takes no time
        const char* hears;
        const char* knock; // why, in the log
        const char* gesture;
    };
    const char* got = "AddCallback success.";
    const char* asked = "Focus pid has registered, no need cache.";
    const char* behind = "UpdateAlternativePidsByForeground pid has registered";
    const char* kept = "SwingEventNeedCache.";
    const char* empty = "alternativeCbs empty!";
    const char* none = "alternativeCbs still empty!";
    const char* two = "FocusedPid size err 2.";
    const char* lost = "cannot find PelagoApiCallback!.";
    const Row rows[] = {
        {"focus a, want a 1", "a 1", got, asked}, {"focus a", "", none, kept}, {"want a 1", "", none, kept},
        {"focus a, other a 1", "", none, kept}, {"front b, want b 2", "b 2", empty, behind},
        {"focus a, front b, want b 2", "b 2", empty, behind},
        {"focus a, front b, want a 1, want b 2", "a 1", got, asked},
        {"focus a, focus b, want b 2, want a 1", "a 1", two, two},
        {"focus a, focus b, want a 1, want b 2", "b 2", two, two},
        {"focus a, want a 5, want a 6, want a 5", "a 5", "Duplicate cbId 5", "Duplicate cbId 5"},
        {"focus a, and a 9, and a 3", "a 3", got, asked}, // of equal times the lowest
        {"focus a, want a 1, want a 2, drop a 2", "a 1", "DelCallback 2 for pid", asked},
        {"focus a, want a 1, drop a 1", "", none, kept},
        {"focus a, want a 1, want a 2, drop a -1", "", "DelAllCallback for pid", kept},
        {"focus a, want a 1, leave a", "", lost, lost}, {"focus a, want a 1, die a", "", none, kept},
        {"focus a, focus b, want b 2, want a 1, die a", "b 2", "DelShareEventCallback -1 for pid", two},
        {"focus a, clock a, want a 1", "", "pid 0 cannot find", "pid 0 cannot find"}, // time 0 never wins
    };
    for (const Row& row : rows) {
        for (const int32_t event : {KNOCK, GESTURES}) {
            SCOPED_TRACE(std::string(row.steps) + (event == KNOCK ? ", knock" : ", gesture"));
            const uint64_t from = Host::LastLogSeq();
            auto a = NewApp();
            auto b = NewApp();
            std::istringstream steps(row.steps);
            for (std::string step; std::getline(steps >> std::ws, step, ',');) {
                Take(step, event, step.find(" a") == std::string::npos ? *b : *a);
            }
            EXPECT_EQ(WhoHears(event, *a, *b), row.hears);
            EXPECT_TRUE(LoggedSince(from, event == KNOCK ? row.knock : row.gesture));
            for (TestApp* app : {a.get(), b.get()}) {
                app->Focus(false);
                (void)(*app)->UnregisterShareEventCallback(event, -1); // may be gone
                Die(*app);
            }
            Foreground({});
            SetClock([] { return Host::Scheduler::Instance().WallTimeMs(); });
            TrellisService::TryToConsumeSwingCache(1); // what was remembered is for nobody
            EXPECT_EQ(Sizes(), std::vector<size_t>(4, 0));
        }
    }
}

TEST_F(ShareApi, RefusesForOneReasonAtATime)
{
    auto app = NewApp();
    auto stranger = NewClient(Host::TokenId::APP);
    const auto manager = DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
    const std::pair<std::function<bool()>, const char*> rows[] = {
        {[&] { return (*stranger)->RegisterShareEventCallback(7, 1); }, "ShareApiCallback not found."},
        {[&] { return (*app)->RegisterShareEventCallback(7, 1); }, "Invalid eventId 7"},
        {[&] { return (*app)->UnregisterShareEventCallback(8, 1); }, "Invalid eventId 8"},
        {[&] { return (*app)->UnregisterShareEventCallback(KNOCK, 1); }, "pid not found."},
        {[&] { return (*app)->RegisterShareEventCallback(KNOCK, 1), (*app)->UnregisterShareEventCallback(KNOCK, 2); },
            "cbId 2 not found."},
        {[&] { return manager->AddShareApiCallback(9, nullptr); },
            "AddShareApiCallback pid 9 failed, callback is null."},
        {[&] { return manager->IsPidRegistered(9, {1}); }, "Invalid eventId 9"},
    };
    for (const auto& [request, why] : rows) {
        AllowError(why);
        EXPECT_FALSE(request());
        EXPECT_TRUE(Logged(why)) << why;
    }
    EXPECT_FALSE(manager->IsPidRegistered(10, {}));
    EXPECT_FALSE(Logged("Invalid eventId 10"));
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 1, 0, 1}));

    EXPECT_TRUE((*app)->RegisterShareApiCallback(app->Api())); // the same again
    EXPECT_TRUE(Logged("The same Api Callback, exit"));
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 1, 0, 1}));
    EXPECT_TRUE((*app)->RegisterShareApiCallback(new SilentApi())); // another, in its place
    EXPECT_TRUE(Logged("Replace old Api Callback, exit"));
    EXPECT_EQ(Sizes(), (std::vector<size_t>{1, 1, 0, 1}));
    Die(*app);
    EXPECT_EQ(Sizes(), std::vector<size_t>(4, 0));
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
    EXPECT_TRUE((*a)->UnregisterShareEventCallback(GESTURES, -1));
    EXPECT_EQ(Engine().TakeAsked().find("Swing"), std::string::npos);
    EXPECT_TRUE(TrellisService::GetSwingView().subscribed);
    Die(*a);
}

// Whoever does not answer costs its wait time, and the one that wanted the event loses it.
TEST_F(ShareApi, GoesOnBehindOneThatHangsAndOneThatCallsBack)
{
    AllowError("SendRequest is failed");
    auto stuck = NewApp();
    auto eager = NewApp();
    stuck->Want(GESTURES, 1);
    stuck->Focus();
    stuck->Client().Process().SetHanging(true);
    const int64_t before = Host::Scheduler::Instance().BootTimeMs();
    Gesture("one");
    EXPECT_EQ(Host::Scheduler::Instance().BootTimeMs() - before, 8000);
    stuck->Focus(false);
    Die(*stuck);

    SendBean files;
    DataBean uris;
    eager->Answer([&](const ShareDeviceInfo& device) {
        ITrellisService& service = *eager->operator->();
        EXPECT_TRUE(service.UnregisterShareEventCallback(GESTURES, -1));
        EXPECT_TRUE(service.UnregisterShareApiCallback(eager->Api()));
        EXPECT_TRUE(service.RegisterShareApiCallback(eager->Api()));
        EXPECT_TRUE(service.RegisterShareEventCallback(GESTURES, 2));
        EXPECT_TRUE(service.IsFocusPidsRegisterSwing());
        EXPECT_TRUE(service.Send(device, files, "eager"));
        EXPECT_TRUE(service.SendFile(device, uris, "eager"));
        EXPECT_TRUE(service.SendBytes(device, BytesInfo()));
        EXPECT_TRUE(service.NotifyInfo(device, 1));
        EXPECT_FALSE(service.SwingConfirm(device, 1));
        EXPECT_FALSE(service.IsAppForeground("eager"));
    });
    AllowError("GetShareDeviceInfoList, size==0");
    eager->Want(GESTURES, 1);
    eager->Focus();
    Gesture("two");
    Gesture("three");
    Settle();
    EXPECT_EQ(eager->TakeHeard(), (Lines{"3 1 -1 two", "3 2 -1 three"}));
    EXPECT_EQ(TrellisService::GetSwingView().cacheType, 0); // its own refusal emptied it
    eager->Focus(false);
    Die(*eager);
}

// Whatever the order of deaths, registrations and events: nothing reaches the wrong one, and the dead leave nothing.
TEST_F(ShareApi, OutlivesTwoHundredApplicationsOfWhichHalfDie)
{
    constexpr size_t APPS = 200;
    AllowError("SendRequest is failed"); // of one that is dead, and nobody knows yet
    for (const uint64_t seed : {1, 2, 3}) {
        SCOPED_TRACE(seed);
        ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime(seed));
        std::mt19937_64 random(seed);
        std::vector<std::unique_ptr<TestApp>> apps;
        for (size_t i = 0; i < APPS; ++i) {
            apps.push_back(NewApp());
        }
        for (auto& app : apps) {
            for (const int32_t event : {KNOCK, GESTURES}) {
                app->Client().Process().Post(
                    [&app, event] { (void)(*app)->RegisterShareEventCallback(event, app->Pid()); });
            }
            app->Focus();
        }
        const auto killer = Host::Scheduler::Instance().CreateQueue("killer");
        std::vector<bool> dead(APPS);
        for (size_t i = 0; i < APPS / 2; ++i) {
            const size_t victim = random() % APPS;
            ASSERT_NE(killer->Post([&apps, &dead, victim] {
                apps[victim]->Client().Kill();
                dead[victim] = true;
                TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(0, 0, 0, std::to_string(victim), -1);
            }),
                0U);
        }
        Settle();
        const auto alive = static_cast<size_t>(std::count(dead.begin(), dead.end(), false));
        EXPECT_EQ(Sizes(), (std::vector<size_t>{alive, alive, alive, alive}));
        Gesture("last");
        size_t told = 0;
        for (size_t i = 0; i < APPS; ++i) {
            for (const std::string& line : apps[i]->TakeHeard()) {
                EXPECT_EQ(line.find("3 " + std::to_string(apps[i]->Pid()) + " -1"), 0U) << line;
                told += line.find("last") == std::string::npos ? 0 : 1;
                EXPECT_FALSE(dead[i] && line.find("last") != std::string::npos);
            }
            apps[i]->Focus(false);
        }
        EXPECT_EQ(told, 1U);
        apps.clear();
        Settle();
        EXPECT_EQ(Sizes(), std::vector<size_t>(4, 0));
    }
}

// A request that its process did not live to see answered.
TEST_F(ShareApi, ForgetsAProcessThatDiesInTheMiddleOfARegistration)
{
    AllowError("AddDeathRecipient failed!");
    const auto manager = DelayedSingleton<CorvaneShareCallbackManager>::GetInstance();
    auto app = NewApp();
    const sptr<PelagoApiCallback> proxy =
        iface_cast<PelagoApiCallback>(app->Client().Process().ProxyFor(app->Api()->AsObject()));
    app->Client().Kill();
    EXPECT_TRUE(manager->AddShareEventCallback(app->Pid(), 1, KNOCK));
    EXPECT_EQ(Sizes(), std::vector<size_t>(4, 0));
    EXPECT_TRUE(manager->AddShareApiCallback(app->Pid(), proxy));
    EXPECT_EQ(Sizes(), std::vector<size_t>(4, 0));
}

TEST_F(ShareApi, KnowsWhoIsInFront)
{
    for (const char* words : {"focusChangeInfo nullptr", "focusChangeInfo pid invalid", "pid is not in focusPids_"}) {
        AllowError(words);
    }
    Foreground({11, -1, 12});
    EXPECT_TRUE((*tile)->IsAppForeground("app.12"));
    EXPECT_FALSE((*tile)->IsAppForeground("app"));
    std::vector<int32_t> pids;
    TrellisService::UpdateAlternativePidsByForeground(pids);
    EXPECT_EQ(pids, (std::vector<int32_t>{11, 12}));
    Host::Faults::Inject("app.foreground", 2);
    TrellisService::UpdateAlternativePidsByForeground(pids); // they are a fall-back: nothing is asked
    EXPECT_EQ(pids.size(), 2U);
    pids.clear();
    TrellisService::UpdateAlternativePidsByForeground(pids);
    EXPECT_TRUE(pids.empty());
    EXPECT_FALSE((*tile)->IsAppForeground("app.12"));

    const sptr<ShareFocusListener> listener = ShareFocusListener::GetInstance();
    const auto info = [](int32_t pid) { return MakeSptr<Rosen::FocusChangeInfo>(pid, 1000); };
    for (const auto& change : {info(10), info(10), info(-1), sptr<Rosen::FocusChangeInfo>()}) {
        listener->OnFocused(change);
    }
    TrellisService::GetFocusedPids(pids);
    EXPECT_EQ(pids, std::vector<int32_t>{10});
    for (const auto& change : {info(10), info(10), info(-1), sptr<Rosen::FocusChangeInfo>()}) {
        listener->OnUnfocused(change); // a set: one of its two windows is enough
    }
    TrellisService::GetFocusedPids(pids);
    EXPECT_TRUE(pids.empty());
}

} // namespace
} // namespace OHOS::Pelago
