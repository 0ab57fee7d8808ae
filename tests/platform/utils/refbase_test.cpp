#include "refbase.h"

#include <gtest/gtest.h>
#include <thread>

namespace OHOS {
namespace {

struct Base : virtual public RefBase {
    ~Base() override
    {
        ++deaths;
    }
    static inline std::atomic<int> deaths{0};
};
struct Left : public Base {};
struct Right : virtual public RefBase {
    int value = 7;
};
// As a stub does: several bases, each with RefBase below it, which exists once; and a destructor that hands itself out,
// as one that unregisters does, which must not end it twice.
struct Both : public Left, public Right {
    ~Both() override
    {
        const sptr<Both> once = this;
    }
};

TEST(RefTest, ObjectDiesWithItsLastOwnerWhateverItsType)
{
    sptr<Both> both = MakeSptr<Both>();
    sptr<Left> left = both;
    sptr<Base> base = left;
    sptr<RefBase> root = both;
    EXPECT_EQ(both->GetSptrRefCount(), 4);
    EXPECT_TRUE(base == both && both == base.GetRefPtr() && root != nullptr && nullptr != base);
    EXPECT_TRUE(sptr<Both>(left) == both); // down, when asked
    EXPECT_EQ(both->GetSptrRefCount(), 4);
    root = std::move(left);
    base = both;
    both.clear();
    EXPECT_TRUE(left == nullptr && both == nullptr);
    EXPECT_EQ(base->GetSptrRefCount(), 2);
    base = nullptr;
    EXPECT_EQ(Base::deaths, 0);
    root = new Right();
    EXPECT_EQ(Base::deaths, 1);
}

struct Registers : public Base {
    Registers() : self(this)
    {
        EXPECT_TRUE(self.promote() == nullptr) << "nobody owns it yet";
    }
    ~Registers() override
    {
        const sptr<Registers> once = this;
        EXPECT_TRUE(self.promote() == nullptr) << "nobody does any more";
    }
    const wptr<Registers> self;
};

TEST(RefTest, WeakReferenceFromTheConstructorHoldsFromTheFirstOwnerToTheLast)
{
    auto* raw = new Registers();
    const wptr<Registers> weak = raw;
    EXPECT_TRUE(weak.promote() == nullptr);
    sptr<Registers> owner = raw;
    EXPECT_TRUE(weak.promote() == owner && weak == raw->self && weak == owner && weak != nullptr);
    EXPECT_EQ(owner->GetSptrRefCount(), 1);
    EXPECT_TRUE(owner->AttemptIncStrongRef(nullptr));
    owner.clear();
    EXPECT_EQ(Base::deaths, 0);
    raw->DecStrongRef(nullptr);
    EXPECT_EQ(Base::deaths, 1);
    EXPECT_TRUE(weak.promote() == nullptr);
    EXPECT_TRUE(wptr<RefBase>(weak) == nullptr); // the way to the virtual base is gone with the object
}

TEST(RefTest, CopiedValueHasOwnersOfItsOwn)
{
    static_assert(std::is_nothrow_copy_constructible_v<RefBase>, "records move in containers");
    wptr<Base> onStack;
    {
        const sptr<Base> owned = MakeSptr<Base>();
        Base value(*owned);
        onStack = &value;
        EXPECT_EQ(value.GetSptrRefCount(), 0);
        value = *owned;
        EXPECT_EQ(value.GetSptrRefCount(), 0);
        EXPECT_EQ(owned->GetSptrRefCount(), 1);
        EXPECT_FALSE(value.AttemptIncStrongRef(nullptr)); // nobody may own what lives on a stack
    }
    EXPECT_EQ(Base::deaths, 2);
    EXPECT_TRUE(onStack.promote() == nullptr);
}

// Round by round: one thread promotes and drops while another makes the first weak reference, then drops the last
// owner.
TEST(RefTest, PromotionMeetsTheFirstWeakReferenceAndTheLastRelease)
{
    constexpr int ROUNDS = 150;
    for (int round = 0; round < ROUNDS; ++round) {
        sptr<Both> last = new Both();
        std::atomic<bool> begun{false};
        std::thread repeating([&begun, mine = last]() mutable {
            const wptr<Both> weak = mine;
            begun = true;
            mine.clear();
            for (bool isThere = true; isThere;) {
                const sptr<Both> promoted = weak.promote(); // gone before the next: it would keep the object for ever
                isThere = promoted != nullptr;
                EXPECT_TRUE(!isThere || promoted->value == 7) << "a whole object or none";
            }
        });
        const wptr<Both> rival = last;
        EXPECT_TRUE(rival.promote() == last);
        while (!begun) {
            std::this_thread::yield();
        }
        last.clear();
        repeating.join();
    }
    EXPECT_EQ(Base::deaths, ROUNDS);
}

} // namespace
} // namespace OHOS
