#include "lane_pool.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "socket_link.h"

namespace OHOS::Ipc {

namespace {

// Of the calling thread; never given twice.
uint64_t ThreadNumber()
{
    static std::atomic<uint64_t> last{0};
    thread_local const uint64_t number = ++last;
    return number;
}

} // namespace

sptr<CallLane> LanePool::Take(int& error)
{
    std::lock_guard lock(mutex_);
    error = IPC_DEAD_OBJECT;
    Entry* entry = closed_ ? nullptr : PickIdle();
    if (entry == nullptr && !closed_) {
        entry = Open(error);
    }
    if (entry == nullptr) {
        return nullptr;
    }
    entry->inUse = true;
    entry->usedSinceTidying = true;
    entry->user = ThreadNumber();
    return entry->lane;
}

LanePool::Entry* LanePool::PickIdle()
{
    const uint64_t self = ThreadNumber();
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        if (!entry->inUse && entry->user == self) {
            return &*entry;
        }
    }
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        if (!entry->inUse && !entry->lane->IsPending() && entry->lane->IsUsable()) {
            return &*entry;
        }
    }
    return nullptr;
}

LanePool::Entry* LanePool::Open(int& error)
{
    if (entries_.size() >= link_.SendLimits().lanesPerConnection) {
        error = IPC_TOO_MANY_LANES;
        return nullptr;
    }
    SocketPair pair = SocketPair::Make();
    if (!pair.ours.IsOpen()) {
        error = IPC_OUT_OF_DESCRIPTORS;
        return nullptr;
    }
    error = link_.OfferLane(std::move(pair.theirs));
    if (error != ERR_NONE) {
        return nullptr;
    }
    Entry entry;
    entry.lane = sptr<CallLane>::MakeSptr(link_, std::move(pair.ours));
    entries_.push_back(std::move(entry));
    return &entries_.back();
}

void LanePool::Return(const sptr<CallLane>& lane)
{
    Holds released; // let go after the lock
    bool closing = false;
    {
        std::lock_guard lock(mutex_);
        const auto entry =
            std::find_if(entries_.begin(), entries_.end(), [&lane](const Entry& one) { return one.lane == lane; });
        released.swap(entry->holds);
        entry->inUse = false;
        closing = closed_ || !lane->IsUsable();
        if (closing) {
            entries_.erase(entry);
        } else if (entry + 1 != entries_.end()) {
            std::rotate(entry, entry + 1, entries_.end());
        }
        if (!closing && entries_.size() > 1) {
            ScheduleTidying();
        }
    }
    if (closing) {
        lane->Close();
    }
}

void LanePool::ShutDown()
{
    std::vector<Entry> idle; // let go after the lock
    std::lock_guard lock(mutex_);
    closed_ = true;
    const auto inUse = std::partition(entries_.begin(), entries_.end(), [](const Entry& one) { return !one.inUse; });
    std::move(entries_.begin(), inUse, std::back_inserter(idle));
    entries_.erase(entries_.begin(), inUse);
    for (const Entry& entry : entries_) {
        entry.lane->Shutdown();
    }
    for (const Entry& entry : idle) {
        entry.lane->Close();
    }
}

void LanePool::HoldUntilReturned(uint64_t object, const Hold& hold)
{
    std::lock_guard lock(mutex_);
    for (Entry& entry : entries_) {
        if (entry.inUse) {
            entry.holds[object] = hold;
        }
    }
}

size_t LanePool::Count() const
{
    std::lock_guard lock(mutex_);
    return entries_.size();
}

EndReason LanePool::Overdue(Clock::time_point limit, bool& unfinished) const
{
    std::lock_guard lock(mutex_);
    EndReason reason = EndReason::NONE;
    for (const Entry& entry : entries_) {
        unfinished = unfinished || entry.lane->IsUnfinished();
        if (const EndReason overdue = entry.lane->Overdue(limit); overdue != EndReason::NONE) {
            reason = overdue;
        }
    }
    return reason;
}

// ---- Lanes that a burst of calls has left behind

void LanePool::ScheduleTidying()
{
    if (tidying_) {
        return;
    }
    tidying_ = true;
    Reactor::Get().RunAt(Clock::now() + tidyDelay_, [link = wptr<SocketLink>(&link_)] {
        if (const sptr<SocketLink> alive = link.promote(); alive != nullptr) {
            alive->Lanes().Tidy();
        }
    });
}

void LanePool::Tidy()
{
    std::vector<Entry> surplus; // let go after the lock
    std::lock_guard lock(mutex_);
    tidying_ = false;
    Leftovers left;
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        if (!entry->inUse && IsSurplus(*entry, left)) {
            entry->lane->Close();
            surplus.push_back(std::exchange(*entry, {}));
        }
    }
    const auto gone = [](const Entry& one) { return one.lane == nullptr; };
    entries_.erase(std::remove_if(entries_.begin(), entries_.end(), gone), entries_.end());
    tidyDelay_ = left.usedLately ? TIDY_DELAY : std::min(tidyDelay_ * 2, MAX_TIDY_DELAY);
    if (!closed_ && (left.usedLately || left.pending)) {
        ScheduleTidying();
    } else {
        tidyDelay_ = TIDY_DELAY;
    }
}

bool LanePool::IsSurplus(Entry& entry, Leftovers& left)
{
    if (entry.lane->IsPending()) {
        left.pending = true;
        return false;
    }
    if (entry.lane->IsUsable() && !std::exchange(left.idle, true)) {
        return false; // one stays, for the next call
    }
    const bool used = std::exchange(entry.usedSinceTidying, false);
    left.usedLately = left.usedLately || used;
    return !used || !entry.lane->IsUsable();
}

} // namespace OHOS::Ipc
