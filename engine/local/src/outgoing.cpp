#include "outgoing.h"

#include <sys/socket.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "byte_pump.h"
#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "file_names.h"
#include "gesture_states.h"
#include "hilog/host_text.h"
#include "share_constants.h"
#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

int64_t NowMs()
{
    return Host::Scheduler::Instance().BootTimeMs();
}

class SenderHandle final : public PelagoSenderStub {
public:
    explicit SenderHandle(std::shared_ptr<Outgoing> transfer) : transfer_(std::move(transfer))
    {}
    void Cancel() override
    {
        transfer_->Cancel();
    }
    void SwingConfirm(int32_t choice) override
    {
        transfer_->SwingConfirm(choice);
    }

private:
    const std::shared_ptr<Outgoing> transfer_;
};

// What came with ACCEPT is a peer's descriptor: only a stream socket of this machine is written to.
[[nodiscard]] bool IsByteSocket(int fd)
{
    int domain = 0;
    int type = 0;
    socklen_t size = sizeof(int);
    return ::getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 &&
           ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && domain == AF_UNIX && type == SOCK_STREAM;
}

} // namespace

sptr<PelagoSender> Outgoing::Begin(
    const std::shared_ptr<Context>& context, const TransmitParam& param, SendRequest request)
{
    auto transfer = std::make_shared<Outgoing>(context, param, std::move(request));
    sptr<PelagoSender> handle = new SenderHandle(transfer);
    // The very last step, since a report that comes before the caller has its handle would have to wait for it there.
    return context->loop.Post([transfer] { transfer->Start(); }) ? handle : nullptr;
}

Outgoing::Outgoing(std::shared_ptr<Context> context, const TransmitParam& param, SendRequest request)
    : context_(std::move(context)), deviceId_(param.deviceId),
      timeoutMs_(std::clamp(param.timeoutMs, 1, TRANSMIT_TIMEOUT_MS)), offer_(std::move(request.offer)),
      total_(offer_.TotalSize()), failure_(std::move(request.failure)),
      callback_(new TransmitCallbackProxy(param.callback->AsObject())),
      reports_(std::make_shared<ReportQueue>(context_->activity, "share-send")), bytes_(std::make_shared<Bytes>())
{
    bytes_->sources = std::move(request.sources);
}

void Outgoing::Cancel()
{
    reports_->Silence();
    cancelled_.store(true);
    // A loop that has stopped has dropped the transfer.
    (void)context_->loop.Post([self = shared_from_this()] { self->OnCancelled(); });
}

void Outgoing::SwingConfirm(int32_t choice)
{
    // As above.
    (void)context_->loop.Post([self = shared_from_this(), choice] { self->OnSwingConfirm(choice); });
}

void Outgoing::Start()
{
    context_->sending.insert(shared_from_this());
    if (cancelled_.load()) {
        End({Ending::CANCELLED_BY_SENDER, {}});
        return;
    }
    if (failure_.has_value()) {
        End(*failure_);
        return;
    }
    TellStatus(EngineStatus::CONNECTING);
    if (IsOf(TransmitEventType::SWING)) {
        AskUser();
    } else {
        MakeOffer();
    }
}

// A hand in the air is easily misread: nothing leaves this device before its user has said so.
void Outgoing::AskUser()
{
    asking_ = true;
    reports_->Tell([callback = callback_, id = deviceId_] { callback->OnPopSwing(id, true); });
    timer_ = context_->loop.After(timeoutMs_, [this] { End({Ending::NO_ANSWER, "nobody answered the dialog"}); });
}

void Outgoing::OnSwingConfirm(int32_t choice)
{
    if (ended_ || cancelled_.load() || !asking_) {
        return; // too late, or nobody asked
    }
    ClosePop();
    context_->loop.CancelTimer(timer_);
    if (choice == SWING_GOES_ON) {
        MakeOffer();
    } else {
        End({Ending::REFUSED, "refused on this device"});
    }
}

void Outgoing::MakeOffer()
{
    Host::UniqueFd socket;
    bool connected =
        NearbyFolder::IsDeviceId(deviceId_) && context_->folder.Connect(deviceId_, socket) == ConnectResult::CONNECTED;
    channel_ = connected ? Channel::Open(context_->loop, std::move(socket), context_->config.unreadLimitMs) : nullptr;
    if (channel_ == nullptr) {
        End({Ending::UNREACHABLE, "no device answers to this id"});
        return;
    }
    channel_->SetHandlers(
        [this](FrameType type, std::string_view body, Host::UniqueFd fd) { OnFrame(type, body, std::move(fd)); },
        [this](const char* why) {
            End(why == nullptr ? Outcome{Ending::LOST, "the peer has gone"} : Outcome{Ending::PROTOCOL, why});
        });
    Offer offer = offer_;
    offer.senderId = context_->device.id;
    offer.senderName = ToUtf8(context_->device.name, MAX_SHORT_TEXT);
    offer.packageName = ToUtf8(offer.packageName, MAX_SHORT_TEXT);
    std::string body = offer.Encode();
    if (body.size() > MAX_OFFER_BYTES) {
        End({Ending::TOO_LARGE, "the preview is too large"});
        return;
    }
    channel_->Send(FrameType::OFFER, body);
    timer_ = context_->loop.After(timeoutMs_, [this] { Abort({Ending::NO_ANSWER, "nobody answered"}); });
}

void Outgoing::OnFrame(FrameType type, std::string_view body, Host::UniqueFd fd)
{
    auto self = shared_from_this();
    switch (type) {
        case FrameType::SHOWN:
            OnShown();
            return;
        case FrameType::ACCEPT:
            OnAccept(std::move(fd));
            return;
        case FrameType::TAKEN:
            OnTaken(body);
            return;
        case FrameType::END:
            OnEndFrame(body);
            return;
        case FrameType::WATCH:
        case FrameType::OFFER:
        case FrameType::FINISH:
        case FrameType::ABORT:
        case FrameType::NOTE:
            break;
    }
    Abort({Ending::PROTOCOL, "the receiver spoke as a sender"});
}

// Once: each word of the peer that is told waits for our follower.
void Outgoing::OnShown()
{
    if (std::exchange(shown_, true)) {
        Abort({Ending::PROTOCOL, "the receiver repeats itself"});
    } else if (!accepted_) {
        OnTapShown();
        TellStatus(EngineStatus::SHOWN_TO_USER);
    }
}

void Outgoing::OnAccept(Host::UniqueFd socket)
{
    if (accepted_ || !socket || !IsByteSocket(socket.Get())) {
        Abort({Ending::PROTOCOL, "the receiver's answer is none"});
        return;
    }
    if (cancelled_.load()) {
        return; // crossed the abort, whose answer is on its way
    }
    accepted_ = true;
    OnTapShown(); // an answer may be faster than the word that there is a question
    GuardStall();
    speed_.emplace(NowMs());
    if (total_ <= static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
        reports_->Tell(
            [callback = callback_, total = static_cast<int32_t>(total_)] { callback->OnTotalFileLength(total); });
    }
    bytes_->socket = std::move(socket);
    auto outcome = std::make_shared<Outcome>();
    thread_.emplace(context_);
    bool started = thread_->Run(
        [bytes = bytes_, outcome] { *outcome = SendBytesOf(bytes->sources, bytes->socket.Get(), bytes->sent); },
        [self = shared_from_this(), outcome] { self->OnBytesSent(*outcome); });
    if (!started) {
        Abort({Ending::BAD_SOURCE, "no thread can be started"});
    }
}

void Outgoing::OnTaken(std::string_view body)
{
    uint64_t taken = 0;
    BodyReader reader(body);
    if (!accepted_ || !reader.U64(taken) || taken > total_ || taken < taken_) {
        Abort({Ending::PROTOCOL, "the receiver took what it cannot have"});
        return;
    }
    bool wasAll = std::exchange(allTaken_, taken == total_);
    if (taken == std::exchange(taken_, taken) && allTaken_ == wasAll) {
        return; // to repeat oneself is to stand still
    }
    GuardStall();
    ReportProgress(taken);
}

void Outgoing::ReportProgress(uint64_t taken)
{
    auto percent =
        static_cast<int8_t>(total_ == 0 ? 100 : static_cast<double>(taken) * 100 / static_cast<double>(total_));
    int64_t kibPerSecond = speed_->At(taken, NowMs()) / 1024;
    auto speed = static_cast<int32_t>(std::min<int64_t>(kibPerSecond, std::numeric_limits<int32_t>::max()));
    reports_->TellProgress([self = shared_from_this(), percent, speed] {
        self->callback_->OnProgess(percent);
        if (!self->reports_->IsSilent()) {
            self->callback_->OnSpeed(speed);
        }
        // A loop that has stopped needs to know nothing.
        (void)self->context_->loop.Post([self] { self->OnProgressTold(); });
    });
}

void Outgoing::OnProgressTold()
{
    progressTold_ = true;
    FinishIfReady();
}

void Outgoing::OnBytesSent(const Outcome& outcome)
{
    context_->counters.bytesSent += bytes_->sent;
    bytes_->sources.clear();
    bytes_->socket.Reset(); // what is in it stays readable; the handle may keep us for long
    thread_.reset();
    if (ended_ || cancelled_.load()) {
        return;
    }
    if (outcome.ending == Ending::DONE) {
        allSent_ = true;
        GuardStall();
        FinishIfReady();
    } else if (outcome.ending == Ending::LOST) {
        // The receiver stopped taking: it says why, or goes, or is no receiver.
        context_->loop.CancelTimer(timer_);
        timer_ = context_->loop.After(CLOSE_LIMIT_MS, [this] {
            Abort({Ending::PROTOCOL, "the receiver fell silent"});
        });
    } else {
        Abort(outcome);
    }
}

// The receiver may give the files their names from here on. Not before a first progress has been told: whoever heard of
// it has by then cancelled the transfers that lost the race.
void Outgoing::FinishIfReady()
{
    if (allSent_ && progressTold_ && !finished_ && !ended_ && !cancelled_.load()) {
        finished_ = true;
        GuardStall();
        channel_->Send(FrameType::FINISH);
    }
}

// Not while the receiver waits for us; that it has all is believed when all was sent.
void Outgoing::GuardStall()
{
    if (ended_ || cancelled_.load()) {
        return; // the timer is for the last word
    }
    context_->loop.CancelTimer(timer_);
    if (allSent_ && allTaken_ && !finished_) {
        return;
    }
    timer_ = context_->loop.After(context_->config.stallLimitMs, [this] {
        Abort({Ending::STALLED, "the receiver stands still"});
    });
}

void Outgoing::OnEndFrame(std::string_view body)
{
    auto outcome = DecodeOutcome(body);
    bool possible = outcome.has_value() && (outcome->ending != Ending::DONE || finished_) &&
                    (outcome->ending != Ending::CANCELLED_BY_SENDER || cancelled_.load());
    End(possible ? *outcome : Outcome{Ending::PROTOCOL, "the receiver's ending is none"});
}

void Outgoing::OnCancelled()
{
    if (ended_) {
        return;
    }
    if (channel_ == nullptr) {
        End({Ending::CANCELLED_BY_SENDER, {}});
        return;
    }
    channel_->Send(FrameType::ABORT, EncodeOutcome({Ending::CANCELLED_BY_SENDER, {}}));
    if (bytes_->socket) {
        (void)::shutdown(bytes_->socket.Get(), SHUT_RDWR); // wakes the byte thread; gone already is as good
    }
    // The receiver's word is the ending, since it may have committed before it read ours.
    context_->loop.CancelTimer(timer_);
    timer_ = context_->loop.After(CLOSE_LIMIT_MS, [this] { End({Ending::CANCELLED_BY_SENDER, {}}); });
}

void Outgoing::TellStatus(int32_t status)
{
    reports_->Tell([callback = callback_, id = deviceId_, status] { callback->OnStatus(id, status); });
}

bool Outgoing::IsOf(TransmitEventType event) const
{
    return offer_.eventType == static_cast<int32_t>(event);
}

void Outgoing::TellMotion(int32_t state, int32_t code)
{
    reports_->Tell(
        [callback = callback_, trans = offer_.eventType, state, code] { callback->OnMotionState(trans, state, code); });
}

void Outgoing::ClosePop()
{
    if (std::exchange(asking_, false)) {
        reports_->Tell([callback = callback_, id = deviceId_] { callback->OnPopSwing(id, false); });
    }
}

// The tap is over when the peer shows what came of it, and not later: whoever cancels the transfer from here on hears
// nothing more of it, and a tap that waited for its end would keep all others out.
void Outgoing::OnTapShown()
{
    if (IsOf(TransmitEventType::TAP) && !std::exchange(tapShown_, true)) {
        TellMotion(SenderMotion::BEGUN, 0);
        TellMotion(SenderMotion::CONFIRMED, 0);
    }
}

// Before the ending itself, which nothing follows.
void Outgoing::TellGestureEnded(const EndingRow& row)
{
    bool byUser = row.ending == Ending::REFUSED || row.ending == Ending::CANCELLED_BY_RECEIVER;
    bool failed = row.report == SenderReport::ERROR || (row.report == SenderReport::STATUS && !byUser);
    if (IsOf(TransmitEventType::TAP)) {
        if (failed) {
            TellMotion(SenderMotion::FAILED, row.code);
        } else if (byUser && !std::exchange(tapShown_, true)) {
            TellMotion(SenderMotion::ENDED_BY_USER, 0);
            TellMotion(SenderMotion::CONFIRMED, 0);
        }
    } else if (IsOf(TransmitEventType::SWING)) {
        ClosePop();
        if (failed || (byUser && channel_ != nullptr)) { // the peer's user, and not ours in the dialog
            TellMotion(SenderMotion::FAILED, row.code);
        }
        context_->onSwingSent();
    }
}

void Outgoing::Abort(const Outcome& outcome)
{
    auto self = shared_from_this();
    if (!ended_ && channel_ != nullptr) {
        channel_->Send(FrameType::ABORT, EncodeOutcome(outcome));
    }
    End(outcome);
}

void Outgoing::End(const Outcome& outcome)
{
    auto self = shared_from_this();
    if (std::exchange(ended_, true)) {
        return;
    }
    // What the peer did after our own cancel is the cancel, unless it had committed.
    bool cancelled = cancelled_.load() && outcome.ending != Ending::DONE;
    const EndingRow& row = RowOf(cancelled ? Ending::CANCELLED_BY_SENDER : outcome.ending);
    SHARE_LOGD(
        Log::SERVICE, "send ended: %{public}s, %{public}s", row.name, Host::EscapeForTerminal(outcome.text).c_str());
    ++(row.ending == Ending::DONE ? context_->counters.sent : context_->counters.sendFailures);
    TellGestureEnded(row);
    TellEnding({row.ending, outcome.text});
    Release();
    context_->sending.erase(self);
}

void Outgoing::TellEnding(const Outcome& outcome)
{
    const EndingRow& row = RowOf(outcome.ending);
    reports_->TellEnding([callback = callback_, id = deviceId_, &row, text = outcome.text, names = offer_.files] {
        switch (row.report) {
            case SenderReport::SUCCESS: {
                std::vector<std::string> told;
                std::transform(names.begin(), names.end(), std::back_inserter(told),
                    [](const OfferedFile& file) { return file.name; });
                callback->OnSuccess(id, told);
                return;
            }
            case SenderReport::STATUS:
                callback->OnStatus(id, row.code);
                return;
            case SenderReport::ERROR:
                callback->OnError(text, row.code);
                return;
            case SenderReport::NOTHING:
                return;
        }
    });
}

void Outgoing::Release()
{
    context_->loop.CancelTimer(timer_);
    if (bytes_->socket) {
        (void)::shutdown(bytes_->socket.Get(), SHUT_RDWR); // as in OnCancelled
    }
    if (!accepted_) {
        bytes_->sources.clear();
    }
    if (channel_ != nullptr) {
        channel_->Finish();
    }
}

void Outgoing::Drop()
{
    ended_ = true;
    reports_->Silence();
    Release();
    if (channel_ != nullptr) {
        channel_->Close();
    }
    thread_.reset();
}

} // namespace OHOS::Pelago::Local
