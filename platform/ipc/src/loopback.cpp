#include "host/loopback.h"

#include <fcntl.h>

#include <cstring>
#include <deque>
#include <functional>
#include <utility>
#include <vector>

#include "ipc_log.h"
#include "message.h"
#include "remote_proxy.h"
#include "request_road.h"

namespace OHOS::Host {

namespace {

// A message between the two sides: bytes and duplicated descriptors, and nothing else.
struct Packet {
    std::vector<uint8_t> bytes;
    std::vector<Host::UniqueFd> descriptors;
};

Packet PacketOf(const Ipc::OutgoingMessage& message)
{
    Packet packet;
    for (const iovec& part : message.Bytes()) {
        const auto* begin = static_cast<const uint8_t*>(part.iov_base);
        packet.bytes.insert(packet.bytes.end(), begin, begin + part.iov_len);
    }
    for (const Host::UniqueFd& fd : message.Descriptors()) {
        packet.descriptors.emplace_back(::fcntl(fd.Get(), F_DUPFD_CLOEXEC, 0));
    }
    return packet;
}

// False for bytes that are no message: that would be our own fault.
bool Read(Packet packet, Ipc::IncomingMessage& message)
{
    Ipc::MessageHead head;
    std::memcpy(&head, packet.bytes.data(), sizeof(head));
    if (Ipc::CheckHead(head, IpcLimits()) != Ipc::EndReason::NONE || !message.Begin(head)) {
        return false;
    }
    const uint8_t* from = packet.bytes.data() + sizeof(head);
    for (const iovec& part : message.BodyFrom(0)) {
        if (part.iov_len > 0) {
            std::memcpy(part.iov_base, from, part.iov_len);
            from += part.iov_len;
        }
    }
    message.descriptors = std::move(packet.descriptors);
    return true;
}

// On the queue that all deaths share; a new one if the scheduler has stopped the former.
bool PostDeath(const std::function<void()>& tell)
{
    static auto* queue = new std::shared_ptr<TaskQueue>(Scheduler::Instance().CreateQueue("deaths"));
    if ((*queue)->Post(tell) != 0) {
        return true;
    }
    *queue = Scheduler::Instance().CreateQueue("deaths");
    return (*queue)->Post(tell) != 0;
}

// One side of the border. `caller` is who the requests come from that arrive at this side.
class LoopbackLink : public Ipc::Link {
public:
    explicit LoopbackLink(const Ipc::Caller& caller) : Link(caller, IpcLimits().objectsPerConnection)
    {}

    void Join(LoopbackLink& other)
    {
        other_ = &other;
    }
    // One of the two is dead: what it has not looked at goes with it.
    void Part()
    {
        other_ = nullptr;
        pending_.clear();
    }
    // The process on the far side stops to answer, or goes on with what has piled up meanwhile.
    void SetFarSideHanging(bool hanging)
    {
        farSideHangs_ = hanging;
    }
    void CatchUp();

    int Transact(Ipc::RemoteProxy& object, uint32_t code, MessageParcel& data, MessageParcel& reply,
        const MessageOption& option) override;
    void SendRelease(uint64_t object, uint64_t count) override;
    void DropWhenRead(uint64_t object) override
    {
        Objects().DropUnused(object); // nothing is ever on its way here
    }

private:
    // Runs a request that has arrived at this side. Gives the reply, empty if the request could not be read.
    Packet Handle(Packet request);
    int TakeReply(Packet packet, MessageParcel& reply);

    sptr<LoopbackLink> other_; // null once the process is dead
    bool farSideHangs_ = false;
    std::deque<Packet> pending_; // requests that the hanging process has not looked at
};

int LoopbackLink::Transact(
    Ipc::RemoteProxy& object, uint32_t code, MessageParcel& data, MessageParcel& reply, const MessageOption& option)
{
    const sptr<LoopbackLink> other = other_;
    if (other == nullptr) {
        return IPC_DEAD_OBJECT;
    }
    Ipc::OutgoingMessage message;
    if (const int error = message.Pack(*this, data, IpcLimits()); error != ERR_NONE) {
        return error;
    }
    const bool oneWay = (option.GetFlags() & MessageOption::TF_ASYNC) != 0;
    message.head.kind = static_cast<uint16_t>(Ipc::MessageKind::REQUEST);
    message.head.flags = oneWay ? Ipc::MessageHead::ONE_WAY : 0;
    message.head.target = object.Id();
    message.head.code = code;
    Packet request = PacketOf(message);
    message.given.Arrived();
    if (farSideHangs_) {
        pending_.push_back(std::move(request));
        if (!oneWay) {
            Scheduler::Instance().AdvanceWithoutRunning(option.GetWaitTime() * 1000LL);
        }
        return oneWay ? ERR_NONE : IPC_TIMED_OUT;
    }
    CatchUp();
    Packet answer = other->Handle(std::move(request));
    if (other_ == nullptr) {
        return oneWay ? ERR_NONE : IPC_DEAD_OBJECT;
    }
    const int result = TakeReply(std::move(answer), reply);
    return oneWay ? ERR_NONE : result;
}

void LoopbackLink::CatchUp()
{
    while (!pending_.empty() && !farSideHangs_ && other_ != nullptr) {
        Packet request = std::move(pending_.front());
        pending_.pop_front();
        const sptr<LoopbackLink> other = other_;
        MessageParcel unread;
        (void)TakeReply(other->Handle(std::move(request)), unread); // nobody waits for it any more
    }
}

Packet LoopbackLink::Handle(Packet packet)
{
    Ipc::IncomingMessage request;
    Ipc::Answer answer;
    if (!Read(std::move(packet), request) ||
        Ipc::AnswerRequest(*this, request, IpcLimits(), answer) != Ipc::EndReason::NONE) {
        IPC_LOGE("a request between loopback processes cannot be read");
        return {};
    }
    answer.message.given.Arrived();
    return PacketOf(answer.message);
}

int LoopbackLink::TakeReply(Packet packet, MessageParcel& reply)
{
    Ipc::IncomingMessage message;
    if (!Read(std::move(packet), message) || message.Unpack(*this, reply) != Ipc::EndReason::NONE) {
        return IPC_UNKNOWN_ERROR;
    }
    return static_cast<int>(message.head.code);
}

void LoopbackLink::SendRelease(uint64_t object, uint64_t count)
{
    if (const sptr<LoopbackLink> other = other_;
        other != nullptr && other->Objects().TakeBack(object, count) == Ipc::ObjectTable::Release::UNUSED) {
        other->DropWhenRead(object);
    }
}

} // namespace

// The two sides of the border between this process and another one. Owned by the process; what is shared across it
// holds the sides.
class LoopbackBorder {
public:
    explicit LoopbackBorder(const LoopbackProcess::Identity& process)
        : here_(new LoopbackLink({process.pid, process.uid, process.tokenId})),
          there_(new LoopbackLink(Ipc::OwnCaller()))
    {
        here_->Join(*there_);
        there_->Join(*here_);
    }

    // The side of this process: proxies of the other one's stubs.
    LoopbackLink& Here()
    {
        return *here_;
    }
    LoopbackLink& There()
    {
        return *there_;
    }

private:
    const sptr<LoopbackLink> here_;
    const sptr<LoopbackLink> there_;
};

namespace {

// `stub`, given by the side `from`, as the side `to` sees it.
sptr<IRemoteObject> Carry(LoopbackLink& from, LoopbackLink& to, const sptr<IRemoteObject>& stub)
{
    auto* local = stub == nullptr ? nullptr : dynamic_cast<IPCObjectStub*>(stub.GetRefPtr());
    const uint64_t id =
        local == nullptr || from.Objects().IsDead() ? 0 : from.Objects().Give(local, IpcLimits().objectsPerConnection);
    return id == 0 ? nullptr : to.Objects().Hold(id, to);
}

} // namespace

LoopbackProcess::LoopbackProcess(const Identity& identity)
    : identity_(identity), queue_(Scheduler::Instance().CreateQueue("process " + std::to_string(identity.pid))),
      border_(std::make_unique<LoopbackBorder>(identity))
{}

LoopbackProcess::~LoopbackProcess()
{
    Kill();
}

const LoopbackProcess::Identity& LoopbackProcess::GetIdentity() const
{
    return identity_;
}

sptr<IRemoteObject> LoopbackProcess::ProxyFor(const sptr<IRemoteObject>& ownStub)
{
    return Carry(border_->There(), border_->Here(), ownStub);
}

sptr<IRemoteObject> LoopbackProcess::Connect(const sptr<IRemoteObject>& stub)
{
    return Carry(border_->Here(), border_->There(), stub);
}

void LoopbackProcess::Post(Task task)
{
    (void)queue_->Post(std::move(task)); // refused when the process is dead: then nothing of it runs
}

void LoopbackProcess::Kill()
{
    if (!IsAlive()) {
        return;
    }
    queue_->Stop();
    border_->Here().Part();
    border_->There().Part();
    border_->There().Objects().Die();
    border_->Here().Objects().Die();
    border_->There().Objects().DropGiven();
    border_->Here().Objects().DropGiven();
    if (!PostDeath([link = sptr<LoopbackLink>(&border_->Here())] { link->Objects().TellRecipients(); })) {
        IPC_LOGE("the death of a loopback process cannot be told");
    }
}

bool LoopbackProcess::IsAlive() const
{
    return !border_->Here().Objects().IsDead();
}

void LoopbackProcess::SetHanging(bool hanging)
{
    border_->Here().SetFarSideHanging(hanging);
    if (!hanging) {
        Post([link = sptr<LoopbackLink>(&border_->Here())] { link->CatchUp(); });
    }
}

LoopbackProcess::Counts LoopbackProcess::CountObjects() const
{
    return {border_->Here().Objects().Count().held, border_->There().Objects().Count().held};
}

} // namespace OHOS::Host
