#include "follower.h"

#include <algorithm>
#include <iterator>

#include "engine_errors.h"
#include "hilog/host_text.h"
#include "interrupt.h"
#include "peers.h"
#include "share_constants.h"

namespace OHOS::Pelago::Tools {
namespace {

constexpr int64_t STALL_MS = 5000;
constexpr int64_t BYTES_PER_SPEED = 1024; // the engine counts KiB a second

// The states that end a send.
constexpr struct {
    int32_t state;
    ExitCode code;
} ENDINGS[] = {
    {DeviceState::SUCCEEDED, EXIT_DONE},
    {DeviceState::REFUSED, EXIT_REFUSED},
    {DeviceState::DECLINED, EXIT_REFUSED},
    {DeviceState::CANCELLED, EXIT_CANCELLED},
    {DeviceState::FAILED, EXIT_FAILED},
    {DeviceState::NO_ANSWER, EXIT_TIMED_OUT},
    {DeviceState::BUSY, EXIT_FAILED},
    {DeviceState::NO_SPACE, EXIT_NO_SPACE},
    {DeviceState::ENDED_BY_2008, EXIT_FAILED},
    {DeviceState::ENDED_BY_1019, EXIT_FAILED},
};

std::optional<Ending> EndingOf(int32_t state)
{
    for (const auto& row : ENDINGS) {
        if (row.state == state) {
            return Ending{state, row.code, StateText(state)};
        }
    }
    return std::nullopt;
}

// Why a send failed, by the error that the engine reported with it.
struct Failure {
    int32_t error;
    ExitCode code;
    const char* text;
};

constexpr Failure FAILURES[] = {
    {EngineError::PEER_LOST, EXIT_FAILED, "the peer went away"},
    {EngineError::UNREACHABLE, EXIT_NO_SUCH, "the peer is not there any more"},
    {EngineError::PEER_IO, EXIT_NO_SPACE, "the receiver could not write a file"},
    {EngineError::BAD_NAME, EXIT_FAILED, "the receiver cannot use the name of a file"},
    {EngineError::PROTOCOL, EXIT_FAILED, "the two devices do not understand each other"},
    {EngineError::NOT_SUPPORTED, EXIT_FAILED, "the peer does not receive just now"},
    {EngineError::TOO_LARGE, EXIT_LIMIT, "the preview is too large"},
    {EngineError::BAD_SOURCE, EXIT_NO_SPACE, "a file cannot be read"},
    {EngineError::SOURCE_CHANGED, EXIT_NO_SPACE, "a file changed while it was sent"},
    {EngineError::NOT_ALLOWED, EXIT_PERMISSION, "a file belongs to somebody else"},
};

// `ending` with the reason, where there is one.
Ending Explained(const Ending& ending, int32_t error)
{
    auto found = std::find_if(
        std::begin(FAILURES), std::end(FAILURES), [error](const Failure& failure) { return failure.error == error; });
    bool known = ending.state == DeviceState::FAILED && found != std::end(FAILURES);
    return known ? Ending{ending.state, found->code, found->text} : ending;
}

} // namespace

Follower::Follower(const ShareDeviceInfo& peer, int64_t totalBytes)
    : peer_(peer), bar_(Host::EscapeForTerminal(NameOf(peer)), totalBytes)
{}

Ending Follower::Follow(Discoverer& discoverer, ITrellisService& service)
{
    size_t seen = 0;
    int64_t changedAt = NowMs();
    for (;;) {
        Course now = discoverer.WaitForChange(peer_.deviceId, seen);
        if (auto ending = EndOf(now, discoverer); ending.has_value()) {
            bar_.End();
            return *ending;
        }
        if (Interrupts() > 0 && !wasCancelled_) {
            (void)service.Cancel(peer_); // it may just have ended
            wasCancelled_ = true;
        }
        changedAt = now.reports == seen ? changedAt : NowMs();
        seen = now.reports;
        Show(now.device, NowMs() - changedAt);
    }
}

std::optional<Ending> Follower::EndOf(const Course& course, Discoverer& discoverer) const
{
    if (auto ending = EndingOf(course.device.deviceState); ending.has_value()) {
        return Explained(*ending, course.error);
    }
    if (course.isCancelled || Interrupts() > 1) {
        return *EndingOf(DeviceState::CANCELLED);
    }
    if (course.isLost) {
        return Explained(*EndingOf(DeviceState::FAILED), course.error);
    }
    if (discoverer.IsGone()) {
        return Ending{DeviceState::FAILED, DeviceHasGone(), "the own device has gone"};
    }
    return std::nullopt;
}

void Follower::Show(const ShareDeviceInfo& now, int64_t quietMs)
{
    if (now.deviceState == DeviceState::TRANSFERRING) {
        if (quietMs >= STALL_MS) {
            Note("no progress for " + SecondsText(quietMs / 1000));
        } else {
            noted_.clear(); // the next stall is said again
            bar_.Show(now.percent, int64_t{now.speed} * BYTES_PER_SPEED);
        }
    } else {
        Note("waiting for an answer");
    }
}

void Follower::Note(const std::string& text)
{
    if (text != noted_) {
        noted_ = text;
        bar_.Note(text);
    }
}

} // namespace OHOS::Pelago::Tools
