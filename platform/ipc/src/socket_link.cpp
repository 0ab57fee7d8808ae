#include "socket_link.h"

#include <algorithm>
#include <utility>

#include "ipc_log.h"
#include "ipc_statistics.h"
#include "remote_proxy.h"

namespace OHOS::Ipc {

// A stub that the peer has released; goes when the last lane that may still name it has let go of this.
class SocketLink::Retired {
public:
    Retired(SocketLink& link, uint64_t object) : link_(&link), object_(object)
    {}
    ~Retired()
    {
        link_->Objects().DropUnused(object_);
        link_->CloseIfUnused();
    }
    Retired(const Retired&) = delete;
    Retired& operator=(const Retired&) = delete;

private:
    const sptr<SocketLink> link_;
    const uint64_t object_;
};

SocketLink::SocketLink(std::shared_ptr<LinkGroup> group, Host::UniqueFd control, const PeerName& peer,
    const Host::IpcLimits& limits, const sptr<IPCObjectStub>& root)
    : Link(peer.caller, limits.objectsPerConnection), group_(std::move(group)), token_(peer.token), limits_(limits),
      sendLimits_(limits), root_(root), control_(sptr<ControlSocket>::MakeSptr(*this, std::move(control))),
      lanes_(*this)
{}

bool SocketLink::Open()
{
    if (const EndReason refusal = group_->Add(this); refusal != EndReason::NONE) {
        End(refusal);
        return false;
    }
    if (root_ != nullptr) {
        greeting_.Start();
        WatchDeadline();
    }
    if (!control_->Open()) {
        End(EndReason::OUT_OF_DESCRIPTORS);
        group_->Remove(*this);
        return false;
    }
    return true;
}

void SocketLink::LimitBy(const ControlMessage& hello)
{
    const auto lower = [](size_t& ours, size_t theirs) { ours = std::min(ours, theirs); };
    lower(sendLimits_.messageBytes, hello.messageBytes);
    lower(sendLimits_.descriptorsPerMessage, hello.descriptors);
    lower(sendLimits_.objectsPerConnection, hello.objects);
    lower(sendLimits_.lanesPerConnection, hello.lanes);
}

Host::IpcConnectionInfo SocketLink::Describe() const
{
    const ObjectTable::Sizes objects = Objects().Count();
    Host::IpcConnectionInfo info;
    info.pid = Peer().pid;
    info.uid = Peer().uid;
    info.token = token_;
    info.lanesOut = lanes_.Count();
    info.objectsHeld = objects.held;
    info.objectsGiven = objects.given;
    info.queuedBytes = queuedBytes_;
    std::lock_guard lock(mutex_);
    info.lanesIn = served_.size();
    return info;
}

// ---- Calls

int SocketLink::Transact(
    RemoteProxy& object, uint32_t code, MessageParcel& data, MessageParcel& reply, const MessageOption& option)
{
    if (IsStranded() || Objects().IsDead()) {
        return IPC_DEAD_OBJECT;
    }
    OutgoingMessage request;
    if (const int error = request.Pack(*this, data, sendLimits_); error != ERR_NONE) {
        return error;
    }
    const bool oneWay = (option.GetFlags() & MessageOption::TF_ASYNC) != 0;
    request.head.kind = static_cast<uint16_t>(MessageKind::REQUEST);
    request.head.flags = oneWay ? MessageHead::ONE_WAY : 0;
    request.head.target = object.Id();
    request.head.code = code;
    int error = ERR_NONE;
    const sptr<CallLane> lane = lanes_.Take(error);
    if (lane == nullptr) {
        return error;
    }
    const int result = oneWay ? lane->Post(request, data, sptr<IRemoteObject>(&object))
                              : CallThrough(*lane, request, option.GetWaitTime(), reply);
    lanes_.Return(lane);
    return result;
}

int SocketLink::CallThrough(CallLane& lane, OutgoingMessage& request, int waitSeconds, MessageParcel& reply)
{
    IncomingMessage message;
    Reactor::Get().BeginCallTo(requester_);
    const int error = lane.Call(request, waitSeconds, message);
    Reactor::Get().EndCallTo(requester_);
    if (error != ERR_NONE) {
        return error;
    }
    const auto result = static_cast<int>(message.head.code);
    if (const EndReason wrong = message.Unpack(*this, reply); wrong != EndReason::NONE) {
        End(wrong);
        return IPC_DEAD_OBJECT;
    }
    return result;
}

int SocketLink::OfferLane(Host::UniqueFd theirs)
{
    ControlMessage lane;
    lane.kind = static_cast<uint32_t>(ControlKind::LANE);
    switch (control_->Send(lane, std::move(theirs))) {
        case Sending::State::REFUSED:
            return IPC_OUT_OF_DESCRIPTORS;
        case Sending::State::GONE:
            return IPC_DEAD_OBJECT;
        case Sending::State::SENT:
        case Sending::State::BLOCKED: // queued
            break;
    }
    return ERR_NONE;
}

// ---- Objects

void SocketLink::SendRelease(uint64_t object, uint64_t count)
{
    if (Objects().IsDead()) {
        return;
    }
    ControlMessage release;
    release.kind = static_cast<uint32_t>(ControlKind::RELEASE);
    release.id = object;
    release.number = count;
    (void)control_->Send(release); // without a peer there is nothing to release
    CloseIfUnused();
}

void SocketLink::DropWhenRead(uint64_t object)
{
    const Hold hold = std::make_shared<Retired>(*this, object);
    lanes_.HoldUntilReturned(object, hold);
    std::lock_guard lock(mutex_);
    for (const Served& served : served_) {
        served.lane->HoldUntilRead(object, hold);
    }
}

void SocketLink::CloseIfUnused()
{
    const ObjectTable::Sizes objects = Objects().Count();
    if (root_ == nullptr && objects.given == 0 && objects.held == 0) {
        End(EndReason::CLOSED);
    }
}

// ---- What the control socket brings

EndReason SocketLink::OnControlMessage(const ControlMessage& message, std::vector<Host::UniqueFd> descriptors)
{
    if (greeting_.IsRunning() || message.kind == static_cast<uint32_t>(ControlKind::HELLO)) {
        return OnHello(message);
    }
    if (message.kind == static_cast<uint32_t>(ControlKind::LANE)) {
        return OnLane(std::move(descriptors));
    }
    if (message.kind == static_cast<uint32_t>(ControlKind::RELEASE)) {
        return OnRelease(message);
    }
    if (message.kind == static_cast<uint32_t>(ControlKind::GOODBYE)) {
        IPC_LOGD("pid %{public}d says goodbye: %{public}s", Peer().pid, EndReasonText(EndReasonOf(message.number)));
        return EndReason::NONE; // the end itself follows
    }
    return EndReason::BAD_KIND;
}

EndReason SocketLink::OnHello(const ControlMessage& message)
{
    if (message.kind != static_cast<uint32_t>(ControlKind::HELLO) || !greeting_.IsRunning()) {
        return EndReason::BAD_KIND;
    }
    if (message.number != WIRE_VERSION) {
        return EndReason::BAD_VERSION;
    }
    if (!message.LeavesRoom()) {
        return EndReason::BAD_SIZE;
    }
    LimitBy(message);
    greeting_.Stop();
    ControlMessage welcome = ControlMessage::Greeting(ControlKind::WELCOME, limits_);
    welcome.id = Objects().Give(root_, sendLimits_.objectsPerConnection);
    if (welcome.id == 0) {
        return EndReason::TOO_MANY_OBJECTS;
    }
    (void)control_->Send(welcome); // a failure ends the connection by itself
    return EndReason::NONE;
}

EndReason SocketLink::OnLane(std::vector<Host::UniqueFd> descriptors)
{
    Host::UniqueFd socket = std::move(descriptors.front());
    if (!socket.IsOpen()) {
        return EndReason::OUT_OF_DESCRIPTORS;
    }
    if (!IsLocalStream(socket.Get())) {
        return EndReason::BAD_LANE;
    }
    const auto lane = sptr<ServedLane>::MakeSptr(*this, std::move(socket));
    {
        std::lock_guard lock(mutex_);
        if (served_.size() >= Host::IPC_LANE_TOLERANCE * limits_.lanesPerConnection) {
            return EndReason::TOO_MANY_LANES;
        }
        if (++load_->lanes > limits_.lanesPerProcess) {
            --load_->lanes;
            return EndReason::TOO_MANY_LANES;
        }
        served_.push_back({lane, false});
    }
    if (!lane->Open()) {
        LaneEnded(*lane);
        return EndReason::OUT_OF_DESCRIPTORS;
    }
    return EndReason::NONE;
}

EndReason SocketLink::OnRelease(const ControlMessage& message)
{
    switch (Objects().TakeBack(message.id, message.number)) {
        case ObjectTable::Release::STILL_GIVEN:
            return EndReason::NONE;
        case ObjectTable::Release::UNUSED:
            DropWhenRead(message.id);
            return EndReason::NONE;
        case ObjectTable::Release::WRONG:
            break;
    }
    return EndReason::BAD_RELEASE;
}

// ---- Deadlines

void SocketLink::WatchDeadline()
{
    WatchDeadlineIn(limits_.unfinishedMessage);
}

void SocketLink::WatchDeadlineIn(std::chrono::milliseconds delay)
{
    if (deadlineWatched_.exchange(true)) {
        return;
    }
    Reactor::Get().RunAt(Clock::now() + delay, [link = wptr<SocketLink>(this)] {
        if (const sptr<SocketLink> alive = link.promote(); alive != nullptr) {
            alive->CheckDeadlines();
        }
    });
}

void SocketLink::CheckDeadlines()
{
    deadlineWatched_ = false;
    bool unfinished = false;
    const EndReason overdue = FindOverdue(Clock::now() - limits_.unfinishedMessage, unfinished);
    if (overdue != EndReason::NONE) {
        End(overdue);
    } else if (unfinished) {
        WatchDeadlineIn(limits_.unfinishedMessage / 4); // something that has begun since
    }
}

EndReason SocketLink::FindOverdue(Clock::time_point limit, bool& unfinished) const
{
    unfinished = greeting_.IsRunning() || control_->IsUnfinished();
    EndReason reason = greeting_.IsBefore(limit) ? EndReason::UNFINISHED_MESSAGE : control_->Overdue(limit);
    if (reason == EndReason::NONE) {
        reason = lanes_.Overdue(limit, unfinished);
    }
    std::lock_guard lock(mutex_);
    for (const Served& served : served_) {
        unfinished = unfinished || served.lane->IsUnfinished();
        if (const EndReason overdue = served.lane->Overdue(limit); overdue != EndReason::NONE) {
            reason = overdue;
        }
    }
    return reason;
}

// ---- The end

void SocketLink::End(EndReason why)
{
    EndReason none = EndReason::NONE;
    if (!endReason_.compare_exchange_strong(none, why)) {
        return;
    }
    if (why != EndReason::CLOSED) {
        ++Statistics().refused;
        IPC_LOGE("the connection of pid %{public}d, uid %{public}u, as %{public}s is ended: %{public}s", Peer().pid,
            Peer().uid, token_.c_str(), EndReasonText(why));
    }
    control_->SayGoodbye(why);
    control_->Shutdown();
}

void SocketLink::OnControlEnd()
{
    Objects().Die();
    lanes_.ShutDown();
    Reactor::Get().BeginCallTo(requester_); // for good: what is left in its lanes need not wait for a place
    control_->Close();
    bool draining = false;
    {
        const bool theirs = endReason_ == EndReason::NONE;
        std::lock_guard lock(mutex_);
        dead_ = true;
        for (Served& served : served_) {
            served.lane->Shutdown(theirs);
            served.draining = theirs && !served.lane->IsInSynchronousRequest();
            draining = draining || served.draining;
        }
    }
    EndIfDrained();
    if (!draining) {
        return;
    }
    Reactor::Get().RunAt(Clock::now() + limits_.unfinishedMessage, [link = wptr<SocketLink>(this)] {
        if (const sptr<SocketLink> alive = link.promote(); alive != nullptr) {
            alive->StopDraining();
        }
    });
}

// A one-way request that does not end keeps nobody from hearing of the death.
void SocketLink::StopDraining()
{
    {
        std::lock_guard lock(mutex_);
        for (Served& served : served_) {
            served.draining = false;
        }
    }
    EndIfDrained();
}

void SocketLink::LaneEnded(const ServedLane& lane)
{
    sptr<ServedLane> ended; // let go after the lock
    {
        std::lock_guard lock(mutex_);
        const auto found =
            std::find_if(served_.begin(), served_.end(), [&lane](const Served& one) { return one.lane == &lane; });
        if (found != served_.end()) {
            ended = std::move(found->lane);
            served_.erase(found);
            --load_->lanes;
        }
    }
    EndIfDrained();
}

void SocketLink::EndIfDrained()
{
    bool mourn = false;
    bool over = false;
    {
        std::lock_guard lock(mutex_);
        const bool drained =
            std::none_of(served_.begin(), served_.end(), [](const Served& one) { return one.draining; });
        mourn = dead_ && drained && !mourning_;
        mourning_ = mourning_ || mourn;
        over = mourned_ && served_.empty();
    }
    if (mourn) {
        Reactor::Get().RunInTurn([link = sptr<SocketLink>(this)] { link->Mourn(); });
    }
    if (over) {
        group_->Remove(*this);
    }
}

void SocketLink::Mourn()
{
    Objects().DropGiven();                 // not before: what came one-way still named them
    if (endReason_ != EndReason::CLOSED) { // nobody has died when it is we who leave
        Objects().TellRecipients();
    }
    bool over = false;
    {
        std::lock_guard lock(mutex_);
        mourned_ = true;
        over = served_.empty();
    }
    if (over) {
        group_->Remove(*this);
    }
}

} // namespace OHOS::Ipc
