#ifndef PLATFORM_IPC_LANE_POOL_H
#define PLATFORM_IPC_LANE_POOL_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "call_lane.h"
#include "served_lane.h"

namespace OHOS::Ipc {

// The lanes that this process calls one other process through. A thread gets back the lane that it used last, if nobody
// else has it, and in any case the one that its own one-way messages are still on. Part of a link. Any thread; lets go
// of nothing under its mutex.
class LanePool {
public:
    static constexpr std::chrono::milliseconds TIDY_DELAY{500}; // after which lanes that were not used since are closed
    static constexpr std::chrono::milliseconds MAX_TIDY_DELAY{
        60'000}; // between looks at a lane whose peer does not answer

    explicit LanePool(SocketLink& link) : link_(link)
    {}

    // A lane for the caller alone, until Return. Null with the IpcError in `error`.
    [[nodiscard]] sptr<CallLane> Take(int& error);
    void Return(const sptr<CallLane>& lane);

    // The peer is dead: wakes all callers, and gives no lanes any more.
    void ShutDown();
    // Keeps `hold` until the calls have returned that are under way now.
    void HoldUntilReturned(uint64_t object, const Hold& hold);
    [[nodiscard]] size_t Count() const;
    // As of the lanes: `unfinished` becomes true if a message stands half-way.
    [[nodiscard]] EndReason Overdue(Clock::time_point limit, bool& unfinished) const;

private:
    struct Entry {
        sptr<CallLane> lane;
        uint64_t user = 0; // the thread that used it last
        bool inUse = false;
        bool usedSinceTidying = true;
        Holds holds;
    };

    // What one tidying finds that it does not close.
    struct Leftovers {
        bool idle = false;
        bool usedLately = false;
        bool pending = false;
    };

    // With the mutex held.
    [[nodiscard]] Entry* PickIdle();
    [[nodiscard]] Entry* Open(int& error);
    [[nodiscard]] static bool IsSurplus(Entry& entry, Leftovers& left);
    void ScheduleTidying();

    void Tidy();

    SocketLink& link_;

    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::vector<Entry> entries_; // the one that was used last at the end
    bool closed_ = false;
    bool tidying_ = false;
    std::chrono::milliseconds tidyDelay_ = TIDY_DELAY;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LANE_POOL_H
