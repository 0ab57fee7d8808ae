#include <future>
#include <random>

#include "process_scene.h"

// Applications of the share API, as processes: ones that hang, die, and come in crowds.
namespace OHOS::Pelago {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) // which take a lot of memory for each process
constexpr size_t CROWD = 40;
#else
constexpr size_t CROWD = 200;
#endif

class Applications : public ProcessScene {
protected:
    std::unique_ptr<Child> App(const std::string& bundle, std::vector<std::string> words)
    {
        words.insert(words.begin(), {"app", "--bundle", bundle, "--on-gesture"});
        auto child = Pelago(words);
        child->Await("ready");
        return child;
    }
    void SwingAt(pid_t pid) const
    {
        phone->Focus(pid);
        Host::ControlAnswer answer = phone->Control({"swing"});
        EXPECT_EQ(answer.result, Host::ControlResult::DONE) << answer.error;
    }
    bool HasRegistered(size_t count) const
    {
        const std::string n = std::to_string(count) + ",";
        return phone->Shows({"\"apps\":" + n, "\"swing\":" + n});
    }

    const std::unique_ptr<RunningDevice> phone = NewDevice("phone");
};

TEST_F(Applications, EachOneThatIsStuckCostsTheNextOneWaitTimeWhileTheServiceAnswersEverybodyElse)
{
    std::vector<std::unique_ptr<Child>> stuck;
    for (const char* bundle : {"com.example.first", "com.example.second"}) {
        stuck.push_back(App(bundle, {"--hang", "60"}));
    }
    auto lively = App("com.example.lively", {});
    for (const auto& app : stuck) {
        auto gesture = std::async(std::launch::async, [&] { SwingAt(app->Pid()); });
        app->Await("gesture"); // it is inside
        EXPECT_TRUE(phone->As("plain")->IsFocusPidsRegisterSwing());
        EXPECT_EQ(phone->As("app")->GetEnableState(), 0);
        EXPECT_EQ(gesture.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    }
    SwingAt(lively->Pid());
    lively->Await("gesture");
    stuck[0]->Signal(SIGTERM);
    EXPECT_EQ(stuck[0]->Wait(), 0) << "an application that hangs still ends cleanly";
}

TEST_F(Applications, OneThatLeavesInsideItsCallbackMayStillAnswer)
{
    auto leaving = App("com.example.leaving", {"--text", "bye", "--leave-inside"});
    SwingAt(leaving->Pid());
    leaving->Await("answered the gesture");
    EXPECT_TRUE(HasRegistered(0));
    EXPECT_EQ(phone->Dumped("gesture", "cacheType"), 1);
}

// One of the crowd.
struct Member {
    std::string id; // of its callback
    std::unique_ptr<Child> app;
    size_t gestures = 0; // that were meant for it

    size_t Told(const std::string& what) const
    {
        const std::string said = app->Output();
        size_t times = 0;
        for (size_t at = said.find(what); at != std::string::npos; at = said.find(what, at + 1)) {
            ++times;
        }
        return times;
    }
    void ExpectToldOnlyWhatIsForIt() const
    {
        EXPECT_LE(Told("\"event\""), gestures) << app->Output();
        EXPECT_EQ(Told("\"event\""), Told("\"callbackId\":" + id + ",")) << app->Output();
    }
};

TEST_F(Applications, OfACrowdThatDiesWhileEventsArriveNothingIsToldTheWrongOneAndNothingIsLeft)
{
    constexpr uint32_t SEED = 20;
    SCOPED_TRACE("seed " + std::to_string(SEED));
    std::mt19937 random(SEED);
    std::vector<Member> crowd;
    while (crowd.size() < CROWD) {
        const std::string id = std::to_string(crowd.size());
        crowd.push_back(
            {id, Pelago({"-j", "app", "--bundle", "com.example.a" + id, "--callback-id", id, "--on-gesture"})});
    }
    ASSERT_TRUE(HasRegistered(CROWD));
    while (crowd.size() > CROWD / 2) {
        size_t chosen = random() % crowd.size();
        ++crowd[chosen].gestures;
        auto gesture = std::async(std::launch::async, [this, pid = crowd[chosen].app->Pid()] { SwingAt(pid); });
        if (random() % 2 == 0) {
            gesture.wait();
            chosen = random() % crowd.size();
        }
        crowd[chosen].app->Signal(SIGKILL); // perhaps just while it is told
        gesture.wait();
        crowd[chosen].ExpectToldOnlyWhatIsForIt();
        crowd.erase(crowd.begin() + static_cast<ptrdiff_t>(chosen));
    }
    EXPECT_TRUE(HasRegistered(CROWD / 2));
    ++crowd[0].gestures;
    SwingAt(crowd[0].app->Pid());
    EXPECT_TRUE(WaitUntil([&] { return crowd[0].Told("\"event\"") == crowd[0].gestures; }));
    for (const Member& member : crowd) {
        member.ExpectToldOnlyWhatIsForIt();
    }
    crowd.clear();
    EXPECT_TRUE(HasRegistered(0));
}

} // namespace
} // namespace OHOS::Pelago
