#include <thread>

#include <gtest/gtest.h>

#include "share_mutex.h"

namespace OHOS::Pelago {
namespace {

#ifdef PELAGO_CHECKS

TEST(ShareMutexDeathTest, LocksOutOfOrderAreNamed)
{
    Mutex outer("outer", LockRank::PUBLISH);
    Mutex inner("inner", LockRank::DEVICES);
    Mutex sibling("sibling", LockRank::DEVICES);
    const auto take = [](Mutex& first, Mutex& second) {
        MutexLock one(first);
        MutexLock two(second);
    };
    take(outer, inner);
    take(outer, inner); // nothing is left behind
    {
        MutexLock held(inner);
        std::thread([&] { MutexLock lock(outer); }).join(); // the order is that of each thread
    }
    EXPECT_DEATH(take(inner, outer), "taking 'outer' while holding 'inner'");
    EXPECT_DEATH(take(inner, sibling), "taking 'sibling' while holding 'inner'");
    EXPECT_DEATH(take(inner, inner), "taking twice 'inner'");

    RecursiveMutex recursive("recursive", LockRank::MERGE_DEVICES);
    RecursiveLock once(recursive);
    MutexLock between(inner);
    RecursiveLock again(recursive); // may be taken below a later one
    EXPECT_DEATH(MutexLock late(outer), "taking 'outer' while holding");
}

#endif

} // namespace
} // namespace OHOS::Pelago
