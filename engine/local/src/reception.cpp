#include "reception.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr int64_t LOCK_RETRY_MS = 20; // others hold the lock for a few calls to the kernel
constexpr int LOCK_ATTEMPTS = 250;    // five seconds
constexpr int64_t ACCEPT_PAUSE_MS = 200;

} // namespace

void Reception::Open(Place place)
{
    place_ = std::move(place);
    TryOpen(LOCK_ATTEMPTS);
}

void Reception::TryOpen(int attemptsLeft)
{
    context_->loop.CancelTimer(timer_);
    Host::UniqueFd lock = context_->folder.TryLock();
    if (!lock && attemptsLeft > 0) {
        timer_ = context_->loop.After(LOCK_RETRY_MS, [this, attemptsLeft] {
            timer_ = 0;
            TryOpen(attemptsLeft - 1);
        });
        return;
    }
    std::string error = "the folder's lock is held";
    bool served = lock && place_.serve(listening_, error);
    if (served) {
        watch_ = context_->loop.Watch(listening_.Get(), EPOLLIN, [this](uint32_t) { OnConnection(); });
    }
    auto told = place_.told;
    if (watch_ == 0) {
        SHARE_LOGD(Log::SERVICE, "publishing failed: %{public}s", error.c_str());
        Close();
    }
    told(IsOpen());
}

void Reception::Close()
{
    context_->loop.CancelTimer(timer_);
    context_->loop.Forget(std::exchange(watch_, 0));
    if (IsOpen()) {
        place_.leave();
        listening_.Reset();
    }
    for (auto& [channel, guest] : guests_) {
        context_->loop.CancelTimer(guest.silence);
        channel->Close();
    }
    guests_.clear();
}

void Reception::OnConnection()
{
    Host::UniqueFd socket(::accept4(listening_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket) {
        Greet(std::move(socket));
        return;
    }
    if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
        // The connection waits, and would wake us again and again.
        context_->loop.Change(watch_, 0);
        timer_ = context_->loop.After(ACCEPT_PAUSE_MS, [this] {
            timer_ = 0;
            context_->loop.Change(watch_, EPOLLIN);
        });
    }
}

bool Reception::HasRoomFor(pid_t process) const
{
    auto ofProcess =
        std::count_if(guests_.begin(), guests_.end(), [process](auto& one) { return one.second.process == process; });
    return guests_.size() < MAX_GUESTS && static_cast<size_t>(ofProcess) < MAX_GUESTS_OF_PROCESS;
}

void Reception::Greet(Host::UniqueFd socket)
{
    const pid_t process = OwnProcessOf(socket.Get());
    if (process < 0 || !HasRoomFor(process)) {
        ++context_->counters.refusedPeers;
        return;
    }
    auto guest = Channel::Open(context_->loop, std::move(socket), context_->config.unreadLimitMs);
    if (guest == nullptr) {
        return;
    }
    std::weak_ptr<Channel> weak = guest;
    guest->SetHandlers(
        [this, weak](FrameType type, std::string_view body, Host::UniqueFd) { OnFrame(weak.lock(), type, body); },
        [this, weak](const char* why) { Dismiss(weak.lock(), why); });
    guests_[guest] = {
        process, context_->loop.After(FIRST_FRAME_MS, [this, weak] { Dismiss(weak.lock(), "it says nothing"); })};
}

void Reception::OnFrame(const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body)
{
    auto found = guests_.find(guest);
    if (found == guests_.end()) {
        return;
    }
    bool isFirst = found->second.silence != 0;
    context_->loop.CancelTimer(found->second.silence);
    switch (isFirst ? onFirst_(guest, type, body) : Verdict::REFUSED) {
        case Verdict::REFUSED:
            Dismiss(guest, "it said what cannot come first");
            return;
        case Verdict::TAKEN:
            guests_.erase(guest);
            return;
        case Verdict::STAYS:
            return;
    }
}

void Reception::Dismiss(const std::shared_ptr<Channel>& guest, const char* why)
{
    auto found = guests_.find(guest);
    if (found == guests_.end()) {
        return;
    }
    if (why != nullptr) {
        SHARE_LOGD(Log::SERVICE, "a connection was dropped: %{public}s", why);
        ++context_->counters.refusedPeers;
    }
    context_->loop.CancelTimer(found->second.silence);
    guests_.erase(found);
    guest->Close();
}

} // namespace OHOS::Pelago::Local
