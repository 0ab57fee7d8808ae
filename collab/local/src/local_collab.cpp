#include "local_collab.h"

#include <algorithm>
#include <utility>

#include "collab_notes.h"
#include "hilog/host_text.h"
#include "host/scheduler.h"
#include "share_log.h"

namespace OHOS::Synfold {
namespace {

namespace Log = Pelago::Log;

constexpr const char* STEP_NAMES[] = {
    "knocking", "requested", "answered", "no application", "busy", "unreachable", "no answer"};
static_assert(std::size(STEP_NAMES) == static_cast<size_t>(TapStep::NO_ANSWER) + 1);

[[nodiscard]] bool IsUnderWay(const TapRecord& tap)
{
    return tap.step <= TapStep::REQUESTED;
}

// A thumbnail would fill the memory and nobody's screen.
std::string Cut(const std::string& text)
{
    return text.size() <= LocalCollab::MAX_TEXT ? text : text.substr(0, LocalCollab::MAX_TEXT) + "...";
}

template <typename Entry>
void Keep(std::deque<Entry>& entries, Entry entry)
{
    entries.push_back(std::move(entry));
    if (entries.size() > LocalCollab::KEPT) {
        entries.pop_front();
    }
}

} // namespace

const char* NameOf(TapStep step)
{
    return STEP_NAMES[static_cast<size_t>(step)];
}

LocalCollab::LocalCollab(CollabDevice self, std::shared_ptr<NoteCarrier> carrier)
    : self_(std::move(self)), queue_(Host::Scheduler::Instance().CreateQueue("collab")), carrier_(std::move(carrier))
{}

LocalCollab::~LocalCollab()
{
    queue_->Stop();
}

void LocalCollab::SetObservers(StateObserver onState, ChangeObserver onChange)
{
    std::lock_guard<std::mutex> guard(mutex_);
    onState_ = std::move(onState);
    onChange_ = std::move(onChange);
}

void LocalCollab::Close()
{
    queue_->Stop();
    std::shared_ptr<NoteCarrier> carrier; // these go after the lock
    sptr<IServicePublishCallback> publish;
    sptr<IServiceDeliverCallback> deliver;
    StateObserver onState;
    ChangeObserver onChange;
    std::lock_guard<std::mutex> guard(mutex_);
    carrier.swap(carrier_);
    onState.swap(onState_);
    onChange.swap(onChange_);
    std::swap(publish, publish_);
    std::swap(deliver, deliver_);
}

template <typename Body>
bool LocalCollab::Post(Body body, int64_t delayMs)
{
    Host::Task task = [weak = weak_from_this(), body = std::move(body)]() mutable {
        if (auto self = weak.lock(); self != nullptr) {
            body(*self);
        }
    };
    return queue_->Post(std::move(task), delayMs) != 0;
}

uint32_t LocalCollab::Tap(const std::string& peer, std::function<void(TapStep)> done)
{
    uint32_t tap = 0;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        auto underWay = std::count_if(taps_.begin(), taps_.end(), IsUnderWay);
        if (underWay >= static_cast<std::ptrdiff_t>(MAX_UNDER_WAY)) {
            return 0;
        }
        if (taps_.size() == KEPT) {
            taps_.erase(std::find_if_not(taps_.begin(), taps_.end(), IsUnderWay)); // fewer than KEPT are under way
        }
        tap = ++lastTap_;
        taps_.push_back({tap, peer, TapStep::KNOCKING, std::move(done)});
    }
    if (Post([tap](LocalCollab& self) { (void)self.MoveTap(tap, TapStep::NO_ANSWER); }, ANSWER_LIMIT_MS) &&
        Post([tap, peer](LocalCollab& self) { self.Knock(tap, peer); })) {
        return tap;
    }
    std::lock_guard<std::mutex> guard(mutex_); // a tap that nobody makes must not count as one under way
    auto same = [tap](const TapRecord& record) { return record.tap == tap; };
    taps_.erase(std::remove_if(taps_.begin(), taps_.end(), same), taps_.end());
    return 0;
}

void LocalCollab::Knock(uint32_t tap, const std::string& peer)
{
    // Below 0 the service could not be asked, which is not that somebody wants it.
    if (CallPublish(CollabEvent::KNOCK, peer, KnockText(peer)) <= 0) {
        (void)MoveTap(tap, TapStep::NO_APPLICATION); // or its time is over
        Send(peer, NoticeNote(NOTIFY_NO_APPLICATION), [](bool) {});
        return;
    }
    std::string concurrentId =
        self_.id + "-" + std::to_string(Host::Scheduler::Instance().WallTimeMs()) + "-" + std::to_string(tap);
    Send(peer, RequestNote(tap, concurrentId), [weak = weak_from_this(), tap](bool taken) {
        if (auto self = weak.lock(); self != nullptr) {
            // A tap whose answer was faster than this stays answered.
            (void)self->MoveTap(tap, taken ? TapStep::REQUESTED : TapStep::UNREACHABLE);
        }
    });
}

void LocalCollab::Send(const std::string& peer, const std::string& note, std::function<void(bool)> done)
{
    std::shared_ptr<NoteCarrier> carrier;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        carrier = carrier_;
    }
    if (carrier != nullptr) {
        carrier->Send(peer, note, std::move(done));
    }
}

bool LocalCollab::MoveTap(uint32_t tap, TapStep step, const std::string& peer)
{
    std::function<void(TapStep)> done;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        auto found = std::find_if(taps_.begin(), taps_.end(), [&](const TapRecord& record) {
            return record.tap == tap && IsUnderWay(record) && (peer.empty() || record.peer == peer);
        });
        if (found == taps_.end()) {
            return false;
        }
        found->step = step;
        if (!IsUnderWay(*found)) {
            done.swap(found->done);
        }
    }
    if (done) {
        (void)Post([done, step](LocalCollab&) { done(step); }); // as in OnNote
    }
    TellChange();
    return true;
}

void LocalCollab::OnNote(const std::string& peer, const std::string& note)
{
    if (++waitingNotes_ > MAX_WAITING_NOTES) {
        --waitingNotes_;
        SHARE_LOGD(Log::SERVICE, "too many notes wait: one is dropped");
        return;
    }
    bool posted = Post([peer, note](LocalCollab& self) {
        --self.waitingNotes_;
        self.TakeNote(peer, note);
    });
    waitingNotes_ -= posted ? 0 : 1; // without a thread nobody can be asked; the scheduler has said so in the log
}

void LocalCollab::TakeNote(const std::string& peer, const std::string& text)
{
    auto note = ReadNote(text);
    if (!note.has_value()) {
        SHARE_LOGD(Log::SERVICE, "a note of %{public}s makes no sense", Host::EscapeForTerminal(peer).c_str());
        return;
    }
    switch (note->kind) {
        case NoteKind::REQUEST:
            TakeRequest(peer, *note);
            return;
        case NoteKind::NOTICE:
            (void)CallDeliver(peer, NotifyText(note->notifyInfo)); // it is told, and nobody waits
            return;
        case NoteKind::REPLY:
            TakeReply(peer, *note);
            return;
    }
}

// The service gets a number of ours: two peers may have given the same one.
void LocalCollab::TakeRequest(const std::string& peer, const Note& note)
{
    uint32_t action = 0;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        if (deliveries_.size() >= MAX_UNDER_WAY) {
            SHARE_LOGD(Log::SERVICE, "too many requests wait for an answer");
            return;
        }
        action = ++lastAction_;
        deliveries_[action] = {peer, note.tap};
    }
    bool guarded = Post([action](LocalCollab& self) { self.GiveUpDelivery(action); }, ANSWER_LIMIT_MS);
    if (!guarded || CallDeliver(peer, RequestText(note.concurrentId, action)) != 0) {
        GiveUpDelivery(action);
    }
}

void LocalCollab::GiveUpDelivery(uint32_t action)
{
    std::lock_guard<std::mutex> guard(mutex_);
    deliveries_.erase(action);
}

void LocalCollab::TakeReply(const std::string& peer, const Note& note)
{
    if (!MoveTap(note.tap, note.reply.busy ? TapStep::BUSY : TapStep::ANSWERED, peer)) {
        SHARE_LOGD(Log::SERVICE, "%{public}s replies to nothing", Host::EscapeForTerminal(peer).c_str());
    } else if (note.reply.busy) {
        // The one road by which the service tells its user that a peer is busy.
        (void)CallDeliver(peer, NotifyText(NOTIFY_BUSY)); // as above
    } else {
        (void)CallPublish(CollabEvent::PUBLISH, peer, PublishText(peer, note)); // what follows is the service's affair
    }
}

int32_t LocalCollab::CallPublish(CollabEvent event, const std::string& peer, const std::string& text)
{
    sptr<IServicePublishCallback> callback;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        callback = publish_;
    }
    bool isKnock = event == CollabEvent::KNOCK;
    Remember(isKnock ? "knock" : "publish", peer, text);
    if (callback == nullptr) {
        return RESULT_NOT_CALLED;
    }
    sptr<RequestResultInfo> info = new RequestResultInfo(text);
    return isKnock ? callback->OnKnockEvent(info) : callback->OnPublishEvent(info);
}

int32_t LocalCollab::CallDeliver(const std::string& peer, const std::string& text)
{
    sptr<IServiceDeliverCallback> callback;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        callback = deliver_;
    }
    Remember("deliver", peer, text);
    return callback == nullptr ? RESULT_NOT_CALLED : callback->OnDeliver(text);
}

void LocalCollab::Play(CollabEvent event, const std::string& text, const std::function<void(int32_t)>& done)
{
    bool posted = Post([event, text, done](LocalCollab& self) {
        done(event == CollabEvent::DELIVER ? self.CallDeliver({}, text) : self.CallPublish(event, {}, text));
    });
    if (!posted) {
        done(RESULT_NOT_CALLED);
    }
}

CollabView LocalCollab::View() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    CollabView view{{states_.begin(), states_.end()}, {texts_.begin(), texts_.end()}, {}};
    for (const TapRecord& tap : taps_) {
        view.taps.push_back({tap.tap, tap.peer, tap.step, nullptr});
    }
    return view;
}

void LocalCollab::Remember(const char* what, const std::string& peer, const std::string& text)
{
    {
        std::lock_guard<std::mutex> guard(mutex_);
        Keep(texts_, {++lastSequence_, what, peer, Cut(text)});
    }
    TellChange();
}

void LocalCollab::TellChange()
{
    // Without a thread nobody can be told; the scheduler has said so in the log.
    (void)Post([](LocalCollab& self) {
        ChangeObserver onChange;
        {
            std::lock_guard<std::mutex> guard(self.mutex_);
            onChange = self.onChange_;
        }
        if (onChange) {
            onChange();
        }
    });
}

int32_t LocalCollab::RequestService(uint32_t code, const sptr<ServicePublishCallbackStub>& callback)
{
    if (code != TAP_CODE || callback == nullptr) {
        return RESULT_REFUSED;
    }
    sptr<IServicePublishCallback> proxy = new ServicePublishCallbackProxy(callback->AsObject());
    std::lock_guard<std::mutex> guard(mutex_);
    std::swap(publish_, proxy); // the old one goes after the lock
    return 0;
}

int32_t LocalCollab::UnRequestService(uint32_t code)
{
    sptr<IServicePublishCallback> old; // goes after the lock
    std::lock_guard<std::mutex> guard(mutex_);
    if (code == TAP_CODE) {
        std::swap(publish_, old);
    }
    return 0;
}

int32_t LocalCollab::RequestServiceByParam(const std::string& param, const sptr<ServicePublishCallbackStub>& callback)
{
    auto reply = param.size() <= MAX_TEXT ? ReadServiceReply(param) : std::nullopt;
    if (!reply.has_value() || callback == nullptr) {
        return RESULT_REFUSED;
    }
    Delivery delivery;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        auto found = deliveries_.find(reply->actionId);
        if (found == deliveries_.end()) {
            return RESULT_REFUSED; // made up, answered already, or too late
        }
        delivery = found->second;
        deliveries_.erase(found);
    }
    Remember("reply", delivery.peer, param);
    std::string note = ReplyNote(delivery.tap, self_, param);
    bool posted = Post([peer = delivery.peer, note](LocalCollab& self) { self.Send(peer, note, [](bool) {}); });
    return posted ? 0 : RESULT_REFUSED;
}

int32_t LocalCollab::RegisterServiceDeliverCallback(int32_t, const sptr<ServiceDeliverCallbackStub>& callback)
{
    if (callback == nullptr) {
        return RESULT_REFUSED;
    }
    sptr<IServiceDeliverCallback> proxy = new ServiceDeliverCallbackProxy(callback->AsObject());
    std::lock_guard<std::mutex> guard(mutex_);
    std::swap(deliver_, proxy); // as above
    return 0;
}

int32_t LocalCollab::PublishServiceState(
    const std::string& serviceName, const std::string&, const std::string& extraInfo, int32_t state)
{
    ServiceState shown{0, serviceName, extraInfo, state};
    StateObserver onState;
    {
        std::lock_guard<std::mutex> guard(mutex_);
        shown.sequence = ++lastSequence_;
        Keep(states_, {shown.sequence, serviceName, Cut(extraInfo), state});
        onState = onState_;
    }
    if (onState) {
        // Without a thread nobody can be told; the scheduler has said so in the log.
        (void)Post([onState, shown](LocalCollab&) { onState(shown); });
    }
    TellChange();
    return 0;
}

int32_t LocalCollab::SubscribeNotifyDisconnect(
    const std::string&, const std::string&, const std::string&, const sptr<CallbackSkeleton>& callback)
{
    return callback == nullptr ? RESULT_REFUSED : 0; // there is nothing that it could be told
}

} // namespace OHOS::Synfold
