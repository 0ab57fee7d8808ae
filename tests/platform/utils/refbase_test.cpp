#include "refbase.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "parcel.h"

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

class RefTest : public testing::Test {
protected:
    void SetUp() override
    {
        Base::deaths = 0;
    }
};

TEST_F(RefTest, ObjectDiesWithItsLastOwnerWhateverItsType)
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
    Registers() : self(this), inside(self.promote() != nullptr)
    {}
    ~Registers() override
    {
        const sptr<Registers> once = this;
        promotedWhileDying = self.promote() != nullptr;
    }
    wptr<Registers> self;
    bool inside;
    static inline bool promotedWhileDying = true;
};

TEST_F(RefTest, WeakReferenceFromTheConstructorHoldsFromTheFirstOwnerToTheLast)
{
    auto* raw = new Registers();
    EXPECT_FALSE(raw->inside);
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
    EXPECT_FALSE(Registers::promotedWhileDying);
    EXPECT_TRUE(weak.promote() == nullptr);
    EXPECT_TRUE(wptr<RefBase>(weak) == nullptr); // the way to the virtual base is gone with the object
}

TEST_F(RefTest, CopiedValueHasOwnersOfItsOwn)
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

// Round by round: one thread copies, promotes and drops while another makes the first weak reference, then drops the
// last owner.
TEST_F(RefTest, PromotionMeetsTheFirstWeakReferenceAndTheLastRelease)
{
    constexpr size_t ROUNDS = 150;
    std::vector<sptr<Both>> owners(ROUNDS);
    std::vector<sptr<Both>> last(ROUNDS);
    for (size_t i = 0; i < ROUNDS; ++i) {
        last[i] = owners[i] = new Both();
    }
    std::atomic<size_t> begun{0};
    std::atomic<size_t> ended{0};
    std::thread repeating([&] {
        for (size_t round = 1; round <= ROUNDS; ++round) {
            wptr<Both> weak;
            for (begun = round; ended < round; std::this_thread::yield()) {
                const sptr<Both> copied = owners[round - 1];
                weak = owners[round - 1];
            }
            owners[round - 1].clear();
            for (bool isThere = true; isThere;) {
                const sptr<Both> mine = weak.promote(); // gone before the next: it would keep the object for ever
                isThere = mine != nullptr;
                EXPECT_TRUE(!isThere || mine->value == 7) << "a whole object or none";
            }
        }
    });
    for (size_t round = 1; round <= ROUNDS; ++round) {
        while (begun < round) {
            std::this_thread::yield();
        }
        const wptr<Both> rival = last[round - 1];
        EXPECT_TRUE(rival.promote() == last[round - 1]);
        ended = round;
        last[round - 1].clear();
    }
    repeating.join();
    EXPECT_EQ(Base::deaths, static_cast<int>(ROUNDS));
}

} // namespace
} // namespace OHOS
