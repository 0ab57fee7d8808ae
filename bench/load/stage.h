#ifndef PELAGO_BENCH_LOAD_STAGE_H
#define PELAGO_BENCH_LOAD_STAGE_H

#include <csignal>
#include <filesystem>
#include <functional>

#include "bench_util.h"

namespace OHOS::Pelago::Load {

// Where stories are played, one after the other, each in a process and a home of its own: nothing of one is left in
// the next, and nothing is left behind whatever a story comes to. One, made by main before everything else, for its one
// thread; from then on it alone takes the signals that end a program (save those that are ignored: nohup), and the
// processes of stories become its children when their parents end. Killed by SIGKILL it leaves the home; the processes
// end with it even so.
class Stage {
public:
    using Story = std::function<void(const std::filesystem::path& home)>;

    Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // Whether the story came to its end and was well. All of its processes have ended then, and its home is gone. When
    // a signal comes, it ends the story first and then us: there is no return.
    [[nodiscard]] bool Play(const Story& story);

private:
    [[noreturn]] void Perform(const Story& story, const std::filesystem::path& home) const;
    int AwaitEndOrSignal(pid_t player) const;

    sigset_t awaited_{};
    sigset_t before_{}; // what was blocked before us
};

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_STAGE_H
