#include "control_socket.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <cstring>
#include <utility>

#include "socket_link.h"

namespace OHOS::Ipc {

namespace {

Sending SendingOf(const ControlMessage& message, const std::vector<Host::UniqueFd>& descriptors)
{
    // iovec serves reading too, and so has no const.
    return Sending({iovec{const_cast<ControlMessage*>(&message), sizeof(message)}, iovec{}, iovec{}}, descriptors);
}

} // namespace

ControlSocket::ControlSocket(SocketLink& link, Host::UniqueFd socket)
    : link_(link), socket_(std::move(socket)), outbox_(link.QueuedBytes())
{}

bool ControlSocket::Open()
{
    return Reactor::Get().Watch(socket_.Get(), Reactor::INCOMING, this, ticket_);
}

void ControlSocket::Shutdown()
{
    std::lock_guard lock(mutex_);
    if (socket_.IsOpen()) {
        socket_.Shutdown();
    }
}

void ControlSocket::Close()
{
    Reactor::Get().Unwatch(ticket_, socket_.Get());
    receiving_.Stop();
    std::lock_guard lock(mutex_);
    socket_.Close();
    sending_.Stop(); // for good: who sends from here on finds the socket closed
    outbox_.Clear(); // the reactor may let go of us after the link, whose bytes these are
}

bool ControlSocket::IsUnfinished() const
{
    return receiving_.IsRunning() || sending_.IsRunning();
}

EndReason ControlSocket::Overdue(Clock::time_point limit) const
{
    if (receiving_.IsBefore(limit)) {
        return EndReason::UNFINISHED_MESSAGE;
    }
    return sending_.IsBefore(limit) ? EndReason::PEER_DOES_NOT_READ : EndReason::NONE;
}

// ---- Sending

Sending::State ControlSocket::Send(const ControlMessage& message, Host::UniqueFd descriptor)
{
    std::vector<Host::UniqueFd> descriptors;
    if (descriptor.IsOpen()) {
        descriptors.push_back(std::move(descriptor));
    }
    std::unique_lock lock(mutex_);
    if (!socket_.IsOpen()) {
        return Sending::State::GONE;
    }
    Sending sending = SendingOf(message, descriptors);
    const Sending::State state = outbox_.IsEmpty() ? sending.Continue(socket_.Get()) : Sending::State::BLOCKED;
    if (state == Sending::State::SENT || state == Sending::State::GONE ||
        (state == Sending::State::REFUSED && !descriptors.empty())) {
        return state;
    }
    if (state == Sending::State::BLOCKED &&
        link_.QueuedBytes() + sending.Remaining() <= link_.Limits().queuedBytesPerConnection) {
        const bool first = outbox_.IsEmpty();
        outbox_.Add(sending, Baggage{std::move(descriptors), {}, {}});
        if (first) {
            sending_.Start();
            Reactor::Get().Rewatch(ticket_, socket_.Get(), Reactor::INCOMING | EPOLLOUT);
            link_.WatchDeadline();
        }
        return Sending::State::SENT;
    }
    lock.unlock();
    link_.End(state == Sending::State::BLOCKED ? EndReason::TOO_MANY_QUEUED_BYTES : EndReason::OUT_OF_DESCRIPTORS);
    return Sending::State::GONE;
}

void ControlSocket::SayGoodbye(EndReason why)
{
    ControlMessage goodbye;
    goodbye.kind = static_cast<uint32_t>(ControlKind::GOODBYE);
    goodbye.number = static_cast<uint64_t>(why);
    const std::vector<Host::UniqueFd> none;
    std::lock_guard lock(mutex_);
    if (socket_.IsOpen() && outbox_.IsEmpty()) {
        (void)SendingOf(goodbye, none).Continue(socket_.Get()); // a courtesy: the end says the rest
    }
}

Sending::State ControlSocket::Flush()
{
    std::vector<Baggage> delivered; // let go after the lock
    std::lock_guard lock(mutex_);
    if (outbox_.IsEmpty()) {
        return Sending::State::SENT;
    }
    const Sending::State state = outbox_.Flush(socket_.Get(), delivered);
    if (state != Sending::State::BLOCKED) {
        sending_.Stop();
        Reactor::Get().Rewatch(ticket_, socket_.Get(), Reactor::INCOMING);
    } else if (!delivered.empty()) {
        sending_.Stop(); // it is the next message that waits now
        sending_.Start();
    }
    return state;
}

// ---- Receiving

bool ControlSocket::OnReady(uint32_t events)
{
    const sptr<SocketLink> link(&link_);      // its group may let go of it below
    if (Flush() == Sending::State::REFUSED) { // what was queued would stay for ever
        link_.End(EndReason::OUT_OF_DESCRIPTORS);
    }
    if (ended_) {
        return false;
    }
    const EndReason wrong = Read((events & Reactor::ENDING) != 0);
    if (wrong != EndReason::NONE) {
        link_.End(wrong);
        ended_ = true;
    }
    if (ended_) {
        link_.OnControlEnd();
    }
    return false;
}

EndReason ControlSocket::Read(bool toTheEnd)
{
    for (;;) {
        iovec room = {bytes_.data() + size_, bytes_.size() - size_};
        switch (stream_.Receive(socket_.Get(), &room, 1, MSG_DONTWAIT)) {
            case DescriptorStream::Fill::DATA:
                break;
            case DescriptorStream::Fill::NOTHING:
                return EndReason::NONE;
            case DescriptorStream::Fill::CLOSED:
            case DescriptorStream::Fill::RESET:
                ended_ = true;
                return EndReason::NONE;
        }
        size_ += stream_.LastRead();
        if (const EndReason wrong = HandOut(); wrong != EndReason::NONE) {
            return wrong;
        }
        if (!stream_.MayHaveMore() && !toTheEnd) {
            return EndReason::NONE; // whatever comes later is told by the reactor
        }
    }
}

EndReason ControlSocket::HandOut()
{
    size_t done = 0;
    EndReason wrong = EndReason::NONE;
    while (wrong == EndReason::NONE && size_ - done >= sizeof(ControlMessage)) {
        ControlMessage message;
        std::memcpy(&message, bytes_.data() + done, sizeof(message));
        done += sizeof(message);
        const bool carries = message.kind == static_cast<uint32_t>(ControlKind::LANE);
        auto descriptors = stream_.TakeBefore(stream_.Position() - (size_ - done), carries ? 1 : 0);
        if (message.magic != ControlMessage::MAGIC) {
            wrong = EndReason::BAD_MAGIC;
        } else if (descriptors.size() > (carries ? 1U : 0U)) {
            wrong = EndReason::SURPLUS_DESCRIPTORS;
        } else {
            wrong = link_.OnControlMessage(message, std::move(descriptors));
        }
    }
    std::memmove(bytes_.data(), bytes_.data() + done, size_ - done);
    size_ -= done;
    if (done > 0 || size_ == 0) {
        receiving_.Stop();
    }
    if (size_ > 0) { // of another message than before, if one was whole
        receiving_.Start();
        link_.WatchDeadline();
    }
    const bool surplus = wrong == EndReason::NONE && stream_.Count() > 1; // one message carries one
    return surplus ? EndReason::SURPLUS_DESCRIPTORS : wrong;
}

} // namespace OHOS::Ipc
