#include "incoming.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <utility>

#include "byte_pump.h"
#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "hilog/host_text.h"
#include "share_constants.h"
#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr int BYTE_SOCKET_BUFFER = 1024 * 1024; // a wish: the kernel cuts it to what the machine allows

int64_t NowMs()
{
    return Host::Scheduler::Instance().BootTimeMs();
}

[[nodiscard]] bool IsWritableDirectory(int fd)
{
    struct stat status {};
    return ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode) && ::faccessat(fd, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

} // namespace

// What the listener gets and the extension answers by. Outlives the transfer for as long as somebody keeps it.
class Incoming::Handle final : public PelagoReceiverStub {
public:
    explicit Handle(std::shared_ptr<Incoming> transfer) : transfer_(std::move(transfer))
    {}
    int32_t Accept(int directoryFd, const sptr<IReceiveProgress>& progress) override
    {
        if (progress == nullptr || !IsWritableDirectory(directoryFd)) {
            return RECEIVER_BAD_ARGUMENT;
        }
        Host::UniqueFd own(::fcntl(directoryFd, F_DUPFD_CLOEXEC, 0));
        if (!own) {
            return RECEIVER_BAD_ARGUMENT;
        }
        return OnLoop([&](Incoming& transfer) { return transfer.Accept(std::move(own), progress); });
    }
    int32_t Refuse(int32_t reason) override
    {
        return OnLoop([reason](Incoming& transfer) { return transfer.Refuse(reason); });
    }
    int32_t Cancel() override
    {
        return OnLoop([](Incoming& transfer) { return transfer.Cancel(); });
    }

private:
    template <typename Operation>
    int32_t OnLoop(Operation operation)
    {
        int32_t result = RECEIVER_ENDED;
        // A loop that has stopped has dropped the transfer.
        (void)transfer_->context_->loop.Run([&] { result = operation(*transfer_); });
        return result;
    }

    const std::shared_ptr<Incoming> transfer_;
};

// The death of whoever accepted cancels.
class Incoming::Mourner final : public IRemoteObject::DeathRecipient {
public:
    explicit Mourner(std::shared_ptr<Incoming> transfer) : transfer_(std::move(transfer))
    {}
    void OnRemoteDied(const wptr<IRemoteObject>&) override
    {
        // A loop that has stopped has dropped the transfer.
        (void)transfer_->context_->loop.Post([transfer = transfer_] {
            transfer->EndWith({Ending::CANCELLED_BY_RECEIVER, "the receiving process has gone"});
        });
    }

private:
    const std::shared_ptr<Incoming> transfer_;
};

Incoming::Incoming(std::shared_ptr<Context> context, std::shared_ptr<ListenerQueue> listeners,
    sptr<PelagoReceiveListener> listener, std::shared_ptr<Channel> channel, Offer offer)
    : context_(std::move(context)), listeners_(std::move(listeners)), listener_(std::move(listener)),
      channel_(std::move(channel)), offer_(std::move(offer)), total_(offer_.TotalSize())
{}

void Incoming::Ask(const RecvPreview& preview)
{
    channel_->SetHandlers([this](FrameType type, std::string_view body, Host::UniqueFd) { OnFrame(type, body); },
        [this](const char* why) { OnChannelEnd(why); });
    timer_ = context_->loop.After(std::clamp(offer_.timeoutMs, 1, TRANSMIT_TIMEOUT_MS), [this] {
        EndWith({Ending::NO_ANSWER, "nobody answered"});
    });
    sptr<PelagoReceiver> handle = new Handle(shared_from_this());
    handle_ = handle;
    listeners_->Post([self = shared_from_this(), handle, preview] {
        self->Show(handle, preview);
        // A loop that has stopped needs to know nothing.
        (void)self->context_->loop.Post([self] { self->OnShown(); });
    });
}

void Incoming::OnShown()
{
    if (state_ == State::OFFERED) {
        channel_->Send(FrameType::SHOWN);
    }
}

void Incoming::OnFrame(FrameType type, std::string_view body)
{
    auto self = shared_from_this();
    if (type == FrameType::ABORT) {
        OnAbort(body);
    } else if (type == FrameType::FINISH && state_ == State::ACCEPTED && !finishSeen_) {
        finishSeen_ = true;
        CommitIfReady();
    } else {
        EndWith({Ending::PROTOCOL, "the sender spoke out of turn"});
    }
}

void Incoming::OnAbort(std::string_view body)
{
    auto outcome = DecodeOutcome(body);
    // What the row has nothing for at this side, a sender cannot mean.
    bool possible = outcome.has_value() &&
                    (outcome->ending == Ending::CANCELLED_BY_SENDER || RowOf(outcome->ending).codeBeforeConfirm != 0);
    EndWith(possible ? *outcome : Outcome{Ending::PROTOCOL, "the sender's ending is none"});
}

void Incoming::OnChannelEnd(const char* why)
{
    auto self = shared_from_this();
    EndWith(why == nullptr ? Outcome{Ending::LOST, "the sender has gone"} : Outcome{Ending::PROTOCOL, why});
}

int32_t Incoming::Accept(Host::UniqueFd directory, const sptr<IReceiveProgress>& progress)
{
    if (state_ != State::OFFERED) {
        return RECEIVER_ENDED;
    }
    if (!Follow(progress)) {
        return RECEIVER_BAD_ARGUMENT;
    }
    bytes_ = std::make_shared<Bytes>();
    bytes_->store = std::make_unique<FileStore>(std::move(directory));
    Host::UniqueFd forSender;
    context_->loop.CancelTimer(timer_);
    context_->receiving.insert(shared_from_this());
    state_ = State::ACCEPTED;
    TellGestureAnswered();
    if (!OpenByteSocket(forSender)) {
        EndWith({Ending::RECEIVER_IO, "no socket can be opened"});
        return RECEIVER_OK; // taken: the progress object hears how it went on
    }
    channel_->Send(FrameType::ACCEPT, {}, std::move(forSender));
    StartBytes();
    return RECEIVER_OK;
}

// False for a progress object whose process has gone.
bool Incoming::Follow(const sptr<IReceiveProgress>& progress)
{
    sptr<IRemoteObject> object = progress->AsObject();
    sptr<IRemoteObject::DeathRecipient> mourner = new Mourner(shared_from_this());
    if (object == nullptr || (object->IsProxyObject() && !object->AddDeathRecipient(mourner))) {
        return false;
    }
    mourner_ = mourner;
    progress_ = new ReceiveProgressProxy(object);
    reports_ = std::make_shared<ReportQueue>(context_->activity, "share-progress");
    return true;
}

bool Incoming::OpenByteSocket(Host::UniqueFd& forSender)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return false;
    }
    bytes_->socket = Host::UniqueFd(ends[0]);
    forSender = Host::UniqueFd(ends[1]);
    // Smaller buffers are slower and nothing else.
    (void)::setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &BYTE_SOCKET_BUFFER, sizeof(BYTE_SOCKET_BUFFER));
    return true;
}

void Incoming::StartBytes()
{
    speed_.emplace(NowMs());
    thread_.emplace(context_);
    auto self = shared_from_this();
    moving_ = thread_->Run(
        [self, bytes = bytes_] {
            bytes->outcome =
                ReceiveBytesInto(*bytes->store, self->offer_.files, bytes->socket.Get(), [&self](uint64_t taken) {
                    // A loop that has stopped has dropped the transfer.
                    (void)self->context_->loop.Post([self, taken] { self->OnTaken(taken); });
                });
            if (bytes->outcome.ending != Ending::DONE) {
                bytes->store.reset();
            }
        },
        [self] { self->OnBytesReceived(); });
    if (!moving_) {
        EndWith({Ending::RECEIVER_IO, "no thread can be started"});
    } else {
        GuardStall();
    }
}

void Incoming::GuardStall()
{
    context_->loop.CancelTimer(timer_);
    timer_ = context_->loop.After(context_->config.stallLimitMs, [this] {
        EndWith({Ending::STALLED, "the sender stands still"});
    });
}

void Incoming::OnTaken(uint64_t taken)
{
    if (state_ != State::ACCEPTED) {
        return;
    }
    GuardStall();
    channel_->Send(FrameType::TAKEN, BodyWriter().U64(taken).Bytes());
    int64_t speed = speed_->At(taken, NowMs());
    reports_->TellProgress([progress = progress_, taken, total = total_, speed] {
        progress->OnProgress(static_cast<int64_t>(taken), static_cast<int64_t>(total), speed);
    });
    context_->counters.bytesReceived += taken - std::exchange(countedBytes_, taken);
}

void Incoming::OnBytesReceived()
{
    moving_ = false;
    bytes_->socket.Reset(); // the handle keeps the transfer for as long as it likes
    const Outcome outcome = bytes_->outcome;
    if (state_ == State::ENDING) {
        Conclude();
    } else if (state_ != State::ACCEPTED) {
        return;
    } else if (outcome.ending == Ending::DONE) {
        allTaken_ = true;
        CommitIfReady();
    } else if (outcome.ending == Ending::LOST) {
        // The sender stopped: it says why, or goes, or is no sender.
        context_->loop.CancelTimer(timer_);
        timer_ = context_->loop.After(CLOSE_LIMIT_MS, [this] { EndWith({Ending::PROTOCOL, "the bytes stopped"}); });
    } else {
        EndWith(outcome);
    }
}

// The point of no return: whatever either side asks for from here on comes too late.
void Incoming::CommitIfReady()
{
    if (!allTaken_ || !finishSeen_ || state_ != State::ACCEPTED) {
        return;
    }
    state_ = State::COMMITTING;
    context_->loop.CancelTimer(timer_);
    auto self = shared_from_this();
    bool started = thread_->Run(
        [bytes = bytes_] {
            if (bytes->store->Commit(bytes->names, bytes->outcome)) {
                bytes->outcome.ending = Ending::DONE;
            }
            bytes->store.reset();
        },
        [self] { self->End(self->bytes_->outcome); });
    if (!started) {
        state_ = State::ACCEPTED;
        EndWith({Ending::RECEIVER_IO, "no thread can be started"});
    }
}

int32_t Incoming::Refuse(int32_t reason)
{
    if (state_ != State::OFFERED) {
        return RECEIVER_ENDED;
    }
    TellGestureAnswered();
    EndWith({Ending::REFUSED, "reason " + std::to_string(reason)});
    return RECEIVER_OK;
}

int32_t Incoming::Cancel()
{
    if (state_ != State::ACCEPTED) {
        return RECEIVER_ENDED;
    }
    EndWith({Ending::CANCELLED_BY_RECEIVER, {}});
    return RECEIVER_OK;
}

void Incoming::EndWith(const Outcome& outcome)
{
    auto self = shared_from_this();
    if (state_ == State::OFFERED) {
        End(outcome);
        return;
    }
    if (state_ != State::ACCEPTED) {
        return;
    }
    state_ = State::ENDING;
    pending_ = outcome;
    if (moving_) {
        (void)::shutdown(bytes_->socket.Get(), SHUT_RDWR); // wakes the byte thread, which then concludes
    } else {
        Conclude();
    }
}

// Nothing is left behind when anybody hears of the end.
void Incoming::Conclude()
{
    bool started = thread_.has_value() && thread_->Run([bytes = bytes_] { bytes->store.reset(); },
                                              [self = shared_from_this()] { self->End(self->pending_); });
    if (!started) {
        bytes_->store.reset();
        End(pending_);
    }
}

void Incoming::End(const Outcome& outcome)
{
    auto self = shared_from_this();
    if (state_ == State::ENDED) {
        return; // dropped while the byte thread was at its last work
    }
    bool accepted = std::exchange(state_, State::ENDED) != State::OFFERED;
    SHARE_LOGD(Log::SERVICE, "receive ended: %{public}s, %{public}s", RowOf(outcome.ending).name,
        Host::EscapeForTerminal(outcome.text).c_str());
    ++(outcome.ending == Ending::DONE ? context_->counters.received : context_->counters.receiveFailures);
    channel_->Send(FrameType::END, EncodeOutcome(outcome)); // nowhere to go when the sender is lost
    channel_->Finish();
    if (accepted) {
        TellProgress(outcome);
    } else {
        TellListener(outcome);
    }
    TellGestureEnded(outcome, accepted);
    Release();
    context_->receiving.erase(self);
}

void Incoming::Release()
{
    context_->loop.CancelTimer(timer_);
    if (mourner_ != nullptr) {
        (void)progress_->AsObject()->RemoveDeathRecipient(mourner_); // none on a stub of this process, or it is running
    }
    mourner_ = nullptr;
    progress_ = nullptr;
    thread_.reset();
}

void Incoming::Drop()
{
    state_ = State::ENDED;
    if (reports_ != nullptr) {
        reports_->Silence();
    }
    if (bytes_ != nullptr && bytes_->socket) {
        (void)::shutdown(bytes_->socket.Get(), SHUT_RDWR); // wakes the byte thread, which lets go of the files
    }
    channel_->Close();
    Release();
}

} // namespace OHOS::Pelago::Local
