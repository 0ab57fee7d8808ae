#include "served_lane.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <utility>

#include "attachments.h"
#include "ipc_statistics.h"
#include "socket_link.h"

namespace OHOS::Ipc {

ServedLane::ServedLane(SocketLink& link, Host::UniqueFd socket)
    : link_(&link), socket_(std::move(socket)), reader_(link.Limits(), link.Unfinished()), outbox_(link.QueuedBytes())
{}

bool ServedLane::Open()
{
    return Reactor::Get().Watch(socket_.Get(), Reactor::INCOMING, this, ticket_);
}

void ServedLane::Shutdown(bool drain) const
{
    if (drain) {
        socket_.ShutdownReceiving();
    } else {
        socket_.Shutdown();
    }
}

Requester* ServedLane::PlaceFor()
{
    return &link_->Places();
}

EndReason ServedLane::Overdue(Clock::time_point limit) const
{
    if (receiving_.IsBefore(limit) && socket_.Unread() == 0) { // otherwise it is we who do not get round to reading
        return EndReason::UNFINISHED_MESSAGE;
    }
    return sending_.IsBefore(limit) ? EndReason::PEER_DOES_NOT_READ : EndReason::NONE;
}

bool ServedLane::IsUnfinished() const
{
    return receiving_.IsRunning() || sending_.IsRunning();
}

void ServedLane::HoldUntilRead(uint64_t object, const Hold& hold)
{
    std::lock_guard lock(mutex_);
    if (!quiet_ || socket_.Unread() > 0) {
        holds_[object] = hold;
    }
}

void ServedLane::BeginWork()
{
    std::lock_guard lock(mutex_);
    quiet_ = false;
}

void ServedLane::Rest()
{
    Holds released; // let go after the lock
    std::lock_guard lock(mutex_);
    quiet_ = reader_.IsBetweenMessages();
    if (quiet_ && !holds_.empty() && socket_.Unread() == 0) {
        released.swap(holds_);
    }
}

bool ServedLane::OnReady(uint32_t events)
{
    ending_ = ending_ || (events & Reactor::ENDING) != 0;
    BeginWork();
    Next next = FlushReply();
    bool drained = false;
    while (next == Next::GO_ON) {
        next = Step(drained);
    }
    if (next == Next::END) {
        Close();
    } else {
        Rest();
    }
    return next == Next::GIVE_WAY;
}

ServedLane::Next ServedLane::Step(bool& drained)
{
    IncomingMessage request;
    EndReason why = EndReason::NONE;
    switch (reader_.Next(request, why)) {
        case MessageReader::Step::MESSAGE: {
            receiving_.Stop();
            if (link_->IsEndedByUs()) {
                return Next::END;
            }
            const Next next = Serve(request);
            const bool more = !drained || !reader_.IsBetweenMessages();
            return next == Next::GO_ON && more && Reactor::Get().IsCrowded() ? Next::GIVE_WAY : next;
        }
        case MessageReader::Step::MORE:
            return drained ? RestForMore() : Read(drained);
        case MessageReader::Step::BROKEN:
            break;
    }
    link_->End(why);
    return Next::END;
}

ServedLane::Next ServedLane::RestForMore()
{
    if (!reader_.IsBetweenMessages()) {
        receiving_.Start();
        link_->WatchDeadline();
    }
    return Next::REST;
}

ServedLane::Next ServedLane::Read(bool& drained)
{
    switch (reader_.Receive(socket_.Get(), MSG_DONTWAIT)) {
        case DescriptorStream::Fill::DATA:
            drained = !reader_.MayHaveMore() && !ending_; // whatever comes later is told by the reactor
            return Next::GO_ON;
        case DescriptorStream::Fill::NOTHING:
            drained = true;
            return Next::GO_ON;
        case DescriptorStream::Fill::CLOSED:
            lastReply_.Arrived();
            return Next::END;
        case DescriptorStream::Fill::RESET: // what was unread was the last reply
            break;
    }
    return Next::END;
}

ServedLane::Next ServedLane::Serve(IncomingMessage& request)
{
    lastReply_.Arrived(); // or the caller would not go on
    const bool synchronous = (request.head.flags & MessageHead::ONE_WAY) == 0;
    inSynchronousRequest_ = synchronous; // before the look, so that one of the two sides sees the other
    if (synchronous && link_->Objects().IsDead()) {
        inSynchronousRequest_ = false;
        return Next::GO_ON; // what its caller will not hear of is not begun
    }
    Answer answer;
    ++Statistics().requests;
    const EndReason wrong = AnswerRequest(*link_, request, link_->SendLimits(), answer);
    inSynchronousRequest_ = false;
    if (wrong != EndReason::NONE) {
        link_->End(wrong);
        return Next::END;
    }
    return Reply(answer);
}

ServedLane::Next ServedLane::Reply(Answer& answer)
{
    Sending reply(answer.message);
    switch (reply.Continue(socket_.Get())) {
        case Sending::State::SENT:
            lastReply_ = std::move(answer.message.given);
            return Next::GO_ON;
        case Sending::State::GONE: // the caller has given up; the next read says so too
            return Next::GO_ON;
        case Sending::State::REFUSED:
            return ReplyRefused(answer, reply.IsBegun());
        case Sending::State::BLOCKED:
            break;
    }
    if (link_->QueuedBytes() + reply.Remaining() > link_->Limits().queuedBytesPerConnection) {
        link_->End(EndReason::TOO_MANY_QUEUED_BYTES);
        return Next::END;
    }
    outbox_.Add(reply, Baggage::Of(*answer.reply, std::move(answer.message.given)));
    sending_.Start();
    link_->WatchDeadline();
    Reactor::Get().Rewatch(ticket_, socket_.Get(), Reactor::INCOMING | EPOLLOUT);
    return Next::REST;
}

ServedLane::Next ServedLane::ReplyRefused(const Answer& answer, bool begun)
{
    MessageHead head;
    head.size = sizeof(head);
    head.kind = static_cast<uint16_t>(MessageKind::REPLY);
    head.code = static_cast<uint32_t>(IPC_OUT_OF_DESCRIPTORS);
    head.sequence = answer.message.head.sequence;
    const std::vector<Host::UniqueFd> none;
    Sending reply({iovec{&head, sizeof(head)}, iovec{}, iovec{}}, none);
    if (!begun && reply.Continue(socket_.Get()) == Sending::State::SENT) {
        return Next::GO_ON;
    }
    link_->End(EndReason::OUT_OF_DESCRIPTORS);
    return Next::END;
}

ServedLane::Next ServedLane::FlushReply()
{
    if (outbox_.IsEmpty()) {
        return Next::GO_ON;
    }
    std::vector<Baggage> delivered;
    switch (outbox_.Flush(socket_.Get(), delivered)) {
        case Sending::State::BLOCKED:
            return Next::REST; // no request is read before its predecessor has been answered
        case Sending::State::REFUSED:
            link_->End(EndReason::OUT_OF_DESCRIPTORS);
            return Next::END;
        case Sending::State::SENT:
            lastReply_ = std::move(delivered.back().given); // a lane has one reply at a time
            break;
        case Sending::State::GONE:
            break;
    }
    sending_.Stop();
    Reactor::Get().Rewatch(ticket_, socket_.Get(), Reactor::INCOMING);
    return Next::GO_ON;
}

void ServedLane::Close()
{
    Holds released;
    {
        std::lock_guard lock(mutex_);
        released.swap(holds_);
    }
    reader_.Close();
    receiving_.Stop();
    sending_.Stop();
    lastReply_ = GivenObjects();
    Reactor::Get().Unwatch(ticket_, socket_.Get());
    link_->LaneEnded(*this);
}

} // namespace OHOS::Ipc
