#include "stage.h"

#include "expect.h"
#include "host/ipc_transport.h"

namespace OHOS::Pelago::Load {

namespace {

bool IsIgnored(int signal)
{
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// The player leads its group. Those whose parents have ended before them have become our children.
void EndGroup(Bench::Child& player)
{
    const pid_t group = player.Pid();
    (void)::kill(-group, SIGKILL);
    player.Kill();
    while (::waitpid(-group, nullptr, 0) > 0) {
    }
}

[[noreturn]] void EndBy(int signal)
{
    sigset_t set;
    (void)::sigemptyset(&set);
    (void)::sigaddset(&set, signal);
    (void)::signal(signal, SIG_DFL);
    (void)::raise(signal); // whoever waits for us sees why we ended
    (void)::sigprocmask(SIG_UNBLOCK, &set, nullptr);
    Bench::Fail("a signal does not end us");
}

} // namespace

Stage::Stage()
{
    (void)::sigemptyset(&awaited_);
    (void)::sigaddset(&awaited_, SIGCHLD);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!IsIgnored(signal)) {
            (void)::sigaddset(&awaited_, signal);
        }
    }
    Require(::sigprocmask(SIG_BLOCK, &awaited_, &before_) == 0, "no signals");
    Require(::prctl(PR_SET_CHILD_SUBREAPER, 1) == 0, "no processes of others");
}

bool Stage::Play(const Story& story)
{
    int signal = 0;
    siginfo_t end{};
    {
        const Bench::MemoryFolder home;
        Bench::Child player([&](int) { Perform(story, home.Path()); });
        (void)::setpgid(player.Pid(), player.Pid()); // it does so too: whoever is first
        signal = AwaitEndOrSignal(player.Pid());
        (void)::waitid(P_PID, static_cast<id_t>(player.Pid()), &end, WEXITED | WNOHANG | WNOWAIT);
        EndGroup(player);
    }
    if (signal != 0) {
        EndBy(signal);
    }
    if (end.si_code != CLD_EXITED) {
        Print("  VIOLATED: the story was ended by signal %d\n", end.si_status);
    }
    return end.si_code == CLD_EXITED && end.si_status == 0;
}

void Stage::Perform(const Story& story, const std::filesystem::path& home) const
{
    (void)::setpgid(0, 0); // a Ctrl-C is for the stage, which ends the group
    (void)::sigprocmask(SIG_SETMASK, &before_, nullptr);
    story(home);
    (void)Host::DisconnectFromDaemons();
    std::_Exit(IsWell() ? 0 : 1);
}

// The signal that came, or 0 when the player has ended; it is not reaped yet, so that its number is still its own.
int Stage::AwaitEndOrSignal(pid_t player) const
{
    for (;;) {
        const int signal = ::sigwaitinfo(&awaited_, nullptr);
        siginfo_t end{};
        if (signal > 0 && signal != SIGCHLD) {
            return signal;
        }
        if (::waitid(P_PID, static_cast<id_t>(player), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid != 0) {
            return 0;
        }
    }
}

} // namespace OHOS::Pelago::Load
