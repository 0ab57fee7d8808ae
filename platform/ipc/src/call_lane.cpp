#include "call_lane.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "socket_link.h"

namespace OHOS::Ipc {

namespace {

std::chrono::microseconds Until(Clock::time_point deadline)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
}

} // namespace

CallLane::CallLane(SocketLink& link, Host::UniqueFd socket)
    : link_(&link), socket_(std::move(socket)), reader_(link.Limits(), link.Unfinished()), outbox_(link.QueuedBytes())
{}

void CallLane::Shutdown() const
{
    socket_.Shutdown();
}

bool CallLane::IsUnfinished() const
{
    return sending_.IsRunning();
}

EndReason CallLane::Overdue(Clock::time_point limit) const
{
    return sending_.IsBefore(limit) ? EndReason::PEER_DOES_NOT_READ : EndReason::NONE;
}

int CallLane::Fail(int error)
{
    usable_ = false;
    return error;
}

// ---- Synchronous calls

int CallLane::Call(OutgoingMessage& request, int waitSeconds, IncomingMessage& reply)
{
    const auto wait = std::chrono::seconds(waitSeconds);
    const Clock::time_point deadline = Clock::now() + wait;
    request.head.sequence = ++sequence_;
    Sending sending(request);
    if (const int error = Send(sending, deadline); error != ERR_NONE) {
        sequence_ -= sending.IsBegun() ? 0 : 1; // nothing went out: there will be no answer
        return error;
    }
    request.given.Arrived();
    const int error = AwaitReply(request.head.sequence, deadline, reply);
    return error == ERR_NONE ? error : Fail(error);
}

int CallLane::Send(Sending& request, Clock::time_point deadline)
{
    for (;;) {
        Sending::State state = FlushOutbox(); // what this thread sent before goes first
        if (state == Sending::State::SENT) {
            state = request.Continue(socket_.Get());
        }
        switch (state) {
            case Sending::State::SENT:
                return ERR_NONE;
            case Sending::State::GONE:
                return Fail(IPC_DEAD_OBJECT);
            case Sending::State::REFUSED:
                return request.IsBegun() ? Fail(IPC_OUT_OF_DESCRIPTORS) : IPC_OUT_OF_DESCRIPTORS;
            case Sending::State::BLOCKED:
                break;
        }
        if (const int error = WaitForRoom(deadline); error != ERR_NONE) {
            return Fail(error);
        }
    }
}

int CallLane::WaitForRoom(Clock::time_point deadline) const
{
    constexpr int64_t hour = 3'600'000; // in milliseconds: longer waits come back here
    const int64_t left = Until(deadline).count() / 1000 + 1;
    pollfd room = {socket_.Get(), POLLOUT, 0};
    const int ready = left <= 0 ? 0 : ::poll(&room, 1, static_cast<int>(std::min(left, hour)));
    return ready == 0 && left <= hour ? IPC_TIMED_OUT : ERR_NONE; // an interrupted poll is tried again
}

int CallLane::AwaitReply(uint32_t sequence, Clock::time_point deadline, IncomingMessage& reply)
{
    for (;;) {
        EndReason why = EndReason::NONE;
        switch (reader_.Next(reply, why)) {
            case MessageReader::Step::MESSAGE:
                if (!TakeAnswer(reply.head)) {
                    return IPC_DEAD_OBJECT;
                }
                if (answered_ == sequence) {
                    return ERR_NONE;
                }
                break; // of a one-way message before it
            case MessageReader::Step::BROKEN:
                link_->End(why);
                return IPC_DEAD_OBJECT;
            case MessageReader::Step::MORE:
                if (const int error = Receive(deadline); error != ERR_NONE) {
                    return error;
                }
                break;
        }
    }
}

bool CallLane::TakeAnswer(const MessageHead& head)
{
    const uint32_t open = sequence_ - answered_;
    if (head.kind != static_cast<uint16_t>(MessageKind::REPLY) || head.sequence - answered_ - 1 >= open) {
        link_->End(EndReason::BAD_KIND);
        return false;
    }
    answered_ = head.sequence;
    return true;
}

int CallLane::Receive(Clock::time_point deadline)
{
    // As a rule the whole wait is ahead, and the socket is set to it from the last call.
    auto wait = Until(deadline);
    if (wait.count() <= 0) {
        return IPC_TIMED_OUT;
    }
    constexpr auto tolerance = std::chrono::milliseconds(10);
    if (wait > receiveTimeout_ || wait + tolerance < receiveTimeout_) {
        wait += std::chrono::milliseconds(1); // so that the same wait comes out below it next time
        const timeval limit = {wait.count() / 1'000'000, wait.count() % 1'000'000};
        if (::setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0) {
            receiveTimeout_ = wait;
        }
    }
    switch (reader_.Receive(socket_.Get(), 0)) {
        case DescriptorStream::Fill::DATA:
        case DescriptorStream::Fill::NOTHING:
            return ERR_NONE;
        case DescriptorStream::Fill::CLOSED:
        case DescriptorStream::Fill::RESET:
            break;
    }
    return IPC_DEAD_OBJECT;
}

// ---- One-way messages

int CallLane::Post(OutgoingMessage& request, MessageParcel& data, const sptr<IRemoteObject>& target)
{
    if (sequence_ - answered_ >= ANSWERS_AT_ONCE) {
        CollectAnswers();
    }
    std::vector<Baggage> delivered; // let go after the lock
    std::lock_guard lock(outMutex_);
    request.head.sequence = sequence_ + 1;
    Sending sending(request);
    Sending::State state = Flush(delivered);
    if (state == Sending::State::SENT) {
        state = sending.Continue(socket_.Get());
    }
    if (state == Sending::State::BLOCKED &&
        link_->QueuedBytes() + sending.Remaining() > link_->Limits().queuedBytesPerConnection) {
        return sending.IsBegun() ? Fail(IPC_PEER_DOES_NOT_READ) : IPC_PEER_DOES_NOT_READ;
    }
    switch (state) {
        case Sending::State::GONE:
            return Fail(IPC_DEAD_OBJECT);
        case Sending::State::REFUSED:
            return sending.IsBegun() ? Fail(IPC_OUT_OF_DESCRIPTORS) : IPC_OUT_OF_DESCRIPTORS;
        case Sending::State::BLOCKED: {
            Baggage baggage = Baggage::Of(data, std::move(request.given));
            baggage.objects.push_back(target);
            outbox_.Add(sending, std::move(baggage));
            Watch();
            break;
        }
        case Sending::State::SENT:
            request.given.Arrived();
            break;
    }
    ++sequence_;
    return ERR_NONE;
}

void CallLane::CollectAnswers()
{
    IncomingMessage answer;
    EndReason why = EndReason::NONE;
    for (;;) {
        switch (reader_.Next(answer, why)) {
            case MessageReader::Step::MESSAGE:
                if (!TakeAnswer(answer.head)) {
                    return;
                }
                break;
            case MessageReader::Step::MORE: {
                const auto fill = reader_.Receive(socket_.Get(), MSG_DONTWAIT);
                if (fill == DescriptorStream::Fill::DATA) {
                    break;
                }
                usable_ = usable_ && fill == DescriptorStream::Fill::NOTHING; // or no answer comes any more
                return;
            }
            case MessageReader::Step::BROKEN:
                link_->End(why);
                return;
        }
    }
}

bool CallLane::IsPending()
{
    if (sequence_ != answered_) {
        CollectAnswers();
    }
    return usable_ && sequence_ != answered_;
}

Sending::State CallLane::FlushOutbox()
{
    std::vector<Baggage> delivered; // let go after the lock
    std::lock_guard lock(outMutex_);
    return Flush(delivered);
}

Sending::State CallLane::Flush(std::vector<Baggage>& delivered)
{
    if (outbox_.IsEmpty()) {
        return Sending::State::SENT;
    }
    const Sending::State state = outbox_.Flush(socket_.Get(), delivered);
    for (Baggage& baggage : delivered) {
        baggage.given.Arrived();
    }
    if (state == Sending::State::REFUSED) { // what its sender was told is under way would stay here for ever
        link_->End(EndReason::OUT_OF_DESCRIPTORS);
    }
    if (state != Sending::State::BLOCKED) {
        Unwatch();
    } else if (!delivered.empty()) {
        sending_.Stop(); // it is the next message that waits now
        sending_.Start();
    }
    return state;
}

void CallLane::Watch()
{
    if (ticket_ == 0) {
        if (!Reactor::Get().Watch(socket_.Get(), EPOLLOUT, this, ticket_)) {
            ticket_ = 0; // what waits goes with the next message of this thread
        }
        sending_.Start();
        link_->WatchDeadline();
    }
}

void CallLane::Unwatch()
{
    sending_.Stop(); // ran without a watch, too, if none was to be had
    if (ticket_ != 0) {
        Reactor::Get().Unwatch(std::exchange(ticket_, 0), socket_.Get());
    }
}

bool CallLane::OnReady(uint32_t)
{
    (void)FlushOutbox(); // a failure is found by the next call
    return false;
}

void CallLane::Close()
{
    std::lock_guard lock(outMutex_);
    Unwatch();
}

} // namespace OHOS::Ipc
