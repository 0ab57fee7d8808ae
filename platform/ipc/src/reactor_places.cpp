#include <algorithm>
#include <utility>

#include "reactor.h"

#include "host/ipc_transport.h"

namespace OHOS::Ipc {

bool Reactor::Claim(Ticket ticket, uint32_t events, Job& job)
{
    Slot* slot = Find(ticket);
    if (slot == nullptr) {
        return false; // gone since
    }
    if (slot->busy) {
        slot->missed |= events;
        return false;
    }
    slot->busy = true;
    job = Job{ticket, slot->target, events, slot->target->PlaceFor(), false, nullptr, 0};
    if (job.requester != nullptr && !TakePlace(job)) {
        Park(std::move(job));
        job = Job();
        return TakeParked(job); // its process may have been called just now
    }
    EnsureWaiter();
    return true;
}

bool Reactor::TakePlace(Job& job)
{
    if (running_ < Host::IPC_CONCURRENT_REQUESTS) {
        ++running_;
        job.extra = false;
        return true;
    }
    if (job.requester->callsToIt_.load() <= job.requester->extra_) {
        return false;
    }
    ++job.requester->extra_;
    ++extraRunning_;
    job.extra = true;
    return true;
}

void Reactor::GiveUpPlace(const Job& job)
{
    if (job.requester == nullptr) {
        return;
    }
    if (job.extra) {
        --job.requester->extra_;
        --extraRunning_;
    } else {
        --running_;
    }
}

bool Reactor::Finish(Job& job, bool again)
{
    if (job.target == nullptr) {
        takingTurns_ = takingTurns_ && job.turn != turn_; // unless another one did not wait for it
        return false;
    }
    Slot* slot = Find(job.ticket);
    const bool more = slot != nullptr && (again || slot->missed != 0);
    if (more) {
        job.events = std::exchange(slot->missed, 0);
        if (job.requester == nullptr || parked_.empty()) {
            return true;
        }
    } else if (slot != nullptr) {
        slot->busy = false;
    }
    GiveUpPlace(job);
    if (more) {
        Park(job); // behind those who wait already
    }
    return false;
}

void Reactor::Park(Job job)
{
    job.requester->parked_.fetch_add(1);
    parkedCount_.fetch_add(1);
    parked_.push_back(std::move(job));
}

bool Reactor::TakeParked(Job& job)
{
    const auto found = std::find_if(parked_.begin(), parked_.end(), [this](Job& one) { return TakePlace(one); });
    if (found == parked_.end()) {
        return false;
    }
    job = std::move(*found);
    parked_.erase(found);
    parkedCount_.fetch_sub(1);
    job.requester->parked_.fetch_sub(1);
    EnsureWaiter();
    return true;
}

bool Reactor::TakeWaiting(Job& job)
{
    if (takingTurns_ || inTurn_.empty()) {
        return TakeParked(job);
    }
    takingTurns_ = true;
    job = Job();
    job.inTurn = std::move(inTurn_.front());
    job.turn = ++turn_;
    inTurn_.pop_front();
    if (!inTurn_.empty()) {
        WatchTurn();
    }
    EnsureWaiter();
    StartParked(); // the place that we have given up is not for the turn
    return true;
}

void Reactor::StartParked()
{
    Job job;
    if (TakeParked(job) && !StartThread(job)) {
        GiveUpPlace(job);
        Park(std::move(job));
    }
}

void Reactor::BeginCallTo(Requester& requester)
{
    requester.callsToIt_.fetch_add(1);
    if (requester.parked_.load() == 0) {
        return;
    }
    std::lock_guard lock(mutex_);
    StartParked();
}

void Reactor::EndCallTo(Requester& requester)
{
    requester.callsToIt_.fetch_sub(1);
}

} // namespace OHOS::Ipc
