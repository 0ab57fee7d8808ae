#include "singleton.h"

#include <gtest/gtest.h>

namespace OHOS {
namespace {

struct Service {
    ~Service()
    {
        --alive;
    }
    static inline int made = 0;
    static inline int alive = 0;
    int number = ++made;
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
    EXPECT_EQ(&DelayedRefSingleton<Service>::GetInstance(), &DelayedRefSingleton<Service>::GetInstance());
}

} // namespace
} // namespace OHOS
