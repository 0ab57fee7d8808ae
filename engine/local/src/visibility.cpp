#include "visibility.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr size_t MAX_GUESTS = 256;
constexpr int64_t FIRST_FRAME_MS = 10'000;
constexpr int64_t LOCK_RETRY_MS = 20; // others hold the lock for a few calls to the kernel
constexpr int LOCK_ATTEMPTS = 250;    // five seconds
constexpr int64_t ACCEPT_PAUSE_MS = 200;
constexpr int PUBLISHED = 0;
constexpr int NOT_PUBLISHED = -1;

} // namespace

void Visibility::Publish(const sptr<IRemoteObject>& listener)
{
    listener_ = listener;
    if (IsVisible()) {
        TellResult(PUBLISHED);
    }
    Update();
}

void Visibility::UnPublish()
{
    listener_ = nullptr;
    Update();
}

void Visibility::SetPolicy(int32_t policy)
{
    context_->counters.discoveryPolicy = policy;
    Update();
}

void Visibility::Update()
{
    bool wanted = listener_ != nullptr && context_->counters.discoveryPolicy != 0;
    if (wanted && !IsVisible()) {
        TryPublish(LOCK_ATTEMPTS);
    } else if (!wanted) {
        Withdraw();
    }
}

void Visibility::TryPublish(int attemptsLeft)
{
    context_->loop.CancelTimer(timer_);
    UniqueFd lock = context_->folder.TryLock();
    if (!lock && attemptsLeft > 0) {
        timer_ = context_->loop.After(LOCK_RETRY_MS, [this, attemptsLeft] {
            timer_ = 0;
            TryPublish(attemptsLeft - 1);
        });
        return;
    }
    std::string error = "the folder's lock is held";
    bool published = lock && context_->folder.Publish(context_->device, listening_, error);
    if (published) {
        watch_ = context_->loop.Watch(listening_.Get(), EPOLLIN, [this](uint32_t) { OnConnection(); });
    }
    if (!published || watch_ == 0) {
        SHARE_LOGD(Log::SERVICE, "publishing failed: %{public}s", error.c_str());
        Withdraw();
        TellResult(NOT_PUBLISHED);
        return;
    }
    TellResult(PUBLISHED);
}

void Visibility::Withdraw()
{
    context_->loop.CancelTimer(timer_);
    context_->loop.Forget(std::exchange(watch_, 0));
    if (IsVisible()) {
        context_->folder.Remove(context_->device.id);
        listening_.Reset();
    }
    for (auto& [guest, timer] : guests_) {
        context_->loop.CancelTimer(timer);
        guest->Close();
    }
    guests_.clear();
}

void Visibility::Drop()
{
    listener_ = nullptr;
    Withdraw();
}

void Visibility::UpdateDescription()
{
    std::string error;
    if (IsVisible() && !context_->folder.WriteDescription(context_->device, error)) {
        SHARE_LOGD(Log::SERVICE, "%{public}s", error.c_str());
    }
}

void Visibility::TellResult(int reason)
{
    if (listener_ != nullptr) {
        reports_->PublishResult(listener_, reason);
    }
}

void Visibility::OnConnection()
{
    UniqueFd socket(::accept4(listening_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
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

void Visibility::Greet(UniqueFd socket)
{
    if (!IsOwnUser(socket.Get()) || guests_.size() >= MAX_GUESTS) {
        ++context_->counters.refusedPeers;
        return;
    }
    auto guest = Channel::Open(context_->loop, std::move(socket));
    if (guest == nullptr) {
        return;
    }
    std::weak_ptr<Channel> weak = guest;
    guest->SetHandlers(
        [this, weak](FrameType type, std::string_view body, UniqueFd) { OnFirstFrame(weak.lock(), type, body); },
        [this, weak](const char* why) { Dismiss(weak.lock(), why); });
    guests_[guest] = context_->loop.After(FIRST_FRAME_MS, [this, weak] { Dismiss(weak.lock(), "it says nothing"); });
}

void Visibility::OnFirstFrame(const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body)
{
    auto found = guests_.find(guest);
    if (found == guests_.end()) {
        return;
    }
    bool isFirst = found->second != 0;
    context_->loop.CancelTimer(found->second);
    if (isFirst && type == FrameType::OFFER) {
        guests_.erase(found);
        onOffer_(guest, body);
    } else if (!isFirst || type != FrameType::WATCH) {
        Dismiss(guest, "it said what cannot come first");
    }
}

void Visibility::Dismiss(const std::shared_ptr<Channel>& guest, const char* why)
{
    auto found = guests_.find(guest);
    if (found == guests_.end()) {
        return;
    }
    if (why != nullptr) {
        SHARE_LOGD(Log::SERVICE, "a connection was dropped: %{public}s", why);
        ++context_->counters.refusedPeers;
    }
    context_->loop.CancelTimer(found->second);
    guests_.erase(found);
    guest->Close();
}

} // namespace OHOS::Pelago::Local
