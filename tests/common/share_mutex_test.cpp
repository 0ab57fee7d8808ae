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
}

TEST(ShareMutexDeathTest, ARecursiveLockMayBeTakenAgainBelowALaterOne)
{
    RecursiveMutex outer("outer", LockRank::MERGE_DEVICES);
    Mutex inner("inner", LockRank::DEVICES);
    RecursiveLock once(outer);
    MutexLock between(inner);
    RecursiveLock again(outer);
    Mutex earlier("earlier", LockRank::PUBLISH);
    EXPECT_DEATH(MutexLock late(earlier), "taking 'earlier' while holding");
}

#endif

} // namespace
} // namespace OHOS::Pelago
