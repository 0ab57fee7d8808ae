#ifndef PELAGO_TESTS_SWITCH_SCENE_H
#define PELAGO_TESTS_SWITCH_SCENE_H

#include <optional>

#include "hilog/host_log.h"
#include "service_fixture.h"
#include "switch/share_setting_keys.h"

namespace OHOS::Pelago {

// What happens next: steps of SwitchScene::Play; all that can be seen of it: SwitchScene::Seen, null for what leads to
// the story only; and texts of the log, separated by '|': the step must have written each; "!text": must not; "~text":
// an error that belongs to it, whoever wrote it.
struct Step {
    const char* play;
    const char* seen = nullptr;
    const char* said = "";
};

struct Story {
    const char* name;
    std::vector<Step> steps;
};

// Names a case by its story.
struct StoryName {
    std::string operator()(const testing::TestParamInfo<Story>& info) const;
};

// A device with a client that listens: what the switch is given, and everything that it leaves behind.
class SwitchScene : public ServiceFixture {
public:
    using Words = std::vector<std::string>;

    // "boot 1,2,0; wifi off & off; wait heal-1": steps in turn. The device settles after each ';', and what the switch
    // promises to hold between two events is then checked. The verbs stand in switch_scene.cpp.
    void Play(const std::string& steps);
    // What the switch holds, what it wrote, and what it did since the last Forget:
    //   state,type,permission and what is special | state file | settings: main,detect,permission, the secure table
    //   behind a '/' where it differs | recover pair | engine calls | how often the client heard | what waits for time
    // File and settings that say what the switch says are '='; "quiet" stands for the last three without anything.
    std::string Seen();
    void Forget();

protected:
    void Tell(const Story& story);

    static ShareSwitchManager::Snapshot State();
    static std::string Setting(const char* key, std::optional<int32_t> user = std::nullopt);
    // Whether the log has this text since the last Forget. If it is an error, the case so announces it.
    bool Said(const std::string& text);
    // The ids of the messages that the runner handled since the last Forget.
    std::string Messages() const;
    void TearDown() override;

private:
    struct Verbs;

    void Do(const Words& words);
    void StartWithClient(const std::vector<int32_t>& stateFile);
    std::string EngineCalls();

    std::unique_ptr<TestClient> client_;
    uint64_t logSeen_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SWITCH_SCENE_H
