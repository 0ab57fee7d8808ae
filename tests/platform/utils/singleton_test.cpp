#include "singleton.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace OHOS {
namespace {

struct Service {
    Service() : number(++made)
    {}
    ~Service()
    {
        --alive;
    }
    static inline std::atomic<int> made{0};
    static inline std::atomic<int> alive{0};
    int number;
    int counted = ++alive;
};

TEST(SingletonTest, DestroyedInstanceLivesUntilItsUserLetsGoAndTheNextIsFresh)
{
    auto user = DelayedSingleton<Service>::GetInstance();
    EXPECT_EQ(DelayedSingleton<Service>::GetInstance(), user);
    DelayedSingleton<Service>::DestroyInstance();
    EXPECT_EQ(Service::alive, 1);
    EXPECT_EQ(DelayedSingleton<Service>::GetInstance()->number, user->number + 1);
    user.reset();
    EXPECT_EQ(Service::alive, 1);
    DelayedSingleton<Service>::DestroyInstance();
    DelayedSingleton<Service>::DestroyInstance(); // once more harms nobody
    EXPECT_EQ(Service::alive, 0);
}

TEST(SingletonTest, UsersAndDestroyersOnManyThreadsNeverSeeHalfAnInstance)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 2000; ++round) {
                if (i == 0) {
                    DelayedSingleton<Service>::DestroyInstance();
                } else {
                    EXPECT_GT(DelayedSingleton<Service>::GetInstance()->number, 0);
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    DelayedSingleton<Service>::DestroyInstance();
    EXPECT_EQ(Service::alive, 0);
    EXPECT_EQ(&DelayedRefSingleton<Service>::GetInstance(), &DelayedRefSingleton<Service>::GetInstance());
}

} // namespace
} // namespace OHOS
